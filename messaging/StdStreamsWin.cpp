#include "messaging/StdStreamsWin.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <iostream>

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
    std::cout.write(data, static_cast<std::streamsize>(count));
}

void CStdOutSink::Flush()
{
    std::cout << std::flush;
}
