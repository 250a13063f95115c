#include "prompt/PromptController.h"

#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/PromptWorld.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace
{
constexpr WindowId kOwnWindow = 0x500;
constexpr WindowId kBrowser = 0x700;
constexpr WindowId kCoreWindow = 0x900;

struct Prompt : PromptWorld
{
    explicit Prompt(const char* browserName = "chrome", std::int32_t zoom = 166, std::int32_t desktopWidth = 1920)
        : PromptWorld(kOwnWindow, zoom, desktopWidth)
    {
        link.m_block.hostContext = kCoreWindow;
        handler->SetBrowserName(browserName);
        // The handler keeps the core's window from a pending validation.
        SetCoreWindow();
        desktop.m_windows[kBrowser] = {browserName == std::string("firefox") ? "MozillaWindowClass"
                                                                             : "Chrome_WidgetWin_1",
                                       "\\Device\\HarddiskVolume1\\Program Files\\Browser\\firefox.exe", 0, false};
    }

    void SetCoreWindow() { handler->KeepCoreWindow(kCoreWindow); }

    void Request(const char* text) { ASSERT_TRUE(request.Parse(text)) << text; }

    // Brings the browser to the front and asks for the prompt of `text`; answers what ShowPrompt answers.
    std::intptr_t ShowInTheBrowser(const char* text)
    {
        desktop.m_foreground = kBrowser;
        Request(text);
        return controller->ShowPrompt();
    }

    // The frames written to the extension so far, as texts.
    std::vector<std::string> Frames()
    {
        std::vector<std::string> frames;
        const std::string& bytes = out.Bytes();
        std::size_t offset = 0;
        while (offset + 4 <= bytes.size())
        {
            std::uint32_t length = 0;
            std::memcpy(&length, bytes.data() + offset, 4);
            frames.push_back(bytes.substr(offset + 4, length));
            offset += 4 + length;
        }
        return frames;
    }

    void CancellableRequestOpen() { link.m_block.flags = kFlagCancellable; }
    bool CancelSent() const
    {
        for (const SignalCall& call : link.m_signals)
            if (call.code == kRequestCancel)
                return true;
        return false;
    }
};

BHOCopyData Result(std::uint32_t devId, std::int32_t status, const char* message = "")
{
    BHOCopyData record{};
    record.devId = devId;
    record.status = static_cast<std::uint32_t>(status);
    std::strncpy(record.message, message, sizeof record.message - 1);
    return record;
}
} // namespace

// --- zoom ---------------------------------------------------------------------------------------------------------

TEST(PromptZoomTest, FollowsTheScreenWidthAndDpi)
{
    EXPECT_EQ(166, PromptZoomFor(96, 1920));
    EXPECT_EQ(101, PromptZoomFor(96, 1280));
    EXPECT_EQ(169, PromptZoomFor(144, 1920));
    EXPECT_EQ(107, PromptZoomFor(144, 1280));
    // A screen 384 to 479 pixels wide makes the base 0, and MulDiv's -1 is used as it comes.
    EXPECT_EQ(-1, PromptZoomFor(96, 400));
}

TEST(PromptZoomTest, MulDivRoundsHalfAwayFromZero)
{
    EXPECT_EQ(6, MulDiv32(10, 100, 160));
    EXPECT_EQ(11, MulDiv32(10, 100, 90));
    EXPECT_EQ(2, MulDiv32(3, 1, 2));
    EXPECT_EQ(-2, MulDiv32(-3, 1, 2));
    EXPECT_EQ(-1, MulDiv32(10, 100, 0));
    EXPECT_EQ(-1, MulDiv32(0x7FFFFFFF, 4, 1));
}

// --- creating and hiding the dialogs ------------------------------------------------------------------------------

TEST(PromptControllerTest, CreatingMakesBothDialogsHiddenOnPageOneUnderTheWindow)
{
    Prompt run;
    run.controller->SetPromptRect(12, 34, 500, 300);

    EXPECT_EQ(1, run.controller->CreateDialogs());

    for (const auto* shows : {&run.prompt.m_shows, &run.pin.m_shows})
    {
        ASSERT_EQ(1u, shows->size());
        const ShowCall& show = shows->front();
        EXPECT_EQ(kOwnWindow, show.parent);
        EXPECT_EQ("1", show.page);
        EXPECT_EQ((std::vector<std::int32_t>{12, 34, 0, 0}),
                  (std::vector<std::int32_t>{show.x, show.y, show.w, show.h}));
        EXPECT_EQ("", show.text);
    }
    EXPECT_EQ((std::vector<std::string>{"Hide"}), run.prompt.m_calls);
    EXPECT_EQ((std::vector<std::string>{"Hide"}), run.pin.m_calls);
}

