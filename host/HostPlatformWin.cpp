#include "host/HostPlatformWin.h"

#include "framework/Unique.h"

#include <objbase.h>
#include <tlhelp32.h>

#include <iostream>

IsImmersiveProcessFn LookUpIsImmersiveProcess()
{
    HMODULE user32 = ::GetModuleHandleA("User32.dll");
    if (user32 == nullptr)
        return nullptr;
    return reinterpret_cast<IsImmersiveProcessFn>(
        reinterpret_cast<void*>(::GetProcAddress(user32, "IsImmersiveProcess")));
}

bool CImmersiveQueryWin::Snapshot(std::vector<ProcessEntry>& processes)
{
    CHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    if (!snapshot.IsValid())
        return false;
    PROCESSENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    if (!::Process32First(snapshot.Get(), &entry))
        return false;
    do
    {
        processes.push_back(ProcessEntry{entry.th32ProcessID, entry.szExeFile});
    } while (::Process32Next(snapshot.Get(), &entry));
    return true;
}

bool CImmersiveQueryWin::IsImmersive(std::uint32_t processId)
{
    CHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process.IsValid() || m_isImmersive == nullptr)
        return false;
    return m_isImmersive(process.Get()) != FALSE;
}

bool CHostPlatformWin::HasModuleHandle()
{
    return ::GetModuleHandleA(nullptr) != nullptr;
}

void CHostPlatformWin::SetSystemDefaultThreadLocale()
{
    ::SetThreadLocale(LOCALE_SYSTEM_DEFAULT);
}

std::string CHostPlatformWin::CommandLine()
{
    const char* line = ::GetCommandLineA();
    return line ? line : "";
}

void CHostPlatformWin::WriteRawOutput(const std::string& text)
{
    std::cout << text << std::flush;
}

IImmersiveQuery& CHostPlatformWin::ImmersiveQuery()
{
    m_immersive = CImmersiveQueryWin(LookUpIsImmersiveProcess());
    return m_immersive;
}

bool CHostPlatformWin::ComInitialize(bool multithreaded)
{
    const HRESULT result = multithreaded ? ::CoInitializeEx(nullptr, COINIT_MULTITHREADED) : ::CoInitialize(nullptr);
    return SUCCEEDED(result);
}

void CHostPlatformWin::ComUninitialize()
{
    ::CoUninitialize();
}
