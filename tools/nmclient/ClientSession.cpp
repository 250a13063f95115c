#include "tools/nmclient/ClientSession.h"

#include "messaging/Framing.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <vector>

std::string PrintableBody(const std::string& bytes, std::size_t limit)
{
    std::string text;
    for (std::size_t i = 0; i < bytes.size() && i < limit; ++i)
    {
        const auto c = static_cast<unsigned char>(bytes[i]);
        if (c >= 0x20 && c < 0x7F)
            text += static_cast<char>(c);
        else
        {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", c);
            text += escaped;
        }
    }
    if (bytes.size() > limit)
        text += "...";
    return text;
}

CClientSession::CClientSession(IHostProcess& host, unsigned timeoutMs, LinePrinter print)
    : m_host(host), m_timeoutMs(timeoutMs), m_print(std::move(print)), m_start(Clock::now())
{
}

CClientSession::~CClientSession()
{
    if (!m_reader.joinable())
        return;
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_outputEnded)
    {
        lock.unlock();
        m_host.Kill();
        lock.lock();
    }
    const bool ended = m_changed.wait_for(lock, std::chrono::seconds(2), [this] { return m_outputEnded; });
    lock.unlock();
    if (ended)
        m_reader.join();
    else
        m_reader.detach();
}

void CClientSession::Start()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        Print("-- started host process " + std::to_string(m_host.Id()));
    }
    m_reader = std::thread([this] { ReadOutput(); });
}

void CClientSession::RunScript(std::istream& script)
{
    std::string line;
    std::size_t lineNumber = 0;
    while (std::getline(script, line))
    {
        ++lineNumber;
        const ScriptLine parsed = ParseScriptLine(line);
        switch (parsed.kind)
        {
        case ScriptLine::Kind::Skip:
            break;
        case ScriptLine::Kind::Send:
            Send(parsed.text);
            break;
        case ScriptLine::Kind::Sleep:
            std::this_thread::sleep_for(std::chrono::milliseconds(parsed.ms));
            break;
        case ScriptLine::Kind::Wait:
            WaitForAnswers(parsed.ms ? parsed.ms : m_timeoutMs);
            break;
        case ScriptLine::Kind::Close:
            CloseInput();
            break;
        case ScriptLine::Kind::Invalid:
            Note("!! line " + std::to_string(lineNumber) + " skipped: " + parsed.text);
            break;
        }
    }
}

void CClientSession::Send(const std::string& body)
{
    std::size_t number;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_sent;
        number = m_tracker.Sent(body, Clock::now());
        Print(">> #" + std::to_string(number) + " " + PrintableBody(body, body.size()) + " (" +
              std::to_string(body.size()) + " bytes)");
    }
    const std::string frame = EncodeFrameLength(static_cast<std::uint32_t>(body.size())) + body;
    if (!m_host.Write(frame.data(), frame.size()))
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        Print("!! request #" + std::to_string(number) + " was not delivered: the host's input is closed");
        ++m_problems;
    }
}

void CClientSession::WaitForAnswers(unsigned timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                       [this] { return m_tracker.Waiting() == 0 || m_outputEnded; });
}

void CClientSession::CloseInput()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_inputClosed)
        return;
    m_inputClosed = true;
    Print("-- the host's input is closed");
    m_host.CloseInput();
}

int CClientSession::Finish()
{
    WaitForAnswers(m_timeoutMs);
    CloseInput();
    std::optional<int> exitCode = m_host.WaitForExit(m_timeoutMs);
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!exitCode)
    {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.1f", m_timeoutMs / 1000.0);
        Print(std::string("!! the host did not exit within ") + seconds + " s of its input closing; ending it");
        ++m_problems;
        lock.unlock();
        m_host.Kill();
        exitCode = m_host.WaitForExit(5000);
        lock.lock();
    }
    // The output ends with the process; a descendant still holding it open is not waited for long.
    m_changed.wait_for(lock, std::chrono::seconds(2), [this] { return m_outputEnded; });

    const std::vector<std::size_t> unanswered = m_tracker.WaitingRequests();
    if (!unanswered.empty())
    {
        std::string list;
        for (std::size_t number : unanswered)
            list += (list.empty() ? "#" : ", #") + std::to_string(number);
        Print("!! no answer to request " + list);
    }
    double median = 0, largest = 0;
    MedianAndMax(m_tracker.RoundTrips(), median, largest);
    char times[96];
    std::snprintf(times, sizeof times, "round trip median %.3f ms, max %.3f ms", median, largest);
    const std::string exitText = exitCode ? "host exit code " + std::to_string(*exitCode) : "host still running";
    Print("-- " + std::to_string(m_sent) + " sent, " + std::to_string(m_tracker.RoundTrips().size()) + " answered, " +
          std::to_string(m_unsolicited) + " unsolicited, " + std::to_string(m_malformed) + " malformed; " + times +
          "; " + exitText);
    const bool clean = unanswered.empty() && m_malformed == 0 && m_problems == 0 && exitCode && *exitCode == 0;
    return clean ? 0 : 1;
}

void CClientSession::Note(const std::string& text)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Print(text);
}

void CClientSession::Print(const std::string& text)
{
    const double seconds = std::chrono::duration<double>(Clock::now() - m_start).count();
    m_print(Timestamp(seconds) + text);
}

void CClientSession::ReadOutput()
{
    std::vector<char> buffer(64 * 1024);
    for (;;)
    {
        const std::size_t count = m_host.Read(buffer.data(), buffer.size());
        const Clock::time_point when = Clock::now();
        std::lock_guard<std::mutex> lock(m_mutex);
        if (count == 0)
        {
            const std::string rest = m_assembler.Finish();
            if (!rest.empty())
            {
                Print("!! " + rest);
                ++m_malformed;
            }
            Print("-- the host's output has ended");
            m_outputEnded = true;
            m_changed.notify_all();
            return;
        }
        for (const ReceivedFrame& frame : m_assembler.Feed(buffer.data(), count))
            Show(frame, when);
        m_changed.notify_all();
    }
}

void CClientSession::Show(const ReceivedFrame& frame, Clock::time_point when)
{
    if (!frame.problem.empty())
    {
        ++m_malformed;
        Print("!! malformed frame (" + std::to_string(frame.body.size()) + " bytes): " + frame.problem +
              (frame.body.empty() ? "" : ": " + PrintableBody(frame.body)));
        if (!frame.usable)
            return;
    }
    const CRequestTracker::Match match = m_tracker.Received(frame.body, when);
    std::string note = std::to_string(frame.body.size()) + " bytes; ";
    if (match.answer)
    {
        char rtt[32];
        std::snprintf(rtt, sizeof rtt, "%.3f ms", match.roundTripMs);
        note += "answer to #" + std::to_string(match.request) + " after " + rtt;
    }
    else
    {
        ++m_unsolicited;
        note += "unsolicited";
    }
    Print("<< " + frame.body + " (" + note + ")");
}
