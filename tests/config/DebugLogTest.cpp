#include "config/DebugLog.h"

#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeLogSink.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace
{
constexpr const char* kKey = "HKLM\\SOFTWARE\\Kavrin\\Lumivar";

struct OpenedLog
{
    explicit OpenedLog(const char* switchValue, const char* name = "LVBHOHost") : log(sink)
    {
        if (switchValue != nullptr)
            registry.SetString(kKey, "lvDebugSupport", switchValue);
        else
            registry.SetString(kKey, "InstallDir", "C:\\Lumivar\\");
        opened = log.Open(registry, name);
    }

    CMemoryRegistry registry;
    CFakeLogSink sink;
    CDebugLog log;
    int opened = 0;
};

struct Expansion
{
    std::string format;
    std::string expected;
};

void ExpectExpansions(std::initializer_list<Expansion> expansions)
{
    for (const Expansion& expansion : expansions)
        EXPECT_EQ(expansion.expected, FormatLogLineAgain(expansion.format)) << expansion.format;
}
} // namespace

TEST(LogSwitchTest, EmptyValueSwitchesEveryProgramOnAtEveryLevel)
{
    const LogSwitch s = ParseLogSwitch("", "LVBHOHost");

    EXPECT_TRUE(s.on);
    EXPECT_EQ(0xFFFFFFFFu, s.level);
}

TEST(LogSwitchTest, NameWithLevel)
{
    const LogSwitch s = ParseLogSwitch("LVBHOHost;3", "LVBHOHost");

    EXPECT_TRUE(s.on);
    EXPECT_EQ(3u, s.level);
}

TEST(LogSwitchTest, NameIsASubstringAndCaseSensitive)
{
    EXPECT_TRUE(ParseLogSwitch("Other,LVBHOHost,More", "LVBHOHost").on);
    EXPECT_FALSE(ParseLogSwitch("lvbhohost", "LVBHOHost").on);
    EXPECT_FALSE(ParseLogSwitch("LvEngine;52", "LVBHOHost").on);
}

TEST(LogSwitchTest, LevelIsReadAfterTheFirstSemicolonBeforeTheDollar)
{
    EXPECT_EQ(52u, ParseLogSwitch("Other;52,LVBHOHost;3", "LVBHOHost").level);
    EXPECT_EQ(0xFFFFFFFFu, ParseLogSwitch("LVBHOHost$;3", "LVBHOHost").level);
    EXPECT_EQ(7u, ParseLogSwitch("LVBHOHost;7$x", "LVBHOHost").level);
    EXPECT_EQ(0u, ParseLogSwitch("LVBHOHost;abc", "LVBHOHost").level);
    EXPECT_EQ(12u, ParseLogSwitch("LVBHOHost; 12x", "LVBHOHost").level);
}

TEST(LogSwitchTest, LevelReadsAsA32BitStrtoul)
{
    EXPECT_EQ(0xFFFFFFFFu, ParseLogSwitch("LVBHOHost;-1", "LVBHOHost").level);
    EXPECT_EQ(0xFFFFFFFFu, ParseLogSwitch("LVBHOHost;99999999999", "LVBHOHost").level);
    EXPECT_EQ(4294967295u, ParseLogSwitch("LVBHOHost;4294967295", "LVBHOHost").level);
}

TEST(DebugLogTest, AbsentSwitchLeavesLoggingOff)
{
    OpenedLog run(nullptr);

    EXPECT_EQ(1, run.opened);
    EXPECT_FALSE(run.log.IsOn());
    EXPECT_FALSE(run.log.Enabled(0));
    EXPECT_TRUE(run.sink.m_folders.empty());
}

TEST(DebugLogTest, MissingProductKeyAnswersZero)
{
    CMemoryRegistry registry;
    CFakeLogSink sink;
    CDebugLog log(sink);

    EXPECT_EQ(0, log.Open(registry, "LVBHOHost"));
    EXPECT_FALSE(log.IsOn());
}

