#include "tools/coresim/SimLog.h"

bool CSimLog::Open(const std::string& path, std::string& error)
{
    m_file.open(path, std::ios::binary | std::ios::app);
    if (!m_file.is_open())
    {
        error = "cannot open the log file " + path;
        return false;
    }
    return true;
}

void CSimLog::Write(const char* event, const CJsonLine& line)
{
    if (!m_file.is_open())
        return;
    const std::string members = line.Text();
    std::string text = "{\"event\":" + JsonQuote(event);
    if (members.size() > 2) // more than "{}"
        text += "," + members.substr(1);
    else
        text += "}";
    m_file << text << '\n';
    m_file.flush();
}
