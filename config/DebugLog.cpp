#include "config/DebugLog.h"

#include "config/RegKey.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <vector>

namespace
{
constexpr std::size_t kHeaderBufferSize = 512;
constexpr std::uint32_t kSwitchBufferSize = 260;
constexpr const char* kLogFolder = "C:\\TEMP\\";

// strtoul with base 10 and a 32-bit unsigned long, as the Windows C library has it: an optional sign, saturation at
// 0xFFFFFFFF, and a minus sign negating in unsigned arithmetic.
std::uint32_t ParseLevel(const char* text)
{
    while (std::isspace(static_cast<unsigned char>(*text)))
        ++text;
    bool negative = false;
    if (*text == '+' || *text == '-')
        negative = *text++ == '-';
    std::uint64_t value = 0;
    bool overflow = false;
    for (; *text >= '0' && *text <= '9'; ++text)
    {
        value = value * 10 + static_cast<std::uint64_t>(*text - '0');
        if (value > 0xFFFFFFFFu)
        {
            overflow = true;
            value = 0xFFFFFFFFu;
        }
    }
    if (overflow)
        return 0xFFFFFFFFu;
    const auto level = static_cast<std::uint32_t>(value);
    return negative ? static_cast<std::uint32_t>(0u - level) : level;
}

// Formats one conversion with a zero or null argument. Flags and precision that C leaves undefined for the
// conversion ('#' outside o, x, a, e, f, g; '0' on c, s, p; a precision on c) are dropped first.
void AppendConversion(std::string& out, std::string flags, int width, int precision, char conversion)
{
    const bool integer = std::strchr("diouxX", conversion) != nullptr;
    const bool floating = std::strchr("aAeEfFgG", conversion) != nullptr;
    const bool signedConversion = conversion == 'd' || conversion == 'i' || floating;
    auto drop = [&flags](char flag) { flags.erase(std::remove(flags.begin(), flags.end(), flag), flags.end()); };
    if (!floating && std::strchr("oxX", conversion) == nullptr)
        drop('#');
    if (!integer && !floating)
        drop('0');
    if (!signedConversion)
    {
        drop('+');
        drop(' ');
    }
    if (conversion == 'c')
        precision = -1;

    if (conversion == 'p')
    {
        // The Windows C library prints a null pointer as sixteen zeros on 64-bit.
        const std::string digits(16, '0');
        const bool left = flags.find('-') != std::string::npos;
        const std::string pad(width > 16 ? static_cast<std::size_t>(width - 16) : 0u, ' ');
        out += left ? digits + pad : pad + digits;
        return;
    }

    std::string conversionFormat = "%" + flags;
    if (width > 0)
        conversionFormat += std::to_string(width);
    if (precision >= 0)
        conversionFormat += "." + std::to_string(precision);
    conversionFormat += conversion;

    char buffer[2 * kMaxFieldWidth + 64];
    int written = 0;
    // The one format that is not a literal: a single conversion rebuilt from the flags, width, precision and letter
    // read and checked above, with an argument of the type that letter takes.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
    if (conversion == 'd' || conversion == 'i' || conversion == 'c') // an int
        written = std::snprintf(buffer, sizeof(buffer), conversionFormat.c_str(), 0);
    else if (integer)
        written = std::snprintf(buffer, sizeof(buffer), conversionFormat.c_str(), 0u);
    else if (floating)
        written = std::snprintf(buffer, sizeof(buffer), conversionFormat.c_str(), 0.0);
    else if (conversion == 's')
        written = std::snprintf(buffer, sizeof(buffer), conversionFormat.c_str(), "(null)");
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
    if (written > 0)
        out.append(buffer, std::min(static_cast<std::size_t>(written), sizeof(buffer) - 1));
}
} // namespace

LogSwitch ParseLogSwitch(const std::string& value, const std::string& logName)
{
    LogSwitch result;
    if (value.empty())
    {
        result.on = true;
        return result;
    }
    if (value.find(logName) == std::string::npos)
        return result;
    result.on = true;
    const std::string beforeDollar = value.substr(0, value.find('$'));
    const std::size_t semicolon = beforeDollar.find(';');
    if (semicolon != std::string::npos)
        result.level = ParseLevel(value.c_str() + semicolon + 1);
    return result;
}

void ScrambleLogLine(std::string& line)
{
    for (char& c : line)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte != 0 && byte != 9 && byte != 10)
            c = static_cast<char>(static_cast<unsigned char>(byte + 10));
    }
}

