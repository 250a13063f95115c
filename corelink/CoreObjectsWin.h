#pragma once
// The kernel objects shared with the core: the block's file mapping and view, the nine events and the block mutex,
// made by whichever process of the session comes first and opened as they stand by the others.

#include "config/DebugLog.h"
#include "corelink/ICoreLink.h"
#include "corelink/ICoreObjects.h"
#include "corelink/ProcessQuery.h"
#include "framework/Unique.h"

#include <windows.h>

#include <mutex>

class CCoreObjectsWin : public ICoreObjects
{
public:
    CCoreObjectsWin(IProcessQuery& processes, const CDebugLog& log) : m_processes(processes), m_log(log) {}
    ~CCoreObjectsWin() override { CloseSharedMemory(); }

    // 1 on success, 0 on any failure, after closing whatever was already made. A process that creates the mapping
    // labels the objects low-integrity and has `link` initialise the block (ResetSharedData, under the block
    // mutex), before the core's wake-up message is registered and the "InitSharedMemory" line is logged.
    [[nodiscard]] int InitSharedMemory(ICoreLink& link);
    bool CreatedMapping() const noexcept { return m_createdMapping; }
    // View, mapping, the events in the order C, A, B, D, complete, E, denied, granted, acknowledge, then the mutex.
    void CloseSharedMemory() noexcept;

    BHOSharedData* Block() override { return static_cast<BHOSharedData*>(m_view.Get()); }
    bool HasEvent(CoreEvent event) override { return EventHandle(event) != nullptr; }
    void SetEvent(CoreEvent event) override;
    void ResetEvent(CoreEvent event) override;
    std::int32_t WaitPumping(CoreEvent event, std::uint32_t timeoutMs) override;
    bool Wait(CoreEvent event, std::uint32_t timeoutMs) override;
    WaitOutcome WaitEither(CoreEvent first, CoreEvent second) override;
    void LockMutex() override;
    void ReleaseMutex() override;
    std::uint32_t FindProcessByName(const char* name) override { return m_processes.FindProcessByName(name); }
    bool IsCoreRunning() override;
    WindowId FindCoreWindow() override;
    void AllowSetForeground(std::uint32_t processId) override { ::AllowSetForegroundWindow(processId); }
    void PostRegistered(WindowId window, const char* messageName, std::uintptr_t wParam, std::intptr_t lParam) override;

    HANDLE EventHandle(CoreEvent event) const noexcept { return m_events[static_cast<int>(event)].Get(); }
    // The id of the core's wake-up message, registered with the objects.
    UINT WakeUpMessage() const noexcept { return m_wakeUpMessage; }

private:
    int CreateMutexObject();

    IProcessQuery& m_processes;
    const CDebugLog& m_log;
    std::mutex m_watchLock; // the main thread and the UI thread both ask
    // The core first, as the watch prefers the first name found: a running core is what is watched.
    CRunningProcessWatch m_coreWatch{m_processes, {kCoreProcessName, kGuardProcessName}};
    CHandle m_mapping; // declared before the view: the view is unmapped first
    CMappedView m_view;
    CHandle m_events[kCoreEventCount];
    CHandle m_mutex;
    bool m_createdMapping = false;
    UINT m_wakeUpMessage = 0;
};
