#include "commands/CommandDispatcher.h"

#include "tests/fakes/RecordingCommandHandler.h"

#include <gtest/gtest.h>

namespace
{
std::string Dispatch(const char* requestText, const ProcessValues& values = ProcessValues())
{
    JsonCPPWrapper request;
    CRecordingCommandHandler handler(request);
    CCommandDispatcher dispatcher(handler, values);
    EXPECT_TRUE(request.Parse(requestText)) << requestText;
    return dispatcher.Dispatch(request);
}

using Calls = std::vector<std::string>;

// One request through a dispatcher whose handler records its calls.
struct DispatchRun
{
    explicit DispatchRun(const char* requestText, ProcessValues processValues = ProcessValues())
        : values(std::move(processValues)), handler(request), dispatcher(handler, values)
    {
        EXPECT_TRUE(request.Parse(requestText)) << requestText;
    }
    std::string Dispatch() { return dispatcher.Dispatch(request); }

    ProcessValues values;
    JsonCPPWrapper request;
    CRecordingCommandHandler handler;
    CCommandDispatcher dispatcher;
};

// The answer to `command` (id 1) when its operation ends with `status`.
std::string AnswerWhenTheOperationEnds(const char* command, std::uint32_t status)
{
    DispatchRun run(("{\"command\":\"" + std::string(command) + "\",\"id\":1}").c_str());
    run.handler.m_statuses[command] = status;
    return run.Dispatch();
}
} // namespace

TEST(CommandDispatcherTest, RequestsWithoutACommandOrAnIdAnswerOnlyTheStatus)
{
    for (const char* request : {"{\"command\":\"GetLang\"}", "{\"id\":1}", "{}", "[1,2]", "\"GetLang\""})
        EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch(request)) << request;
}

TEST(CommandDispatcherTest, UnknownCommandsAreAnsweredInvalidEchoingCommandAndId)
{
    const std::pair<const char*, const char*> table[] = {
        {"{\"command\":\"Frobnicate\",\"id\":3}",
         "{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"Frobnicate\",\"id\":3}"},
        // Command names are case-sensitive.
        {"{\"command\":\"getlang\",\"id\":1}",
         "{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"getlang\",\"id\":1}"},
        // Null members count as present, read as an empty command and id 0.
        {"{\"command\":null,\"id\":null}",
         "{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"\",\"id\":0}"},
        // A numeric command is read as its text, a fractional id is cut.
        {"{\"command\":12,\"id\":1.9}",
         "{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"12\",\"id\":1}"},
    };
    for (const auto& [request, answer] : table)
        EXPECT_EQ(answer, Dispatch(request)) << request;
}

TEST(CommandDispatcherTest, GetLangAnswersTheLanguageName)
{
    ProcessValues values;
    values.languageName = "German";

    EXPECT_EQ("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"Lang\":\"German\",\"command\":\"GetLang\","
              "\"id\":7}",
              Dispatch("{\"command\":\"GetLang\",\"id\":7}", values));
}

TEST(CommandDispatcherTest, SetNeverRememberPwdSucceedsDoingNothing)
{
    EXPECT_EQ("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"command\":\"SetNeverRememberPwd\",\"id\":2}",
              Dispatch("{\"command\":\"SetNeverRememberPwd\",\"id\":2}"));
}

TEST(CommandDispatcherTest, AMemberOfTheWrongTypeAnswersArgumentMissingEchoingTheOther)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"command\":\"GetLang\"}",
              Dispatch("{\"command\":\"GetLang\",\"id\":\"x\"}"));
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"id\":9}",
              Dispatch("{\"command\":[\"GetLang\"],\"id\":9}"));
}

TEST(CommandDispatcherTest, ResponsesDoNotCarryOverBetweenRequests)
{
    const ProcessValues values;
    JsonCPPWrapper request;
    CRecordingCommandHandler handler(request);
    CCommandDispatcher dispatcher(handler, values);
    ASSERT_TRUE(request.Parse("{\"command\":\"GetLang\",\"id\":1}"));
    dispatcher.Dispatch(request);
    ASSERT_TRUE(request.Parse("{\"command\":\"Other\",\"id\":2}"));

    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"Other\",\"id\":2}",
              dispatcher.Dispatch(request));
}

