#include "corelink/ProcessQueryWin.h"

#include "framework/AnsiText.h"
#include "framework/ComPtr.h"
#include "framework/Unique.h"

#include <objbase.h>
#include <psapi.h>
#include <wbemidl.h>
#include <winternl.h>

#include <algorithm>
#include <atomic>
#include <memory>

#include <string>
#include <vector>

namespace
{
constexpr NTSTATUS kStatusInfoLengthMismatch = static_cast<NTSTATUS>(0xC0000004L);
constexpr std::size_t kMaxProcessListBytes = 64u * 1024 * 1024;

class CBstr
{
public:
    explicit CBstr(const std::string& text) : m_value(::SysAllocString(WidenAnsi(text.c_str()).c_str())) {}
    CBstr(const CBstr&) = delete;
    CBstr& operator=(const CBstr&) = delete;
    ~CBstr() { ::SysFreeString(m_value); }
    BSTR Get() const noexcept { return m_value; }

private:
    BSTR m_value = nullptr;
};

class CVariant
{
public:
    CVariant() { ::VariantInit(&m_value); }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;
    ~CVariant() { ::VariantClear(&m_value); }
    VARIANT* Out() noexcept { return &m_value; }
    const VARIANT& Get() const noexcept { return m_value; }

private:
    VARIANT m_value;
};
} // namespace

namespace
{
// The buffer for the process list, kept between readings by each thread: a fresh 256 KiB every time costs an
// allocation from the system and its page faults, and the list is read before locks and waits.
std::vector<unsigned char>& ProcessListBuffer()
{
    thread_local std::vector<unsigned char> buffer(256 * 1024);
    return buffer;
}

// One query of the system's process list into `buffer`. A Toolhelp snapshot holds the same names, but under Wine it
// costs a system call for every entry read.
bool ReadProcessList(std::vector<unsigned char>& buffer)
{
    for (;;)
    {
        ULONG needed = 0;
        const NTSTATUS status = ::NtQuerySystemInformation(SystemProcessInformation, buffer.data(),
                                                           static_cast<ULONG>(buffer.size()), &needed);
        if (status == kStatusInfoLengthMismatch && buffer.size() < kMaxProcessListBytes)
        {
            buffer.resize(std::max<std::size_t>(buffer.size() * 2, needed + 64 * 1024));
            continue;
        }
        return status >= 0;
    }
}

// The first process other than this one whose image name contains `name`, in a list ReadProcessList read.
std::uint32_t FindInProcessList(const std::vector<unsigned char>& buffer, const std::string& name)
{
    const std::uint32_t self = ::GetCurrentProcessId();
    for (std::size_t offset = 0;;)
    {
        const auto* entry = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(buffer.data() + offset);
        const auto id = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(entry->UniqueProcessId));
        // The name is matched where it lies, in UTF-16, by the portable scan's rule.
        const std::size_t length = entry->ImageName.Buffer ? entry->ImageName.Length / sizeof(wchar_t) : 0;
        if (id != self && NameContains(entry->ImageName.Buffer, length, name))
            return id;
        if (entry->NextEntryOffset == 0)
            return 0;
        offset += entry->NextEntryOffset;
        if (offset + sizeof(SYSTEM_PROCESS_INFORMATION) > buffer.size())
            return 0;
    }
}
} // namespace

std::uint32_t CProcessQueryWin::FindProcessByName(const char* name)
{
    return FindAnyProcess({name ? name : ""});
}

std::uint32_t CProcessQueryWin::FindAnyProcess(const std::vector<std::string>& names)
{
    std::vector<unsigned char>& buffer = ProcessListBuffer();
    if (!ReadProcessList(buffer))
        return 0;
    for (const std::string& name : names)
    {
        if (const std::uint32_t id = FindInProcessList(buffer, name))
            return id;
    }
    return 0;
}

