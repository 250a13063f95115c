// LVUI.dll's dialogs against the real window system: they need a display, so the test runs under its own X
// server (Xvfb) in a scratch Wine prefix.

#include "LvUi.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace
{
constexpr DWORD kChildStyle = 0x40000000; // WS_CHILD, as the host passes it
constexpr const char* kDomain = "accounts.example.com";

struct Report
{
    WPARAM dialog;
    LPARAM action;
};

std::vector<Report>& Reports()
{
    static std::vector<Report> reports;
    return reports;
}

UINT ProcessPromptMessage()
{
    return ::RegisterWindowMessageA("MSG_WM_PROCESSPROMPTUI");
}

// The host's prompt window, reduced to what the dialogs tell it.
LRESULT CALLBACK OwnerProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == ProcessPromptMessage())
    {
        Reports().push_back({wParam, lParam});
        return 0;
    }
    return ::DefWindowProcA(hwnd, message, wParam, lParam);
}

void RegisterTestClasses()
{
    static const bool registered = [] {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = ::DefWindowProcA;
        windowClass.hInstance = ::GetModuleHandleA(nullptr);
        windowClass.hbrBackground = static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH));
        windowClass.lpszClassName = "LvUiTestParent";
        ::RegisterClassA(&windowClass);
        windowClass.lpfnWndProc = OwnerProc;
        windowClass.lpszClassName = "LvUiTestOwner";
        ::RegisterClassA(&windowClass);
        return true;
    }();
    (void)registered;
}

// The host's message loop: every message is offered to the dialogs' keyboard handling first.
void Pump(DWORD milliseconds = 60)
{
    const DWORD start = ::GetTickCount();
    MSG msg;
    do
    {
        while (::PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE))
        {
            if (!LvUiPreTranslateMessage(&msg))
            {
                ::TranslateMessage(&msg);
                ::DispatchMessageA(&msg);
            }
        }
        ::Sleep(5);
    } while (::GetTickCount() - start < milliseconds);
}

void SetShift(bool down)
{
    BYTE keys[256] = {};
    ::GetKeyboardState(keys);
    keys[VK_SHIFT] = down ? 0x80 : 0;
    ::SetKeyboardState(keys);
}

// A key pressed on the focused window, as the system queues it.
void PressKey(UINT key, bool shift = false)
{
    SetShift(shift);
    HWND target = ::GetFocus();
    ::PostMessageA(target, WM_KEYDOWN, key, 1);
    Pump();
    ::PostMessageA(target, WM_KEYUP, key, 0xC0000001);
    Pump();
    SetShift(false);
}

std::string ClassOf(HWND window)
{
    char name[64] = {};
    ::GetClassNameA(window, name, sizeof(name));
    return name;
}

std::string TextOf(HWND window)
{
    char text[512] = {};
    ::GetWindowTextA(window, text, sizeof(text));
    return text;
}

std::vector<HWND> Children(HWND dialog, const char* className = nullptr)
{
    std::vector<HWND> children;
    for (HWND child = ::GetWindow(dialog, GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT))
    {
        if (!className || _stricmp(ClassOf(child).c_str(), className) == 0)
            children.push_back(child);
    }
    return children;
}

std::vector<std::string> ButtonLabels(HWND dialog)
{
    std::vector<std::string> labels;
    for (HWND button : Children(dialog, "Button"))
        labels.push_back(TextOf(button));
    return labels;
}

HWND Button(HWND dialog, const std::string& label)
{
    for (HWND button : Children(dialog, "Button"))
    {
        if (TextOf(button) == label)
            return button;
    }
    return nullptr;
}

HWND Field(HWND dialog)
{
    const std::vector<HWND> fields = Children(dialog, "Edit");
    return fields.empty() ? nullptr : fields.front();
}

// The texts of the visible static controls.
std::vector<std::string> VisibleTexts(HWND dialog)
{
    std::vector<std::string> texts;
    for (HWND label : Children(dialog, "Static"))
    {
        if (::IsWindowVisible(label))
            texts.push_back(TextOf(label));
    }
    return texts;
}

bool ShowsText(HWND dialog, const std::string& part)
{
    for (const std::string& text : VisibleTexts(dialog))
    {
        if (text.find(part) != std::string::npos)
            return true;
    }
    return false;
}

int Width(const RECT& rect)
{
    return rect.right - rect.left;
}

int Height(const RECT& rect)
{
    return rect.bottom - rect.top;
}

struct PageButtons
{
    const char* page;
    std::vector<std::pair<std::string, int>> buttons; // label and action
};

const std::vector<PageButtons>& PromptPages()
{
    static const std::vector<PageButtons> pages = {
        {"1", {{"Save", 1}, {"Not now", 2}, {"Always save here", 11}, {"Never for this site", 3}}},
        {"2", {{"Confirm", 1}}},
        {"3", {}},
        {"4", {{"Turn on", 1}, {"Not now", 2}, {"Don't show again", 3}}},
        {"5", {{"Update", 1}, {"Not now", 2}, {"Always update here", 11}, {"Never for this site", 3}}},
    };
    return pages;
}

// A window in the shared top-level one, standing in for the browser's window.
HWND MakeBrowserWindow(HWND frame, int width, int height)
{
    return ::CreateWindowExA(0, "LvUiTestParent", "browser", WS_CHILD | WS_BORDER | WS_VISIBLE, 40, 30, width, height,
                             frame, nullptr, ::GetModuleHandleA(nullptr), nullptr);
}

class LvUiTest : public ::testing::Test
{
protected:
    // One top-level window for all tests: without a window manager Wine waits 2 s whenever one is hidden.
    static void SetUpTestSuite()
    {
        RegisterTestClasses();
        s_frame = ::CreateWindowExA(0, "LvUiTestParent", "frame", WS_POPUP | WS_VISIBLE, 0, 0, 1000, 1000, nullptr,
                                    nullptr, ::GetModuleHandleA(nullptr), nullptr);
    }

