#include "tools/nmclient/NmSession.h"

#include "messaging/Framing.h"

#include <gtest/gtest.h>

namespace
{
std::string Frame(const std::string& body)
{
    return EncodeFrameLength(static_cast<std::uint32_t>(body.size())) + body;
}
} // namespace

TEST(FrameAssemblerTest, CutsFramesArrivingInAnyPieces)
{
    const std::string stream = Frame("{\"id\":1}") + Frame("[1,2]") + Frame("\"\xC3\xA9\"");
    for (std::size_t cut = 0; cut <= stream.size(); ++cut)
    {
        CFrameAssembler assembler;
        std::vector<ReceivedFrame> frames = assembler.Feed(stream.data(), cut);
        for (ReceivedFrame& frame : assembler.Feed(stream.data() + cut, stream.size() - cut))
            frames.push_back(std::move(frame));

        ASSERT_EQ(3u, frames.size()) << "cut at " << cut;
        EXPECT_EQ("{\"id\":1}", frames[0].body);
        EXPECT_EQ("[1,2]", frames[1].body);
        EXPECT_EQ("\"\xC3\xA9\"", frames[2].body);
        for (const ReceivedFrame& frame : frames)
            EXPECT_TRUE(frame.usable && frame.problem.empty());
        EXPECT_EQ("", assembler.Finish());
    }
}

TEST(FrameAssemblerTest, ReportsBodiesABrowserWouldRefuse)
{
    CFrameAssembler assembler;
    const std::string stream =
        Frame("{") + Frame(std::string("{\"a\":\"\0\"}", 9)) + Frame("\"\xFF\"") + Frame("") + Frame("{} {}");

    const std::vector<ReceivedFrame> frames = assembler.Feed(stream.data(), stream.size());

    ASSERT_EQ(5u, frames.size());
    EXPECT_NE(std::string::npos, frames[0].problem.find("not JSON"));
    EXPECT_EQ("the body holds a NUL byte", frames[1].problem);
    EXPECT_EQ("the body is not UTF-8 text", frames[2].problem);
    EXPECT_EQ("empty body", frames[3].problem);
    EXPECT_NE(std::string::npos, frames[4].problem.find("not JSON"));
    for (const ReceivedFrame& frame : frames)
        EXPECT_FALSE(frame.usable);
}

TEST(FrameAssemblerTest, AFrameLargerThanABrowserTakesIsUsableButReported)
{
    CFrameAssembler assembler;
    const std::string stream = Frame("\"" + std::string(kBrowserMaxHostMessage, 'x') + "\"");

    const std::vector<ReceivedFrame> frames = assembler.Feed(stream.data(), stream.size());

    ASSERT_EQ(1u, frames.size());
    EXPECT_TRUE(frames[0].usable);
    EXPECT_NE(std::string::npos, frames[0].problem.find("larger than"));
}

TEST(FrameAssemblerTest, AnImpossibleLengthStopsTheReading)
{
    CFrameAssembler assembler;
    const std::string stream = EncodeFrameLength(0xFFFFFFFFu) + Frame("{}");

    const std::vector<ReceivedFrame> frames = assembler.Feed(stream.data(), stream.size());

    ASSERT_EQ(1u, frames.size());
    EXPECT_TRUE(frames[0].fatal);
    EXPECT_NE(std::string::npos, frames[0].problem.find("4294967295"));
    EXPECT_TRUE(assembler.Feed(stream.data(), stream.size()).empty());
    EXPECT_EQ("", assembler.Finish());
}

TEST(FrameAssemblerTest, SaysWhereTheOutputEndedInsideAFrame)
{
    CFrameAssembler header;
    header.Feed("\x05\x00", 2);
    EXPECT_EQ("the output ended inside a frame's length (2 of 4 bytes)", header.Finish());

    CFrameAssembler body;
    const std::string partial = EncodeFrameLength(10) + "{\"a\"";
    body.Feed(partial.data(), partial.size());
    EXPECT_EQ("the output ended inside a frame: 4 of 10 body bytes", body.Finish());
}

TEST(RequestTrackerTest, MatchesAnswersById)
{
    CRequestTracker tracker;
    const Clock::time_point t0 = Clock::now();
    EXPECT_EQ(1u, tracker.Sent("{\"command\":\"GetLang\",\"id\":7}", t0));
    EXPECT_EQ(2u, tracker.Sent("{\"command\":\"Identify\",\"id\":8}", t0));

    const CRequestTracker::Match second =
        tracker.Received("{\"id\":8,\"status\":0}", t0 + std::chrono::milliseconds(5));
    const CRequestTracker::Match first = tracker.Received("{\"id\":7}", t0 + std::chrono::milliseconds(9));

    EXPECT_TRUE(second.answer);
    EXPECT_EQ(2u, second.request);
    EXPECT_DOUBLE_EQ(5.0, second.roundTripMs);
    EXPECT_EQ(1u, first.request);
    EXPECT_EQ(0u, tracker.Waiting());
}

