#pragma once
// The registered window messages the host uses, registered once per process. Equal names give equal ids in every
// process of the session, which is how the core and the host agree on them.

#include "corelink/SharedData.h"

#include <windows.h>

struct RegisteredMessages
{
    UINT copyData = ::RegisterWindowMessageA(kMsgCopyData);
    UINT autoFill = ::RegisterWindowMessageA(kMsgAutoFill);
    UINT coreWakeUp = ::RegisterWindowMessageA(kMsgCoreWakeUp);
    UINT hidePrompt = ::RegisterWindowMessageA(kMsgHidePrompt);
    UINT setTabInfo = ::RegisterWindowMessageA(kMsgSetTabInfo);
    UINT showPrompt = ::RegisterWindowMessageA(kMsgShowPrompt);
    UINT setPromptPos = ::RegisterWindowMessageA(kMsgSetPromptPos);
    UINT initPromptUi = ::RegisterWindowMessageA(kMsgInitPromptUi);
    UINT processPromptUi = ::RegisterWindowMessageA(kMsgProcessPromptUi);
    UINT updateMsg = ::RegisterWindowMessageA(kMsgUpdateMsg);
};

inline const RegisteredMessages& Messages()
{
    static const RegisteredMessages messages;
    return messages;
}