TEST(CommandDispatcherTest, EveryCommandOfTheTableReachesItsOperation)
{
    const std::pair<const char*, const char*> table[] = {
        {"StoreLoginData", "StoreLoginData"},
        {"CheckAndValidate", "CheckAndValidate"},
        {"RememberPwdWithoutPrompt", "RememberPwdWithoutPrompt"},
        {"IsPageRemembered", "IsPageRemembered"},
        {"SetRememberPwdWithoutPrompt", "SetRememberPwdWithoutPrompt"},
        {"SetPluginParam", "SetPluginParam"},
        {"CheckSkipList", "CheckSkipList"},
        {"CancelOperation", "CancelOperation"},
        {"ShowPrompt", "ShowPrompt"},
        {"SetPromptPos", "SetPromptPos"},
        {"HidePrompt", "HidePrompt"},
        {"keyevent", "PlayKeys"},
    };
    for (const auto& [command, operation] : table)
    {
        DispatchRun run(("{\"command\":\"" + std::string(command) + "\",\"id\":1}").c_str());

        run.Dispatch();

        EXPECT_EQ(operation, run.handler.m_calls.back()) << command;
    }
}

TEST(CommandDispatcherTest, TheCancelStepRunsBeforeTheCommand)
{
    DispatchRun run("{\"command\":\"StoreLoginData\",\"id\":1}");

    run.Dispatch();

    EXPECT_EQ((Calls{"CancelIfBusy(1)", "StoreLoginData"}), run.handler.m_calls);
}

TEST(CommandDispatcherTest, UnknownCommandsRunTheCancelStepToo)
{
    DispatchRun run("{\"command\":\"Frobnicate\",\"id\":1}");

    run.Dispatch();

    EXPECT_EQ((Calls{"CancelIfBusy(1)"}), run.handler.m_calls);
}

TEST(CommandDispatcherTest, FiveCommandsSkipTheCancelStep)
{
    for (const char* command : {"SetPluginParam", "CancelOperation", "SetPromptPos", "HidePrompt", "CheckSkipList"})
    {
        DispatchRun run(("{\"command\":\"" + std::string(command) + "\",\"id\":1}").c_str());

        run.Dispatch();

        EXPECT_NE("CancelIfBusy(1)", run.handler.m_calls.front()) << command;
        EXPECT_TRUE(SkipsCancelStep(command));
    }
}

TEST(CommandDispatcherTest, ABusyCoreIsCancelledThePromptHiddenAndTheCancelAwaited)
{
    DispatchRun run("{\"command\":\"IsPageRemembered\",\"id\":1}");
    run.handler.m_cancelStatus = 5;

    const std::string answer = run.Dispatch();

    EXPECT_EQ((Calls{"CancelIfBusy(1)", "HidePrompt", "Wait(500)", "IsPageRemembered"}), run.handler.m_calls);
    EXPECT_NE(std::string::npos, answer.find("\"CommandError\":0"));
}

TEST(CommandDispatcherTest, TheOperationsStatusIsTheAnswer)
{
    DispatchRun run("{\"command\":\"StoreLoginData\",\"id\":4}");
    run.handler.m_statuses["StoreLoginData"] = 4;

    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"command\":\"StoreLoginData\",\"id\":4}",
              run.Dispatch());
}

TEST(CommandDispatcherTest, PendingCheckAndValidateWaitsAndStillAnswersPending)
{
    DispatchRun run("{\"command\":\"CheckAndValidate\",\"id\":1}");
    run.handler.m_statuses["CheckAndValidate"] = 5;

    const std::string answer = run.Dispatch();

    EXPECT_EQ((Calls{"CancelIfBusy(1)", "CheckAndValidate", "Wait(500)"}), run.handler.m_calls);
    EXPECT_NE(std::string::npos, answer.find("\"CommandError\":5,\"CommandErrorMsg\":\"pending\""));
}

TEST(CommandDispatcherTest, SetRememberPwdWithoutPromptFailureIsThree)
{
    EXPECT_NE(std::string::npos,
              AnswerWhenTheOperationEnds("SetRememberPwdWithoutPrompt", 7).find("\"CommandError\":3,"));
}

TEST(CommandDispatcherTest, CancelOperationAnswersTheOperationsStatusWithoutTheCancelStep)
{
    DispatchRun run("{\"command\":\"CancelOperation\",\"id\":1}");
    run.handler.m_statuses["CancelOperation"] = 3;

    EXPECT_EQ("{\"CommandError\":3,\"CommandErrorMsg\":\"fail\",\"command\":\"CancelOperation\",\"id\":1}",
              run.Dispatch());
    EXPECT_EQ((Calls{"CancelOperation"}), run.handler.m_calls);
}

TEST(CommandDispatcherTest, CheckSkipListAnswersTheOperationsStatus)
{
    EXPECT_NE(std::string::npos, AnswerWhenTheOperationEnds("CheckSkipList", 4).find("\"CommandError\":4,"));
}

