// LvNmClient: talks to a native messaging host as a browser does and shows every frame both ways.

#include "messaging/Framing.h"
#include "tools/nmclient/HostProcess.h"
#include "tools/nmclient/NmSession.h"

#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#define LV_ISATTY _isatty
#define LV_FILENO _fileno
#else
#include <unistd.h>
#define LV_ISATTY isatty
#define LV_FILENO fileno
#endif

namespace
{
constexpr const char* kUsage = "usage: LvNmClient [--input FILE] [--timeout SECONDS] [--] HOST-COMMAND [ARG...]\n"
                               "       LvNmClient --help\n";

constexpr const char* kHelp =
    "Starts HOST-COMMAND as a browser starts a native messaging host, sends it framed requests (a 4-byte\n"
    "little-endian length, then the UTF-8 JSON) and prints every frame in and out with the time since the start.\n"
    "Answers are matched to requests by \"id\" and shown with their round-trip time; a frame with a\n"
    "\"CommandError\" but no matching \"id\" answers the oldest request whose \"id\" the host cannot read (missing,\n"
    "not a whole number); other frames are shown as unsolicited. Malformed frames from the host (not UTF-8, not JSON, a NUL, larger than\n"
    "a browser accepts, cut off at the end) are reported with \"!!\".\n"
    "\n"
    "  --input FILE        the requests, one per line (JSON lines); without it they are read from standard\n"
    "                      input, so they can be typed\n"
    "  --timeout SECONDS   how long to wait for outstanding answers and for the host to exit (default 10)\n"
    "  -h, --help          this text\n"
    "\n"
    "Lines: a line is sent as it stands (so malformed requests can be sent too); empty lines and lines starting\n"
    "with \"#\" are skipped; \"!sleep MS\" pauses, \"!wait [MS]\" waits until every request has its answer,\n"
    "\"!close\" closes the host's input as a browser closing the port does.\n"
    "At the end of the input the client waits for the outstanding answers, closes the host's input, waits for\n"
    "the host to exit (ending it by force after the time-out) and prints a summary.\n"
    "\n"
    "Example: LvNmClient --input session.jsonl -- wine LVBHOHost.exe chrome-extension://<id>/\n"
    "\n"
    "Exit codes: 0 every request answered, no malformed frame and the host exited with 0 by itself;\n"
    "            1 otherwise; 2 bad arguments; 3 the host could not be started.\n";

struct Options
{
    std::string input;
    unsigned timeoutMs = 10000;
    std::vector<std::string> host;
};

int Usage(const std::string& problem)
{
    std::fprintf(stderr, "LvNmClient: %s\n%s", problem.c_str(), kUsage);
    return 2;
}

// A body that is not clean text, shown with its odd bytes escaped and cut after `limit` bytes.
std::string Printable(const std::string& bytes, std::size_t limit = 200)
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

class CSession
{
public:
    CSession(IHostProcess& host, unsigned timeoutMs) : m_host(host), m_timeoutMs(timeoutMs), m_start(Clock::now()) {}

    void StartReading()
    {
        std::thread([this] { ReadOutput(); }).detach();
    }

    void Send(const std::string& body)
    {
        std::size_t number;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            number = m_tracker.Sent(body, Clock::now());
            Print(">> #" + std::to_string(number) + " " + Printable(body, body.size()) + " (" +
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

    // Until every request has its answer, the output has ended, or `timeoutMs` have passed.
    void WaitForAnswers(unsigned timeoutMs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                           [this] { return m_tracker.Waiting() == 0 || m_outputEnded; });
    }

    void CloseInput()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_inputClosed)
            return;
        m_inputClosed = true;
        Print("-- the host's input is closed");
        m_host.CloseInput();
    }

    int Finish()
    {
        WaitForAnswers(m_timeoutMs);
        CloseInput();
        std::optional<int> exitCode = m_host.WaitForExit(m_timeoutMs);
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!exitCode)
        {
            Print("!! the host did not exit within " + std::to_string(m_timeoutMs / 1000.0).substr(0, 4) +
                  " s of its input closing; ending it");
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
        Print("-- " + std::to_string(m_sent) + " sent, " + std::to_string(m_tracker.RoundTrips().size()) +
              " answered, " + std::to_string(m_unsolicited) + " unsolicited, " + std::to_string(m_malformed) +
              " malformed; " + times + "; " + exitText);
        const bool clean = unanswered.empty() && m_malformed == 0 && m_problems == 0 && exitCode && *exitCode == 0;
        return clean ? 0 : 1;
    }

