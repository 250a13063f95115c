#include "corelink/BHOWndWin.h"

#include "corelink/AsyncMessages.h"
#include "corelink/RegisteredMessagesWin.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

CBHOWnd::~CBHOWnd()
{
    Destroy();
    for (BHOCopyData* record : m_pendingCopies)
        std::free(record);
}

bool CBHOWnd::Create(CLVBHOCommandHandler* handler)
{
    m_pHandler = handler;
    const char* title = handler ? handler->BrowserName().c_str() : "";
    if (!CreateHidden(kHostWindowClass, title))
        return false;
    ::ChangeWindowMessageFilterEx(Handle(), WM_COPYDATA, MSGFLT_ALLOW, nullptr);
    ::ChangeWindowMessageFilterEx(Handle(), Messages().coreWakeUp, MSGFLT_ALLOW, nullptr);
    OnCreated();
    return true;
}

bool CBHOWnd::OnMessage(UINT message, WPARAM, LPARAM lParam, LRESULT& result)
{
    if (!m_pHandler)
        return false;
    const RegisteredMessages& messages = Messages();
    if (message == WM_COPYDATA)
    {
        // The handler always gets a whole record; bytes the sender did not send are zero, never read beyond it.
        const auto* copyData = reinterpret_cast<const COPYDATASTRUCT*>(lParam);
        auto* record = static_cast<BHOCopyData*>(std::calloc(1, sizeof(BHOCopyData)));
        if (!record)
        {
            result = 0;
            return true;
        }
        if (copyData && copyData->lpData)
            std::memcpy(record, copyData->lpData, std::min<std::size_t>(copyData->cbData, sizeof(BHOCopyData)));
        m_pendingCopies.insert(record);
        if (!::PostMessageA(Handle(), messages.copyData, 0, reinterpret_cast<LPARAM>(record)))
        {
            m_pendingCopies.erase(record);
            std::free(record);
        }
        result = 1;
    }
    else if (message == messages.coreWakeUp)
    {
        ::PostMessageA(Handle(), messages.autoFill, 0, 0);
        result = 1;
    }
    else if (message == messages.copyData)
    {
        // Anyone may post this message; only a copy this window made is read, and freed.
        auto* record = reinterpret_cast<BHOCopyData*>(lParam);
        result = m_pendingCopies.erase(record) != 0 ? OnCopyData(0, record) : 1;
    }
    else if (message == messages.autoFill)
        result = OnAutoFill();
    else
        return false;
    return true;
}

LRESULT CBHOWnd::OnCopyData(WPARAM wParam, BHOCopyData* record)
{
    if (record)
    {
        BuildValidateAsyncMsg(*m_pJson, *record);
        std::string text;
        m_writer.WriteResponse(m_pJson->ToString(text));
        m_pJson->Clear();
        if (ReleasesWaitingCommand(record->status) && m_pHandler)
            m_pHandler->Platform().SetWaitEvent();
    }
    if (wParam == 0)
        std::free(record);
    return 1;
}

LRESULT CBHOWnd::OnAutoFill()
{
    if (!m_pHandler)
        return 0;
    // Tables of its own: the handler's belong to the main thread's commands.
    LoginScriptTables tables;
    if (BuildFormFill(*m_pJson, tables, m_pHandler->CoreLink()))
    {
        std::string text;
        m_writer.WriteResponse(m_pJson->ToString(text));
    }
    m_pJson->Clear();
    return 0;
}
