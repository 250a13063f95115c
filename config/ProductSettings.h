#pragma once
// The installed product, as the machine part of the registry describes it. Reading it is also the installation
// check: without the product key and its "InstallDir" value the host does not run in any mode.

#include "config/IRegistry.h"

#include <cstdint>
#include <string>

inline constexpr const char* kProductKey = "Software\\Kavrin\\Lumivar";
// Under the user's product key: 1 once the Chrome extension was found or announced itself, 0 when a search missed it.
inline constexpr const char* kChromeExtensionFoundValue = "ChromeBHO";

struct ProductInfo
{
    std::string installDir;
    int oem = 0; // the edition code; chooses extension ids, pages and folders at registration
    int pmode = 0;
    std::string productVer;
    std::string webVersion;
    std::string buildNumber;
    int release = 0;
};

class CProductSettings
{
public:
    explicit CProductSettings(IRegistry& registry) : m_registry(registry) {}

    // True when the product is installed. Values that are missing leave their field as it was.
    [[nodiscard]] bool Load(ProductInfo& info);

private:
    IRegistry& m_registry;
};
