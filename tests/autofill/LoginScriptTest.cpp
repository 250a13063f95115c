#include "autofill/LoginScript.h"

#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/FakeCoreLink.h"
#include "tests/fakes/JsonText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace
{
const std::string kUrl = "https://www.example.com/login";
const std::string kUserTag = "<DCH>user<FV><SV><\\FV><TAB>";
const std::string kPassTag = "<DCH>pass<FV><SV><\\FV>";

// All bytes of a fixed-size field, terminators and padding included.
template <std::size_t N>
std::string Bytes(const char (&field)[N])
{
    return std::string(field, N);
}

// `text` followed by zero bytes up to `size`.
std::string Padded(const std::string& text, std::size_t size)
{
    return text + std::string(size - text.size(), '\0');
}

template <std::size_t N>
void Put(char (&field)[N], const std::string& bytes)
{
    std::memset(field, 0, N);
    std::memcpy(field, bytes.data(), bytes.size());
}

void WriteUserAndPassword(LoginScriptTables& tables, CFakeCoreLink& link, const std::string& displayName = "Mail")
{
    WriteLoginScript(tables, link, "EXAMPLE.COM::pwd", displayName, kUrl, "user", "alice", "pass", "s3cret");
}

// Tables on the heap, so that an index past the end of fieldValues is an overflow the address sanitizer sees.
std::unique_ptr<LoginScriptTables> MakeTables()
{
    return std::make_unique<LoginScriptTables>();
}
} // namespace

TEST(LoginScriptTest, FourCharacterDisplayNameIsWrittenUnchanged)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteUserAndPassword(tables, link, "Mail");

    EXPECT_EQ(Padded("Mail", kSharedFieldSize), Bytes(link.m_block.requestDisplay));
}

TEST(LoginScriptTest, FifteenCharacterDisplayNameIsWrittenUnchanged)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteUserAndPassword(tables, link, "Fifteen chars!!");

    EXPECT_STREQ("Fifteen chars!!", link.m_block.requestDisplay);
}

TEST(LoginScriptTest, SixteenCharacterDisplayNameIsReplacedByTheFirstLabelOfTheDomainInUpperCase)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteLoginScript(tables, link, "key", "Sixteen chars!!!", "https://mail.example.co.uk/login", "user", "alice",
                     "pass", "s3cret");

    EXPECT_STREQ("EXAMPLE", link.m_block.requestDisplay);
}

TEST(LoginScriptTest, EmptyDisplayNameWithAUserFieldIsReplacedByTheSitesLabel)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteUserAndPassword(tables, link, "");

    EXPECT_STREQ("EXAMPLE", link.m_block.requestDisplay);
}

TEST(LoginScriptTest, LongDisplayNameBecomesEmptyWhenTheUrlHasNoDomain)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.requestDisplay, "stale");

    WriteLoginScript(tables, link, "key", "A rather long page title", "about:blank", "user", "alice", "pass", "s3cret");

    EXPECT_STREQ("", link.m_block.requestDisplay);
}

TEST(LoginScriptTest, EmptyUserFieldNameLeavesTheDisplayNameUnchangedEvenWhenEmpty)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.requestDisplay, "stale");

    WriteLoginScript(tables, link, "key", "", kUrl, "", "alice", "pass", "s3cret");

    EXPECT_STREQ("", link.m_block.requestDisplay);
}

TEST(LoginScriptTest, EmptyUserFieldNameLeavesALongDisplayNameUnchanged)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteLoginScript(tables, link, "key", "A rather long page title", kUrl, "", "alice", "pass", "s3cret");

    EXPECT_STREQ("A rather long page title", link.m_block.requestDisplay);
}

