#include "registration/Registration.h"

#include "config/RegKey.h"
#include "config/ValueAt.h"
#include "messaging/AsciiText.h"
#include "registration/Deployment.h"
#include "registration/Editions.h"
#include "registration/Manifests.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace
{
// Read and write access with the view of each table of keys.
constexpr std::uint32_t kAccess64 = kKeyReadWrite | kKeyWow64_64Key; // 0x2011F
constexpr std::uint32_t kAccess32 = kKeyReadWrite | kKeyWow64_32Key; // 0x2021F
constexpr std::uint32_t kQueryAndSet = 3;
constexpr std::uint32_t kMaxEntryData = 64 * 1024;

std::string TextOf(const std::vector<std::uint8_t>& data)
{
    const auto* text = reinterpret_cast<const char*>(data.data());
    const void* nul = std::memchr(text, '\0', data.size());
    return std::string(text, nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : data.size());
}
} // namespace

std::string BuildForcelistEntry(const std::string& updateBase, const std::string& folder)
{
    char entry[kForcelistEntrySize] = {};
    std::snprintf(entry, sizeof entry, "%s;%s/chrome-ext/%s/update.xml", kPolicyExtensionId, updateBase.c_str(),
                  folder.c_str());
    return entry;
}

bool FindForcelistEntry(IRegistry& registry, RegHandle key, const std::string& needle, ForcelistEntry& entry,
                        std::uint32_t& count)
{
    count = 0;
    if (registry.QueryValueCount(key, count) != kRegOk || count == 0)
        return false;
    for (std::uint32_t index = 0; index < count; ++index)
    {
        IndexedValue value;
        if (!ReadValueAt(registry, key, index, kMaxEntryData, value))
            return false;
        if (!value.dataRead)
            continue; // far too long for an entry of ours
        const std::string text = TextOf(value.data);
        if (text.find(needle) != std::string::npos)
        {
            entry.name = value.name;
            entry.data = text;
            return true;
        }
    }
    return false;
}

bool CRegistration::WriteChromeManifest(const std::string& extensionId)
{
    // The edition chooses only when no id is given; a given id serves every edition, 56 included.
    std::string id = extensionId;
    if (id.empty() && !ChromeExtensionIdFor(m_product.oem, id))
        return false;
    return m_platform.WriteFile(kChromeManifestFile, BuildChromeManifest(id));
}

bool CRegistration::WriteFirefoxManifest(const std::string& extensionId)
{
    const std::string id = extensionId.empty() ? FirefoxExtensionIdFor(m_product.oem) : extensionId;
    return m_platform.WriteFile(kFirefoxManifestFile, BuildFirefoxManifest(id));
}

bool CRegistration::RegisterHost(const char* parentKey, const char* hostName, const char* manifestFile)
{
    // The registry points at the manifest where the switch wrote it: in the current directory.
    const std::string path = m_platform.CurrentDirectory() + "\\" + manifestFile;
    CRegKey parent(m_registry);
    if (parent.Create(kHkeyLocalMachine, parentKey, kAccess64) != kRegOk)
        return false;
    CRegKey host(m_registry);
    if (host.Create(parent.Handle(), hostName, kAccess64) == kRegOk)
        static_cast<void>(host.SetStringValue("", path.c_str()));
    return true;
}

bool CRegistration::UnregisterHost(const char* parentKey, const char* hostName)
{
    CRegKey parent(m_registry);
    if (parent.Open(kHkeyLocalMachine, parentKey, kAccess64) != kRegOk)
        return false;
    // Whether or not the host's key was there.
    static_cast<void>(parent.DeleteSubKey(hostName));
    return true;
}

bool CRegistration::RegisterChromeHost()
{
    return RegisterHost(kChromeHostsKey, kChromeHostName, kChromeManifestFile);
}

bool CRegistration::RegisterFirefoxHost()
{
    return RegisterHost(kFirefoxHostsKey, kFirefoxHostName, kFirefoxManifestFile);
}

bool CRegistration::UnregisterChromeHost()
{
    return UnregisterHost(kChromeHostsKey, kChromeHostName);
}

bool CRegistration::UnregisterFirefoxHost()
{
    return UnregisterHost(kFirefoxHostsKey, kFirefoxHostName);
}

