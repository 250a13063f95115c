#pragma once
// The debug log's view of Windows: the process's executable name, local time, debugger output and the file.

#include "config/DebugLog.h"

class CLogSinkWin : public ILogSink
{
public:
    std::string ExecutableName() override;
    void LocalTime(std::string& hhmmss, unsigned& milliseconds) override;
    std::uint32_t ProcessId() override;
    std::uint32_t ThreadId() override;
    void DebugOutput(const char* text) override;
    void CreateFolder(const std::string& path) override;
    void AppendToFile(const std::string& path, const std::string& bytes) override;
};
