#pragma once
// What the edition code (the product's "OEM" value) chooses when the host registers itself: extension ids, the
// policy's edition folder and the extension's install page.

#include <string>

// The Chrome extension of the edition; false for edition 56, which has none.
bool ChromeExtensionIdFor(int edition, std::string& id);
std::string FirefoxExtensionIdFor(int edition);
// The folder of the force-install policy's update address.
std::string EditionFolderFor(int edition);

struct InstallPage
{
    std::string address;
    bool withLanguage = false; // the user's language name goes after the address's "?lang="
};
// The page the user installs the Chrome extension from; false for edition 56, which has none.
bool InstallPageFor(int edition, InstallPage& page);

// The Firefox extension id of earlier versions, only ever removed.
inline constexpr const char* kLegacyFirefoxExtensionId = "ffext@lvbho";
// The extension the Chrome policy force-installs, for every edition.
inline constexpr const char* kPolicyExtensionId = "ppjcedkipfagleajcilflhkhghmhgpla";
// The Chrome Web Store's own addresses.
inline constexpr const char* kChromeStoreDetailPage = "https://chrome.google.com/webstore/detail/";
inline constexpr const char* kChromeUpdateService = "https://clients2.google.com/service/update2/crx";