int CRegistration::RegisterNativeApp(const std::string& extensionId)
{
    // A Chrome manifest that cannot be written skips Chrome's key; Firefox's key is written whatever became of
    // its manifest.
    const bool chrome = WriteChromeManifest(extensionId) && RegisterChromeHost();
    const bool firefoxManifest = WriteFirefoxManifest(extensionId);
    const bool firefox = RegisterFirefoxHost() && firefoxManifest;
    return chrome && firefox ? 1 : 0;
}

int CRegistration::UnRegisterNativeApp()
{
    // The manifest files stay where they are.
    const bool chrome = UnregisterChromeHost();
    const bool firefox = UnregisterFirefoxHost();
    return chrome && firefox ? 1 : 0;
}

std::string ExpectedForcelistEntry(IRegistry& registry, const ProductInfo& product)
{
    std::uint32_t useTestPortal = 0;
    CRegKey key(registry);
    if (key.Open(kHkeyLocalMachine, kProductKey, kKeyRead) == kRegOk)
        static_cast<void>(key.QueryDWORDValue(kUseTestPortalValue, useTestPortal));
    return BuildForcelistEntry(useTestPortal != 0 ? kMainServer : kStoreServer, EditionFolderFor(product.oem));
}

int CRegistration::RegisterChromeGPO()
{
    const std::string entry = ExpectedForcelistEntry(m_registry, m_product);

    const std::unique_ptr<IPolicyStore> policy = m_platform.CreatePolicyStore();
    if (!policy || !policy->OpenMachinePolicy())
        return 0;
    {
        // The keys below the policy's are closed before the policy is saved.
        CRegKey forcelist(m_registry);
        if (forcelist.Create(policy->MachineKey(), kForcelistKey, kQueryAndSet) != kRegOk)
            return 0;

        ForcelistEntry existing;
        std::uint32_t count = 0;
        if (FindForcelistEntry(m_registry, forcelist.Handle(), kPolicyExtensionId, existing, count))
        {
            // The same entry again writes nothing; one with another update base is left alone, and that fails.
            return existing.data == entry ? 1 : 0;
        }
        // Deliberately the count, not one more, names the new value: with "1" and "2" there, "2" is replaced.
        char name[16];
        std::snprintf(name, sizeof name, "%d", count == 0 ? 1 : static_cast<int>(count));
        std::uint8_t data[kForcelistEntrySize] = {};
        std::memcpy(data, entry.c_str(), std::min(entry.size() + 1, sizeof data)); // with its NUL; it always fits
        if (m_registry.SetValue(forcelist.Handle(), name, kRegSz, data, kForcelistEntrySize) != kRegOk)
            return 0;

        CRegKey chrome(m_registry);
        if (chrome.Create(policy->MachineKey(), kChromePolicyKey, kQueryAndSet) == kRegOk)
            static_cast<void>(chrome.SetDWORDValue(kPasswordManagerEnabledValue, 0));
    }
    return policy->Save(kRegisterToolGuid) ? 1 : 0;
}

int CRegistration::UnRegisterChromeGPO()
{
    const std::unique_ptr<IPolicyStore> policy = m_platform.CreatePolicyStore();
    if (!policy || !policy->OpenMachinePolicy())
        return 0;
    {
        CRegKey forcelist(m_registry);
        if (forcelist.Open(policy->MachineKey(), kForcelistKey, kKeyAllAccess) != kRegOk)
            return 0;
        ForcelistEntry existing;
        std::uint32_t count = 0;
        if (!FindForcelistEntry(m_registry, forcelist.Handle(), kPolicyExtensionId, existing, count))
            return 0;
        static_cast<void>(forcelist.DeleteValue(existing.name.c_str()));
        CRegKey chrome(m_registry);
        if (chrome.Open(policy->MachineKey(), kChromePolicyKey, kKeyAllAccess) == kRegOk)
            static_cast<void>(chrome.DeleteValue(kPasswordManagerEnabledValue));
    }
    // The removal is saved under a tool identifier of its own.
    return policy->Save(kUnregisterToolGuid) ? 1 : 0;
}

