#include "autofill/KeySenderWin.h"

#include "messaging/JsonCppWrapper.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

namespace
{
struct SeenKey
{
    DWORD virtualKey;
    DWORD flags;
    DWORD time;
};

std::mutex g_seenLock;
std::vector<SeenKey> g_seen;

LRESULT CALLBACK RecordKey(int code, WPARAM wParam, LPARAM lParam)
{
    if (code == HC_ACTION)
    {
        const auto* key = reinterpret_cast<const KBDLLHOOKSTRUCT*>(lParam);
        std::lock_guard<std::mutex> lock(g_seenLock);
        g_seen.push_back(
            {key->vkCode, key->flags | (wParam == WM_KEYUP || wParam == WM_SYSKEYUP ? 0x80u : 0u), key->time});
    }
    return ::CallNextHookEx(nullptr, code, wParam, lParam);
}

// Watches the system's keyboard input from a thread of its own, as another program would see the keys.
class CKeyWatcher
{
public:
    CKeyWatcher()
    {
        {
            std::lock_guard<std::mutex> lock(g_seenLock);
            g_seen.clear();
        }
        m_thread = std::thread([this] {
            MSG message;
            ::PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
            HHOOK hook = ::SetWindowsHookExA(WH_KEYBOARD_LL, &RecordKey, ::GetModuleHandleA(nullptr), 0);
            m_threadId = ::GetCurrentThreadId();
            m_hooked = hook != nullptr;
            m_ready = true;
            while (::GetMessageA(&message, nullptr, 0, 0) > 0)
                ::DispatchMessageA(&message);
            if (hook)
                ::UnhookWindowsHookEx(hook);
        });
        while (!m_ready)
            ::Sleep(1);
    }
    ~CKeyWatcher()
    {
        ::PostThreadMessageA(m_threadId, WM_QUIT, 0, 0);
        m_thread.join();
    }
    bool Hooked() const { return m_hooked; }

    // The keys seen so far, once `count` have come or after two seconds.
    std::vector<SeenKey> Seen(std::size_t count)
    {
        for (int attempt = 0; attempt < 200; ++attempt)
        {
            {
                std::lock_guard<std::mutex> lock(g_seenLock);
                if (g_seen.size() >= count)
                    break;
            }
            ::Sleep(10);
        }
        ::Sleep(50); // anything that should not come would have come by now
        std::lock_guard<std::mutex> lock(g_seenLock);
        return g_seen;
    }

private:
    std::thread m_thread;
    std::atomic<DWORD> m_threadId{0};
    std::atomic<bool> m_hooked{false};
    std::atomic<bool> m_ready{false};
};
} // namespace

TEST(KeySenderWinTest, KeyeventTypesKeyDownsOnlyInTheirOrder)
{
    CKeyWatcher watcher;
    ASSERT_TRUE(watcher.Hooked());
    CKeySenderWin keys;
    JsonCPPWrapper request;
    ASSERT_TRUE(request.Parse("{\"vk\":[65,66],\"sleep\":0}"));

    EXPECT_EQ(0u, KeyEvent(request, keys));

    const std::vector<SeenKey> seen = watcher.Seen(2);
    ASSERT_EQ(2u, seen.size());
    EXPECT_EQ(65u, seen[0].virtualKey);
    EXPECT_EQ(66u, seen[1].virtualKey);
    for (const SeenKey& key : seen)
    {
        EXPECT_EQ(0u, key.flags & 0x80u) << "a key-up was typed";
        EXPECT_NE(0u, key.flags & LLKHF_INJECTED);
    }
}

TEST(KeySenderWinTest, ThePauseComesAfterEachKey)
{
    CKeyWatcher watcher;
    ASSERT_TRUE(watcher.Hooked());
    CKeySenderWin keys;
    JsonCPPWrapper request;
    ASSERT_TRUE(request.Parse("{\"vk\":[9,13],\"sleep\":60}"));
    const DWORD start = ::GetTickCount();

    EXPECT_EQ(0u, KeyEvent(request, keys));

    // Both pauses are waited (the tick count moves in steps of up to about 16 ms), the first between the keys.
    EXPECT_GE(::GetTickCount() - start, 100u);
    const std::vector<SeenKey> seen = watcher.Seen(2);
    ASSERT_EQ(2u, seen.size());
    EXPECT_GE(seen[1].time - seen[0].time, 45u);
}

TEST(KeySenderWinTest, AnEmptyListTypesNothing)
{
    CKeyWatcher watcher;
    ASSERT_TRUE(watcher.Hooked());
    CKeySenderWin keys;
    JsonCPPWrapper request;
    ASSERT_TRUE(request.Parse("{\"vk\":[],\"sleep\":0}"));

    EXPECT_EQ(0u, KeyEvent(request, keys));

    EXPECT_TRUE(watcher.Seen(1).empty());
}
