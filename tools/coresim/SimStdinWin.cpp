#include "tools/coresim/SimStdinWin.h"

#include "framework/Unique.h"

#include <deque>
#include <mutex>
#include <thread>

struct CSimStdinReader::State
{
    CHandle ready;
    std::mutex lock;
    std::deque<std::string> lines;
    bool ended = false;

    void Push(std::string line)
    {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        {
            const std::lock_guard<std::mutex> hold(lock);
            lines.push_back(std::move(line));
        }
        ::SetEvent(ready.Get());
    }

    void End()
    {
        {
            const std::lock_guard<std::mutex> hold(lock);
            ended = true;
        }
        ::SetEvent(ready.Get());
    }
};

namespace
{
// Raw ReadFile rather than the C runtime's stdin: a thread blocked inside the runtime would hold its stream lock,
// and the runtime's exit code takes that lock.
void ReadLines(const std::shared_ptr<CSimStdinReader::State>& state)
{
    const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
    std::string pending;
    char buffer[4096];
    DWORD got = 0;
    while (input && input != INVALID_HANDLE_VALUE && ::ReadFile(input, buffer, sizeof(buffer), &got, nullptr) &&
           got > 0)
    {
        pending.append(buffer, got);
        std::size_t end = 0;
        while ((end = pending.find('\n')) != std::string::npos)
        {
            state->Push(pending.substr(0, end));
            pending.erase(0, end + 1);
        }
    }
    if (!pending.empty())
        state->Push(pending);
    state->End();
}
} // namespace

bool CSimStdinReader::Start(std::string& error)
{
    auto state = std::make_shared<State>();
    state->ready.Attach(::CreateEventA(nullptr, FALSE, FALSE, nullptr));
    if (!state->ready.IsValid())
    {
        const DWORD lastError = ::GetLastError();
        error = "CreateEventA failed with " + std::to_string(lastError);
        return false;
    }
    m_state = state;
    try
    {
        std::thread(ReadLines, state).detach();
    }
    catch (const std::system_error& failure)
    {
        error = std::string("cannot start the stdin thread: ") + failure.what();
        m_state.reset();
        return false;
    }
    return true;
}

HANDLE CSimStdinReader::LinesReady() const noexcept
{
    return m_state ? m_state->ready.Get() : nullptr;
}

bool CSimStdinReader::Next(std::string& line, bool& ended)
{
    ended = false;
    if (!m_state)
        return false;
    const std::lock_guard<std::mutex> hold(m_state->lock);
    if (m_state->lines.empty())
    {
        ended = m_state->ended;
        return false;
    }
    line = std::move(m_state->lines.front());
    m_state->lines.pop_front();
    return true;
}