std::string FormatLogLineAgain(const std::string& line)
{
    // The line is a C string to the formatter: it ends at its first NUL (a scrambled 0xF6 is one).
    const std::size_t n = std::min(line.size(), std::strlen(line.c_str()));
    std::string out;
    out.reserve(n);
    std::size_t i = 0;
    while (i < n)
    {
        if (line[i] != '%')
        {
            out += line[i++];
            continue;
        }
        const std::size_t start = i++;
        if (i < n && line[i] == '%')
        {
            out += '%';
            ++i;
            continue;
        }
        std::string flags;
        while (i < n && std::strchr("-+ #0", line[i]) != nullptr)
            flags += line[i++];
        int width = 0;
        if (i < n && line[i] == '*')
            ++i; // its argument would be a zero width
        else
            while (i < n && line[i] >= '0' && line[i] <= '9')
                width = std::min(kMaxFieldWidth, width * 10 + (line[i++] - '0'));
        int precision = -1;
        if (i < n && line[i] == '.')
        {
            ++i;
            precision = 0;
            if (i < n && line[i] == '*')
                ++i;
            else
                while (i < n && line[i] >= '0' && line[i] <= '9')
                    precision = std::min(kMaxFieldWidth, precision * 10 + (line[i++] - '0'));
        }
        // Size prefixes change nothing for a zero argument.
        while (i < n && std::strchr("hlLqjztwI", line[i]) != nullptr)
        {
            if (line.compare(i, 3, "I64") == 0 || line.compare(i, 3, "I32") == 0)
                i += 3;
            else
                ++i;
        }
        if (i >= n)
        {
            out.append(line, start, n - start);
            break;
        }
        char conversion = line[i++];
        if (conversion == 'n')
            continue;
        // The Windows C library's wide character (C), wide string (S) and counted string (Z) conversions.
        if (conversion == 'C')
            conversion = 'c';
        else if (conversion == 'S' || conversion == 'Z')
            conversion = 's';
        if (std::strchr("diuoxXcseEfFgGaAp", conversion) == nullptr)
        {
            out.append(line, start, i - start);
            continue;
        }
        AppendConversion(out, flags, width, precision, conversion);
    }
    return out;
}

std::string FormatLogText(const char* format, std::va_list args)
{
    std::va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length <= 0)
        return std::string();
    std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), format, args);
    return std::string(buffer.data(), static_cast<std::size_t>(length));
}

int CDebugLog::Open(IRegistry& registry, const char* logName)
{
    CRegKey key(registry);
    if (key.Open(kHkeyLocalMachine, "SOFTWARE\\Kavrin\\Lumivar", kKeyRead) != kRegOk)
        return 0;
    std::string value;
    if (key.QueryStringValue(kDebugSwitchValue, value, kSwitchBufferSize) != kRegOk)
        return 1;
    const LogSwitch logSwitch = ParseLogSwitch(value, logName);
    if (!logSwitch.on)
        return 1;
    m_on = true;
    m_level = logSwitch.level;

    char prefix[kHeaderBufferSize];
    std::snprintf(prefix, sizeof(prefix), "\r\n %s : ", logName);
    m_prefix = prefix;
    m_sink.CreateFolder(kLogFolder);
    m_filePath = std::string(kLogFolder) + logName + ".txt";
    return 1;
}

void CDebugLog::Write(const char* format, ...) const
{
    std::string time;
    unsigned milliseconds = 0;
    m_sink.LocalTime(time, milliseconds);
    const std::string exe = m_sink.ExecutableName();

    // The prefix and the header share one buffer of 512 bytes; what does not fit is cut.
    char header[kHeaderBufferSize];
    std::snprintf(header, sizeof(header), "%sTime:%s:%u - %s (PID:%x:%x:)-", m_prefix.c_str(), time.c_str(),
                  milliseconds, exe.c_str(), static_cast<unsigned>(m_sink.ProcessId()),
                  static_cast<unsigned>(m_sink.ThreadId()));

    std::va_list args;
    va_start(args, format);
    std::string line = header + FormatLogText(format, args);
    va_end(args);

    m_sink.DebugOutput(line.c_str());
    m_sink.DebugOutput("\r\n");

    if (m_scramble)
        ScrambleLogLine(line);
    m_sink.AppendToFile(m_filePath, FormatLogLineAgain(line));
}
