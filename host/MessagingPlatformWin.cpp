#include "host/MessagingPlatformWin.h"

#include "corelink/SecurityWin.h"

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

ICommandHandler* CMessagingPlatformWin::StartUiThread(IJsonMessage& request, CResponseWriter& writer)
{
    if (!m_uiThread.Start(request, writer))
    {
        StopUiThread();
        return nullptr;
    }
    return m_uiThread.Handler();
}

void CMessagingPlatformWin::StopUiThread()
{
    // A thread never started, or already ended, makes this return at once.
    m_uiThread.Stop();
}
