// End-to-end tests of the stand-in core SimLvEngine.exe. This process plays the host's side with raw Win32 calls:
// it starts the sim with pipes on its stdin and stdout, opens the shared objects by name, writes requests into the
// block and rings the request events. The named objects are per Wine prefix and shared with every other test of
// the binary, so each test stops its sim and closes every handle before it ends.

#include "config/DebugLog.h"
#include "corelink/CoreObjectsWin.h"
#include "corelink/ProcessQueryWin.h"
#include "corelink/SharedData.h"
#include "framework/Unique.h"
#include "tests/fakes/FakeLogSink.h"

#include <gtest/gtest.h>
#include <json/json.h>
#include <tlhelp32.h>
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace
{
constexpr DWORD kReplyTimeoutMs = 10000;
constexpr DWORD kCompleteTimeoutMs = 5000;

bool FileExists(const std::string& path)
{
    return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The sim sits beside the test binary; the build's path is the fallback, a Linux path as Wine's Z: drive.
std::string SimExePath()
{
    char module[MAX_PATH] = {};
    ::GetModuleFileNameA(nullptr, module, MAX_PATH);
    std::string beside(module);
    beside.erase(beside.find_last_of("\\/") + 1);
    beside += "SimLvEngine.exe";
    if (FileExists(beside))
        return beside;
    std::string built = LVBHO_CORESIM_EXE;
    if (!built.empty() && built[0] == '/')
        built = "Z:" + built;
    for (char& c : built)
        c = c == '/' ? '\\' : c;
    return built;
}

std::string TempFileName(const char* tag)
{
    static int counter = 0;
    char folder[MAX_PATH] = {};
    ::GetTempPathA(MAX_PATH, folder);
    return std::string(folder) + "CoreSimTest-" + std::to_string(::GetCurrentProcessId()) + "-" +
           std::to_string(++counter) + "-" + tag;
}

std::string ReadWholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool ParseJson(const std::string& text, Json::Value& value)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string errors;
    return reader->parse(text.data(), text.data() + text.size(), &value, &errors);
}

void PumpMessages()
{
    MSG msg;
    while (::PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
    {
        ::TranslateMessage(&msg);
        ::DispatchMessageA(&msg);
    }
}

std::string Field(const char* field, std::size_t size)
{
    return std::string(field, std::find(field, field + size, '\0'));
}

std::uint64_t WindowNumber(HWND hwnd)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(hwnd));
}

// What the test's host window received.
struct HostWindowRecord
{
    int copyDataCount = 0;
    ULONG_PTR dwData = 0;
    DWORD cbData = 0;
    WPARAM wParam = 0;
    std::vector<char> bytes;
    int wakeUps = 0;
};
HostWindowRecord g_received;

LRESULT CALLBACK HostWindowProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    if (msg == WM_COPYDATA)
    {
        const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        ++g_received.copyDataCount;
        g_received.dwData = data->dwData;
        g_received.cbData = data->cbData;
        g_received.wParam = wParam;
        const auto* first = static_cast<const char*>(data->lpData);
        g_received.bytes.assign(first, first + data->cbData);
        return 1;
    }
    if (msg == ::RegisterWindowMessageA(kMsgCoreWakeUp))
    {
        ++g_received.wakeUps;
        return 1;
    }
    return ::DefWindowProcA(hwnd, msg, wParam, lParam);
}

// A message-only window standing in for the host's message window.
class CHostWindow
{
public:
    CHostWindow()
    {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = HostWindowProc;
        windowClass.hInstance = ::GetModuleHandleA(nullptr);
        windowClass.lpszClassName = "CoreSimTestHostWindow";
        ::RegisterClassA(&windowClass); // a second test finds the class registered
        m_hwnd = ::CreateWindowExA(0, "CoreSimTestHostWindow", "host", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   windowClass.hInstance, nullptr);
    }
    CHostWindow(const CHostWindow&) = delete;
    CHostWindow& operator=(const CHostWindow&) = delete;
    ~CHostWindow()
    {
        if (m_hwnd)
            ::DestroyWindow(m_hwnd);
    }
    HWND Handle() const { return m_hwnd; }

private:
    HWND m_hwnd = nullptr;
};

// The sim's process with its three pipes. Reading a reply pumps this thread's messages, so that the sim may send
// to the test's window meanwhile.
class CSimProcess
{
public:
    CSimProcess() = default;
    CSimProcess(const CSimProcess&) = delete;
    CSimProcess& operator=(const CSimProcess&) = delete;
    ~CSimProcess() { Stop(); }

