#include "tools/logdecode/LogDecoder.h"

#include "config/DebugLog.h"

#include <gtest/gtest.h>

namespace
{
// What the host's file copy holds for `text`: scrambled, then written in text mode (LF becomes CR LF).
std::string AsWrittenByTheHost(std::string text)
{
    ScrambleLogLine(text);
    std::string file;
    for (char c : text)
    {
        if (c == '\n')
            file += '\r';
        file += c;
    }
    return file;
}
} // namespace

TEST(LogDecoderTest, GivesBackAnEntryAsTheHostWroteIt)
{
    const std::string entry = "\r\n LVBHOHost : Time:12:00:01:250 - LVBHOHost.exe (PID:1a:2b:)-Received {\"id\":1}";

    EXPECT_EQ(entry, CLogDecoder::DecodeAll(AsWrittenByTheHost(entry)));
}

TEST(LogDecoderTest, LeavesNulTabAndLineFeedAndShiftsEveryOtherByteDownByTen)
{
    EXPECT_EQ(std::string("\0\t\n", 3), CLogDecoder::DecodeAll(std::string("\0\t\n", 3)));
    EXPECT_EQ(std::string("\xFA", 1), CLogDecoder::DecodeAll(std::string("\x04", 1)));
    EXPECT_EQ(std::string("\xF7", 1), CLogDecoder::DecodeAll(std::string("\x01", 1)));
    EXPECT_EQ("A", CLogDecoder::DecodeAll("K"));
}

TEST(LogDecoderTest, EveryByteTheHostCanWriteComesBack)
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        if (c != 9 && c != 10 && c != 0xF6 && c != 0xFF) // 0xF6 and 0xFF scramble to 0 and 9
            all += static_cast<char>(c);

    EXPECT_EQ(all, CLogDecoder::DecodeAll(AsWrittenByTheHost(all)));
}

TEST(LogDecoderTest, OnlyTheCarriageReturnBeforeALineFeedIsTheTextModes)
{
    // A scrambled CR is 23; a raw CR not followed by LF is a scrambled byte 3.
    EXPECT_EQ("\r\n", CLogDecoder::DecodeAll("\x17\r\n"));
    EXPECT_EQ(std::string("\x03x", 2), CLogDecoder::DecodeAll("\r\x82"));
}

TEST(LogDecoderTest, PiecesDecodeAsTheWhole)
{
    const std::string file = AsWrittenByTheHost("\r\n first entry\r\n second entry with a tab\tand 100%");
    for (std::size_t cut = 0; cut <= file.size(); ++cut)
    {
        CLogDecoder decoder;
        std::string text = decoder.Feed(file.data(), cut);
        text += decoder.Feed(file.data() + cut, file.size() - cut);
        text += decoder.Finish();
        EXPECT_EQ(CLogDecoder::DecodeAll(file), text) << "cut at " << cut;
    }
}

TEST(LogDecoderTest, ACarriageReturnAtTheVeryEndIsDecodedAsText)
{
    CLogDecoder decoder;

    EXPECT_EQ("", decoder.Feed("\r", 1));
    EXPECT_EQ(std::string("\x03", 1), decoder.Finish());
    EXPECT_EQ("", decoder.Finish());
}
