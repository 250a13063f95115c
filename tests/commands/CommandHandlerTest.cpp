#include "commands/CommandHandler.h"

#include "tests/fakes/HandlerWorld.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace
{
using Calls = std::vector<std::string>;
constexpr const char* kUserProduct = "HKCU\\Software\\Kavrin\\Lumivar";
constexpr const char* kMachineProduct = "HKLM\\Software\\Kavrin\\Lumivar";
constexpr const char* kUserSkipList = "HKCU\\SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho";
constexpr const char* kMachineSkipList = "HKLM\\SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho";

struct Handler : HandlerWorld
{
    explicit Handler(const char* requestText = "{}", bool immersive = false) : HandlerWorld(immersive)
    {
        Parse(requestText);
    }
    void Parse(const char* requestText) { EXPECT_TRUE(request.Parse(requestText)) << requestText; }
    CLVBHOCommandHandler& Make()
    {
        handler = std::make_unique<CLVBHOCommandHandler>(request, services);
        return *handler;
    }
    std::string Reply()
    {
        std::string text;
        return handler->Reply().ToString(text);
    }
    std::vector<std::uint32_t> Codes() const
    {
        std::vector<std::uint32_t> codes;
        for (const SignalCall& call : link.m_signals)
            codes.push_back(call.code);
        return codes;
    }
    // The core answers every request: `answerYes` for request 1, `result` and `flags` for all of them.
    void CoreAnswers(bool answerYes, std::uint32_t result = 0, std::uint32_t flags = 0)
    {
        link.m_onSignal = [answerYes, result, flags](CFakeCoreLink& core, std::uint32_t code) {
            core.m_block.result = result;
            core.m_block.flags = flags | (code == kRequestIsKnown && answerYes ? kFlagAnswerYes : 0u);
        };
    }

    std::unique_ptr<CLVBHOCommandHandler> handler;
};

constexpr const char* kStoreRequest =
    "{\"DocumentTitle\":\"Log in\",\"WebUrl\":\"https://www.example.com/login\",\"unamefield\":\"user\","
    "\"webPageUserId\":\"alice\",\"passfieldname\":\"pwd\",\"webPagepassword\":\"s3cret\"}";
constexpr const char* kCheckRequest =
    "{\"DocumentTitle\":\"Log in\",\"WebUrl\":\"https://mail.example.com/\",\"unamefield\":\"user\","
    "\"passfieldname\":\"pwd\",\"webPageUserId\":\"alice\"}";
constexpr const char* kRememberedRequest = "{\"WebUrl\":\"https://www.example.com/\",\"passfieldname\":\"pwd\"}";
} // namespace

TEST(CommandHandlerTest, TheBrowserIsChromeUntilIdentifySaysOtherwise)
{
    Handler run;
    CLVBHOCommandHandler& handler = run.Make();

    EXPECT_EQ("chrome", handler.BrowserName());
    handler.SetBrowserName("firefox");
    EXPECT_EQ("firefox", handler.BrowserName());
}

TEST(CommandHandlerTest, CancelIfBusyWithNothingOpenFailsAndSendsNothing)
{
    Handler run;

    EXPECT_EQ(3u, run.Make().CancelIfBusy(1));

    EXPECT_TRUE(run.link.m_signals.empty());
}

TEST(CommandHandlerTest, CancelIfBusyWithARequestOpenSendsTheCancelAndAnswersPending)
{
    Handler run;
    run.link.m_block.flags = kFlagCancellable;

    EXPECT_EQ(5u, run.Make().CancelIfBusy(0));

    ASSERT_EQ(1u, run.link.m_signals.size());
    EXPECT_EQ(6u, run.link.m_signals[0].code);
    EXPECT_EQ(0, run.link.m_signals[0].wait);
}