int CRegistration::RegisterFFBHO()
{
    CRegKey product(m_registry);
    if (product.Open(kHkeyLocalMachine, kProductKey, kAccess64) != kRegOk)
        return 0;
    const std::string hostPath = m_platform.CurrentDirectory() + "\\lvbhohost.exe";
    const std::string extensionId = FirefoxExtensionIdFor(m_product.oem);
    const std::string extensionFolder = m_product.installDir + "FFBHOExt";

    static_cast<void>(product.SetStringValue(kHostPathValue, hostPath.c_str()));
    {
        CRegKey extensions(m_registry);
        if (extensions.Create(kHkeyLocalMachine, kFirefoxExtensionsKey, kAccess64) == kRegOk)
            static_cast<void>(extensions.SetStringValue(extensionId.c_str(), extensionFolder.c_str()));
    }
    // Each registry view names the pipe library of its own bitness.
    static_cast<void>(product.SetStringValue(kPipeLibraryValue, (m_product.installDir + "lvhostpipe64.dll").c_str()));
    {
        CRegKey product32(m_registry);
        if (product32.Create(kHkeyLocalMachine, kProductKey, kAccess32) == kRegOk)
            static_cast<void>(
                product32.SetStringValue(kPipeLibraryValue, (m_product.installDir + "lvhostpipe.dll").c_str()));
    }
    {
        CRegKey extensions32(m_registry);
        if (extensions32.Create(kHkeyLocalMachine, kFirefoxExtensionsKey, kAccess32) == kRegOk)
            static_cast<void>(extensions32.SetStringValue(extensionId.c_str(), extensionFolder.c_str()));
    }
    return 1;
}

int CRegistration::UnRegisterFFBHO()
{
    const std::string extensionId = FirefoxExtensionIdFor(m_product.oem);
    bool opened = false;
    {
        CRegKey extensions(m_registry);
        if (extensions.Open(kHkeyLocalMachine, kFirefoxExtensionsKey, kAccess64) == kRegOk)
        {
            opened = true;
            static_cast<void>(extensions.DeleteValue(extensionId.c_str()));
        }
    }
    {
        CRegKey product32(m_registry);
        if (product32.Open(kHkeyLocalMachine, kProductKey, kAccess32) == kRegOk)
        {
            opened = true;
            static_cast<void>(product32.DeleteValue(kPipeLibraryValue));
        }
    }
    {
        CRegKey extensions32(m_registry);
        if (extensions32.Open(kHkeyLocalMachine, kFirefoxExtensionsKey, kAccess32) == kRegOk)
        {
            opened = true;
            static_cast<void>(extensions32.DeleteValue(kLegacyFirefoxExtensionId));
            static_cast<void>(extensions32.DeleteValue(extensionId.c_str()));
        }
    }
    // The 64-bit "lvbhohost" and "lvhostpipe" values stay.
    return opened ? 1 : 0;
}

int CRegistration::InstallChromeBHO()
{
    InstallPage page;
    if (!InstallPageFor(m_product.oem, page))
        return 0;
    std::string address = page.address;
    if (page.withLanguage)
        address += m_platform.PreferredUiLanguage();
    m_platform.OpenInChrome(address);
    return 1;
}

void CRegistration::SearchFolder(const std::string& path, const std::string& extensionId, bool& found)
{
    for (const FolderEntry& entry : m_platform.ListFolder(path))
    {
        if (found)
            return;
        if (!entry.isFolder || entry.name == "." || entry.name == "..")
            continue;
        const std::string child = path + "\\" + entry.name;
        if (EqualsIgnoringAsciiCase(entry.name, extensionId))
            found = true;
        else
            SearchFolder(child, extensionId, found);
    }
}

int CRegistration::CheckBHOInstalled()
{
    std::string extensionId;
    if (!ChromeExtensionIdFor(m_product.oem, extensionId))
        return 0;
    bool found = false;
    std::string appData;
    if (m_platform.LocalAppDataFolder(appData))
        SearchFolder(appData + "\\Google\\Chrome\\User Data", extensionId, found);
    CRegKey key(m_registry);
    if (key.Create(kHkeyCurrentUser, kProductKey, kAccess64) != kRegOk)
        return 0;
    static_cast<void>(key.SetDWORDValue(kChromeExtensionFoundValue, found ? 1 : 0));
    return 1;
}

int CRegistration::RegisterChromeBHO(int reg)
{
    std::string extensionId;
    if (!ChromeExtensionIdFor(m_product.oem, extensionId))
        return 0;
    CRegKey key(m_registry);
    if (reg != 0)
    {
        if (key.Create(kHkeyLocalMachine, (kChromeExtensionsKey + extensionId).c_str(), kAccess32) != kRegOk)
            return 0;
        static_cast<void>(key.SetStringValue(kUpdateUrlValue, kChromeUpdateService));
        return 1;
    }
    if (key.Open(kHkeyLocalMachine, kChromeExtensionsKey, kAccess32) != kRegOk)
        return 0;
    static_cast<void>(key.DeleteSubKey(extensionId.c_str()));
    return 1;
}