TEST(PromptControllerTest, CreatingLeavesDialogsThatExistAndDoesNotHideAFailedOne)
{
    Prompt run;
    run.prompt.m_exists = true;
    run.pin.m_showSucceeds = false;

    run.controller->CreateDialogs();

    EXPECT_TRUE(run.prompt.m_shows.empty());
    EXPECT_EQ(1u, run.pin.m_shows.size());
    EXPECT_TRUE(run.pin.m_calls.empty());
}

TEST(PromptControllerTest, HidingHidesEachDialogAndGivesItBackToTheWindow)
{
    Prompt run;
    run.prompt.m_exists = run.pin.m_exists = true;
    run.prompt.m_visible = true;

    run.controller->HidePrompt(false);

    const std::vector<std::string> expected{"Hide", "OnHide", "SetParent " + std::to_string(kOwnWindow)};
    EXPECT_EQ(expected, run.prompt.m_calls);
    EXPECT_EQ(expected, run.pin.m_calls);
    EXPECT_FALSE(run.prompt.IsVisible());
}

TEST(PromptControllerTest, HidingWithoutNotifyNeverMakesAMissingDialog)
{
    Prompt run;
    run.prompt.m_exists = true;

    run.controller->HidePrompt(false);

    EXPECT_TRUE(run.pin.m_shows.empty());
}

TEST(PromptControllerTest, HidingWithNotifyMakesTheMissingDialogsAgain)
{
    Prompt run;
    run.prompt.m_exists = true;

    run.controller->HidePrompt(true);

    EXPECT_TRUE(run.prompt.m_shows.empty());
    ASSERT_EQ(1u, run.pin.m_shows.size());
    EXPECT_EQ("1", run.pin.m_shows[0].page);
}

// --- ShowPrompt ---------------------------------------------------------------------------------------------------

TEST(PromptControllerTest, ShowPromptPlacesPageOneInTheBrowserAndSendsItsSize)
{
    Prompt run;
    run.desktop.m_foreground = kBrowser;
    run.controller->SetPromptRect(100, 80, 420, 260);
    run.Request("{\"tabid\":\"tab-9\"}");
    run.controller->SetTabInfo();
    run.Request("{\"command\":\"ShowPrompt\",\"id\":7,\"pagenum\":1,\"domain\":\"mail.example.com\",\"url\":\"x\"}");

    EXPECT_EQ(1, run.controller->ShowPrompt());

    ASSERT_EQ(1u, run.prompt.m_shows.size());
    const ShowCall& show = run.prompt.m_shows[0];
    EXPECT_EQ(kBrowser, show.parent);
    EXPECT_EQ("1", show.page);
    EXPECT_EQ((std::vector<std::int32_t>{100, 80, 420, 260}),
              (std::vector<std::int32_t>{show.x, show.y, show.w, show.h}));
    EXPECT_EQ("MAIL.EXAMPLE.COM", show.text);
    EXPECT_EQ(166, show.zoom);
    EXPECT_EQ(7, run.controller->PromptId());
    EXPECT_EQ(
        (std::vector<std::string>{"{\"Devid\":-1,\"command\":\"ValidateAsyncMsg\",\"msg\":\"\",\"orgpromptwidth\":360,"
                                  "\"promptheight\":1,\"promptwidth\":1920,\"status\":-1,\"strdevid\":\"\","
                                  "\"tabid\":\"tab-9\"}"}),
        run.Frames());
}

TEST(PromptControllerTest, ShowPromptTakesTheDomainFromTheUrlWhenNoneIsGiven)
{
    Prompt run;

    run.ShowInTheBrowser("{\"id\":1,\"pagenum\":5,\"url\":\"https://shop.example.org/cart\"}");

    ASSERT_EQ(1u, run.prompt.m_shows.size());
    EXPECT_EQ("5", run.prompt.m_shows[0].page);
    EXPECT_EQ("EXAMPLE.ORG", run.prompt.m_shows[0].text);
    EXPECT_EQ(1u, run.Frames().size());
}

