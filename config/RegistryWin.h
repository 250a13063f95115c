#pragma once
// IRegistry over the Win32 registry API.

#include "config/IRegistry.h"

class CRegistryWin : public IRegistry
{
public:
    LVBHO_IREGISTRY_OVERRIDES
};
