#pragma once
// LVUI.dll: the prompt's two dialogs, drawn with Win32 controls and GDI. The host's prompt window owns one of each,
// hands them a page, a rectangle, a zoom and a text, and learns the user's choice from the registered message
// "MSG_WM_PROCESSPROMPTUI" that a dialog posts to its owner (wParam: the dialog object, lParam: the action).
//
// Exported signatures use plain C types only (no standard library objects cross the DLL boundary). Every call is
// made on the thread that created the dialog's window (the host's UI thread).
//
// The dialogs speak the user's UI language (the one "GetLang" names; English for any other), right to left for
// Arabic and Hebrew, and follow Windows' high-contrast setting. Narrow texts given to them (the domain, the status
// text) are UTF-8; text that is not valid UTF-8 is read in the ANSI code page.

#include <windows.h>

#ifdef LVUI_BUILD
#define LVUI_API __declspec(dllexport)
#else
#define LVUI_API __declspec(dllimport)
#endif

// Which dialog an object is; stands in for a run-time class query.
enum LvUiDialogKind
{
    LvUiPromptDialog = 1,
    LvUiPinDialog = 2,
};

// Actions a dialog reports with "MSG_WM_PROCESSPROMPTUI".
enum LvUiAction
{
    LvUiActionOk = 1,          // page "1"/"5": save; page "2": confirm (its only action); page "4": turn on; PIN: OK
    LvUiActionNotNow = 2,      // page "1"/"5"/"4": not now; PIN: cancel (also Esc)
    LvUiActionNever = 3,       // page "1"/"5": never for this site; page "4": don't show again
    LvUiActionAlwaysSave = 11, // page "1"/"5": save and don't ask again
};

// The common window operations (the part of the base class the host uses).
class LVUI_API CKvrnDhtmlDlg
{
public:
    CKvrnDhtmlDlg();
    virtual ~CKvrnDhtmlDlg();
    CKvrnDhtmlDlg(const CKvrnDhtmlDlg&) = delete;
    CKvrnDhtmlDlg& operator=(const CKvrnDhtmlDlg&) = delete;

    virtual LvUiDialogKind Kind() const = 0;

    HWND GetSafeHwnd() const;
    BOOL IsWindow() const;
    BOOL IsWindowVisible() const;
    BOOL ShowWindow(int show);
    BOOL GetWindowRect(RECT* rect) const;
    HWND GetParent() const;
    HWND SetParent(HWND parent);
    HWND SetFocus();
    // Called by the host when it hides the dialog: ends any edit in progress and forgets pressed-button state.
    virtual void OnHidePrompt();
    // Destroys the dialog's window (the object stays and can be shown again).
    virtual BOOL DestroyWindow();

protected:
    HWND m_hWnd = nullptr;
};

// The zoomable base: every layout size is multiplied by zoom / 100.
class LVUI_API CLVUIDhtmlDlg : public CKvrnDhtmlDlg
{
public:
    CLVUIDhtmlDlg();
    ~CLVUIDhtmlDlg() override;

    // Takes effect at the next ShowBHOPromptUI. Zooms below 25 or above 400 are clamped.
    void SetZoom(long zoom);
    long GetZoom() const;

protected:
    long m_zoom = 100;
};

// The save / verification prompt: pages "1" (save a login), "2" (verification code entry), "3" (verification in
// progress), "4" (turn on discovery), "5" (update a saved login).
class LVUI_API CLvBhoPromptDlgUI : public CLVUIDhtmlDlg
{
public:
    explicit CLvBhoPromptDlgUI(void* parent = nullptr);
    ~CLvBhoPromptDlgUI() override;
    LvUiDialogKind Kind() const override;

    // The page now shown ("" before the first), and the text the dialog was given (the domain or URL it shows).
    // Both stay valid until the next ShowBHOPromptUI.
    const char* GetActivePage() const;
    const char* GetDlgURL() const;
    // The status code and text page "3" shows; they appear once "MSG_UPDATE_MSG" reaches the dialog.
    void SetMessage(DWORD code, const char* text);
    // The dialog's current height in pixels, and its width at zoom 100.
    int GetCurrentHeight() const;
    int GetOriginalWidth() const;
    // The text typed on page "2" (NUL-terminated, cut to `size` - 1 bytes); empties it. Returns its length.
    int TakeTypedText(char* buffer, int size);

private:
    struct Impl;
    Impl* m_impl;
};

// The PIN dialog shown under the prompt during a device verification.
class LVUI_API CGpaAuthDlgUI : public CLVUIDhtmlDlg
{
public:
    explicit CGpaAuthDlgUI(void* parent = nullptr);
    ~CGpaAuthDlgUI() override;
    LvUiDialogKind Kind() const override;

    // The PIN was refused: the dialog shows so, and empties its field for a new try.
    void UpdateBadPin();
    BOOL IsBadPin() const;
    // The PIN typed (NUL-terminated, cut to `size` - 1 bytes); empties it. Returns its length.
    int TakePin(char* buffer, int size);

private:
    struct Impl;
    Impl* m_impl;
};

extern "C"
{
    // Creates the dialog's window if needed (style is the window style, 0x40000000 for a child), puts it under `parent`
    // with `owner` as the window that gets "MSG_WM_PROCESSPROMPTUI", switches it to `page`, places it at (x, y) with
    // width `w` (its own width when w is 0; the height is always the page's own at the current zoom, whatever room `h`
    // offers, so that no control is ever cut off), shows `text` and shows the window. Each showing takes one answer:
    // the dialog reports the user's first action only (a PIN dialog again after UpdateBadPin). Non-zero on success.
    LVUI_API int ShowBHOPromptUI(CLVUIDhtmlDlg* dialog, HWND parent, HWND owner, DWORD style, const char* page, int x,
                                 int y, int w, int h, const char* text);

    // Keyboard navigation (Tab, Shift+Tab, Enter, Esc) for the dialogs: the UI thread's message loop offers every
    // message here first and skips it when this returns non-zero.
    LVUI_API BOOL LvUiPreTranslateMessage(MSG* msg);

    // The language the dialogs speak from their next ShowBHOPromptUI, as a Windows UI language id (0x0411 is
    // Japanese); 0, the default, is the user's UI language. For galleries and tests that show several languages in
    // one process.
    LVUI_API void LvUiSetLanguage(LANGID language);

    // High contrast from the next ShowBHOPromptUI: -1, the default, follows Windows (SPI_GETHIGHCONTRAST); 0 and 1
    // force it off or on, for galleries and tests on systems where the setting cannot be changed.
    LVUI_API void LvUiSetHighContrast(int mode);
}
