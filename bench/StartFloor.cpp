// The floor for start-up: a console program that writes one byte and ends, so that the time from starting it to
// reading that byte is what any program's start costs under the same loader.
//
//   StartFloor.exe           writes the byte at once.
//   StartFloor.exe --window  first brings up what every program with a window pays for: COM on the main thread,
//                            and a thread with a message-only window, as the host has. This is not a target's
//                            floor; it shows how much of a start the windowing system costs under the same loader.

#include <objbase.h>
#include <windows.h>

#include <cstdio>
#include <cstring>

namespace
{
DWORD WINAPI WindowThread(void* ready)
{
    HWND window = ::CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ::SetEvent(static_cast<HANDLE>(ready));
    MSG message;
    while (window && ::GetMessageA(&message, nullptr, 0, 0) > 0)
        ::DispatchMessageA(&message);
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--window") == 0)
    {
        ::CoInitialize(nullptr);
        HANDLE ready = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
        ::CreateThread(nullptr, 0, WindowThread, ready, 0, nullptr);
        ::WaitForSingleObject(ready, INFINITE);
    }
    std::fputc('x', stdout);
    std::fflush(stdout);
    return 0;
}
