#include "prompt/PromptWndWin.h"

#include "corelink/RegisteredMessagesWin.h"
#include "prompt/BrowserTrackerWin.h"

namespace
{
constexpr const char* kUnknownBrowser = "unkown"; // so spelled by the handler for an unknown browser
} // namespace

std::int32_t ScreenPromptZoom()
{
    HDC screen = ::GetDC(nullptr);
    const int dpi = screen ? ::GetDeviceCaps(screen, LOGPIXELSX) : 96;
    const int width = screen ? ::GetDeviceCaps(screen, HORZRES) : 0;
    if (screen)
        ::ReleaseDC(nullptr, screen);
    return PromptZoomFor(dpi, width);
}

CBHOPromptWnd::CBHOPromptWnd(CResponseWriter& writer, CBHOThread* thread) : CBHOWnd(writer), m_thread(thread) {}

CBHOPromptWnd::~CBHOPromptWnd()
{
    DestroyDialogs();
    Destroy();
}

void CBHOPromptWnd::DestroyDialogs()
{
    for (CKvrnDhtmlDlg* dialog :
         {static_cast<CKvrnDhtmlDlg*>(&m_promptDialog), static_cast<CKvrnDhtmlDlg*>(&m_pinDialog)})
        if (dialog->IsWindow())
            dialog->DestroyWindow();
}

void CBHOPromptWnd::OnCreated()
{
    CLVBHOCommandHandler* handler = Handler();
    if (!handler)
        return;
    RECT desktop{};
    ::GetWindowRect(::GetDesktopWindow(), &desktop);
    m_prompt = std::make_unique<CPromptDialogWin>(m_promptDialog, Handle());
    m_pin = std::make_unique<CPinDialogWin>(m_pinDialog, Handle());
    m_controller = std::make_unique<CPromptController>(
        CPromptController::Services{*handler, Writer(), Json(), *m_prompt, *m_pin, m_desktop},
        reinterpret_cast<WindowId>(Handle()), ScreenPromptZoom(), desktop.right - desktop.left);
    if (m_thread && handler->BrowserName() != kUnknownBrowser)
        InstallFocusHook(m_thread);
    m_controller->CreateDialogs();
}

void CBHOPromptWnd::OnWinEvent(DWORD event, HWND window)
{
    if (m_controller)
        m_controller->OnWinEvent(event, reinterpret_cast<WindowId>(window));
}

bool CBHOPromptWnd::OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result)
{
    const RegisteredMessages& messages = Messages();
    if (message == WM_DESTROY)
    {
        // The dialogs' windows go first, each through its own destroy, while this window still exists.
        DestroyDialogs();
        return false;
    }
    if (!m_controller)
    {
        // Without a handler the prompt's requests are answered 1 and nothing else happens.
        for (const UINT prompt : {messages.showPrompt, messages.setPromptPos, messages.hidePrompt,
                                  messages.initPromptUi, messages.setTabInfo, messages.processPromptUi})
        {
            if (message == prompt)
            {
                result = 1;
                return true;
            }
        }
        return CBHOWnd::OnMessage(message, wParam, lParam, result);
    }
    if (message == messages.showPrompt)
        result = m_controller->ShowPrompt();
    else if (message == messages.setPromptPos)
        result = m_controller->SetPromptPos();
    else if (message == messages.hidePrompt)
    {
        m_controller->HidePrompt(wParam != 0);
        result = 1;
    }
    else if (message == messages.initPromptUi)
        result = m_controller->CreateDialogs();
    else if (message == messages.setTabInfo)
        result = m_controller->SetTabInfo();
    else if (message == messages.processPromptUi)
    {
        // Only the address of one of our own dialogs counts; anything else a sender puts there is no dialog.
        const auto* sender = reinterpret_cast<const CLVUIDhtmlDlg*>(wParam);
        CPromptController::Sender kind = CPromptController::Sender::Other;
        if (sender == &m_promptDialog)
            kind = CPromptController::Sender::PromptDialog;
        else if (sender == &m_pinDialog)
            kind = CPromptController::Sender::PinDialog;
        result = m_controller->ProcessPromptUi(kind, static_cast<std::int32_t>(lParam));
    }
    else
        return CBHOWnd::OnMessage(message, wParam, lParam, result);
    return true;
}

LRESULT CBHOPromptWnd::OnCopyData(const BHOCopyData& record)
{
    if (!m_controller || m_controller->ShowVerificationResult(record))
        return CBHOWnd::OnCopyData(record);
    return 1;
}
