#pragma once
// Keys into the system's input stream with SendInput.

#include "autofill/KeystrokePlayer.h"

class CKeySenderWin : public IKeySender
{
public:
    void SendKeyDown(std::uint16_t virtualKey) override;
    void Pause(std::uint32_t milliseconds) override;
};
