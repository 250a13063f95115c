#include "corelink/MessagePumpWin.h"

#include "config/MemoryRegistry.h"
#include "framework/MsgWindow.h"
#include "framework/Unique.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/TracingLog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <thread>

namespace
{
// A message-only window of this thread that sets an event when it gets a given message.
class CSignallingWindow : public CMsgWindow
{
public:
    CSignallingWindow(HANDLE event, UINT trigger) : m_event(event), m_trigger(trigger) {}
    int m_seen = 0;

protected:
    bool OnMessage(UINT message, WPARAM, LPARAM, LRESULT& result) override
    {
        if (message != m_trigger)
            return false;
        ++m_seen;
        ::SetEvent(m_event);
        result = 7;
        return true;
    }

private:
    HANDLE m_event;
    UINT m_trigger;
};

constexpr UINT kTrigger = WM_APP + 5;

// An event that the window's trigger sets, and the wait's log.
struct SignallingWindow
{
    SignallingWindow() { created = window.CreateHidden("LvbhoPumpTestWindow", ""); }

    CHandle event{::CreateEventA(nullptr, TRUE, FALSE, nullptr)};
    CSignallingWindow window{event.Get(), kTrigger};
    bool created = false;
    CFakeLogSink sink;
    CDebugLog log{sink};
};

void DrainQueue()
{
    MSG message;
    while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
    {
    }
}
} // namespace

TEST(PumpingWaitWinTest, AnObjectSignalledOnEntryReturnsOne)
{
    CHandle event(::CreateEventA(nullptr, TRUE, TRUE, nullptr));
    CFakeLogSink sink;
    CDebugLog log(sink);

    EXPECT_EQ(1, WaitPumpingWin(event.Get(), 500, log));
}

TEST(PumpingWaitWinTest, APostedMessageIsDispatchedDuringTheWait)
{
    SignallingWindow signalling;
    ASSERT_TRUE(signalling.created);
    ASSERT_TRUE(::PostMessageA(signalling.window.Handle(), kTrigger, 0, 0));

    EXPECT_EQ(1, WaitPumpingWin(signalling.event.Get(), 5000, signalling.log));

    EXPECT_EQ(1, signalling.window.m_seen);
}

TEST(PumpingWaitWinTest, AMessageSentFromAnotherThreadIsServedDuringTheWait)
{
    SignallingWindow signalling;
    ASSERT_TRUE(signalling.created);
    LRESULT answer = 0;
    std::thread sender([&] {
        ::Sleep(50);
        answer = ::SendMessageA(signalling.window.Handle(), kTrigger, 0, 0);
    });

    const std::int32_t outcome = WaitPumpingWin(signalling.event.Get(), 5000, signalling.log);
    sender.join();

    EXPECT_EQ(1, outcome);
    EXPECT_EQ(7, answer);
}

TEST(PumpingWaitWinTest, AnUnsignalledObjectTimesOut)
{
    CHandle event(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    CFakeLogSink sink;
    CDebugLog log(sink);
    const DWORD start = ::GetTickCount();

    EXPECT_EQ(0, WaitPumpingWin(event.Get(), 150, log));

    const DWORD elapsed = ::GetTickCount() - start;
    EXPECT_GE(elapsed, 100u);
    EXPECT_LT(elapsed, 2000u);
}

TEST(PumpingWaitWinTest, AQuitMessageDuringTheWaitIsSwallowed)
{
    CHandle event(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    CFakeLogSink sink;
    CDebugLog log(sink);
    DrainQueue();
    ::PostQuitMessage(0);

    EXPECT_EQ(0, WaitPumpingWin(event.Get(), 100, log));

    MSG message;
    EXPECT_FALSE(::PeekMessageA(&message, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
}

TEST(PumpingWaitWinTest, TheUntimedWaitReturnsWhenAnotherThreadSignals)
{
    CHandle event(::CreateEventA(nullptr, TRUE, FALSE, nullptr));
    std::thread setter([&] {
        ::Sleep(50);
        ::SetEvent(event.Get());
    });

    EXPECT_EQ(1, WaitPumpingInfiniteWin(event.Get()));

    setter.join();
}

TEST(PumpingWaitWinTest, TheWaitIsTracedAtLevelFiftyTwo)
{
    TracingLog traces("win_tests");
    ASSERT_EQ(1, traces.opened);
    CHandle event(::CreateEventA(nullptr, TRUE, FALSE, nullptr));

    EXPECT_EQ(0, WaitPumpingWin(event.Get(), 50, traces.log));

    std::string all;
    for (const std::string& line : traces.Texts())
        all += line + "\n";
    EXPECT_NE(std::string::npos, all.find("Entering LVBHOWaitWithMessageLoop"));
    EXPECT_NE(std::string::npos, all.find("Something else happened so breaking from loop"));
    EXPECT_NE(std::string::npos, all.find("Exiting LVBHOWaitWithMessageLoop"));
}
