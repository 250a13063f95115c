#pragma once
// The operating system's side of the core link: the mapped block, the nine events, the block mutex, the process
// scan and the core's window. CCoreLink keeps the handshake's rules on top of it; CCoreObjectsWin is the real one.

#include "corelink/SharedData.h"

#include <cstdint>

using WindowId = std::uintptr_t;

enum class WaitOutcome
{
    First, // the first object of the pair ended the wait
    Second,
    Failed,
};

class ICoreObjects
{
public:
    virtual ~ICoreObjects() = default;

    // Null while the block is not mapped.
    virtual BHOSharedData* Block() = 0;
    virtual bool HasEvent(CoreEvent event) = 0;
    virtual void SetEvent(CoreEvent event) = 0;
    virtual void ResetEvent(CoreEvent event) = 0;
    // Waits for the event while serving the calling thread's window messages: 1 signalled, 0 otherwise.
    virtual std::int32_t WaitPumping(CoreEvent event, std::uint32_t timeoutMs) = 0;
    // Waits without serving messages: true when the event was signalled in time.
    virtual bool Wait(CoreEvent event, std::uint32_t timeoutMs) = 0;
    // Waits for either event of the pair, without time-out.
    virtual WaitOutcome WaitEither(CoreEvent first, CoreEvent second) = 0;
    virtual void LockMutex() = 0;
    virtual void ReleaseMutex() = 0;

    // The id of another process whose image name contains `name` (case-insensitive), or 0.
    virtual std::uint32_t FindProcessByName(const char* name) = 0;
    // Whether the core or its guard runs: asked before every lock and wait. One reading of the process list looks for
    // both; a process found is then watched, and while it has not exited the answer costs no system call. Any thread.
    virtual bool IsCoreRunning() = 0;
    // The core's message window, or 0.
    virtual WindowId FindCoreWindow() = 0;
    virtual void AllowSetForeground(std::uint32_t processId) = 0;
    // Posts the registered message `messageName` to `window`.
    virtual void PostRegistered(WindowId window, const char* messageName, std::uintptr_t wParam,
                                std::intptr_t lParam) = 0;
};
