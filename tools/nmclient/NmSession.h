#pragma once
// The bookkeeping of a native messaging client: frames cut out of the host's output as it arrives, requests
// matched with their answers by "id", and the lines of a session script. Portable; the process and the threads
// are the program's.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

// A browser refuses a message from a host that is larger than this.
inline constexpr std::uint32_t kBrowserMaxHostMessage = 1024u * 1024u;
// A length beyond this is taken as a broken stream: the client does not try to read such a body.
inline constexpr std::uint32_t kClientMaxFrame = 64u * 1024u * 1024u;

struct ReceivedFrame
{
    std::string body;
    std::string problem; // empty for a well-formed frame: a UTF-8 JSON object or value within the browser's limit
    bool usable = false; // the body is UTF-8 JSON (it may still be too large for a browser)
    bool fatal = false;  // the stream cannot be read on after this (a length beyond kClientMaxFrame)
};

// Cuts frames (4-byte little-endian length, then the body) out of the bytes the host writes, in any pieces.
class CFrameAssembler
{
public:
    // Appends bytes and returns the frames they complete. After a fatal frame, everything else is ignored.
    std::vector<ReceivedFrame> Feed(const char* data, std::size_t size);
    // What is left at the end of the output: empty, or a description of the unfinished frame.
    std::string Finish() const;

private:
    std::string m_pending;
    bool m_broken = false;
};

// Checks a frame body as a browser would: valid UTF-8 without NUL, one JSON value. Empty when it is acceptable.
std::string CheckFrameBody(const std::string& body);

// The "id" of a message as text ("7", "\"seven\""), or nothing when the text is not a JSON object with an "id".
std::optional<std::string> MessageId(const std::string& body);

using Clock = std::chrono::steady_clock;

// Requests that still wait for their answer.
class CRequestTracker
{
public:
    struct Match
    {
        bool answer = false;     // false: the frame is unsolicited
        std::size_t request = 0; // the request's number (1, 2, ...) when it is an answer
        double roundTripMs = 0;
    };

    // Records a sent request and returns its number.
    std::size_t Sent(const std::string& body, Clock::time_point when);
    // Matches a received frame: by "id" first; otherwise a frame that is an answer (it has an "id" or a
    // "CommandError") goes to the oldest waiting request whose own "id" the host cannot read back (missing, not a
    // whole number, or -1), which the host answers without an "id" or with one of its own. Anything else is
    // unsolicited.
    Match Received(const std::string& body, Clock::time_point when);

    std::size_t Waiting() const { return m_byId.size() + m_withoutId.size(); }
    std::vector<std::size_t> WaitingRequests() const;
    const std::vector<double>& RoundTrips() const { return m_roundTrips; }

private:
    struct Pending
    {
        std::size_t number;
        Clock::time_point sent;
    };
    std::size_t m_count = 0;
    std::multimap<std::string, Pending> m_byId;
    std::deque<Pending> m_withoutId;
    std::vector<double> m_roundTrips;
};

// One line of a session script (a JSON-lines file or what is typed).
struct ScriptLine
{
    enum class Kind
    {
        Skip,   // empty, or a comment starting with "#"
        Send,   // anything else: sent as it stands, so that malformed requests can be sent too
        Sleep,  // "!sleep MS"
        Wait,   // "!wait [MS]": until every request has its answer (or MS have passed)
        Close,  // "!close": end the host's input now
        Invalid // a "!" line that is none of the above
    };
    Kind kind = Kind::Skip;
    std::string text;     // the body to send, or why the line is invalid
    std::uint32_t ms = 0; // for Sleep and Wait (0: the session's time-out)
};
ScriptLine ParseScriptLine(std::string line);

// "[  12.345] " - seconds since the session started.
std::string Timestamp(double seconds);
// The median and the largest of `values`; both 0 for none.
void MedianAndMax(std::vector<double> values, double& median, double& largest);
