#include "messaging/MessageLoop.h"

#include "config/MemoryRegistry.h"
#include "messaging/JsonCppWrapper.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/StringStreams.h"

#include <gtest/gtest.h>

#include <new>
#include <vector>

namespace
{
// Answers every parsed request with its own text, so the tests see what the loop handed on.
class CEchoDispatcher : public IRequestDispatcher
{
public:
    std::string Dispatch(IJsonMessage& request) override
    {
        std::string text;
        request.ToString(text);
        m_seen.push_back(text);
        return "echo:" + text;
    }
    std::vector<std::string> m_seen;
};

class CThrowingDispatcher : public IRequestDispatcher
{
public:
    std::string Dispatch(IJsonMessage&) override { throw std::bad_alloc(); }
};

constexpr const char* kInvalidJson = "{\"CommandError\":1,\"CommandErrorMsg\":\"Invalid Json\"}";

struct LoopRun
{
    explicit LoopRun(IByteSource& input) : log(logSink), writer(out, log)
    {
        CMessageLoop loop(input, writer, dispatcher, request, response, log);
        loop.Run();
    }
    LoopRun(IByteSource& input, CMemoryRegistry& registry) : log(logSink), writer(out, log)
    {
        log.Open(registry, "LVBHOHost");
        log.SetScramble(false);
        CMessageLoop loop(input, writer, dispatcher, request, response, log);
        loop.Run();
    }

    CFakeLogSink logSink;
    CDebugLog log;
    CStringSink out;
    CResponseWriter writer;
    CEchoDispatcher dispatcher;
    JsonCPPWrapper request;
    JsonCPPWrapper response;
};
} // namespace

namespace
{
// A source that runs out of memory once, on its `failingRead`-th read (from 1), and otherwise reads its bytes.
class CFailingSource : public IByteSource
{
public:
    CFailingSource(std::string bytes, int failingRead) : m_inner(std::move(bytes), 1000), m_failingRead(failingRead) {}

    std::size_t Read(char* buffer, std::size_t count) override
    {
        if (++m_reads == m_failingRead)
            throw std::bad_alloc();
        return m_inner.Read(buffer, count);
    }

private:
    CStringSource m_inner;
    int m_failingRead;
    int m_reads = 0;
};
} // namespace

TEST(MessageLoopTest, ABodyThereIsNoMemoryForIsAnsweredReadPastAndTheNextFrameAnswered)
{
    // The header is one read; the body's first piece fails; the rest of the body must be read past, not parsed.
    const std::string body = "{\"a\":\"" + std::string(5000, 'x') + "\"}";
    CFailingSource input(Frame(body) + Frame("{\"n\":1}"), 2);

    LoopRun run(input);

    EXPECT_EQ(Frame(kInvalidJson) + Frame("echo:{\"n\":1}"), run.out.Bytes());
    EXPECT_EQ((std::vector<std::string>{"{\"n\":1}"}), run.dispatcher.m_seen);
}

TEST(MessageLoopTest, FourZeroBytesEndTheLoopWithNoOutput)
{
    CStringSource input(std::string(4, '\0'));

    LoopRun run(input);

    EXPECT_EQ("", run.out.Bytes());
    EXPECT_TRUE(run.dispatcher.m_seen.empty());
}

TEST(MessageLoopTest, EmptyInputEndsTheLoop)
{
    CStringSource input("");

    LoopRun run(input);

    EXPECT_EQ("", run.out.Bytes());
}

TEST(MessageLoopTest, TwoZeroBytesThenEndEndTheLoop)
{
    CStringSource input(std::string(2, '\0'));

    LoopRun run(input);

    EXPECT_EQ("", run.out.Bytes());
}

TEST(MessageLoopTest, TwoNonZeroBytesThenEndAreTakenAsALength)
{
    CStringSource input(std::string{'\x05', '\x00'}); // length 5, and no body

    LoopRun run(input);

    // Five NUL bytes parse as nothing at all: one "Invalid Json" answer, then the end of input.
    EXPECT_EQ(Frame(kInvalidJson), run.out.Bytes());
}

TEST(MessageLoopTest, UnterminatedObjectIsInvalidJson)
{
    CStringSource input(Frame("{"));

    LoopRun run(input);

    EXPECT_EQ(Frame(kInvalidJson), run.out.Bytes());
}

TEST(MessageLoopTest, BodyPaddedWithNulParsesUpToTheFirstNul)
{
    CStringSource input(Frame(std::string("{}\0\0\0\0\0\0\0\0", 10)));

    LoopRun run(input);

    EXPECT_EQ((std::vector<std::string>{"{}"}), run.dispatcher.m_seen);
}

TEST(MessageLoopTest, ShortBodyIsAnsweredAndThenTheLoopEnds)
{
    CStringSource input(std::string{'\x0A', '\x00', '\x00', '\x00'} + "{}"); // length 10, two bytes sent

    LoopRun run(input);

    EXPECT_EQ((std::vector<std::string>{"{}"}), run.dispatcher.m_seen);
    EXPECT_EQ(Frame("echo:{}"), run.out.Bytes());
}

