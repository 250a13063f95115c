#include "commands/UiLanguage.h"

#include <gtest/gtest.h>

namespace
{
std::uint16_t LanguageId(unsigned primary, unsigned sub)
{
    return static_cast<std::uint16_t>(sub << 10 | primary);
}
} // namespace

TEST(UiLanguageTest, SingleNameLanguages)
{
    EXPECT_STREQ("English", UiLanguageName(0x0409));
    EXPECT_STREQ("German", UiLanguageName(0x0407));
    EXPECT_STREQ("French", UiLanguageName(0x040C));
    EXPECT_STREQ("Spanish", UiLanguageName(0x0C0A));
    EXPECT_STREQ("Russian", UiLanguageName(0x0419));
    EXPECT_STREQ("Japanese", UiLanguageName(0x0411));
    EXPECT_STREQ("Lithuanian", UiLanguageName(LanguageId(39, 1)));
}

TEST(UiLanguageTest, EveryListedPrimaryLanguage)
{
    const std::pair<unsigned, const char*> table[] = {
        {1, "Arabic"},     {2, "Bulgarian"},   {5, "Czech"},       {6, "Danish"},     {7, "German"},
        {8, "Greek"},      {10, "Spanish"},    {11, "Finnish"},    {12, "French"},    {13, "Hebrew"},
        {14, "Hungarian"}, {16, "Italian"},    {17, "Japanese"},   {18, "Korean"},    {19, "Dutch"},
        {20, "Norwegian"}, {21, "Polish"},     {24, "Romanian"},   {25, "Russian"},   {27, "Slovak"},
        {29, "Swedish"},   {31, "Turkish"},    {33, "Indonesian"}, {36, "Slovenian"}, {37, "Estonian"},
        {38, "Latvian"},   {39, "Lithuanian"},
    };
    for (const auto& [primary, name] : table)
        EXPECT_STREQ(name, UiLanguageName(LanguageId(primary, 1))) << primary;
}

TEST(UiLanguageTest, ChineseBySublanguage)
{
    EXPECT_STREQ("TChinese", UiLanguageName(0x0404)); // Taiwan
    EXPECT_STREQ("SChinese", UiLanguageName(0x0804)); // PRC
    EXPECT_STREQ("TChinese", UiLanguageName(0x0C04)); // Hong Kong
    EXPECT_STREQ("SChinese", UiLanguageName(0x1004)); // Singapore
    EXPECT_STREQ("SChinese", UiLanguageName(0x1404)); // Macau, simplified on purpose
    EXPECT_STREQ("English", UiLanguageName(LanguageId(4, 6)));
}

TEST(UiLanguageTest, PortugueseBySublanguage)
{
    EXPECT_STREQ("Brazilian", UiLanguageName(0x0416));
    EXPECT_STREQ("Portuguese", UiLanguageName(0x0816));
    EXPECT_STREQ("English", UiLanguageName(LanguageId(22, 3)));
}

TEST(UiLanguageTest, SerbianAndCroatianShareAPrimaryLanguage)
{
    EXPECT_STREQ("Serbian", UiLanguageName(LanguageId(26, 2)));
    EXPECT_STREQ("Serbian", UiLanguageName(0x241A)); // sr-Latn-RS
    EXPECT_STREQ("Croatian", UiLanguageName(0x041A));
    EXPECT_STREQ("Croatian", UiLanguageName(LanguageId(26, 3)));
}

TEST(UiLanguageTest, UnlistedLanguagesAreEnglish)
{
    EXPECT_STREQ("English", UiLanguageName(LanguageId(3, 1))); // Catalan
    EXPECT_STREQ("English", UiLanguageName(LanguageId(9, 2)));
    EXPECT_STREQ("English", UiLanguageName(LanguageId(30, 1))); // Thai
    EXPECT_STREQ("English", UiLanguageName(0));
}
