#include "corelink/ProcessQueryWin.h"

#include "framework/AnsiText.h"
#include "framework/ComPtr.h"
#include "framework/Unique.h"

#include <objbase.h>
#include <psapi.h>
#include <wbemidl.h>
#include <winternl.h>

#include <algorithm>

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

std::uint32_t CProcessQueryWin::FindProcessByName(const char* name)
{
    // One query of the system's process list. A Toolhelp snapshot holds the same names, but under Wine it costs a
    // system call for every entry read, and this scan runs before locks and waits.
    std::vector<unsigned char> buffer(256 * 1024);
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
        if (status < 0)
            return 0;
        break;
    }
    std::vector<NamedProcess> processes;
    std::size_t offset = 0;
    for (;;)
    {
        const auto* entry = reinterpret_cast<const SYSTEM_PROCESS_INFORMATION*>(buffer.data() + offset);
        const std::wstring image(entry->ImageName.Buffer ? entry->ImageName.Buffer : L"",
                                 entry->ImageName.Buffer ? entry->ImageName.Length / sizeof(wchar_t) : 0);
        processes.push_back({static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(entry->UniqueProcessId)),
                             NarrowToAnsi(image.c_str())});
        if (entry->NextEntryOffset == 0)
            break;
        offset += entry->NextEntryOffset;
        if (offset + sizeof(SYSTEM_PROCESS_INFORMATION) > buffer.size())
            break;
    }
    return FindProcessInList(processes, name, ::GetCurrentProcessId());
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

std::uintptr_t CProcessQueryWin::OpenExitWatch(std::uint32_t processId)
{
    return reinterpret_cast<std::uintptr_t>(::OpenProcess(SYNCHRONIZE, FALSE, processId));
}

bool CProcessQueryWin::HasExited(std::uintptr_t watch)
{
    // A failed wait counts as exited, so that the caller scans again.
    return ::WaitForSingleObject(reinterpret_cast<HANDLE>(watch), 0) != WAIT_TIMEOUT;
}

void CProcessQueryWin::CloseExitWatch(std::uintptr_t watch)
{
    ::CloseHandle(reinterpret_cast<HANDLE>(watch));
}
