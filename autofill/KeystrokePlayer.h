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

// The main thread serves no other request while it types, and a page must not be able to stall the host: a pause
// is cut to kMaxKeyPauseMs (a negative one counts as none), and once the pauses of one request add up to
// kMaxKeyPausesMs the remaining keys follow without pauses.
inline constexpr std::int32_t kMaxKeyPauseMs = 1000;
inline constexpr std::uint32_t kMaxKeyPausesMs = 10000;

// Reads "vk" (an array of codes, each cut to its low 16 bits; anything but an array sends nothing) and "sleep".
// 4 when either is missing or cannot be read as what it should be, else 0. Only key-down records are sent,
// deliberately: no key-up follows.
std::uint32_t KeyEvent(IJsonMessage& request, IKeySender& keys);
