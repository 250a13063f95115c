#include "messaging/JsonCppWrapper.h"

#include "messaging/Utf8Name.h"
#include "tests/fakes/JsonText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace
{
// Reads member `name` as a string into a variable that held stale text, so that an emptied value shows.
std::string StringOf(JsonCPPWrapper& message, const char* name)
{
    std::string value = "stale";
    message.GetString(value, name);
    return value;
}
} // namespace

TEST(JsonMessageTest, FreshMessageIsNull)
{
    JsonCPPWrapper message;

    EXPECT_EQ("null", Text(message));
}

TEST(JsonMessageTest, ClearedObjectIsEmptyWithoutTrailingNewline)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"a\":1}"));

    message.Clear();

    EXPECT_EQ("{}", Text(message));
}

TEST(JsonMessageTest, ClearLeavesAScalarAsItIs)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("\"text\""));

    message.Clear();

    EXPECT_EQ("\"text\"", Text(message));
}

TEST(JsonMessageTest, ReadingAMissingMemberAddsItAsNull)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{}"));

    EXPECT_EQ("", StringOf(message, "absent"));

    EXPECT_TRUE(message.HasMember("absent"));
    EXPECT_EQ("{\"absent\":null}", Text(message));
}

TEST(JsonMessageTest, AnIntegerThatCannotBeReadIsZeroAndOnlyAWrongValueIsAConversionFailure)
{
    const std::pair<const char*, bool> table[] = {
        {"{}", false},                 // a missing member
        {"{\"id\":\"x\"}", true},      // a string, and no exception
        {"{\"id\":4294967296}", true}, // out of range
    };
    for (const auto& [text, failed] : table)
    {
        SCOPED_TRACE(text);
        JsonCPPWrapper message;
        ASSERT_TRUE(message.Parse(text));

        EXPECT_EQ(0, message.GetInt("id"));
        EXPECT_EQ(failed, message.ConversionFailed());
    }
}

TEST(JsonMessageTest, BooleanReadAsStringIsItsWord)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"flag\":true,\"off\":false}"));

    EXPECT_EQ("true", StringOf(message, "flag"));
    EXPECT_EQ("false", StringOf(message, "off"));
}

TEST(JsonMessageTest, ObjectReadAsStringIsAConversionFailure)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"command\":{\"a\":1}}"));

    EXPECT_EQ("", StringOf(message, "command"));
    EXPECT_TRUE(message.ConversionFailed());
}

TEST(JsonMessageTest, ClearAndParseResetTheConversionFailure)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"id\":\"x\"}"));
    message.GetInt("id");

    message.Clear();
    EXPECT_FALSE(message.ConversionFailed());
    message.GetInt("id");
    ASSERT_TRUE(message.Parse("{}"));

    EXPECT_FALSE(message.ConversionFailed());
}

TEST(JsonMessageTest, MembersOfANonObjectRootAreAbsent)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("[1,2,3]"));
    std::string value;

    EXPECT_FALSE(message.HasMember("command"));
    message.GetString(value, "command");
    EXPECT_TRUE(message.ConversionFailed());
    EXPECT_EQ(1, message.SetInt("x", 1));
}

TEST(JsonMessageTest, ParseStopsAtTheFirstNul)
{
    JsonCPPWrapper message;
    const std::string text("{\"a\":1}\0garbage", 15);

    EXPECT_TRUE(message.Parse(text.c_str()));
    EXPECT_EQ("{\"a\":1}", Text(message));
}

TEST(JsonMessageTest, MalformedTextDoesNotParse)
{
    JsonCPPWrapper message;

    EXPECT_FALSE(message.Parse("{"));
    EXPECT_FALSE(message.Parse(""));
    EXPECT_FALSE(message.Parse(nullptr));
}

TEST(JsonMessageTest, DeepNestingFailsToParseInsteadOfThrowing)
{
    JsonCPPWrapper message;
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');

    EXPECT_FALSE(message.Parse(deep.c_str()));
}