    bool Launch(const std::string& args)
    {
        SECURITY_ATTRIBUTES inherit{sizeof(inherit), nullptr, TRUE};
        HANDLE childIn = nullptr;
        HANDLE childOut = nullptr;
        HANDLE childErr = nullptr;
        HANDLE ours = nullptr;
        if (!::CreatePipe(&childIn, &ours, &inherit, 0))
            return false;
        CHandle childInOwner(childIn);
        m_stdin.Attach(ours);
        if (!::CreatePipe(&ours, &childOut, &inherit, 0))
            return false;
        CHandle childOutOwner(childOut);
        m_stdout.Attach(ours);
        if (!::CreatePipe(&ours, &childErr, &inherit, 0))
            return false;
        CHandle childErrOwner(childErr);
        m_stderr.Attach(ours);
        ::SetHandleInformation(m_stdin.Get(), HANDLE_FLAG_INHERIT, 0);
        ::SetHandleInformation(m_stdout.Get(), HANDLE_FLAG_INHERIT, 0);
        ::SetHandleInformation(m_stderr.Get(), HANDLE_FLAG_INHERIT, 0);

        STARTUPINFOA startup{};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = childIn;
        startup.hStdOutput = childOut;
        startup.hStdError = childErr;
        const std::string exe = SimExePath();
        std::string commandLine = "\"" + exe + "\" " + args;
        PROCESS_INFORMATION info{};
        if (!::CreateProcessA(exe.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                              &info))
            return false;
        m_process.Attach(info.hProcess);
        CHandle thread(info.hThread);
        m_pid = info.dwProcessId;
        return true;
    }

    // Launches and waits for "ready <pid> <window>". On failure Stderr() tells what is known.
    bool Start(const std::string& args)
    {
        std::string line;
        if (!Launch(args))
        {
            const DWORD lastError = ::GetLastError();
            m_stderrText += "CreateProcessA failed with " + std::to_string(lastError);
            return false;
        }
        if (!ReadLine(line))
        {
            const DWORD lastError = ::GetLastError();
            const DWORD code = WaitForExit(1000);
            m_stderrText += "no ready line (last error " + std::to_string(lastError) + ", exit code " +
                            std::to_string(code) + ", stdout \"" + m_buffer + "\")";
            return false;
        }
        std::istringstream words(line);
        std::string ready;
        DWORD pid = 0;
        std::uint64_t window = 0;
        words >> ready >> pid >> window;
        m_window = reinterpret_cast<HWND>(static_cast<std::uintptr_t>(window));
        return ready == "ready" && pid == m_pid && window != 0;
    }

    bool ReadLine(std::string& line, DWORD timeoutMs = kReplyTimeoutMs)
    {
        const DWORD start = ::GetTickCount();
        for (;;)
        {
            const std::size_t end = m_buffer.find('\n');
            if (end != std::string::npos)
            {
                line = m_buffer.substr(0, end);
                m_buffer.erase(0, end + 1);
                return true;
            }
            DrainStderr();
            DWORD available = 0;
            if (!::PeekNamedPipe(m_stdout.Get(), nullptr, 0, nullptr, &available, nullptr))
                return false;
            if (available > 0)
            {
                char chunk[4096];
                DWORD got = 0;
                if (!::ReadFile(m_stdout.Get(), chunk, sizeof(chunk) < available ? sizeof(chunk) : available, &got,
                                nullptr))
                    return false;
                m_buffer.append(chunk, got);
                continue;
            }
            PumpMessages();
            if (::GetTickCount() - start >= timeoutMs)
                return false;
            ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
        }
    }

    // Sends one command line and returns its reply line ("" when none came).
    std::string Command(const std::string& command)
    {
        const std::string text = command + "\n";
        DWORD written = 0;
        if (!::WriteFile(m_stdin.Get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr))
            return "";
        std::string reply;
        return ReadLine(reply) ? reply : "";
    }

    void CloseStdin() { m_stdin.Close(); }

    // The exit code, or STILL_ACTIVE when the process did not end within `timeoutMs`.
    DWORD WaitForExit(DWORD timeoutMs = kReplyTimeoutMs)
    {
        DWORD code = STILL_ACTIVE;
        if (m_process.IsValid() && ::WaitForSingleObject(m_process.Get(), timeoutMs) == WAIT_OBJECT_0)
            ::GetExitCodeProcess(m_process.Get(), &code);
        DrainStderr();
        return code;
    }

    // quit first, TerminateProcess if that does not end it; then every handle is closed.
    void Stop()
    {
        if (m_process.IsValid() && ::WaitForSingleObject(m_process.Get(), 0) == WAIT_TIMEOUT)
        {
            if (m_stdin.IsValid())
                Command("quit");
            m_stdin.Close();
            if (WaitForExit(5000) == STILL_ACTIVE)
            {
                ::TerminateProcess(m_process.Get(), 3);
                ::WaitForSingleObject(m_process.Get(), 5000);
            }
        }
        m_stdin.Close();
        m_stdout.Close();
        m_stderr.Close();
        m_process.Close();
    }