TEST(CommandDispatcherTest, ShowPromptIsAnsweredWithIdMinusOne)
{
    DispatchRun run("{\"command\":\"ShowPrompt\",\"id\":7}");

    EXPECT_EQ("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"command\":\"ShowPrompt\",\"id\":-1}",
              run.Dispatch());
}

TEST(CommandDispatcherTest, HidePromptWithoutPromptWindowFails)
{
    DispatchRun run("{\"command\":\"HidePrompt\",\"id\":1}");

    EXPECT_NE(std::string::npos, run.Dispatch().find("\"CommandError\":3,"));
}

TEST(CommandDispatcherTest, WrongCaseStoreLoginDataIsUnknown)
{
    DispatchRun run("{\"command\":\"storelogindata\",\"id\":1}");

    EXPECT_NE(std::string::npos, run.Dispatch().find("\"CommandError\":2,"));
    EXPECT_EQ((Calls{"CancelIfBusy(1)"}), run.handler.m_calls);
}

namespace
{
ProcessValues IdentifyValues()
{
    ProcessValues values;
    values.product.buildNumber = "2041";
    values.product.productVer = "7.3";
    values.product.webVersion = "7.3.0.5";
    values.product.release = 3;
    values.product.oem = 55;
    values.product.pmode = 1;
    values.chromeImmersive = true;
    return values;
}
} // namespace

TEST(CommandDispatcherTest, IdentifyForAnUnknownBrowserStoresUnkownAndAsksTheUiThread)
{
    DispatchRun run("{\"command\":\"Identify\",\"id\":5,\"name\":\"edge\",\"purpose\":\"Check\"}", IdentifyValues());

    const std::string answer = run.Dispatch();

    EXPECT_EQ("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"MultiVltSupport\":1,\"command\":\"Identify\","
              "\"id\":5,\"ismetro\":1,\"productverinfo\":{\"buildnumber\":\"2041\",\"oem\":55,\"pmode\":1,"
              "\"productver\":\"7.3\",\"releasever\":3,\"webversion\":\"7.3.0.5\"}}",
              answer);
    EXPECT_EQ((Calls{"CancelIfBusy(1)", "SetBrowserCode(7)", "SetBrowserName(unkown)", "StartNonChromeBrowser"}),
              run.handler.m_calls);
}

TEST(CommandDispatcherTest, IdentifyForChromeWithoutPurposeAnswersSuccess)
{
    DispatchRun run("{\"command\":\"Identify\",\"id\":5,\"name\":\"chrome\"}", IdentifyValues());

    const std::string answer = run.Dispatch();

    EXPECT_NE(std::string::npos, answer.find("\"CommandError\":0,"));
    EXPECT_EQ((Calls{"CancelIfBusy(1)", "SetBrowserCode(7)", "SetBrowserName(chrome)"}), run.handler.m_calls);
}

TEST(CommandDispatcherTest, IdentifyForFirefoxKeepsTheBrowserCodeAndAsksTheUiThread)
{
    DispatchRun run("{\"command\":\"Identify\",\"id\":5,\"name\":\"firefox\",\"purpose\":\"\"}");

    run.Dispatch();

    EXPECT_EQ((Calls{"CancelIfBusy(1)", "SetBrowserName(firefox)", "StartNonChromeBrowser"}), run.handler.m_calls);
}

TEST(CommandDispatcherTest, IdentifyWithPurposeInstallRecordsTheInstallation)
{
    DispatchRun run("{\"command\":\"Identify\",\"id\":5,\"name\":\"firefox\",\"purpose\":\"Install\"}");

    run.Dispatch();

    EXPECT_EQ((Calls{"CancelIfBusy(1)", "SetBrowserName(firefox)", "ExtensionInstalled"}), run.handler.m_calls);
}

TEST(CommandDispatcherTest, IdentifyWithoutNameStillAnswersSuccess)
{
    DispatchRun run("{\"command\":\"Identify\",\"id\":5}");

    const std::string answer = run.Dispatch();

    EXPECT_NE(std::string::npos, answer.find("\"CommandError\":0,"));
    EXPECT_NE(std::string::npos, answer.find("\"ismetro\":0"));
    EXPECT_EQ((Calls{"CancelIfBusy(1)", "SetBrowserCode(7)", "SetBrowserName(unkown)", "StartNonChromeBrowser"}),
              run.handler.m_calls);
}

TEST(CommandDispatcherTest, IdentifyWithANameOfTheWrongTypeAnswersArgumentMissing)
{
    DispatchRun run("{\"command\":\"Identify\",\"id\":5,\"name\":{}}");

    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"command\":\"Identify\",\"id\":5}",
              run.Dispatch());
}
