#pragma once
// Which thread an object belongs to, checked in debug builds, as Chromium's THREAD_CHECKER: the host has a main
// thread (frames, commands) and a UI thread (windows, the prompt, the focus hook), and what one owns the other only
// reaches through a sent message, a value in a message, or an atomic. A checker binds to the first thread that asks
// (so an object made on one thread for use on another binds where it is used); release builds check nothing.
//
//   class CFoo { void Work() { LVBHO_CHECK_THREAD(m_thread); ... } CThreadChecker m_thread; };

#include <cassert>
#include <mutex>
#include <thread>

#ifndef NDEBUG
class CThreadChecker
{
public:
    // True on the thread the checker is bound to, binding it to the calling thread first if it is free.
    bool CalledOnValidThread() const
    {
        const std::thread::id self = std::this_thread::get_id();
        std::lock_guard<std::mutex> lock(m_lock);
        if (m_owner == std::thread::id())
            m_owner = self;
        return m_owner == self;
    }
    // Frees the checker, for an object handed to another thread.
    void Detach()
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_owner = std::thread::id();
    }

private:
    mutable std::mutex m_lock;
    mutable std::thread::id m_owner;
};
#define LVBHO_CHECK_THREAD(checker) assert((checker).CalledOnValidThread() && "called on the wrong thread")
#else
class CThreadChecker
{
public:
    bool CalledOnValidThread() const { return true; }
    void Detach() {}
};
#define LVBHO_CHECK_THREAD(checker) static_cast<void>(checker)
#endif
