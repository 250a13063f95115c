#include "tools/coresim/SimWindowWin.h"

#include "corelink/SharedData.h"

#include <cstring>

CSimMessages::CSimMessages()
    : m_names{kMsgCopyData,   kMsgAutoFill,        kMsgDoValidateUser, kMsgExtensionInstalled,
              kMsgUpdateMsg,  kMsgProcessPromptUi, kMsgShowPrompt,     kMsgInitPromptUi,
              kMsgHidePrompt, kMsgSetPromptPos,    kMsgSetTabInfo,     kMsgCoreWakeUp},
      m_ids{}
{
    for (int i = 0; i < kCount; ++i)
        m_ids[i] = ::RegisterWindowMessageA(m_names[i]);
}

UINT CSimMessages::Id(const char* name) const
{
    for (int i = 0; i < kCount; ++i)
    {
        if (std::strcmp(m_names[i], name) == 0)
            return m_ids[i];
    }
    return 0;
}

const char* CSimMessages::NameOf(UINT id) const
{
    if (id == 0)
        return nullptr;
    for (int i = 0; i < kCount; ++i)
    {
        if (m_ids[i] == id)
            return m_names[i];
    }
    return nullptr;
}

CSimWindow::~CSimWindow()
{
    if (m_hwnd)
        ::DestroyWindow(m_hwnd);
}

bool CSimWindow::Create(std::string& error)
{
    const HINSTANCE instance = ::GetModuleHandleA(nullptr);
    WNDCLASSA windowClass{};
    windowClass.lpfnWndProc = &ObjectWindowProc<CSimWindow>::Proc;
    windowClass.hInstance = instance;
    windowClass.lpszClassName = kCoreWindowClass;
    if (!::RegisterClassA(&windowClass))
    {
        const DWORD lastError = ::GetLastError();
        if (lastError != ERROR_CLASS_ALREADY_EXISTS)
        {
            error = "RegisterClassA failed with " + std::to_string(lastError);
            return false;
        }
    }

    // Headless Wine cannot make top-level windows (error 1400); a message-only window serves as well, and Wine's
    // FindWindowA finds it.
    HWND created =
        ::CreateWindowExA(0, kCoreWindowClass, kCoreWindowTitle, 0, 0, 0, 0, 0, nullptr, nullptr, instance, this);
    if (!created)
    {
        m_hwnd = nullptr; // a window that failed after WM_NCCREATE is gone
        created = ::CreateWindowExA(0, kCoreWindowClass, kCoreWindowTitle, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                    instance, this);
        m_messageOnly = true;
    }
    if (!created)
    {
        const DWORD lastError = ::GetLastError();
        m_hwnd = nullptr;
        error = "CreateWindowExA failed with " + std::to_string(lastError);
        return false;
    }
    m_hwnd = created;

    // Let hosts of another integrity level reach the window.
    ::ChangeWindowMessageFilterEx(m_hwnd, WM_COPYDATA, MSGFLT_ALLOW, nullptr);
    ::ChangeWindowMessageFilterEx(m_hwnd, m_messages.Id(kMsgDoValidateUser), MSGFLT_ALLOW, nullptr);
    ::ChangeWindowMessageFilterEx(m_hwnd, m_messages.Id(kMsgExtensionInstalled), MSGFLT_ALLOW, nullptr);
    return true;
}

bool CSimWindow::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, LRESULT& result)
{
    if (msg == WM_COPYDATA)
    {
        const auto* data = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        if (!data)
            return false;
        result = m_sink.OnCopyData(wParam, *data);
        return true;
    }
    if (const char* name = m_messages.NameOf(msg))
    {
        m_sink.OnRegisteredMessage(name, wParam, lParam);
        result = 0;
        return true;
    }
    return false;
}
