#pragma once
// "keyevent": types virtual-key codes on the user's behalf, key-down only, with a pause after each key.

#include "messaging/JsonMessage.h"

#include <cstdint>

class IKeySender
{
public:
    virtual ~IKeySender() = default;
    // One keyboard input record: the code, no scan code, no flags (a key-down), no time, no extra information.
    virtual void SendKeyDown(std::uint16_t virtualKey) = 0;
    virtual void Pause(std::uint32_t milliseconds) = 0;
};

// A page must not be able to stall the host for long: a pause is cut to this, and a negative one counts as none.
inline constexpr std::int32_t kMaxKeyPauseMs = 1000;

// Reads "vk" (an array of codes, each cut to its low 16 bits; a number, string or null sends nothing) and "sleep".
// 4 when either is missing or cannot be read as what it should be, else 0. Only key-down records are sent,
// deliberately: no key-up follows.
std::uint32_t KeyEvent(IJsonMessage& request, IKeySender& keys);
