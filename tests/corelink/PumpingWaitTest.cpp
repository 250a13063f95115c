#include "corelink/PumpingWait.h"

#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeLogSink.h"

#include <gtest/gtest.h>

#include <deque>

namespace
{
// A thread's queue and a clock, scripted: each wait takes the next outcome; each dispatch advances the clock.
class CScriptedPump : public IMessagePump
{
public:
    std::uint32_t WaitForObjectOrInput(std::uint32_t timeoutMs) override
    {
        m_waits.push_back(timeoutMs);
        if (m_outcomes.empty())
            return 0xFFFFFFFF; // WAIT_FAILED
        const std::uint32_t outcome = m_outcomes.front();
        m_outcomes.pop_front();
        if (outcome == 258) // WAIT_TIMEOUT
            m_now += timeoutMs;
        return outcome;
    }
    bool PeekAny() override { return m_queued > 0; }
    void FetchAndDispatch() override
    {
        --m_queued;
        ++m_dispatched;
        m_now += m_dispatchCost;
        if (m_signalAfter > 0 && m_dispatched == m_signalAfter)
            m_signalled = true;
        if (m_endlessStream)
            ++m_queued;
    }
    bool IsSignalled() override { return m_signalled; }
    std::uint32_t TickCount() override { return m_now; }

    std::deque<std::uint32_t> m_outcomes;
    std::vector<std::uint32_t> m_waits;
    int m_queued = 0;
    int m_dispatched = 0;
    int m_signalAfter = 0;
    bool m_signalled = false;
    bool m_endlessStream = false;
    std::uint32_t m_now = 1000;
    std::uint32_t m_dispatchCost = 0;
};

struct Traced
{
    Traced()
    {
        registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;52");
        static_cast<void>(log.Open(registry, "LVBHOHost"));
    }
    // The trace texts, without the log's prefix.
    std::vector<std::string> Lines() const
    {
        std::vector<std::string> lines;
        for (const std::string& line : sink.m_debugOutput)
        {
            const std::size_t text = line.find(")-");
            std::string body = text == std::string::npos ? line : line.substr(text + 2);
            while (!body.empty() && (body.back() == '\n' || body.back() == '\r'))
                body.pop_back();
            if (!body.empty()) // the line end goes to the debugger as a text of its own
                lines.push_back(body);
        }
        return lines;
    }

    CMemoryRegistry registry;
    CFakeLogSink sink;
    CDebugLog log{sink};
};

using Lines = std::vector<std::string>;

// Runs a traced wait of `timeoutMs` on `pump` and checks its answer, the messages it dispatched and its trace.
void ExpectTimedWait(CScriptedPump& pump, std::uint32_t timeoutMs, int answer, int dispatched, const Lines& lines)
{
    Traced trace;

    EXPECT_EQ(answer, LVBHOWaitWithMessageLoop(pump, trace.log, timeoutMs));

    EXPECT_EQ(dispatched, pump.m_dispatched);
    EXPECT_EQ(lines, trace.Lines());
}
} // namespace

TEST(PumpingWaitTest, AnObjectSignalledOnEntryReturnsAtOnceWithoutTouchingTheQueue)
{
    CScriptedPump pump;
    pump.m_outcomes = {0};
    pump.m_queued = 3;

    ExpectTimedWait(pump, 500, 1, 0,
                    {"Entering LVBHOWaitWithMessageLoop", "Event signalled,so exiting from LVBHOWaitWithMessageLoop"});
}

TEST(PumpingWaitTest, ATimeOutIsReportedAsSomethingElse)
{
    Traced trace;
    CScriptedPump pump;
    pump.m_outcomes = {258};

    EXPECT_EQ(0, LVBHOWaitWithMessageLoop(pump, trace.log, 300));

    EXPECT_EQ((Lines{"Entering LVBHOWaitWithMessageLoop", "Something else happened so breaking from loop",
                     "Exiting LVBHOWaitWithMessageLoop"}),
              trace.Lines());
}

TEST(PumpingWaitTest, MessagesAreServedUntilTheObjectIsSignalled)
{
    CScriptedPump pump;
    pump.m_outcomes = {1};
    pump.m_queued = 3;
    pump.m_signalAfter = 2;

    ExpectTimedWait(pump, 500, 1, 2,
                    {"Entering LVBHOWaitWithMessageLoop", "Entering PeekMessage Loop",
                     "Event is signalled from PeekMessge Loop, so returning"});
}

