#pragma once
// The window behind a dialog object: it builds the controls of a page in the user's language, lays them out at the
// dialog's zoom (mirrored for a right-to-left language), paints the card in the product's colours or the system's
// high-contrast ones, and reports the user's choice to the owner. Its window and controls are Unicode. Both dialog
// classes hold one. UI thread only: the window belongs to the thread that first shows the dialog, and the destructor,
// which destroys it, must run there too.

#include "Catalogue.h"
#include "DialogFonts.h"
#include "GdiObjects.h"
#include "PageContent.h"
#include "Theme.h"
#include "framework/ObjectWindowProc.h"

#include <memory>
#include <string>

namespace lvui
{
class CDialogSurface
{
public:
    // Sent to the dialog's window by CKvrnDhtmlDlg::OnHidePrompt.
    static constexpr UINT kHidePromptMessage = WM_APP + 1;

    // `handle` is the dialog object's window member: the surface keeps it equal to its window (null when none).
    CDialogSurface(CLVUIDhtmlDlg& dialog, HWND& handle, LvUiDialogKind kind);
    ~CDialogSurface();
    CDialogSurface(const CDialogSurface&) = delete;
    CDialogSurface& operator=(const CDialogSurface&) = delete;

    // ShowBHOPromptUI for this dialog; see LvUi.h. Non-zero on success; on failure nothing changes but a window
    // that could not be made.
    int Show(HWND parent, HWND owner, DWORD style, const char* page, int x, int y, int w, int h, const char* text);

    const char* ActivePage() const noexcept { return m_page.c_str(); }
    const char* Text() const noexcept { return m_text.c_str(); }
    // Kept until "MSG_UPDATE_MSG" reaches the window.
    void SetMessage(DWORD code, const char* text);
    int CurrentHeight() const;
    // The field's text into `buffer` (cut to size - 1, NUL-terminated); the field and any kept copy are emptied.
    int TakeFieldText(char* buffer, int size);
    void SetBadPin();
    bool IsBadPin() const noexcept { return m_badPin; }

private:
    friend struct ObjectWindowProc<CDialogSurface, true>;
    void AttachWindow(HWND hwnd) noexcept;
    void DetachWindow(HWND hwnd) noexcept;
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result);

    bool CreateSurfaceWindow(HWND parent, DWORD style, int x, int y);
    void BuildControls();
    void DestroyControls();
    HWND AddStatic(int id, const std::wstring& text, HFONT font, bool leftToRight = false);
    HWND AddField();
    std::wstring Text(UINT id) const;
    // Places every control for the current width and texts; returns the window height it needs.
    int Layout();
    int LayoutButtons(int top, int left, int width);
    // A control placed at (x, y, width, height) of the left-to-right layout; mirrored for a right-to-left language.
    void Place(HWND control, int x, int y, int width, int height) const;
    RECT Mirrored(const RECT& box) const;
    void UsePalette();
    // Layout() and the window resized to it, in place.
    void Relayout();
    void Paint(HDC dc);
    void PaintWindow();
    void OnCommand(WPARAM wParam);
    void OnHidePrompt();
    void ApplyMessage();
    HBRUSH OnControlColour(HDC dc, HWND control);
    LRESULT DefaultButtonId() const;
    int ActionFor(int controlId) const;
    const PageButton* ButtonFor(int controlId) const;
    int ButtonId(const PageButton& button) const;
    void Report(int action) const;
    HWND Control(int id) const;
    std::string ReadField() const;
    std::wstring ProgressText() const;
    std::wstring CodeText() const;

    CLVUIDhtmlDlg& m_dialog;
    HWND& m_handle;
    const LvUiDialogKind m_kind;
    const PageContent* m_content = nullptr;
    const CatalogueLanguage* m_language = nullptr; // of the controls now built
    Palette m_palette{};                           // likewise
    // Destroyed after the window (the destructor destroys it first): its controls use these.
    std::unique_ptr<CDialogFonts> m_fonts;
    CBrush m_cardBrush;
    CBrush m_chipBrush;
    CBrush m_errorBrush;
    HWND m_owner = nullptr;          // borrowed: the host's window that learns the choices
    mutable bool m_reported = false; // an answer was given for the current showing

    std::string m_page;
    std::string m_text;   // as given (GetDlgURL)
    std::wstring m_shown; // as shown
    bool m_hasPendingMessage = false;
    DWORD m_pendingCode = 0;
    std::string m_pendingMessage;
    bool m_hasMessage = false;
    DWORD m_code = 0;
    std::string m_message;
    // The field's text while no field control holds it (between pages, after the window is gone).
    std::string m_fieldText;
    bool m_badPin = false;
    bool m_fieldFocused = false;

    int m_width = 0;
    int m_spinnerPhase = 0;
    RECT m_chipBox{};
    RECT m_fieldBox{};
    RECT m_statusBox{};
    RECT m_errorSign{};
    RECT m_spinnerBox{};
};
} // namespace lvui
