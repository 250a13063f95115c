#include "registration/Editions.h"

#include "registration/Deployment.h"

#include <cstddef>

bool ChromeExtensionIdFor(int edition, std::string& id)
{
    switch (edition)
    {
    case 5:
        id = "kembcdlbgbcnnchcnbdhbmbhbejnedjf";
        return true;
    case 55:
        id = "dgldcbgpnkooljhfhcjpkojcdnfkepnb";
        return true;
    case 56:
        return false;
    case 59:
        id = "ckklpoccipcbjojmlaolfdpbgjehmmpc";
        return true;
    case 60:
        id = "fomieninlmhecfehhapfijaenlkebomm";
        return true;
    default:
        id = "mmdpmbgcgofdkbdaedlacgmeillpddpo";
        return true;
    }
}

namespace
{
struct EditionName
{
    int edition;
    const char* name;
};

// The name `table` gives `edition`, or the last entry's (edition 0), which serves every other edition.
template <std::size_t Count>
const char* NameFor(const EditionName (&table)[Count], int edition)
{
    for (const EditionName& entry : table)
        if (entry.edition == edition)
            return entry.name;
    return table[Count - 1].name;
}

constexpr EditionName kFirefoxExtensionIds[] = {
    {5, "EdEsca_ffext@lvbho"},  {25, "EdFaro_ffext@lvbho"}, {59, "EdDuna_ffext@lvbho"},
    {60, "EdGiro_ffext@lvbho"}, {0, "EdHalo_ffext@lvbho"},
};
constexpr EditionName kEditionFolders[] = {
    {5, "EdAlto"}, {55, "EdBrio"}, {56, "EdCeda"}, {59, "EdDuna"}, {0, "Kavrin"},
};
} // namespace

std::string FirefoxExtensionIdFor(int edition)
{
    return NameFor(kFirefoxExtensionIds, edition);
}

std::string EditionFolderFor(int edition)
{
    return NameFor(kEditionFolders, edition);
}

bool InstallPageFor(int edition, InstallPage& page)
{
    switch (edition)
    {
    case 5:
        page = {kInstallPageEdition5, true};
        return true;
    case 55:
        page = {std::string(kChromeStoreDetailPage) + "dgldcbgpnkooljhfhcjpkojcdnfkepnb", false};
        return true;
    case 56:
        return false;
    case 59:
        page = {kInstallPageEdition59, true};
        return true;
    case 60:
        page = {kInstallPageEdition60, true};
        return true;
    default:
        page = {kInstallPageProduct, true};
        return true;
    }
}
