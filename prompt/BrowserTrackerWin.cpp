#include "prompt/BrowserTrackerWin.h"

#include "corelink/BHOThreadWin.h"
#include "prompt/PromptWndWin.h"

#include <atomic>
#include <windows.h>

namespace
{
std::atomic<CBHOThread*> g_hookOwner{nullptr};
std::atomic<HWINEVENTHOOK> g_hook{nullptr};

void CALLBACK OnWinEvent(HWINEVENTHOOK, DWORD event, HWND window, LONG, LONG, DWORD, DWORD)
{
    CBHOThread* owner = g_hookOwner.load();
    if (!owner || !owner->Platform())
        return;
    // Some systems deliver our own process's events despite the flag; they are no browser's.
    DWORD processId = 0;
    if (window && ::GetWindowThreadProcessId(window, &processId) && processId == ::GetCurrentProcessId())
        return;
    CBHOWnd* current = owner->Platform()->Window();
    if (!current || !current->IsPromptWindow())
        return;
    static_cast<CBHOPromptWnd*>(current)->OnWinEvent(event, window);
}
} // namespace

bool InstallFocusHook(CBHOThread* thread)
{
    g_hookOwner = thread;
    // One hook serves every prompt window the process makes: a second would deliver each event twice.
    if (g_hook.load())
        return true;
    HWINEVENTHOOK hook =
        ::SetWinEventHook(1, 0x7FFFFFFF, nullptr, OnWinEvent, 0, 0, WINEVENT_OUTOFCONTEXT | WINEVENT_SKIPOWNPROCESS);
    if (hook)
        g_hook = hook;
    return hook != nullptr;
}

void ForgetFocusHookOwner(CBHOThread* thread)
{
    CBHOThread* expected = thread;
    g_hookOwner.compare_exchange_strong(expected, nullptr);
}
