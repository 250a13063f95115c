#include "corelink/CopyDataSenderWin.h"

#include "framework/Unique.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

namespace
{
// A stand-in for the core's window on a thread of its own, which serves its messages until told to stop, or never
// serves them (a hung core).
class CoreWindowThread
{
public:
    explicit CoreWindowThread(bool serves) : m_serves(serves)
    {
        m_thread = std::thread([this] { Run(); });
        ::WaitForSingleObject(m_ready.Get(), 5000);
    }
    ~CoreWindowThread()
    {
        ::SetEvent(m_release.Get());
        if (m_window)
            ::PostMessageA(m_window, WM_CLOSE, 0, 0);
        m_thread.join();
    }

    HWND Window() const { return m_window; }
    std::string Received() const { return m_received; }

private:
    static LRESULT CALLBACK Proc(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
    {
        auto* self = reinterpret_cast<CoreWindowThread*>(::GetWindowLongPtrA(window, GWLP_USERDATA));
        if (message == WM_COPYDATA && self)
        {
            const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
            if (data->cbData == sizeof(BHOCopyData))
                self->m_received = static_cast<const BHOCopyData*>(data->lpData)->strDevId;
            return 1;
        }
        if (message == WM_CLOSE)
        {
            ::DestroyWindow(window);
            ::PostQuitMessage(0);
            return 0;
        }
        return ::DefWindowProcA(window, message, wParam, lParam);
    }

    void Run()
    {
        WNDCLASSA windowClass{};
        windowClass.lpfnWndProc = Proc;
        windowClass.hInstance = ::GetModuleHandleA(nullptr);
        windowClass.lpszClassName = "LvbhoCopyDataTestCore";
        ::RegisterClassA(&windowClass);
        m_window = ::CreateWindowExA(0, windowClass.lpszClassName, "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                     windowClass.hInstance, nullptr);
        ::SetWindowLongPtrA(m_window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        ::SetEvent(m_ready.Get());
        if (!m_serves)
        {
            ::WaitForSingleObject(m_release.Get(), INFINITE); // hung: nothing is served until the test ends
        }
        MSG message;
        while (::GetMessageA(&message, nullptr, 0, 0) > 0)
            ::DispatchMessageA(&message);
    }

    bool m_serves;
    CHandle m_ready{::CreateEventA(nullptr, TRUE, FALSE, nullptr)};
    CHandle m_release{::CreateEventA(nullptr, TRUE, FALSE, nullptr)};
    HWND m_window = nullptr;
    std::string m_received;
    std::thread m_thread;
};

BHOCopyData Pin()
{
    BHOCopyData record{};
    std::strcpy(record.strDevId, "44525675");
    std::strcpy(record.text2, "1234");
    return record;
}
} // namespace

TEST(CopyDataSenderWinTest, ACoreThatServesItsWindowGetsTheRecord)
{
    CoreWindowThread core(true);

    EXPECT_TRUE(SendCopyDataToCore(core.Window(), nullptr, Pin()));

    EXPECT_EQ("44525675", core.Received());
}

TEST(CopyDataSenderWinTest, AHungCoreIsGivenUpOnInsteadOfHoldingTheSender)
{
    CoreWindowThread core(false);
    const DWORD start = ::GetTickCount();

    EXPECT_FALSE(SendCopyDataToCore(core.Window(), nullptr, Pin(), 300));

    EXPECT_LT(::GetTickCount() - start, 3000u);
    EXPECT_EQ("", core.Received());
}
