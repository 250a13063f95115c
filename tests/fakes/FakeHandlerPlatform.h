#pragma once
// The command handler's UI-thread side, recording.

#include "commands/IHandlerPlatform.h"

#include <string>
#include <vector>

class CFakeHandlerPlatform : public IHandlerPlatform
{
public:
    WindowId HostWindow() override { return m_window; }
    bool HasPromptWindow() override { return m_hasPrompt; }
    std::intptr_t SendToWindow(const char* messageName, std::uintptr_t wParam, std::intptr_t lParam) override
    {
        m_calls.push_back(std::string("Send ") + messageName + " " + std::to_string(wParam) + " " +
                          std::to_string(lParam));
        return 1;
    }
    void WaitOnEvent(std::uint32_t timeoutMs) override
    {
        m_calls.push_back("WaitOnEvent " + std::to_string(timeoutMs));
    }
    void SetWaitEvent() override { m_calls.push_back("SetWaitEvent"); }
    void SendCopyData(WindowId target, const BHOCopyData& record) override
    {
        m_calls.push_back("SendCopyData " + std::to_string(target));
        m_copyData.push_back(record);
    }
    void RunOnUiThread(std::uint32_t message) override
    {
        m_calls.push_back("RunOnUiThread " + std::to_string(message));
    }

    WindowId m_window = 0x5150;
    bool m_hasPrompt = false;
    std::vector<std::string> m_calls;
    std::vector<BHOCopyData> m_copyData;
};
