#include "registration/RegistrationPlatformWin.h"

#include "framework/AnsiText.h"
#include "framework/Unique.h"
#include "registration/PolicyStoreWin.h"

#include <windows.h>

#include <knownfolders.h>
#include <shellapi.h>
#include <shlobj.h>

#include <cstdio>

namespace
{
struct FindHandleTraits
{
    using Type = HANDLE;
    static Type None() { return INVALID_HANDLE_VALUE; }
    static bool IsValid(Type h) { return h != INVALID_HANDLE_VALUE && h != nullptr; }
    static void Close(Type h) { ::FindClose(h); }
};
using CFindHandle = CUnique<FindHandleTraits>;
} // namespace

std::string CRegistrationPlatformWin::CurrentDirectory()
{
    char directory[MAX_PATH + 1] = {};
    ::GetCurrentDirectoryA(MAX_PATH, directory);
    return directory;
}

bool CRegistrationPlatformWin::WriteFile(const std::string& name, const std::string& text)
{
    std::FILE* file = std::fopen(name.c_str(), "w");
    if (!file)
        return false;
    const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    return std::fclose(file) == 0 && written;
}

bool CRegistrationPlatformWin::LocalAppDataFolder(std::string& path)
{
    PWSTR folder = nullptr;
    const HRESULT result = ::SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &folder);
    if (SUCCEEDED(result))
        path = NarrowToAnsi(folder);
    ::CoTaskMemFree(folder);
    return SUCCEEDED(result) && !path.empty();
}

std::vector<FolderEntry> CRegistrationPlatformWin::ListFolder(const std::string& path)
{
    std::vector<FolderEntry> entries;
    WIN32_FIND_DATAA found{};
    CFindHandle search(::FindFirstFileA((path + "\\*.*").c_str(), &found));
    if (!search.IsValid())
        return entries;
    do
    {
        // A junction or link is not followed: one that points back up would make the search endless.
        const bool folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
                            (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
        entries.push_back({found.cFileName, folder});
    } while (::FindNextFileA(search.Get(), &found));
    return entries;
}

std::string CRegistrationPlatformWin::PreferredUiLanguage()
{
    ULONG count = 0;
    ULONG size = 0;
    if (!::GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, nullptr, &size) || size == 0)
        return std::string();
    std::wstring names(size, L'\0');
    if (!::GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, &names[0], &size) || count == 0)
        return std::string();
    return NarrowToAnsi(names.c_str()); // the first name of the list
}

void CRegistrationPlatformWin::OpenInChrome(const std::string& address)
{
    ::ShellExecuteA(nullptr, nullptr, "chrome.exe", address.c_str(), nullptr, SW_SHOWMAXIMIZED);
}

std::unique_ptr<IPolicyStore> CRegistrationPlatformWin::CreatePolicyStore()
{
    return std::make_unique<CPolicyStoreWin>();
}
