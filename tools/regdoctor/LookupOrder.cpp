#include "tools/regdoctor/LookupOrder.h"

#include "registration/Manifests.h"

#include <cstddef>
#include <iterator>

namespace
{
constexpr std::uint32_t k32 = kKeyWow64_32Key;
constexpr std::uint32_t k64 = kKeyWow64_64Key;
} // namespace

std::vector<HostLocation> LookupOrder(Browser browser)
{
    switch (browser)
    {
    case Browser::Chrome:
        // HKCU, then HKLM (HKCU only while the NativeMessagingUserLevelHosts policy allows it); in each the 32-bit
        // view first, then the 64-bit view.
        return {
            {kHkeyCurrentUser, k32, kChromeHostsKey},
            {kHkeyCurrentUser, k64, kChromeHostsKey},
            {kHkeyLocalMachine, k32, kChromeHostsKey},
            {kHkeyLocalMachine, k64, kChromeHostsKey},
        };
    case Browser::Edge:
        // As Chrome, HKCU then HKLM and the 32-bit view before the 64-bit one; in each view Edge's own key first,
        // then Chromium's and Chrome's as fallbacks.
        return {
            {kHkeyCurrentUser, k32, kEdgeHostsKey},      {kHkeyCurrentUser, k32, kChromiumHostsKey},
            {kHkeyCurrentUser, k32, kChromeHostsKey},    {kHkeyCurrentUser, k64, kEdgeHostsKey},
            {kHkeyCurrentUser, k64, kChromiumHostsKey},  {kHkeyCurrentUser, k64, kChromeHostsKey},
            {kHkeyLocalMachine, k32, kEdgeHostsKey},     {kHkeyLocalMachine, k32, kChromiumHostsKey},
            {kHkeyLocalMachine, k32, kChromeHostsKey},   {kHkeyLocalMachine, k64, kEdgeHostsKey},
            {kHkeyLocalMachine, k64, kChromiumHostsKey}, {kHkeyLocalMachine, k64, kChromeHostsKey},
        };
    case Browser::Firefox:
        // HKCU in the 64-bit view only, then HKLM in the 32-bit view, then HKLM in the 64-bit view. HKCU's 32-bit
        // view is never read (on Windows it is the same key anyway).
        return {
            {kHkeyCurrentUser, k64, kFirefoxHostsKey},
            {kHkeyLocalMachine, k32, kFirefoxHostsKey},
            {kHkeyLocalMachine, k64, kFirefoxHostsKey},
            {kHkeyCurrentUser, k32, kFirefoxHostsKey, false},
        };
    }
    return {};
}

const char* BrowserName(Browser browser)
{
    constexpr const char* kNames[] = {"Chrome", "Edge", "Firefox"};
    const auto index = static_cast<std::size_t>(browser);
    return index < std::size(kNames) ? kNames[index] : "";
}

const char* HostNameFor(Browser browser)
{
    return browser == Browser::Firefox ? kFirefoxHostName : kChromeHostName;
}

const char* HiveName(RegHandle root)
{
    return root == kHkeyLocalMachine ? "HKLM" : root == kHkeyCurrentUser ? "HKCU" : "HKCR";
}

int ViewBits(std::uint32_t view)
{
    return (view & kKeyWow64_32Key) ? 32 : 64;
}
