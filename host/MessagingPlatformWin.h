#pragma once
// Messaging mode's operating-system side: the process queries, the kernel objects shared with the core, and the
// UI thread. It owns none of them: the composition root makes them and hands them in.

#include "corelink/BHOThreadWin.h"
#include "corelink/CoreLink.h"
#include "corelink/CoreObjectsWin.h"
#include "host/MainHandler.h"

class CMessagingPlatformWin : public IMessagingPlatform
{
public:
    CMessagingPlatformWin(IProcessQuery& processes, CCoreObjectsWin& objects, CCoreLink& link, CBHOThread& uiThread)
        : m_processes(processes), m_objects(objects), m_link(link), m_uiThread(uiThread)
    {
    }
    ~CMessagingPlatformWin() override;

    IProcessQuery& Processes() override { return m_processes; }
    [[nodiscard]] bool InitSecurityAttributes() override;
    [[nodiscard]] bool InitSharedMemory() override;
    void CloseSharedMemory() override { m_objects.CloseSharedMemory(); }
    ICommandHandler* StartUiThread(IJsonMessage& request, CResponseWriter& writer) override;
    void StopUiThread() override;

private:
    IProcessQuery& m_processes;
    CCoreObjectsWin& m_objects;
    CCoreLink& m_link;
    CBHOThread& m_uiThread;
};