    void CountSent() { ++m_sent; }
    void Note(const std::string& text)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        Print(text);
    }

private:
    // Called with the lock held.
    void Print(const std::string& text)
    {
        const double seconds = std::chrono::duration<double>(Clock::now() - m_start).count();
        std::fputs((Timestamp(seconds) + text + "\n").c_str(), stdout);
        std::fflush(stdout);
    }

    void ReadOutput()
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

    void Show(const ReceivedFrame& frame, Clock::time_point when)
    {
        if (!frame.problem.empty())
        {
            ++m_malformed;
            Print("!! malformed frame (" + std::to_string(frame.body.size()) + " bytes): " + frame.problem +
                  (frame.body.empty() ? "" : ": " + Printable(frame.body)));
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

    IHostProcess& m_host;
    const unsigned m_timeoutMs;
    const Clock::time_point m_start;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    CFrameAssembler m_assembler;
    CRequestTracker m_tracker;
    bool m_outputEnded = false;
    bool m_inputClosed = false;
    std::size_t m_sent = 0;
    std::size_t m_unsolicited = 0;
    std::size_t m_malformed = 0;
    std::size_t m_problems = 0;
};

int ParseOptions(int argc, char** argv, Options& options)
{
    int i = 1;
    for (; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if (arg == "--")
        {
            ++i;
            break;
        }
        if (arg == "-h" || arg == "--help")
            return -1;
        if (arg == "--input" || arg == "--timeout")
        {
            if (i + 1 >= argc)
                return Usage(arg + " needs a value");
            const std::string value = argv[++i];
            if (arg == "--input")
                options.input = value;
            else
            {
                char* end = nullptr;
                const double seconds = std::strtod(value.c_str(), &end);
                if (end == value.c_str() || *end != '\0' || !(seconds > 0 && seconds <= 3600))
                    return Usage("--timeout takes a number of seconds from 0 to 3600");
                options.timeoutMs = static_cast<unsigned>(seconds * 1000);
            }
            continue;
        }
        if (arg.size() > 1 && arg[0] == '-')
            return Usage("unknown option " + arg);
        break;
    }
    for (; i < argc; ++i)
        options.host.push_back(argv[i]);
    if (options.host.empty())
        return Usage("no host command given");
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    Options options;
    const int parsed = ParseOptions(argc, argv, options);
    if (parsed == -1)
    {
        std::fputs(kUsage, stdout);
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (parsed != 0)
        return parsed;

    std::ifstream file;
    std::istream* input = &std::cin;
    if (!options.input.empty())
    {
        file.open(options.input, std::ios::binary);
        if (!file)
            return Usage("cannot read " + options.input);
        input = &file;
    }
    else if (LV_ISATTY(LV_FILENO(stdin)))
        std::fputs("LvNmClient: type one request per line; end with Ctrl-D (Ctrl-Z on Windows)\n", stderr);

    std::string error;
    const std::unique_ptr<IHostProcess> host = StartHostProcess(options.host, error);
    if (!host)
    {
        std::fprintf(stderr, "LvNmClient: %s\n", error.c_str());
        return 3;
    }
    CSession session(*host, options.timeoutMs);
    session.Note("-- started host process " + std::to_string(host->Id()));
    session.StartReading();

    std::string line;
    std::size_t lineNumber = 0;
    while (std::getline(*input, line))
    {
        ++lineNumber;
        const ScriptLine script = ParseScriptLine(line);
        switch (script.kind)
        {
        case ScriptLine::Kind::Skip:
            break;
        case ScriptLine::Kind::Send:
            session.CountSent();
            session.Send(script.text);
            break;
        case ScriptLine::Kind::Sleep:
            std::this_thread::sleep_for(std::chrono::milliseconds(script.ms));
            break;
        case ScriptLine::Kind::Wait:
            session.WaitForAnswers(script.ms ? script.ms : options.timeoutMs);
            break;
        case ScriptLine::Kind::Close:
            session.CloseInput();
            break;
        case ScriptLine::Kind::Invalid:
            session.Note("!! line " + std::to_string(lineNumber) + " skipped: " + script.text);
            break;
        }
    }
    const int result = session.Finish();
    std::fflush(stdout);
    // The reader thread may still be blocked on an output a descendant of the host keeps open.
    std::_Exit(result);
}