TEST(JsonMessageTest, CountsValuesOutsideStrings)
{
    EXPECT_EQ(1u, CountJsonValues("5", 100));
    EXPECT_EQ(4u, CountJsonValues("{\"a\":1,\"b\":[2]}", 100));
    EXPECT_EQ(2u, CountJsonValues("{\"a,[{\":\"x\\\",y\"}", 100));
    EXPECT_EQ(3u, CountJsonValues("[1,2,3,4,5]", 2)); // stops once past the limit
}

TEST(JsonMessageTest, TooManyValuesDoNotParse)
{
    JsonCPPWrapper message;
    std::string many = "[0";
    for (std::size_t i = 1; i < kMaxJsonValues; ++i)
        many += ",0";
    many += "]";

    EXPECT_FALSE(message.Parse(many.c_str()));
    many.replace(many.size() - 3, 2, "");
    EXPECT_TRUE(message.Parse(many.c_str()));
    EXPECT_EQ(kMaxJsonValues, CountJsonValues(many.c_str(), kMaxJsonValues)); // the array and its elements
}

TEST(JsonMessageTest, AHugeStringIsOneValue)
{
    JsonCPPWrapper message;
    const std::string text = "{\"pad\":\"" + std::string(1000000, ',') + "\"}";

    EXPECT_TRUE(message.Parse(text.c_str()));
}

namespace
{
// Parses `text` both ways, with strings of four bytes or more counting as long: ParseInPlace must read the same
// message as Parse. Returns whether it took anything out of the text.
bool ParsesAsParseDoes(const std::string& text)
{
    JsonCPPWrapper reference;
    JsonCPPWrapper inPlace;
    std::string buffer = text;

    const bool parsed = reference.Parse(text.c_str());
    EXPECT_EQ(parsed, inPlace.ParseInPlace(buffer, 4)) << text;
    if (parsed)
    {
        EXPECT_EQ(Text(reference), Text(inPlace)) << text;
    }
    return buffer != text;
}
} // namespace

TEST(JsonMessageTest, ParseInPlaceMovesALongStringOutOfTheText)
{
    JsonCPPWrapper message;
    const std::string pad(kLongJsonString, 'x');
    std::string text = "{\"command\":\"GetLang\",\"pad\":\"" + pad + "\"}";

    ASSERT_TRUE(message.ParseInPlace(text));

    EXPECT_EQ(pad, StringOf(message, "pad"));
    EXPECT_EQ("GetLang", StringOf(message, "command"));
    EXPECT_EQ("{\"command\":\"GetLang\",\"pad\":\"\"" + std::string(kLongJsonString, ' ') + "}", text);
}

TEST(JsonMessageTest, ParseInPlaceLeavesAShortTextAsItIs)
{
    JsonCPPWrapper message;
    std::string text = "{\"pad\":\"" + std::string(kLongJsonString - 1, 'x') + "\"}";
    const std::string before = text;

    ASSERT_TRUE(message.ParseInPlace(text));

    EXPECT_EQ(before, text);
    EXPECT_EQ(kLongJsonString - 1, StringOf(message, "pad").size());
}

TEST(JsonMessageTest, ParseInPlaceDecodesEscapesAsJsoncppDoes)
{
    EXPECT_TRUE(ParsesAsParseDoes(R"({"s":"a\n\t\"\/\\\b\f\r z"})"));
    EXPECT_TRUE(ParsesAsParseDoes(R"({"s":"\u0041\u00e9\u07FF\u0800\u20ac\uFFFF\uE000"})"));
    EXPECT_TRUE(ParsesAsParseDoes(R"({"s":"before\u0000after"})"));
    EXPECT_TRUE(ParsesAsParseDoes("{\"s\":\"caf\xC3\xA9 \x01\x7F\xFF raw\"}"));
}

