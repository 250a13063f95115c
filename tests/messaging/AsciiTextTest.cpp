#include "messaging/AsciiText.h"

#include <gtest/gtest.h>

TEST(AsciiTextTest, OnlyAsciiLettersChangeCase)
{
    EXPECT_EQ("MAIL.SITE.COM \xE9\xFC", ToUpperAscii("mail.Site.com \xE9\xFC"));
    EXPECT_EQ("mylvengine.exe \xC9", ToLowerAscii("MyLvEngine.EXE \xC9"));
}

TEST(AsciiTextTest, EqualityIgnoresOnlyAsciiCase)
{
    EXPECT_TRUE(EqualsIgnoringAsciiCase("DGLDcbgp", "dgldCBGP"));
    EXPECT_FALSE(EqualsIgnoringAsciiCase("\xE9", "\xC9"));
    EXPECT_FALSE(EqualsIgnoringAsciiCase("abc", "abcd"));
}

TEST(AsciiTextTest, TrimmingRemovesWhiteSpaceAtBothEndsOnly)
{
    EXPECT_EQ("a b", TrimWhiteSpace(" \t\r\n\v\fa b\f\v\n\r\t "));
    EXPECT_EQ("", TrimWhiteSpace(" \t "));
    EXPECT_EQ("", TrimWhiteSpace(""));
}
