#include "host/MessagingPlatformWin.h"

#include "corelink/SecurityWin.h"

CMessagingPlatformWin::CMessagingPlatformWin(IRegistry& registry, const CDebugLog& log)
    : m_registry(registry), m_log(log), m_objects(m_processes, log), m_link(m_objects, log)
{
}

CMessagingPlatformWin::~CMessagingPlatformWin()
{
    StopUiThread();
}

bool CMessagingPlatformWin::InitSecurityAttributes()
{
    return ProcessSecurityAttributes() != nullptr;
}

bool CMessagingPlatformWin::InitSharedMemory()
{
    return m_objects.InitSharedMemory(m_link) == 1;
}

ICommandHandler* CMessagingPlatformWin::StartUiThread(IJsonMessage& request, CResponseWriter& writer,
                                                      const ProcessValues& values)
{
    m_thread = std::make_unique<CBHOThread>(m_link, m_registry, m_log, values.chromeImmersive);
    if (!m_thread->Start(request, writer))
    {
        StopUiThread();
        return nullptr;
    }
    return m_thread->Handler();
}

void CMessagingPlatformWin::StopUiThread()
{
    if (!m_thread)
        return;
    m_thread->Stop();
    m_thread.reset();
}
