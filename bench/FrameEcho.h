#pragma once
// The framing of the floors: frames read from the standard input the same way LVBHOHost reads them, each sent back
// unchanged with one write to the output handle, as LVBHOHost writes its answers. Header-only; each floor is one
// source file.

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdint>
#include <iostream>
#include <string>

// Serves frames until a zero length or the end of input, calling `perFrame` between reading a frame and writing it
// back. Returns 0.
template <typename PerFrame>
int EchoFrames(PerFrame perFrame)
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    std::string frame;
    for (;;)
    {
        unsigned char header[4] = {0, 0, 0, 0};
        std::cin.read(reinterpret_cast<char*>(header), 4);
        const std::uint32_t length =
            header[0] | header[1] << 8 | header[2] << 16 | static_cast<std::uint32_t>(header[3]) << 24;
        if (!std::cin || length == 0)
            break;
        frame.assign(reinterpret_cast<const char*>(header), 4);
        frame.resize(4 + static_cast<std::size_t>(length));
        std::cin.read(frame.data() + 4, length);
        perFrame();
        const char* next = frame.data();
        std::size_t left = frame.size();
        while (left > 0)
        {
            DWORD written = 0;
            if (!::WriteFile(output, next, static_cast<DWORD>(left), &written, nullptr) || written == 0)
                return 0;
            next += written;
            left -= written;
        }
    }
    return 0;
}
