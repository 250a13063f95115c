#include "corelink/AsyncMessages.h"

#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/FakeCoreLink.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace
{
BHOCopyData Record(std::uint32_t status)
{
    BHOCopyData record;
    std::memset(&record, 0, sizeof record);
    record.devId = 44525655;
    std::strcpy(record.strDevId, "dev-1");
    std::strcpy(record.message, "Verified");
    record.status = status;
    std::strcpy(record.text2, "not sent");
    return record;
}
} // namespace

TEST(AsyncMessagesTest, AValidationRecordBecomesValidateAsyncMsg)
{
    JsonCPPWrapper message;

    BuildValidateAsyncMsg(message, Record(0));

    std::string text;
    EXPECT_EQ("{\"Devid\":44525655,\"command\":\"ValidateAsyncMsg\",\"msg\":\"Verified\",\"status\":0,"
              "\"strdevid\":\"dev-1\"}",
              message.ToString(text));
}

TEST(AsyncMessagesTest, StatusMinusOneIsSentAsMinusOne)
{
    JsonCPPWrapper message;

    BuildValidateAsyncMsg(message, Record(0xFFFFFFFF));

    EXPECT_EQ(-1, message.GetInt("status"));
}

TEST(AsyncMessagesTest, TextsWithoutTerminatorStopAtTheirField)
{
    BHOCopyData record = Record(0);
    std::memset(record.strDevId, 'a', sizeof record.strDevId);
    std::memset(record.message, 'b', sizeof record.message);
    JsonCPPWrapper message;

    BuildValidateAsyncMsg(message, record);

    std::string text;
    message.GetString(text, "strdevid");
    EXPECT_EQ(std::string(260, 'a'), text);
    message.GetString(text, "msg");
    EXPECT_EQ(std::string(260, 'b'), text);
}

TEST(AsyncMessagesTest, OnlyMinusOneAndSixReleaseTheWaitingCommand)
{
    EXPECT_TRUE(ReleasesWaitingCommand(0xFFFFFFFF));
    EXPECT_TRUE(ReleasesWaitingCommand(6));
    EXPECT_FALSE(ReleasesWaitingCommand(0));
    EXPECT_FALSE(ReleasesWaitingCommand(5));
}

TEST(AsyncMessagesTest, AFillScriptBecomesFormFillAndClearsTheBlock)
{
    CFakeCoreLink link;
    LoginScriptTables tables;
    WriteLoginScript(tables, link, "EXAMPLE.COM::pwd", "Example", "https://www.example.com/login", "user", "alice",
                     "pwd", "secret");
    JsonCPPWrapper message;

    EXPECT_EQ(1, BuildFormFill(message, tables, link));

    std::string text;
    EXPECT_EQ("{\"LoginData\":[{\"FieldName\":\"user\",\"FieldVal\":\"alice\"},{\"FieldName\":\"pwd\",\"FieldVal\":"
              "\"secret\"}],\"clickok\":\"true\",\"command\":\"FormFill\"}",
              message.ToString(text));
    EXPECT_EQ('\0', link.m_block.fieldScript[0]);
}

TEST(AsyncMessagesTest, AnEmptyBlockGivesNoFormFill)
{
    CFakeCoreLink link;
    LoginScriptTables tables;
    JsonCPPWrapper message;

    EXPECT_EQ(0, BuildFormFill(message, tables, link));
}

TEST(SharedFieldTest, SetFieldCutsToTheFieldAndAlwaysEndsInNul)
{
    char field[8];
    std::memset(field, 'x', sizeof field);

    SetField(field, std::string(20, 'a'));

    EXPECT_EQ(std::string(7, 'a'), std::string(field));
}

TEST(SharedFieldTest, SetFieldStopsAtTheFirstNul)
{
    char field[8];
    std::memset(field, 'x', sizeof field);

    SetField(field, std::string("ab\0cd", 5));

    EXPECT_EQ(0, std::memcmp(field, "ab\0xxxxx", 8));
}

TEST(SharedFieldTest, FieldTextReadsUpToTheNulOrTheWholeField)
{
    const char ended[6] = {'a', 'b', '\0', 'c', 'd', 'e'};
    const char unended[3] = {'a', 'b', 'c'};

    EXPECT_EQ("ab", FieldText(ended));
    EXPECT_EQ("abc", FieldText(unended));
}
