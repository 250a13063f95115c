#pragma once
// The entry's platform, scripted and recording.

#include "host/HostEntry.h"

#include <string>
#include <vector>

class CFakeImmersiveQuery : public IImmersiveQuery
{
public:
    bool HasIsImmersiveProcess() override { return m_hasFunction; }
    bool Snapshot(std::vector<ProcessEntry>& processes) override
    {
        processes = m_processes;
        return m_snapshotWorks;
    }
    bool IsImmersive(std::uint32_t processId) override
    {
        m_asked.push_back(processId);
        for (std::uint32_t id : m_immersiveIds)
            if (id == processId)
                return true;
        return false;
    }

    bool m_hasFunction = true;
    bool m_snapshotWorks = true;
    std::vector<ProcessEntry> m_processes;
    std::vector<std::uint32_t> m_immersiveIds;
    std::vector<std::uint32_t> m_asked;
};

class CFakeHostPlatform : public IHostPlatform
{
public:
    bool HasModuleHandle() override { return m_hasModuleHandle; }
    void SetSystemDefaultThreadLocale() override { m_calls.push_back("SetThreadLocale"); }
    std::string CommandLine() override { return m_commandLine; }
    void WriteRawOutput(const std::string& text) override { m_output += text; }
    IImmersiveQuery& ImmersiveQuery() override { return m_immersive; }
    bool ComInitialize(bool multithreaded) override
    {
        m_calls.push_back(multithreaded ? "CoInitializeEx" : "CoInitialize");
        return true;
    }
    void ComUninitialize() override { m_calls.push_back("CoUninitialize"); }

    bool m_hasModuleHandle = true;
    std::string m_commandLine = "\"C:\\Program Files\\Lumivar\\LVBHOHost.exe\"";
    std::string m_output;
    CFakeImmersiveQuery m_immersive;
    std::vector<std::string> m_calls;
};
