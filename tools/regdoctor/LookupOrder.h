#pragma once
// Where each browser looks for a native messaging host's registration on Windows, in the order it looks. The
// browser takes the first place whose key exists and whose default value names a manifest, and reads no further:
// a broken registration there hides a good one later in the order.

#include "config/IRegistry.h"

#include <cstdint>
#include <vector>

enum class Browser
{
    Chrome,
    Edge,
    Firefox,
};

// The parent keys of the browsers the host does not register with itself, but which Edge also consults.
inline constexpr const char* kEdgeHostsKey = "SOFTWARE\\Microsoft\\Edge\\NativeMessagingHosts";
inline constexpr const char* kChromiumHostsKey = "SOFTWARE\\Chromium\\NativeMessagingHosts";

struct HostLocation
{
    RegHandle root = 0;
    std::uint32_t view = 0; // kKeyWow64_32Key or kKeyWow64_64Key
    const char* parentKey = nullptr;
    // False for a place shown for completeness that the browser never reads; those come after the others.
    bool lookedUp = true;
};

// Every place, HKCU and HKLM in both views, in the browser's order.
std::vector<HostLocation> LookupOrder(Browser browser);

const char* BrowserName(Browser browser);
// The host name the browser's extension asks for: Edge runs the Chrome extension and asks for Chrome's host.
const char* HostNameFor(Browser browser);
// "HKCU", "HKLM".
const char* HiveName(RegHandle root);
// 32 or 64.
int ViewBits(std::uint32_t view);