TEST(PromptControllerTest, PagesOtherThanOneFourAndFiveSendNoSize)
{
    Prompt run;

    run.ShowInTheBrowser("{\"id\":1,\"pagenum\":3,\"domain\":\"a.com\"}");

    EXPECT_EQ(1u, run.prompt.m_shows.size());
    EXPECT_TRUE(run.Frames().empty());
}

TEST(PromptControllerTest, PromptWidthIsNeverLessThanTheDesktopWidth)
{
    Prompt run("chrome", 166, 1280);
    run.prompt.m_originalWidth = 2000;

    run.ShowInTheBrowser("{\"id\":1,\"pagenum\":4,\"domain\":\"a.com\"}");

    ASSERT_EQ(1u, run.Frames().size());
    EXPECT_NE(std::string::npos,
              run.Frames()[0].find("\"orgpromptwidth\":2000,\"promptheight\":1,\"promptwidth\":2000"));
}

TEST(PromptControllerTest, ShowPromptWithoutABrowserInFrontCancelsAndShowsNothing)
{
    Prompt run;
    run.CancellableRequestOpen();
    run.Request("{\"id\":1,\"pagenum\":1,\"domain\":\"a.com\"}");

    EXPECT_EQ(1, run.controller->ShowPrompt());

    EXPECT_TRUE(run.prompt.m_shows.empty());
    EXPECT_TRUE(run.Frames().empty());
    EXPECT_TRUE(run.CancelSent());
}

TEST(PromptControllerTest, ForFirefoxOnlyAWindowOfItsExactClassIsTheBrowser)
{
    Prompt run("firefox");
    run.desktop.m_windows[0x710] = {"MozillaWindowClass2", "firefox.exe", 0, false};
    run.desktop.m_windows[0x720] = {"mozillawindowclass", "firefox.exe", 0, false};

    run.desktop.m_foreground = 0x710;
    EXPECT_EQ(0u, run.controller->FindBrowserWindow(""));
    run.desktop.m_foreground = 0x720;
    EXPECT_EQ(0u, run.controller->FindBrowserWindow(""));
    run.desktop.m_foreground = kBrowser;
    EXPECT_EQ(kBrowser, run.controller->FindBrowserWindow(""));
}

TEST(PromptControllerTest, ForChromeAnyForegroundWindowIsTheBrowser)
{
    Prompt run;
    run.desktop.m_foreground = 0x123;

    EXPECT_EQ(0x123u, run.controller->FindBrowserWindow(""));
    EXPECT_EQ(0u, run.controller->FindBrowserWindow("Chrome_WidgetWin_1"));
}

// --- SetPromptPos -------------------------------------------------------------------------------------------------

namespace
{
// Both dialogs shown in the browser at (100, 80, 420, 260), the prompt 180 pixels high.
void ShowBoth(Prompt& run)
{
    run.controller->SetPromptRect(100, 80, 420, 260);
    run.prompt.Show(kBrowser, "3", 100, 80, 420, 260, "MAIL.EXAMPLE.COM");
    run.pin.Show(kBrowser, "3", 100, 260, 420, 80, "");
    run.prompt.m_shows.clear();
    run.pin.m_shows.clear();
}
} // namespace

TEST(PromptControllerTest, SetPromptPosWithinTheThresholdsMovesNothing)
{
    Prompt run;
    ShowBoth(run);
    run.Request("{\"x\":100,\"y\":80,\"w\":469,\"h\":211,\"zoom\":300}");

    EXPECT_EQ(1, run.controller->SetPromptPos());

    EXPECT_TRUE(run.prompt.m_shows.empty());
    EXPECT_TRUE(run.pin.m_shows.empty());
}