    DWORD Pid() const { return m_pid; }
    HWND Window() const { return m_window; }
    const std::string& Stderr() const { return m_stderrText; }

private:
    void DrainStderr()
    {
        DWORD available = 0;
        while (m_stderr.IsValid() && ::PeekNamedPipe(m_stderr.Get(), nullptr, 0, nullptr, &available, nullptr) &&
               available > 0)
        {
            char chunk[4096];
            DWORD got = 0;
            if (!::ReadFile(m_stderr.Get(), chunk, sizeof(chunk) < available ? sizeof(chunk) : available, &got,
                            nullptr) ||
                got == 0)
                return;
            m_stderrText.append(chunk, got);
        }
    }

    CHandle m_process;
    CHandle m_stdin;
    CHandle m_stdout;
    CHandle m_stderr;
    DWORD m_pid = 0;
    HWND m_window = nullptr;
    std::string m_buffer;
    std::string m_stderrText;
};

// The host's side of the shared objects, opened by name.
class CHostSide
{
public:
    bool Open()
    {
        m_mapping.Attach(::OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, kSharedBlockName));
        if (!m_mapping.IsValid())
            return false;
        m_view.Attach(::MapViewOfFile(m_mapping.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
        if (!m_view.IsValid())
            return false;
        for (const CoreEventName& entry : kCoreEvents)
        {
            CHandle& handle = m_events[static_cast<int>(entry.event)];
            handle.Attach(::OpenEventA(EVENT_ALL_ACCESS, FALSE, entry.name));
            if (!handle.IsValid())
                return false;
        }
        m_mutex.Attach(::OpenMutexA(SYNCHRONIZE | MUTEX_MODIFY_STATE, FALSE, kBlockMutexName));
        return m_mutex.IsValid();
    }

    HANDLE Event(CoreEvent event) const { return m_events[static_cast<int>(event)].Get(); }

    // Runs `change` on the block under the block mutex.
    void Locked(const std::function<void(BHOSharedData&)>& change)
    {
        const DWORD waited = ::WaitForSingleObject(m_mutex.Get(), kCompleteTimeoutMs);
        ASSERT_TRUE(waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED);
        change(*static_cast<BHOSharedData*>(m_view.Get()));
        ::ReleaseMutex(m_mutex.Get());
    }

    BHOSharedData Snapshot()
    {
        BHOSharedData copy{};
        Locked([&](BHOSharedData& block) { std::memcpy(&copy, &block, sizeof(copy)); });
        return copy;
    }

    // Posts `code` as the host does and returns the wait's outcome on the complete event.
    DWORD Request(std::uint32_t code, const std::function<void(BHOSharedData&)>& fill = nullptr,
                  DWORD timeoutMs = kCompleteTimeoutMs)
    {
        Locked([&](BHOSharedData& block) {
            if (fill)
                fill(block);
            block.result = kResultPending;
            block.requestCode = code;
        });
        CoreEvent event = CoreEvent::RequestA;
        if (!RequestEventFor(code, event))
            return WAIT_FAILED;
        ::ResetEvent(Event(CoreEvent::Complete));
        ::SetEvent(Event(event));
        return ::WaitForSingleObject(Event(CoreEvent::Complete), timeoutMs);
    }

private:
    CHandle m_mapping;
    CMappedView m_view;
    CHandle m_events[kCoreEventCount];
    CHandle m_mutex;
};

// Writes a request's key and user, clearing the script fields.
std::function<void(BHOSharedData&)> KeyAndUser(const std::string& key, const std::string& user = "",
                                               std::uint32_t flags = 0)
{
    return [=](BHOSharedData& block) {
        std::memset(block.requestKey, 0, sizeof(block.requestKey));
        std::memset(block.requestUser, 0, sizeof(block.requestUser));
        std::memset(block.fieldScript, 0, sizeof(block.fieldScript));
        std::memset(block.valueScript, 0, sizeof(block.valueScript));
        block.valueCount = 0;
        std::memcpy(block.requestKey, key.data(), key.size());
        std::memcpy(block.requestUser, user.data(), user.size());
        block.flags = flags;
    };
}

class CoreSimTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_received = HostWindowRecord();
        m_logFile = TempFileName("log.txt");
    }

    void TearDown() override
    {
        m_sim.Stop();
        for (const std::string& file : m_tempFiles)
            ::DeleteFileA(file.c_str());
        ::DeleteFileA(m_logFile.c_str());
    }

    // Starts the sim with `args` and a log, and opens the host's side.
    void StartSim(const std::string& args = "")
    {
        ASSERT_TRUE(m_sim.Start("--log \"" + m_logFile + "\" " + args)) << m_sim.Stderr();
        ASSERT_TRUE(m_host.Open());
    }

    std::string TempFile(const char* tag)
    {
        m_tempFiles.push_back(TempFileName(tag));
        return m_tempFiles.back();
    }

    std::vector<Json::Value> LogLines()
    {
        std::vector<Json::Value> lines;
        std::istringstream text(ReadWholeFile(m_logFile));
        std::string line;
        while (std::getline(text, line))
        {
            Json::Value value;
            EXPECT_TRUE(ParseJson(line, value)) << line;
            lines.push_back(value);
        }
        return lines;
    }

    // The last log line of `event`, waiting for it up to a few seconds; null when none came.
    Json::Value WaitForLog(const char* event)
    {
        const DWORD start = ::GetTickCount();
        do
        {
            const std::vector<Json::Value> lines = LogLines();
            for (auto line = lines.rbegin(); line != lines.rend(); ++line)
            {
                if ((*line)["event"].asString() == event)
                    return *line;
            }
            PumpMessages();
            ::Sleep(10);
        } while (::GetTickCount() - start < kCompleteTimeoutMs);
        return Json::Value();
    }

    void SetHostWindow(HWND hwnd)
    {
        m_host.Locked([&](BHOSharedData& block) { block.hostWindow = WindowNumber(hwnd); });
    }

    CSimProcess m_sim;
    CHostSide m_host;
    std::string m_logFile;
    std::vector<std::string> m_tempFiles;
};

