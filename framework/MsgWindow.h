#pragma once
// A window whose messages reach a C++ object: the object is stored with the window at WM_NCCREATE and forgotten at
// WM_NCDESTROY. Subclasses override OnMessage, which is their message map. UI thread only: a window belongs to the
// thread that created it.

#include "framework/ObjectWindowProc.h"

#include <windows.h>

class CMsgWindow
{
public:
    CMsgWindow() = default;
    CMsgWindow(const CMsgWindow&) = delete;
    CMsgWindow& operator=(const CMsgWindow&) = delete;
    virtual ~CMsgWindow();

    // Registers `className` (once per process; a class already registered is used as it is) and creates the window.
    // A top-level window of style 0 when the desktop allows one; otherwise, as on a display-less desktop, a
    // message-only window, which receives the same posted and sent messages. False when neither can be made.
    [[nodiscard]] bool CreateHidden(const char* className, const char* title);
    // Owner's thread only.
    void Destroy() noexcept;

    HWND Handle() const noexcept { return m_hwnd; }

protected:
    // Returns true when the message was handled and `result` set; false passes it to DefWindowProcA.
    virtual bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) = 0;

private:
    friend struct ObjectWindowProc<CMsgWindow>;
    void AttachWindow(HWND hwnd) noexcept { m_hwnd = hwnd; }
    void DetachWindow(HWND) noexcept { m_hwnd = nullptr; }

    HWND m_hwnd = nullptr;
};
