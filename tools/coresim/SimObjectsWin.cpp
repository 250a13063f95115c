#include "tools/coresim/SimObjectsWin.h"

#include "tools/coresim/SimBlock.h"

namespace
{
std::string Failure(const char* call, DWORD error)
{
    return std::string(call) + " failed with " + std::to_string(error);
}
} // namespace

bool CSimObjects::Open(std::string& error)
{
    // The shared objects carry a null DACL so that processes of any integrity level can open them.
    SECURITY_DESCRIPTOR descriptor;
    if (!::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION) ||
        !::SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE))
    {
        const DWORD lastError = ::GetLastError();
        error = Failure("InitializeSecurityDescriptor", lastError);
        return false;
    }
    SECURITY_ATTRIBUTES attributes{sizeof(attributes), &descriptor, TRUE};

    m_mapping.Attach(::CreateFileMappingA(INVALID_HANDLE_VALUE, &attributes, PAGE_READWRITE, 0, sizeof(BHOSharedData),
                                          kSharedBlockName));
    const DWORD mappingError = ::GetLastError();
    if (!m_mapping.IsValid())
    {
        error = Failure("CreateFileMappingA", mappingError);
        return false;
    }
    m_createdBlock = mappingError != ERROR_ALREADY_EXISTS;

    m_view.Attach(::MapViewOfFile(m_mapping.Get(), FILE_MAP_ALL_ACCESS, 0, 0, 0));
    if (!m_view.IsValid())
    {
        const DWORD lastError = ::GetLastError();
        error = Failure("MapViewOfFile", lastError);
        return false;
    }

    for (const CoreEventName& entry : kCoreEvents)
    {
        CHandle& handle = m_events[static_cast<int>(entry.event)];
        handle.Attach(::CreateEventA(nullptr, entry.manualReset, entry.initiallySet, entry.name));
        if (!handle.IsValid())
        {
            const DWORD lastError = ::GetLastError();
            error = Failure("CreateEventA", lastError) + " for " + entry.name;
            return false;
        }
    }

    m_mutex.Attach(::CreateMutexA(&attributes, FALSE, kBlockMutexName));
    if (!m_mutex.IsValid())
    {
        const DWORD lastError = ::GetLastError();
        error = Failure("CreateMutexA", lastError);
        return false;
    }

    if (m_createdBlock)
    {
        CSimBlockLock lock(*this);
        ResetBlockFields(Block());
    }
    return true;
}

bool CSimObjects::LockBlock(DWORD timeoutMs)
{
    const DWORD waited = ::WaitForSingleObject(m_mutex.Get(), timeoutMs);
    return waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED;
}

void CSimObjects::UnlockBlock()
{
    ::ReleaseMutex(m_mutex.Get());
}
