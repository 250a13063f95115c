// CPolicyStoreWin against a Group Policy object reached through COM. Wine has none, so the tests register the
// stand-in FakeGpo.dll machine-wide in the scratch prefix (a per-user registration is not looked at) and remove it
// again. Where the class is already registered, as on Windows, they leave that registration alone and skip.

#include "registration/PolicyStoreWin.h"

#include "config/RegKey.h"
#include "config/RegistryWin.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <string>

namespace
{
constexpr const char* kClassKey = "CLSID\\{EA502722-A23D-11D1-A7D3-0000F87571E3}";
constexpr const char* kServerKey = "CLSID\\{EA502722-A23D-11D1-A7D3-0000F87571E3}\\InprocServer32";
constexpr const char* kFakeKey = "Software\\LvbhoFakeGpo";
constexpr const char* kFakeMachineKey = "Software\\LvbhoFakeGpo\\Machine";

const CLSID kGroupPolicyClass = {0xEA502722, 0xA23D, 0x11D1, {0xA7, 0xD3, 0x00, 0x00, 0xF8, 0x75, 0x71, 0xE3}};
const IID kGroupPolicyInterface = {0xEA502723, 0xA23D, 0x11D1, {0xA7, 0xD3, 0x00, 0x00, 0xF8, 0x75, 0x71, 0xE3}};

// COM for the calling thread, as the host has it around the policy switches.
struct ComScope
{
    ComScope() : ok(SUCCEEDED(::CoInitialize(nullptr))) {}
    ~ComScope()
    {
        if (ok)
            ::CoUninitialize();
    }
    bool ok;
};

bool FileExists(const std::string& path)
{
    return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// The DLL sits beside the test binary; the build's path is the fallback, a Linux path as Wine's Z: drive.
std::string FakeGpoPath()
{
    char module[MAX_PATH] = {};
    ::GetModuleFileNameA(nullptr, module, MAX_PATH);
    std::string beside(module);
    beside.erase(beside.find_last_of("\\/") + 1);
    beside += "FakeGpo.dll";
    if (FileExists(beside))
        return beside;
    std::string built = LVBHO_FAKEGPO_DLL;
    if (!built.empty() && built[0] == '/')
        built = "Z:" + built;
    for (char& c : built)
        c = c == '/' ? '\\' : c;
    return built;
}

bool ClassIsRegistered()
{
    HKEY key = nullptr;
    if (::RegOpenKeyExA(HKEY_CLASSES_ROOT, kClassKey, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    ::RegCloseKey(key);
    return true;
}

// Registers FakeGpo.dll as the Group Policy object for the life of the object, unless the class is registered
// already; only a registration made here is removed.
class CFakeGpoRegistration
{
public:
    CFakeGpoRegistration()
    {
        if (ClassIsRegistered())
            return;
        HKEY server = nullptr;
        if (::RegCreateKeyExA(HKEY_CLASSES_ROOT, kServerKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &server,
                              nullptr) != ERROR_SUCCESS)
            return;
        m_made = true;
        const std::string path = FakeGpoPath();
        const char model[] = "Both";
        m_ok = ::RegSetValueExA(server, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(path.c_str()),
                                static_cast<DWORD>(path.size() + 1)) == ERROR_SUCCESS &&
               ::RegSetValueExA(server, "ThreadingModel", 0, REG_SZ, reinterpret_cast<const BYTE*>(model),
                                sizeof model) == ERROR_SUCCESS;
        ::RegCloseKey(server);
    }
    ~CFakeGpoRegistration()
    {
        if (m_made)
            ::RegDeleteTreeA(HKEY_CLASSES_ROOT, kClassKey);
    }
    CFakeGpoRegistration(const CFakeGpoRegistration&) = delete;
    CFakeGpoRegistration& operator=(const CFakeGpoRegistration&) = delete;
    bool Ok() const { return m_ok; }

private:
    bool m_made = false;
    bool m_ok = false;
};

std::string ReadWholeFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool ReadDword(const char* key, const char* name, DWORD& value)
{
    DWORD size = sizeof value;
    return ::RegGetValueA(HKEY_CURRENT_USER, key, name, RRF_RT_REG_DWORD, nullptr, &value, &size) == ERROR_SUCCESS;
}

void WriteFakeValue(const char* name, DWORD type, const void* data, DWORD size)
{
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS,
              ::RegCreateKeyExA(HKEY_CURRENT_USER, kFakeKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr));
    EXPECT_EQ(ERROR_SUCCESS, ::RegSetValueExA(key, name, 0, type, static_cast<const BYTE*>(data), size));
    ::RegCloseKey(key);
}

std::string SaveLine(const char* tool, const char* result)
{
    return std::string("Save machine=1 add=1 extension={35378EAC-683F-11D2-A89A-00C04FBBCFA2} tool=") + tool +
           " result=" + result + "\n";
}

class PolicyStoreWinTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_com.ok);
        ::RegDeleteTreeA(HKEY_CURRENT_USER, kFakeKey);
        char folder[MAX_PATH] = {};
        ::GetTempPathA(MAX_PATH, folder);
        m_recordFile = std::string(folder) + "PolicyStoreWinTest-" + std::to_string(::GetCurrentProcessId()) + ".log";
        ::DeleteFileA(m_recordFile.c_str());
        WriteFakeValue("RecordFile", REG_SZ, m_recordFile.c_str(), static_cast<DWORD>(m_recordFile.size() + 1));
    }
    void TearDown() override
    {
        ::RegDeleteTreeA(HKEY_CURRENT_USER, kFakeKey);
        ::DeleteFileA(m_recordFile.c_str());
    }

