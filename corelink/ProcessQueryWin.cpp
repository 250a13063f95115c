#include "corelink/ProcessQueryWin.h"

#include "framework/AnsiText.h"
#include "framework/Unique.h"

#include <objbase.h>
#include <psapi.h>
#include <tlhelp32.h>
#include <wbemidl.h>

#include <string>
#include <vector>

namespace
{
template <typename T>
class CComPtr
{
public:
    CComPtr() = default;
    CComPtr(const CComPtr&) = delete;
    CComPtr& operator=(const CComPtr&) = delete;
    ~CComPtr()
    {
        if (m_pointer)
            m_pointer->Release();
    }
    T* operator->() const noexcept { return m_pointer; }
    T* Get() const noexcept { return m_pointer; }
    T** Out() noexcept { return &m_pointer; } // only while empty
    void** OutVoid() noexcept { return reinterpret_cast<void**>(&m_pointer); }

private:
    T* m_pointer = nullptr;
};

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
    CHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot.IsValid())
        return 0;
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof entry;
    if (!::Process32First(snapshot.Get(), &entry))
        return 0;
    std::vector<NamedProcess> processes;
    do
        processes.push_back({entry.th32ProcessID, entry.szExeFile});
    while (::Process32Next(snapshot.Get(), &entry));
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
    if (FAILED(locator->ConnectServer(nameSpace.Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                      services.Out())))
        return 0;
    if (FAILED(::CoSetProxyBlanket(services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr,
                                   RPC_C_AUTHN_LEVEL_CALL, RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE)))
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
