// The thread contract between the main thread, which runs the commands, and the UI thread, which runs the prompt:
// the real command handler and prompt controller, driven from two threads at once, as the host drives them. Built
// into thread_tests with ThreadSanitizer by `make test`: a value read behind the other thread's back is a reported
// race, and the run fails. (In the ordinary builds the same tests run without that eye, and the thread checkers'
// own tests run too.)

#include "commands/CommandHandler.h"
#include "corelink/ThreadChecker.h"
#include "prompt/PromptController.h"
#include "tests/fakes/PromptWorld.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace
{
constexpr WindowId kOwnWindow = 0x500;
constexpr WindowId kBrowser = 0x700;
constexpr int kRounds = 2000;
constexpr const char* kCheckRequest = "{\"DocumentTitle\":\"Sign in\",\"WebUrl\":\"https://www.example.com/login\","
                                      "\"unamefield\":\"user\",\"passfieldname\":\"pwd\"}";

// The handler and the prompt as the UI thread makes them, Firefox's window in front.
struct TwoThreads : PromptWorld
{
    TwoThreads() : PromptWorld(kOwnWindow, 166, 1920)
    {
        desktop.m_windows[kBrowser] = {"MozillaWindowClass",
                                       "\\Device\\HarddiskVolume1\\Program Files\\Browser\\firefox.exe", 0, false};
        desktop.m_foreground = kBrowser;
    }
};
} // namespace

TEST(ThreadContractTest, IdentifyWhileTheFocusHookAsksWhichBrowserItIs)
{
    TwoThreads run;

    // The main thread: "Identify" again and again, as another extension instance may send it.
    std::thread mainThread([&run] {
        for (int i = 0; i < kRounds; ++i)
            run.handler->SetBrowserName(i % 2 == 0 ? "chrome" : "firefox");
    });
    // The UI thread: the focus hook's events meanwhile.
    for (int i = 0; i < kRounds; ++i)
        run.controller->OnWinEvent(kEventObjectFocus, kBrowser);
    mainThread.join();

    EXPECT_TRUE(run.handler->IsFirefox());
}

TEST(ThreadContractTest, CheckAndValidateWhileThePromptSendsThePinToTheCore)
{
    TwoThreads run;
    ASSERT_TRUE(run.request.Parse(kCheckRequest));
    // The core leaves each validation pending and names its window in the block.
    run.link.m_onSignal = [](CFakeCoreLink& core, std::uint32_t) {
        core.m_block.result = kResultVaultSelect;
        core.m_block.flags = kFlagCancellable;
        core.m_block.hostContext = 0xC0DE;
    };

    std::thread mainThread([&run] {
        for (int i = 0; i < kRounds / 10; ++i)
            run.handler->CheckAndValidate();
    });
    // The UI thread: the user confirms a PIN again and again; each goes to the core's window.
    for (int i = 0; i < kRounds; ++i)
        run.controller->ProcessPromptUi(CPromptController::Sender::PinDialog, 1);
    mainThread.join();

    ASSERT_EQ(static_cast<std::size_t>(kRounds), run.desktop.m_copyData.size());
    EXPECT_EQ(0xC0DEu, run.desktop.m_copyData.back().target);
}

TEST(ThreadCheckerTest, BindsToTheFirstThreadThatAsksAndRefusesAnother)
{
#ifdef NDEBUG
    GTEST_SKIP() << "release builds check no thread: the debug builds run this test";
#endif
    CThreadChecker checker;
    bool elsewhere = false;

    std::thread first([&] { elsewhere = checker.CalledOnValidThread(); });
    first.join();

    EXPECT_TRUE(elsewhere);
    EXPECT_FALSE(checker.CalledOnValidThread());
    checker.Detach();
    EXPECT_TRUE(checker.CalledOnValidThread());
}
