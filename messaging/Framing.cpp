#include "messaging/Framing.h"

#include <algorithm>
#include <new>
#include <vector>

namespace
{
constexpr std::size_t kDiscardChunk = std::size_t{64} * 1024;
constexpr std::size_t kFirstBodyChunk = std::size_t{64} * 1024;
constexpr std::size_t kWholeBodyAfter = std::size_t{1024} * 1024;

// Reads until `count` bytes have arrived or the source gives nothing more.
std::size_t ReadFully(IByteSource& source, char* buffer, std::size_t count)
{
    std::size_t total = 0;
    while (total < count)
    {
        const std::size_t got = source.Read(buffer + total, count - total);
        if (got == 0)
            break;
        total += got;
    }
    return total;
}
} // namespace

std::uint32_t ReadFrameLength(IByteSource& source)
{
    unsigned char bytes[4] = {0, 0, 0, 0};
    ReadFully(source, reinterpret_cast<char*>(bytes), sizeof(bytes));
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

bool ReadFrameBody(IByteSource& source, std::uint32_t length, std::string& body)
{
    body.clear();
    std::size_t total = 0;
    try
    {
        // The memory follows the bytes that arrive, not the length the header claims: each step at most doubles
        // what has been read so far, until a mebibyte has arrived; then the rest is taken in one step, so that a
        // large body is never copied while it grows.
        while (total < length)
        {
            const std::size_t step = total >= kWholeBodyAfter ? length - total : std::max(total, kFirstBodyChunk);
            const std::size_t want = std::min<std::size_t>(length - total, step);
            body.resize(total + want);
            const std::size_t got = ReadFully(source, body.data() + total, want);
            total += got;
            if (got < want)
                break;
        }
    }
    catch (const std::bad_alloc&)
    {
        body.clear();
        body.shrink_to_fit();
        DiscardFrameBody(source, static_cast<std::uint32_t>(length - total));
        return false;
    }
    body.resize(total);
    return true;
}

bool DiscardFrameBody(IByteSource& source, std::uint32_t length)
{
    std::vector<char> chunk(kDiscardChunk);
    std::uint32_t left = length;
    while (left > 0)
    {
        const std::size_t want = std::min<std::size_t>(left, chunk.size());
        const std::size_t got = ReadFully(source, chunk.data(), want);
        left -= static_cast<std::uint32_t>(got);
        if (got < want)
            return false;
    }
    return true;
}

std::string EncodeFrameLength(std::uint32_t length)
{
    std::string header(4, '\0');
    for (int i = 0; i < 4; ++i)
        header[static_cast<std::size_t>(i)] = static_cast<char>((length >> (8 * i)) & 0xFF);
    return header;
}
