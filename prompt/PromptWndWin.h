#pragma once
// CBHOPromptWnd, the prompt window. The UI thread makes a fresh one each time the main thread asks for it, and it
// is the handler's window from then on: the core's messages reach it as they reach CBHOWnd, and the prompt's own
// requests ("MSG_WM_HIDEPROMPT", ...) are sent to it. The dialogs it shows come with the prompt itself.

#include "corelink/BHOWndWin.h"

class CBHOPromptWnd : public CBHOWnd
{
public:
    using CBHOWnd::CBHOWnd;
    ~CBHOPromptWnd() override { Destroy(); }

    bool IsPromptWindow() const override { return true; }

protected:
    bool OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result) override;
};
