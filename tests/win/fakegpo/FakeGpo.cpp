// FakeGpo.dll: a test double of the system's local Group Policy object, for win_tests under Wine only.
//
// Wine has no Group Policy object: creating {EA502722-A23D-11D1-A7D3-0000F87571E3} answers REGDB_E_CLASSNOTREG.
// The tests register this in-process server under that class id in their own scratch prefix, so that
// CPolicyStoreWin runs its real COM calls against something, and read back what it was asked. It is not part
// of the product and must never be registered on a real machine.
//
// - OpenLocalMachineGPO stores its flags as the DWORD "OpenFlags" under HKCU\Software\LvbhoFakeGpo and succeeds.
// - GetRegistryKey(GPO_SECTION_MACHINE) hands out HKCU\Software\LvbhoFakeGpo\Machine, created on demand: a new
//   handle on each call, which the caller closes. It fails unless the policy was opened with its registry loaded.
// - Save appends one line to the record file and answers S_OK, or E_FAIL while the DWORD "FailSave" under
//   HKCU\Software\LvbhoFakeGpo is non-zero; a failed save is recorded too:
//     Save machine=1 add=1 extension={35378EAC-683F-11D2-A89A-00C04FBBCFA2} tool={...} result=0\n
//   result is 0 or the HRESULT as 0x%08X. The record file is the REG_SZ "RecordFile" under
//   HKCU\Software\LvbhoFakeGpo, else LvbhoFakeGpo.log in the temporary folder.
// - Every other method answers E_NOTIMPL.
// The objects keep no locks: the tests call them from one thread.

#include "framework/Unique.h"

// Load-bearing order: gpedit.h needs HPROPSHEETPAGE, which WIN32_LEAN_AND_MEAN leaves out of windows.h, and
// initguid.h before it defines CLSID_GroupPolicyObject and IID_IGroupPolicyObject here (no import library has them).
#include <windows.h>

#include <prsht.h>

#include <initguid.h>

#include <gpedit.h>

#include <cstdio>
#include <new>
#include <string>

namespace
{
constexpr const char* kFakeKey = "Software\\LvbhoFakeGpo";
constexpr const char* kMachineKey = "Software\\LvbhoFakeGpo\\Machine";

// Live objects plus class factory locks; the DLL may be unloaded only at zero.
LONG g_moduleLocks = 0;

struct KeyTraits
{
    using Type = HKEY;
    static Type None() { return nullptr; }
    static bool IsValid(Type key) { return key != nullptr; }
    static void Close(Type key) { ::RegCloseKey(key); }
};
using CKey = CUnique<KeyTraits>;

DWORD ReadFakeDword(const char* name)
{
    DWORD value = 0;
    DWORD size = sizeof value;
    if (::RegGetValueA(HKEY_CURRENT_USER, kFakeKey, name, RRF_RT_REG_DWORD, nullptr, &value, &size) != ERROR_SUCCESS)
        return 0;
    return value;
}

void WriteFakeDword(const char* name, DWORD value)
{
    HKEY created = nullptr;
    if (::RegCreateKeyExA(HKEY_CURRENT_USER, kFakeKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &created, nullptr) !=
        ERROR_SUCCESS)
        return;
    CKey key(created);
    ::RegSetValueExA(key.Get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof value);
}

std::string RecordFilePath()
{
    char path[MAX_PATH + 1] = {};
    DWORD size = sizeof path;
    if (::RegGetValueA(HKEY_CURRENT_USER, kFakeKey, "RecordFile", RRF_RT_REG_SZ, nullptr, path, &size) ==
            ERROR_SUCCESS &&
        path[0] != '\0')
        return path;
    char folder[MAX_PATH + 1] = {};
    ::GetTempPathA(sizeof folder, folder);
    return std::string(folder) + "LvbhoFakeGpo.log";
}

std::string GuidText(const GUID* guid)
{
    if (guid == nullptr)
        return "null";
    char text[39] = {};
    std::snprintf(text, sizeof text, "{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned long>(guid->Data1), guid->Data2, guid->Data3, guid->Data4[0], guid->Data4[1],
                  guid->Data4[2], guid->Data4[3], guid->Data4[4], guid->Data4[5], guid->Data4[6], guid->Data4[7]);
    return text;
}

std::string ResultText(HRESULT result)
{
    if (result == S_OK)
        return "0";
    char text[11] = {};
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(result));
    return text;
}

