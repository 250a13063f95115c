// SimLvEngine (stand-in core): wiring only. Exit codes: 0 normal end, 1 start failure, 2 bad command line.

#include "tools/coresim/SimAppWin.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

int main(int argc, char** argv)
{
    // Replies end in "\n" alone, whatever reads them.
    _setmode(_fileno(stdout), _O_BINARY);

    SimOptions options;
    std::string error;
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + (argc > 0 ? argc : 0));
    if (!ParseCommandLine(args, options, error))
    {
        std::fprintf(stderr, "SimLvEngine (stand-in core): %s (try --help)\n", error.c_str());
        return 2;
    }
    if (options.help)
    {
        std::fputs(UsageText(), stdout);
        return 0;
    }

    CSimVault vault;
    if (!options.vaultFile.empty())
    {
        bool fileNoPrompt = false;
        if (!vault.Load(options.vaultFile, fileNoPrompt, error))
        {
            std::fprintf(stderr, "SimLvEngine (stand-in core): %s\n", error.c_str());
            return 2;
        }
        options.settings.noPrompt = options.noPromptGiven || fileNoPrompt;
    }

    CSimLog log;
    if (!options.logFile.empty() && !log.Open(options.logFile, error))
    {
        std::fprintf(stderr, "SimLvEngine (stand-in core): %s\n", error.c_str());
        return 2;
    }

    CSimApp app(options, vault, log);
    return app.Run();
}
