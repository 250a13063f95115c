#pragma once
// IDoctorFiles over the Win32 file API (narrow paths, the ANSI code page).

#include "tools/regdoctor/IDoctorFiles.h"

class CDoctorFilesWin : public IDoctorFiles
{
public:
    bool IsFile(const std::string& path) override;
    bool IsFolder(const std::string& path) override;
    bool ReadText(const std::string& path, std::size_t maxBytes, std::string& text) override;
};
