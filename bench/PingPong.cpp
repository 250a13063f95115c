// The floor for the core link: two processes handing a turn back and forth through two named auto-reset events,
// the way a request and its completion pass between the host and the core.
//
//   PingPong.exe ROUNDS     starts a second copy of itself, then times ROUNDS round trips and prints one line per
//                           round trip in microseconds, after a warm-up.
//   PingPong.exe --pong ID  the second copy: answers each ping until the first copy's quit event.

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{
constexpr int kWarmUp = 200;

std::string EventName(const char* role, unsigned long id)
{
    return "Local\\LvBenchPingPong-" + std::to_string(id) + "-" + role;
}

int Pong(unsigned long id)
{
    HANDLE ping = ::OpenEventA(SYNCHRONIZE, FALSE, EventName("ping", id).c_str());
    HANDLE pong = ::OpenEventA(EVENT_MODIFY_STATE, FALSE, EventName("pong", id).c_str());
    HANDLE quit = ::OpenEventA(SYNCHRONIZE, FALSE, EventName("quit", id).c_str());
    if (!ping || !pong || !quit)
        return 3;
    HANDLE both[2] = {ping, quit};
    while (::WaitForMultipleObjects(2, both, FALSE, INFINITE) == WAIT_OBJECT_0)
        ::SetEvent(pong);
    return 0;
}

int Ping(int rounds)
{
    const unsigned long id = ::GetCurrentProcessId();
    HANDLE ping = ::CreateEventA(nullptr, FALSE, FALSE, EventName("ping", id).c_str());
    HANDLE pong = ::CreateEventA(nullptr, FALSE, FALSE, EventName("pong", id).c_str());
    HANDLE quit = ::CreateEventA(nullptr, TRUE, FALSE, EventName("quit", id).c_str());
    char self[MAX_PATH] = {};
    ::GetModuleFileNameA(nullptr, self, MAX_PATH);
    std::string commandLine = std::string("\"") + self + "\" --pong " + std::to_string(id);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    if (!::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &child))
        return 3;

    LARGE_INTEGER frequency;
    ::QueryPerformanceFrequency(&frequency);
    for (int i = -kWarmUp; i < rounds; ++i)
    {
        LARGE_INTEGER start, end;
        ::QueryPerformanceCounter(&start);
        ::SetEvent(ping);
        if (::WaitForSingleObject(pong, 10000) != WAIT_OBJECT_0)
        {
            ::SetEvent(quit);
            ::TerminateProcess(child.hProcess, 4);
            return 4;
        }
        ::QueryPerformanceCounter(&end);
        if (i >= 0)
            std::printf("%.2f\n", (end.QuadPart - start.QuadPart) * 1e6 / frequency.QuadPart);
    }
    ::SetEvent(quit);
    ::WaitForSingleObject(child.hProcess, 10000);
    ::CloseHandle(child.hThread);
    ::CloseHandle(child.hProcess);
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::string(argv[1]) == "--pong")
        return Pong(std::strtoul(argv[2], nullptr, 10));
    if (argc == 2)
        return Ping(std::atoi(argv[1]));
    std::fprintf(stderr, "usage: PingPong.exe ROUNDS\n");
    return 2;
}
