#include "messaging/Framing.h"

#include "tests/fakes/StringStreams.h"

#include <gtest/gtest.h>

TEST(FramingTest, LengthIsLittleEndian)
{
    CStringSource source(std::string{'\x02', '\x01', '\x00', '\x00'}); // length 258, little-endian

    EXPECT_EQ(258u, ReadFrameLength(source));
}

TEST(FramingTest, LengthArrivingInPiecesIsAssembled)
{
    CStringSource source(std::string{'\x2C', '\x01', '\x00', '\x00'}, 1);

    EXPECT_EQ(300u, ReadFrameLength(source));
}

TEST(FramingTest, EmptyInputReadsAsZeroLength)
{
    CStringSource source("");

    EXPECT_EQ(0u, ReadFrameLength(source));
}

TEST(FramingTest, PartialHeaderIsTakenAsThePartialValue)
{
    CStringSource source(std::string{'\x05', '\x01'}); // two bytes, then the input ends

    EXPECT_EQ(0x0105u, ReadFrameLength(source));
}

TEST(FramingTest, ShortBodyHoldsWhatArrived)
{
    CStringSource source("{}");
    std::string body = "stale";

    EXPECT_TRUE(ReadFrameBody(source, 10, body));

    EXPECT_EQ("{}", body);
}

TEST(FramingTest, MemoryForABodyFollowsTheBytesThatArriveNotTheClaimedLength)
{
    CStringSource source(std::string(100, 'x'));
    std::string body;

    EXPECT_TRUE(ReadFrameBody(source, 60u * 1024 * 1024, body));

    EXPECT_EQ(100u, body.size());
    EXPECT_LE(body.capacity(), 256u * 1024);
}

TEST(FramingTest, ALargeBodyIsTakenWholeOnceAMebibyteHasArrived)
{
    const std::uint32_t length = 3u * 1024 * 1024 + 5;
    CRepeatSource source(length, 'y');
    std::string body;

    EXPECT_TRUE(ReadFrameBody(source, length, body));

    EXPECT_EQ(length, body.size());
    EXPECT_LE(body.capacity(), length + 64u);
}

TEST(FramingTest, ABodyArrivingInPiecesIsReadWhole)
{
    std::string bytes(300 * 1024 + 7, 'a');
    for (std::size_t i = 0; i < bytes.size(); i += 4099)
        bytes[i] = static_cast<char>('b' + i % 20);
    CStringSource source(bytes + "next", 1000);
    std::string body;

    EXPECT_TRUE(ReadFrameBody(source, static_cast<std::uint32_t>(bytes.size()), body));

    EXPECT_EQ(bytes, body);
    char rest[5] = {};
    EXPECT_EQ(4u, source.Read(rest, 4));
    EXPECT_STREQ("next", rest);
}

TEST(FramingTest, DiscardReadsInBoundedChunks)
{
    CRepeatSource source(5u * 1024 * 1024, 'x');

    EXPECT_TRUE(DiscardFrameBody(source, 5u * 1024 * 1024));
    EXPECT_LE(source.LargestRead(), 64u * 1024);
}

TEST(FramingTest, DiscardReportsInputEndingFirst)
{
    CStringSource source(std::string(100, 'x'));

    EXPECT_FALSE(DiscardFrameBody(source, 0xFFFFFFFFu));
}

TEST(FramingTest, EncodesLengthLittleEndian)
{
    EXPECT_EQ(std::string("\x2C\x01\x00\x00", 4), EncodeFrameLength(300));
    EXPECT_EQ(std::string("\xFF\xFF\xFF\xFF", 4), EncodeFrameLength(0xFFFFFFFFu));
}
