#include "registration/PolicyStoreWin.h"

#include "framework/AnsiText.h"

// Load-bearing order: gpedit.h needs HPROPSHEETPAGE, which WIN32_LEAN_AND_MEAN leaves out of windows.h, and
// initguid.h before it defines CLSID_GroupPolicyObject and IID_IGroupPolicyObject here (no import library has them).
#include <windows.h>

#include <prsht.h>

#include <initguid.h>

#include <gpedit.h>

#include <string>

namespace
{
// In-process, local or remote server: CLSCTX_ALL, which also admits an in-process handler.
constexpr DWORD kGroupPolicyContext = 23;
static_assert(kGroupPolicyContext == CLSCTX_ALL, "the Group Policy object's creation context");

// `text` is a braced GUID such as "{35378EAC-683F-11D2-A89A-00C04FBBCFA2}".
bool ParseGuid(const char* text, GUID& guid)
{
    const std::wstring wide = WidenAnsi(text);
    return !wide.empty() && SUCCEEDED(::CLSIDFromString(wide.c_str(), &guid));
}
} // namespace

CPolicyStoreWin::CPolicyStoreWin() = default;
CPolicyStoreWin::~CPolicyStoreWin() = default;

bool CPolicyStoreWin::OpenMachinePolicy()
{
    m_machineKey.Close();
    m_policy.Reset();

    CComPtr<IGroupPolicyObject> policy;
    if (FAILED(::CoCreateInstance(CLSID_GroupPolicyObject, nullptr, kGroupPolicyContext, IID_IGroupPolicyObject,
                                  policy.OutVoid())))
        return false;
    if (FAILED(policy->OpenLocalMachineGPO(GPO_OPEN_LOAD_REGISTRY)))
        return false;
    HKEY key = nullptr;
    const HRESULT result = policy->GetRegistryKey(GPO_SECTION_MACHINE, &key);
    CUnique<PolicyKeyTraits> machineKey(key);
    if (FAILED(result) || !machineKey.IsValid())
        return false;

    m_policy = std::move(policy);
    m_machineKey = std::move(machineKey);
    return true;
}

RegHandle CPolicyStoreWin::MachineKey()
{
    return reinterpret_cast<RegHandle>(m_machineKey.Get());
}

bool CPolicyStoreWin::Save(const char* toolGuid)
{
    if (!m_policy)
        return false;
    GUID extension{};
    GUID tool{};
    if (!ParseGuid(kRegistryExtensionGuid, extension) || !ParseGuid(toolGuid, tool))
        return false;
    return SUCCEEDED(m_policy->Save(TRUE, TRUE, &extension, &tool));
}