TEST(DebugLogTest, SwitchOfTheWrongTypeLeavesLoggingOff)
{
    CMemoryRegistry registry;
    registry.SetDword(kKey, "lvDebugSupport", 1);
    CFakeLogSink sink;
    CDebugLog log(sink);

    EXPECT_EQ(1, log.Open(registry, "LVBHOHost"));
    EXPECT_FALSE(log.IsOn());
}

TEST(DebugLogTest, SwitchLongerThanItsBufferLeavesLoggingOff)
{
    OpenedLog run(("LVBHOHost;3" + std::string(300, ' ')).c_str());

    EXPECT_FALSE(run.log.IsOn());
}

TEST(DebugLogTest, EmptySwitchLogsEveryLevel)
{
    OpenedLog run("");

    EXPECT_TRUE(run.log.Enabled(3));
    EXPECT_TRUE(run.log.Enabled(52));
    EXPECT_TRUE(run.log.Enabled(0xFFFFFFFFu));
    EXPECT_EQ("C:\\TEMP\\LVBHOHost.txt", run.log.FilePath());
    EXPECT_EQ((std::vector<std::string>{"C:\\TEMP\\"}), run.sink.m_folders);
}

TEST(DebugLogTest, LevelTwoKeepsTheLevelThreeTrafficOut)
{
    OpenedLog run("LVBHOHost;2");

    EXPECT_TRUE(run.log.Enabled(2));
    EXPECT_TRUE(run.log.Enabled(1));
    EXPECT_FALSE(run.log.Enabled(3));
}

TEST(DebugLogTest, AnotherProgramsNameDoesNotSwitchTheHostOn)
{
    OpenedLog run("LvEngine");

    EXPECT_FALSE(run.log.IsOn());
}

TEST(DebugLogTest, EntryHasPrefixAndHeaderAndGoesToTheDebuggerPlain)
{
    OpenedLog run("LVBHOHost;3");

    run.log.Write("count %d", 5);

    EXPECT_EQ(
        (std::vector<std::string>{"\r\n LVBHOHost : Time:12:34:56:789 - LVBHOHost.exe (PID:1a2b:3c:)-count 5", "\r\n"}),
        run.sink.m_debugOutput);
}

TEST(DebugLogTest, FileCopyIsScrambled)
{
    OpenedLog run("");

    run.log.Write("%s", "A\xFA\t");

    ASSERT_EQ(1u, run.sink.m_fileWrites.size());
    const std::string& written = run.sink.m_fileWrites[0];
    EXPECT_EQ("C:\\TEMP\\LVBHOHost.txt", run.sink.m_filePath);
    // "\r\n" of the prefix: CR is shifted, LF is not.
    EXPECT_EQ('\x17', written[0]);
    EXPECT_EQ('\n', written[1]);
    // The logged text at the end: 'A' + 10, byte 250 wraps to 4, tab stays.
    EXPECT_EQ(std::string("K\x04\t"), written.substr(written.size() - 3));
}

TEST(DebugLogTest, ScramblingShiftsEveryByteButNulTabAndLineFeed)
{
    std::string all;
    for (int b = 0; b < 256; ++b)
        all += static_cast<char>(b);

    ScrambleLogLine(all);

    for (int b = 0; b < 256; ++b)
    {
        const int expected = (b == 0 || b == 9 || b == 10) ? b : (b + 10) % 256;
        EXPECT_EQ(expected, static_cast<unsigned char>(all[static_cast<std::size_t>(b)])) << b;
    }
}

TEST(DebugLogTest, PercentSInLoggedTextIsExpandedAgainInTheFile)
{
    OpenedLog run("");
    run.log.SetScramble(false);

    run.log.Write("MainHandler command - %s", "{\"a\":\"%s\"}");

    ASSERT_EQ(1u, run.sink.m_fileWrites.size());
    const std::string& written = run.sink.m_fileWrites[0];
    EXPECT_EQ("MainHandler command - {\"a\":\"(null)\"}", written.substr(written.find(")-") + 2));
    EXPECT_NE(std::string::npos, run.sink.m_debugOutput[0].find("{\"a\":\"%s\"}"));
}

