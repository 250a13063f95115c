#include "corelink/PumpingWait.h"

namespace
{
constexpr std::uint32_t kTraceLevel = 52;
constexpr std::uint32_t kInfinite = 0xFFFFFFFF;

void Trace(const CDebugLog& log, const char* text)
{
    if (log.Enabled(kTraceLevel))
        log.Write("%s", text);
}

bool Elapsed(IMessagePump& pump, std::uint32_t start, std::uint32_t timeoutMs)
{
    // Unsigned difference: a tick-count wrap is harmless.
    return timeoutMs != kInfinite && pump.TickCount() - start >= timeoutMs;
}
} // namespace

std::int32_t LVBHOWaitWithMessageLoop(IMessagePump& pump, const CDebugLog& log, std::uint32_t timeoutMs)
{
    const std::uint32_t start = pump.TickCount();
    Trace(log, "Entering LVBHOWaitWithMessageLoop");
    for (;;)
    {
        const std::uint32_t outcome = pump.WaitForObjectOrInput(timeoutMs);
        if (outcome == IMessagePump::kObjectSignalled)
        {
            Trace(log, "Event signalled,so exiting from LVBHOWaitWithMessageLoop");
            return 1;
        }
        if (outcome != IMessagePump::kInputAvailable)
        {
            // A time-out ends up here too: it is reported as "something else", as it always has been.
            Trace(log, "Something else happened so breaking from loop");
            break;
        }
        if (Elapsed(pump, start, timeoutMs))
        {
            Trace(log, "Our TimeOut, so breaking from loop");
            break;
        }
        Trace(log, "Entering PeekMessage Loop");
        while (pump.PeekAny())
        {
            pump.FetchAndDispatch();
            if (pump.IsSignalled())
            {
                Trace(log, "Event is signalled from PeekMessge Loop, so returning");
                return 1;
            }
            if (Elapsed(pump, start, timeoutMs))
            {
                Trace(log, "Our TimedOut from PeekMessge Loop,so breaking from loop");
                break;
            }
        }
        Trace(log, "Exited from PeekMessage Loop");
    }
    Trace(log, "Exiting LVBHOWaitWithMessageLoop");
    return 0;
}

std::int32_t WaitWithMessageLoopInfinite(IMessagePump& pump)
{
    for (;;)
    {
        const std::uint32_t outcome = pump.WaitForObjectOrInput(kInfinite);
        if (outcome == IMessagePump::kObjectSignalled)
            return 1;
        if (outcome != IMessagePump::kInputAvailable)
            return 0;
        while (pump.PeekAny())
        {
            pump.FetchAndDispatch();
            if (pump.IsSignalled())
                return 1;
        }
    }
}
