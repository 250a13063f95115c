#pragma once
// The checks a browser makes of a native messaging host's manifest before it starts the host, as the doctor
// reports them.

#include "tools/regdoctor/IDoctorFiles.h"

#include <json/json.h>

#include <cstddef>
#include <string>

// Browsers refuse larger manifests long before this; the doctor reads no more.
inline constexpr std::size_t kMaxManifestBytes = 1024 * 1024;

struct ManifestRules
{
    const char* hostName = nullptr;
    // "allowed_origins" (Chrome, Edge) or "allowed_extensions" (Firefox): a non-empty array of strings.
    const char* allowedMember = nullptr;
    // The entry the installed edition's extension needs; empty when the edition has none. A manifest without it
    // is still valid (the registration may have been given another extension), so it only adds a note.
    std::string expectedAllowed;
};

// {"path", "absolute", "exists", "parses", "name", "nameMatches", "type", "typeIsStdio", "program",
//  "programExists", "allowed", "allowedPresent", "allowsEdition", "valid", "problems", "notes"}.
// Members the checks did not reach are false or null; "problems" says in words what makes it invalid.
Json::Value CheckManifest(IDoctorFiles& files, const std::string& manifestPath, const ManifestRules& rules);

// "C:\..." or "\\server\...", with either slash.
bool IsAbsoluteWindowsPath(const std::string& path);
// The folder part of a path, without its trailing separator; empty when there is none.
std::string FolderOf(const std::string& path);
// The program a manifest's "path" names: an absolute path as it is, a relative one against the manifest's folder,
// as the browsers resolve it on Windows.
std::string ResolveProgramPath(const std::string& manifestPath, const std::string& programPath);
