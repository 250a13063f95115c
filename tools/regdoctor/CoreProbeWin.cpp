#include "tools/regdoctor/CoreProbeWin.h"

#include "corelink/ProcessQueryWin.h"
#include "corelink/SharedData.h"
#include "framework/Unique.h"

#include <windows.h>

#include <cstddef>
#include <cstring>

std::uint32_t CCoreProbeWin::FindCore()
{
    CProcessQueryWin processes;
    return processes.FindProcessByName(kCoreProcessName);
}

bool CCoreProbeWin::ReadSharedBlock(SharedBlockWords& words)
{
    // The mapping is declared before its view, so that the view is unmapped first.
    CHandle mapping(::OpenFileMappingA(FILE_MAP_READ, FALSE, kSharedBlockName));
    if (!mapping.IsValid())
        return false;
    CMappedView view(::MapViewOfFile(mapping.Get(), FILE_MAP_READ, 0, 0, sizeof(BHOSharedData)));
    if (!view.IsValid())
        return false;
    const auto* block = static_cast<const unsigned char*>(view.Get());
    std::memcpy(&words.requestCode, block + offsetof(BHOSharedData, requestCode), sizeof words.requestCode);
    std::memcpy(&words.result, block + offsetof(BHOSharedData, result), sizeof words.result);
    std::memcpy(&words.flags, block + offsetof(BHOSharedData, flags), sizeof words.flags);
    return true;
}
