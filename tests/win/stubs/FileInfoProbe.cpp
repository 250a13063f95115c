// What Windows reads from a shipped binary, for the release tests: for each file named on the command line, one
// JSON line with its version information (GetFileVersionInfoW, the U.S. English UTF-16 block) and its manifest
// resource (RT_MANIFEST 1 for a program, 2 for a library), as UTF-8.
//
//   FileInfoProbe.exe FILE...     exit 0 when every file had version information, 1 otherwise

#include <windows.h>

#include <json/json.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

namespace
{

std::string ToUtf8(const wchar_t* text, int length = -1)
{
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<size_t>(size > 0 ? size : 0), '\0');
    if (size > 0)
        ::WideCharToMultiByte(CP_UTF8, 0, text, length, out.data(), size, nullptr, nullptr);
    if (length < 0 && !out.empty())
        out.pop_back(); // the terminator
    return out;
}

bool ReadVersionInfo(const std::wstring& path, Json::Value& out)
{
    DWORD ignored = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path.c_str(), &ignored);
    if (size == 0)
        return false;
    std::vector<unsigned char> block(size);
    if (!::GetFileVersionInfoW(path.c_str(), 0, size, block.data()))
        return false;

    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT fixedSize = 0;
    if (::VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &fixedSize) && fixed)
    {
        char text[64];
        std::snprintf(text, sizeof(text), "%u.%u.%u.%u", unsigned{HIWORD(fixed->dwFileVersionMS)},
                      unsigned{LOWORD(fixed->dwFileVersionMS)}, unsigned{HIWORD(fixed->dwFileVersionLS)},
                      unsigned{LOWORD(fixed->dwFileVersionLS)});
        out["fixedFileVersion"] = text;
        out["fileType"] = static_cast<Json::UInt>(fixed->dwFileType);
    }
    for (const wchar_t* name : {L"CompanyName", L"FileDescription", L"FileVersion", L"InternalName", L"LegalCopyright",
                                L"OriginalFilename", L"ProductName", L"ProductVersion"})
    {
        const std::wstring query = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
        wchar_t* value = nullptr;
        UINT length = 0;
        if (::VerQueryValueW(block.data(), query.c_str(), reinterpret_cast<void**>(&value), &length) && value)
            out[ToUtf8(name)] = ToUtf8(value);
    }
    return true;
}

void ReadManifest(const std::wstring& path, Json::Value& out)
{
    HMODULE module = ::LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (!module)
        return;
    for (const WORD id : {1, 2})
    {
        HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(id), MAKEINTRESOURCEW(24));
        if (!found)
            continue;
        const DWORD size = ::SizeofResource(module, found);
        HGLOBAL loaded = ::LoadResource(module, found);
        const char* data = loaded ? static_cast<const char*>(::LockResource(loaded)) : nullptr;
        if (data)
        {
            out["manifestId"] = id;
            out["manifest"] = std::string(data, size);
        }
        break;
    }
    ::FreeLibrary(module);
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    writer["emitUTF8"] = true;
    int status = 0;
    for (int i = 1; i < argc; ++i)
    {
        Json::Value file(Json::objectValue);
        file["file"] = ToUtf8(argv[i]);
        if (!ReadVersionInfo(argv[i], file))
            status = 1;
        ReadManifest(argv[i], file);
        std::cout << Json::writeString(writer, file) << '\n';
    }
    return status;
}