TEST(PromptControllerTest, SetPromptPosOnePixelAwayReplacesBothVisibleDialogs)
{
    Prompt run;
    ShowBoth(run);
    run.Request("{\"x\":101,\"y\":80,\"w\":420,\"h\":260,\"zoom\":300}");

    run.controller->SetPromptPos();

    ASSERT_EQ(1u, run.prompt.m_shows.size());
    ASSERT_EQ(1u, run.pin.m_shows.size());
    const ShowCall& prompt = run.prompt.m_shows[0];
    const ShowCall& pin = run.pin.m_shows[0];
    EXPECT_EQ((std::vector<std::int32_t>{101, 80, 420, 260}),
              (std::vector<std::int32_t>{prompt.x, prompt.y, prompt.w, prompt.h}));
    EXPECT_EQ((std::vector<std::int32_t>{101, 260, 420, 80}), (std::vector<std::int32_t>{pin.x, pin.y, pin.w, pin.h}));
    for (const ShowCall* show : {&prompt, &pin})
    {
        EXPECT_EQ(kBrowser, show->parent);
        EXPECT_EQ("3", show->page);
        EXPECT_EQ("MAIL.EXAMPLE.COM", show->text);
        EXPECT_EQ(166, show->zoom); // the request's zoom is not used
    }
    EXPECT_EQ(166, run.controller->Zoom());
}

TEST(PromptControllerTest, SetPromptPosAtFiftyPixelsOrAnotherYReplacesTheDialogs)
{
    for (const char* request : {"{\"x\":100,\"y\":80,\"w\":470,\"h\":260}", "{\"x\":100,\"y\":80,\"w\":420,\"h\":210}",
                                "{\"x\":100,\"y\":79,\"w\":420,\"h\":260}"})
    {
        Prompt run;
        ShowBoth(run);
        run.Request(request);

        run.controller->SetPromptPos();

        EXPECT_EQ(1u, run.prompt.m_shows.size()) << request;
        EXPECT_EQ(1u, run.pin.m_shows.size()) << request;
    }
}

TEST(PromptControllerTest, SetPromptPosLeavesHiddenDialogsAndStoresTheRectangle)
{
    Prompt run;
    ShowBoth(run);
    run.pin.Hide();
    run.Request("{\"x\":5,\"y\":6,\"w\":300,\"h\":400}");

    run.controller->SetPromptPos();
    run.Request("{\"x\":5,\"y\":6,\"w\":300,\"h\":400}");
    run.controller->SetPromptPos();

    EXPECT_EQ(1u, run.prompt.m_shows.size()); // the second request is within the thresholds
    EXPECT_TRUE(run.pin.m_shows.empty());
}

// --- the user's answer --------------------------------------------------------------------------------------------

namespace
{
std::string AnswerFor(const char* page, std::int32_t action, const char* url = "MAIL.EXAMPLE.COM")
{
    Prompt run;
    run.ShowInTheBrowser("{\"id\":7,\"pagenum\":1,\"domain\":\"a.com\"}");
    run.prompt.Show(kBrowser, page, 0, 0, 400, 200, url);
    run.prompt.m_calls.clear();
    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, action);
    EXPECT_EQ(-1, run.controller->PromptId());
    EXPECT_EQ("Hide", run.prompt.m_calls.empty() ? "" : run.prompt.m_calls.front());
    const std::vector<std::string> frames = run.Frames();
    return frames.size() == 2 ? frames[1] : "frames: " + std::to_string(frames.size());
}
} // namespace

TEST(PromptControllerTest, EachButtonOfThePageOneAndFivePromptGivesItsAnswer)
{
    for (const char* page : {"1", "5"})
    {
        EXPECT_EQ("{\"alwaysremember\":0,\"command\":\"ShowPrompt\",\"id\":7,\"save\":1}", AnswerFor(page, 1));
        EXPECT_EQ("{\"alwaysremember\":1,\"command\":\"ShowPrompt\",\"id\":7,\"save\":1}", AnswerFor(page, 11));
        EXPECT_EQ("{\"alwaysremember\":0,\"command\":\"ShowPrompt\",\"id\":7,\"save\":0}", AnswerFor(page, 3));
        EXPECT_EQ("{\"alwaysremember\":0,\"command\":\"ShowPrompt\",\"id\":7,\"save\":0}", AnswerFor(page, 2));
    }
}

TEST(PromptControllerTest, NeverForThisSiteRemembersTheTrimmedUpperCasedUrl)
{
    Prompt run;
    run.prompt.Show(kBrowser, "1", 0, 0, 400, 200, "  mail.example.com \t");

    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 3);
    run.prompt.Show(kBrowser, "1", 0, 0, 400, 200, "   ");
    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 3);

    EXPECT_EQ((std::vector<std::string>{"MAIL.EXAMPLE.COM"}), run.handler->NeverRememberUrls());
}

