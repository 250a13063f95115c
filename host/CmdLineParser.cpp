#include "host/CmdLineParser.h"

namespace
{
constexpr const char* kKeyDelimiters = "-/:";
constexpr const char* kValueSeparators = " :";
constexpr char kQuote = '"';
} // namespace

// The walk is byte by byte. In every multibyte code page Windows has, trail bytes are 0x40 or above, so they never
// equal a delimiter, a separator or the quote: stepping by characters would find the same positions.

CCmdLineParser::CCmdLineParser(const char* commandLine, bool caseSensitive) : m_caseSensitive(caseSensitive)
{
    if (commandLine != nullptr)
        Parse(commandLine);
}

std::string CCmdLineParser::Normalise(std::string key) const
{
    if (!m_caseSensitive)
        for (char& c : key)
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
    return key;
}

void CCmdLineParser::Store(const std::string& key, const std::string& value)
{
    // A key given twice keeps its first value.
    m_keys.emplace(Normalise(key), value);
}

bool CCmdLineParser::Parse(const char* commandLine)
{
    m_commandLine = commandLine ? commandLine : "";
    m_keys.clear();
    const std::string& line = m_commandLine;
    const std::size_t end = line.size();

    std::size_t position = 0;
    while (position < end)
    {
        const std::size_t delimiter = line.find_first_of(kKeyDelimiters, position);
        if (delimiter == std::string::npos)
            break;
        const std::size_t keyStart = delimiter + 1;
        if (keyStart >= end)
            break;

        const std::size_t separator = line.find_first_of(kValueSeparators, keyStart);
        if (separator == std::string::npos)
        {
            Store(line.substr(keyStart), std::string());
            break;
        }
        const std::string key = line.substr(keyStart, separator - keyStart);
        if (line[separator] == ' ' || separator + 1 == end)
        {
            if (!key.empty())
                Store(key, std::string());
            position = separator + 1;
            continue;
        }

        std::size_t valueStart = separator + 1;
        std::size_t valueEnd;
        if (line[valueStart] == kQuote)
            valueEnd = line.find(kQuote, ++valueStart);
        else
            valueEnd = line.find(' ', valueStart);
        if (valueEnd == std::string::npos)
        {
            if (!key.empty())
                Store(key, valueStart < end ? line.substr(valueStart) : std::string());
            break;
        }
        if (!key.empty())
            Store(key, line.substr(valueStart, valueEnd - valueStart));
        position = valueEnd + 1;
    }
    return !m_keys.empty();
}

bool CCmdLineParser::HasKey(const char* key) const
{
    return key != nullptr && m_keys.count(Normalise(key)) != 0;
}

std::string CCmdLineParser::GetValue(const char* key) const
{
    if (key == nullptr)
        return std::string();
    auto found = m_keys.find(Normalise(key));
    return found == m_keys.end() ? std::string() : found->second;
}
