#include "corelink/ProcessQuery.h"

#include <cstdio>

std::uint32_t FindProcessInList(const std::vector<NamedProcess>& processes, const char* name, std::uint32_t selfId)
{
    const std::string wanted = name ? name : "";
    for (const NamedProcess& process : processes)
    {
        if (process.id != selfId && NameContains(process.exeName.data(), process.exeName.size(), wanted))
            return process.id;
    }
    return 0;
}

std::uint32_t FindAnyInList(const std::vector<NamedProcess>& processes, const std::vector<std::string>& names,
                            std::uint32_t selfId)
{
    for (const std::string& name : names)
    {
        if (const std::uint32_t id = FindProcessInList(processes, name.c_str(), selfId))
            return id;
    }
    return 0;
}

std::string BuildProcessQuery(const char* name, bool withCommandLine, std::uint32_t session, std::uint32_t ownSession)
{
    const char* select = withCommandLine ? "ProcessId,CommandLine" : "ProcessId";
    const std::string wanted = name ? name : "";
    std::string query = std::string("SELECT ") + select + " FROM Win32_Process WHERE Name = '" + wanted + "'";
    if (session == kAnySession)
        return query;
    const std::uint32_t id = session == kOwnSession ? ownSession : session;
    char condition[32];
    std::snprintf(condition, sizeof condition, " and SessionId=%d", static_cast<int>(id));
    return query + condition;
}

bool CRunningProcessWatch::IsRunning()
{
    if (m_watch != 0 && !m_processes.HasExited(m_watch))
        return true;
    Forget();
    const std::uint32_t processId = m_processes.FindAnyProcess(m_names);
    if (processId == 0)
        return false;
    // A process that cannot be opened is still running; it is simply looked for again next time.
    m_watch = m_processes.OpenExitWatch(processId);
    // The id may have passed to another process between the scan and the opening: the watch is kept only when a
    // second scan finds the same id under the name.
    if (m_watch != 0 && m_processes.FindAnyProcess(m_names) != processId)
        Forget();
    return true;
}

void CRunningProcessWatch::Forget()
{
    if (m_watch != 0)
        m_processes.CloseExitWatch(m_watch);
    m_watch = 0;
}