std::uint32_t CProcessQueryWin::FindProcessByWmi(const char* name, std::string* commandLine, std::uint32_t session)
{
    DWORD ownSession = 0;
    ::ProcessIdToSessionId(::GetCurrentProcessId(), &ownSession);
    const std::string query = BuildProcessQuery(name, commandLine != nullptr, session, ownSession);

    const HRESULT security = ::CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_DEFAULT,
                                                    RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    if (FAILED(security) && security != RPC_E_TOO_LATE)
        return 0;

    CComPtr<IWbemLocator> locator;
    if (FAILED(::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_ALL, IID_IWbemLocator, locator.OutVoid())))
        return 0;
    CComPtr<IWbemServices> services;
    CBstr nameSpace("ROOT\\CIMV2");
    if (FAILED(locator->ConnectServer(nameSpace.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr, services.Out())))
        return 0;
    if (FAILED(::CoSetProxyBlanket(services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                                   RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE)))
        return 0;

    CComPtr<IEnumWbemClassObject> results;
    CBstr language("WQL");
    CBstr text(query);
    if (FAILED(services->ExecQuery(language.Get(), text.Get(), WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY,
                                   nullptr, results.Out())))
        return 0;

    CComPtr<IWbemClassObject> process;
    ULONG returned = 0;
    if (FAILED(results->Next(static_cast<long>(WBEM_INFINITE), 1, process.Out(), &returned)) || returned == 0)
        return 0;

    std::uint32_t processId = 0;
    CVariant id;
    if (SUCCEEDED(process->Get(L"ProcessId", 0, id.Out(), nullptr, nullptr)))
    {
        if (id.Get().vt == VT_I4)
            processId = static_cast<std::uint32_t>(id.Get().lVal);
        else if (id.Get().vt == VT_UI4)
            processId = id.Get().ulVal;
    }
    if (commandLine)
    {
        CVariant line;
        if (SUCCEEDED(process->Get(L"CommandLine", 0, line.Out(), nullptr, nullptr)) && line.Get().vt == VT_BSTR)
            *commandLine = NarrowToAnsi(line.Get().bstrVal);
    }
    return processId;
}

bool CProcessQueryWin::ProcessImagePath(std::uint32_t processId, std::string& path)
{
    CHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process.IsValid())
        return false;
    char buffer[261] = {};
    if (::GetProcessImageFileNameA(process.Get(), buffer, sizeof buffer) == 0)
        return false;
    path = buffer;
    return true;
}

namespace
{
// A watched process: a wait registered with the thread pool flips `exited` when the process ends, so that asking
// costs no system call while it runs.
struct ExitWatch
{
    CHandle process;
    HANDLE wait = nullptr;
    std::atomic<bool> exited{false};
};

void CALLBACK OnProcessExit(void* context, BOOLEAN)
{
    static_cast<ExitWatch*>(context)->exited.store(true);
}
} // namespace

std::uintptr_t CProcessQueryWin::OpenExitWatch(std::uint32_t processId)
{
    CHandle process(::OpenProcess(SYNCHRONIZE, FALSE, processId));
    if (!process.IsValid())
        return 0;
    auto watch = std::make_unique<ExitWatch>();
    watch->process = std::move(process);
    // Without a registered wait the watch still works: HasExited then asks the process handle.
    if (!::RegisterWaitForSingleObject(&watch->wait, watch->process.Get(), &OnProcessExit, watch.get(), INFINITE,
                                       WT_EXECUTEONLYONCE))
        watch->wait = nullptr;
    return reinterpret_cast<std::uintptr_t>(watch.release());
}

bool CProcessQueryWin::HasExited(std::uintptr_t watch)
{
    const auto* exitWatch = reinterpret_cast<const ExitWatch*>(watch);
    if (exitWatch->wait)
        return exitWatch->exited.load();
    // A failed wait counts as exited, so that the caller scans again.
    return ::WaitForSingleObject(exitWatch->process.Get(), 0) != WAIT_TIMEOUT;
}

void CProcessQueryWin::CloseExitWatch(std::uintptr_t watch)
{
    std::unique_ptr<ExitWatch> exitWatch(reinterpret_cast<ExitWatch*>(watch));
    // Waits for a callback that has started, so that it never touches a freed watch.
    if (exitWatch->wait)
        ::UnregisterWaitEx(exitWatch->wait, INVALID_HANDLE_VALUE);
}
