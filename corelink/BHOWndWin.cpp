#include "corelink/BHOWndWin.h"

#include "corelink/AsyncMessages.h"
#include "corelink/RegisteredMessagesWin.h"

#include <algorithm>
#include <cstring>

CBHOWnd::~CBHOWnd()
{
    Destroy();
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
        BHOCopyData record{};
        if (copyData && copyData->lpData)
            std::memcpy(&record, copyData->lpData, std::min<std::size_t>(copyData->cbData, sizeof(BHOCopyData)));
        const std::uint64_t ticket = m_nextTicket++;
        m_pendingCopies.emplace(ticket, record);
        if (!::PostMessageA(Handle(), messages.copyData, 0, static_cast<LPARAM>(ticket)))
            m_pendingCopies.erase(ticket);
        result = 1;
    }
    else if (message == messages.coreWakeUp)
    {
        ::PostMessageA(Handle(), messages.autoFill, 0, 0);
        result = 1;
    }
    else if (message == messages.copyData)
    {
        // Anyone may post this message; only a ticket this window gave out is served, once.
        const auto found = m_pendingCopies.find(static_cast<std::uint64_t>(lParam));
        result = 1;
        if (found != m_pendingCopies.end())
        {
            const BHOCopyData record = found->second;
            m_pendingCopies.erase(found);
            result = OnCopyData(record);
        }
    }
    else if (message == messages.autoFill)
        result = OnAutoFill();
    else
        return false;
    return true;
}

LRESULT CBHOWnd::OnCopyData(const BHOCopyData& record)
{
    BuildValidateAsyncMsg(*m_pJson, record);
    std::string text;
    m_writer.WriteResponse(m_pJson->ToString(text));
    m_pJson->Clear();
    if (ReleasesWaitingCommand(record.status) && m_pHandler)
        m_pHandler->Platform().SetWaitEvent();
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
