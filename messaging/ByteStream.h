#pragma once
// The two ends of the browser channel as plain bytes: standard input and standard output in binary mode on
// Windows, string buffers in tests.

#include <cstddef>

class IByteSource
{
public:
    virtual ~IByteSource() = default;
    // Reads up to `count` bytes; returns how many were read. Fewer than asked means the input has ended or failed.
    virtual std::size_t Read(char* buffer, std::size_t count) = 0;
};

class IByteSink
{
public:
    virtual ~IByteSink() = default;
    virtual void Write(const char* data, std::size_t count) = 0;
    virtual void Flush() = 0;
};
