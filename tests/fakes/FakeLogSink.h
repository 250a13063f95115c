#pragma once
// Records what the debug log sends out.

#include "config/DebugLog.h"

#include <mutex>
#include <string>
#include <vector>

class CFakeLogSink : public ILogSink
{
public:
    std::string ExecutableName() override { return m_exeName; }
    void LocalTime(std::string& hhmmss, unsigned& milliseconds) override
    {
        hhmmss = "12:34:56";
        milliseconds = 789;
    }
    std::uint32_t ProcessId() override { return 0x1a2b; }
    std::uint32_t ThreadId() override { return 0x3c; }
    void DebugOutput(const char* text) override
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_debugOutput.emplace_back(text);
    }
    void CreateFolder(const std::string& path) override { m_folders.push_back(path); }
    void AppendToFile(const std::string& path, const std::string& bytes) override
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_filePath = path;
        m_fileWrites.push_back(bytes);
    }

    std::string m_exeName = "LVBHOHost.exe";
    std::vector<std::string> m_debugOutput;
    std::vector<std::string> m_folders;
    std::vector<std::string> m_fileWrites;
    std::string m_filePath;

private:
    std::mutex m_lock;
};
