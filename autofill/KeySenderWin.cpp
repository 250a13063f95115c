#include "autofill/KeySenderWin.h"

#include <windows.h>

void CKeySenderWin::SendKeyDown(std::uint16_t virtualKey)
{
    INPUT record{};
    record.type = INPUT_KEYBOARD;
    record.ki.wVk = virtualKey;
    // The result is not looked at: a key the system refuses is simply not typed.
    ::SendInput(1, &record, sizeof record);
}

void CKeySenderWin::Pause(std::uint32_t milliseconds)
{
    ::Sleep(milliseconds);
}