    ComScope m_com;
    std::string m_recordFile;
};

// With FakeGpo.dll registered as the Group Policy object for the test.
class PolicyStoreWinFakeGpoTest : public PolicyStoreWinTest
{
protected:
    void SetUp() override
    {
        PolicyStoreWinTest::SetUp();
        if (HasFatalFailure())
            return;
        if (ClassIsRegistered())
            GTEST_SKIP() << "the Group Policy class is registered here; its registration is left alone";
        m_registration.emplace();
        ASSERT_TRUE(m_registration->Ok());
    }

    std::optional<CFakeGpoRegistration> m_registration;
};
} // namespace

TEST_F(PolicyStoreWinTest, WithoutTheClassRegisteredOpeningFails)
{
    if (ClassIsRegistered())
        GTEST_SKIP() << "the Group Policy class is registered here";
    CPolicyStoreWin store;

    const bool opened = store.OpenMachinePolicy();

    EXPECT_FALSE(opened);
    EXPECT_EQ(0u, store.MachineKey());
    IUnknown* object = nullptr;
    EXPECT_EQ(REGDB_E_CLASSNOTREG, ::CoCreateInstance(kGroupPolicyClass, nullptr, CLSCTX_ALL, kGroupPolicyInterface,
                                                      reinterpret_cast<void**>(&object)));
    if (object)
        object->Release();
}

TEST_F(PolicyStoreWinTest, BeforeOpeningThereIsNoKeyAndNoSave)
{
    CPolicyStoreWin store;

    EXPECT_EQ(0u, store.MachineKey());
    EXPECT_FALSE(store.Save(kRegisterToolGuid));
    EXPECT_FALSE(FileExists(m_recordFile));
}

TEST_F(PolicyStoreWinFakeGpoTest, OpeningLoadsTheRegistryAndGivesTheMachineKey)
{
    CPolicyStoreWin store;

    const bool opened = store.OpenMachinePolicy();

    ASSERT_TRUE(opened);
    EXPECT_NE(0u, store.MachineKey());
    DWORD flags = 0;
    ASSERT_TRUE(ReadDword(kFakeKey, "OpenFlags", flags));
    EXPECT_EQ(1u, flags); // GPO_OPEN_LOAD_REGISTRY
}

