#pragma once
// The native messaging host manifests: what each browser reads to find and start the host.

#include <string>

inline constexpr const char* kChromeHostName = "com.google.chrome.lvbhohost";
inline constexpr const char* kFirefoxHostName = "com.mozilla.firefox.lvbhohost";
inline constexpr const char* kChromeManifestFile = "com.google.chrome.lvbhohost-win.json";
inline constexpr const char* kFirefoxManifestFile = "com.mozilla.firefox.lvbhohost-win.json";
inline constexpr const char* kChromeHostsKey = "SOFTWARE\\Google\\Chrome\\NativeMessagingHosts";
inline constexpr const char* kFirefoxHostsKey = "SOFTWARE\\Mozilla\\NativeMessagingHosts";

// Compact JSON, members in key order, no line end: the file's exact bytes.
std::string BuildChromeManifest(const std::string& extensionId);
std::string BuildFirefoxManifest(const std::string& extensionId);
