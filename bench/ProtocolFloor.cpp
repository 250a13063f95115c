// The floor for a command: a bare native messaging host, framed as EchoHost is (FrameEcho.h: each frame sent back),
// that performs for every frame the kernel operations the core protocol prescribes for one command, and nothing
// else. A minimal core, a second copy of this program, answers each request at once.
//
//   ProtocolFloor.exe STEPS      serves frames from stdin until a zero length or the end of input; per frame it
//                                runs STEPS, one letter per operation:
//     L   the block mutex taken (WaitForSingleObject, INFINITE), as CMutexLock does
//     U   the block mutex released
//     R   one request rung and waited for, as LVBHO_SignalEvent(code, 1) does with the previous request complete:
//         the message-pumping wait on the complete event, L U (result and request code), ResetEvent of the complete
//         event, SetEvent of the request event, the message-pumping wait until the core completes
//     Q   one query of the system's process list (NtQuerySystemInformation), walked for the core's and its guard's
//         names, as the host asks whether the core runs when none does
//   ProtocolFloor.exe --core ID  the minimal core: for each request event, L U and SetEvent of the complete event,
//                                until the first copy's quit event.
//
// Exit codes: 0 done, 2 bad arguments, 3 the objects or the core could not be made.

#include "FrameEcho.h"
#include "corelink/ProcessQuery.h"
#include "corelink/SharedData.h"

#include <windows.h>
#include <winternl.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace
{
// The names the host looks for, as the core's wire header gives them.
const std::string kCore = kCoreProcessName;
const std::string kGuard = kGuardProcessName;

std::string ObjectName(const char* role, unsigned long id)
{
    return "Local\\LvBenchFloor-" + std::to_string(id) + "-" + role;
}

struct Objects
{
    HANDLE mutex = nullptr;
    HANDLE complete = nullptr; // manual reset, set between requests
    HANDLE request = nullptr;  // auto reset
    HANDLE quit = nullptr;
};

bool MakeObjects(unsigned long id, Objects& objects)
{
    objects.mutex = ::CreateMutexA(nullptr, FALSE, ObjectName("mutex", id).c_str());
    objects.complete = ::CreateEventA(nullptr, TRUE, TRUE, ObjectName("complete", id).c_str());
    objects.request = ::CreateEventA(nullptr, FALSE, FALSE, ObjectName("request", id).c_str());
    objects.quit = ::CreateEventA(nullptr, TRUE, FALSE, ObjectName("quit", id).c_str());
    return objects.mutex && objects.complete && objects.request && objects.quit;
}

int Core(unsigned long id)
{
    Objects objects;
    if (!MakeObjects(id, objects))
        return 3;
    HANDLE both[2] = {objects.request, objects.quit};
    while (::WaitForMultipleObjects(2, both, FALSE, INFINITE) == WAIT_OBJECT_0)
    {
        ::WaitForSingleObject(objects.mutex, INFINITE);
        ::ReleaseMutex(objects.mutex);
        ::SetEvent(objects.complete);
    }
    return 0;
}

// The host's wait for completion: messages are served while it waits (there are none here).
void PumpingWait(HANDLE event)
{
    for (;;)
    {
        if (::MsgWaitForMultipleObjectsEx(1, &event, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE) == WAIT_OBJECT_0)
            return;
        MSG message;
        while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
            ::DispatchMessageA(&message);
    }
}

bool QueryProcesses(std::vector<unsigned char>& buffer)
{
    ULONG needed = 0;
    if (::NtQuerySystemInformation(SystemProcessInformation, buffer.data(), static_cast<ULONG>(buffer.size()),
                                   &needed) < 0)
        return false;
    bool found = false;
    for (std::size_t offset = 0;;)
    {
        const auto* entry = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(buffer.data() + offset);
        // Matched where the name lies, in UTF-16, by the host's own rule.
        const std::size_t length = entry->ImageName.Buffer ? entry->ImageName.Length / sizeof(wchar_t) : 0;
        found = found || NameContains(entry->ImageName.Buffer, length, kCore) ||
                NameContains(entry->ImageName.Buffer, length, kGuard);
        if (entry->NextEntryOffset == 0)
            break;
        offset += entry->NextEntryOffset;
    }
    return found;
}

class CFloor
{
public:
    explicit CFloor(const std::string& steps) : m_steps(steps), m_processList(256 * 1024) {}

    ~CFloor()
    {
        if (m_core.hProcess)
        {
            ::SetEvent(m_objects.quit);
            ::WaitForSingleObject(m_core.hProcess, 10000);
            ::CloseHandle(m_core.hThread);
            ::CloseHandle(m_core.hProcess);
        }
    }

    bool Start()
    {
        const unsigned long id = ::GetCurrentProcessId();
        if (!MakeObjects(id, m_objects))
            return false;
        if (m_steps.find('R') == std::string::npos)
            return true;
        char self[MAX_PATH] = {};
        ::GetModuleFileNameA(nullptr, self, MAX_PATH);
        std::string commandLine = std::string("\"") + self + "\" --core " + std::to_string(id);
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        return ::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                                &m_core) != FALSE;
    }

    void RunSteps()
    {
        for (const char step : m_steps)
        {
            switch (step)
            {
            case 'L':
                ::WaitForSingleObject(m_objects.mutex, INFINITE);
                break;
            case 'U':
                ::ReleaseMutex(m_objects.mutex);
                break;
            case 'R':
                PumpingWait(m_objects.complete);
                ::WaitForSingleObject(m_objects.mutex, INFINITE);
                ::ReleaseMutex(m_objects.mutex);
                ::ResetEvent(m_objects.complete);
                ::SetEvent(m_objects.request);
                PumpingWait(m_objects.complete);
                break;
            case 'Q':
                QueryProcesses(m_processList);
                break;
            default:
                break;
            }
        }
    }

private:
    std::string m_steps;
    std::vector<unsigned char> m_processList;
    Objects m_objects;
    PROCESS_INFORMATION m_core{};
};

int Serve(const std::string& steps)
{
    CFloor floor(steps);
    if (!floor.Start())
        return 3;
    return EchoFrames([&floor] { floor.RunSteps(); });
}
} // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::string(argv[1]) == "--core")
        return Core(std::strtoul(argv[2], nullptr, 10));
    if (argc == 2 && std::string(argv[1]).find_first_not_of("LURQ") == std::string::npos)
        return Serve(argv[1]);
    std::fprintf(stderr, "usage: ProtocolFloor.exe STEPS (letters L U R Q) | --core ID\n");
    return 2;
}
