#include "messaging/Responses.h"

#include "config/MemoryRegistry.h"
#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/JsonText.h"
#include "tests/fakes/StringStreams.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

TEST(ResponsesTest, StatusTexts)
{
    const std::pair<std::uint32_t, const char*> table[] = {
        {0, "success"},      {1, "Invalid Json"},     {2, "Invalid Command"},
        {3, "fail"},         {4, "Argument missing"}, {5, "pending"},
        {6, "vault select"}, {7, "unknown error"},    {4294967295u, "unknown error"},
    };
    for (const auto& [code, text] : table)
        EXPECT_STREQ(text, StatusText(code)) << code;
}

TEST(ResponsesTest, SetStatusWritesTheTwoMembersOnly)
{
    JsonCPPWrapper response;
    response.SetString("command", "GetLang");

    SetStatus(response, 6);

    EXPECT_EQ("{\"CommandError\":6,\"CommandErrorMsg\":\"vault select\",\"command\":\"GetLang\"}", Text(response));
}

TEST(ResponsesTest, SetStatusWritesTheCodeAsTheMessageHasIt)
{
    JsonCPPWrapper response;

    SetStatus(response, 4294967295u);

    EXPECT_EQ("{\"CommandError\":-1,\"CommandErrorMsg\":\"unknown error\"}", Text(response));
}

TEST(ResponsesTest, FrameIsLengthThenBodyThenFlush)
{
    CFakeLogSink sink;
    CDebugLog log(sink);
    CStringSink out;
    CResponseWriter writer(out, log);

    writer.WriteResponse(std::string(300, 'a'));

    ASSERT_EQ(304u, out.Bytes().size());
    EXPECT_EQ(std::string("\x2C\x01\x00\x00", 4), out.Bytes().substr(0, 4)); // 300, little-endian
    EXPECT_EQ(std::string(300, 'a'), out.Bytes().substr(4));
    EXPECT_EQ(1, out.Flushes());
}

TEST(ResponsesTest, EmptyTextProducesNoFrame)
{
    CFakeLogSink sink;
    CDebugLog log(sink);
    CStringSink out;
    CResponseWriter writer(out, log);

    writer.WriteResponse("");

    EXPECT_EQ("", out.Bytes());
    EXPECT_EQ(0, out.Flushes());
}

TEST(ResponsesTest, EmptyTextIsLoggedAsNoData)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;3");
    CFakeLogSink sink;
    CDebugLog log(sink);
    log.Open(registry, "LVBHOHost");
    CStringSink out;
    CResponseWriter writer(out, log);

    writer.WriteResponse("");

    std::vector<std::string> texts;
    for (const std::string& line : sink.m_debugOutput)
        if (line != "\r\n")
            texts.push_back(line.substr(line.find(")-") + 2));
    EXPECT_EQ((std::vector<std::string>{"WriteResponse before lock respose- ", "WriteResponse got lock respose- ",
                                        "WriteResponse fail no data"}),
              texts);
}

TEST(ResponsesTest, FramesFromTwoThreadsStayWhole)
{
    CFakeLogSink sink;
    CDebugLog log(sink);
    CStringSink out;
    CResponseWriter writer(out, log);
    const std::string first(5000, 'a');
    const std::string second(7000, 'b');

    std::thread a([&] {
        for (int i = 0; i < 200; ++i)
            writer.WriteResponse(first);
    });
    std::thread b([&] {
        for (int i = 0; i < 200; ++i)
            writer.WriteResponse(second);
    });
    a.join();
    b.join();

    const std::string& bytes = out.Bytes();
    std::size_t position = 0;
    int frames = 0;
    while (position < bytes.size())
    {
        const std::uint32_t length =
            static_cast<unsigned char>(bytes[position]) | static_cast<unsigned char>(bytes[position + 1]) << 8;
        const std::string body = bytes.substr(position + 4, length);
        ASSERT_TRUE(body == first || body == second) << "frame " << frames << " is split";
        position += 4 + length;
        ++frames;
    }
    EXPECT_EQ(400, frames);
}
