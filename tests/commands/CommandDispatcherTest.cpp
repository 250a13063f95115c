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
} // namespace

TEST(CommandDispatcherTest, MissingIdAnswersOnlyTheStatus)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("{\"command\":\"GetLang\"}"));
}

TEST(CommandDispatcherTest, MissingCommandAnswersOnlyTheStatus)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("{\"id\":1}"));
}

TEST(CommandDispatcherTest, EmptyObjectAnswersArgumentMissing)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("{}"));
}

TEST(CommandDispatcherTest, NonObjectRequestAnswersArgumentMissing)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("[1,2]"));
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("\"GetLang\""));
}

TEST(CommandDispatcherTest, UnknownCommandEchoesCommandAndId)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"Frobnicate\",\"id\":3}",
              Dispatch("{\"command\":\"Frobnicate\",\"id\":3}"));
}

TEST(CommandDispatcherTest, CommandNamesAreCaseSensitive)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"getlang\",\"id\":1}",
              Dispatch("{\"command\":\"getlang\",\"id\":1}"));
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

TEST(CommandDispatcherTest, IdOfTheWrongTypeAnswersArgumentMissingEchoingTheCommand)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"command\":\"GetLang\"}",
              Dispatch("{\"command\":\"GetLang\",\"id\":\"x\"}"));
}

TEST(CommandDispatcherTest, CommandOfTheWrongTypeAnswersArgumentMissingEchoingTheId)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"id\":9}",
              Dispatch("{\"command\":[\"GetLang\"],\"id\":9}"));
}

TEST(CommandDispatcherTest, NullMembersCountAsPresent)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"\",\"id\":0}",
              Dispatch("{\"command\":null,\"id\":null}"));
}

TEST(CommandDispatcherTest, NumericCommandIsReadAsItsText)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"12\",\"id\":1}",
              Dispatch("{\"command\":12,\"id\":1.9}"));
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
    DispatchRun run("{\"command\":\"SetRememberPwdWithoutPrompt\",\"id\":1}");
    run.handler.m_statuses["SetRememberPwdWithoutPrompt"] = 7;

    EXPECT_NE(std::string::npos, run.Dispatch().find("\"CommandError\":3,"));
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
    DispatchRun run("{\"command\":\"CheckSkipList\",\"id\":1}");
    run.handler.m_statuses["CheckSkipList"] = 4;

    EXPECT_NE(std::string::npos, run.Dispatch().find("\"CommandError\":4,"));
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