constexpr const char* kSiteKey = "EXAMPLE.COM::pwd";
constexpr const char* kAddExample = "vault add EXAMPLE.COM::pwd bob secret login pwd https://example.com/login";
} // namespace

TEST_F(CoreSimTest, AnnouncesItsPidAndTheWindowTheHostFinds)
{
    StartSim();

    EXPECT_EQ(m_sim.Window(), ::FindWindowA(kCoreWindowClass, kCoreWindowTitle));
}

TEST_F(CoreSimTest, ProcessDiscoveryFindsItByTheCoreName)
{
    StartSim();
    CHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    ASSERT_TRUE(snapshot.IsValid());
    std::string imageName;

    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Process32First(snapshot.Get(), &entry); more; more = ::Process32Next(snapshot.Get(), &entry))
    {
        if (entry.th32ProcessID == m_sim.Pid())
            imageName = entry.szExeFile;
    }

    for (char& c : imageName)
        c = static_cast<char>(::tolower(static_cast<unsigned char>(c)));
    EXPECT_NE(std::string::npos, imageName.find("lvengine.exe")) << imageName;
}

namespace
{
// The real process list, counting the scans.
class CCountingProcessQuery : public CProcessQueryWin
{
public:
    std::uint32_t FindProcessByName(const char* name) override
    {
        ++m_scans;
        return CProcessQueryWin::FindProcessByName(name);
    }
    std::uint32_t FindAnyProcess(const std::vector<std::string>& names) override
    {
        ++m_scans;
        return CProcessQueryWin::FindAnyProcess(names);
    }
    int m_scans = 0;
};

// The core found nothing: no result and no flag.
void ExpectNothingFound(const BHOSharedData& block)
{
    EXPECT_EQ(0u, block.result);
    EXPECT_EQ(0u, block.flags);
}
} // namespace

TEST_F(CoreSimTest, ARunningCoreIsWatchedWithoutScanningAgainUntilItExits)
{
    StartSim();
    CCountingProcessQuery processes;
    CFakeLogSink sink;
    CDebugLog log(sink);
    CCoreObjectsWin objects(processes, log);

    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(objects.IsCoreRunning());
    EXPECT_EQ(2, processes.m_scans); // the find, and the check that the id still names it

    m_sim.Stop();
    // The thread pool hears of the exit a moment after it; until then the watch still says the core runs.
    const DWORD start = ::GetTickCount();
    while (objects.IsCoreRunning() && ::GetTickCount() - start < 5000)
        ::Sleep(1);
    EXPECT_EQ(3, processes.m_scans); // once the exit is known: one reading for the core and the guard
    EXPECT_FALSE(objects.IsCoreRunning());
    EXPECT_EQ(4, processes.m_scans);
}

TEST_F(CoreSimTest, InitialisesTheBlockItCreates)
{
    StartSim();
    const Json::Value start = WaitForLog("start");
    if (!start["createdBlock"].asBool())
        GTEST_SKIP() << "another process of the prefix kept the block";

    const BHOSharedData block = m_host.Snapshot();

    EXPECT_EQ(0u, block.hostContext);
    EXPECT_EQ(0u, block.hostWindow);
    EXPECT_EQ(0u, block.valueCount);
    EXPECT_EQ(0u, block.flags);
    EXPECT_EQ(kRequestIsKnown, block.requestCode);
    EXPECT_EQ(kResultPending, block.result);
    EXPECT_EQ("", Field(block.requestKey, sizeof(block.requestKey)));
}

TEST_F(CoreSimTest, IsKnownSaysNoForAnUnknownSite)
{
    StartSim();

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey)));

    ExpectNothingFound(m_host.Snapshot());
}

TEST_F(CoreSimTest, IsKnownSaysYesAfterVaultAdd)
{
    StartSim();
    ASSERT_EQ("ok", m_sim.Command(kAddExample));

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey)));

    const BHOSharedData block = m_host.Snapshot();
    EXPECT_EQ(0u, block.result);
    EXPECT_EQ(kFlagAnswerYes, block.flags);
}