TEST(PromptControllerTest, PageTwoSendsTheTypedCodeToTheCoreAndNothingToTheExtension)
{
    Prompt run;
    run.prompt.Show(kBrowser, "2", 0, 0, 400, 200, "");
    run.prompt.m_typed = "123456";

    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 1);

    ASSERT_EQ(1u, run.desktop.m_copyData.size());
    const auto& call = run.desktop.m_copyData[0];
    EXPECT_EQ(kCoreWindow, call.target);
    EXPECT_EQ(kOwnWindow, call.from);
    EXPECT_STREQ("44525655", call.record.strDevId);
    EXPECT_STREQ("123456", call.record.text2);
    EXPECT_EQ(0u, call.record.devId);
    EXPECT_EQ(0u, call.record.status);
    EXPECT_EQ("", run.prompt.m_typed);
    EXPECT_TRUE(run.Frames().empty());
}

TEST(PromptControllerTest, ATypedValueLongerThan259CharactersIsCutAndTheRestStaysZero)
{
    Prompt run;
    run.prompt.Show(kBrowser, "2", 0, 0, 400, 200, "");
    run.prompt.m_typed = std::string(300, 'x');

    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 1);

    const BHOCopyData& record = run.desktop.m_copyData.at(0).record;
    EXPECT_EQ(std::string(259, 'x'), std::string(record.text2));
    BHOCopyData expected{};
    std::memcpy(expected.strDevId, "44525655", 9);
    std::memset(expected.text2, 'x', 259);
    EXPECT_EQ(0, std::memcmp(&expected, &record, sizeof record));
}

TEST(PromptControllerTest, PageFourTurnOnSendsTheNoticeThenAsksTheCoreToValidate)
{
    Prompt run;
    run.desktop.m_foreground = kBrowser;
    run.Request("{\"tabid\":\"t1\"}");
    run.controller->SetTabInfo();
    run.Request("{\"id\":7,\"pagenum\":4,\"domain\":\"a.com\"}");
    run.controller->ShowPrompt();
    run.link.m_validateResult = 1;

    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 1);

    EXPECT_EQ(1, run.link.m_validateCount);
    EXPECT_EQ(-1, run.controller->PromptId());
    const std::vector<std::string> frames = run.Frames();
    ASSERT_EQ(3u, frames.size()); // the size reply, the notice, the answer
    EXPECT_EQ(
        "{\"Devid\":-1,\"command\":\"ValidateAsyncMsg\",\"msg\":\"\",\"status\":6,\"strdevid\":\"\",\"tabid\":\"t1\"}",
        frames[1]);
    EXPECT_EQ("{\"alwaysremember\":0,\"command\":\"ShowPrompt\",\"id\":7,\"save\":1}", frames[2]);
}

TEST(PromptControllerTest, PageFourTurnOnDeniedIsNoSave)
{
    Prompt run;
    run.prompt.Show(kBrowser, "4", 0, 0, 400, 200, "");
    run.link.m_validateResult = 0;

    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 1);

    EXPECT_EQ("{\"alwaysremember\":0,\"command\":\"ShowPrompt\",\"id\":-1,\"save\":0}", run.Frames().at(1));
}

TEST(PromptControllerTest, PageFourDontShowAgainIsRecordedForTheUser)
{
    Prompt run;
    run.ShowInTheBrowser("{\"id\":9,\"pagenum\":4,\"domain\":\"a.com\"}");

    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 3);

    EXPECT_EQ(0, run.link.m_validateCount);
    EXPECT_EQ(-1, run.controller->PromptId());
    const std::vector<std::string> frames = run.Frames();
    ASSERT_EQ(2u, frames.size());
    EXPECT_EQ("{\"alwaysremember\":0,\"command\":\"ShowPrompt\",\"id\":9,\"save\":0}", frames[1]);
    const auto* value = run.registry.FindValue("HKCU\\Software\\Kavrin\\Lumivar", "DoNotShowDiscovery");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ((std::vector<std::uint8_t>{1, 0, 0, 0}), value->data);
}

