#pragma once
// Standard input and output as the browser channel. Both are switched to binary mode first: text mode would turn
// CR LF into LF and stop at 0x1A on input, and add CR before LF on output.

#include "messaging/ByteStream.h"

#include <string>

// Puts stdin and stdout into binary mode.
void SetBinaryStdStreams();

class CStdInSource : public IByteSource
{
public:
    std::size_t Read(char* buffer, std::size_t count) override;
};

// Collects what is written and hands it to the output handle in one write at each flush: the C runtime's stdout
// under Wine writes a pipe one byte per system call. Callers serialise Write and Flush (the response writer holds
// its lock across a frame).
class CStdOutSink : public IByteSink
{
public:
    void Write(const char* data, std::size_t count) override;
    void Flush() override;

private:
    std::string m_pending;
};
