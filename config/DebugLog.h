#pragma once
// The diagnostic log: off unless the registry value "lvDebugSupport" switches it on for this program. Each entry
// goes to the debugger output and is appended to C:\TEMP\<name>.txt, scrambled (+10 on every byte but 0, 9 and 10)
// so that it is not plain text on disk. Callers test Enabled(level) before they format anything.

#include "config/IRegistry.h"

#include <cstdarg>
#include <cstdint>
#include <string>

// What the log needs from the operating system. Calls may come from any thread.
class ILogSink
{
public:
    virtual ~ILogSink() = default;
    // The executable's base name, or "unknown".
    virtual std::string ExecutableName() = 0;
    // Local time as "hh:mm:ss" and the milliseconds of the current second.
    virtual void LocalTime(std::string& hhmmss, unsigned& milliseconds) = 0;
    virtual std::uint32_t ProcessId() = 0;
    virtual std::uint32_t ThreadId() = 0;
    virtual void DebugOutput(const char* text) = 0;
    virtual void CreateFolder(const std::string& path) = 0;
    // Opens the file for appending in text mode, writes the bytes, closes it; silently skipped on failure.
    virtual void AppendToFile(const std::string& path, const std::string& bytes) = 0;
};

// The switch's string value under HKLM\SOFTWARE\Kavrin\Lumivar.
inline constexpr const char* kDebugSwitchValue = "lvDebugSupport";

struct LogSwitch
{
    bool on = false;
    std::uint32_t level = 0xFFFFFFFF;
};

// Reads a "lvDebugSupport" value for the program `logName`: empty switches every program on at every level;
// otherwise the value must contain the name, and "Name;N" (before any "$") sets the level N.
LogSwitch ParseLogSwitch(const std::string& value, const std::string& logName);

// Adds 10 to every byte but 0, 9 and 10, modulo 256.
void ScrambleLogLine(std::string& line);

// Interprets `line` once more as a printf format with no arguments, as the file copy has always done, but with no
// undefined behaviour: a conversion that wants an argument expands as for a zero or null one, "%n" writes nothing,
// and widths and precisions are capped at kMaxFieldWidth.
std::string FormatLogLineAgain(const std::string& line);
inline constexpr int kMaxFieldWidth = 1024;

// vsnprintf into a string. Marked as printf-like, so that the compiler checks each caller's format and arguments.
std::string FormatLogText(const char* format, std::va_list args)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 0)))
#endif
    ;

class CDebugLog
{
public:
    explicit CDebugLog(ILogSink& sink) : m_sink(sink) {}

    // Reads the switch from HKLM\SOFTWARE\Kavrin\Lumivar. Returns 1 when the key opened (whatever the value).
    int Open(IRegistry& registry, const char* logName);

    bool Enabled(std::uint32_t level) const noexcept { return m_on && m_level >= level; }
    bool IsOn() const noexcept { return m_on; }
    std::uint32_t Level() const noexcept { return m_level; }
    const std::string& FilePath() const noexcept { return m_filePath; }

    // Writes unconditionally; callers have tested Enabled().
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    void
    Write(const char* format, ...) const;

    // A test seam: the host itself never turns scrambling off.
    void SetScramble(bool scramble) noexcept
    {
        m_scramble = scramble;
    }

private:
    ILogSink& m_sink;
    bool m_on = false;
    std::uint32_t m_level = 0xFFFFFFFF;
    bool m_scramble = true;
    std::string m_prefix;
    std::string m_filePath;
};
