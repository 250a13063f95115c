#include "messaging/Utf8Name.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace
{
// A codec that records its calls and answers as scripted.
class CScriptedCodec : public ITextCodec
{
public:
    std::u16string AnsiToWide(const char* text) override
    {
        m_calls.push_back(std::string("wide:") + text);
        return m_wide;
    }
    int Utf8Length(const std::u16string&) override
    {
        m_calls.push_back("length");
        return m_length;
    }
    std::uint32_t LastError() override { return m_lastError; }
    int WideToUtf8(const std::u16string&, char* buffer, int size) override
    {
        m_calls.push_back("convert:" + std::to_string(size));
        if (m_converted.empty())
            return 0;
        m_converted.copy(buffer, m_converted.size());
        return static_cast<int>(m_converted.size());
    }

    std::u16string m_wide = u"x";
    int m_length = 2;
    std::uint32_t m_lastError = 0;
    std::string m_converted = "x";
    std::vector<std::string> m_calls;
};

using Answer = std::pair<bool, std::string>;

// What ToUtf8Name returns and leaves in a result that held stale text, so that an emptied result shows.
Answer ConvertOverStaleText(ITextCodec& codec, const char* text)
{
    std::string result = "stale";
    const bool ok = ToUtf8Name(codec, text, result);
    return {ok, result};
}
} // namespace

TEST(Utf8NameTest, AcceptsPrintableAsciiAndTheThreeWhitespaceBytes)
{
    EXPECT_TRUE(IsUtf8Text("Hello, world! ~"));
    EXPECT_TRUE(IsUtf8Text("a\tb\nc\rd"));
    EXPECT_TRUE(IsUtf8Text(""));
}

TEST(Utf8NameTest, RefusesOtherControlBytesAndDelete)
{
    for (int byte : {1, 2, 8, 11, 12, 14, 27, 31, 127})
    {
        const char text[] = {'a', static_cast<char>(byte), 'b', '\0'};
        EXPECT_FALSE(IsUtf8Text(text)) << byte;
    }
}

TEST(Utf8NameTest, AcceptsWellFormedSequences)
{
    EXPECT_TRUE(IsUtf8Text("\xC2\x80"));     // U+0080, lowest two-byte lead
    EXPECT_TRUE(IsUtf8Text("\xDF\xBF"));     // highest two-byte
    EXPECT_TRUE(IsUtf8Text("\xE0\xA0\x80")); // U+0800
    EXPECT_TRUE(IsUtf8Text("\xE1\x80\x80")); // lead 225
    EXPECT_TRUE(IsUtf8Text("\xED\x9F\xBF")); // U+D7FF, below the surrogates
    EXPECT_TRUE(IsUtf8Text("\xEE\x80\x80\xEF\xBF\xBF"));
    EXPECT_TRUE(IsUtf8Text("\xF0\x90\x80\x80")); // U+10000
    EXPECT_TRUE(IsUtf8Text("\xF3\xBF\xBF\xBF"));
    EXPECT_TRUE(IsUtf8Text("\xF4\x8F\xBF\xBF")); // U+10FFFF
}

TEST(Utf8NameTest, RefusesOverlongSurrogateAndOutOfRangeForms)
{
    EXPECT_FALSE(IsUtf8Text("\xC0\xAF")); // overlong "/"
    EXPECT_FALSE(IsUtf8Text("\xC1\xBF"));
    EXPECT_FALSE(IsUtf8Text("\xE0\x9F\xBF"));     // overlong three-byte
    EXPECT_FALSE(IsUtf8Text("\xED\xA0\x80"));     // U+D800, a surrogate
    EXPECT_FALSE(IsUtf8Text("\xF0\x8F\xBF\xBF")); // overlong four-byte
    EXPECT_FALSE(IsUtf8Text("\xF4\x90\x80\x80")); // above U+10FFFF
    EXPECT_FALSE(IsUtf8Text("\xF5\x80\x80\x80"));
    EXPECT_FALSE(IsUtf8Text("\xFF"));
}

TEST(Utf8NameTest, RefusesLoneAndTruncatedSequences)
{
    EXPECT_FALSE(IsUtf8Text("\x80")); // a continuation byte alone
    EXPECT_FALSE(IsUtf8Text("\xC3")); // lead, then the end
    EXPECT_FALSE(IsUtf8Text("\xE2\x82"));
    EXPECT_FALSE(IsUtf8Text("\xF0\x9F\x98"));
    EXPECT_FALSE(IsUtf8Text("Caf\xE9")); // Latin-1
}

TEST(Utf8NameTest, NullGivesFailureAndEmptyResult)
{
    CScriptedCodec codec;

    EXPECT_EQ(Answer(false, ""), ConvertOverStaleText(codec, nullptr));
}

TEST(Utf8NameTest, Utf8TextIsTakenAsItIsWithoutTheCodec)
{
    CScriptedCodec codec;
    std::string result;

    EXPECT_TRUE(ToUtf8Name(codec, "caf\xC3\xA9", result));

    EXPECT_EQ("caf\xC3\xA9", result);
    EXPECT_TRUE(codec.m_calls.empty());
}

TEST(Utf8NameTest, OtherTextIsEmptyUnlessTheLastErrorIsInsufficientBuffer)
{
    CScriptedCodec codec;
    codec.m_lastError = 0;
    std::string result = "stale";

    ToUtf8Name(codec, "Caf\xE9", result);

    EXPECT_EQ("", result);
    EXPECT_EQ((std::vector<std::string>{"wide:Caf\xE9", "length"}), codec.m_calls);
}

TEST(Utf8NameTest, OtherTextIsConvertedIntoALengthPlusOneBuffer)
{
    CScriptedCodec codec;
    codec.m_lastError = 122;
    codec.m_length = 6;
    codec.m_converted = "Caf\xC3\xA9";
    std::string result;

    EXPECT_TRUE(ToUtf8Name(codec, "Caf\xE9", result));

    EXPECT_EQ("Caf\xC3\xA9", result);
    EXPECT_EQ("convert:7", codec.m_calls.back());
}

TEST(Utf8NameTest, ANameWithAControlByteGoesThroughTheConversion)
{
    CScriptedCodec codec;
    std::string result;

    ToUtf8Name(codec, "na\x01me", result);

    ASSERT_FALSE(codec.m_calls.empty());
    EXPECT_EQ("wide:na\x01me", codec.m_calls.front());
}

TEST(Utf8NameTest, EmptyWideTextGivesSuccessAndEmptyResult)
{
    CScriptedCodec codec;
    codec.m_wide.clear();

    EXPECT_EQ(Answer(true, ""), ConvertOverStaleText(codec, "\x01"));
}

TEST(Utf8NameTest, FailedConversionGivesEmptyResult)
{
    CScriptedCodec codec;
    codec.m_lastError = 122;
    codec.m_converted.clear();

    EXPECT_EQ(Answer(false, ""), ConvertOverStaleText(codec, "\x01"));
}

TEST(Utf8NameTest, PortableCodecReadsWindows1252)
{
    CPortableTextCodec codec;
    CPortableTextCodec::SetLastError(122);
    std::string result;

    ToUtf8Name(codec, "\x80 \xE9", result);
    CPortableTextCodec::SetLastError(0);

    EXPECT_EQ("\xE2\x82\xAC \xC3\xA9", result);
}
