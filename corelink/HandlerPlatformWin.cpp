#include "corelink/HandlerPlatformWin.h"

#include "corelink/CopyDataSenderWin.h"
#include "corelink/MessagePumpWin.h"
#include "corelink/SecurityWin.h"

CHandlerPlatformWin::CHandlerPlatformWin(DWORD uiThreadId, CResponseWriter& writer, const CDebugLog& log)
    : m_uiThreadId(uiThreadId), m_writer(writer), m_log(log)
{
    m_waitEvent.Attach(::CreateEventA(ProcessSecurityAttributes(), FALSE, FALSE, nullptr));
}

CHandlerPlatformWin::~CHandlerPlatformWin()
{
    DestroyWindow();
}

std::intptr_t CHandlerPlatformWin::SendToWindow(const char* messageName, std::uintptr_t wParam, std::intptr_t lParam)
{
    const auto window = reinterpret_cast<HWND>(HostWindow());
    if (!window)
        return 0;
    return ::SendMessageA(window, ::RegisterWindowMessageA(messageName), wParam, lParam);
}

void CHandlerPlatformWin::WaitOnEvent(std::uint32_t timeoutMs)
{
    if (m_waitEvent.IsValid())
        WaitPumpingWin(m_waitEvent.Get(), timeoutMs, m_log);
}

void CHandlerPlatformWin::SetWaitEvent()
{
    if (m_waitEvent.IsValid())
        ::SetEvent(m_waitEvent.Get());
}

void CHandlerPlatformWin::SendCopyData(WindowId target, const BHOCopyData& record)
{
    SendCopyDataToCore(reinterpret_cast<HWND>(target), reinterpret_cast<HWND>(HostWindow()), record);
}

void CHandlerPlatformWin::RunOnUiThread(std::uint32_t message)
{
    PostToUiThreadAndWait(m_uiThreadId, message, 0);
}

bool CHandlerPlatformWin::ReplaceWindow(std::unique_ptr<CBHOWnd> window, CLVBHOCommandHandler* handler)
{
    DestroyWindow();
    if (!window || !window->Create(handler))
        return false;
    m_isPrompt = window->IsPromptWindow();
    m_windowHandle = reinterpret_cast<WindowId>(window->Handle());
    m_window = std::move(window);
    return true;
}

void CHandlerPlatformWin::DestroyWindow() noexcept
{
    m_windowHandle = 0;
    m_isPrompt = false;
    if (m_window)
        m_window->Destroy();
    m_window.reset();
}

void PostToUiThreadAndWait(DWORD threadId, UINT message, WPARAM wParam)
{
    CHandle done(::CreateEventA(ProcessSecurityAttributes(), FALSE, FALSE, nullptr));
    if (!done.IsValid())
        return;
    HWND foreground = ::GetForegroundWindow();
    // The UI thread's queue exists from its start on, so the post does not fail for want of one; should it fail
    // anyway, waiting would never end.
    if (!::PostThreadMessageA(threadId, message, wParam, reinterpret_cast<LPARAM>(done.Get())))
        return;
    ::WaitForSingleObject(done.Get(), INFINITE);
    // Making a window may have taken the focus from the browser.
    ::SetForegroundWindow(foreground);
    ::SetFocus(foreground);
}
