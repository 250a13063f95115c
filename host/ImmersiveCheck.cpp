#include "host/ImmersiveCheck.h"

#include <algorithm>
#include <cctype>

namespace
{
std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}
} // namespace

bool IsProcessImmersive(IImmersiveQuery& query, const std::string& name)
{
    if (!query.HasIsImmersiveProcess())
        return false;
    std::vector<ProcessEntry> processes;
    if (!query.Snapshot(processes))
        return false;
    const std::string wanted = Lower(name);
    for (const ProcessEntry& process : processes)
    {
        if (Lower(process.exeName).find(wanted) == std::string::npos)
            continue;
        if (query.IsImmersive(process.processId))
            return true;
    }
    return false;
}
