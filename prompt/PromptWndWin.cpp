#include "prompt/PromptWndWin.h"

#include "corelink/RegisteredMessagesWin.h"

bool CBHOPromptWnd::OnMessage(UINT message, WPARAM wParam, LPARAM lParam, LRESULT& result)
{
    if (Handler() && message == Messages().hidePrompt)
    {
        // Nothing is shown yet, so there is nothing to hide.
        result = 1;
        return true;
    }
    return CBHOWnd::OnMessage(message, wParam, lParam, result);
}