TEST(PromptControllerTest, OtherPagesAndOtherSendersDoNothing)
{
    Prompt run;
    run.prompt.Show(kBrowser, "3", 0, 0, 400, 200, "");

    run.controller->ProcessPromptUi(CPromptController::Sender::PromptDialog, 1);
    run.controller->ProcessPromptUi(CPromptController::Sender::Other, 1);

    EXPECT_TRUE(run.Frames().empty());
    EXPECT_TRUE(run.desktop.m_copyData.empty());
}

TEST(PromptControllerTest, ThePinGoesToTheCoreOnOkAndIsEmptiedEitherWay)
{
    Prompt run;
    run.pin.m_pin = "4321";
    run.controller->ProcessPromptUi(CPromptController::Sender::PinDialog, 1);

    ASSERT_EQ(1u, run.desktop.m_copyData.size());
    EXPECT_STREQ("44525675", run.desktop.m_copyData[0].record.strDevId);
    EXPECT_STREQ("4321", run.desktop.m_copyData[0].record.text2);
    EXPECT_EQ("", run.pin.m_pin);

    run.CancellableRequestOpen();
    run.pin.m_pin = "99";
    run.controller->ProcessPromptUi(CPromptController::Sender::PinDialog, 2);

    EXPECT_EQ(1u, run.desktop.m_copyData.size());
    EXPECT_EQ("", run.pin.m_pin);
    EXPECT_TRUE(run.CancelSent());
}

// --- device verification results ----------------------------------------------------------------------------------

TEST(PromptControllerTest, AVerificationCodeResultShowsPageTwoAndItsSize)
{
    Prompt run;
    run.desktop.m_foreground = kBrowser;
    run.controller->SetPromptRect(10, 20, 400, 300);

    EXPECT_TRUE(run.controller->ShowVerificationResult(Result(kDeviceVerifyCode, -1, "ignored")));

    ASSERT_EQ(1u, run.prompt.m_shows.size());
    EXPECT_EQ("2", run.prompt.m_shows[0].page);
    EXPECT_EQ(kBrowser, run.prompt.m_shows[0].parent);
    EXPECT_EQ((std::vector<std::string>{std::to_string(kDeviceVerifyCode) + " "}), run.prompt.m_messages);
    EXPECT_TRUE(run.pin.m_shows.empty());
    std::string text;
    EXPECT_EQ("{\"orgpromptwidth\":360,\"promptheight\":180,\"promptwidth\":1920,\"tabid\":\"\"}",
              run.json.ToString(text));
}

TEST(PromptControllerTest, APinResultShowsPageThreeAndThePinDialogBelowIt)
{
    Prompt run;
    run.desktop.m_foreground = kBrowser;
    run.controller->SetPromptRect(10, 20, 400, 300);

    EXPECT_TRUE(run.controller->ShowVerificationResult(Result(kDeviceVerifyPin, -1, "Approve on your phone")));

    EXPECT_EQ("3", run.prompt.m_shows.at(0).page);
    EXPECT_EQ((std::vector<std::string>{std::to_string(kDeviceVerifyPin) + " Approve on your phone"}),
              run.prompt.m_messages);
    ASSERT_EQ(1u, run.pin.m_shows.size());
    const ShowCall& pin = run.pin.m_shows[0];
    EXPECT_EQ((std::vector<std::int32_t>{10, 200, 400, 120}), (std::vector<std::int32_t>{pin.x, pin.y, pin.w, pin.h}));
    EXPECT_EQ("3", pin.page);
    EXPECT_EQ((std::vector<std::string>{"Focus"}), run.pin.m_calls);
}

TEST(PromptControllerTest, DialogsThatCannotBeShownGetNoMessageAndNoFocusButTheReplyGoesOn)
{
    Prompt run;
    run.desktop.m_foreground = kBrowser;
    run.prompt.m_showSucceeds = false;
    run.pin.m_showSucceeds = false;

    EXPECT_TRUE(run.controller->ShowVerificationResult(Result(kDeviceVerifyPin, -1, "Approve")));

    EXPECT_EQ(1u, run.prompt.m_shows.size());
    EXPECT_EQ(1u, run.pin.m_shows.size());
    EXPECT_TRUE(run.prompt.m_messages.empty());
    EXPECT_TRUE(run.pin.m_calls.empty());
    std::string text;
    EXPECT_NE(std::string::npos, run.json.ToString(text).find("\"promptwidth\":1920"));
}

