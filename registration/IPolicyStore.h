#pragma once
// The machine's local Group Policy object, as the Chrome policy needs it: its registry section to write into, and
// a save that records the change in the machine's policy store.

#include "config/IRegistry.h"

class IPolicyStore
{
public:
    virtual ~IPolicyStore() = default;
    // Creates the Group Policy object and opens the local machine's policy with its registry loaded. COM must be
    // initialised on the calling thread. False on any failure.
    [[nodiscard]] virtual bool OpenMachinePolicy() = 0;
    // The machine section's registry key, usable with IRegistry; 0 unless OpenMachinePolicy succeeded.
    virtual RegHandle MachineKey() = 0;
    // Saves the machine policy (machine = true, add = true) for the registry client-side extension, naming the
    // tool by `toolGuid` (braced text). False when the save fails.
    [[nodiscard]] virtual bool Save(const char* toolGuid) = 0;
};

inline constexpr const char* kRegistryExtensionGuid = "{35378EAC-683F-11D2-A89A-00C04FBBCFA2}";
inline constexpr const char* kRegisterToolGuid = "{3D271CFC-2BC6-4AC2-B633-3BDFF5BDAB2A}";
inline constexpr const char* kUnregisterToolGuid = "{75FDA387-C370-4D62-A9CF-BD4A97257667}";
