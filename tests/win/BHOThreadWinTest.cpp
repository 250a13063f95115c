#include "corelink/BHOThreadWin.h"

#include "autofill/KeySenderWin.h"
#include "autofill/LoginScript.h"
#include "config/MemoryRegistry.h"
#include "corelink/CoreLink.h"
#include "corelink/CoreObjectsWin.h"
#include "corelink/ProcessQueryWin.h"
#include "corelink/RegisteredMessagesWin.h"
#include "tests/fakes/FakeLogSink.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <imm.h>

#include <cstring>
#include <mutex>

namespace
{
// The handler the host makes, over these services.
CBHOThread::HandlerFactory HandlerOver(ICoreLink& link, IRegistry& registry, IKeySender& keys, const CDebugLog& log)
{
    return [&link, &registry, &keys, &log](IHandlerPlatform& platform, IJsonMessage& request) {
        return std::make_unique<CLVBHOCommandHandler>(request, HandlerServices{platform, link, registry, keys, log});
    };
}

// The browser's side of standard output, written by the UI thread and read by the test.
class CLockedSink : public IByteSink
{
public:
    void Write(const char* data, std::size_t count) override
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_bytes.append(data, count);
    }
    void Flush() override {}
    std::string Bytes()
    {
        std::lock_guard<std::mutex> lock(m_lock);
        return m_bytes;
    }

private:
    std::mutex m_lock;
    std::string m_bytes;
};

// The body of the first frame, waiting for it up to five seconds.
std::string FirstFrameBody(CLockedSink& sink)
{
    for (int attempt = 0; attempt < 500; ++attempt)
    {
        const std::string bytes = sink.Bytes();
        if (bytes.size() >= 4)
        {
            std::uint32_t length = 0;
            std::memcpy(&length, bytes.data(), 4);
            if (bytes.size() >= 4 + length)
                return bytes.substr(4, length);
        }
        ::Sleep(10);
    }
    return std::string();
}

struct UiThread
{
    UiThread() { started = objects.InitSharedMemory(link) == 1 && thread.Start(request, writer); }
    ~UiThread() { thread.Stop(); }

    HWND Window() { return reinterpret_cast<HWND>(thread.Handler()->Platform().HostWindow()); }

    CMemoryRegistry registry;
    CFakeLogSink logSink;
    CDebugLog log{logSink};
    CProcessQueryWin processes;
    CCoreObjectsWin objects{processes, log};
    CCoreLink link{objects, log};
    JsonCPPWrapper request;
    CLockedSink output;
    CResponseWriter writer{output, log};
    CKeySenderWin keys;
    CBHOThread thread{log, HandlerOver(link, registry, keys, log)};
    bool started = false;
};
} // namespace

TEST(BHOThreadWinTest, StartingWaitsForTheReadyEventAndTheHandler)
{
    UiThread ui;

    ASSERT_TRUE(ui.started);

    ASSERT_NE(nullptr, ui.thread.Handler());
    EXPECT_NE(nullptr, ui.Window());
    EXPECT_EQ(ui.thread.ThreadId(), ::GetWindowThreadProcessId(ui.Window(), nullptr));
}

TEST(BHOThreadWinTest, TheMessageWindowHasTheHostsClassAndTheBrowserAsTitle)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);

    char className[128] = {};
    char title[64] = {};
    ::GetClassNameA(ui.Window(), className, sizeof className);
    ::GetWindowTextA(ui.Window(), title, sizeof title);

    EXPECT_STREQ(kHostWindowClass, className);
    EXPECT_STREQ("chrome", title);
}

TEST(BHOThreadWinTest, ThePromptWindowRequestReplacesTheWindowAndSetsTheEvent)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    HWND before = ui.Window();

    PostToUiThreadAndWait(ui.thread.ThreadId(), kMsgCreatePromptWnd, 0);

    HWND after = ui.Window();
    EXPECT_NE(nullptr, after);
    EXPECT_NE(before, after);
    EXPECT_FALSE(::IsWindow(before));
    EXPECT_TRUE(ui.thread.Handler()->Platform().HasPromptWindow());
}

TEST(BHOThreadWinTest, HidePromptAnswersSuccessOnceThereIsAPromptWindow)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    EXPECT_EQ(3u, ui.thread.Handler()->HidePrompt());

    ui.thread.Handler()->StartNonChromeBrowser();

    EXPECT_EQ(0u, ui.thread.Handler()->HidePrompt());
}

