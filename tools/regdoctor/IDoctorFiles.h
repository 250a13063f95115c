#pragma once
// The little the doctor asks of the file system. Paths are narrow Windows paths, absolute.

#include <cstddef>
#include <string>

class IDoctorFiles
{
public:
    virtual ~IDoctorFiles() = default;
    virtual bool IsFile(const std::string& path) = 0;
    virtual bool IsFolder(const std::string& path) = 0;
    // The whole file; false when it cannot be read or holds more than `maxBytes`. `text` is untouched on failure.
    virtual bool ReadText(const std::string& path, std::size_t maxBytes, std::string& text) = 0;
};
