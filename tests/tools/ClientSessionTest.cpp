#include "tools/nmclient/ClientSession.h"

#include "tests/fakes/FakeHostProcess.h"

#include <gtest/gtest.h>

#include <sstream>

namespace
{
// A host that answers every request with status 0 and the request's id.
std::string Answer(const std::string& body)
{
    const std::optional<std::string> id = MessageId(body);
    return CFakeHostProcess::Frame("{\"CommandError\":0" + (id ? ",\"id\":" + *id : std::string()) + "}");
}

struct ClientRun
{
    explicit ClientRun(unsigned timeoutMs = 2000)
        : session(host, timeoutMs, [this](const std::string& line) { output += line + "\n"; })
    {
    }

    int Script(const std::string& lines)
    {
        session.Start();
        std::istringstream script(lines);
        session.RunScript(script);
        return session.Finish();
    }

    CFakeHostProcess host;
    std::string output; // written only by the session's printer, one call at a time
    CClientSession session;
};
} // namespace

TEST(ClientSessionTest, EveryRequestAnsweredAndAHostEndingWithZeroIsSuccess)
{
    ClientRun run;
    run.host.respond = Answer;

    EXPECT_EQ(0, run.Script("{\"command\":\"GetLang\",\"id\":1}\n# comment\n{\"command\":\"Identify\",\"id\":2}\n"));

    EXPECT_NE(std::string::npos, run.output.find("-- started host process 4242"));
    EXPECT_NE(std::string::npos, run.output.find("] >> #1 {\"command\":\"GetLang\",\"id\":1} (28 bytes)"));
    EXPECT_NE(std::string::npos, run.output.find("<< {\"CommandError\":0,\"id\":2} (25 bytes; answer to #2 after "));
    EXPECT_NE(std::string::npos, run.output.find("-- 2 sent, 2 answered, 0 unsolicited, 0 malformed; round trip "));
    EXPECT_NE(std::string::npos, run.output.find("; host exit code 0\n"));
}

TEST(ClientSessionTest, UnsolicitedFramesAreCountedAndAreNoFailure)
{
    ClientRun run;
    run.host.respond = [](const std::string& body) {
        return CFakeHostProcess::Frame("{\"command\":\"FormFill\"}") + Answer(body);
    };

    EXPECT_EQ(0, run.Script("{\"id\":7}\n"));

    EXPECT_NE(std::string::npos, run.output.find("<< {\"command\":\"FormFill\"} (22 bytes; unsolicited)"));
    EXPECT_NE(std::string::npos, run.output.find("1 sent, 1 answered, 1 unsolicited"));
}

TEST(ClientSessionTest, ARequestLeftUnansweredFailsAndIsNamed)
{
    ClientRun run(100);
    run.host.respond = [](const std::string& body) { return body == "{\"id\":2}" ? std::string() : Answer(body); };

    EXPECT_EQ(1, run.Script("{\"id\":1}\n{\"id\":2}\n{\"id\":3}\n"));

    EXPECT_NE(std::string::npos, run.output.find("!! no answer to request #2\n"));
}

TEST(ClientSessionTest, AHostExitCodeOtherThanZeroFails)
{
    ClientRun run;
    run.host.respond = Answer;
    run.host.exitCode = 3;

    EXPECT_EQ(1, run.Script("{\"id\":1}\n"));

    EXPECT_NE(std::string::npos, run.output.find("; host exit code 3\n"));
}

TEST(ClientSessionTest, AHostThatDoesNotExitIsEndedAndFails)
{
    ClientRun run(100);
    run.host.respond = Answer;
    run.host.exitsWhenInputCloses = false;

    EXPECT_EQ(1, run.Script("{\"id\":1}\n"));

    EXPECT_TRUE(run.host.killed);
    EXPECT_NE(std::string::npos,
              run.output.find("!! the host did not exit within 0.1 s of its input closing; ending it"));
}

TEST(ClientSessionTest, MalformedOutputFails)
{
    ClientRun run;
    run.host.respond = [](const std::string& body) { return Answer(body) + CFakeHostProcess::Frame("{bad"); };

    EXPECT_EQ(1, run.Script("{\"id\":1}\n"));

    EXPECT_NE(std::string::npos, run.output.find("!! malformed frame (4 bytes): the body is not JSON"));
    EXPECT_NE(std::string::npos, run.output.find("1 answered, 0 unsolicited, 1 malformed"));
}

TEST(ClientSessionTest, OutputEndingInsideAFrameIsMalformed)
{
    ClientRun run;
    run.host.Push(std::string("\x10\x00\x00\x00{\"id\"", 9));

    EXPECT_EQ(1, run.Script(""));

    EXPECT_NE(std::string::npos, run.output.find("!! the output ended inside a frame: 5 of 16 body bytes"));
}

TEST(ClientSessionTest, ARequestAfterCloseIsNotDeliveredAndFails)
{
    ClientRun run;
    run.host.respond = Answer;

    EXPECT_EQ(1, run.Script("{\"id\":1}\n!wait\n!close\n{\"id\":2}\n"));

    EXPECT_NE(std::string::npos, run.output.find("!! request #2 was not delivered: the host's input is closed"));
}

TEST(ClientSessionTest, AnInvalidClientLineIsSkippedWithItsNumber)
{
    ClientRun run;
    run.host.respond = Answer;

    EXPECT_EQ(0, run.Script("{\"id\":1}\n!bogus\n"));

    EXPECT_NE(std::string::npos, run.output.find("!! line 2 skipped: not a client command"));
}

TEST(ClientSessionTest, OddBytesAreShownEscaped)
{
    EXPECT_EQ("a\\x00b\\xC3\\xA9", PrintableBody(std::string("a\0b\xC3\xA9", 5)));
    EXPECT_EQ("ab...", PrintableBody("abc", 2));
}
