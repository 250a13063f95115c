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
    SECURITY_ATTRIBUTES attributes{};
    SECURITY_DESCRIPTOR descriptor{};
    return InitNullDaclAttributes(attributes, descriptor) != 0;
}

bool CMessagingPlatformWin::InitSharedMemory()
{
    if (!m_objects.InitSharedMemory())
        return false;
    // Only the process that made the block initialises it; later openers find it as it stands.
    if (m_objects.CreatedMapping())
        m_link.ResetSharedData();
    return true;
}

ICommandHandler* CMessagingPlatformWin::StartUiThread(IJsonMessage& request, CResponseWriter& writer)
{
    m_thread = std::make_unique<CBHOThread>(m_link, m_registry, m_log);
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
