#include "host/MainHandler.h"

#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/FakeMessagingPlatform.h"
#include "tests/fakes/StringStreams.h"

#include <gtest/gtest.h>

namespace
{
using Calls = std::vector<std::string>;

struct HandlerRun
{
    explicit HandlerRun(std::string inputBytes, std::uint16_t language = 0x0409) : input(std::move(inputBytes))
    {
        registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "InstallDir", "C:\\Program Files\\Lumivar\\");
        uiLanguage = language;
    }
    void Go()
    {
        MessagingEnvironment environment{registry, log, input, output, uiLanguage, platform};
        MainHandler(environment, values);
    }

    CMemoryRegistry registry;
    CFakeLogSink sink;
    CDebugLog log{sink};
    CStringSource input;
    CStringSink output;
    std::uint16_t uiLanguage = 0x0409;
    CFakeMessagingPlatform platform;
    ProcessValues values;
};
} // namespace

TEST(MainHandlerTest, AnswersGetLangInTheUserInterfaceLanguage)
{
    HandlerRun run(Frame("{\"command\":\"GetLang\",\"id\":1}"), 0x0407);

    run.Go();

    EXPECT_EQ("German", run.values.languageName);
    EXPECT_EQ(Frame("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"Lang\":\"German\",\"command\":\"GetLang\","
                    "\"id\":1}"),
              run.output.Bytes());
}

TEST(MainHandlerTest, OpensTheLogUnderTheHostsName)
{
    HandlerRun run("");
    run.registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;3");

    run.Go();

    EXPECT_TRUE(run.log.Enabled(3));
    EXPECT_EQ("C:\\TEMP\\LVBHOHost.txt", run.log.FilePath());
}

TEST(MainHandlerTest, StartsAndStopsInTheStatedOrder)
{
    HandlerRun run(Frame("{\"command\":\"GetLang\",\"id\":1}"));

    run.Go();

    EXPECT_EQ(
        (Calls{"InitSecurityAttributes", "InitSharedMemory", "StartUiThread", "StopUiThread", "CloseSharedMemory"}),
        run.platform.m_calls);
    // The first and the last thing the handler is asked is to cancel whatever the core still has open.
    EXPECT_EQ((Calls{"CancelIfBusy(1)", "CancelIfBusy(1)", "CancelIfBusy(1)"}), run.platform.m_handlerCalls);
}

TEST(MainHandlerTest, AnUpdateInProgressEndsTheHostBeforeTheCoreLink)
{
    HandlerRun run(Frame("{\"command\":\"GetLang\",\"id\":1}"));
    run.platform.m_processes.m_processes = {{42, "wyUpdate.exe"}};
    run.platform.m_processes.m_imagePath = "\\Device\\HarddiskVolume1\\Program Files\\Lumivar\\wyUpdate.exe";
    run.platform.m_processes.m_wmiCommandLine = "wyupdate.exe /quickcheck /justcheck";

    run.Go();

    EXPECT_TRUE(run.platform.m_calls.empty());
    EXPECT_EQ("", run.output.Bytes());
}

TEST(MainHandlerTest, FailedSecurityAttributesEndTheHostSilently)
{
    HandlerRun run(Frame("{\"command\":\"GetLang\",\"id\":1}"));
    run.platform.m_securityWorks = false;

    run.Go();

    EXPECT_EQ((Calls{"InitSecurityAttributes"}), run.platform.m_calls);
    EXPECT_EQ("", run.output.Bytes());
}

TEST(MainHandlerTest, FailedSharedMemoryEndsTheHostSilently)
{
    HandlerRun run(Frame("{\"command\":\"GetLang\",\"id\":1}"));
    run.platform.m_sharedMemoryWorks = false;

    run.Go();

    EXPECT_EQ((Calls{"InitSecurityAttributes", "InitSharedMemory"}), run.platform.m_calls);
    EXPECT_EQ("", run.output.Bytes());
}

TEST(MainHandlerTest, AUiThreadThatCannotStartClosesTheCoreLinkSilently)
{
    HandlerRun run(Frame("{\"command\":\"GetLang\",\"id\":1}"));
    run.platform.m_threadStarts = false;

    run.Go();

    EXPECT_EQ((Calls{"InitSecurityAttributes", "InitSharedMemory", "StartUiThread", "CloseSharedMemory"}),
              run.platform.m_calls);
    EXPECT_EQ("", run.output.Bytes());
}

TEST(MainHandlerTest, EndOfInputAtOnceStillStopsInOrder)
{
    HandlerRun run("");

    run.Go();

    EXPECT_EQ(
        (Calls{"InitSecurityAttributes", "InitSharedMemory", "StartUiThread", "StopUiThread", "CloseSharedMemory"}),
        run.platform.m_calls);
    EXPECT_EQ((Calls{"CancelIfBusy(1)", "CancelIfBusy(1)"}), run.platform.m_handlerCalls);
    EXPECT_EQ("", run.output.Bytes());
}
