// The core link's detailed traces (debug level 52) of one StoreLoginData and one CheckAndValidate, line by line and
// whole: the real command handler over the real core link, the core answering at once. These lines are how the
// people who debug the host and the core follow a request, so every one of them, and their order, is pinned here.

#include "commands/CommandHandler.h"
#include "corelink/CoreLink.h"
#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/FakeCoreObjects.h"
#include "tests/fakes/FakeHandlerPlatform.h"
#include "tests/fakes/RecordingKeySender.h"
#include "tests/fakes/TracingLog.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using Lines = std::vector<std::string>;

struct Traced
{
    Traced()
    {
        EXPECT_EQ(1, traces.opened);
        objects.RunCore();
        objects.m_block.requestCode = 1;
        // The core completes each request at once, enrolled, with `result`.
        objects.m_onWait = [this](CFakeCoreObjects& core) {
            core.m_block.result = result;
            core.m_block.flags = flags;
            core.m_block.hostContext = 0xC0DE;
            core.m_set[static_cast<int>(CoreEvent::Complete)] = true;
        };
    }

    CLVBHOCommandHandler& Handler(const char* requestText)
    {
        EXPECT_TRUE(request.Parse(requestText));
        handler = std::make_unique<CLVBHOCommandHandler>(request, services);
        traces.sink.m_debugOutput.clear(); // the skip list's loading is not the request's
        return *handler;
    }
    Lines Texts() const { return traces.Texts(); }

    std::uint32_t result = 0;
    std::uint32_t flags = 0;
    TracingLog traces;
    CFakeCoreObjects objects;
    CCoreLink link{objects, traces.log};
    JsonCPPWrapper request;
    CFakeHandlerPlatform platform;
    CRecordingKeySender keys;
    HandlerServices services{platform, link, traces.registry, keys, traces.log};
    std::unique_ptr<CLVBHOCommandHandler> handler;
};

const Lines kLock = {"CMutexLock:: Lock Enter", "CMutexLock:: Locked Exit"};
const Lines kUnlock = {"CMutexLock:: UnLock Enter - 1", "CMutexLock:: UnLocked"};

Lines Join(std::initializer_list<Lines> parts)
{
    Lines all;
    for (const Lines& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

// One request rung with LVBHO_SignalEvent(code, wait 1), the previous one being complete.
Lines Request(int code)
{
    const std::string n = std::to_string(code);
    return Join({{"LVBHO_SignalEvent 1:: " + n, "LVBHO_SignalEvent 3:: " + n, "WaitForCompleteEvent:: Enter",
                  "WaitForCompleteEvent:: Exit"},
                 kLock,
                 kUnlock, // result := pending, the request code
                 {"LVBHO_SignalEvent 3.1 reset complete:: " + n, "LVBHO_SignalEvent 3:: " + n,
                  "WaitForCompleteEvent:: Enter", "WaitForCompleteEvent:: Exit"}});
}

} // namespace

TEST(GoldenTraceTest, StoreLoginData)
{
    Traced run;
    CLVBHOCommandHandler& handler = run.Handler(
        "{\"DocumentTitle\":\"Log in\",\"WebUrl\":\"https://www.example.com/login\",\"unamefield\":\"user\","
        "\"webPageUserId\":\"alice\",\"passfieldname\":\"pwd\",\"webPagepassword\":\"s3cret\"}");

    EXPECT_EQ(0u, handler.StoreLoginData());

    EXPECT_EQ(Join({kLock, kUnlock, // enrolled? (the flags)
                    kLock, kUnlock, // the login data script into the block
                    kLock, kUnlock, // the request: user, site key, the host's window
                    Request(1),     // is the login known?
                    kLock, kUnlock, // the answer bit (the flags)
                    Request(2)}),   // not known: store it
              run.Texts());
}

TEST(GoldenTraceTest, CheckAndValidate)
{
    Traced run;
    run.result = 13; // the core leaves the validation pending, with a vault to choose
    run.flags = kFlagCancellable;
    CLVBHOCommandHandler& handler =
        run.Handler("{\"DocumentTitle\":\"Log in\",\"WebUrl\":\"https://mail.example.com/\",\"unamefield\":\"user\","
                    "\"passfieldname\":\"pwd\",\"webPageUserId\":\"alice\"}");

    EXPECT_EQ(6u, handler.CheckAndValidate());

    EXPECT_EQ(Join({kLock,
                    kUnlock, // a validation running? (the flags)
                    kLock,
                    kUnlock, // the block reset
                    kLock,
                    kUnlock,    // the request: user, site key, the host's window
                    Request(8), // look the login up
                    kLock,
                    kUnlock, // the answer bit (the flags)
                    kLock,
                    kUnlock, // the result
                    kLock,
                    kUnlock, // the flags
                    {"CLVBHOCommandHandler::CheckAndValidate - 13"},
                    kLock,
                    kUnlock}), // pending: the core's window kept from the block
              run.Texts());
}
