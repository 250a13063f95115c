// What a black-box test cannot see from Linux, seen from inside the prefix:
//
//   DesktopProbe.exe windows CLASS     one line per message-only window of CLASS: "<pid> <title>"; then "end"
//   DesktopProbe.exe keys SECONDS      "ready" once a low-level keyboard hook watches, then one line per key the
//                                      system sees: "<vk> down" or "<vk> up"; ends after SECONDS
//
// Exit code 0, or 2 for a bad command line.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
LRESULT CALLBACK OnKey(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == HC_ACTION)
    {
        const auto* key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(lParam);
        const bool down = wParam == WM_KEYDOWN || wParam == WM_SYSKEYDOWN;
        std::printf("%lu %s\n", static_cast<unsigned long>(key->vkCode), down ? "down" : "up");
        std::fflush(stdout);
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

int ListWindows(const char* className)
{
    HWND window = nullptr;
    while ((window = ::FindWindowExA(HWND_MESSAGE, window, className, nullptr)) != nullptr)
    {
        char title[256] = {};
        ::GetWindowTextA(window, title, sizeof title);
        DWORD processId = 0;
        ::GetWindowThreadProcessId(window, &processId);
        std::printf("%lu %s\n", static_cast<unsigned long>(processId), title);
    }
    std::printf("end\n");
    return 0;
}

int WatchKeys(int seconds)
{
    HHOOK hook = ::SetWindowsHookExA(WH_KEYBOARD_LL, OnKey, ::GetModuleHandleA(nullptr), 0);
    if (!hook)
        return 1;
    std::printf("ready\n");
    std::fflush(stdout);
    // The hook is called from this thread's message loop.
    const UINT_PTR timer = ::SetTimer(nullptr, 0, static_cast<UINT>(seconds) * 1000u, nullptr);
    MSG message;
    while (::GetMessageA(&message, nullptr, 0, 0) > 0)
    {
        if (message.message == WM_TIMER)
            break;
        ::DispatchMessageA(&message);
    }
    ::KillTimer(nullptr, timer);
    ::UnhookWindowsHookEx(hook);
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "windows") == 0)
        return ListWindows(argv[2]);
    if (argc == 3 && std::strcmp(argv[1], "keys") == 0)
        return WatchKeys(std::atoi(argv[2]));
    std::fprintf(stderr, "usage: DesktopProbe windows CLASS | keys SECONDS\n");
    return 2;
}
