#pragma once
// What the host asks about other processes: whether the core runs (a cheap scan of the process list, made before
// every lock and wait) and whether the product's updater is at work (a WMI query, once at start, for its command
// line).

#include <cstdint>
#include <string>
#include <vector>

// Session arguments of FindProcessByWmi.
inline constexpr std::uint32_t kAnySession = 0xFFFFFFFE;
inline constexpr std::uint32_t kOwnSession = 0xFFFFFFFF;

class IProcessQuery
{
public:
    virtual ~IProcessQuery() = default;
    // The id of the first process other than this one whose image name contains `name`, ignoring case; 0 if none.
    virtual std::uint32_t FindProcessByName(const char* name) = 0;
    // The id of the first process the WMI query for `name` in `session` finds, or 0. `commandLine`, when given,
    // receives that process's command line.
    virtual std::uint32_t FindProcessByWmi(const char* name, std::string* commandLine, std::uint32_t session) = 0;
    // The image path of a process in device form ("\Device\HarddiskVolume1\..."); false when it cannot be read.
    virtual bool ProcessImagePath(std::uint32_t processId, std::string& path) = 0;
};

struct NamedProcess
{
    std::uint32_t id;
    std::string exeName;
};

// The scan's rule: the first entry, other than `selfId`, whose name contains `name` ignoring ASCII case.
std::uint32_t FindProcessInList(const std::vector<NamedProcess>& processes, const char* name, std::uint32_t selfId);

// The WQL text for FindProcessByWmi. `ownSession` stands in for kOwnSession.
std::string BuildProcessQuery(const char* name, bool withCommandLine, std::uint32_t session,
                              std::uint32_t ownSession);