    static void TearDownTestSuite()
    {
        if (s_frame)
            ::DestroyWindow(s_frame);
        s_frame = nullptr;
    }

    void SetUp() override
    {
        ASSERT_NE(s_frame, nullptr) << "a top-level window needs a display: run under xvfb-run";
        Reports().clear();
        m_parent = MakeBrowserWindow(s_frame, 900, 900);
        ASSERT_NE(m_parent, nullptr);
        m_owner = ::CreateWindowExA(0, "LvUiTestOwner", "prompt", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                    ::GetModuleHandleA(nullptr), nullptr);
        ASSERT_NE(m_owner, nullptr);
        Pump();
    }

    void TearDown() override
    {
        m_prompt.DestroyWindow();
        m_pin.DestroyWindow();
        if (m_owner)
            ::DestroyWindow(m_owner);
        if (m_parent)
            ::DestroyWindow(m_parent);
        SetShift(false);
    }

    int ShowPrompt(const char* page, const char* text = kDomain, int x = 10, int y = 10)
    {
        const int shown = ShowBHOPromptUI(&m_prompt, m_parent, m_owner, kChildStyle, page, x, y, 0, 800, text);
        Pump();
        return shown;
    }

    int ShowPin()
    {
        const int shown = ShowBHOPromptUI(&m_pin, m_parent, m_owner, kChildStyle, "1", 10, 10, 0, 800, "");
        Pump();
        return shown;
    }

    static WPARAM Id(CLVUIDhtmlDlg& dialog) { return reinterpret_cast<WPARAM>(&dialog); }

    static HWND s_frame;
    HWND m_parent = nullptr;
    HWND m_owner = nullptr;
    CLvBhoPromptDlgUI m_prompt;
    CGpaAuthDlgUI m_pin;
};

HWND LvUiTest::s_frame = nullptr;

// ctest starts this binary through xvfb-run and scripts/with-wine-prefix; Wine passes their variables on.
TEST_F(LvUiTest, RunsOnItsOwnDisplayInAScratchPrefix)
{
    char display[64] = {};
    char scratch[8] = {};

    ::GetEnvironmentVariableA("DISPLAY", display, sizeof(display));
    ::GetEnvironmentVariableA("LVBHO_SCRATCH_PREFIX", scratch, sizeof(scratch));

    EXPECT_STRNE(display, "");
    EXPECT_STREQ(scratch, "1");
}

TEST_F(LvUiTest, ShowFailsWithoutAParent)
{
    EXPECT_EQ(ShowBHOPromptUI(&m_prompt, nullptr, m_owner, kChildStyle, "1", 0, 0, 0, 0, kDomain), 0);

    EXPECT_FALSE(m_prompt.IsWindow());
}

TEST_F(LvUiTest, ShowFailsWithoutADialogOrAPage)
{
    EXPECT_EQ(ShowBHOPromptUI(nullptr, m_parent, m_owner, kChildStyle, "1", 0, 0, 0, 0, kDomain), 0);
    EXPECT_EQ(ShowBHOPromptUI(&m_prompt, m_parent, m_owner, kChildStyle, nullptr, 0, 0, 0, 0, kDomain), 0);
    EXPECT_EQ(ShowBHOPromptUI(&m_pin, m_parent, m_owner, kChildStyle, nullptr, 0, 0, 0, 0, ""), 0);
}

TEST_F(LvUiTest, UnknownPageFails)
{
    EXPECT_EQ(ShowPrompt("9"), 0);

    EXPECT_STREQ(m_prompt.GetActivePage(), "");
}

TEST_F(LvUiTest, KindsTellTheDialogsApart)
{
    EXPECT_EQ(m_prompt.Kind(), LvUiPromptDialog);
    EXPECT_EQ(m_pin.Kind(), LvUiPinDialog);
}

TEST_F(LvUiTest, NoPageBeforeTheFirstShow)
{
    EXPECT_STREQ(m_prompt.GetActivePage(), "");
    EXPECT_STREQ(m_prompt.GetDlgURL(), "");
}

TEST_F(LvUiTest, ShownAtItsOwnSizeWhenGivenNone)
{
    ASSERT_EQ(ShowBHOPromptUI(&m_prompt, m_parent, m_owner, kChildStyle, "1", 5, 5, 0, 0, ""), 1);

    EXPECT_TRUE(m_prompt.IsWindow());
    EXPECT_TRUE(m_prompt.IsWindowVisible());
    RECT rect{};
    ASSERT_TRUE(m_prompt.GetWindowRect(&rect));
    EXPECT_EQ(Width(rect), m_prompt.GetOriginalWidth());
    EXPECT_GT(Height(rect), 0);
    EXPECT_TRUE(::GetWindowLongPtrA(m_prompt.GetSafeHwnd(), GWL_EXSTYLE) & WS_EX_CONTROLPARENT);
    EXPECT_TRUE(::GetWindowLongPtrA(m_prompt.GetSafeHwnd(), GWL_STYLE) & WS_CHILD);
}

TEST_F(LvUiTest, EachPageReportsItselfAndMakesItsControls)
{
    for (const PageButtons& page : PromptPages())
    {
        SCOPED_TRACE(page.page);

        ASSERT_EQ(ShowPrompt(page.page), 1);

        HWND dialog = m_prompt.GetSafeHwnd();
        EXPECT_STREQ(m_prompt.GetActivePage(), page.page);
        EXPECT_STREQ(m_prompt.GetDlgURL(), kDomain);
        EXPECT_TRUE(m_prompt.IsWindowVisible());
        std::vector<std::string> expected;
        for (const auto& button : page.buttons)
            expected.push_back(button.first);
        EXPECT_EQ(ButtonLabels(dialog), expected);
        EXPECT_EQ(Field(dialog) != nullptr, std::strcmp(page.page, "2") == 0);
        const bool showsDomain = std::strcmp(page.page, "1") == 0 || std::strcmp(page.page, "5") == 0;
        EXPECT_EQ(ShowsText(dialog, kDomain), showsDomain);
        EXPECT_FALSE(VisibleTexts(dialog).empty());
    }
}

