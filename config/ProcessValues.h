#pragma once
// The values the host learns once, before the message loop starts, and only reads afterwards.

#include "config/ProductSettings.h"

#include <string>

struct ProcessValues
{
    ProductInfo product;
    // Whether a process named like "chrome.exe" runs immersive; reported by "Identify" as "ismetro".
    bool chromeImmersive = false;
    // The user interface language name answered by "GetLang".
    std::string languageName = "English";
};
