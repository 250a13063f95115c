#pragma once
// Records the keys and pauses the keystroke player asks for, in order.

#include "autofill/KeystrokePlayer.h"

#include <string>
#include <vector>

class CRecordingKeySender : public IKeySender
{
public:
    void SendKeyDown(std::uint16_t virtualKey) override { m_events.push_back("down " + std::to_string(virtualKey)); }
    void Pause(std::uint32_t milliseconds) override { m_events.push_back("pause " + std::to_string(milliseconds)); }

    std::vector<std::string> m_events;
};
