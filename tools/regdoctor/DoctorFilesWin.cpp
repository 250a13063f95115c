#include "tools/regdoctor/DoctorFilesWin.h"

#include "framework/Unique.h"

#include <windows.h>

#include <utility>

namespace
{
DWORD Attributes(const std::string& path)
{
    return ::GetFileAttributesA(path.c_str());
}
} // namespace

bool CDoctorFilesWin::IsFile(const std::string& path)
{
    const DWORD attributes = Attributes(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool CDoctorFilesWin::IsFolder(const std::string& path)
{
    const DWORD attributes = Attributes(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool CDoctorFilesWin::ReadText(const std::string& path, std::size_t maxBytes, std::string& text)
{
    // Shared every way, so that an installer writing the file at the same moment is not disturbed.
    CHandle file(::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                               nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsValid())
        return false;
    LARGE_INTEGER size = {};
    if (!::GetFileSizeEx(file.Get(), &size) || size.QuadPart < 0 ||
        static_cast<unsigned long long>(size.QuadPart) > maxBytes)
        return false;
    std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
    DWORD read = 0;
    if (!bytes.empty() && !::ReadFile(file.Get(), &bytes[0], static_cast<DWORD>(bytes.size()), &read, nullptr))
        return false;
    bytes.resize(read);
    text = std::move(bytes);
    return true;
}