TEST(JsonMessageTest, ParseInPlaceLeavesSurrogatesAndBadEscapesToJsoncpp)
{
    EXPECT_FALSE(ParsesAsParseDoes(R"({"s":"pair \ud83d\ude00"})"));
    EXPECT_FALSE(ParsesAsParseDoes(R"({"s":"lone \udc00 low"})"));
    EXPECT_FALSE(ParsesAsParseDoes(R"({"s":"high \ud83d alone"})"));
    EXPECT_FALSE(ParsesAsParseDoes(R"({"s":"bad \q escape"})"));
    EXPECT_FALSE(ParsesAsParseDoes(R"({"s":"short \u12"})"));
    EXPECT_FALSE(ParsesAsParseDoes(R"({"s":"not hex \u12G4"})"));
}

TEST(JsonMessageTest, ParseInPlaceLeavesMemberNamesAndCommentedTextsToJsoncpp)
{
    EXPECT_FALSE(ParsesAsParseDoes(R"({"long name" :1})"));
    EXPECT_FALSE(ParsesAsParseDoes("{\"long name\"\r\n\t:\"long value\"} /* a comment */"));
    EXPECT_FALSE(ParsesAsParseDoes(R"({"a":/* "not a string" */ "long value"})"));
    EXPECT_FALSE(ParsesAsParseDoes("// \"opens\n{\"a\":\"long value\"}"));
}

TEST(JsonMessageTest, ParseInPlaceReadsWhatParseReads)
{
    // Where the long strings sit in the message, texts that fail to parse, and texts with more after the message.
    using namespace std::string_literals;
    const std::string texts[] = {
        R"("long root")",
        R"(["long one", "long two", ["long three", {"k":"long four"}], "", "abc"])",
        R"({"a":"long first","a":"long second"})",
        R"({"a":"long first","a":1})",
        R"({"a":1,"a":"long second"})",
        R"({"a":{"b":{"c":["x", "long deep"]}}, "d":"long d"})",
        R"({"a":1} "long after")",
        R"({"a":"long value"} trailing)",
        R"(["long value", })",
        R"(["long value" "long next"])",
        R"({"a":"long value", "b":)",
        R"({"a":"unterminated long)",
        R"({"a":"ends in a backslash\)",
        R"({"a":tru "long value"})",
        R"({"a":"long value"}})",
        "{\"a\":\"long value\"}\0{\"b\":\"long hidden\"}"s,
        R"({"a":"\\"})",
        R"({"a":"long\\" , "b": "\"quoted long\""})",
        "",
        "\"\"",
    };
    for (const std::string& text : texts)
        ParsesAsParseDoes(text);
    EXPECT_TRUE(ParsesAsParseDoes(texts[1]));
    EXPECT_TRUE(ParsesAsParseDoes(texts[6])); // taken out, then not read by jsoncpp at all
}

TEST(JsonMessageTest, CommentsAreAccepted)
{
    JsonCPPWrapper message;

    EXPECT_TRUE(message.Parse("// leading\n{\"a\":1 /* inline */}"));
    EXPECT_EQ(1, message.GetInt("a"));
}

TEST(JsonMessageTest, WriterSortsMembersAndEscapesNonAscii)
{
    JsonCPPWrapper message;

    message.SetString("b", "caf\xC3\xA9");
    message.SetInt("a", -1);

    EXPECT_EQ("{\"a\":-1,\"b\":\"caf\\u00e9\"}", Text(message));
}

TEST(JsonMessageTest, CountsArraysAndObjectsOnly)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"list\":[1,2,3],\"obj\":{\"x\":1,\"y\":2},\"s\":\"abc\"}"));

    EXPECT_EQ(3u, message.GetCount("list"));
    EXPECT_EQ(2u, message.GetCount("obj"));
    EXPECT_EQ(0u, message.GetCount("s"));
    EXPECT_EQ(0u, message.GetCount("absent"));
}

