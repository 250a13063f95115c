#pragma once
// IPolicyStore over the system's local Group Policy object (IGroupPolicyObject from gpedit.h).

#include "framework/ComPtr.h"
#include "framework/Unique.h"
#include "registration/IPolicyStore.h"

struct IGroupPolicyObject;

// A key the Group Policy object handed out; the receiver closes it.
struct PolicyKeyTraits
{
    using Type = HKEY;
    static Type None() { return nullptr; }
    static bool IsValid(Type key) { return key != nullptr; }
    static void Close(Type key) { ::RegCloseKey(key); }
};

class CPolicyStoreWin : public IPolicyStore
{
public:
    // Both out of line, where IGroupPolicyObject is complete.
    CPolicyStoreWin();
    ~CPolicyStoreWin() override;
    CPolicyStoreWin(const CPolicyStoreWin&) = delete;
    CPolicyStoreWin& operator=(const CPolicyStoreWin&) = delete;

    // A second call drops what the first one opened before trying again; on failure nothing stays open.
    [[nodiscard]] bool OpenMachinePolicy() override;
    // Borrowed: the key stays owned by this object and is closed with it.
    RegHandle MachineKey() override;
    // False as well when the policy is not open or `toolGuid` is not a braced GUID.
    [[nodiscard]] bool Save(const char* toolGuid) override;

private:
    // The key is declared after the object, so it is closed before the object is released.
    CComPtr<IGroupPolicyObject> m_policy;
    CUnique<PolicyKeyTraits> m_machineKey;
};
