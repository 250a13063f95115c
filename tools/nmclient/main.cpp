// LvNmClient: talks to a native messaging host as a browser does and shows every frame both ways.

#include "tools/nmclient/ClientSession.h"
#include "tools/nmclient/HostProcess.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#define LV_ISATTY _isatty
#define LV_FILENO _fileno
#else
#include <unistd.h>
#define LV_ISATTY isatty
#define LV_FILENO fileno
#endif

namespace
{
constexpr const char* kUsage = "usage: LvNmClient [--input FILE] [--timeout SECONDS] [--] HOST-COMMAND [ARG...]\n"
                               "       LvNmClient --help\n";

constexpr const char* kHelp =
    "Starts HOST-COMMAND as a browser starts a native messaging host, sends it framed requests (a 4-byte\n"
    "little-endian length, then the UTF-8 JSON) and prints every frame in and out with the time since the start.\n"
    "Answers are matched to requests by \"id\" and shown with their round-trip time. A frame with an \"id\" or\n"
    "a \"CommandError\" that matches no request answers the oldest request whose \"id\" the host cannot read back\n"
    "(missing, not a whole number, or -1); other frames are shown as unsolicited. Malformed frames from the host (not "
    "UTF-8, not JSON, a NUL, larger than\n"
    "a browser accepts, cut off at the end) are reported with \"!!\".\n"
    "\n"
    "  --input FILE        the requests, one per line (JSON lines); without it they are read from standard\n"
    "                      input, so they can be typed\n"
    "  --timeout SECONDS   how long to wait for outstanding answers and for the host to exit (default 10)\n"
    "  -h, --help          this text\n"
    "\n"
    "Lines: a line is sent as it stands (so malformed requests can be sent too); empty lines and lines starting\n"
    "with \"#\" are skipped; \"!sleep MS\" pauses, \"!wait [MS]\" waits until every request has its answer,\n"
    "\"!close\" closes the host's input as a browser closing the port does.\n"
    "At the end of the input the client waits for the outstanding answers, closes the host's input, waits for\n"
    "the host to exit (ending it by force after the time-out) and prints a summary.\n"
    "\n"
    "Example: LvNmClient --input session.jsonl -- wine LVBHOHost.exe chrome-extension://<id>/\n"
    "\n"
    "Exit codes: 0 every request answered, no malformed frame and the host exited with 0 by itself;\n"
    "            1 otherwise; 2 bad arguments; 3 the host could not be started.\n";

struct Options
{
    std::string input;
    unsigned timeoutMs = 10000;
    std::vector<std::string> host;
};

int Usage(const std::string& problem)
{
    std::fprintf(stderr, "LvNmClient: %s\n%s", problem.c_str(), kUsage);
    return 2;
}

int ParseOptions(int argc, char** argv, Options& options)
{
    int i = 1;
    for (; i < argc; ++i)
    {
        const std::string arg = argv[i];
        if (arg == "--")
        {
            ++i;
            break;
        }
        if (arg == "-h" || arg == "--help")
            return -1;
        if (arg == "--input" || arg == "--timeout")
        {
            if (i + 1 >= argc)
                return Usage(arg + " needs a value");
            const std::string value = argv[++i];
            if (arg == "--input")
                options.input = value;
            else
            {
                char* end = nullptr;
                const double seconds = std::strtod(value.c_str(), &end);
                if (end == value.c_str() || *end != '\0' || !(seconds > 0 && seconds <= 3600))
                    return Usage("--timeout takes a number of seconds above 0, at most 3600");
                options.timeoutMs = static_cast<unsigned>(seconds * 1000);
            }
            continue;
        }
        if (arg.size() > 1 && arg[0] == '-')
            return Usage("unknown option " + arg);
        break;
    }
    for (; i < argc; ++i)
        options.host.push_back(argv[i]);
    if (options.host.empty())
        return Usage("no host command given");
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    Options options;
    const int parsed = ParseOptions(argc, argv, options);
    if (parsed == -1)
    {
        std::fputs(kUsage, stdout);
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (parsed != 0)
        return parsed;

    std::ifstream file;
    std::istream* input = &std::cin;
    if (!options.input.empty())
    {
        file.open(options.input, std::ios::binary);
        if (!file)
            return Usage("cannot read " + options.input);
        input = &file;
    }
    else if (LV_ISATTY(LV_FILENO(stdin)))
        std::fputs("LvNmClient: type one request per line; end with Ctrl-D (Ctrl-Z on Windows)\n", stderr);

    std::string error;
    const std::unique_ptr<IHostProcess> host = StartHostProcess(options.host, error);
    if (!host)
    {
        std::fprintf(stderr, "LvNmClient: %s\n", error.c_str());
        return 3;
    }
    CClientSession session(*host, options.timeoutMs, [](const std::string& line) {
        std::fputs((line + "\n").c_str(), stdout);
        std::fflush(stdout);
    });
    session.Start();
    session.RunScript(*input);
    const int result = session.Finish();
    std::fflush(stdout);
    // Without destructors: the reader may still be blocked on an output a descendant of the host keeps open.
    std::_Exit(result);
}