TEST(JsonMessageTest, ReadsArrayElementsAndTheirMembers)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"keys\":[{\"vk\":65,\"name\":\"a\"},{\"vk\":66}],\"words\":[\"x\",7]}"));
    std::string name;
    std::string word;
    std::string number;

    EXPECT_EQ(65, message.GetArrayMemberInt("keys", "vk", 0));
    EXPECT_EQ("a", message.GetArrayMemberString(name, "keys", "name", 0));
    EXPECT_EQ("x", message.GetArrayString(word, "words", 0));
    EXPECT_EQ("7", message.GetArrayString(number, "words", 1));
    EXPECT_EQ(7, message.GetArrayInt("words", 1));
    EXPECT_FALSE(message.ConversionFailed());
}

TEST(JsonMessageTest, MembersOfAnElementThatIsNotAnObjectAreAConversionFailure)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"keys\":[5]}"));
    std::string name = "stale";

    EXPECT_EQ("", message.GetArrayMemberString(name, "keys", "name", 0));
    EXPECT_TRUE(message.ConversionFailed());
    message.ResetConversionFailed();
    EXPECT_EQ(0, message.GetArrayMemberInt("keys", "vk", 0));
    EXPECT_TRUE(message.ConversionFailed());
}

TEST(JsonMessageTest, ANameWithAControlByteIsNormalisedLikeAValue)
{
    CPortableTextCodec codec;
    JsonCPPWrapper message(&codec);
    CPortableTextCodec::SetLastError(0);

    message.SetInt("na\x01me", 1);

    EXPECT_EQ("{\"\":1}", Text(message));
}

// Reading past the end of an array does not grow it to the index asked for, as indexing jsoncpp's values would:
// an index that comes from a request must not decide how much memory the host takes.
TEST(JsonMessageTest, IndexPastTheEndReadsAsNullWithoutGrowingTheArray)
{
    JsonCPPWrapper message;
    ASSERT_TRUE(message.Parse("{\"list\":[1]}"));

    EXPECT_EQ(0, message.GetArrayInt("list", 0xFFFFFFFFu));
    EXPECT_EQ(1u, message.GetCount("list"));
}

TEST(JsonMessageTest, AppendsBuildArrays)
{
    JsonCPPWrapper message;
    JsonCPPWrapper inner;
    inner.SetInt("k", 1);

    message.AppendInt("n", 1);
    message.AppendString("n", "two");
    message.AppendObject("n", &inner);

    EXPECT_EQ("{\"n\":[1,\"two\",{\"k\":1}]}", Text(message));
}

TEST(JsonMessageTest, SetObjectCopiesTheOtherRoot)
{
    JsonCPPWrapper message;
    JsonCPPWrapper info;
    info.SetString("productver", "9.1");

    EXPECT_EQ(1, message.SetObject("productverinfo", &info));
    info.SetString("productver", "changed");

    EXPECT_EQ("{\"productverinfo\":{\"productver\":\"9.1\"}}", Text(message));
}

TEST(JsonMessageTest, SettersReportOne)
{
    JsonCPPWrapper message;

    EXPECT_EQ(1, message.SetInt("a", 1));
    EXPECT_EQ(1, message.SetString("b", "x"));
    EXPECT_EQ(1, message.AppendInt("c", 1));
    EXPECT_EQ(1, message.AppendString("d", "y"));
}

TEST(JsonMessageTest, Latin1ValueIsStoredEmptyWithoutTheLastErrorCondition)
{
    CPortableTextCodec codec;
    JsonCPPWrapper message(&codec);
    CPortableTextCodec::SetLastError(0);

    message.SetString("name", "Caf\xE9");

    EXPECT_EQ("{\"name\":\"\"}", Text(message));
}

TEST(JsonMessageTest, Latin1ValueIsConvertedUnderTheLastErrorCondition)
{
    CPortableTextCodec codec;
    JsonCPPWrapper message(&codec);
    CPortableTextCodec::SetLastError(122);

    message.SetString("name", "Caf\xE9");
    CPortableTextCodec::SetLastError(0);

    EXPECT_EQ("{\"name\":\"Caf\\u00e9\"}", Text(message));
}