TEST(LoginScriptTest, WriterOutputMatchesTheCoreFormatByteForByte)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteUserAndPassword(tables, link);

    EXPECT_EQ(Padded("EXAMPLE.COM::pwd", kSharedFieldSize), Bytes(link.m_block.requestKey));
    EXPECT_EQ(Padded("Mail", kSharedFieldSize), Bytes(link.m_block.requestDisplay));
    EXPECT_EQ(Padded("<S>"
                     "+<DCH>user<FV><SV><\\FV><TAB>"
                     "+<DCH>pass<FV><SV><\\FV>"
                     "+<OK>+"
                     "<QL>+",
                     kSharedScriptSize),
              Bytes(link.m_block.fieldScript));
    EXPECT_EQ(Padded("\0"s                               // item 0: "<S>"
                     "alice\0"s                          // item 1: the user name
                     "s3cret\0"s                         // item 2: the password
                     "<END>\0"s                          // item 3: "<OK>"
                     "https://www.example.com/login\0"s, // item 4: "<QL>", the page URL
                     kSharedScriptSize),
              Bytes(link.m_block.valueScript));
    EXPECT_EQ(5u, link.m_block.valueCount);
}

TEST(LoginScriptTest, WriterLeavesTheOtherFieldsAlone)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.requestUser, "bob");
    Put(link.m_block.field3, "core's own");
    link.m_block.flags = 0x20;
    link.m_block.requestCode = 2;
    link.m_block.result = 7;

    WriteUserAndPassword(tables, link);

    EXPECT_STREQ("bob", link.m_block.requestUser);
    EXPECT_STREQ("core's own", link.m_block.field3);
    EXPECT_EQ(0x20u, link.m_block.flags);
    EXPECT_EQ(2u, link.m_block.requestCode);
    EXPECT_EQ(7u, link.m_block.result);
}

TEST(LoginScriptTest, WriterFillsTheTablesWithTagsAndValues)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteUserAndPassword(tables, link);

    EXPECT_EQ("<S>", tables.fieldNames[0]);
    EXPECT_EQ("", tables.fieldValues[0]);
    EXPECT_EQ(kUserTag, tables.fieldNames[1]);
    EXPECT_EQ("alice", tables.fieldValues[1]);
    EXPECT_EQ(kPassTag, tables.fieldNames[2]);
    EXPECT_EQ("s3cret", tables.fieldValues[2]);
    EXPECT_EQ("<QL>", tables.fieldNames[3]);
    EXPECT_EQ(kUrl, tables.fieldValues[3]);
}

TEST(LoginScriptTest, SiteKeyLongerThanItsFieldIsCutToFit)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.field3, "next field");

    WriteLoginScript(tables, link, std::string(300, 'K'), "Mail", kUrl, "user", "alice", "pass", "s3cret");

    EXPECT_EQ(std::string(259, 'K') + '\0', Bytes(link.m_block.requestKey));
    EXPECT_STREQ("next field", link.m_block.field3);
}

TEST(LoginScriptTest, DisplayNameLongerThanItsFieldIsCutToFit)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteLoginScript(tables, link, "key", std::string(300, 'D'), kUrl, "", "alice", "pass", "s3cret");

    EXPECT_EQ(std::string(259, 'D') + '\0', Bytes(link.m_block.requestDisplay));
    EXPECT_EQ('<', link.m_block.fieldScript[0]);
}

TEST(LoginScriptTest, PasswordFillingTheValueListDropsTheLaterValuesButTheScriptAndCountAreWritten)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    // Items 0 and 1 take bytes 0 to 2 (""\0, "A"\0): 2044 characters and their NUL end exactly at byte 2047.
    const std::string password(2044, 'W');

    WriteLoginScript(tables, link, "key", "Mail", kUrl, "user", "A", "pass", password);

    EXPECT_EQ("\0A\0"s + password + '\0', Bytes(link.m_block.valueScript));
    EXPECT_EQ(Padded("<S>+" + kUserTag + "+" + kPassTag + "+<OK>+<QL>+", kSharedScriptSize),
              Bytes(link.m_block.fieldScript));
    EXPECT_EQ(5u, link.m_block.valueCount);
}

TEST(LoginScriptTest, PasswordLongerThanTheValueListIsCutToFit)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    link.m_block.valueCount = 0xABABABAB;

    WriteLoginScript(tables, link, "key", "Mail", kUrl, "user", "A", "pass", std::string(3000, 'W'));

    EXPECT_EQ("\0A\0"s + std::string(2044, 'W') + '\0', Bytes(link.m_block.valueScript));
    EXPECT_EQ(5u, link.m_block.valueCount);
}