TEST_F(LvUiTest, LongDomainKeepsItsEnd)
{
    const std::string domain = "sign-in.accounts.example.com.a-rather-long-name.attacker.test";

    ASSERT_EQ(ShowPrompt("1", domain.c_str()), 1);

    EXPECT_EQ(m_prompt.GetDlgURL(), domain);
    std::string shortened;
    for (const std::string& text : VisibleTexts(m_prompt.GetSafeHwnd()))
    {
        if (text.rfind("...", 0) == 0)
            shortened = text.substr(3);
    }
    ASSERT_GT(shortened.size(), 20u);
    EXPECT_LT(shortened.size(), domain.size());
    EXPECT_EQ(domain.substr(domain.size() - shortened.size()), shortened);
}

TEST_F(LvUiTest, PinDialogHasAMaskedFieldAndTwoButtons)
{
    ASSERT_EQ(ShowPin(), 1);

    HWND field = Field(m_pin.GetSafeHwnd());
    ASSERT_NE(field, nullptr);
    EXPECT_TRUE(::GetWindowLongPtrA(field, GWL_STYLE) & ES_PASSWORD);
    EXPECT_EQ(ButtonLabels(m_pin.GetSafeHwnd()), (std::vector<std::string>{"OK", "Cancel"}));
    EXPECT_FALSE(m_pin.IsBadPin());
}

TEST_F(LvUiTest, EveryPromptButtonPostsItsAction)
{
    for (const PageButtons& page : PromptPages())
    {
        for (const auto& button : page.buttons)
        {
            SCOPED_TRACE(std::string(page.page) + ": " + button.first);
            ASSERT_EQ(ShowPrompt(page.page), 1); // each showing takes one answer
            Reports().clear();

            ::SendMessageA(Button(m_prompt.GetSafeHwnd(), button.first), BM_CLICK, 0, 0);
            Pump();

            ASSERT_EQ(Reports().size(), 1u);
            EXPECT_EQ(Reports()[0].dialog, Id(m_prompt));
            EXPECT_EQ(Reports()[0].action, button.second);
        }
    }
}

TEST_F(LvUiTest, EveryPinButtonPostsItsAction)
{
    for (const auto& button : std::vector<std::pair<std::string, int>>{{"OK", 1}, {"Cancel", 2}})
    {
        SCOPED_TRACE(button.first);
        ASSERT_EQ(ShowPin(), 1);
        Reports().clear();

        ::SendMessageA(Button(m_pin.GetSafeHwnd(), button.first), BM_CLICK, 0, 0);
        Pump();

        ASSERT_EQ(Reports().size(), 1u);
        EXPECT_EQ(Reports()[0].dialog, Id(m_pin));
        EXPECT_EQ(Reports()[0].action, button.second);
    }
}

TEST_F(LvUiTest, ButtonNotificationPostsTheAction)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    HWND never = Button(m_prompt.GetSafeHwnd(), "Never for this site");
    ASSERT_NE(never, nullptr);

    ::SendMessageA(m_prompt.GetSafeHwnd(), WM_COMMAND, MAKEWPARAM(::GetDlgCtrlID(never), BN_CLICKED),
                   reinterpret_cast<LPARAM>(never));
    Pump();

    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].action, LvUiActionNever);
}

TEST_F(LvUiTest, NothingIsPostedWithoutAClick)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    ASSERT_EQ(ShowPrompt("3"), 1);

    Pump(200);

    EXPECT_TRUE(Reports().empty());
}

TEST_F(LvUiTest, EnterInTheFieldChoosesTheDefault)
{
    ASSERT_EQ(ShowPrompt("2"), 1);
    ::SetFocus(Field(m_prompt.GetSafeHwnd()));

    PressKey(VK_RETURN);

    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].dialog, Id(m_prompt));
    EXPECT_EQ(Reports()[0].action, LvUiActionOk);
}

TEST_F(LvUiTest, EnterOnTheSavePageChoosesSave)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    m_prompt.SetFocus();
    Pump();

    PressKey(VK_RETURN);

    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].action, LvUiActionOk);
}

TEST_F(LvUiTest, EnterOnAFocusedButtonChoosesThatButton)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    ::SetFocus(Button(m_prompt.GetSafeHwnd(), "Never for this site"));

    PressKey(VK_RETURN);

    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].action, LvUiActionNever);
}

TEST_F(LvUiTest, SpaceOnAFocusedButtonChoosesThatButton)
{
    ASSERT_EQ(ShowPrompt("4"), 1);
    ::SetFocus(Button(m_prompt.GetSafeHwnd(), "Don't show again"));

    PressKey(VK_SPACE);

    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].action, LvUiActionNever);
}

TEST_F(LvUiTest, EscapeChoosesNotNowOnEveryPageWithButtons)
{
    for (const char* page : {"1", "4", "5"})
    {
        SCOPED_TRACE(page);
        ASSERT_EQ(ShowPrompt(page), 1);
        m_prompt.SetFocus();
        Pump();
        Reports().clear();

        PressKey(VK_ESCAPE);

        ASSERT_EQ(Reports().size(), 1u);
        EXPECT_EQ(Reports()[0].action, LvUiActionNotNow);
    }
}

TEST_F(LvUiTest, EscapeOnTheCodePageDoesNothing)
{
    ASSERT_EQ(ShowPrompt("2"), 1);
    ::SetFocus(Field(m_prompt.GetSafeHwnd()));
    Pump();

    PressKey(VK_ESCAPE);

    EXPECT_TRUE(Reports().empty());
}

