#pragma once
// What the command handler needs from the UI thread that owns it: its window (the plain message window, or the
// prompt window once the UI thread has made one), its wait event, and synchronous work on that thread.

#include "corelink/ICoreObjects.h"
#include "corelink/SharedData.h"

#include <cstdint>

class IHandlerPlatform
{
public:
    virtual ~IHandlerPlatform() = default;
    // The handle of the handler's window as it stands now; the core answers to it.
    virtual WindowId HostWindow() = 0;
    // Whether the handler's window is the prompt window.
    virtual bool HasPromptWindow() = 0;
    // Sends the registered message `messageName` to the handler's window and returns its result.
    virtual std::intptr_t SendToWindow(const char* messageName, std::uintptr_t wParam, std::intptr_t lParam) = 0;
    // Waits on the handler's event, serving the calling thread's messages.
    virtual void WaitOnEvent(std::uint32_t timeoutMs) = 0;
    // Wakes a command waiting on the handler's event.
    virtual void SetWaitEvent() = 0;
    // Sends a copy-data record to `target` (synchronously; the result is not looked at).
    virtual void SendCopyData(WindowId target, const BHOCopyData& record) = 0;
    // Runs thread message `message` on the UI thread and returns when it is done, giving the focus back to the
    // window that had it.
    virtual void RunOnUiThread(std::uint32_t message) = 0;
};

// The UI thread's one thread message: make the prompt window.
inline constexpr std::uint32_t kMsgCreatePromptWnd = 0x8001; // WM_APP + 1