TEST_F(CoreSimTest, IsKnownComparesTheUserWhenOneIsGiven)
{
    StartSim();
    ASSERT_EQ("ok", m_sim.Command(kAddExample));

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey, "alice")));
    const std::uint32_t otherUser = m_host.Snapshot().flags;
    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey, "bob")));
    const std::uint32_t sameUser = m_host.Snapshot().flags;

    EXPECT_EQ(0u, otherUser);
    EXPECT_EQ(kFlagAnswerYes, sameUser);
}

TEST_F(CoreSimTest, NotEnrolledIsReportedAndTheValidatingBitKept)
{
    StartSim("--not-enrolled");

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey, "", kFlagValidating | 0x40)));

    EXPECT_EQ(kFlagNotEnrolled | kFlagValidating, m_host.Snapshot().flags);
}

TEST_F(CoreSimTest, StoreKeepsTheLoginTheHostScripted)
{
    StartSim();
    const auto writeScript = [](BHOSharedData& block) {
        KeyAndUser(kSiteKey, "bob")(block);
        const char fieldScript[] = "<S>+<DCH>login<FV><SV><\\FV><TAB>+<DCH>pwd<FV><SV><\\FV>+<OK>+<QL>+";
        const char values[] = "\0"                         // <S>
                              "bob\0"                      // the user field
                              "s3cret\0"                   // the password field
                              "<END>\0"                    // <OK>
                              "https://example.com/login"; // <QL>, its NUL from the literal
        std::memcpy(block.fieldScript, fieldScript, sizeof(fieldScript));
        std::memcpy(block.valueScript, values, sizeof(values));
        block.valueCount = 5;
    };

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestStore, writeScript));
    EXPECT_EQ(kFlagAnswerYes, m_host.Snapshot().flags);
    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey, "bob")));
    EXPECT_EQ(kFlagAnswerYes, m_host.Snapshot().flags);
    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestLookUp, KeyAndUser(kSiteKey)));
    const std::string dump = m_sim.Command("dump");

    ASSERT_EQ(0u, dump.rfind("ok ", 0)) << dump;
    Json::Value fields;
    ASSERT_TRUE(ParseJson(dump.substr(3), fields)) << dump;
    EXPECT_EQ(kSiteKey, fields["requestKey"].asString());
    EXPECT_EQ("<S>+<DCH>login<FV><SV><\\FV><TAB>+<DCH>pwd<FV><SV><\\FV>+<OK>+<QL>+", fields["fieldScript"].asString());
    ASSERT_EQ(5u, fields["values"].size());
    EXPECT_EQ("bob", fields["values"][1].asString());
    EXPECT_EQ("s3cret", fields["values"][2].asString());
    EXPECT_EQ("https://example.com/login", fields["values"][4].asString());
    EXPECT_EQ(kResultFillScript, fields["result"].asUInt());
}

TEST_F(CoreSimTest, LookUpOfAKnownSiteLeavesTheFillScript)
{
    StartSim();
    ASSERT_EQ("ok", m_sim.Command(kAddExample));

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestLookUp, KeyAndUser(kSiteKey)));

    const BHOSharedData block = m_host.Snapshot();
    EXPECT_EQ(kResultFillScript, block.result);
    EXPECT_EQ(0u, block.flags);
    EXPECT_EQ(5u, block.valueCount);
    EXPECT_EQ(kSiteKey, Field(block.requestKey, sizeof(block.requestKey)));
    EXPECT_EQ("<S>+<DCH>login<FV><SV><\\FV><TAB>+<DCH>pwd<FV><SV><\\FV>+<OK>+<QL>+",
              Field(block.fieldScript, sizeof(block.fieldScript)));
    const char values[] = "\0"                          // <S>
                          "bob\0"                       // the user field
                          "secret\0"                    // the password field
                          "<END>\0"                     // <OK>
                          "https://example.com/login\0" // <QL>
                          "\0";                         // the rest of the field is zero
    EXPECT_EQ(0, std::memcmp(values, block.valueScript, sizeof(values)));
}

TEST_F(CoreSimTest, LookUpOfAnUnknownSiteStaysPendingWithTheSimWindow)
{
    StartSim();

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestLookUp, KeyAndUser(kSiteKey)));

    const BHOSharedData block = m_host.Snapshot();
    EXPECT_EQ(kResultVaultSelect, block.result);
    EXPECT_EQ(kFlagCancellable, block.flags);
    EXPECT_EQ(WindowNumber(m_sim.Window()), block.hostContext);
}

TEST_F(CoreSimTest, MissResultCanBeChanged)
{
    StartSim();
    ASSERT_EQ("ok", m_sim.Command("set missresult 6"));

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestLookUp, KeyAndUser(kSiteKey)));

    EXPECT_EQ(6u, m_host.Snapshot().result);
}