TEST_F(LvUiTest, EachShowingTakesOneAnswerAndABadPinAnother)
{
    ASSERT_EQ(ShowPin(), 1);
    HWND ok = Button(m_pin.GetSafeHwnd(), "OK");

    ::SendMessageA(ok, BM_CLICK, 0, 0);
    ::SendMessageA(ok, BM_CLICK, 0, 0);
    Pump();
    EXPECT_EQ(Reports().size(), 1u);

    m_pin.UpdateBadPin();
    ::SendMessageA(ok, BM_CLICK, 0, 0);
    ::SendMessageA(ok, BM_CLICK, 0, 0);
    Pump();
    EXPECT_EQ(Reports().size(), 2u);

    ASSERT_EQ(ShowPin(), 1);
    ::SendMessageA(Button(m_pin.GetSafeHwnd(), "OK"), BM_CLICK, 0, 0);
    Pump();
    EXPECT_EQ(Reports().size(), 3u);
}

TEST_F(LvUiTest, EscapeCancelsThePinDialog)
{
    ASSERT_EQ(ShowPin(), 1);
    m_pin.SetFocus();
    Pump();

    PressKey(VK_ESCAPE);

    ASSERT_EQ(Reports().size(), 1u);
    EXPECT_EQ(Reports()[0].dialog, Id(m_pin));
    EXPECT_EQ(Reports()[0].action, LvUiActionNotNow);
}

TEST_F(LvUiTest, FocusGivenToTheDialogGoesToItsField)
{
    ASSERT_EQ(ShowPrompt("2"), 1);

    m_prompt.SetFocus();
    Pump();

    EXPECT_EQ(::GetFocus(), Field(m_prompt.GetSafeHwnd()));
}

TEST_F(LvUiTest, TabMovesForwardThroughTheControls)
{
    ASSERT_EQ(ShowPrompt("2"), 1);
    HWND dialog = m_prompt.GetSafeHwnd();
    ::SetFocus(Field(dialog));

    PressKey(VK_TAB);
    EXPECT_EQ(::GetFocus(), Button(dialog, "Confirm"));
    PressKey(VK_TAB);
    EXPECT_EQ(::GetFocus(), Field(dialog));
    EXPECT_TRUE(Reports().empty());
}

TEST_F(LvUiTest, ShiftTabMovesBackward)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    HWND dialog = m_prompt.GetSafeHwnd();
    ::SetFocus(Button(dialog, "Save"));

    PressKey(VK_TAB, true);
    EXPECT_EQ(::GetFocus(), Button(dialog, "Never for this site"));
    PressKey(VK_TAB, true);
    EXPECT_EQ(::GetFocus(), Button(dialog, "Always save here"));
}

TEST_F(LvUiTest, TypedTextIsTakenOnceThenEmpty)
{
    ASSERT_EQ(ShowPrompt("2"), 1);
    ::SetWindowTextA(Field(m_prompt.GetSafeHwnd()), "314159");
    char buffer[32] = "junk";

    EXPECT_EQ(m_prompt.TakeTypedText(buffer, sizeof(buffer)), 6);
    EXPECT_STREQ(buffer, "314159");
    EXPECT_EQ(TextOf(Field(m_prompt.GetSafeHwnd())), "");
    EXPECT_EQ(m_prompt.TakeTypedText(buffer, sizeof(buffer)), 0);
    EXPECT_STREQ(buffer, "");
}

TEST_F(LvUiTest, TypedTextIsCutToTheBuffer)
{
    ASSERT_EQ(ShowPrompt("2"), 1);
    ::SetWindowTextA(Field(m_prompt.GetSafeHwnd()), "314159");
    char buffer[4] = {};

    EXPECT_EQ(m_prompt.TakeTypedText(buffer, sizeof(buffer)), 3);

    EXPECT_STREQ(buffer, "314");
}

TEST_F(LvUiTest, TypedTextOutlivesAPageChange)
{
    ASSERT_EQ(ShowPrompt("2"), 1);
    ::SetWindowTextA(Field(m_prompt.GetSafeHwnd()), "2718");
    ASSERT_EQ(ShowPrompt("3"), 1);
    char buffer[16] = {};

    EXPECT_EQ(m_prompt.TakeTypedText(buffer, sizeof(buffer)), 4);

    EXPECT_STREQ(buffer, "2718");
}

TEST_F(LvUiTest, PinIsTakenOnceThenEmpty)
{
    ASSERT_EQ(ShowPin(), 1);
    ::SetWindowTextA(Field(m_pin.GetSafeHwnd()), "4711");
    char buffer[16] = {};

    EXPECT_EQ(m_pin.TakePin(buffer, sizeof(buffer)), 4);
    EXPECT_STREQ(buffer, "4711");
    EXPECT_EQ(m_pin.TakePin(buffer, sizeof(buffer)), 0);
    EXPECT_STREQ(buffer, "");
}

TEST_F(LvUiTest, BadPinShowsTheErrorAndEmptiesTheFocusedField)
{
    ASSERT_EQ(ShowPin(), 1);
    HWND dialog = m_pin.GetSafeHwnd();
    ::SetWindowTextA(Field(dialog), "4711");
    RECT before{};
    m_pin.GetWindowRect(&before);
    EXPECT_FALSE(ShowsText(dialog, "Wrong PIN"));

    m_pin.UpdateBadPin();
    Pump();

    RECT after{};
    m_pin.GetWindowRect(&after);
    EXPECT_TRUE(m_pin.IsBadPin());
    EXPECT_TRUE(ShowsText(dialog, "Wrong PIN, try again"));
    EXPECT_EQ(TextOf(Field(dialog)), "");
    EXPECT_EQ(::GetFocus(), Field(dialog));
    EXPECT_GT(Height(after), Height(before));
    char buffer[16] = {};
    EXPECT_EQ(m_pin.TakePin(buffer, sizeof(buffer)), 0);
}

