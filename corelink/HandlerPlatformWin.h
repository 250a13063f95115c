#pragma once
// The command handler's window and wait event, owned on the UI thread. The main thread reads the window's handle
// and sends it messages; only the UI thread replaces the window.

#include "commands/IHandlerPlatform.h"
#include "config/DebugLog.h"
#include "corelink/BHOWndWin.h"
#include "framework/Unique.h"

#include <atomic>
#include <memory>

class CHandlerPlatformWin : public IHandlerPlatform
{
public:
    CHandlerPlatformWin(DWORD uiThreadId, CResponseWriter& writer, const CDebugLog& log);
    ~CHandlerPlatformWin() override;

    WindowId HostWindow() override { return m_windowHandle.load(); }
    bool HasPromptWindow() override { return m_isPrompt.load(); }
    std::intptr_t SendToWindow(const char* messageName, std::uintptr_t wParam, std::intptr_t lParam) override;
    void WaitOnEvent(std::uint32_t timeoutMs) override;
    void SetWaitEvent() override;
    void SendCopyData(WindowId target, const BHOCopyData& record) override;
    void RunOnUiThread(std::uint32_t message) override;

    // UI thread only: destroys the current window and makes `window` the handler's window.
    [[nodiscard]] bool ReplaceWindow(std::unique_ptr<CBHOWnd> window, CLVBHOCommandHandler* handler);
    // UI thread only: destroys the window.
    void DestroyWindow() noexcept;
    CResponseWriter& Writer() noexcept { return m_writer; }
    // UI thread only: the handler's window, or null.
    CBHOWnd* Window() noexcept { return m_window.get(); }

private:
    DWORD m_uiThreadId;
    CResponseWriter& m_writer;
    const CDebugLog& m_log;
    std::unique_ptr<CBHOWnd> m_window;
    std::atomic<WindowId> m_windowHandle{0};
    std::atomic<bool> m_isPrompt{false};
    CHandle m_waitEvent;
};

// Posts thread message `message` to the UI thread with an event for it to set, waits for the event (without
// serving messages), then gives the window that had the foreground its foreground and focus back.
void PostToUiThreadAndWait(DWORD threadId, UINT message, WPARAM wParam);
