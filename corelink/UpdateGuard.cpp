#include "corelink/UpdateGuard.h"

#include "config/ProductSettings.h"
#include "config/RegKey.h"
#include "messaging/AsciiText.h"

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
    dir = TrimWhiteSpace(dir);

    // The WMI query is costly (it starts the WMI machinery in the host); it can only find an updater when a
    // process of that name exists at all, which the cheap scan of the process list tells first.
    if (processes.FindProcessByName(kUpdaterProcessName) == 0)
        return 0;
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
    commandLine = TrimWhiteSpace(ToLowerAscii(commandLine));
    const bool merelyChecking = commandLine.find("/quickcheck") != std::string::npos &&
                                commandLine.find("/noerr") != std::string::npos &&
                                commandLine.find("/justcheck") != std::string::npos;
    return merelyChecking ? 0 : 1;
}