TEST(CommandHandlerTest, WaitForCompletionStandsZeroAndInfiniteForHalfASecond)
{
    Handler run;
    CLVBHOCommandHandler& handler = run.Make();

    handler.WaitForCompletion(0);
    handler.WaitForCompletion(0xFFFFFFFF);
    handler.WaitForCompletion(20);

    EXPECT_EQ((Calls{"WaitOnEvent 500", "WaitOnEvent 500", "WaitOnEvent 20"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, HidePromptWithoutPromptWindowFails)
{
    Handler run;

    EXPECT_EQ(3u, run.Make().HidePrompt());

    EXPECT_TRUE(run.platform.m_calls.empty());
}

TEST(CommandHandlerTest, HidePromptSendsTheHideRequestToThePromptWindow)
{
    Handler run;
    run.platform.m_hasPrompt = true;

    EXPECT_EQ(0u, run.Make().HidePrompt());

    EXPECT_EQ((Calls{"Send MSG_WM_HIDEPROMPT 1 0"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, ShowPromptAndSetPromptPosGoToThePromptWindow)
{
    Handler run;
    run.platform.m_hasPrompt = true;

    EXPECT_EQ(0u, run.Make().ShowPrompt());
    EXPECT_EQ(0u, run.handler->SetPromptPos());

    EXPECT_EQ((Calls{"Send MSG_WM_SHOWPROMPT 0 0", "Send MSG_WM_SETPROMPTPOS 0 0"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, ShowPromptAndSetPromptPosWithoutPromptWindowFail)
{
    Handler run;

    EXPECT_EQ(3u, run.Make().ShowPrompt());
    EXPECT_EQ(3u, run.handler->SetPromptPos());

    EXPECT_TRUE(run.platform.m_calls.empty());
}

TEST(CommandHandlerTest, CancelOperationWithNothingOpenFailsWithoutWaiting)
{
    Handler run;

    EXPECT_EQ(3u, run.Make().CancelOperation());

    EXPECT_TRUE(run.platform.m_calls.empty());
}

TEST(CommandHandlerTest, CancelOperationWithARequestOpenCancelsWaitsAndSucceeds)
{
    Handler run;
    run.link.m_block.flags = kFlagCancellable;

    EXPECT_EQ(0u, run.Make().CancelOperation());

    EXPECT_EQ((std::vector<std::uint32_t>{6}), run.Codes());
    EXPECT_EQ((Calls{"WaitOnEvent 500"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, CancelOperationHidesThePromptBeforeItCancels)
{
    Handler run;
    run.platform.m_hasPrompt = true;
    run.link.m_block.flags = kFlagCancellable;
    run.link.m_onSignal = [&run](CFakeCoreLink&, std::uint32_t code) {
        run.platform.m_calls.push_back("request " + std::to_string(code));
    };

    EXPECT_EQ(0u, run.Make().CancelOperation());

    EXPECT_EQ((Calls{"Send MSG_WM_HIDEPROMPT 1 0", "request 6", "WaitOnEvent 500"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, MissingMembersAnswerArgumentMissing)
{
    Handler run;
    CLVBHOCommandHandler& handler = run.Make();

    EXPECT_EQ(4u, handler.StoreLoginData());
    EXPECT_EQ(4u, handler.CheckAndValidate());
    EXPECT_EQ(4u, handler.IsPageRemembered());
    EXPECT_EQ(4u, handler.SetPluginParam());
    EXPECT_EQ(4u, handler.CheckSkipList());
    EXPECT_EQ(4u, handler.PlayKeys());
    EXPECT_TRUE(run.link.m_signals.empty());
}

TEST(CommandHandlerTest, StoreLoginDataWithoutPasswordAnswersArgumentMissingAndSendsNothing)
{
    Handler run("{\"DocumentTitle\":\"t\",\"WebUrl\":\"https://a.com/\",\"unamefield\":\"u\",\"webPageUserId\":\"n\","
                "\"passfieldname\":\"p\"}");

    EXPECT_EQ(4u, run.Make().StoreLoginData());

    EXPECT_TRUE(run.link.m_signals.empty());
    EXPECT_EQ('\0', run.link.m_block.fieldScript[0]);
}

TEST(CommandHandlerTest, StoreLoginDataWithoutHttpFailsAndSendsNothing)
{
    Handler run("{\"DocumentTitle\":\"t\",\"WebUrl\":\"ftp://a.com/\",\"unamefield\":\"u\",\"webPageUserId\":\"n\","
                "\"passfieldname\":\"p\",\"webPagepassword\":\"w\"}");

    EXPECT_EQ(3u, run.Make().StoreLoginData());

    EXPECT_TRUE(run.link.m_signals.empty());
    EXPECT_EQ('\0', run.link.m_block.fieldScript[0]);
}

TEST(CommandHandlerTest, StoreLoginDataOfAKnownLoginAsksOnceAndSucceeds)
{
    Handler run(kStoreRequest);
    run.CoreAnswers(true);

    EXPECT_EQ(0u, run.Make().StoreLoginData());

    EXPECT_EQ((std::vector<std::uint32_t>{1}), run.Codes());
    EXPECT_STREQ("EXAMPLE.COM::pwd", run.link.m_block.requestKey);
    EXPECT_STREQ("alice", run.link.m_block.requestUser);
    EXPECT_EQ(0x5150u, run.link.m_block.hostWindow);
    EXPECT_STREQ("Log in", run.link.m_block.requestDisplay);
    EXPECT_EQ("{\"isenrolled\":1}", run.Reply());
}

TEST(CommandHandlerTest, StoreLoginDataOfANewLoginAsksTheCoreToStoreIt)
{
    Handler run(kStoreRequest);
    run.CoreAnswers(false);

    EXPECT_EQ(0u, run.Make().StoreLoginData());

    EXPECT_EQ((std::vector<std::uint32_t>{1, 2}), run.Codes());
    EXPECT_EQ(std::string("<S>+<DCH>user<FV><SV><\\FV><TAB>+<DCH>pwd<FV><SV><\\FV>+<OK>+<QL>+"),
              run.link.m_block.fieldScript);
}

TEST(CommandHandlerTest, StoreLoginDataFailsWhenTheCoreDoesNotComplete)
{
    Handler run(kStoreRequest);
    run.link.m_signalResult = 0;

    EXPECT_EQ(3u, run.Make().StoreLoginData());
}

TEST(CommandHandlerTest, StoreLoginDataFailsWhenTheStoreIsNotCompleted)
{
    Handler run(kStoreRequest);
    run.link.m_onSignal = [](CFakeCoreLink& core, std::uint32_t code) {
        if (code == kRequestStore)
            core.m_signalResult = 0;
    };

    EXPECT_EQ(3u, run.Make().StoreLoginData());
}

TEST(CommandHandlerTest, StoreLoginDataForAnUnenrolledUserWithoutEnrolmentFailsSayingSo)
{
    Handler run(kStoreRequest);
    run.link.m_block.flags = kFlagNotEnrolled;

    EXPECT_EQ(3u, run.Make().StoreLoginData());

    EXPECT_EQ("{\"isenrolled\":0}", run.Reply());
    EXPECT_EQ(0, run.link.m_validateCount);
    EXPECT_TRUE(run.link.m_signals.empty());
}

TEST(CommandHandlerTest, StoreLoginDataValidatesAnUnenrolledUserWhenAskedAndGoesOn)
{
    Handler run("{\"DocumentTitle\":\"t\",\"WebUrl\":\"https://a.com/\",\"unamefield\":\"u\",\"webPageUserId\":\"n\","
                "\"passfieldname\":\"p\",\"webPagepassword\":\"w\",\"enrolluser\":1}");
    run.link.m_block.flags = kFlagNotEnrolled;

    EXPECT_EQ(0u, run.Make().StoreLoginData());

    EXPECT_EQ("{\"isenrolled\":1}", run.Reply());
    EXPECT_EQ(1, run.link.m_validateCount);
    EXPECT_EQ(kFlagNotEnrolled | kFlagValidating, run.link.m_flagsDuringValidation);
}

TEST(CommandHandlerTest, StoreLoginDataWithADeniedValidationFails)
{
    Handler run("{\"DocumentTitle\":\"t\",\"WebUrl\":\"https://a.com/\",\"unamefield\":\"u\",\"webPageUserId\":\"n\","
                "\"passfieldname\":\"p\",\"webPagepassword\":\"w\",\"enrolluser\":1}");
    run.link.m_block.flags = kFlagNotEnrolled;
    run.link.m_validateResult = 0;

    EXPECT_EQ(3u, run.Make().StoreLoginData());

    EXPECT_EQ("{\"isenrolled\":0}", run.Reply());
    EXPECT_EQ(0u, run.link.m_block.flags); // the validation's end clears the whole word
    EXPECT_TRUE(run.link.m_signals.empty());
}

TEST(CommandHandlerTest, StoreLoginDataWithAMemberOfTheWrongTypeAnswersArgumentMissing)
{
    Handler run("{\"DocumentTitle\":\"t\",\"WebUrl\":\"https://a.com/\",\"unamefield\":\"u\",\"webPageUserId\":{},"
                "\"passfieldname\":\"p\",\"webPagepassword\":\"w\"}");

    EXPECT_EQ(4u, run.Make().StoreLoginData());

    EXPECT_TRUE(run.link.m_signals.empty());
}

TEST(CommandHandlerTest, StoreLoginDataWithLongAndBrokenTextsStaysInsideTheBlock)
{
    const std::string huge(100000, 'x');
    Handler run(("{\"DocumentTitle\":\"" + huge + "\",\"WebUrl\":\"https://a.com/" + huge +
                 "\",\"unamefield\":\"u\\u0000v\",\"webPageUserId\":\"" + huge +
                 "\",\"passfieldname\":\"p\",\"webPagepassword\":\"\\u00ff\"}")
                    .c_str());

    EXPECT_EQ(0u, run.Make().StoreLoginData());

    EXPECT_EQ(259u, std::strlen(run.link.m_block.requestUser));
    EXPECT_STREQ("A", run.link.m_block.requestDisplay);
    // The user field's name ends at its NUL; the script and the value list stay inside their fields.
    EXPECT_EQ(std::string("<S>+<DCH>u<FV><SV><\\FV><TAB>+<DCH>p<FV><SV><\\FV>+<OK>+<QL>+"),
              run.link.m_block.fieldScript);
    EXPECT_EQ(5u, run.link.m_block.valueCount);
}

TEST(CommandHandlerTest, CheckAndValidateWhileAValidationRunsFailsAtOnce)
{
    Handler run(kCheckRequest);
    run.link.m_block.flags = kFlagValidating;

    EXPECT_EQ(3u, run.Make().CheckAndValidate());

    EXPECT_TRUE(run.link.m_signals.empty());
    EXPECT_EQ(0, run.link.m_resetCount);
}

TEST(CommandHandlerTest, CheckAndValidateWithAFillScriptAnswersTheLoginData)
{
    Handler run(kCheckRequest);
    run.link.m_onSignal = [](CFakeCoreLink& core, std::uint32_t) {
        LoginScriptTables tables;
        WriteLoginScript(tables, core, "EXAMPLE.COM::pwd", "", "https://example.com/", "user", "alice", "pwd", "pw");
        core.m_block.result = kResultFillScript;
    };

    EXPECT_EQ(0u, run.Make().CheckAndValidate());

    EXPECT_EQ((std::vector<std::uint32_t>{8}), run.Codes());
    EXPECT_STREQ("", run.link.m_block.fieldScript); // consumed
    EXPECT_EQ("{\"LoginData\":[{\"FieldName\":\"user\",\"FieldVal\":\"alice\"},{\"FieldName\":\"pwd\",\"FieldVal\":"
              "\"pw\"}],\"clickok\":\"true\"}",
              run.Reply());
}

TEST(CommandHandlerTest, CheckAndValidateAsksForTheSiteKeyOfTheRegistrableDomain)
{
    Handler run(kCheckRequest);
    run.CoreAnswers(false);

    EXPECT_EQ(3u, run.Make().CheckAndValidate()); // neither a fill nor a pending validation

    EXPECT_STREQ("EXAMPLE.COM::pwd", run.link.m_block.requestKey);
    EXPECT_EQ(1, run.link.m_resetCount);
}

TEST(CommandHandlerTest, CheckAndValidateOfAPageWithoutDomainFailsAfterClearingTheBlock)
{
    Handler run("{\"DocumentTitle\":\"t\",\"WebUrl\":\"about:blank\",\"unamefield\":\"u\",\"passfieldname\":\"p\"}");
    std::strcpy(run.link.m_block.fieldScript, "<S>+stale");

    EXPECT_EQ(3u, run.Make().CheckAndValidate());

    EXPECT_EQ(1, run.link.m_resetCount);
    EXPECT_STREQ("", run.link.m_block.fieldScript);
    EXPECT_TRUE(run.link.m_signals.empty());
}

TEST(CommandHandlerTest, CheckAndValidateWithAnEmptyFillScriptFails)
{
    Handler run(kCheckRequest);
    run.CoreAnswers(false, kResultFillScript);

    EXPECT_EQ(3u, run.Make().CheckAndValidate());
}

TEST(CommandHandlerTest, CheckAndValidateLeftPendingWithVaultSelectAnswersSixAndKeepsTheCoreWindow)
{
    Handler run(kCheckRequest);
    run.link.m_onSignal = [](CFakeCoreLink& core, std::uint32_t) {
        core.m_block.result = kResultVaultSelect;
        core.m_block.flags = kFlagCancellable;
        core.m_block.hostContext = 0xC0DE;
    };
    CLVBHOCommandHandler& handler = run.Make();

    EXPECT_EQ(6u, handler.CheckAndValidate());

    EXPECT_EQ(0xC0DEu, handler.CoreWindow());
}

TEST(CommandHandlerTest, CheckAndValidateLeftPendingAnswersFive)
{
    Handler run(kCheckRequest);
    run.CoreAnswers(false, 7, kFlagCancellable);

    EXPECT_EQ(5u, run.Make().CheckAndValidate());
}

TEST(CommandHandlerTest, CheckAndValidateWithResultThirteenButNothingOpenFails)
{
    Handler run(kCheckRequest);
    run.CoreAnswers(false, kResultVaultSelect, 0);

    EXPECT_EQ(3u, run.Make().CheckAndValidate());
}

TEST(CommandHandlerTest, CheckAndValidateTellsThePromptWindowFirst)
{
    Handler run(kCheckRequest);
    run.platform.m_hasPrompt = true;
    run.CoreAnswers(false);

    run.Make().CheckAndValidate();

    EXPECT_EQ((Calls{"Send MSG_WM_SETTABINFO 0 0"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, IsPageRememberedForAnUnknownSiteOfAnEnrolledUser)
{
    Handler run(kRememberedRequest);
    run.CoreAnswers(false, 0);

    EXPECT_EQ(0u, run.Make().IsPageRemembered());

    EXPECT_EQ("{\"isdiscoveryon\":1,\"isenrolled\":1,\"isremembered\":0,\"noprompt\":0}", run.Reply());
    EXPECT_EQ((std::vector<std::uint32_t>{1, 9}), run.Codes());
    EXPECT_STREQ("", run.link.m_block.requestDisplay);
    EXPECT_EQ(std::string("<S>+<DCH><FV><SV><\\FV><TAB>+<DCH>pwd<FV><SV><\\FV>+<OK>+<QL>+"),
              run.link.m_block.fieldScript);
}

TEST(CommandHandlerTest, IsPageRememberedForAKnownSiteWithNoPrompt)
{
    Handler run("{\"WebUrl\":\"https://www.example.com/\",\"passfieldname\":\"pwd\",\"webpageUserId\":\"alice\","
                "\"webPageUserId\":\"bob\"}");
    run.CoreAnswers(true, kResultNoPrompt);

    EXPECT_EQ(0u, run.Make().IsPageRemembered());

    EXPECT_EQ("{\"isdiscoveryon\":1,\"isenrolled\":1,\"isremembered\":1,\"noprompt\":1}", run.Reply());
    EXPECT_STREQ("alice", run.link.m_block.requestUser); // the lower-case spelling is this command's
}

TEST(CommandHandlerTest, IsPageRememberedWithoutEnrolluserValidatesAnUnenrolledUser)
{
    Handler run(kRememberedRequest);
    run.CoreAnswers(false, 0, kFlagNotEnrolled);

    EXPECT_EQ(0u, run.Make().IsPageRemembered());

    EXPECT_EQ(1, run.link.m_validateCount);
    EXPECT_EQ("{\"isdiscoveryon\":1,\"isenrolled\":1,\"isremembered\":0,\"noprompt\":0}", run.Reply());
}

TEST(CommandHandlerTest, IsPageRememberedWithADeniedValidationAnswersNotEnrolledWithoutNoPrompt)
{
    Handler run(kRememberedRequest);
    run.CoreAnswers(false, 0, kFlagNotEnrolled);
    run.link.m_validateResult = 0;

    EXPECT_EQ(0u, run.Make().IsPageRemembered());

    EXPECT_EQ("{\"isdiscoveryon\":1,\"isenrolled\":0,\"isremembered\":0}", run.Reply());
    EXPECT_EQ((std::vector<std::uint32_t>{1}), run.Codes());
}

TEST(CommandHandlerTest, IsPageRememberedWithEnrolluserZeroDoesNotValidate)
{
    Handler run("{\"WebUrl\":\"https://www.example.com/\",\"passfieldname\":\"pwd\",\"enrolluser\":0}");
    run.CoreAnswers(false, 0, kFlagNotEnrolled);

    EXPECT_EQ(0u, run.Make().IsPageRemembered());

    EXPECT_EQ(0, run.link.m_validateCount);
    EXPECT_EQ("{\"isdiscoveryon\":1,\"isenrolled\":0,\"isremembered\":0}", run.Reply());
}

TEST(CommandHandlerTest, IsPageRememberedForAnUnenrolledUserInImmersiveChromeFails)
{
    Handler run(kRememberedRequest, true);
    run.CoreAnswers(false, 0, kFlagNotEnrolled);

    EXPECT_EQ(3u, run.Make().IsPageRemembered());

    EXPECT_EQ(0, run.link.m_validateCount);
    EXPECT_EQ("null", run.Reply());
}

TEST(CommandHandlerTest, IsPageRememberedWhileAValidationRunsFails)
{
    Handler run(kRememberedRequest);
    run.link.m_block.flags = kFlagValidating;

    EXPECT_EQ(3u, run.Make().IsPageRemembered());

    EXPECT_TRUE(run.link.m_signals.empty());
}

TEST(CommandHandlerTest, IsPageRememberedReportsDiscoveryOff)
{
    Handler run(kRememberedRequest);
    run.registry.SetDword(kUserProduct, "DoNotShowDiscovery", 1);

    EXPECT_EQ(0u, run.Make().IsPageRemembered());

    EXPECT_NE(std::string::npos, run.Reply().find("\"isdiscoveryon\":0"));
}

TEST(CommandHandlerTest, RememberPwdWithoutPromptWritesNoScript)
{
    Handler run;
    run.CoreAnswers(false, kResultNoPrompt);

    EXPECT_EQ(0u, run.Make().RememberPwdWithoutPrompt());

    EXPECT_EQ("{\"noprompt\":1}", run.Reply());
    EXPECT_EQ((std::vector<std::uint32_t>{9}), run.Codes());
    EXPECT_STREQ("", run.link.m_block.fieldScript);
}

TEST(CommandHandlerTest, RememberPwdWithoutPromptFailsWhenTheCoreDoesNotComplete)
{
    Handler run;
    run.link.m_signalResult = 0;

    EXPECT_EQ(3u, run.Make().RememberPwdWithoutPrompt());

    EXPECT_EQ("null", run.Reply());
}

TEST(CommandHandlerTest, SetRememberPwdWithoutPromptSendsRequestTen)
{
    Handler run;

    EXPECT_EQ(0u, run.Make().SetRememberPwdWithoutPrompt());
    run.link.m_signalResult = 0;
    EXPECT_EQ(3u, run.handler->SetRememberPwdWithoutPrompt());

    EXPECT_EQ((std::vector<std::uint32_t>{10, 10}), run.Codes());
}

TEST(CommandHandlerTest, SetPluginParamSendsTheRecordToTheCoreWindowThatCheckAndValidateKept)
{
    Handler run(kCheckRequest);
    run.link.m_onSignal = [](CFakeCoreLink& core, std::uint32_t) {
        core.m_block.result = 5;
        core.m_block.flags = kFlagCancellable;
        core.m_block.hostContext = 0x777;
    };
    CLVBHOCommandHandler& handler = run.Make();
    ASSERT_EQ(5u, handler.CheckAndValidate());
    run.Parse(("{\"strdevid\":\"44525655\",\"param\":\"" + std::string(300, 'p') + "\"}").c_str());

    EXPECT_EQ(0u, handler.SetPluginParam());

    ASSERT_EQ(1u, run.platform.m_copyData.size());
    EXPECT_EQ("SendCopyData 1911", run.platform.m_calls.back());
    const BHOCopyData& record = run.platform.m_copyData[0];
    BHOCopyData expected;
    std::memset(&expected, 0, sizeof expected);
    std::strcpy(expected.strDevId, "44525655");
    std::memset(expected.text2, 'p', 259);
    EXPECT_EQ(0, std::memcmp(&expected, &record, sizeof record));
}

TEST(CommandHandlerTest, CheckSkipListFindsAnEntryInsideTheUpperCasedDomain)
{
    Handler run("{\"domain\":\"mail.site.com\"}");
    run.registry.SetString(kUserSkipList, "1", "site");

    EXPECT_EQ(0u, run.Make().CheckSkipList());

    EXPECT_EQ("{\"skipped\":1}", run.Reply());
}

TEST(CommandHandlerTest, CheckSkipListWithAnEmptyListSkipsNothing)
{
    Handler run("{\"domain\":\"mail.site.com\"}");

    EXPECT_EQ(0u, run.Make().CheckSkipList());

    EXPECT_EQ("{\"skipped\":0}", run.Reply());
}

TEST(CommandHandlerTest, CheckSkipListSeesEntriesAddedWhileTheHostRuns)
{
    Handler run("{\"domain\":\"bank.com\"}");
    CLVBHOCommandHandler& handler = run.Make();
    run.registry.SetString(kMachineSkipList, "1", "BANK");

    EXPECT_EQ(0u, handler.CheckSkipList());

    EXPECT_EQ("{\"skipped\":1}", run.Reply());
}

TEST(CommandHandlerTest, TheSkipListIsMachineEntriesThenTheUsersUpperCased)
{
    Handler run;
    run.registry.SetString(kUserSkipList, "1", "bank");
    run.registry.SetString(kUserSkipList, "2", "mail");
    run.registry.SetString(kMachineSkipList, "1", "Intranet");

    EXPECT_EQ((std::vector<std::string>{"INTRANET", "BANK", "MAIL"}), run.Make().SkipList());
}

TEST(CommandHandlerTest, TheUsersEntriesAloneMakeTheList)
{
    Handler run;
    run.registry.SetString(kUserSkipList, "1", "bank");
    run.registry.SetString(kUserSkipList, "2", "mail");

    EXPECT_EQ((std::vector<std::string>{"BANK", "MAIL"}), run.Make().SkipList());
}

TEST(CommandHandlerTest, AGapInTheNumberingLosesTheHighestEntries)
{
    Handler run;
    run.registry.SetString(kUserSkipList, "1", "bank");
    run.registry.SetString(kUserSkipList, "3", "mail");

    EXPECT_EQ((std::vector<std::string>{"BANK"}), run.Make().SkipList());
}

TEST(CommandHandlerTest, AnEmptyEntrySkipsEverySite)
{
    Handler run("{\"domain\":\"anything.org\"}");
    run.registry.SetString(kUserSkipList, "1", "");

    EXPECT_EQ(0u, run.Make().CheckSkipList());

    EXPECT_EQ("{\"skipped\":1}", run.Reply());
}

TEST(CommandHandlerTest, AnEntryTooLongForItsBufferIsSkipped)
{
    Handler run;
    run.registry.SetString(kUserSkipList, "1", std::string(300, 'a'));
    run.registry.SetString(kUserSkipList, "2", "mail");

    EXPECT_EQ((std::vector<std::string>{"MAIL"}), run.Make().SkipList());
}

TEST(CommandHandlerTest, DiscoveryIsOnWithNoValuesAtAll)
{
    Handler run;

    EXPECT_TRUE(run.Make().IsDiscoveryOn());
}

TEST(CommandHandlerTest, DiscoveryIsOffWhenTheMachineDisablesIt)
{
    Handler run;
    run.registry.SetDword(kMachineProduct, "DiscoveryEnabled", 0);

    EXPECT_FALSE(run.Make().IsDiscoveryOn());
}

TEST(CommandHandlerTest, DiscoveryIsOffOnceTheUserAskedNotToSeeIt)
{
    Handler run;
    CLVBHOCommandHandler& handler = run.Make();

    handler.SetDoNotShowDiscovery();

    EXPECT_FALSE(handler.IsDiscoveryOn());
    const auto* value = run.registry.FindValue(kUserProduct, "DoNotShowDiscovery");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ(4u, value->type);
}

TEST(CommandHandlerTest, KeyeventWithAnEmptyArraySendsNothing)
{
    Handler run("{\"vk\":[],\"sleep\":10}");

    EXPECT_EQ(0u, run.Make().PlayKeys());

    EXPECT_TRUE(run.keys.m_events.empty());
}

TEST(CommandHandlerTest, KeyeventSendsKeyDownsOnlyWithoutPauseForSleepZero)
{
    Handler run("{\"vk\":[65,66],\"sleep\":0}");

    EXPECT_EQ(0u, run.Make().PlayKeys());

    EXPECT_EQ((Calls{"down 65", "down 66"}), run.keys.m_events);
}

TEST(CommandHandlerTest, KeyeventPausesAfterEachKey)
{
    Handler run("{\"vk\":[13,9],\"sleep\":25}");

    EXPECT_EQ(0u, run.Make().PlayKeys());

    EXPECT_EQ((Calls{"down 13", "pause 25", "down 9", "pause 25"}), run.keys.m_events);
}

TEST(CommandHandlerTest, KeyeventWithoutSleepSendsNothing)
{
    Handler run("{\"vk\":[65]}");

    EXPECT_EQ(4u, run.Make().PlayKeys());

    EXPECT_TRUE(run.keys.m_events.empty());
}

TEST(CommandHandlerTest, KeyeventCutsCodesToSixteenBits)
{
    Handler run("{\"vk\":[65601,-1],\"sleep\":0}");

    EXPECT_EQ(0u, run.Make().PlayKeys());

    EXPECT_EQ((Calls{"down 65", "down 65535"}), run.keys.m_events);
}

TEST(CommandHandlerTest, KeyeventThatIsNotAnArraySendsNothing)
{
    for (const char* text : {"{\"vk\":65,\"sleep\":0}", "{\"vk\":{\"a\":65,\"b\":66},\"sleep\":0}",
                             "{\"vk\":\"AB\",\"sleep\":0}", "{\"vk\":null,\"sleep\":0}"})
    {
        Handler run(text);

        EXPECT_EQ(0u, run.Make().PlayKeys()) << text;

        EXPECT_TRUE(run.keys.m_events.empty()) << text;
    }
}

TEST(CommandHandlerTest, KeyeventPausesNoMoreThanTenSecondsInAll)
{
    Handler run(("{\"vk\":[" + std::string("65,", 3) + "65,65,65,65,65,65,65,65,65,65,65,65],\"sleep\":1000}").c_str());

    EXPECT_EQ(0u, run.Make().PlayKeys());

    const auto pauses = std::count(run.keys.m_events.begin(), run.keys.m_events.end(), "pause 1000");
    const auto keys = std::count(run.keys.m_events.begin(), run.keys.m_events.end(), "down 65");
    EXPECT_EQ(10, pauses);
    EXPECT_EQ(13, keys);
}

TEST(CommandHandlerTest, KeyeventWithAnElementThatIsNotANumberTypesNothing)
{
    Handler run("{\"vk\":[65,\"B\"],\"sleep\":0}");

    EXPECT_EQ(4u, run.Make().PlayKeys());

    EXPECT_TRUE(run.keys.m_events.empty());
}

TEST(CommandHandlerTest, KeyeventPausesAreBoundedAndNeverNegative)
{
    Handler run("{\"vk\":[65],\"sleep\":2000000000}");
    EXPECT_EQ(0u, run.Make().PlayKeys());
    run.Parse("{\"vk\":[66],\"sleep\":-1}");
    EXPECT_EQ(0u, run.handler->PlayKeys());

    EXPECT_EQ((Calls{"down 65", "pause 1000", "down 66"}), run.keys.m_events);
}

TEST(CommandHandlerTest, StartingANonChromeBrowserRunsThePromptWindowRequestOnTheUiThread)
{
    Handler run;

    run.Make().StartNonChromeBrowser();

    EXPECT_EQ((Calls{"RunOnUiThread 32769"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, ExtensionInstalledSetsChromeBHOAndTellsTheCore)
{
    Handler run;

    run.Make().ExtensionInstalled();

    const auto* value = run.registry.FindValue(kUserProduct, "ChromeBHO");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ(4u, value->type);
    EXPECT_EQ(1, run.link.m_installedCount);
}