TEST(LoginScriptTest, FieldNamesLongerThanTheFieldScriptAreCutToFit)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    link.m_block.valueScript[0] = 'x';

    WriteLoginScript(tables, link, "key", "Mail", kUrl, std::string(3000, 'U'), "alice", "pass", "s3cret");

    EXPECT_EQ("<S>+<DCH>" + std::string(2048 - 10, 'U') + '\0', Bytes(link.m_block.fieldScript));
    EXPECT_EQ('\0', link.m_block.valueScript[0]);
    EXPECT_EQ(5u, link.m_block.valueCount);
}

TEST(LoginScriptTest, WriterHoldsTheLockOnceAndReleasesIt)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    WriteUserAndPassword(tables, link);

    EXPECT_EQ(1, link.m_lockCount);
    EXPECT_EQ(1, link.m_unlockCount);
    EXPECT_EQ(0, link.m_lockDepth);
}

TEST(LoginScriptTest, WriterStillWritesWhenTheCoreIsNotRunning)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    link.m_coreRunning = false;

    WriteUserAndPassword(tables, link);

    EXPECT_EQ(1, link.m_lockCount);
    EXPECT_EQ(0, link.m_unlockCount);
    EXPECT_EQ(5u, link.m_block.valueCount);
    EXPECT_STREQ("EXAMPLE.COM::pwd", link.m_block.requestKey);
}

TEST(LoginScriptTest, WriterWritesNothingWhenTheBlockIsNotMapped)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    link.m_mapped = false;

    WriteUserAndPassword(tables, link);

    EXPECT_EQ(Padded("", kSharedFieldSize), Bytes(link.m_block.requestKey));
    EXPECT_EQ(Padded("", kSharedScriptSize), Bytes(link.m_block.fieldScript));
    EXPECT_EQ(0u, link.m_block.valueCount);
    EXPECT_EQ(0, link.m_lockDepth);
}

TEST(LoginScriptTest, ReadingTheWrittenScriptYieldsTheNamesAndValuesInOrder)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteLoginScript(tables, link, "key", "Mail", kUrl, "U", "N", "P", "W");

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(2, count);
    EXPECT_EQ("U", tables.fieldNames[0]);
    EXPECT_EQ("P", tables.fieldNames[1]);
    EXPECT_EQ("N", tables.fieldValues[0]);
    EXPECT_EQ("W", tables.fieldValues[1]);
}

TEST(LoginScriptTest, TagOnlyTokensConsumeValuesByPosition)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteLoginScript(tables, link, "key", "Mail", kUrl, "U", "N", "P", "W");

    ReadLoginScript(tables, link);

    EXPECT_EQ("", tables.fieldValues[2]);   // item 3, "<END>", for the token of P
    EXPECT_EQ(kUrl, tables.fieldValues[3]); // item 4 for "<OK>"
    EXPECT_EQ("", tables.fieldValues[4]);   // item 5, past the last string, for "<QL>"
    EXPECT_EQ("", tables.fieldValues[5]);   // item 6 for the final empty token
}

TEST(LoginScriptTest, FieldNameEndingInOneCommaIsReadWithoutIt)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>user,<FV>+<DCH>pass,,<FV>+");
    Put(link.m_block.valueScript, "\0N\0W\0"s);

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(2, count);
    EXPECT_EQ("user", tables.fieldNames[0]);
    EXPECT_EQ("pass,", tables.fieldNames[1]);
}

TEST(LoginScriptTest, NameOfOnlyACommaStillCountsAsAField)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>,<FV>+<DCH>pass<FV>+");

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(2, count);
    EXPECT_EQ("", tables.fieldNames[0]);
    EXPECT_EQ("pass", tables.fieldNames[1]);
}

TEST(LoginScriptTest, FieldNameIsTrimmedOfWhiteSpace)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH> \tuser\r\n<FV>+<DCH>\v pass \f<FV>+");

    ReadLoginScript(tables, link);

    EXPECT_EQ("user", tables.fieldNames[0]);
    EXPECT_EQ("pass", tables.fieldNames[1]);
}

TEST(LoginScriptTest, TokenWithoutATagAfterItsNameCarriesNoName)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>user+plain+<DCH>pass<FV>+");

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(1, count);
    EXPECT_EQ("pass", tables.fieldNames[0]);
}