TEST(RequestTrackerTest, FramesWithoutIdOrStatusAreUnsolicited)
{
    CRequestTracker tracker;
    tracker.Sent("{\"id\":1}", Clock::now());
    tracker.Sent("{\"command\":\"GetLang\"}", Clock::now());

    EXPECT_FALSE(tracker.Received("{\"command\":\"FormFill\"}", Clock::now()).answer);
    EXPECT_FALSE(tracker.Received("not json", Clock::now()).answer);
    EXPECT_EQ(2u, tracker.Waiting());
}

TEST(RequestTrackerTest, AStatusWithoutIdAnswersARequestWhoseIdTheHostCouldNotRead)
{
    CRequestTracker tracker;
    tracker.Sent("{\"id\":1}", Clock::now());
    tracker.Sent("{\"command\":\"GetLang\",\"id\":\"four\"}", Clock::now());

    const CRequestTracker::Match match =
        tracker.Received("{\"CommandError\":4,\"CommandErrorMsg\":\"Argument missing\"}", Clock::now());

    EXPECT_TRUE(match.answer);
    EXPECT_EQ(2u, match.request);
    EXPECT_EQ((std::vector<std::size_t>{1}), tracker.WaitingRequests());
}

TEST(RequestTrackerTest, RequestsWithoutAUsableIdTakeTheHostsOwnIdInOrder)
{
    CRequestTracker tracker;
    tracker.Sent("{", Clock::now());
    tracker.Sent("{\"command\":\"GetLang\"}", Clock::now());
    tracker.Sent("{\"id\":3}", Clock::now());

    EXPECT_EQ(1u, tracker.Received("{\"id\":-1,\"status\":4}", Clock::now()).request);
    EXPECT_EQ(3u, tracker.Received("{\"id\":3}", Clock::now()).request);
    EXPECT_EQ(2u, tracker.Received("{\"id\":-1}", Clock::now()).request);
    EXPECT_FALSE(tracker.Received("{\"id\":-1}", Clock::now()).answer);
}

TEST(RequestTrackerTest, ListsTheRequestsStillWaiting)
{
    CRequestTracker tracker;
    tracker.Sent("{\"id\":1}", Clock::now());
    tracker.Sent("{}", Clock::now());
    tracker.Sent("{\"id\":3}", Clock::now());
    tracker.Received("{\"id\":1}", Clock::now());

    EXPECT_EQ((std::vector<std::size_t>{2, 3}), tracker.WaitingRequests());
}

TEST(ScriptLineTest, SendsEveryOtherLineAsItStands)
{
    EXPECT_EQ(ScriptLine::Kind::Skip, ParseScriptLine("").kind);
    EXPECT_EQ(ScriptLine::Kind::Skip, ParseScriptLine("   \r\n").kind);
    EXPECT_EQ(ScriptLine::Kind::Skip, ParseScriptLine("# a comment").kind);

    const ScriptLine send = ParseScriptLine(" {\"command\":\"GetLang\" \r\n");
    EXPECT_EQ(ScriptLine::Kind::Send, send.kind);
    EXPECT_EQ(" {\"command\":\"GetLang\" ", send.text);
}

TEST(ScriptLineTest, ReadsTheClientsOwnCommands)
{
    const ScriptLine sleep = ParseScriptLine("!sleep 250");
    EXPECT_EQ(ScriptLine::Kind::Sleep, sleep.kind);
    EXPECT_EQ(250u, sleep.ms);
    EXPECT_EQ(ScriptLine::Kind::Wait, ParseScriptLine("!wait").kind);
    EXPECT_EQ(1500u, ParseScriptLine("!wait 1500").ms);
    EXPECT_EQ(ScriptLine::Kind::Close, ParseScriptLine("!close").kind);

    EXPECT_EQ(ScriptLine::Kind::Invalid, ParseScriptLine("!sleep").kind);
    EXPECT_EQ(ScriptLine::Kind::Invalid, ParseScriptLine("!sleep -1").kind);
    EXPECT_EQ(ScriptLine::Kind::Invalid, ParseScriptLine("!sleep 9999999999").kind);
    EXPECT_EQ(ScriptLine::Kind::Invalid, ParseScriptLine("!close now").kind);
    EXPECT_EQ(ScriptLine::Kind::Invalid, ParseScriptLine("!exit").kind);
}

TEST(NmSessionTest, FormatsTimesAndFigures)
{
    EXPECT_EQ("[    1.250] ", Timestamp(1.25));
    double median = -1, largest = -1;
    MedianAndMax({}, median, largest);
    EXPECT_EQ(0, median);
    MedianAndMax({4, 1, 3, 2}, median, largest);
    EXPECT_DOUBLE_EQ(2.5, median);
    EXPECT_DOUBLE_EQ(4, largest);
    MedianAndMax({5, 1, 3}, median, largest);
    EXPECT_DOUBLE_EQ(3, median);
}