void AppendRecord(const std::string& line)
{
    CHandle file(::CreateFileA(RecordFilePath().c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                               OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.IsValid())
        return;
    DWORD written = 0;
    ::WriteFile(file.Get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

class CFakeGroupPolicyObject final : public IGroupPolicyObject
{
public:
    CFakeGroupPolicyObject() { ::InterlockedIncrement(&g_moduleLocks); }
    CFakeGroupPolicyObject(const CFakeGroupPolicyObject&) = delete;
    CFakeGroupPolicyObject& operator=(const CFakeGroupPolicyObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (!::IsEqualIID(iid, IID_IUnknown) && !::IsEqualIID(iid, IID_IGroupPolicyObject))
            return E_NOINTERFACE;
        *object = static_cast<IGroupPolicyObject*>(this);
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&m_references)); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG left = ::InterlockedDecrement(&m_references);
        if (left == 0)
            delete this;
        return static_cast<ULONG>(left);
    }

    STDMETHODIMP OpenLocalMachineGPO(DWORD flags) override
    {
        m_openFlags = flags;
        m_opened = true;
        WriteFakeDword("OpenFlags", flags);
        return S_OK;
    }
    STDMETHODIMP GetRegistryKey(DWORD section, HKEY* key) override
    {
        if (key == nullptr)
            return E_POINTER;
        *key = nullptr;
        if (section != GPO_SECTION_MACHINE)
            return E_NOTIMPL;
        if (!m_opened || (m_openFlags & GPO_OPEN_LOAD_REGISTRY) == 0)
            return E_FAIL;
        const LONG created =
            ::RegCreateKeyExA(HKEY_CURRENT_USER, kMachineKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key, nullptr);
        return HRESULT_FROM_WIN32(created);
    }
    STDMETHODIMP Save(WINBOOL machine, WINBOOL add, GUID* extension, GUID* tool) override
    {
        const HRESULT result = ReadFakeDword("FailSave") != 0 ? E_FAIL : S_OK;
        AppendRecord("Save machine=" + std::to_string(machine) + " add=" + std::to_string(add) + " extension=" +
                     GuidText(extension) + " tool=" + GuidText(tool) + " result=" + ResultText(result) + "\n");
        return result;
    }

    STDMETHODIMP New(LPOLESTR, LPOLESTR, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP OpenDSGPO(LPOLESTR, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP OpenRemoteMachineGPO(LPOLESTR, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP Delete() override { return E_NOTIMPL; }
    STDMETHODIMP GetName(LPOLESTR, int) override { return E_NOTIMPL; }
    STDMETHODIMP GetDisplayName(LPOLESTR, int) override { return E_NOTIMPL; }
    STDMETHODIMP SetDisplayName(LPOLESTR) override { return E_NOTIMPL; }
    STDMETHODIMP GetPath(LPOLESTR, int) override { return E_NOTIMPL; }
    STDMETHODIMP GetDSPath(DWORD, LPOLESTR, int) override { return E_NOTIMPL; }
    STDMETHODIMP GetFileSysPath(DWORD, LPOLESTR, int) override { return E_NOTIMPL; }
    STDMETHODIMP GetOptions(DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP SetOptions(DWORD, DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP GetType(GROUP_POLICY_OBJECT_TYPE*) override { return E_NOTIMPL; }
    STDMETHODIMP GetMachineName(LPOLESTR, int) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertySheetPages(HPROPSHEETPAGE**, UINT*) override { return E_NOTIMPL; }

private:
    // Only Release deletes the object.
    ~CFakeGroupPolicyObject() { ::InterlockedDecrement(&g_moduleLocks); }

    LONG m_references = 1;
    DWORD m_openFlags = 0;
    bool m_opened = false;
};

// One static factory; its references do not count, LockServer does.
class CFakeClassFactory final : public IClassFactory
{
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (!::IsEqualIID(iid, IID_IUnknown) && !::IsEqualIID(iid, IID_IClassFactory))
            return E_NOINTERFACE;
        *object = static_cast<IClassFactory*>(this);
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override
    {
        if (object == nullptr)
            return E_POINTER;
        *object = nullptr;
        if (outer != nullptr)
            return CLASS_E_NOAGGREGATION;
        auto* created = new (std::nothrow) CFakeGroupPolicyObject();
        if (created == nullptr)
            return E_OUTOFMEMORY;
        const HRESULT result = created->QueryInterface(iid, object);
        created->Release();
        return result;
    }
    STDMETHODIMP LockServer(BOOL lock) override
    {
        if (lock)
            ::InterlockedIncrement(&g_moduleLocks);
        else
            ::InterlockedDecrement(&g_moduleLocks);
        return S_OK;
    }
};

CFakeClassFactory g_factory;
} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    if (!::IsEqualCLSID(clsid, CLSID_GroupPolicyObject))
        return CLASS_E_CLASSNOTAVAILABLE;
    return g_factory.QueryInterface(iid, object);
}

STDAPI DllCanUnloadNow()
{
    return g_moduleLocks == 0 ? S_OK : S_FALSE;
}