TEST(PromptControllerTest, AWaitingResultShowsPageThreeOnly)
{
    Prompt run;
    run.desktop.m_foreground = kBrowser;

    EXPECT_TRUE(run.controller->ShowVerificationResult(Result(kDeviceVerifyWaiting, -1, "Waiting")));

    EXPECT_EQ("3", run.prompt.m_shows.at(0).page);
    EXPECT_TRUE(run.pin.m_shows.empty());
}

TEST(PromptControllerTest, AnUnknownDeviceShowsNothingButStillGoesOn)
{
    Prompt run;
    run.desktop.m_foreground = kBrowser;

    EXPECT_TRUE(run.controller->ShowVerificationResult(Result(0x1234, -1)));

    EXPECT_TRUE(run.prompt.m_shows.empty());
}

TEST(PromptControllerTest, AResultWithoutABrowserCancelsAndEnds)
{
    Prompt run;
    run.CancellableRequestOpen();

    EXPECT_FALSE(run.controller->ShowVerificationResult(Result(kDeviceVerifyCode, -1)));

    EXPECT_TRUE(run.prompt.m_shows.empty());
    EXPECT_TRUE(run.CancelSent());
}

TEST(PromptControllerTest, StatusZeroOrSixHidesThePrompt)
{
    for (const std::int32_t status : {0, 6})
    {
        Prompt run;
        run.prompt.m_exists = run.pin.m_exists = true;
        run.Request("{\"tabid\":\"t2\"}");
        run.controller->SetTabInfo();

        EXPECT_TRUE(run.controller->ShowVerificationResult(Result(kDeviceVerifyPin, status)));

        EXPECT_EQ("Hide", run.prompt.m_calls.at(0));
        EXPECT_EQ("Hide", run.pin.m_calls.at(0));
        std::string text;
        EXPECT_EQ("{\"tabid\":\"t2\"}", run.json.ToString(text));
    }
}

TEST(PromptControllerTest, OtherStatusesUpdateTheMessageAndMarkABadPin)
{
    Prompt run;

    EXPECT_FALSE(run.controller->ShowVerificationResult(Result(kDeviceVerifyPin, 5, "Wrong PIN")));
    EXPECT_FALSE(run.controller->ShowVerificationResult(Result(kDeviceVerifyCode, 5, "Try again")));

    EXPECT_EQ((std::vector<std::string>{std::to_string(kDeviceVerifyPin) + " Wrong PIN",
                                        std::to_string(kDeviceVerifyCode) + " Try again"}),
              run.prompt.m_messages);
    EXPECT_EQ((std::vector<std::string>{"UpdateBadPin"}), run.pin.m_calls);
}

// --- focus tracking -----------------------------------------------------------------------------------------------

namespace
{
constexpr WindowId kFirefoxChild = 0x701;
constexpr WindowId kFirefoxOrphan = 0x702;
constexpr WindowId kOtherProgram = 0x800;
constexpr WindowId kCoreProgram = 0x801;

void AddWindows(Prompt& run)
{
    run.desktop.m_windows[kFirefoxChild] = {"MozillaCompositorWindowClass", "C:\\Firefox\\FIREFOX.EXE", kBrowser,
                                            false};
    run.desktop.m_windows[kFirefoxOrphan] = {"MozillaDropShadowWindowClass", "C:\\Firefox\\firefox.exe", 0, false};
    run.desktop.m_windows[kOtherProgram] = {"Notepad", "C:\\Windows\\notepad.exe", 0, false};
    run.desktop.m_windows[kCoreProgram] = {"LvMainWnd", "C:\\Program Files\\Lumivar\\LvEngine.exe", 0, false};
}

// The frame that tells the extension whether the browser has the focus and whether it is minimised.
std::string FocusFrame(int focused, int minimize)
{
    return "{\"command\":\"focuschangeevent\",\"focused\":" + std::to_string(focused) +
           ",\"minimize\":" + std::to_string(minimize) + "}";
}

// Checks that one focus change went to the extension, as `frame`, and that `browser` is the browser kept.
void ExpectOneFocusReport(Prompt& run, const std::string& frame, WindowId browser)
{
    EXPECT_EQ((std::vector<std::string>{frame}), run.Frames());
    EXPECT_EQ(browser, run.controller->LastBrowserWindow());
}
} // namespace