TEST(PumpingWaitTest, AMessageArrivingAfterTheTimeOutIsNotDispatched)
{
    // The clock passes the whole time-out while the thread waits for the input.
    class CLatePump : public CScriptedPump
    {
    public:
        std::uint32_t WaitForObjectOrInput(std::uint32_t timeoutMs) override
        {
            m_now += timeoutMs;
            return CScriptedPump::WaitForObjectOrInput(timeoutMs);
        }
    } pump;
    pump.m_outcomes = {1};
    pump.m_queued = 1;

    ExpectTimedWait(pump, 200, 0, 0,
                    {"Entering LVBHOWaitWithMessageLoop", "Our TimeOut, so breaking from loop",
                     "Exiting LVBHOWaitWithMessageLoop"});
}

TEST(PumpingWaitTest, ANeverPausingStreamEndsAfterASecondFullWait)
{
    CScriptedPump pump;
    pump.m_outcomes = {1, 258};
    pump.m_queued = 1;
    pump.m_endlessStream = true;
    pump.m_dispatchCost = 10;

    ExpectTimedWait(pump, 100, 0, 10,
                    {"Entering LVBHOWaitWithMessageLoop", "Entering PeekMessage Loop",
                     "Our TimedOut from PeekMessge Loop,so breaking from loop", "Exited from PeekMessage Loop",
                     "Something else happened so breaking from loop", "Exiting LVBHOWaitWithMessageLoop"});

    // The inner loop stops on the elapsed test; the outer loop then waits once more for the whole time.
    EXPECT_EQ((std::vector<std::uint32_t>{100, 100}), pump.m_waits);
    EXPECT_EQ(1200u, pump.m_now); // about twice the time-out
}

TEST(PumpingWaitTest, AnInfiniteWaitNeverTimesOutOnElapsedTime)
{
    Traced trace;
    CScriptedPump pump;
    pump.m_outcomes = {1, 1, 0};
    pump.m_queued = 2;
    pump.m_dispatchCost = 0x7FFFFFFF;

    EXPECT_EQ(1, LVBHOWaitWithMessageLoop(pump, trace.log, 0xFFFFFFFF));

    EXPECT_EQ(2, pump.m_dispatched);
}

TEST(PumpingWaitTest, TheTickCountWrapIsHarmless)
{
    Traced trace;
    CScriptedPump pump;
    pump.m_now = 0xFFFFFFF0;
    pump.m_outcomes = {1, 0};
    pump.m_queued = 2;
    pump.m_dispatchCost = 0x10; // the clock wraps to 0 after the first message

    EXPECT_EQ(1, LVBHOWaitWithMessageLoop(pump, trace.log, 500));

    EXPECT_EQ(2, pump.m_dispatched);
}

TEST(PumpingWaitTest, AFailedWaitReturnsZero)
{
    Traced trace;
    CScriptedPump pump;

    EXPECT_EQ(0, LVBHOWaitWithMessageLoop(pump, trace.log, 500));
}

TEST(PumpingWaitTest, NothingIsLoggedBelowLevelFiftyTwo)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;51");
    CFakeLogSink sink;
    CDebugLog log(sink);
    static_cast<void>(log.Open(registry, "LVBHOHost"));
    sink.m_debugOutput.clear();
    CScriptedPump pump;
    pump.m_outcomes = {0};

    EXPECT_EQ(1, LVBHOWaitWithMessageLoop(pump, log, 500));

    EXPECT_TRUE(sink.m_debugOutput.empty());
}

TEST(PumpingWaitTest, TheUntimedWaitServesMessagesUntilSignalled)
{
    CScriptedPump pump;
    pump.m_outcomes = {1, 1, 0};
    pump.m_queued = 1;

    EXPECT_EQ(1, WaitWithMessageLoopInfinite(pump));

    EXPECT_EQ(1, pump.m_dispatched);
    EXPECT_EQ((std::vector<std::uint32_t>{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}), pump.m_waits);
}

TEST(PumpingWaitTest, TheUntimedWaitReturnsAsSoonAsADispatchSignalsTheObject)
{
    CScriptedPump pump;
    pump.m_outcomes = {1};
    pump.m_queued = 5;
    pump.m_signalAfter = 1;

    EXPECT_EQ(1, WaitWithMessageLoopInfinite(pump));

    EXPECT_EQ(1, pump.m_dispatched);
}

TEST(PumpingWaitTest, TheUntimedWaitFailsOnAnyOtherOutcome)
{
    CScriptedPump pump;
    pump.m_outcomes = {0x80};

    EXPECT_EQ(0, WaitWithMessageLoopInfinite(pump));
}