TEST(BHOThreadWinTest, TheBrowserNameIsTheTitleOfTheNextWindow)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    ui.thread.Handler()->SetBrowserName("firefox");

    ui.thread.Handler()->StartNonChromeBrowser();

    char title[64] = {};
    ::GetWindowTextA(ui.Window(), title, sizeof title);
    EXPECT_STREQ("firefox", title);
}

TEST(BHOThreadWinTest, QuitEndsTheThreadAndDestroysItsWindow)
{
    auto ui = std::make_unique<UiThread>();
    ASSERT_TRUE(ui->started);
    HWND window = ui->Window();
    HANDLE thread = ui->thread.Handle();

    ui->thread.Stop();

    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(thread, 0));
    EXPECT_FALSE(::IsWindow(window));
    EXPECT_EQ(nullptr, ui->thread.Handler());
}

TEST(BHOThreadWinTest, ACopyDataRecordBecomesValidateAsyncMsg)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    BHOCopyData record;
    std::memset(&record, 0, sizeof record);
    record.devId = 44525655;
    std::strcpy(record.strDevId, "device-7");
    std::strcpy(record.message, "Verified");
    record.status = 0;
    COPYDATASTRUCT copyData{kCopyDataKind, sizeof record, &record};

    EXPECT_EQ(1, ::SendMessageA(ui.Window(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&copyData)));

    EXPECT_EQ("{\"Devid\":44525655,\"command\":\"ValidateAsyncMsg\",\"msg\":\"Verified\",\"status\":0,"
              "\"strdevid\":\"device-7\"}",
              FirstFrameBody(ui.output));
}

TEST(BHOThreadWinTest, BytesPastAShortCopyDataRecordAreZero)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    BHOCopyData record;
    std::memset(&record, 'x', sizeof record);
    record.devId = 5;
    std::strcpy(record.strDevId, "short");
    // Only the id and the device text are sent; the message and the status beyond them must read as zero.
    COPYDATASTRUCT copyData{kCopyDataKind, offsetof(BHOCopyData, message), &record};

    ::SendMessageA(ui.Window(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&copyData));

    EXPECT_EQ("{\"Devid\":5,\"command\":\"ValidateAsyncMsg\",\"msg\":\"\",\"status\":0,\"strdevid\":\"short\"}",
              FirstFrameBody(ui.output));
}

TEST(BHOThreadWinTest, StatusSixOrMinusOneReleasesACommandWaitingForTheValidation)
{
    for (const std::uint32_t status : {6u, 0xFFFFFFFFu})
    {
        UiThread ui;
        ASSERT_TRUE(ui.started);
        BHOCopyData record;
        std::memset(&record, 0, sizeof record);
        record.status = status;
        COPYDATASTRUCT copyData{kCopyDataKind, sizeof record, &record};
        ::SendMessageA(ui.Window(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&copyData));
        ASSERT_FALSE(FirstFrameBody(ui.output).empty());
        const DWORD start = ::GetTickCount();

        ui.thread.Handler()->WaitForCompletion(5000);

        EXPECT_LT(::GetTickCount() - start, 2000u) << status;
    }
}

TEST(BHOThreadWinTest, StatusZeroLeavesTheWaitingCommandWaiting)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    BHOCopyData record;
    std::memset(&record, 0, sizeof record);
    COPYDATASTRUCT copyData{kCopyDataKind, sizeof record, &record};
    ::SendMessageA(ui.Window(), WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&copyData));
    ASSERT_FALSE(FirstFrameBody(ui.output).empty());
    const DWORD start = ::GetTickCount();

    ui.thread.Handler()->WaitForCompletion(300);

    EXPECT_GE(::GetTickCount() - start, 250u);
}

TEST(BHOThreadWinTest, TheWakeUpMessageSendsTheFillScriptAsFormFill)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    LoginScriptTables tables;
    WriteLoginScript(tables, ui.link, "EXAMPLE.COM::pwd", "", "https://example.com/", "user", "alice", "pwd", "secret");

    ::PostMessageA(ui.Window(), Messages().coreWakeUp, 12, 34);

    EXPECT_EQ("{\"LoginData\":[{\"FieldName\":\"user\",\"FieldVal\":\"alice\"},{\"FieldName\":\"pwd\",\"FieldVal\":"
              "\"secret\"}],\"clickok\":\"true\",\"command\":\"FormFill\"}",
              FirstFrameBody(ui.output));
    EXPECT_EQ('\0', ui.objects.Block()->fieldScript[0]);
}

