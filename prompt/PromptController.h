#pragma once
// The prompt window's behaviour, apart from the window itself: creating, showing, placing and hiding the two
// dialogs, answering the extension (the prompt's size and the user's choice) and the core (the typed text and the
// PIN), showing the core's device verification results, and reporting Firefox's focus changes. Every handler runs
// on the UI thread that owns the prompt window (checked in debug builds); the command handler is reached only through
// IPromptHandler. Portable: the dialogs and the desktop come through IPromptUi.h.

#include "commands/IPromptHandler.h"
#include "corelink/SharedData.h"
#include "corelink/ThreadChecker.h"
#include "messaging/JsonMessage.h"
#include "messaging/Responses.h"
#include "prompt/IPromptUi.h"

#include <cstdint>
#include <string>

// MulDiv as Windows computes it: a * b / c rounded half away from zero; -1 when c is 0 or the result overflows.
std::int32_t MulDiv32(std::int32_t a, std::int32_t b, std::int32_t c);

// The zoom of a screen `width` pixels wide at `dpi`: (width / 96 - 4) * 10 + MulDiv(10, dpi scale, that).
std::int32_t PromptZoomFor(std::int32_t dpi, std::int32_t width);

// Device ids of the core's verification results, four letters packed first-letter-highest.
inline constexpr std::uint32_t kDeviceVerifyCode = 0x44525655;    // "DRVU": page "2", the typed code
inline constexpr std::uint32_t kDeviceVerifyPin = 0x44525675;     // "DRVu": page "3" and the PIN dialog
inline constexpr std::uint32_t kDeviceVerifyWaiting = 0x44525676; // "DRVv": page "3"
inline constexpr const char* kDeviceVerifyCodeText = "44525655";
inline constexpr const char* kDeviceVerifyPinText = "44525675";

// WinEvent ids the focus tracking acts on.
inline constexpr std::uint32_t kEventDesktopSwitch = 0x0020;
inline constexpr std::uint32_t kEventObjectFocus = 0x8005;

class CPromptController
{
public:
    // Which object sent "MSG_WM_PROCESSPROMPTUI".
    enum class Sender
    {
        PromptDialog,
        PinDialog,
        Other,
    };

    struct Services
    {
        IPromptHandler& handler;
        CResponseWriter& writer;
        IJsonMessage& json; // the window's reply message
        IPromptPageDialog& prompt;
        IPinDialog& pin;
        IPromptDesktop& desktop;
    };

    // `zoom` and `desktopWidth` are taken once, when the window is made.
    CPromptController(const Services& services, WindowId ownWindow, std::int32_t zoom, std::int32_t desktopWidth);

    // "MSG_WM_INTITPROMPTUI" (also run once when the window is made): every dialog without a window gets one, on
    // page "1", hidden at once. Returns 1.
    std::intptr_t CreateDialogs();
    // "MSG_WM_HIDEPROMPT": hides both dialogs and gives them back to the prompt window; with `notify`, dialogs that
    // lost their window are made again.
    void HidePrompt(bool notify);
    // "MSG_WM_SHOWPROMPT". Returns 1.
    std::intptr_t ShowPrompt();
    // "MSG_WM_SETPROMPTPOS". Returns 1.
    std::intptr_t SetPromptPos();
    // "MSG_WM_SETTABINFO". Returns 1.
    std::intptr_t SetTabInfo();
    // "MSG_WM_PROCESSPROMPTUI". Returns 1.
    std::intptr_t ProcessPromptUi(Sender sender, std::int32_t action);
    // A device verification result ("MSG_WM_COPY_DATA"). True when the record goes on to the "ValidateAsyncMsg"
    // reply, whose size members are then already in the reply message; false when the caller frees it.
    bool ShowVerificationResult(const BHOCopyData& record);
    // A WinEvent; only Firefox's focus changes and desktop switches are acted on.
    void OnWinEvent(std::uint32_t event, WindowId window);

    // The foreground window when it is the browser's: with an empty class name, any foreground window for a browser
    // other than Firefox, and for Firefox only one of class "MozillaWindowClass".
    WindowId FindBrowserWindow(const std::string& className);

    std::int32_t Zoom() const noexcept { return m_zoom; }
    std::int32_t PromptId() const noexcept { return m_promptId; }
    const std::string& TabId() const noexcept { return m_tabId; }
    WindowId LastBrowserWindow() const noexcept { return m_lastBrowserWindow; }
    void SetPromptRect(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);

private:
    void SendAnswerToCore(const char* deviceId, const std::string& text);
    void FocusCheck(WindowId window, const std::string& browserImage, const std::string& browserClass);
    void WriteReply();
    // The Show-prompt size and Verification size members.
    void SetSizeMembers(std::int32_t promptHeight);

    IPromptHandler& m_handler;
    CResponseWriter& m_writer;
    IJsonMessage& m_json;
    IPromptPageDialog& m_prompt;
    IPinDialog& m_pin;
    IPromptDesktop& m_desktop;
    const WindowId m_ownWindow;

    std::int32_t m_x = 0;
    std::int32_t m_y = 0;
    std::int32_t m_w = 0;
    std::int32_t m_h = 0;
    std::int32_t m_zoom;
    std::int32_t m_desktopWidth;
    std::string m_tabId;
    std::int32_t m_promptId = -1;
    WindowId m_lastBrowserWindow = 0;
    CThreadChecker m_uiThread;
};
