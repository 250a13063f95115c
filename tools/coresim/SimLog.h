#pragma once
// The sim's log: one JSON object per line, appended to a file and flushed after each line, so that a test may read
// it while the sim runs. Without a file every write is dropped.

#include "tools/coresim/SimJson.h"

#include <fstream>
#include <string>

class CSimLog
{
public:
    // Opens `path` for appending. On failure the log stays closed and `error` says why.
    [[nodiscard]] bool Open(const std::string& path, std::string& error);
    bool IsOpen() const { return m_file.is_open(); }

    // Writes {"event":<event>, ...members of `line`}.
    void Write(const char* event, const CJsonLine& line);
    void Write(const char* event) { Write(event, CJsonLine()); }

private:
    std::ofstream m_file;
};