TEST(BHOThreadWinTest, AWakeUpWithoutAFillScriptSendsNothing)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    ui.link.ResetSharedData();

    ::SendMessageA(ui.Window(), Messages().coreWakeUp, 0, 0);
    ::SendMessageA(ui.Window(), WM_NULL, 0, 0); // the re-posted fill order has been served after this

    ::Sleep(100);
    EXPECT_EQ("", ui.output.Bytes());
}

TEST(BHOThreadWinTest, ThePromptWindowRequestWithoutAHandlerStillSetsTheEvent)
{
    CMemoryRegistry registry;
    CFakeLogSink logSink;
    CDebugLog log(logSink);
    CProcessQueryWin processes;
    CCoreObjectsWin objects(processes, log);
    CCoreLink link(objects, log);
    CKeySenderWin keys;
    CBHOThread notStarted(log, HandlerOver(link, registry, keys, log));
    CHandle event(::CreateEventA(nullptr, FALSE, FALSE, nullptr));

    notStarted.OnCreatePromptWnd(0, reinterpret_cast<LPARAM>(event.Get()));

    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(event.Get(), 0));
}

TEST(BHOThreadWinTest, AKeyTakenByTheInputMethodIsSeenAsItsVirtualKey)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    MSG message{};
    message.hwnd = ui.Window();
    message.message = WM_KEYDOWN;
    message.wParam = VK_PROCESSKEY;
    MSG otherKey = message;
    otherKey.wParam = 'A';

    EXPECT_FALSE(ui.thread.PreTranslateMessage(message));
    EXPECT_FALSE(ui.thread.PreTranslateMessage(otherKey));

    EXPECT_EQ(static_cast<WPARAM>(::ImmGetVirtualKey(ui.Window())), message.wParam);
    EXPECT_EQ(static_cast<WPARAM>('A'), otherKey.wParam);
}

TEST(BHOThreadWinTest, TwoHostsInOneSessionHaveWindowsOfTheSameClass)
{
    UiThread first;
    UiThread second;
    ASSERT_TRUE(first.started);
    ASSERT_TRUE(second.started);

    char firstClass[128] = {};
    char secondClass[128] = {};
    ::GetClassNameA(first.Window(), firstClass, sizeof firstClass);
    ::GetClassNameA(second.Window(), secondClass, sizeof secondClass);

    EXPECT_NE(first.Window(), second.Window());
    EXPECT_STREQ(firstClass, secondClass);
}

namespace
{
void PumpFor(DWORD milliseconds)
{
    const DWORD start = ::GetTickCount();
    while (::GetTickCount() - start < milliseconds)
    {
        MSG message;
        while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
            ::DispatchMessageA(&message);
        ::Sleep(5);
    }
}
} // namespace

TEST(BHOThreadWinTest, AFillOrderBeforeTheWindowHasAHandlerDoesNothing)
{
    CFakeLogSink logSink;
    CDebugLog log(logSink);
    CLockedSink output;
    CResponseWriter writer(output, log);
    CBHOWnd window(writer);
    ASSERT_TRUE(window.Create(nullptr));

    ::PostMessageA(window.Handle(), Messages().autoFill, 0, 0);
    ::PostMessageA(window.Handle(), Messages().coreWakeUp, 0, 0);
    PumpFor(100);

    EXPECT_EQ("", output.Bytes());
}

TEST(BHOThreadWinTest, APostedRecordThatTheWindowDidNotCopyIsIgnored)
{
    UiThread ui;
    ASSERT_TRUE(ui.started);
    BHOCopyData foreign;
    std::memset(&foreign, 0, sizeof foreign);
    std::strcpy(foreign.message, "forged");

    ::PostMessageA(ui.Window(), Messages().copyData, 0, reinterpret_cast<LPARAM>(&foreign));
    ::PostMessageA(ui.Window(), Messages().copyData, 0, 0x12345678);
    ::PostMessageA(ui.Window(), Messages().copyData, 0, 1); // a ticket the window never gave out
    ::SendMessageA(ui.Window(), WM_NULL, 0, 0);
    ::Sleep(50);

    EXPECT_EQ("", ui.output.Bytes());
    EXPECT_TRUE(::IsWindow(ui.Window()));
}