TEST(DebugLogTest, ScrambledPercentCannotReachTheFormatter)
{
    OpenedLog run("");

    run.log.Write("%s", "%s%d%n");

    const std::string& written = run.sink.m_fileWrites.at(0);
    EXPECT_EQ("/}/n/x", written.substr(written.size() - 6)); // '%' + 10 is '/'
}

TEST(FormatLogLineAgainTest, ConversionsExpandAsForAZeroOrNullArgument)
{
    ExpectExpansions({
        {"a%db", "a0b"},
        {"%i %u %x %o", "0 0 0 0"},
        {"%s", "(null)"},
        {"%f", "0.000000"},
        {"%p", "0000000000000000"},
        {"x%cy", std::string("x\0y", 3)},
        {"%lld", "0"},
        {"%I64u", "0"},
        {"%hhx", "0"},
    });
}

TEST(FormatLogLineAgainTest, FlagsWidthAndPrecisionApply)
{
    ExpectExpansions({
        {"%4d", "   0"},
        {"%-4d|", "0   |"},
        {"%04x", "0000"},
        {"%.3s", "(nu"},
        {"%*d", "0"},
        {"%+d", "+0"},
    });
}

TEST(FormatLogLineAgainTest, PercentNWritesNothingAndDoublePercentIsOne)
{
    ExpectExpansions({
        {"a%nb", "ab"},
        {"100%%", "100%"},
    });
}

TEST(FormatLogLineAgainTest, UnknownAndUnfinishedConversionsStayAsWritten)
{
    ExpectExpansions({
        {"%y", "%y"},
        {"end %", "end %"},
        {"end %-5", "end %-5"},
    });
}

TEST(FormatLogLineAgainTest, HugeWidthsAreCapped)
{
    EXPECT_EQ(static_cast<std::size_t>(kMaxFieldWidth), FormatLogLineAgain("%999999999d").size());
    EXPECT_EQ(static_cast<std::size_t>(kMaxFieldWidth), FormatLogLineAgain("%.999999999d").size());
}

TEST(FormatLogLineAgainTest, PlainTextIsUnchanged)
{
    const std::string text("\r\n LVBHOHost : Time:1 - x (PID:1:2:)-{\"a\":1}");

    EXPECT_EQ(text, FormatLogLineAgain(text));
}

TEST(FormatLogLineAgainTest, TheLineEndsAtItsFirstNul)
{
    ExpectExpansions({
        {std::string("head\0tail %d", 13), "head"},
        {std::string("%\0d", 3), "%"},
    });
}

TEST(FormatLogLineAgainTest, FlagsThatWouldBeUndefinedAreDropped)
{
    ExpectExpansions({
        {"%#d", "0"},
        {"%#s", "(null)"},
        {"%07s", " (null)"},
        {"%018p", "  0000000000000000"},
        {"%.3c", std::string("\0", 1)},
        {"%+u", "0"},
        {"%#x", "0"}, // kept where it is defined; zero takes no prefix
        {"%+.1f", "+0.0"},
    });
}

TEST(FormatLogLineAgainTest, WindowsOnlyConversionsExpandAsForANullArgument)
{
    ExpectExpansions({
        {"a%Cb", std::string("a\0b", 3)},
        {"%S", "(null)"},
        {"%Z", "(null)"},
    });
}

TEST(DebugLogTest, ScrambledNulCutsTheFileCopy)
{
    OpenedLog run("");

    run.log.Write("%s", "ab\xF6"
                        "cd"); // 0xF6 + 10 wraps to 0

    const std::string& written = run.sink.m_fileWrites.at(0);
    EXPECT_EQ("kl", written.substr(written.size() - 2)); // 'a' + 10, 'b' + 10, then the end
    EXPECT_NE(std::string::npos, run.sink.m_debugOutput.at(0).find("ab\xF6"
                                                                   "cd"));
}

TEST(DebugLogTest, LongLogNameIsCutByTheHeaderBuffer)
{
    const std::string name(600, 'N');
    OpenedLog run("", name.c_str());

    run.log.Write("tail");

    const std::string& line = run.sink.m_debugOutput.at(0);
    EXPECT_EQ(511u + 4u, line.size());
    EXPECT_EQ("tail", line.substr(511));
}