TEST_F(CoreSimTest, MissCanFail)
{
    StartSim("--miss fail");

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestLookUp, KeyAndUser(kSiteKey)));

    ExpectNothingFound(m_host.Snapshot());
}

TEST_F(CoreSimTest, CancelClearsTheCancellableBit)
{
    StartSim();
    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestLookUp, KeyAndUser(kSiteKey)));

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestCancel));

    const BHOSharedData block = m_host.Snapshot();
    EXPECT_EQ(0u, block.result);
    EXPECT_EQ(0u, block.flags & kFlagCancellable);
}

TEST_F(CoreSimTest, NoPromptIsOffUntilRequestTen)
{
    StartSim();

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestNoPromptQuery));
    const std::uint32_t before = m_host.Snapshot().result;
    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestNoPromptOn));
    const std::uint32_t switching = m_host.Snapshot().result;
    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestNoPromptQuery));
    const std::uint32_t after = m_host.Snapshot().result;

    EXPECT_EQ(0u, before);
    EXPECT_EQ(0u, switching);
    EXPECT_EQ(kResultNoPrompt, after);
}

TEST_F(CoreSimTest, NoPromptOptionAnswersTwelve)
{
    StartSim("--noprompt");

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestNoPromptQuery));

    EXPECT_EQ(kResultNoPrompt, m_host.Snapshot().result);
}

TEST_F(CoreSimTest, HeldRequestCompletesOnlyOnRelease)
{
    StartSim("--hold");
    ASSERT_EQ("ok", m_sim.Command(kAddExample));

    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey), 300));
    ASSERT_FALSE(WaitForLog("held").isNull());
    EXPECT_EQ(kResultPending, m_host.Snapshot().result);
    EXPECT_EQ("ok 1", m_sim.Command("release"));

    ASSERT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(m_host.Event(CoreEvent::Complete), kCompleteTimeoutMs));
    const BHOSharedData block = m_host.Snapshot();
    EXPECT_EQ(0u, block.result);
    EXPECT_EQ(kFlagAnswerYes, block.flags);
    EXPECT_EQ("error nothing held", m_sim.Command("release"));
}

namespace
{
// Runs the host's validation handshake; returns the acknowledge wait and the decision wait (0 denied, 1 granted).
std::pair<DWORD, DWORD> Validate(CHostSide& host, DWORD decisionTimeoutMs = kCompleteTimeoutMs)
{
    ::ResetEvent(host.Event(CoreEvent::ValidationDenied));
    ::ResetEvent(host.Event(CoreEvent::ValidationAcknowledge));
    ::ResetEvent(host.Event(CoreEvent::ValidationGranted));
    const HWND core = ::FindWindowA(kCoreWindowClass, kCoreWindowTitle);
    ::PostMessageA(core, ::RegisterWindowMessageA(kMsgDoValidateUser), 1, 0);
    const DWORD acknowledged = ::WaitForSingleObject(host.Event(CoreEvent::ValidationAcknowledge), 3000);
    const HANDLE outcomes[] = {host.Event(CoreEvent::ValidationDenied), host.Event(CoreEvent::ValidationGranted)};
    const DWORD decided = ::WaitForMultipleObjects(2, outcomes, FALSE, decisionTimeoutMs);
    return {acknowledged, decided};
}
} // namespace

TEST_F(CoreSimTest, ValidationIsGrantedByDefault)
{
    StartSim();

    const auto [acknowledged, decided] = Validate(m_host);

    EXPECT_EQ(WAIT_OBJECT_0, acknowledged);
    EXPECT_EQ(WAIT_OBJECT_0 + 1, decided);
    const Json::Value message = WaitForLog("message");
    EXPECT_EQ(kMsgDoValidateUser, message["name"].asString());
    EXPECT_EQ(1u, message["wParam"].asUInt());
}

TEST_F(CoreSimTest, ValidationCanBeDenied)
{
    StartSim("--validation denied");

    const auto [acknowledged, decided] = Validate(m_host);

    EXPECT_EQ(WAIT_OBJECT_0, acknowledged);
    EXPECT_EQ(WAIT_OBJECT_0, decided);
}

TEST_F(CoreSimTest, SilentValidationOnlyAcknowledges)
{
    StartSim();
    ASSERT_EQ("ok", m_sim.Command("set validation silent"));

    const auto [acknowledged, decided] = Validate(m_host, 300);

    EXPECT_EQ(WAIT_OBJECT_0, acknowledged);
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), decided);
}

TEST_F(CoreSimTest, ValidationNoneAnswersNothing)
{
    StartSim("--validation none");

    ::ResetEvent(m_host.Event(CoreEvent::ValidationAcknowledge));
    ::PostMessageA(m_sim.Window(), ::RegisterWindowMessageA(kMsgDoValidateUser), 1, 0);
    ASSERT_FALSE(WaitForLog("message").isNull());

    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT),
              ::WaitForSingleObject(m_host.Event(CoreEvent::ValidationAcknowledge), 0));
}

