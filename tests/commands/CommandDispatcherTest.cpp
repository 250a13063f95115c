#include "commands/CommandDispatcher.h"

#include <gtest/gtest.h>

namespace
{
std::string Dispatch(const char* requestText, const ProcessValues& values = ProcessValues())
{
    CCommandDispatcher dispatcher(values);
    JsonCPPWrapper request;
    EXPECT_TRUE(request.Parse(requestText)) << requestText;
    return dispatcher.Dispatch(request);
}
} // namespace

TEST(CommandDispatcherTest, MissingIdAnswersOnlyTheStatus)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("{\"command\":\"GetLang\"}"));
}

TEST(CommandDispatcherTest, MissingCommandAnswersOnlyTheStatus)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("{\"id\":1}"));
}

TEST(CommandDispatcherTest, EmptyObjectAnswersArgumentMissing)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("{}"));
}

TEST(CommandDispatcherTest, NonObjectRequestAnswersArgumentMissing)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("[1,2]"));
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Dispatch("\"GetLang\""));
}

TEST(CommandDispatcherTest, UnknownCommandEchoesCommandAndId)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"Frobnicate\",\"id\":3}",
              Dispatch("{\"command\":\"Frobnicate\",\"id\":3}"));
}

TEST(CommandDispatcherTest, CommandNamesAreCaseSensitive)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"getlang\",\"id\":1}",
              Dispatch("{\"command\":\"getlang\",\"id\":1}"));
}

TEST(CommandDispatcherTest, GetLangAnswersTheLanguageName)
{
    ProcessValues values;
    values.languageName = "German";

    EXPECT_EQ("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"Lang\":\"German\",\"command\":\"GetLang\","
              "\"id\":7}",
              Dispatch("{\"command\":\"GetLang\",\"id\":7}", values));
}

TEST(CommandDispatcherTest, SetNeverRememberPwdSucceedsDoingNothing)
{
    EXPECT_EQ("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"command\":\"SetNeverRememberPwd\",\"id\":2}",
              Dispatch("{\"command\":\"SetNeverRememberPwd\",\"id\":2}"));
}

TEST(CommandDispatcherTest, IdOfTheWrongTypeAnswersArgumentMissingEchoingTheCommand)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"command\":\"GetLang\"}",
              Dispatch("{\"command\":\"GetLang\",\"id\":\"x\"}"));
}

TEST(CommandDispatcherTest, CommandOfTheWrongTypeAnswersArgumentMissingEchoingTheId)
{
    EXPECT_EQ("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\",\"id\":9}",
              Dispatch("{\"command\":[\"GetLang\"],\"id\":9}"));
}

TEST(CommandDispatcherTest, NullMembersCountAsPresent)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"\",\"id\":0}",
              Dispatch("{\"command\":null,\"id\":null}"));
}

TEST(CommandDispatcherTest, NumericCommandIsReadAsItsText)
{
    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"12\",\"id\":1}",
              Dispatch("{\"command\":12,\"id\":1.9}"));
}

TEST(CommandDispatcherTest, ResponsesDoNotCarryOverBetweenRequests)
{
    const ProcessValues values;
    CCommandDispatcher dispatcher(values);
    JsonCPPWrapper request;
    ASSERT_TRUE(request.Parse("{\"command\":\"GetLang\",\"id\":1}"));
    dispatcher.Dispatch(request);
    ASSERT_TRUE(request.Parse("{\"command\":\"Other\",\"id\":2}"));

    EXPECT_EQ("{\"CommandError\":2,\"CommandErrorMsg\":\"Invalid Command\",\"command\":\"Other\",\"id\":2}",
              dispatcher.Dispatch(request));
}
