#include "config/LogSinkWin.h"

#include "framework/Unique.h"

#include <psapi.h>
#include <windows.h>

#include <cstdio>
#include <ctime>

std::string CLogSinkWin::ExecutableName()
{
    // The first module of the process, opened for query and read access.
    CHandle process(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, ::GetCurrentProcessId()));
    if (!process.IsValid())
        return "unknown";
    HMODULE module = nullptr;
    DWORD needed = 0;
    if (!::EnumProcessModules(process.Get(), &module, sizeof(module), &needed))
        return "unknown";
    char name[MAX_PATH] = {};
    if (::GetModuleBaseNameA(process.Get(), module, name, sizeof(name)) == 0)
        return "unknown";
    return name;
}

void CLogSinkWin::LocalTime(std::string& hhmmss, unsigned& milliseconds)
{
    char time[9] = {};
    _strtime_s(time, sizeof(time));
    hhmmss = time;
    SYSTEMTIME now = {};
    ::GetLocalTime(&now);
    milliseconds = now.wMilliseconds;
}

std::uint32_t CLogSinkWin::ProcessId()
{
    return ::GetCurrentProcessId();
}

std::uint32_t CLogSinkWin::ThreadId()
{
    return ::GetCurrentThreadId();
}

void CLogSinkWin::DebugOutput(const char* text)
{
    ::OutputDebugStringA(text);
}

void CLogSinkWin::CreateFolder(const std::string& path)
{
    // An existing folder is no error.
    ::CreateDirectoryA(path.c_str(), nullptr);
}

void CLogSinkWin::AppendToFile(const std::string& path, const std::string& bytes)
{
    // Text mode: each line feed reaches the file as carriage return + line feed.
    FILE* file = std::fopen(path.c_str(), "a");
    if (file == nullptr)
        return;
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fflush(file);
    std::fclose(file);
}