TEST_F(CoreSimTest, ExtensionInstalledIsLogged)
{
    StartSim();

    ASSERT_TRUE(::PostMessageA(m_sim.Window(), ::RegisterWindowMessageA(kMsgExtensionInstalled), 0, 0));

    EXPECT_EQ(kMsgExtensionInstalled, WaitForLog("message")["name"].asString()) << ReadWholeFile(m_logFile);
}

TEST_F(CoreSimTest, CopyDataToTheSimIsAnsweredAndLogged)
{
    StartSim();
    CHostWindow window;
    BHOCopyData record{};
    record.devId = 42;
    std::strcpy(record.strDevId, "dev-42");
    std::strcpy(record.text2, "param");
    record.status = 0xFFFFFFFF;
    COPYDATASTRUCT data{kCopyDataKind, sizeof(record), &record};

    const LRESULT result = ::SendMessageA(m_sim.Window(), WM_COPYDATA, reinterpret_cast<WPARAM>(window.Handle()),
                                          reinterpret_cast<LPARAM>(&data));

    EXPECT_EQ(1, result);
    const Json::Value logged = WaitForLog("copydata");
    EXPECT_EQ(42u, logged["devId"].asUInt());
    EXPECT_EQ("dev-42", logged["strDevId"].asString());
    EXPECT_EQ("param", logged["text2"].asString());
    EXPECT_EQ(-1, logged["status"].asInt());
    EXPECT_EQ(788u, logged["cbData"].asUInt());
    EXPECT_EQ(WindowNumber(window.Handle()), logged["wParam"].asUInt64());
}

TEST_F(CoreSimTest, PushCopyDataReachesTheHostWindow)
{
    StartSim();
    CHostWindow window;
    SetHostWindow(window.Handle());

    EXPECT_EQ("ok 1", m_sim.Command("push copydata 7 -1 dev-1 \"hello there\" extra"));

    ASSERT_EQ(1, g_received.copyDataCount);
    EXPECT_EQ(kCopyDataKind, g_received.dwData);
    EXPECT_EQ(788u, g_received.cbData);
    EXPECT_EQ(reinterpret_cast<WPARAM>(m_sim.Window()), g_received.wParam);
    BHOCopyData expected{};
    expected.devId = 7;
    std::strcpy(expected.strDevId, "dev-1");
    std::strcpy(expected.message, "hello there");
    expected.status = 0xFFFFFFFF;
    std::strcpy(expected.text2, "extra");
    ASSERT_EQ(sizeof(expected), g_received.bytes.size());
    EXPECT_EQ(0, std::memcmp(&expected, g_received.bytes.data(), sizeof(expected)));
}

TEST_F(CoreSimTest, PushCopyDataWithoutAHostWindowFails)
{
    StartSim();
    SetHostWindow(nullptr);

    EXPECT_EQ("error no host window", m_sim.Command("push copydata 1 0 dev msg"));
}

TEST_F(CoreSimTest, PushFillLeavesTheScriptAndWakesTheHost)
{
    StartSim();
    CHostWindow window;
    SetHostWindow(window.Handle());
    m_host.Locked(KeyAndUser("OTHER.ORG::p"));
    ASSERT_EQ("ok", m_sim.Command(kAddExample));

    ASSERT_EQ("ok", m_sim.Command(std::string("push fill ") + kSiteKey));

    const DWORD start = ::GetTickCount();
    while (g_received.wakeUps == 0 && ::GetTickCount() - start < kCompleteTimeoutMs)
    {
        PumpMessages();
        ::Sleep(5);
    }
    EXPECT_EQ(1, g_received.wakeUps);
    const BHOSharedData block = m_host.Snapshot();
    EXPECT_EQ(kSiteKey, Field(block.requestKey, sizeof(block.requestKey)));
    EXPECT_EQ("<S>+<DCH>login<FV><SV><\\FV><TAB>+<DCH>pwd<FV><SV><\\FV>+<OK>+<QL>+",
              Field(block.fieldScript, sizeof(block.fieldScript)));
    EXPECT_EQ(5u, block.valueCount);
    EXPECT_EQ("bob", Field(block.valueScript + 1, sizeof(block.valueScript) - 1));
}

TEST_F(CoreSimTest, PushFillOfAnUnknownSiteFails)
{
    StartSim();

    EXPECT_EQ("error unknown site", m_sim.Command("push fill NOWHERE.NET::pwd"));
}

