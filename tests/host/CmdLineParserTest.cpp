#include "host/CmdLineParser.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace
{
void ExpectKeys(const CCmdLineParser& parser, std::initializer_list<const char*> present,
                std::initializer_list<const char*> absent)
{
    for (const char* key : present)
        EXPECT_TRUE(parser.HasKey(key)) << key;
    for (const char* key : absent)
        EXPECT_FALSE(parser.HasKey(key)) << key;
}
} // namespace

TEST(CmdLineParserTest, EmptyLineGivesNoKeys)
{
    CCmdLineParser parser("");

    EXPECT_TRUE(parser.Keys().empty());
    EXPECT_FALSE(parser.Parse(""));
}

TEST(CmdLineParserTest, NullLineParsesNothing)
{
    CCmdLineParser parser(nullptr);

    EXPECT_TRUE(parser.Keys().empty());
}

TEST(CmdLineParserTest, DriveLetterYieldsASpuriousKeyThatMatchesNoSwitch)
{
    CCmdLineParser parser("C:\\Lumivar\\LVBHOHost.exe -RegisterNativeApp");

    ExpectKeys(parser, {"\\lumivar\\lvbhohost.exe", "RegisterNativeApp"}, {});
    EXPECT_EQ(2u, parser.Keys().size());
}

TEST(CmdLineParserTest, QuotedProgramPathWithSpaces)
{
    CCmdLineParser parser("\"C:\\Program Files\\Lumivar\\LVBHOHost.exe\" /RegisterFFBHO");

    ExpectKeys(parser, {"\\program", "RegisterFFBHO"}, {"RegisterNativeApp"});
}

TEST(CmdLineParserTest, ChromeOriginYieldsTheKeyExtension)
{
    CCmdLineParser parser("\"C:\\Lumivar\\LVBHOHost.exe\" chrome-extension://abcdefghijklmnopabcdefghijklmnop/ "
                          "--parent-window=0");

    EXPECT_TRUE(parser.HasKey("extension"));
    EXPECT_EQ("//abcdefghijklmnopabcdefghijklmnop/", parser.GetValue("extension"));
    for (const auto& [key, value] : parser.Keys())
        EXPECT_EQ(std::string::npos, key.find("register")) << key;
}

TEST(CmdLineParserTest, FirefoxArgumentsProduceNoSwitch)
{
    CCmdLineParser parser("\"C:\\Lumivar\\LVBHOHost.exe\" C:\\Lumivar\\lvbhohost-firefox.json lumivar@kavrin.com");

    ExpectKeys(parser, {},
               {"RegisterNativeApp", "UnRegisterNativeApp", "RegisterChromeGPO", "UnRegisterChromeGPO", "RegisterFFBHO",
                "UnRegisterFFBHO", "InstallChromeBHO", "CheckBHOInstalled", "RegisterChromeBHO",
                "UnRegisterChromeBHO"});
}

TEST(CmdLineParserTest, SwitchAfterSlashOrLowerCaseAfterHyphenIsFound)
{
    EXPECT_TRUE(CCmdLineParser("x.exe /RegisterNativeApp").HasKey("RegisterNativeApp"));
    EXPECT_TRUE(CCmdLineParser("x.exe -registernativeapp").HasKey("RegisterNativeApp"));
}

TEST(CmdLineParserTest, CaseSensitiveParserKeepsTheCase)
{
    CCmdLineParser parser("x.exe -registernativeapp", true);

    ExpectKeys(parser, {"registernativeapp"}, {"RegisterNativeApp"});
}

TEST(CmdLineParserTest, QuotedValueOfTwoWordsThenAnotherKey)
{
    CCmdLineParser parser("-a:\"two words\" -b");

    EXPECT_EQ("two words", parser.GetValue("a"));
    EXPECT_TRUE(parser.HasKey("b"));
    EXPECT_EQ("", parser.GetValue("b"));
}

TEST(CmdLineParserTest, ASpaceNeverIntroducesAValue)
{
    CCmdLineParser parser("-key word -next");

    EXPECT_EQ("", parser.GetValue("key"));
    EXPECT_FALSE(parser.HasKey("word"));
    EXPECT_TRUE(parser.HasKey("next"));
}

TEST(CmdLineParserTest, UnquotedValueEndsAtASpace)
{
    CCmdLineParser parser("-k:v1 -m:v2");

    EXPECT_EQ("v1", parser.GetValue("k"));
    EXPECT_EQ("v2", parser.GetValue("m"));
}

TEST(CmdLineParserTest, ColonAtTheEndGivesAKeyWithoutValue)
{
    CCmdLineParser parser("-key:");

    EXPECT_TRUE(parser.HasKey("key"));
}

TEST(CmdLineParserTest, UnclosedQuoteTakesTheRestOfTheLine)
{
    CCmdLineParser parser("-a:\"rest of line");

    EXPECT_EQ("rest of line", parser.GetValue("a"));
}

TEST(CmdLineParserTest, KeyGivenTwiceKeepsItsFirstValue)
{
    CCmdLineParser parser("-a:1 -a:2");

    EXPECT_EQ("1", parser.GetValue("a"));
}

TEST(CmdLineParserTest, LoneDelimitersGiveNoKeys)
{
    EXPECT_TRUE(CCmdLineParser("-").Keys().empty());
    EXPECT_TRUE(CCmdLineParser("x -").Keys().empty());
    EXPECT_TRUE(CCmdLineParser("- - /").Keys().empty());
    EXPECT_TRUE(CCmdLineParser("::").Keys().empty());
}

TEST(CmdLineParserTest, EmptyKeyWithAValueIsNotStored)
{
    CCmdLineParser parser("-:value -b");

    ExpectKeys(parser, {"b"}, {""});
}

TEST(CmdLineParserTest, ParseReplacesTheKeys)
{
    CCmdLineParser parser("-a");

    EXPECT_TRUE(parser.Parse("-b"));

    ExpectKeys(parser, {"b"}, {"a"});
}

TEST(CmdLineParserTest, NonAsciiBytesPassThrough)
{
    CCmdLineParser parser("-\xC3\xA9t\xC3\xA9:\xE9t\xE9");

    EXPECT_EQ("\xE9t\xE9", parser.GetValue("\xC3\xA9t\xC3\xA9"));
}
