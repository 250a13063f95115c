#include "registration/Editions.h"

#include "registration/Deployment.h"

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

std::string FirefoxExtensionIdFor(int edition)
{
    switch (edition)
    {
    case 5:
        return "EdEsca_ffext@lvbho";
    case 25:
        return "EdFaro_ffext@lvbho";
    case 59:
        return "EdDuna_ffext@lvbho";
    case 60:
        return "EdGiro_ffext@lvbho";
    default:
        return "EdHalo_ffext@lvbho";
    }
}

std::string EditionFolderFor(int edition)
{
    switch (edition)
    {
    case 5:
        return "EdAlto";
    case 55:
        return "EdBrio";
    case 56:
        return "EdCeda";
    case 59:
        return "EdDuna";
    default:
        return "Kavrin";
    }
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
