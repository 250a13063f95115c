#pragma once
// Byte streams over strings. The source can hand its bytes out in small pieces, as a pipe does.

#include "messaging/ByteStream.h"

#include <algorithm>
#include <cstring>
#include <string>

class CStringSource : public IByteSource
{
public:
    explicit CStringSource(std::string bytes, std::size_t pieceSize = 0) : m_bytes(std::move(bytes)), m_piece(pieceSize)
    {
    }

    std::size_t Read(char* buffer, std::size_t count) override
    {
        std::size_t n = std::min(count, m_bytes.size() - m_position);
        if (m_piece != 0)
            n = std::min(n, m_piece);
        std::memcpy(buffer, m_bytes.data() + m_position, n);
        m_position += n;
        return n;
    }

private:
    std::string m_bytes;
    std::size_t m_piece;
    std::size_t m_position = 0;
};

// A source of `size` bytes of one value that never holds them all in memory.
class CRepeatSource : public IByteSource
{
public:
    CRepeatSource(std::uint64_t size, char value) : m_left(size), m_value(value) {}

    std::size_t Read(char* buffer, std::size_t count) override
    {
        const std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(count, m_left));
        std::memset(buffer, m_value, n);
        m_left -= n;
        m_largestRead = std::max(m_largestRead, count);
        return n;
    }

    std::size_t LargestRead() const { return m_largestRead; }

private:
    std::uint64_t m_left;
    char m_value;
    std::size_t m_largestRead = 0;
};

class CStringSink : public IByteSink
{
public:
    void Write(const char* data, std::size_t count) override { m_bytes.append(data, count); }
    void Flush() override { ++m_flushes; }

    const std::string& Bytes() const { return m_bytes; }
    int Flushes() const { return m_flushes; }

private:
    std::string m_bytes;
    int m_flushes = 0;
};

// Frames a body for input: its 4-byte little-endian length, then the bytes.
inline std::string Frame(const std::string& body)
{
    const auto n = static_cast<std::uint32_t>(body.size());
    std::string framed{static_cast<char>(n & 0xFF), static_cast<char>((n >> 8) & 0xFF),
                       static_cast<char>((n >> 16) & 0xFF), static_cast<char>((n >> 24) & 0xFF)};
    return framed + body;
}
