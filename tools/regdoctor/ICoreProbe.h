#pragma once
// Whether the core runs, and what its shared block says now. Looking changes nothing: the block is opened for
// reading only if it exists, never created, and its mutex is not taken, so the three words may be mid-update.

#include <cstdint>

struct SharedBlockWords
{
    std::uint32_t requestCode = 0;
    std::uint32_t result = 0;
    std::uint32_t flags = 0;
};

class ICoreProbe
{
public:
    virtual ~ICoreProbe() = default;
    // The id of a running core process, 0 when none runs.
    virtual std::uint32_t FindCore() = 0;
    // False when the shared block does not exist (no host or core has it open) or cannot be read.
    virtual bool ReadSharedBlock(SharedBlockWords& words) = 0;
};