TEST_F(LvUiTest, HidingForgetsTheBadPin)
{
    ASSERT_EQ(ShowPin(), 1);
    m_pin.UpdateBadPin();

    m_pin.ShowWindow(SW_HIDE);
    m_pin.OnHidePrompt();

    EXPECT_FALSE(m_pin.IsBadPin());
    EXPECT_FALSE(ShowsText(m_pin.GetSafeHwnd(), "Wrong PIN"));
}

TEST_F(LvUiTest, MessageAppearsWhenTheUpdateArrives)
{
    ASSERT_EQ(ShowPrompt("3"), 1);
    HWND dialog = m_prompt.GetSafeHwnd();

    m_prompt.SetMessage(0x44525675, "Approve the sign-in on your phone");
    Pump();
    EXPECT_FALSE(ShowsText(dialog, "Approve the sign-in on your phone"));

    ::PostMessageA(dialog, ::RegisterWindowMessageA("MSG_UPDATE_MSG"), 0, 0);
    Pump();
    EXPECT_TRUE(ShowsText(dialog, "Approve the sign-in on your phone"));
    EXPECT_TRUE(ShowsText(dialog, "DRVu"));
}

TEST_F(LvUiTest, UnprintableCodeShowsInHex)
{
    ASSERT_EQ(ShowPrompt("3"), 1);

    m_prompt.SetMessage(0x00000102, "Still waiting");
    ::PostMessageA(m_prompt.GetSafeHwnd(), ::RegisterWindowMessageA("MSG_UPDATE_MSG"), 0, 0);
    Pump();

    EXPECT_TRUE(ShowsText(m_prompt.GetSafeHwnd(), "0x00000102"));
}

TEST_F(LvUiTest, SizesScaleWithZoom)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    RECT normal{};
    m_prompt.GetWindowRect(&normal);
    const int normalWidth = m_prompt.GetOriginalWidth();

    m_prompt.SetZoom(166);
    ASSERT_EQ(ShowPrompt("1"), 1);
    RECT zoomed{};
    m_prompt.GetWindowRect(&zoomed);

    EXPECT_EQ(Width(normal), 360);
    EXPECT_NEAR(Width(zoomed), 360 * 1.66, 2.0);
    EXPECT_NEAR(static_cast<double>(Height(zoomed)) / Height(normal), 1.66, 0.1);
    EXPECT_EQ(m_prompt.GetOriginalWidth(), normalWidth);
    EXPECT_EQ(m_prompt.GetOriginalWidth(), 360);
    EXPECT_EQ(m_prompt.GetCurrentHeight(), Height(zoomed));
}

TEST_F(LvUiTest, ZoomIsClamped)
{
    m_prompt.SetZoom(10);
    EXPECT_EQ(m_prompt.GetZoom(), 25);

    m_prompt.SetZoom(1000);
    EXPECT_EQ(m_prompt.GetZoom(), 400);
}

TEST_F(LvUiTest, PagesHaveTheirOwnHeights)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    const int saveHeight = m_prompt.GetCurrentHeight();

    ASSERT_EQ(ShowPrompt("3"), 1);
    const int progressHeight = m_prompt.GetCurrentHeight();

    EXPECT_GT(saveHeight, progressHeight);
    EXPECT_GT(progressHeight, 0);
}

TEST_F(LvUiTest, GivenWidthIsUsed)
{
    ASSERT_EQ(ShowBHOPromptUI(&m_prompt, m_parent, m_owner, kChildStyle, "1", 0, 0, 420, 600, kDomain), 1);

    RECT rect{};
    m_prompt.GetWindowRect(&rect);
    EXPECT_EQ(Width(rect), 420);
}

TEST_F(LvUiTest, ChildLandsAtItsPositionInTheParent)
{
    ASSERT_EQ(ShowPrompt("1", kDomain, 30, 40), 1);

    RECT rect{};
    m_prompt.GetWindowRect(&rect);
    POINT topLeft{rect.left, rect.top};
    ::ScreenToClient(m_parent, &topLeft);

    EXPECT_EQ(topLeft.x, 30);
    EXPECT_EQ(topLeft.y, 40);
    EXPECT_EQ(m_prompt.GetParent(), m_parent);
}

TEST_F(LvUiTest, WindowOperationsBehave)
{
    EXPECT_FALSE(m_prompt.IsWindow());
    ASSERT_EQ(ShowPrompt("1"), 1);
    EXPECT_TRUE(m_prompt.IsWindow());
    EXPECT_TRUE(m_prompt.IsWindowVisible());

    EXPECT_TRUE(m_prompt.ShowWindow(0));
    EXPECT_FALSE(m_prompt.IsWindowVisible());

    HWND other = MakeBrowserWindow(s_frame, 400, 400);
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(m_prompt.SetParent(other), m_parent);
    EXPECT_EQ(m_prompt.GetParent(), other);

    EXPECT_TRUE(m_prompt.DestroyWindow());
    EXPECT_FALSE(m_prompt.IsWindow());
    EXPECT_EQ(m_prompt.GetSafeHwnd(), nullptr);
    ::DestroyWindow(other);
}

TEST_F(LvUiTest, ShowsAgainAfterItsWindowIsDestroyed)
{
    ASSERT_EQ(ShowPrompt("2"), 1);
    m_prompt.DestroyWindow();

    ASSERT_EQ(ShowPrompt("4"), 1);

    EXPECT_TRUE(m_prompt.IsWindowVisible());
    EXPECT_STREQ(m_prompt.GetActivePage(), "4");
}

TEST_F(LvUiTest, DestroyingTheParentEndsTheDialogWindow)
{
    ASSERT_EQ(ShowPrompt("1"), 1);

    ::DestroyWindow(m_parent);
    m_parent = nullptr;

    EXPECT_FALSE(m_prompt.IsWindow());
    EXPECT_EQ(m_prompt.GetSafeHwnd(), nullptr);
}

