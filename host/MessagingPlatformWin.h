#pragma once
// Messaging mode's operating-system side: the process queries, the kernel objects shared with the core, and the
// UI thread.

#include "corelink/BHOThreadWin.h"
#include "corelink/CoreLink.h"
#include "corelink/CoreObjectsWin.h"
#include "corelink/ProcessQueryWin.h"
#include "host/MainHandler.h"

#include <memory>

class CMessagingPlatformWin : public IMessagingPlatform
{
public:
    CMessagingPlatformWin(IRegistry& registry, const CDebugLog& log);
    ~CMessagingPlatformWin() override;

    IProcessQuery& Processes() override { return m_processes; }
    [[nodiscard]] bool InitSecurityAttributes() override;
    [[nodiscard]] bool InitSharedMemory() override;
    void CloseSharedMemory() override { m_objects.CloseSharedMemory(); }
    ICommandHandler* StartUiThread(IJsonMessage& request, CResponseWriter& writer,
                                   const ProcessValues& values) override;
    void StopUiThread() override;

private:
    IRegistry& m_registry;
    const CDebugLog& m_log;
    CProcessQueryWin m_processes;
    CCoreObjectsWin m_objects;
    CCoreLink m_link;
    std::unique_ptr<CBHOThread> m_thread;
};
