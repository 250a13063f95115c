#pragma once
// A thread with a message loop, in the manner of the framework thread class it replaces: Start() creates it
// suspended, lets the owner hand it what it needs, then resumes it; InitInstance() and ExitInstance() run on the new
// thread around its message loop; PostQuit() ends the loop.

#include "framework/Unique.h"

#include <windows.h>

class CUIThread
{
public:
    CUIThread() = default;
    CUIThread(const CUIThread&) = delete;
    CUIThread& operator=(const CUIThread&) = delete;
    virtual ~CUIThread() = default;

    // Creates the thread suspended. Call Resume() after handing it its data.
    [[nodiscard]] bool CreateSuspended();
    void Resume() noexcept;
    [[nodiscard]] bool PostQuit() noexcept;

    HANDLE Handle() const noexcept { return m_thread.Get(); }
    DWORD ThreadId() const noexcept { return m_threadId; }

protected:
    // On the new thread, before the loop. False ends the thread at once (ExitInstance still runs).
    virtual bool InitInstance() = 0;
    // On the new thread, after the loop; returns the thread's exit code.
    virtual int ExitInstance() = 0;
    // A chance to change or consume a message before it is translated and dispatched; true consumes it.
    virtual bool PreTranslateMessage(MSG&) { return false; }
    // Messages posted to the thread rather than to a window; true when handled.
    virtual bool OnThreadMessage(const MSG&) { return false; }

private:
    static unsigned __stdcall ThreadMain(void* self) noexcept;
    int Run() noexcept;

    CHandle m_thread;
    DWORD m_threadId = 0;
};