TEST(LoginScriptTest, ValueEqualToTheEndOrStartTagIsReadAsEmpty)
{
    LoginScriptTables tables;
    tables.fieldValues[0] = "stale";
    tables.fieldValues[1] = "stale";
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>U<FV>+<DCH>P<FV>+");
    Put(link.m_block.valueScript, "\0<END>\0<S>\0"s);

    ReadLoginScript(tables, link);

    EXPECT_EQ("", tables.fieldValues[0]);
    EXPECT_EQ("", tables.fieldValues[1]);
}

TEST(LoginScriptTest, ValueThatOnlyContainsATagIsKept)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>U<FV>+<DCH>P<FV>+");
    Put(link.m_block.valueScript, "\0<END>x\0 <S>\0"s);

    ReadLoginScript(tables, link);

    EXPECT_EQ("<END>x", tables.fieldValues[0]);
    EXPECT_EQ(" <S>", tables.fieldValues[1]);
}

TEST(LoginScriptTest, EmptyScriptReadsAsNoLoginData)
{
    LoginScriptTables tables;
    CFakeCoreLink link;

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(0, count);
}

TEST(LoginScriptTest, WhiteSpaceOnlyScriptReadsAsNoLoginData)
{
    LoginScriptTables tables;
    tables.fieldValues[0] = "stale";
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, " \t\r\n\v\f");
    Put(link.m_block.valueScript, "\0N\0"s);

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(0, count);
    EXPECT_EQ("stale", tables.fieldValues[0]);
}

TEST(LoginScriptTest, ScriptIsTrimmedBeforeItIsSplit)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "  <S>+<DCH>U<FV>+<DCH>P<FV>+\r\n");
    Put(link.m_block.valueScript, "\0N\0W\0"s);

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(2, count);
    EXPECT_EQ("N", tables.fieldValues[0]);
    EXPECT_EQ("W", tables.fieldValues[1]);
}

TEST(LoginScriptTest, RunsOfPlusSignsAreSkipped)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "++<S>++<DCH>U<FV>+++<DCH>P<FV>+");
    Put(link.m_block.valueScript, "\0N\0W\0X\0Y\0"s);

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(2, count);
    EXPECT_EQ("U", tables.fieldNames[0]);
    EXPECT_EQ("P", tables.fieldNames[1]);
    EXPECT_EQ("N", tables.fieldValues[0]);
    EXPECT_EQ("W", tables.fieldValues[1]);
    EXPECT_EQ("X", tables.fieldValues[2]);
}

TEST(LoginScriptTest, FinalEmptyTokenConsumesAValueWithoutATrailingPlus)
{
    LoginScriptTables tables;
    tables.fieldValues[4] = "stale";
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>U<FV>+<DCH>P<FV>");
    Put(link.m_block.valueScript, "\0N\0W\0X\0Y\0Z\0"s);

    ReadLoginScript(tables, link);

    EXPECT_EQ("X", tables.fieldValues[2]); // item 3 for the token of P
    EXPECT_EQ("Y", tables.fieldValues[3]); // item 4 for the final empty token
    EXPECT_EQ("stale", tables.fieldValues[4]);
}

TEST(LoginScriptTest, FinalEmptyTokenConsumesOneValueAfterARunOfTrailingPlusSigns)
{
    LoginScriptTables tables;
    tables.fieldValues[4] = "stale";
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>U<FV>+<DCH>P<FV>+++");
    Put(link.m_block.valueScript, "\0N\0W\0X\0Y\0Z\0"s);

    ReadLoginScript(tables, link);

    EXPECT_EQ("X", tables.fieldValues[2]); // item 3 for the token of P
    EXPECT_EQ("Y", tables.fieldValues[3]); // item 4 for the final empty token
    EXPECT_EQ("stale", tables.fieldValues[4]);
}

TEST(LoginScriptTest, ReaderStaysInsideFieldsWithoutTerminators)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    // The script fills all 2048 bytes; its last token has no "<" after the name inside the field, but would have
    // one if the reader ran on into the value list, which starts with "<" and has no NUL either.
    const std::string script = "<S>+<DCH>U<FV>+<DCH>";
    std::memcpy(link.m_block.fieldScript, script.data(), script.size());
    std::memset(link.m_block.fieldScript + script.size(), 'P', kSharedScriptSize - script.size());
    std::memset(link.m_block.valueScript, 'v', kSharedScriptSize);
    link.m_block.valueScript[0] = '<';
    link.m_block.valueCount = 0x78787878; // "xxxx"
    link.m_block.flags = 0x78787878;

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(1, count);
    EXPECT_EQ("U", tables.fieldNames[0]);
    EXPECT_EQ("", tables.fieldValues[0]); // item 1 would start past the field
    EXPECT_EQ("", tables.fieldValues[1]);
}

