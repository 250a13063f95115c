#include "messaging/StdStreamsWin.h"

#include <fcntl.h>
#include <io.h>

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace
{
// A buffer grown by one large answer is given back afterwards.
constexpr std::size_t kKeptCapacity = 64 * 1024;
} // namespace

void SetBinaryStdStreams()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

std::size_t CStdInSource::Read(char* buffer, std::size_t count)
{
    std::cin.read(buffer, static_cast<std::streamsize>(count));
    return static_cast<std::size_t>(std::cin.gcount());
}

void CStdOutSink::Write(const char* data, std::size_t count)
{
    try
    {
        m_pending.append(data, count);
    }
    catch (...)
    {
        // No part of a frame that could not be held whole may lead the next one.
        m_pending.clear();
        throw;
    }
}

void CStdOutSink::Flush()
{
    // Whatever the C runtime still holds goes first, so that nothing written through it can follow a frame.
    std::cout << std::flush;
    std::fflush(stdout);
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    const char* next = m_pending.data();
    std::size_t left = m_pending.size();
    while (left > 0)
    {
        DWORD written = 0;
        const DWORD chunk = static_cast<DWORD>(std::min<std::size_t>(left, 1u << 30));
        // A closed pipe drops the rest, as the stream did: the browser has gone.
        if (!::WriteFile(output, next, chunk, &written, nullptr) || written == 0)
            break;
        next += written;
        left -= written;
    }
    m_pending.clear();
    if (m_pending.capacity() > kKeptCapacity)
        m_pending.shrink_to_fit();
}
