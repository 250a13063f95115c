#include "corelink/UpdateGuard.h"

#include "config/ProductSettings.h"
#include "config/RegKey.h"

namespace
{
std::string Trim(const std::string& text)
{
    const char* space = " \t\r\n\v\f";
    const std::size_t first = text.find_first_not_of(space);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}
} // namespace

int IsUpdateRunning(IRegistry& registry, IProcessQuery& processes)
{
    CRegKey key(registry);
    if (key.Open(kHkeyLocalMachine, "SOFTWARE\\Kavrin\\Lumivar", kKeyRead) != kRegOk)
        return 0;
    std::string installDir;
    if (key.QueryStringValue("InstallDir", installDir) != kRegOk)
        return 0;
    // The image path comes in device form, with the volume's device name in place of the drive letter.
    std::string dir = ToLowerAscii(installDir);
    dir.erase(0, 2);
    dir = Trim(dir);

    std::string commandLine;
    const std::uint32_t processId = processes.FindProcessByWmi(kUpdaterProcessName, &commandLine, kOwnSession);
    if (processId == 0)
        return 0;
    std::string imagePath;
    if (!processes.ProcessImagePath(processId, imagePath))
        return 0;
    if (ToLowerAscii(imagePath).find(dir) == std::string::npos)
        return 0;

    // Only an updater that is merely checking lets the host go on; all three switches are needed.
    commandLine = Trim(ToLowerAscii(commandLine));
    const bool merelyChecking = commandLine.find("/quickcheck") != std::string::npos &&
                                commandLine.find("/noerr") != std::string::npos &&
                                commandLine.find("/justcheck") != std::string::npos;
    return merelyChecking ? 0 : 1;
}