TEST(LoginScriptTest, ReaderStopsAtOneHundredNames)
{
    auto tables = MakeTables();
    CFakeCoreLink link;
    std::string script = "<S>+";
    std::string values = "\0"s;
    for (int i = 0; i < 150; ++i)
    {
        char number[8];
        std::snprintf(number, sizeof(number), "%03d", i);
        script += "<D>f"s + number + "<F>+";
        values += "v"s + number + '\0';
    }
    Put(link.m_block.fieldScript, script);
    Put(link.m_block.valueScript, values);

    const std::int32_t count = ReadLoginScript(*tables, link);

    EXPECT_EQ(100, count);
    EXPECT_EQ("f000", tables->fieldNames[0]);
    EXPECT_EQ("f099", tables->fieldNames[99]);
    EXPECT_EQ("v000", tables->fieldValues[0]);
    EXPECT_EQ("v099", tables->fieldValues[99]);
}

TEST(LoginScriptTest, ReaderStoresNoValuePastTheTableEnd)
{
    auto tables = MakeTables();
    CFakeCoreLink link;
    std::string script = "<S>+";
    for (int i = 0; i < 200; ++i)
        script += "<OK>+";
    script += "<DCH>U<FV>+";
    Put(link.m_block.fieldScript, script);

    const std::int32_t count = ReadLoginScript(*tables, link);

    EXPECT_EQ(1, count);
    EXPECT_EQ("U", tables->fieldNames[0]);
}

TEST(LoginScriptTest, ReaderHoldsTheLockForItsRunAndReleasesIt)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteUserAndPassword(tables, link);

    ReadLoginScript(tables, link);

    EXPECT_EQ(2, link.m_lockCount);
    EXPECT_EQ(2, link.m_unlockCount);
    EXPECT_EQ(0, link.m_lockDepth);
}

TEST(LoginScriptTest, ReaderLeavesTheBlockAsItIs)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteUserAndPassword(tables, link);
    const BHOSharedData before = link.m_block;

    ReadLoginScript(tables, link);

    EXPECT_EQ(0, std::memcmp(&before, &link.m_block, sizeof(BHOSharedData)));
}

TEST(LoginScriptTest, ReaderReturnsZeroWhenTheBlockIsNotMapped)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteUserAndPassword(tables, link);
    link.m_mapped = false;

    const std::int32_t count = ReadLoginScript(tables, link);

    EXPECT_EQ(0, count);
    EXPECT_EQ(0, link.m_lockDepth);
}

TEST(LoginScriptTest, ConversionAddsTheLoginDataAndClickOkAndClearsTheBlock)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteLoginScript(tables, link, "key", "Mail", kUrl, "U", "N", "P", "W");
    JsonCPPWrapper reply;

    const int result = LoginScriptToJson(tables, link, &reply);

    EXPECT_EQ(1, result);
    EXPECT_EQ("{\"LoginData\":[{\"FieldName\":\"U\",\"FieldVal\":\"N\"},{\"FieldName\":\"P\",\"FieldVal\":\"W\"}],"
              "\"clickok\":\"true\"}",
              Text(reply));
    EXPECT_EQ(1, link.m_resetCount);
    EXPECT_EQ(Padded("", kSharedScriptSize), Bytes(link.m_block.fieldScript));
    EXPECT_EQ(kResultPending, link.m_block.result);
}

TEST(LoginScriptTest, ConversionClearsTheBlockOnlyAfterTheReaderReleasedTheLock)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteUserAndPassword(tables, link);
    JsonCPPWrapper reply;

    LoginScriptToJson(tables, link, &reply);

    EXPECT_EQ(1, link.m_resetCount);
    EXPECT_FALSE(link.m_resetUnderLock);
}