TEST_F(PolicyStoreWinFakeGpoTest, AValueWrittenBelowTheMachineKeyLandsInThePolicyRegistry)
{
    CPolicyStoreWin store;
    ASSERT_TRUE(store.OpenMachinePolicy());
    CRegistryWin registry;

    {
        CRegKey key(registry);
        ASSERT_EQ(kRegOk, key.Create(store.MachineKey(), "Software\\Policies\\LvbhoProbe"));
        ASSERT_EQ(kRegOk, key.SetDWORDValue("Probe", 7));
    }

    DWORD probe = 0;
    ASSERT_TRUE(ReadDword((std::string(kFakeMachineKey) + "\\Software\\Policies\\LvbhoProbe").c_str(), "Probe", probe));
    EXPECT_EQ(7u, probe);
}

TEST_F(PolicyStoreWinFakeGpoTest, SavingARegistrationRecordsTheRegisterTool)
{
    CPolicyStoreWin store;
    ASSERT_TRUE(store.OpenMachinePolicy());

    const bool saved = store.Save(kRegisterToolGuid);

    EXPECT_TRUE(saved);
    EXPECT_EQ(SaveLine("{3D271CFC-2BC6-4AC2-B633-3BDFF5BDAB2A}", "0"), ReadWholeFile(m_recordFile));
}

TEST_F(PolicyStoreWinFakeGpoTest, SavingARemovalRecordsTheUnregisterTool)
{
    CPolicyStoreWin store;
    ASSERT_TRUE(store.OpenMachinePolicy());

    const bool saved = store.Save(kUnregisterToolGuid);

    EXPECT_TRUE(saved);
    EXPECT_EQ(SaveLine("{75FDA387-C370-4D62-A9CF-BD4A97257667}", "0"), ReadWholeFile(m_recordFile));
}

TEST_F(PolicyStoreWinFakeGpoTest, EachSaveAppendsItsOwnLine)
{
    CPolicyStoreWin store;
    ASSERT_TRUE(store.OpenMachinePolicy());

    ASSERT_TRUE(store.Save(kRegisterToolGuid));
    ASSERT_TRUE(store.Save(kUnregisterToolGuid));

    EXPECT_EQ(SaveLine("{3D271CFC-2BC6-4AC2-B633-3BDFF5BDAB2A}", "0") +
                  SaveLine("{75FDA387-C370-4D62-A9CF-BD4A97257667}", "0"),
              ReadWholeFile(m_recordFile));
}

TEST_F(PolicyStoreWinFakeGpoTest, AFailedSaveIsFalse)
{
    const DWORD failSave = 1;
    WriteFakeValue("FailSave", REG_DWORD, &failSave, sizeof failSave);
    CPolicyStoreWin store;
    ASSERT_TRUE(store.OpenMachinePolicy());

    const bool saved = store.Save(kRegisterToolGuid);

    EXPECT_FALSE(saved);
    EXPECT_EQ(SaveLine("{3D271CFC-2BC6-4AC2-B633-3BDFF5BDAB2A}", "0x80004005"), ReadWholeFile(m_recordFile));
}

TEST_F(PolicyStoreWinFakeGpoTest, AToolThatIsNotABracedGuidIsNotSaved)
{
    CPolicyStoreWin store;
    ASSERT_TRUE(store.OpenMachinePolicy());

    EXPECT_FALSE(store.Save("3D271CFC-2BC6-4AC2-B633-3BDFF5BDAB2A"));
    EXPECT_FALSE(store.Save("{not-a-guid}"));
    EXPECT_FALSE(store.Save(nullptr));
    EXPECT_FALSE(FileExists(m_recordFile));
}

TEST_F(PolicyStoreWinTest, TheRegistrationIsRemovedAfterUse)
{
    if (ClassIsRegistered())
        GTEST_SKIP() << "the Group Policy class is registered here";

    {
        CFakeGpoRegistration registration;
        ASSERT_TRUE(registration.Ok());
        EXPECT_TRUE(ClassIsRegistered());
    }

    EXPECT_FALSE(ClassIsRegistered());
}
