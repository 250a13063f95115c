#include "tools/nmclient/NmSession.h"

#include "messaging/Utf8Name.h"

#include <json/json.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace
{
std::uint32_t LittleEndian32(const std::string& bytes)
{
    return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[0])) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[1])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[2])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[3])) << 24;
}

bool ParseJson(const std::string& text, Json::Value& value, std::string* errors)
{
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["collectComments"] = false;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string ignored;
    return reader->parse(text.data(), text.data() + text.size(), &value, errors ? errors : &ignored);
}

std::string IdText(const Json::Value& id)
{
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, id);
}

// The JSON library's multi-line error text on one line.
std::string OneLine(const std::string& text)
{
    std::string line;
    for (char c : text)
    {
        const bool space = c == '\n' || c == '\r' || c == '\t' || c == ' ';
        if (!space)
            line += c;
        else if (!line.empty() && line.back() != ' ')
            line += ' ';
    }
    while (!line.empty() && line.back() == ' ')
        line.pop_back();
    return line;
}

std::string Trimmed(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return std::string();
    const std::size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

bool ReadMilliseconds(const std::string& text, std::uint32_t& ms)
{
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    ms = static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
    return true;
}
} // namespace

std::vector<ReceivedFrame> CFrameAssembler::Feed(const char* data, std::size_t size)
{
    std::vector<ReceivedFrame> frames;
    if (m_broken)
        return frames;
    m_pending.append(data, size);
    std::size_t offset = 0;
    while (m_pending.size() - offset >= 4)
    {
        const std::uint32_t length = LittleEndian32(m_pending.substr(offset, 4));
        if (length > kClientMaxFrame)
        {
            ReceivedFrame frame;
            frame.fatal = true;
            frame.problem = "length " + std::to_string(length) + " is beyond any message a browser accepts (" +
                            std::to_string(kBrowserMaxHostMessage) + " bytes); the rest of the output is not read";
            frames.push_back(std::move(frame));
            m_broken = true;
            m_pending.clear();
            return frames;
        }
        if (m_pending.size() - offset - 4 < length)
            break;
        ReceivedFrame frame;
        frame.body = m_pending.substr(offset + 4, length);
        frame.problem = CheckFrameBody(frame.body);
        frame.usable = frame.problem.empty();
        if (frame.usable && length > kBrowserMaxHostMessage)
            frame.problem = "larger than the " + std::to_string(kBrowserMaxHostMessage) + " bytes a browser accepts";
        frames.push_back(std::move(frame));
        offset += 4 + static_cast<std::size_t>(length);
    }
    m_pending.erase(0, offset);
    return frames;
}

std::string CFrameAssembler::Finish() const
{
    if (m_broken || m_pending.empty())
        return std::string();
    if (m_pending.size() < 4)
        return "the output ended inside a frame's length (" + std::to_string(m_pending.size()) + " of 4 bytes)";
    return "the output ended inside a frame: " + std::to_string(m_pending.size() - 4) + " of " +
           std::to_string(LittleEndian32(m_pending)) + " body bytes";
}

std::string CheckFrameBody(const std::string& body)
{
    if (body.empty())
        return "empty body";
    if (body.find('\0') != std::string::npos)
        return "the body holds a NUL byte";
    if (!IsUtf8Text(body.c_str()))
        return "the body is not UTF-8 text";
    Json::Value value;
    std::string errors;
    if (!ParseJson(body, value, &errors))
        return "the body is not JSON: " + OneLine(errors);
    return std::string();
}

std::optional<std::string> MessageId(const std::string& body)
{
    Json::Value value;
    if (!ParseJson(body, value, nullptr) || !value.isObject() || !value.isMember("id"))
        return std::nullopt;
    return IdText(value["id"]);
}

namespace
{
// The request's "id" when the host can read it back (a whole number other than -1).
std::optional<std::string> UsableId(const std::string& body)
{
    Json::Value value;
    if (!ParseJson(body, value, nullptr) || !value.isObject() || !value["id"].isInt() || value["id"].asInt() == -1)
        return std::nullopt;
    return IdText(value["id"]);
}

bool IsAnswer(const std::string& body)
{
    Json::Value value;
    return ParseJson(body, value, nullptr) && value.isObject() &&
           (value.isMember("id") || value.isMember("CommandError"));
}
} // namespace

std::size_t CRequestTracker::Sent(const std::string& body, Clock::time_point when)
{
    const Pending pending{++m_count, when};
    const std::optional<std::string> id = UsableId(body);
    if (id)
        m_byId.emplace(*id, pending);
    else
        m_withoutId.push_back(pending);
    return pending.number;
}

CRequestTracker::Match CRequestTracker::Received(const std::string& body, Clock::time_point when)
{
    Match match;
    std::optional<Pending> found;
    const std::optional<std::string> id = MessageId(body);
    const auto byId = id ? m_byId.find(*id) : m_byId.end();
    if (byId != m_byId.end())
    {
        found = byId->second;
        m_byId.erase(byId);
    }
    else if (!m_withoutId.empty() && IsAnswer(body))
    {
        found = m_withoutId.front();
        m_withoutId.pop_front();
    }
    if (!found)
        return match;
    match.answer = true;
    match.request = found->number;
    match.roundTripMs = std::chrono::duration<double, std::milli>(when - found->sent).count();
    m_roundTrips.push_back(match.roundTripMs);
    return match;
}

std::vector<std::size_t> CRequestTracker::WaitingRequests() const
{
    std::vector<std::size_t> numbers;
    for (const auto& entry : m_byId)
        numbers.push_back(entry.second.number);
    for (const Pending& pending : m_withoutId)
        numbers.push_back(pending.number);
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

ScriptLine ParseScriptLine(std::string line)
{
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.pop_back();
    ScriptLine parsed;
    const std::string trimmed = Trimmed(line);
    if (trimmed.empty() || trimmed[0] == '#')
        return parsed;
    if (trimmed[0] != '!')
    {
        parsed.kind = ScriptLine::Kind::Send;
        parsed.text = line;
        return parsed;
    }
    const std::size_t space = trimmed.find(' ');
    const std::string word = trimmed.substr(0, space);
    const std::string argument = space == std::string::npos ? std::string() : Trimmed(trimmed.substr(space));
    if (word == "!sleep" && ReadMilliseconds(argument, parsed.ms))
        parsed.kind = ScriptLine::Kind::Sleep;
    else if (word == "!wait" && (argument.empty() || ReadMilliseconds(argument, parsed.ms)))
        parsed.kind = ScriptLine::Kind::Wait;
    else if (word == "!close" && argument.empty())
        parsed.kind = ScriptLine::Kind::Close;
    else
    {
        parsed.kind = ScriptLine::Kind::Invalid;
        parsed.text = "not a client command (\"!sleep MS\", \"!wait [MS]\", \"!close\"): " + trimmed;
    }
    return parsed;
}

std::string Timestamp(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "[%9.3f] ", seconds);
    return text;
}

void MedianAndMax(std::vector<double> values, double& median, double& largest)
{
    median = largest = 0;
    if (values.empty())
        return;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    median = values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
    largest = values.back();
}
