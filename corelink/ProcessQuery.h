#pragma once
// What the host asks about other processes: whether the core runs (asked before every lock and wait: a scan of the
// process list, skipped while a core process found earlier has not exited) and whether the product's updater is
// at work (a WMI query, once at start, for its command line, made only when a process of that name exists).

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
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
    // FindProcessByName for each of `names` in turn, over one reading of the process list: the first name found
    // gives the id; 0 if none is.
    virtual std::uint32_t FindAnyProcess(const std::vector<std::string>& names) = 0;
    // The id of the first process the WMI query for `name` in `session` finds, or 0. `commandLine`, when given,
    // receives that process's command line.
    virtual std::uint32_t FindProcessByWmi(const char* name, std::string* commandLine, std::uint32_t session) = 0;
    // The image path of a process in device form ("\Device\HarddiskVolume1\..."); false when it cannot be read.
    virtual bool ProcessImagePath(std::uint32_t processId, std::string& path) = 0;

    // A handle that tells when process `processId` exits (it keeps the id from being reused), or 0 when the process
    // cannot be opened. HasExited is asked often: it should cost no system call while the process runs.
    virtual std::uintptr_t OpenExitWatch(std::uint32_t processId) = 0;
    virtual bool HasExited(std::uintptr_t watch) = 0;
    virtual void CloseExitWatch(std::uintptr_t watch) = 0;
};

// Whether a process named like one of `names` runs, as FindAnyProcess tells, but asked often: the process found is
// watched, and while it has not exited the answer is yes without a scan. A "no" is never remembered; it costs one
// reading of the process list for all the names. Finding a process to watch costs a second scan, which makes sure
// the id still names it. Not thread-safe; the owner serialises calls.
class CRunningProcessWatch
{
public:
    CRunningProcessWatch(IProcessQuery& processes, std::vector<std::string> names)
        : m_processes(processes), m_names(std::move(names))
    {
    }
    CRunningProcessWatch(const CRunningProcessWatch&) = delete;
    CRunningProcessWatch& operator=(const CRunningProcessWatch&) = delete;
    ~CRunningProcessWatch() { Forget(); }

    bool IsRunning();

private:
    void Forget();

    IProcessQuery& m_processes;
    std::vector<std::string> m_names;
    std::uintptr_t m_watch = 0;
};

struct NamedProcess
{
    std::uint32_t id;
    std::string exeName;
};

// Whether `image` (`length` characters, narrow or UTF-16) contains `name`, ignoring ASCII case: the scan's rule
// for one entry.
template <typename Char>
bool NameContains(const Char* image, std::size_t length, const std::string& name)
{
    auto lower = [](unsigned c) { return (c >= 'A' && c <= 'Z') ? c - 'A' + 'a' : c; };
    for (std::size_t start = 0; start + name.size() <= length; ++start)
    {
        std::size_t matched = 0;
        while (matched < name.size() && lower(static_cast<std::make_unsigned_t<Char>>(image[start + matched])) ==
                                            lower(static_cast<unsigned char>(name[matched])))
            ++matched;
        if (matched == name.size())
            return true;
    }
    return false;
}

// The scan's rule: the first entry, other than `selfId`, whose name contains `name` ignoring ASCII case.
std::uint32_t FindProcessInList(const std::vector<NamedProcess>& processes, const char* name, std::uint32_t selfId);

// The same for each of `names` in turn; the first name found gives the id.
std::uint32_t FindAnyInList(const std::vector<NamedProcess>& processes, const std::vector<std::string>& names,
                            std::uint32_t selfId);

// The WQL text for FindProcessByWmi. `ownSession` stands in for kOwnSession.
std::string BuildProcessQuery(const char* name, bool withCommandLine, std::uint32_t session, std::uint32_t ownSession);
