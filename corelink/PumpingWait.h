#pragma once
// Waiting for one kernel object while serving the calling thread's window messages, so that a thread that owns
// windows stays responsive while the core works. Window procedures of the calling thread may run, and re-enter
// their callers, during the wait.

#include "config/DebugLog.h"

#include <cstdint>

// The calls the wait makes on the calling thread; CMessagePumpWin makes them on a real handle.
class IMessagePump
{
public:
    virtual ~IMessagePump() = default;
    enum : std::uint32_t
    {
        kObjectSignalled = 0,
        kInputAvailable = 1,
    };
    // MsgWaitForMultipleObjectsEx on the object, all input, returning on input already in the queue.
    virtual std::uint32_t WaitForObjectOrInput(std::uint32_t timeoutMs) = 0;
    // PeekMessage without removing: is any message waiting?
    virtual bool PeekAny() = 0;
    // Fetches one message (the wide or narrow way, as its window wants) and dispatches it unless it is WM_QUIT or
    // the fetch failed; WM_QUIT is swallowed, not re-posted.
    virtual void FetchAndDispatch() = 0;
    // WaitForSingleObject(object, 0) == WAIT_OBJECT_0.
    virtual bool IsSignalled() = 0;
    virtual std::uint32_t TickCount() = 0;
};

// 1 when the object became signalled; 0 when the wait ended for any other reason (time-out, failure). The full
// `timeoutMs` is passed to every wait, never the remainder, so a never-pausing message stream can stretch the call
// to about twice `timeoutMs`.
std::int32_t LVBHOWaitWithMessageLoop(IMessagePump& pump, const CDebugLog& log, std::uint32_t timeoutMs);

// The untimed variant used for the UI thread's ready event and its end: no elapsed-time tests, no logging.
std::int32_t WaitWithMessageLoopInfinite(IMessagePump& pump);