TEST_F(LvUiTest, ShowingAgainMovesTheDialogToTheNewParent)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    HWND other = MakeBrowserWindow(s_frame, 600, 600);
    ASSERT_NE(other, nullptr);

    ASSERT_EQ(ShowBHOPromptUI(&m_prompt, other, m_owner, kChildStyle, "1", 0, 0, 0, 500, kDomain), 1);

    EXPECT_EQ(m_prompt.GetParent(), other);
    m_prompt.DestroyWindow();
    ::DestroyWindow(other);
}

// --- languages, layout, accessibility, high contrast ------------------------------------------------------------

// The Windows UI language of every language the dialogs speak, English first.
constexpr LANGID kLanguages[] = {0x0409, 0x0401, 0x0402, 0x0404, 0x0804, 0x0405, 0x0406, 0x0407, 0x0408,
                                 0x0C0A, 0x040B, 0x040C, 0x040D, 0x040E, 0x0410, 0x0411, 0x0412, 0x0413,
                                 0x0414, 0x0415, 0x0416, 0x0816, 0x0418, 0x0419, 0x041A, 0x241A, 0x041B,
                                 0x041D, 0x041F, 0x0421, 0x0424, 0x0425, 0x0426, 0x0427};
constexpr LANGID kArabic = 0x0401;
constexpr long kZooms[] = {100, 125, 166, 200};

std::wstring WideTextOf(HWND window)
{
    wchar_t text[512] = {};
    ::GetWindowTextW(window, text, 512);
    return text;
}

