#include "registration/Manifests.h"

#include "messaging/JsonCppWrapper.h"

namespace
{
std::string Build(const char* name, const char* description, const char* arrayName, const std::string& entry)
{
    JsonCPPWrapper manifest;
    manifest.SetString("name", name);
    manifest.SetString("description", description);
    // Relative: the browser resolves it against the manifest's folder.
    manifest.SetString("path", "lvbhohost.exe");
    manifest.SetString("type", "stdio");
    manifest.AppendString(arrayName, entry.c_str());
    std::string text;
    return manifest.ToString(text);
}
} // namespace

std::string BuildChromeManifest(const std::string& extensionId)
{
    return Build(kChromeHostName, "Chrome Native Messaging LVBHO Host", "allowed_origins",
                 "chrome-extension://" + extensionId + "/");
}

std::string BuildFirefoxManifest(const std::string& extensionId)
{
    return Build(kFirefoxHostName, "Firefox Native Messaging LVBHO Host", "allowed_extensions", extensionId);
}
