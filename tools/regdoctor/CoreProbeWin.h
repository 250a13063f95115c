#pragma once
// ICoreProbe over the process list and the named shared block.

#include "tools/regdoctor/ICoreProbe.h"

class CCoreProbeWin : public ICoreProbe
{
public:
    // A Toolhelp scan for the core's image name, as the host makes it.
    std::uint32_t FindCore() override;
    // Opens the existing mapping for reading only (OpenFileMappingA, FILE_MAP_READ); never creates it, and
    // takes no mutex.
    bool ReadSharedBlock(SharedBlockWords& words) override;
};
