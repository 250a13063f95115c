#pragma once
// Messaging mode's platform, recording: a scripted process list, start-up steps that can be made to fail, and a UI
// thread that is a recording command handler.

#include "host/MainHandler.h"
#include "tests/fakes/RecordingCommandHandler.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

class CFakeProcessQuery : public IProcessQuery
{
public:
    std::uint32_t FindProcessByName(const char* name) override
    {
        ++m_scans;
        return FindProcessInList(m_processes, name, m_selfId);
    }
    std::uint32_t FindAnyProcess(const std::vector<std::string>& names) override
    {
        ++m_scans;
        return FindAnyInList(m_processes, names, m_selfId);
    }
    std::uint32_t FindProcessByWmi(const char* name, std::string* commandLine, std::uint32_t session) override
    {
        m_wmiQueries.push_back(BuildProcessQuery(name, commandLine != nullptr, session, 1));
        if (session != kAnySession && m_wmiSession != 1 && session == kOwnSession)
            return 0; // the process runs in another session
        const std::uint32_t found = m_wmiWorks ? FindProcessInList(m_processes, name, m_selfId) : 0;
        if (found && commandLine)
            *commandLine = m_wmiCommandLine;
        return found;
    }
    // A watch is the process id plus 1000; a process that has left the list has exited.
    std::uintptr_t OpenExitWatch(std::uint32_t processId) override
    {
        if (!m_watchesWork)
            return 0;
        ++m_openWatches;
        if (!m_listAfterOpen.empty())
            m_processes = m_listAfterOpen; // the process list changes between the scan and the opening
        return processId + 1000;
    }
    bool HasExited(std::uintptr_t watch) override
    {
        return std::none_of(m_processes.begin(), m_processes.end(),
                            [watch](const NamedProcess& process) { return process.id + 1000 == watch; });
    }
    void CloseExitWatch(std::uintptr_t) override { --m_openWatches; }
    bool ProcessImagePath(std::uint32_t, std::string& path) override
    {
        if (m_imagePath.empty())
            return false;
        path = m_imagePath;
        return true;
    }

    std::vector<NamedProcess> m_processes;
    std::uint32_t m_selfId = 100;
    bool m_wmiWorks = true;
    std::uint32_t m_wmiSession = 1;
    std::string m_wmiCommandLine;
    std::string m_imagePath;
    std::vector<std::string> m_wmiQueries;
    int m_scans = 0;
    int m_openWatches = 0;
    bool m_watchesWork = true;
    std::vector<NamedProcess> m_listAfterOpen;
};

class CFakeMessagingPlatform : public IMessagingPlatform
{
public:
    IProcessQuery& Processes() override { return m_processes; }
    bool InitSecurityAttributes() override
    {
        m_calls.push_back("InitSecurityAttributes");
        return m_securityWorks;
    }
    bool InitSharedMemory() override
    {
        m_calls.push_back("InitSharedMemory");
        return m_sharedMemoryWorks;
    }
    void CloseSharedMemory() override { m_calls.push_back("CloseSharedMemory"); }
    ICommandHandler* StartUiThread(IJsonMessage& request, CResponseWriter&) override
    {
        m_calls.push_back("StartUiThread");
        if (!m_threadStarts)
            return nullptr;
        m_handler = std::make_unique<CRecordingCommandHandler>(request);
        m_handler->m_cancelStatus = m_cancelStatus;
        return m_handler.get();
    }
    void StopUiThread() override
    {
        // What the handler was asked is kept for the test; the thread's end destroys the handler.
        if (m_handler)
            m_handlerCalls = m_handler->m_calls;
        m_handler.reset();
        m_calls.push_back("StopUiThread");
    }

    CFakeProcessQuery m_processes;
    bool m_securityWorks = true;
    bool m_sharedMemoryWorks = true;
    bool m_threadStarts = true;
    std::uint32_t m_cancelStatus = 3;
    std::vector<std::string> m_calls;
    std::vector<std::string> m_handlerCalls;
    std::unique_ptr<CRecordingCommandHandler> m_handler;
};