TEST(MessageLoopTest, TwoFramesInOneWriteAreAnsweredInOrder)
{
    CStringSource input(Frame("{\"n\":1}") + Frame("{\"n\":2}"), 3);

    LoopRun run(input);

    EXPECT_EQ(Frame("echo:{\"n\":1}") + Frame("echo:{\"n\":2}"), run.out.Bytes());
}

TEST(MessageLoopTest, AHundredFramesAreAnsweredInOrder)
{
    std::string in;
    std::string expected;
    for (int i = 0; i < 100; ++i)
    {
        in += Frame("{\"n\":" + std::to_string(i) + "}");
        expected += Frame("echo:{\"n\":" + std::to_string(i) + "}");
    }
    CStringSource input(in);

    LoopRun run(input);

    EXPECT_EQ(expected, run.out.Bytes());
}

TEST(MessageLoopTest, InvalidJsonDoesNotEndTheLoop)
{
    CStringSource input(Frame("not json") + Frame("{}"));

    LoopRun run(input);

    EXPECT_EQ(Frame(kInvalidJson) + Frame("echo:{}"), run.out.Bytes());
}

TEST(MessageLoopTest, FourGigabyteLengthIsAnsweredWithoutAllocatingIt)
{
    CStringSource input(std::string{'\xFF', '\xFF', '\xFF', '\xFF'} + "{}"); // 4 GiB - 1, then two bytes

    LoopRun run(input);

    EXPECT_EQ(Frame(kInvalidJson), run.out.Bytes());
    EXPECT_TRUE(run.dispatcher.m_seen.empty());
}

TEST(MessageLoopTest, BodyAboveTheCeilingIsSkippedAndTheNextFrameAnswered)
{
    const std::uint32_t tooLong = 64u * 1024 * 1024 + 1;
    std::string in{static_cast<char>(tooLong & 0xFF), static_cast<char>((tooLong >> 8) & 0xFF),
                   static_cast<char>((tooLong >> 16) & 0xFF), static_cast<char>(tooLong >> 24)};
    in += std::string(tooLong, ' ');
    in += Frame("{}");
    CStringSource input(in);

    LoopRun run(input);

    EXPECT_EQ(Frame(kInvalidJson) + Frame("echo:{}"), run.out.Bytes());
}

TEST(MessageLoopTest, BodyAtTheCeilingIsRead)
{
    std::string body = "{\"pad\":\"" + std::string(64u * 1024 * 1024 - 10, 'x') + "\"}";
    CStringSource input(Frame(body));

    LoopRun run(input);

    ASSERT_EQ(1u, run.dispatcher.m_seen.size());
    EXPECT_EQ(body, run.dispatcher.m_seen[0]);
}

TEST(MessageLoopTest, ACommandThatThrowsIsAnsweredFailAndTheLoopGoesOn)
{
    CStringSource input(Frame("{}") + Frame("{"));
    CFakeLogSink sink;
    CDebugLog log(sink);
    CStringSink out;
    CResponseWriter writer(out, log);
    CThrowingDispatcher dispatcher;
    JsonCPPWrapper request;
    JsonCPPWrapper response;
    CMessageLoop loop(input, writer, dispatcher, request, response, log);

    loop.Run();

    EXPECT_EQ(Frame("{\"CommandError\":3,\"CommandErrorMsg\":\"fail\"}") + Frame(kInvalidJson), out.Bytes());
}

TEST(MessageLoopTest, ControlBytesSurviveInTheBody)
{
    CStringSource input(Frame(std::string("\r\n{\"a\":\"\x1A\"}\r\n", 13)));

    LoopRun run(input);

    EXPECT_EQ((std::vector<std::string>{"{\"a\":\"\\u001a\"}"}), run.dispatcher.m_seen);
}

TEST(MessageLoopTest, TrafficIsLoggedAtLevelThree)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;3");
    CStringSource input(Frame("{\"a\":1}"));

    LoopRun run(input, registry);

    std::vector<std::string> texts;
    for (const std::string& line : run.logSink.m_debugOutput)
        if (line != "\r\n")
            texts.push_back(line.substr(line.find(")-") + 2));
    EXPECT_EQ((std::vector<std::string>{
                  "MainHandler command - {\"a\":1}",
                  "MainHandler resposbe- echo:{\"a\":1}",
                  "WriteResponse before lock respose- echo:{\"a\":1}",
                  "WriteResponse got lock respose- echo:{\"a\":1}",
                  "WriteResponse succ",
                  "WriteResponse exit",
              }),
              texts);
}

TEST(MessageLoopTest, NothingIsLoggedWithoutTheSwitch)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "InstallDir", "C:\\Lumivar\\");
    CStringSource input(Frame("{\"a\":1}") + Frame("{"));

    LoopRun run(input, registry);

    EXPECT_TRUE(run.logSink.m_debugOutput.empty());
    EXPECT_TRUE(run.logSink.m_fileWrites.empty());
    EXPECT_TRUE(run.logSink.m_folders.empty());
}

TEST(MessageLoopTest, TrafficIsNotLoggedBelowLevelThree)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;2");
    CStringSource input(Frame("{\"a\":1}"));

    LoopRun run(input, registry);

    EXPECT_TRUE(run.logSink.m_debugOutput.empty());
    EXPECT_TRUE(run.logSink.m_fileWrites.empty());
}