TEST_F(CoreSimTest, LogRecordsTheRequestAndTheAnswer)
{
    StartSim();
    ASSERT_EQ("ok", m_sim.Command(kAddExample));
    CHostWindow window;

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, [&](BHOSharedData& block) {
        KeyAndUser(kSiteKey, "bob")(block);
        block.hostWindow = WindowNumber(window.Handle());
    }));

    const Json::Value request = WaitForLog("request");
    EXPECT_EQ(1u, request["code"].asUInt());
    EXPECT_EQ("A", request["eventName"].asString());
    EXPECT_EQ(kSiteKey, request["requestKey"].asString());
    EXPECT_EQ("bob", request["requestUser"].asString());
    EXPECT_EQ(WindowNumber(window.Handle()), request["hostWindow"].asUInt64());
    EXPECT_TRUE(request["values"].isArray());
    const Json::Value answer = WaitForLog("answer");
    EXPECT_EQ(1u, answer["code"].asUInt());
    EXPECT_EQ(0u, answer["result"].asUInt());
    EXPECT_EQ(kFlagAnswerYes, answer["flags"].asUInt());
}

TEST_F(CoreSimTest, LogStaysValidJsonForBytesThatAreNotUtf8)
{
    StartSim();

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser("\xE9t\xE9::\x80\"\\", "\xFF\x01")));

    const Json::Value request = WaitForLog("request"); // LogLines() checks that every line parses
    EXPECT_EQ("\xC3\xA9t\xC3\xA9::\xC2\x80\"\\", request["requestKey"].asString());
    EXPECT_EQ("\xC3\xBF\x01", request["requestUser"].asString());
}

TEST_F(CoreSimTest, SurvivesABlockWithoutTerminators)
{
    StartSim();
    const auto garbage = [](BHOSharedData& block) {
        std::memset(&block, 'x', sizeof(block));
        block.valueCount = 0xFFFFFFFF;
    };

    EXPECT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, garbage));
    EXPECT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestStore, garbage));
    EXPECT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestLookUp, garbage));
    const std::string dump = m_sim.Command("dump");

    ASSERT_EQ(0u, dump.rfind("ok ", 0)) << dump;
    Json::Value fields;
    EXPECT_TRUE(ParseJson(dump.substr(3), fields));
    EXPECT_EQ(260u, fields["requestKey"].asString().size());
}

TEST_F(CoreSimTest, VaultFileIsLoadedAndSavedAfterChanges)
{
    const std::string vault = TempFile("vault.json");
    const std::string saved = TempFile("saved.json");
    std::ofstream(vault, std::ios::binary)
        << R"({"sites":{"EXAMPLE.COM::pwd":{"user":"bob","password":"pw","userField":"login","passField":"pwd"}}})";
    StartSim("--vault \"" + vault + "\" --save-vault \"" + saved + "\"");

    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestIsKnown, KeyAndUser(kSiteKey)));
    EXPECT_EQ(kFlagAnswerYes, m_host.Snapshot().flags);
    ASSERT_EQ("ok", m_sim.Command("vault add \"NEW.ORG::p w\" ann \"\" user pass"));
    ASSERT_EQ(WAIT_OBJECT_0, m_host.Request(kRequestNoPromptOn));

    Json::Value file;
    ASSERT_TRUE(ParseJson(ReadWholeFile(saved), file));
    EXPECT_EQ("bob", file["sites"][kSiteKey]["user"].asString());
    EXPECT_EQ("ann", file["sites"]["NEW.ORG::p w"]["user"].asString());
    EXPECT_EQ("", file["sites"]["NEW.ORG::p w"]["password"].asString());
    EXPECT_TRUE(file["noPrompt"].asBool());
}

TEST_F(CoreSimTest, UnknownCommandsAndSettingsAreErrors)
{
    StartSim();

    EXPECT_EQ(0u, m_sim.Command("fly away").rfind("error", 0));
    EXPECT_EQ(0u, m_sim.Command("set hold maybe").rfind("error", 0));
    EXPECT_EQ(0u, m_sim.Command("vault add too few").rfind("error", 0));
    EXPECT_EQ("ok", m_sim.Command("set hold 0"));
}

TEST_F(CoreSimTest, QuitEndsWithExitCodeZero)
{
    StartSim();

    EXPECT_EQ("ok", m_sim.Command("quit"));

    EXPECT_EQ(0u, m_sim.WaitForExit());
}

TEST_F(CoreSimTest, EndOfInputEndsWithExitCodeZero)
{
    StartSim();

    m_sim.CloseStdin();

    EXPECT_EQ(0u, m_sim.WaitForExit());
}

TEST_F(CoreSimTest, BadOptionEndsWithExitCodeTwo)
{
    ASSERT_TRUE(m_sim.Launch("--miss sometimes"));

    EXPECT_EQ(2u, m_sim.WaitForExit());
    EXPECT_NE(std::string::npos, m_sim.Stderr().find("--miss")) << m_sim.Stderr();
}

TEST_F(CoreSimTest, UnreadableVaultEndsWithExitCodeTwo)
{
    const std::string vault = TempFile("broken.json");
    std::ofstream(vault, std::ios::binary) << "{\"sites\": [";

    ASSERT_TRUE(m_sim.Launch("--vault \"" + vault + "\""));

    EXPECT_EQ(2u, m_sim.WaitForExit());
}
