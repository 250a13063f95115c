#include "config/LogSinkWin.h"

#include "config/MemoryRegistry.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <string>

namespace
{
std::string ReadBinary(const char* path)
{
    std::string bytes;
    FILE* file = std::fopen(path, "rb");
    if (file == nullptr)
        return bytes;
    char buffer[4096];
    std::size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof(buffer), file)) > 0)
        bytes.append(buffer, n);
    std::fclose(file);
    return bytes;
}
} // namespace

TEST(LogSinkWinTest, ExecutableNameIsTheBaseName)
{
    CLogSinkWin sink;

    EXPECT_EQ("win_tests.exe", sink.ExecutableName());
}

TEST(LogSinkWinTest, LocalTimeIsHoursMinutesSeconds)
{
    CLogSinkWin sink;
    std::string time;
    unsigned milliseconds = 1000;

    sink.LocalTime(time, milliseconds);

    ASSERT_EQ(8u, time.size());
    EXPECT_EQ(':', time[2]);
    EXPECT_EQ(':', time[5]);
    EXPECT_LT(milliseconds, 1000u);
}

TEST(LogSinkWinTest, IdsAreTheProcessAndThreadIds)
{
    CLogSinkWin sink;

    EXPECT_EQ(::GetCurrentProcessId(), sink.ProcessId());
    EXPECT_EQ(::GetCurrentThreadId(), sink.ThreadId());
}

TEST(LogSinkWinTest, FileIsAppendedInTextMode)
{
    CLogSinkWin sink;
    sink.CreateFolder("C:\\TEMP\\");
    const char* path = "C:\\TEMP\\LvbhoSinkTest.txt";
    std::remove(path);

    sink.AppendToFile(path, std::string("a\nb\0c", 5));
    sink.AppendToFile(path, "d");

    EXPECT_EQ(std::string("a\r\nb\0cd", 7), ReadBinary(path));
    std::remove(path);
}

TEST(LogSinkWinTest, DebugLogWritesTheScrambledFileUnderTemp)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LvbhoLogTest;3");
    CLogSinkWin sink;
    CDebugLog log(sink);
    std::remove("C:\\TEMP\\LvbhoLogTest.txt");
    ASSERT_EQ(1, log.Open(registry, "LvbhoLogTest"));

    log.Write("value %d", 42);

    const std::string bytes = ReadBinary("C:\\TEMP\\LvbhoLogTest.txt");
    ASSERT_GE(bytes.size(), 3u);
    // The prefix's CR is shifted to 0x17; its LF reaches the file as CR LF.
    EXPECT_EQ(std::string("\x17\r\n", 3), bytes.substr(0, 3));
    std::string plain;
    for (char c : bytes.substr(3))
        plain += static_cast<char>(static_cast<unsigned char>(c) - 10);
    EXPECT_EQ(" LvbhoLogTest : Time:", plain.substr(0, 21));
    EXPECT_NE(std::string::npos, plain.find(" - win_tests.exe (PID:"));
    EXPECT_EQ(")-value 42", plain.substr(plain.size() - 10));
    std::remove("C:\\TEMP\\LvbhoLogTest.txt");
}
