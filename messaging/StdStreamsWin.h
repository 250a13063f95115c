#pragma once
// Standard input and output as the browser channel. Both are switched to binary mode first: text mode would turn
// CR LF into LF and stop at 0x1A on input, and add CR before LF on output.

#include "messaging/ByteStream.h"

// Puts stdin and stdout into binary mode.
void SetBinaryStdStreams();

class CStdInSource : public IByteSource
{
public:
    std::size_t Read(char* buffer, std::size_t count) override;
};

class CStdOutSink : public IByteSink
{
public:
    void Write(const char* data, std::size_t count) override;
    void Flush() override;
};