TEST(FocusTrackingTest, FocusOnFirefoxIsReportedAfterTheMinimiseSettles)
{
    Prompt run("firefox");
    AddWindows(run);

    run.controller->OnWinEvent(kEventObjectFocus, kBrowser);

    ExpectOneFocusReport(run, FocusFrame(1, 0), kBrowser);
    EXPECT_EQ((std::vector<std::uint32_t>{150}), run.desktop.m_sleeps);
}

TEST(FocusTrackingTest, TheFocusCheckComparesClassesWhateverTheirCase)
{
    Prompt run("firefox");
    run.desktop.m_windows[0x730] = {"mozillawindowclass", "C:\\Firefox\\Firefox.EXE", 0, false};

    run.controller->OnWinEvent(kEventObjectFocus, 0x730);

    ExpectOneFocusReport(run, FocusFrame(1, 0), 0x730u);
}

TEST(FocusTrackingTest, AChildOfFirefoxIsFoundThroughItsParents)
{
    Prompt run("firefox");
    AddWindows(run);
    run.desktop.m_windows[kBrowser].iconic = true;

    run.controller->OnWinEvent(kEventObjectFocus, kFirefoxChild);

    ExpectOneFocusReport(run, FocusFrame(1, 1), kBrowser);
}

TEST(FocusTrackingTest, AFirefoxWindowWithoutABrowserAncestorIsNotFocused)
{
    Prompt run("firefox");
    AddWindows(run);

    run.controller->OnWinEvent(kEventObjectFocus, kFirefoxOrphan);

    ExpectOneFocusReport(run, FocusFrame(0, 0), 0u);
}

TEST(FocusTrackingTest, OnlyTheFirstFocusElsewhereIsReported)
{
    Prompt run("firefox");
    AddWindows(run);
    run.controller->OnWinEvent(kEventObjectFocus, kBrowser);
    run.desktop.m_windows[kBrowser].iconic = true;

    run.controller->OnWinEvent(kEventObjectFocus, kOtherProgram);
    run.controller->OnWinEvent(kEventObjectFocus, kOtherProgram);

    EXPECT_EQ((std::vector<std::string>{FocusFrame(1, 0), FocusFrame(0, 1)}), run.Frames());
    EXPECT_EQ(0u, run.controller->LastBrowserWindow());
}

TEST(FocusTrackingTest, FocusOnTheCoreSendsNothingAndKeepsTheBrowser)
{
    Prompt run("firefox");
    AddWindows(run);
    run.controller->OnWinEvent(kEventObjectFocus, kBrowser);

    run.controller->OnWinEvent(kEventObjectFocus, kCoreProgram);

    EXPECT_EQ(1u, run.Frames().size());
    EXPECT_EQ(kBrowser, run.controller->LastBrowserWindow());
}

TEST(FocusTrackingTest, AWindowWhoseProcessCannotBeOpenedSendsNothing)
{
    Prompt run("firefox");

    run.controller->OnWinEvent(kEventObjectFocus, 0x999);

    EXPECT_TRUE(run.Frames().empty());
    std::string text;
    EXPECT_EQ("{}", run.json.ToString(text));
}

TEST(FocusTrackingTest, WithChromeNoFocusChangeIsEverSent)
{
    Prompt run("chrome");
    AddWindows(run);

    run.controller->OnWinEvent(kEventObjectFocus, kBrowser);
    run.controller->OnWinEvent(kEventObjectFocus, kOtherProgram);
    run.controller->OnWinEvent(kEventDesktopSwitch, 0);

    EXPECT_TRUE(run.Frames().empty());
    EXPECT_TRUE(run.prompt.m_calls.empty());
}

TEST(FocusTrackingTest, ADesktopSwitchHidesThePromptAndCancels)
{
    Prompt run("firefox");
    run.CancellableRequestOpen();
    run.prompt.m_exists = true;

    run.controller->OnWinEvent(kEventDesktopSwitch, 0);

    EXPECT_EQ("Hide", run.prompt.m_calls.at(0));
    EXPECT_EQ(1u, run.pin.m_shows.size()); // the missing PIN dialog is made again
    EXPECT_TRUE(run.CancelSent());
}

TEST(FocusTrackingTest, OtherEventsAreIgnored)
{
    Prompt run("firefox");
    AddWindows(run);

    run.controller->OnWinEvent(0x0003, kBrowser);

    EXPECT_TRUE(run.Frames().empty());
}
