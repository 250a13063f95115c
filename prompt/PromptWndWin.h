#pragma once
// CBHOPromptWnd, the prompt window. The UI thread makes a fresh one each time the main thread asks for it, and it
// is the handler's window from then on: the core's messages reach it as they reach CBHOWnd, and the prompt's own
// requests ("MSG_WM_SHOWPROMPT", "MSG_WM_HIDEPROMPT", ...) are sent to it. It owns the two dialogs of LVUI.dll and
// leaves what to do with them to CPromptController.

#include "corelink/BHOWndWin.h"
#include "lvui/include/LvUi.h"
#include "prompt/PromptController.h"
#include "prompt/PromptDialogsWin.h"

#include <memory>

class CBHOThread;

class CBHOPromptWnd : public CBHOWnd
{
public:
    // `thread` installs the focus hook's owner; it may be null (no hook).
    CBHOPromptWnd(CResponseWriter& writer, CBHOThread* thread);
    // The dialogs' windows go first, then the dialogs, then the window.
    ~CBHOPromptWnd() override;

    bool IsPromptWindow() const override { return true; }
    // A WinEvent from the focus hook.
    void OnWinEvent(DWORD event, HWND window);

protected:
    void OnCreated() override;
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
    LRESULT OnCopyData(const BHOCopyData& record) override;

private:
    void DestroyDialogs();

    CBHOThread* m_thread;
    CLvBhoPromptDlgUI m_promptDialog;
    CGpaAuthDlgUI m_pinDialog;
    CPromptDesktopWin m_desktop;
    std::unique_ptr<CPromptDialogWin> m_prompt;
    std::unique_ptr<CPinDialogWin> m_pin;
    std::unique_ptr<CPromptController> m_controller;
};

// The zoom of the screen the prompt shows on, taken once per window: LOGPIXELSX and HORZRES of the screen.
std::int32_t ScreenPromptZoom();
