#pragma once
// The registration switches' work: the host's manifests and their keys, the Chrome force-install policy, the
// Chrome extension's install page, detection and external-extension key, and the Firefox extension's keys. What
// to write is chosen by the edition code; it goes through the registry seam and the platform.

#include "config/IRegistry.h"
#include "config/ProductSettings.h"
#include "registration/IRegistrationOperations.h"
#include "registration/IRegistrationPlatform.h"

#include <cstdint>
#include <string>

inline constexpr const char* kForcelistKey = "Software\\Policies\\Google\\Chrome\\ExtensionInstallForcelist";
inline constexpr const char* kChromePolicyKey = "Software\\Policies\\Google\\Chrome";
inline constexpr const char* kChromeExtensionsKey = "SOFTWARE\\Google\\Chrome\\Extensions\\";
inline constexpr const char* kFirefoxExtensionsKey = "SOFTWARE\\Mozilla\\Firefox\\Extensions";
// Values the registration writes or reads: the policy's password-manager switch, the external extension's update
// address, the host's path and the pipe library of each view under the product key (RegisterFFBHO), and the product
// setting that points the policy at the main web server instead of the store server.
inline constexpr const char* kPasswordManagerEnabledValue = "PasswordManagerEnabled";
inline constexpr const char* kUpdateUrlValue = "update_url";
inline constexpr const char* kHostPathValue = "lvbhohost";
inline constexpr const char* kPipeLibraryValue = "lvhostpipe";
inline constexpr const char* kUseTestPortalValue = "UseTestPortal";
// The force-list entry is written as a fixed-size string of this many bytes, the text and zeros after it.
inline constexpr std::uint32_t kForcelistEntrySize = 260;

// The force-list entry for an update base ("http://...", no trailing slash) and an edition folder.
std::string BuildForcelistEntry(const std::string& updateBase, const std::string& folder);
// The entry the Chrome policy registration writes for the installed edition: the main web server's update base when
// the product's "UseTestPortal" is non-zero, the store server's otherwise.
std::string ExpectedForcelistEntry(IRegistry& registry, const ProductInfo& product);

struct ForcelistEntry
{
    std::string name;
    std::string data;
};
// The first value of `key` whose data contains `needle` (case-sensitive), in index order. `count` is the number
// of values the key has. False when there are none, none matches, or the enumeration fails.
bool FindForcelistEntry(IRegistry& registry, RegHandle key, const std::string& needle, ForcelistEntry& entry,
                        std::uint32_t& count);

class CRegistration : public IRegistrationOperations
{
public:
    CRegistration(IRegistry& registry, IRegistrationPlatform& platform, const ProductInfo& product)
        : m_registry(registry), m_platform(platform), m_product(product)
    {
    }

    int RegisterNativeApp(const std::string& extensionId) override;
    int UnRegisterNativeApp() override;
    int RegisterChromeGPO() override;
    int UnRegisterChromeGPO() override;
    int RegisterFFBHO() override;
    int UnRegisterFFBHO() override;
    int InstallChromeBHO() override;
    int CheckBHOInstalled() override;
    int RegisterChromeBHO(int reg) override;

    // An empty id lets the edition choose.
    bool WriteChromeManifest(const std::string& extensionId);
    bool WriteFirefoxManifest(const std::string& extensionId);
    bool RegisterChromeHost();
    bool RegisterFirefoxHost();
    bool UnregisterChromeHost();
    bool UnregisterFirefoxHost();

private:
    bool RegisterHost(const char* parentKey, const char* hostName, const char* manifestFile);
    bool UnregisterHost(const char* parentKey, const char* hostName);
    // Sets the found flag once `extensionId` names a folder at any depth below `path`.
    void SearchFolder(const std::string& path, const std::string& extensionId, bool& found);

    IRegistry& m_registry;
    IRegistrationPlatform& m_platform;
    const ProductInfo& m_product;
};
