#pragma once
// The entry's view of Windows.

#include "host/HostEntry.h"

#include <windows.h>

// IsImmersiveProcess, which only some systems export from User32.dll.
using IsImmersiveProcessFn = BOOL(WINAPI*)(HANDLE);

// The function if User32.dll is already loaded (it is not loaded for this) and exports it, else null.
IsImmersiveProcessFn LookUpIsImmersiveProcess();

class CImmersiveQueryWin : public IImmersiveQuery
{
public:
    // The function is injectable so that both branches can be tested where the system lacks it.
    explicit CImmersiveQueryWin(IsImmersiveProcessFn isImmersive) : m_isImmersive(isImmersive) {}

    bool HasIsImmersiveProcess() override { return m_isImmersive != nullptr; }
    bool Snapshot(std::vector<ProcessEntry>& processes) override;
    bool IsImmersive(std::uint32_t processId) override;

private:
    IsImmersiveProcessFn m_isImmersive;
};

class CHostPlatformWin : public IHostPlatform
{
public:
    bool HasModuleHandle() override;
    void SetSystemDefaultThreadLocale() override;
    std::string CommandLine() override;
    void WriteRawOutput(const std::string& text) override;
    IImmersiveQuery& ImmersiveQuery() override;
    bool ComInitialize(bool multithreaded) override;
    void ComUninitialize() override;

private:
    CImmersiveQueryWin m_immersive{nullptr};
};
