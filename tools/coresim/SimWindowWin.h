#pragma once
// The sim's message window, of the core's class and title, so that the host finds it with FindWindowA. It is a
// zero-size top-level window where one can be made, else (headless Wine) a message-only window. UI thread, which
// in the sim is the main thread.

#include "framework/ObjectWindowProc.h"

#include <windows.h>

#include <cstdint>
#include <string>

// A window handle as the number the block, the log and the ready line carry.
inline std::uint64_t WindowNumber(HWND hwnd)
{
    return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(hwnd));
}

// The registered messages the sim knows by name (all those of SharedData.h), registered once.
class CSimMessages
{
public:
    CSimMessages();
    UINT Id(const char* name) const;
    // The name of a registered message of the table, or null.
    const char* NameOf(UINT id) const;

private:
    static constexpr int kCount = 12;
    const char* m_names[kCount];
    UINT m_ids[kCount];
};

class ISimWindowSink
{
public:
    virtual ~ISimWindowSink() = default;
    // A registered message of CSimMessages' table, posted or sent to the window.
    virtual void OnRegisteredMessage(const char* name, WPARAM wParam, LPARAM lParam) = 0;
    // WM_COPYDATA; the result is returned to the sender.
    virtual LRESULT OnCopyData(WPARAM wParam, const COPYDATASTRUCT& data) = 0;
};

class CSimWindow
{
public:
    CSimWindow(const CSimMessages& messages, ISimWindowSink& sink) : m_messages(messages), m_sink(sink) {}
    CSimWindow(const CSimWindow&) = delete;
    CSimWindow& operator=(const CSimWindow&) = delete;
    ~CSimWindow();

    // On failure `error` names the call and its Win32 code.
    [[nodiscard]] bool Create(std::string& error);
    HWND Handle() const noexcept { return m_hwnd; }
    bool IsMessageOnly() const noexcept { return m_messageOnly; }

private:
    friend struct ObjectWindowProc<CSimWindow>;
    void AttachWindow(HWND hwnd) noexcept { m_hwnd = hwnd; }
    void DetachWindow(HWND) noexcept { m_hwnd = nullptr; }
    bool OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result);

    const CSimMessages& m_messages;
    ISimWindowSink& m_sink;
    HWND m_hwnd = nullptr;
    bool m_messageOnly = false;
};
