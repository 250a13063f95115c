// The floor for the host's framing cost: a bare native messaging host that sends every frame back unchanged,
// reading and writing the standard streams the same way LVBHOHost does.

#include <fcntl.h>
#include <io.h>

#include <cstdint>
#include <cstdio>
#include <iostream>
#include <string>

int main()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    std::string body;
    for (;;)
    {
        unsigned char header[4] = {0, 0, 0, 0};
        std::cin.read(reinterpret_cast<char*>(header), 4);
        const std::uint32_t length = header[0] | header[1] << 8 | header[2] << 16 | static_cast<std::uint32_t>(header[3]) << 24;
        if (length == 0)
            break;
        body.assign(length, '\0');
        std::cin.read(body.data(), length);
        std::cout.write(reinterpret_cast<const char*>(header), 4);
        std::cout << body << std::flush;
    }
    return 0;
}
