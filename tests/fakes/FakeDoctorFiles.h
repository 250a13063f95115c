#pragma once
// The doctor's files in memory: files by path with their bytes, and folders. Windows paths: letter case does not
// matter. Records every path it was asked to read.

#include "messaging/AsciiText.h"
#include "tools/regdoctor/IDoctorFiles.h"

#include <map>
#include <set>
#include <string>
#include <vector>

class CFakeDoctorFiles : public IDoctorFiles
{
public:
    void AddFile(const std::string& path, const std::string& bytes) { m_files[ToUpperAscii(path)] = bytes; }
    void AddFolder(const std::string& path) { m_folders.insert(ToUpperAscii(path)); }

    bool IsFile(const std::string& path) override { return m_files.count(ToUpperAscii(path)) != 0; }
    bool IsFolder(const std::string& path) override { return m_folders.count(ToUpperAscii(path)) != 0; }
    bool ReadText(const std::string& path, std::size_t maxBytes, std::string& text) override
    {
        m_reads.push_back(path);
        const auto file = m_files.find(ToUpperAscii(path));
        if (file == m_files.end() || file->second.size() > maxBytes)
            return false;
        text = file->second;
        return true;
    }

    std::vector<std::string> m_reads;

private:
    std::map<std::string, std::string> m_files;
    std::set<std::string> m_folders;
};