TEST(LoginScriptTest, ConversionWithoutAReplyClearsTheBlockAndReturnsZero)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    WriteUserAndPassword(tables, link);
    const int locksAfterWriting = link.m_lockCount;

    const int result = LoginScriptToJson(tables, link, nullptr);

    EXPECT_EQ(0, result);
    EXPECT_EQ(1, link.m_resetCount);
    EXPECT_EQ(Padded("", kSharedScriptSize), Bytes(link.m_block.fieldScript));
    EXPECT_EQ(locksAfterWriting, link.m_lockCount);
}

TEST(LoginScriptTest, ScriptWithOneNamedFieldGivesNoLoginDataAndResultZero)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    Put(link.m_block.fieldScript, "<S>+<DCH>U<FV>+<OK>+");
    Put(link.m_block.valueScript, "\0N\0<END>\0"s);
    const BHOSharedData before = link.m_block;
    JsonCPPWrapper reply;
    ASSERT_TRUE(reply.Parse("{\"result\":0}"));

    const int result = LoginScriptToJson(tables, link, &reply);

    EXPECT_EQ(0, result);
    EXPECT_EQ("{\"result\":0}", Text(reply));
    EXPECT_EQ(0, link.m_resetCount);
    EXPECT_EQ(0, std::memcmp(&before, &link.m_block, sizeof(BHOSharedData)));
}

TEST(LoginScriptTest, ConversionOfAnEmptyScriptGivesNoLoginData)
{
    LoginScriptTables tables;
    CFakeCoreLink link;
    JsonCPPWrapper reply;
    ASSERT_TRUE(reply.Parse("{}"));

    const int result = LoginScriptToJson(tables, link, &reply);

    EXPECT_EQ(0, result);
    EXPECT_EQ("{}", Text(reply));
    EXPECT_EQ(0, link.m_resetCount);
}

TEST(LoginScriptTest, MultiStringItemsAreReadByPosition)
{
    const std::string buffer = "\0first\0\0third\0"s;

    EXPECT_EQ("", GetMultiStringItem(buffer.data(), buffer.size(), 0));
    EXPECT_EQ("first", GetMultiStringItem(buffer.data(), buffer.size(), 1));
    EXPECT_EQ("", GetMultiStringItem(buffer.data(), buffer.size(), 2));
    EXPECT_EQ("third", GetMultiStringItem(buffer.data(), buffer.size(), 3));
}

TEST(LoginScriptTest, MultiStringItemPastTheLastStringIsEmpty)
{
    const std::string buffer = "one\0two\0"s;

    EXPECT_EQ("", GetMultiStringItem(buffer.data(), buffer.size(), 2));
    EXPECT_EQ("", GetMultiStringItem(buffer.data(), buffer.size(), 0xFFFFFFFF));
}

TEST(LoginScriptTest, MultiStringItemOfANullBufferIsEmpty)
{
    EXPECT_EQ("", GetMultiStringItem(nullptr, 2048, 0));
}

TEST(LoginScriptTest, MultiStringItemNeverReadsPastTheSize)
{
    // Heap bytes without any NUL: a read past the fifth byte is an overflow.
    const std::vector<char> buffer = {'o', 'n', 'e', '\0', 't'};

    EXPECT_EQ("one", GetMultiStringItem(buffer.data(), buffer.size(), 0));
    EXPECT_EQ("t", GetMultiStringItem(buffer.data(), buffer.size(), 1));
    EXPECT_EQ("", GetMultiStringItem(buffer.data(), buffer.size(), 2));
}

TEST(LoginScriptTest, ANulEndsAFieldNameBeforeItsTagIsBuilt)
{
    CFakeCoreLink link;
    LoginScriptTables tables;

    WriteLoginScript(tables, link, std::string("K::p\0x", 6), "", "https://a.com/", std::string("u\0v", 3), "n",
                     std::string("p\0q", 3), std::string("w\0z", 3));

    EXPECT_STREQ("<S>+<DCH>u<FV><SV><\\FV><TAB>+<DCH>p<FV><SV><\\FV>+<OK>+<QL>+", link.m_block.fieldScript);
    EXPECT_STREQ("K::p", link.m_block.requestKey);
    EXPECT_EQ(std::string("\0n\0w\0<END>\0https://a.com/\0", 25), std::string(link.m_block.valueScript, 25));
}
