#include "autofill/KeystrokePlayer.h"

#include "messaging/Responses.h"

#include <algorithm>
#include <vector>

std::uint32_t KeyEvent(IJsonMessage& request, IKeySender& keys)
{
    if (!request.HasMember("vk") || !request.HasMember("sleep"))
        return kStatusArgumentMissing;
    // Anything but an array holds no codes, an object with members included.
    const std::uint32_t count = request.IsArrayMember("vk") ? request.GetCount("vk") : 0;
    const std::int32_t pause = std::clamp(request.GetInt("sleep"), 0, kMaxKeyPauseMs);

    // All codes are read before the first key goes out: a request that cannot be read (a "sleep" that is not a
    // number, an element that is not a number) types nothing at all.
    std::vector<std::uint16_t> codes;
    codes.reserve(count);
    for (std::uint32_t i = 0; i < count && !request.ConversionFailed(); ++i)
        codes.push_back(static_cast<std::uint16_t>(static_cast<std::uint32_t>(request.GetArrayInt("vk", i)) & 0xFFFF));
    if (request.ConversionFailed())
        return kStatusArgumentMissing;

    std::uint32_t paused = 0;
    for (const std::uint16_t code : codes)
    {
        keys.SendKeyDown(code);
        if (pause != 0 && paused < kMaxKeyPausesMs)
        {
            keys.Pause(static_cast<std::uint32_t>(pause));
            paused += static_cast<std::uint32_t>(pause);
        }
    }
    return kStatusSuccess;
}
