#pragma once
// A debug log switched on as "lvDebugSupport" switches it on (for `program`, up to `level`), written into a
// recording sink; Texts() gives what was logged, each line without its header.

#include "config/DebugLog.h"
#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeLogSink.h"

#include <string>
#include <vector>

struct TracingLog
{
    explicit TracingLog(const std::string& program = "LVBHOHost", const std::string& level = "52")
    {
        registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", program + ";" + level);
        sink.m_exeName = program + ".exe";
        opened = log.Open(registry, program.c_str());
    }

    std::vector<std::string> Texts() const
    {
        std::vector<std::string> texts;
        for (const std::string& line : sink.m_debugOutput)
        {
            if (line != "\r\n")
                texts.push_back(line.substr(line.find(":)-") + 3)); // the text after the header
        }
        return texts;
    }

    CMemoryRegistry registry;
    CFakeLogSink sink;
    CDebugLog log{sink};
    int opened = 0;
};
