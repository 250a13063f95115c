// The floor for the host's framing cost: a bare native messaging host that sends every frame back unchanged,
// reading the standard input the same way LVBHOHost does and writing each frame with one write to the output
// handle, as LVBHOHost does.

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>

int main()
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
        if (length == 0)
            break;
        frame.assign(reinterpret_cast<const char*>(header), 4);
        frame.resize(4 + static_cast<std::size_t>(length));
        std::cin.read(frame.data() + 4, length);
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
