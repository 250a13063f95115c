#pragma once
// The pumping wait's calls on a real handle, for the calling thread's queue.

#include "corelink/PumpingWait.h"

#include <windows.h>

class CMessagePumpWin : public IMessagePump
{
public:
    explicit CMessagePumpWin(HANDLE object) : m_object(object) {}

    std::uint32_t WaitForObjectOrInput(std::uint32_t timeoutMs) override;
    bool PeekAny() override;
    void FetchAndDispatch() override;
    bool IsSignalled() override;
    std::uint32_t TickCount() override { return ::GetTickCount(); }

private:
    HANDLE m_object; // borrowed
};

// Waits for `object` while serving this thread's messages (the timed wait, with its trace lines).
std::int32_t WaitPumpingWin(HANDLE object, std::uint32_t timeoutMs, const CDebugLog& log);
// The untimed wait for the UI thread's ready event and its end.
std::int32_t WaitPumpingInfiniteWin(HANDLE object);
