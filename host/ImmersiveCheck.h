#pragma once
// Whether a process of a given name runs as an immersive (full-screen store) app.

#include <cstdint>
#include <string>
#include <vector>

struct ProcessEntry
{
    std::uint32_t processId = 0;
    std::string exeName; // the bare file name, as the process snapshot gives it
};

class IImmersiveQuery
{
public:
    virtual ~IImmersiveQuery() = default;
    // Whether the system exports IsImmersiveProcess.
    virtual bool HasIsImmersiveProcess() = 0;
    // The process snapshot; false when it cannot be taken or walked.
    virtual bool Snapshot(std::vector<ProcessEntry>& processes) = 0;
    // Opens the process for limited query and asks; false when it cannot be opened or is not immersive.
    virtual bool IsImmersive(std::uint32_t processId) = 0;
};

// True when a process whose lower-cased image name contains the lower-cased `name` (a substring, not equality)
// is immersive. Stops at the first such process.
bool IsProcessImmersive(IImmersiveQuery& query, const std::string& name);
