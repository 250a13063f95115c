#include "config/ProductSettings.h"

#include "config/RegKey.h"

namespace
{
constexpr std::uint32_t kStringBufferSize = 1024;
}

bool CProductSettings::Load(ProductInfo& info)
{
    CRegKey key(m_registry);
    if (key.Open(kHkeyLocalMachine, kProductKey, kKeyRead) != kRegOk)
        return false;

    std::string installDir;
    if (key.QueryStringValue("InstallDir", installDir, kStringBufferSize) != kRegOk)
        return false;
    info.installDir = installDir;

    std::uint32_t number = 0;
    if (key.QueryDWORDValue("OEM", number) == kRegOk)
        info.oem = static_cast<int>(number);
    number = 0;
    if (key.QueryDWORDValue("PMode", number) == kRegOk)
        info.pmode = static_cast<int>(number);

    std::string text;
    if (key.QueryStringValue("ProductVer", text, kStringBufferSize) == kRegOk)
        info.productVer = text;
    if (key.QueryStringValue("WebVersion", text, kStringBufferSize) == kRegOk)
        info.webVersion = text;
    if (key.QueryStringValue("BuildNumber", text, kStringBufferSize) == kRegOk)
        info.buildNumber = text;

    number = 0;
    if (key.QueryDWORDValue("Release", number) == kRegOk)
        info.release = static_cast<int>(number);
    return true;
}
