#pragma once
// The prompt's two LVUI.dll dialogs and the desktop behind the portable seams of IPromptUi.h. UI thread only.

#include "lvui/include/LvUi.h"
#include "prompt/IPromptUi.h"

#include <windows.h>

// What both dialogs share: the window calls and ShowBHOPromptUI with the prompt window as owner.
template <typename Base>
class CLvUiDialogAdapter : public Base
{
public:
    CLvUiDialogAdapter(CLVUIDhtmlDlg& dialog, HWND owner) : m_dialog(dialog), m_owner(owner) {}

    bool Exists() override { return m_dialog.IsWindow() != FALSE; }
    bool IsVisible() override { return m_dialog.IsWindowVisible() != FALSE; }
    bool Show(WindowId parent, const std::string& page, std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h,
              const std::string& text) override
    {
        return ShowBHOPromptUI(&m_dialog, reinterpret_cast<HWND>(parent), m_owner, WS_CHILD, page.c_str(), x, y, w, h,
                               text.c_str()) != 0;
    }
    void Hide() override { m_dialog.ShowWindow(SW_HIDE); }
    void OnHide() override { m_dialog.OnHidePrompt(); }
    WindowId Parent() override { return reinterpret_cast<WindowId>(m_dialog.GetParent()); }
    void SetParent(WindowId parent) override { m_dialog.SetParent(reinterpret_cast<HWND>(parent)); }
    void SetZoom(std::int32_t zoom) override { m_dialog.SetZoom(zoom); }
    PromptRect WindowRect() override
    {
        RECT rect{};
        if (!m_dialog.GetWindowRect(&rect))
            return PromptRect{};
        return PromptRect{rect.left, rect.top, rect.right, rect.bottom};
    }
    void Focus() override { m_dialog.SetFocus(); }

protected:
    CLVUIDhtmlDlg& m_dialog;
    HWND m_owner;
};

class CPromptDialogWin final : public CLvUiDialogAdapter<IPromptPageDialog>
{
public:
    CPromptDialogWin(CLvBhoPromptDlgUI& dialog, HWND owner) : CLvUiDialogAdapter(dialog, owner), m_prompt(dialog) {}

    std::string ActivePage() override;
    std::string DialogUrl() override;
    void ShowMessage(std::uint32_t code, const std::string& text) override;
    std::int32_t CurrentHeight() override { return m_prompt.GetCurrentHeight(); }
    std::int32_t OriginalWidth() override { return m_prompt.GetOriginalWidth(); }
    std::string TakeTypedText() override;

private:
    CLvBhoPromptDlgUI& m_prompt;
};

class CPinDialogWin final : public CLvUiDialogAdapter<IPinDialog>
{
public:
    CPinDialogWin(CGpaAuthDlgUI& dialog, HWND owner) : CLvUiDialogAdapter(dialog, owner), m_pin(dialog) {}

    void UpdateBadPin() override { m_pin.UpdateBadPin(); }
    std::string TakePin() override;

private:
    CGpaAuthDlgUI& m_pin;
};

class CPromptDesktopWin final : public IPromptDesktop
{
public:
    WindowId Foreground() override;
    std::string ClassName(WindowId window) override;
    WindowId Parent(WindowId window) override;
    bool IsIconic(WindowId window) override;
    bool WindowProcess(WindowId window, std::string& imagePath, std::string& className) override;
    void Sleep(std::uint32_t ms) override;
    void SendCopyData(WindowId target, WindowId from, const BHOCopyData& record) override;
};
