#pragma once
// The registration doctor: everything the host's registration switches leave behind and everything the host reads
// at start, examined in place and reported as one JSON object. It only reads: every key is opened with KEY_READ and
// an explicit view, through a guard that refuses changes, files are only read, and the core is only looked at.

#include "config/IRegistry.h"
#include "config/ProductSettings.h"
#include "tools/regdoctor/ICoreProbe.h"
#include "tools/regdoctor/IDoctorFiles.h"
#include "tools/regdoctor/LookupOrder.h"
#include "tools/regdoctor/ReadOnlyRegistry.h"

#include <json/json.h>

#include <cstddef>

class CRegDoctor
{
public:
    // The three are borrowed for the doctor's lifetime.
    CRegDoctor(IRegistry& registry, IDoctorFiles& files, ICoreProbe& core);

    // The whole report: {"product", "nativeMessaging": {"chrome", "edge", "firefox"}, "chromePolicy",
    // "chromeExtension", "firefoxExtension", "debugSwitch", "skipLists", "core"}.
    Json::Value Examine();

    // The sections, each on its own. Those that depend on the edition read the product key first.
    Json::Value ExamineProduct();
    Json::Value ExamineNativeMessaging(Browser browser);
    Json::Value ExamineChromePolicy();
    Json::Value ExamineChromeExtension();
    Json::Value ExamineFirefoxExtension();
    Json::Value ExamineDebugSwitch();
    Json::Value ExamineSkipLists();
    Json::Value ExamineCore();

    // Changes the guard refused; 0 unless a borrowed helper tried to write.
    std::size_t RefusedChanges() const noexcept { return m_registry.RefusedCount(); }

private:
    void LoadProduct();
    // Whether the browser's NativeMessagingUserLevelHosts policy lets it read HKCU (machine policy first).
    bool UserLevelHostsAllowed(Browser browser);

    CReadOnlyRegistry m_registry;
    IDoctorFiles& m_files;
    ICoreProbe& m_core;
    bool m_productLoaded = false;
    bool m_installed = false;
    ProductInfo m_product;
};
