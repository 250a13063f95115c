#pragma once
// The process list through the system's process information, the updater's command line through WMI.

#include "corelink/ProcessQuery.h"

class CProcessQueryWin : public IProcessQuery
{
public:
    std::uint32_t FindProcessByName(const char* name) override;
    std::uint32_t FindAnyProcess(const std::vector<std::string>& names) override;
    // COM must already be initialised on the calling thread.
    std::uint32_t FindProcessByWmi(const char* name, std::string* commandLine, std::uint32_t session) override;
    bool ProcessImagePath(std::uint32_t processId, std::string& path) override;
    std::uintptr_t OpenExitWatch(std::uint32_t processId) override;
    bool HasExited(std::uintptr_t watch) override;
    void CloseExitWatch(std::uintptr_t watch) override;
};
