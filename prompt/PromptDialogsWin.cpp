#include "prompt/PromptDialogsWin.h"

#include "corelink/CopyDataSenderWin.h"
#include "corelink/RegisteredMessagesWin.h"
#include "framework/Unique.h"

#include <psapi.h>

namespace
{
constexpr int kTextBuffer = 260;
} // namespace

std::string CPromptDialogWin::ActivePage()
{
    const char* page = m_prompt.GetActivePage();
    return page ? page : "";
}

std::string CPromptDialogWin::DialogUrl()
{
    const char* url = m_prompt.GetDlgURL();
    return url ? url : "";
}

void CPromptDialogWin::ShowMessage(std::uint32_t code, const std::string& text)
{
    m_prompt.SetMessage(code, text.c_str());
    if (HWND dialog = m_prompt.GetSafeHwnd())
        ::PostMessageA(dialog, Messages().updateMsg, 0, 0);
}

std::string CPromptDialogWin::TakeTypedText()
{
    char text[kTextBuffer] = {};
    m_prompt.TakeTypedText(text, sizeof text);
    return text;
}

std::string CPinDialogWin::TakePin()
{
    char pin[kTextBuffer] = {};
    m_pin.TakePin(pin, sizeof pin);
    return pin;
}

WindowId CPromptDesktopWin::Foreground()
{
    return reinterpret_cast<WindowId>(::GetForegroundWindow());
}

std::string CPromptDesktopWin::ClassName(WindowId window)
{
    char name[kTextBuffer] = {};
    if (window == 0 || ::GetClassNameA(reinterpret_cast<HWND>(window), name, sizeof name) == 0)
        return std::string();
    return name;
}

WindowId CPromptDesktopWin::Parent(WindowId window)
{
    return reinterpret_cast<WindowId>(::GetParent(reinterpret_cast<HWND>(window)));
}

bool CPromptDesktopWin::IsIconic(WindowId window)
{
    return ::IsIconic(reinterpret_cast<HWND>(window)) != FALSE;
}

bool CPromptDesktopWin::WindowProcess(WindowId window, std::string& imagePath, std::string& className)
{
    DWORD processId = 0;
    ::GetWindowThreadProcessId(reinterpret_cast<HWND>(window), &processId);
    CHandle process(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
    if (!process.IsValid())
        return false;
    char image[kTextBuffer] = {};
    ::GetProcessImageFileNameA(process.Get(), image, sizeof image);
    imagePath = image;
    className = ClassName(window);
    return true;
}

void CPromptDesktopWin::Sleep(std::uint32_t ms)
{
    ::Sleep(ms);
}

void CPromptDesktopWin::SendCopyData(WindowId target, WindowId from, const BHOCopyData& record)
{
    SendCopyDataToCore(reinterpret_cast<HWND>(target), reinterpret_cast<HWND>(from), record);
}
