#include "messaging/TextCodecWin.h"

#include "messaging/JsonCppWrapper.h"
#include "messaging/Utf8Name.h"

#include <gtest/gtest.h>
#include <windows.h>

// These tests run with the ANSI code page 1252 (LC_ALL=en_US.UTF-8 under Wine).

TEST(TextCodecWinTest, WidensTheAnsiCodePage)
{
    CTextCodecWin codec;

    EXPECT_EQ(u"Caf\u00e9 \u20ac", codec.AnsiToWide("Caf\xE9 \x80"));
    EXPECT_EQ(u"", codec.AnsiToWide(""));
}

TEST(TextCodecWinTest, LengthQueryOfTheWholeStringCountsTheTerminator)
{
    CTextCodecWin codec;

    EXPECT_EQ(6, codec.Utf8Length(u"Caf\u00e9"));
}

TEST(TextCodecWinTest, ConvertsWithoutTheTerminator)
{
    CTextCodecWin codec;
    char buffer[8] = {};

    EXPECT_EQ(5, codec.WideToUtf8(u"Caf\u00e9", buffer, sizeof(buffer)));
    EXPECT_STREQ("Caf\xC3\xA9", buffer);
}

TEST(TextCodecWinTest, LastErrorIsTheThreadsValue)
{
    CTextCodecWin codec;

    ::SetLastError(122);
    EXPECT_EQ(122u, codec.LastError());
    ::SetLastError(0);
    EXPECT_EQ(0u, codec.LastError());
}

TEST(TextCodecWinTest, Latin1TextComesOutEmptyAfterASuccessfulLengthQuery)
{
    CTextCodecWin codec;
    std::string result = "stale";

    ::SetLastError(0);
    ToUtf8Name(codec, "Caf\xE9", result);

    EXPECT_EQ("", result);
}

TEST(TextCodecWinTest, JsonMessageKeepsUtf8AndDropsLatin1)
{
    CTextCodecWin codec;
    JsonCPPWrapper message(&codec);
    std::string text;

    ::SetLastError(0);
    message.SetString("utf8", "caf\xC3\xA9");
    message.SetString("latin1", "caf\xE9");

    EXPECT_EQ("{\"latin1\":\"\",\"utf8\":\"caf\\u00e9\"}", message.ToString(text));
}