RECT RectIn(HWND dialog, HWND child)
{
    RECT rect{};
    ::GetWindowRect(child, &rect);
    ::MapWindowPoints(HWND_DESKTOP, dialog, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

// The size `text` needs in `window`'s font when wrapped to `width`, as DrawTextW measures it.
SIZE Measure(HWND window, const std::wstring& text, int width, UINT flags)
{
    HDC dc = ::GetDC(window);
    HGDIOBJ previous = ::SelectObject(dc, reinterpret_cast<HFONT>(::SendMessageW(window, WM_GETFONT, 0, 0)));
    RECT rect{0, 0, width, 0};
    ::DrawTextW(dc, text.c_str(), -1, &rect, flags | DT_CALCRECT);
    TEXTMETRICW metrics{};
    ::GetTextMetricsW(dc, &metrics);
    ::SelectObject(dc, previous);
    ::ReleaseDC(window, dc);
    return SIZE{rect.right - rect.left, text.empty() ? metrics.tmHeight : rect.bottom - rect.top};
}

// What is wrong with a dialog's layout: a visible control outside the dialog, a text that does not fit its control,
// two controls that overlap. Empty when nothing is.
std::vector<std::string> LayoutProblems(HWND dialog, long zoom)
{
    std::vector<std::string> problems;
    RECT client{};
    ::GetClientRect(dialog, &client);
    std::vector<std::pair<HWND, RECT>> placed;
    for (HWND child : Children(dialog))
    {
        if (!::IsWindowVisible(child))
            continue;
        const RECT rect = RectIn(dialog, child);
        const std::string name = ClassOf(child) + " " + std::to_string(::GetDlgCtrlID(child));
        if (rect.left < client.left || rect.top < client.top || rect.right > client.right ||
            rect.bottom > client.bottom)
            problems.push_back(name + " lies outside the dialog");
        const bool rightToLeft = (::GetWindowLongPtrW(child, GWL_EXSTYLE) & WS_EX_RTLREADING) != 0;
        const UINT reading = rightToLeft ? DT_RTLREADING : 0;
        const std::wstring text = WideTextOf(child);
        SIZE room{Width(rect), Height(rect)};
        SIZE needed{};
        if (_stricmp(ClassOf(child).c_str(), "Static") == 0)
        {
            if (text.empty())
                problems.push_back(name + " shows no text");
            needed = Measure(child, text, room.cx, DT_WORDBREAK | DT_EXPANDTABS | DT_NOPREFIX | reading);
        }
        else if (_stricmp(ClassOf(child).c_str(), "Button") == 0)
        {
            const int inset = ::MulDiv(8, static_cast<int>(zoom), 100);
            room.cx -= 2 * inset;
            needed = Measure(child, text, room.cx, DT_WORDBREAK | DT_NOPREFIX | reading);
        }
        else
            needed = Measure(child, L"", room.cx, 0); // a field: one line of its font
        if (needed.cx > room.cx || needed.cy > room.cy)
            problems.push_back(name + " needs " + std::to_string(needed.cx) + "x" + std::to_string(needed.cy) +
                               " and has " + std::to_string(room.cx) + "x" + std::to_string(room.cy));
        for (const auto& [other, otherRect] : placed)
        {
            RECT common{};
            if (::IntersectRect(&common, &rect, &otherRect))
                problems.push_back(name + " overlaps " + ClassOf(other) + " " + std::to_string(::GetDlgCtrlID(other)));
        }
        placed.emplace_back(child, rect);
    }
    return problems;
}

class LvUiLanguageTest : public LvUiTest
{
protected:
    void TearDown() override
    {
        LvUiSetLanguage(0);
        LvUiSetHighContrast(-1);
        LvUiTest::TearDown();
    }

    void ExpectFits(CLVUIDhtmlDlg& dialog, const std::string& what, long zoom)
    {
        for (const std::string& problem : LayoutProblems(dialog.GetSafeHwnd(), zoom))
        {
            ADD_FAILURE() << what << ": " << problem;
        }
        RECT window{};
        dialog.GetWindowRect(&window);
        if (dialog.Kind() == LvUiPromptDialog)
        {
            EXPECT_EQ(static_cast<CLvBhoPromptDlgUI&>(dialog).GetCurrentHeight(), Height(window)) << what;
        }
    }

    std::wstring Title(LANGID language)
    {
        LvUiSetLanguage(language);
        ShowBHOPromptUI(&m_prompt, m_parent, m_owner, kChildStyle, "1", 10, 10, 0, 800, kDomain);
        const std::vector<HWND> statics = Children(m_prompt.GetSafeHwnd(), "Static");
        return statics.empty() ? std::wstring() : WideTextOf(statics.front());
    }
};

TEST_F(LvUiLanguageTest, EveryPageOfEveryLanguageFitsAtEveryZoom)
{
    for (const LANGID language : kLanguages)
    {
        LvUiSetLanguage(language);
        for (const long zoom : kZooms)
        {
            char where[64];
            std::snprintf(where, sizeof(where), "language 0x%04X, zoom %ld, ", language, zoom);
            m_prompt.SetZoom(zoom);
            m_pin.SetZoom(zoom);
            for (const char* page : {"1", "2", "3", "4", "5"})
            {
                ASSERT_EQ(ShowBHOPromptUI(&m_prompt, m_parent, m_owner, kChildStyle, page, 0, 0, 0, 0,
                                          "accounts.example.com.very-long-subdomain.example.org"),
                          1);
                ExpectFits(m_prompt, std::string(where) + "page " + page, zoom);
            }
            ASSERT_EQ(ShowBHOPromptUI(&m_pin, m_parent, m_owner, kChildStyle, "1", 0, 0, 0, 0, ""), 1);
            ExpectFits(m_pin, std::string(where) + "PIN", zoom);
            m_pin.UpdateBadPin();
            ExpectFits(m_pin, std::string(where) + "PIN after a wrong one", zoom);
            m_pin.OnHidePrompt();
        }
    }
}

TEST_F(LvUiLanguageTest, EachLanguageShowsItsOwnTexts)
{
    const std::wstring english = Title(0x0409);
    EXPECT_EQ(L"Save this login to Lumivar?", english);
    // Every language its own catalogue: no two titles alike.
    std::vector<std::wstring> titles;
    for (const LANGID language : kLanguages)
    {
        const std::wstring title = Title(language);
        EXPECT_EQ(std::find(titles.begin(), titles.end(), title), titles.end()) << std::hex << language;
        titles.push_back(title);
    }
    // A language the dialogs do not have is shown in English; so is Portuguese of neither Brazil nor Portugal.
    EXPECT_EQ(english, Title(0x0436)); // Afrikaans
    EXPECT_EQ(english, Title(0x0C16));
    EXPECT_EQ(Title(0x0411), Title(0x0011)); // Japanese with no sublanguage
}

TEST_F(LvUiLanguageTest, TheUsersLanguageIsTheDefault)
{
    const std::wstring chosen = Title(::GetUserDefaultUILanguage());
    EXPECT_EQ(chosen, Title(0));
}

TEST_F(LvUiLanguageTest, RightToLeftMirrorsTheDialogButNotTheDomain)
{
    LvUiSetLanguage(kArabic);
    ASSERT_EQ(ShowPrompt("1"), 1);
    HWND dialog = m_prompt.GetSafeHwnd();
    const std::vector<HWND> buttons = Children(dialog, "Button");
    ASSERT_EQ(buttons.size(), 4u);
    // Made in reading order: the main button first, then "Not now"; mirrored, the main one is on the right.
    EXPECT_GT(RectIn(dialog, buttons[0]).left, RectIn(dialog, buttons[1]).left);
    const std::vector<HWND> statics = Children(dialog, "Static");
    ASSERT_GE(statics.size(), 3u);
    const LONG_PTR titleStyle = ::GetWindowLongPtrW(statics[0], GWL_STYLE);
    EXPECT_EQ(SS_RIGHT, titleStyle & SS_TYPEMASK);
    EXPECT_NE(0, ::GetWindowLongPtrW(statics[0], GWL_EXSTYLE) & WS_EX_RTLREADING);
    EXPECT_EQ(L"accounts.example.com", WideTextOf(statics[1]));
    EXPECT_EQ(0, ::GetWindowLongPtrW(statics[1], GWL_EXSTYLE) & WS_EX_RTLREADING);

    LvUiSetLanguage(0x0409);
    ASSERT_EQ(ShowPrompt("1"), 1);
    dialog = m_prompt.GetSafeHwnd();
    const std::vector<HWND> english = Children(dialog, "Button");
    EXPECT_LT(RectIn(dialog, english[0]).left, RectIn(dialog, english[1]).left);
    EXPECT_EQ(SS_LEFT, ::GetWindowLongPtrW(Children(dialog, "Static")[0], GWL_STYLE) & SS_TYPEMASK);
}

TEST_F(LvUiLanguageTest, AMirroredParentDoesNotMirrorTheDialogAgain)
{
    HWND mirrored = ::CreateWindowExA(WS_EX_LAYOUTRTL, "LvUiTestParent", "rtl browser", WS_CHILD | WS_VISIBLE, 40, 30,
                                      800, 800, s_frame, nullptr, ::GetModuleHandleA(nullptr), nullptr);
    ASSERT_NE(mirrored, nullptr);
    for (const LANGID language : {LANGID{0x0409}, kArabic})
    {
        LvUiSetLanguage(language);
        ASSERT_EQ(ShowBHOPromptUI(&m_prompt, mirrored, m_owner, kChildStyle, "1", 10, 10, 0, 0, kDomain), 1);
        HWND dialog = m_prompt.GetSafeHwnd();
        EXPECT_EQ(0, ::GetWindowLongPtrW(dialog, GWL_EXSTYLE) & WS_EX_LAYOUTRTL);
        const std::vector<HWND> buttons = Children(dialog, "Button");
        ASSERT_EQ(buttons.size(), 4u);
        RECT save{};
        RECT notNow{};
        ::GetWindowRect(buttons[0], &save);
        ::GetWindowRect(buttons[1], &notNow);
        // On the screen: the main button left of "Not now" in English, right of it in Arabic.
        EXPECT_EQ(language == kArabic, save.left > notNow.left) << std::hex << language;
    }
    m_prompt.DestroyWindow();
    ::DestroyWindow(mirrored);
}

TEST_F(LvUiLanguageTest, TheDomainIsShownAsItsUtf8Says)
{
    ASSERT_EQ(ShowPrompt("1", "b\xC3\xBC"
                              "cher.example"),
              1);
    EXPECT_EQ(L"b\u00FCcher.example", WideTextOf(Children(m_prompt.GetSafeHwnd(), "Static")[1]));
    EXPECT_STREQ("b\xC3\xBC"
                 "cher.example",
                 m_prompt.GetDlgURL());
}

TEST_F(LvUiLanguageTest, FieldsAreNamedByALabelJustBeforeThem)
{
    LvUiSetLanguage(0x0407);
    ASSERT_EQ(ShowPrompt("2"), 1);
    ASSERT_EQ(ShowPin(), 1);
    for (CLVUIDhtmlDlg* dialog : {static_cast<CLVUIDhtmlDlg*>(&m_prompt), static_cast<CLVUIDhtmlDlg*>(&m_pin)})
    {
        HWND field = Field(dialog->GetSafeHwnd());
        ASSERT_NE(field, nullptr);
        // A screen reader names an edit control after the static text that comes just before it.
        HWND label = ::GetWindow(field, GW_HWNDPREV);
        ASSERT_NE(label, nullptr);
        EXPECT_EQ("Static", ClassOf(label));
        EXPECT_TRUE(::IsWindowVisible(label));
        EXPECT_FALSE(WideTextOf(label).empty());
    }
    EXPECT_EQ(L"PIN", WideTextOf(::GetWindow(Field(m_pin.GetSafeHwnd()), GW_HWNDPREV)));
    EXPECT_NE(0, ::GetWindowLongPtrW(Field(m_pin.GetSafeHwnd()), GWL_STYLE) & ES_PASSWORD);
    EXPECT_EQ(0, ::GetWindowLongPtrW(Field(m_prompt.GetSafeHwnd()), GWL_STYLE) & ES_PASSWORD);
}

TEST_F(LvUiLanguageTest, EveryControlCarriesItsTextAsWindowText)
{
    for (const LANGID language : {LANGID{0x0409}, LANGID{0x0411}, kArabic})
    {
        LvUiSetLanguage(language);
        for (const char* page : {"1", "2", "3", "4", "5"})
        {
            ASSERT_EQ(ShowPrompt(page), 1);
            for (HWND child : Children(m_prompt.GetSafeHwnd()))
            {
                if (::IsWindowVisible(child) && ClassOf(child) != "Edit")
                {
                    EXPECT_FALSE(WideTextOf(child).empty()) << page << " " << ::GetDlgCtrlID(child);
                }
            }
        }
    }
}

COLORREF PixelOf(CLVUIDhtmlDlg& dialog, int x, int y)
{
    HWND window = dialog.GetSafeHwnd();
    RECT client{};
    ::GetClientRect(window, &client);
    HDC screen = ::GetDC(nullptr);
    HDC memory = ::CreateCompatibleDC(screen);
    HBITMAP bitmap = ::CreateCompatibleBitmap(screen, client.right, client.bottom);
    HGDIOBJ previous = ::SelectObject(memory, bitmap);
    ::SendMessageW(window, WM_PRINTCLIENT, reinterpret_cast<WPARAM>(memory), PRF_CLIENT);
    const COLORREF colour = ::GetPixel(memory, x, y);
    ::SelectObject(memory, previous);
    ::DeleteObject(bitmap);
    ::DeleteDC(memory);
    ::ReleaseDC(nullptr, screen);
    return colour;
}

COLORREF TextColourOf(HWND dialog, HWND control)
{
    HDC dc = ::GetDC(control);
    ::SendMessageW(dialog, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc), reinterpret_cast<LPARAM>(control));
    const COLORREF colour = ::GetTextColor(dc);
    ::ReleaseDC(control, dc);
    return colour;
}

// A point of the domain's box that its text does not cover: just inside the box, left of the domain's control.
POINT InTheDomainBox(HWND dialog)
{
    const RECT domain = RectIn(dialog, Children(dialog, "Static")[1]);
    return POINT{domain.left - 4, (domain.top + domain.bottom) / 2};
}

TEST_F(LvUiLanguageTest, HighContrastTakesEveryColourFromTheSystem)
{
    ASSERT_EQ(ShowPrompt("1"), 1);
    // The band and the domain's box, in the product's colours.
    EXPECT_EQ(RGB(23, 50, 99), PixelOf(m_prompt, 100, 10));
    const POINT box = InTheDomainBox(m_prompt.GetSafeHwnd());
    EXPECT_EQ(RGB(241, 245, 249), PixelOf(m_prompt, box.x, box.y));
    const COLORREF productNote = TextColourOf(m_prompt.GetSafeHwnd(), Children(m_prompt.GetSafeHwnd(), "Static")[2]);
    EXPECT_NE(::GetSysColor(COLOR_WINDOWTEXT), productNote);

    LvUiSetHighContrast(1);
    ASSERT_EQ(ShowPrompt("1"), 1);
    HWND dialog = m_prompt.GetSafeHwnd();
    EXPECT_EQ(::GetSysColor(COLOR_WINDOW), PixelOf(m_prompt, 100, 10));
    EXPECT_EQ(::GetSysColor(COLOR_WINDOW), PixelOf(m_prompt, box.x, box.y));
    for (HWND label : Children(dialog, "Static"))
    {
        EXPECT_EQ(::GetSysColor(COLOR_WINDOWTEXT), TextColourOf(dialog, label)) << ::GetDlgCtrlID(label);
    }

    LvUiSetHighContrast(-1);
    ASSERT_EQ(ShowPrompt("1"), 1);
    EXPECT_EQ(RGB(23, 50, 99), PixelOf(m_prompt, 100, 10));
}
} // namespace
