// LvLogDecode: prints the host's scrambled debug log as text, once or following the file as it grows.

#include "tools/logdecode/LogDecoder.h"

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

namespace
{
constexpr const char* kUsage = "usage: LvLogDecode [-f | --follow] [--interval MS] FILE\n"
                               "       LvLogDecode --help\n";

constexpr const char* kHelp =
    "Prints a debug log of the host (C:\\TEMP\\LVBHOHost.txt when \"lvDebugSupport\" switches it on) as text.\n"
    "On disk every byte but 0, 9 and 10 is shifted up by 10 and each line ends in an unshifted CR LF;\n"
    "the output has the entries as the host wrote them, each starting with CR LF.\n"
    "\n"
    "  FILE            the log file; \"-\" reads standard input\n"
    "  -f, --follow    keep reading as the file grows, like tail -f; waits for a file that does not exist yet\n"
    "                  (or no longer does) and starts again from the beginning when the file gets shorter\n"
    "  --interval MS   how often to look for new bytes when following (default 200, 10 to 60000)\n"
    "  -h, --help      this text\n"
    "\n"
    "Exit codes: 0 done, 1 the file cannot be read, 2 bad arguments. When following, the program runs until it is\n"
    "stopped (Ctrl-C); a file it cannot read is reported on stderr and waited for.\n";

struct Options
{
    std::string file;
    bool follow = false;
    int intervalMs = 200;
};

void Write(const std::string& text)
{
    if (!text.empty())
        std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

int Usage(const char* problem)
{
    std::fprintf(stderr, "LvLogDecode: %s\n%s", problem, kUsage);
    return 2;
}

int DecodeStream(std::FILE* input)
{
    CLogDecoder decoder;
    std::vector<char> buffer(64 * 1024);
    std::size_t count;
    while ((count = std::fread(buffer.data(), 1, buffer.size(), input)) > 0)
        Write(decoder.Feed(buffer.data(), count));
    Write(decoder.Finish());
    return std::ferror(input) ? 1 : 0;
}

// Reads [offset, end of file) of `path`; false when the file cannot be opened.
bool ReadFrom(const std::filesystem::path& path, std::uintmax_t offset, std::string& bytes)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    in.seekg(static_cast<std::streamoff>(offset));
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

int Follow(const Options& options)
{
    const std::filesystem::path path(options.file);
    CLogDecoder decoder;
    std::uintmax_t offset = 0;
    bool waitingNoted = false;
    bool unreadableNoted = false;
    for (;;)
    {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(path, error);
        if (error)
        {
            if (!waitingNoted)
                std::fprintf(stderr, "LvLogDecode: waiting for %s to appear\n", options.file.c_str());
            waitingNoted = true;
            offset = 0;
            decoder = CLogDecoder();
        }
        else
        {
            waitingNoted = false;
            if (size < offset)
            {
                std::fprintf(stderr, "LvLogDecode: %s was truncated; reading it from the beginning\n",
                             options.file.c_str());
                offset = 0;
                decoder = CLogDecoder();
            }
            std::string bytes;
            if (size > offset)
            {
                if (ReadFrom(path, offset, bytes))
                {
                    unreadableNoted = false;
                    offset += bytes.size();
                    Write(decoder.Feed(bytes.data(), bytes.size()));
                }
                else if (!unreadableNoted)
                {
                    std::fprintf(stderr, "LvLogDecode: cannot read %s; waiting\n", options.file.c_str());
                    unreadableNoted = true;
                }
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(options.intervalMs));
    }
}

} // namespace

int main(int argc, char** argv)
{
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    Options options;
    for (int i = 1; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if (arg == "-h" || arg == "--help")
        {
            std::fputs(kUsage, stdout);
            std::fputs(kHelp, stdout);
            return 0;
        }
        if (arg == "-f" || arg == "--follow")
            options.follow = true;
        else if (arg == "--interval")
        {
            if (i + 1 >= argc)
                return Usage("--interval needs a number of milliseconds");
            char* end = nullptr;
            const long value = std::strtol(argv[++i], &end, 10);
            if (end == argv[i] || *end != '\0' || value < 10 || value > 60000)
                return Usage("--interval takes 10 to 60000 milliseconds");
            options.intervalMs = static_cast<int>(value);
        }
        else if (arg.size() > 1 && arg[0] == '-')
            return Usage(("unknown option " + arg).c_str());
        else if (!options.file.empty())
            return Usage("only one FILE can be given");
        else
            options.file = arg;
    }
    if (options.file.empty())
        return Usage("no FILE given");
    if (options.file == "-")
    {
        if (options.follow)
            return Usage("standard input cannot be followed");
        return DecodeStream(stdin);
    }
    if (options.follow)
        return Follow(options);

    std::FILE* input = std::fopen(options.file.c_str(), "rb");
    if (input == nullptr)
    {
        std::fprintf(stderr, "LvLogDecode: cannot open %s: %s\n", options.file.c_str(), std::strerror(errno));
        return 1;
    }
    const int result = DecodeStream(input);
    std::fclose(input);
    if (result != 0)
        std::fprintf(stderr, "LvLogDecode: reading %s failed\n", options.file.c_str());
    return result;
}
