#include "tools/regdoctor/ReportText.h"

#include <cstdio>

namespace
{
class CLines
{
public:
    void Add(int indent, const std::string& text)
    {
        m_text += std::string(static_cast<std::size_t>(indent) * 2, ' ') + text + "\n";
    }
    void Blank() { m_text += "\n"; }
    const std::string& Text() const noexcept { return m_text; }

private:
    std::string m_text;
};

std::string Quoted(const Json::Value& value)
{
    return "\"" + value.asString() + "\"";
}

// A string quoted, a number as it is, null as "absent".
std::string Shown(const Json::Value& value)
{
    if (value.isNull())
        return "absent";
    if (value.isString())
        return Quoted(value);
    if (value.isUInt64())
        return std::to_string(value.asUInt64());
    if (value.isInt64())
        return std::to_string(value.asInt64());
    if (value.isBool())
        return value.asBool() ? "yes" : "no";
    return value.toStyledString();
}

std::string Where(const Json::Value& key)
{
    return key["key"].asString() + " (" + std::to_string(key["view"].asInt()) + "-bit view)";
}

std::string Join(const Json::Value& list, const char* separator)
{
    std::string text;
    for (const Json::Value& item : list)
        text += (text.empty() ? "" : separator) + item.asString();
    return text;
}

void AddValues(CLines& lines, int indent, const Json::Value& values)
{
    for (const Json::Value& value : values)
    {
        const std::string name = value["name"].asString().empty() ? "(default)" : value["name"].asString();
        lines.Add(indent, name + " = " + Shown(value["data"]) + " (" + value["type"].asString() + ")");
    }
}

// "<key> (N-bit view)" and its values, or ": no key".
void AddKey(CLines& lines, int indent, const Json::Value& key)
{
    if (!key["exists"].asBool())
    {
        lines.Add(indent, Where(key) + ": no key");
        return;
    }
    lines.Add(indent, Where(key) + (key["values"].empty() ? ": no values" : ""));
    AddValues(lines, indent + 1, key["values"]);
}

void AddProduct(CLines& lines, const Json::Value& product)
{
    lines.Add(0, "Product");
    if (product["installed"].asBool())
        lines.Add(1, "installed: yes, edition " + Shown(product["edition"]) + ", install folder " +
                         Shown(product["installDir"]));
    else
        lines.Add(1, "installed: NO (no machine product key with an \"InstallDir\" string; the host will not run)");
    for (const Json::Value& key : product["keys"])
        AddKey(lines, 1, key);
    lines.Blank();
}

void AddManifest(CLines& lines, int indent, const Json::Value& manifest)
{
    if (manifest["valid"].asBool())
        lines.Add(indent, "manifest: valid; program " + manifest["program"].asString());
    else
        lines.Add(indent, "manifest: INVALID");
    for (const Json::Value& problem : manifest["problems"])
        lines.Add(indent + 1, "- " + problem.asString());
    for (const Json::Value& note : manifest["notes"])
        lines.Add(indent + 1, "note: " + note.asString());
}

void AddHost(CLines& lines, const Json::Value& host)
{
    lines.Add(0, "Native messaging: " + host["browser"].asString() + ", host " + host["hostName"].asString());
    if (!host["userLevelHostsAllowed"].asBool())
        lines.Add(1, "policy NativeMessagingUserLevelHosts is off: HKCU is not read");
    for (const Json::Value& registration : host["registrations"])
    {
        const std::string number =
            registration["order"].isNull() ? "-." : std::to_string(registration["order"].asInt()) + ".";
        std::string line = number + " " + Where(registration) + ": ";
        if (!registration["exists"].asBool())
            line += "no key";
        else if (!registration["manifestPath"].isNull())
            line += registration["manifestPath"].asString();
        if (registration["wins"].asBool())
            line += "  <- wins";
        if (!registration["note"].isNull())
            line += (registration["exists"].asBool() && registration["manifestPath"].isNull() ? "" : "; ") +
                    registration["note"].asString();
        lines.Add(1, line);
        if (registration.isMember("manifest"))
            AddManifest(lines, 3, registration["manifest"]);
    }
    const std::string status = host["status"].asString();
    if (status == "ok")
        lines.Add(1, "result: ok, registration " + std::to_string(host["winner"].asInt()) + " wins and is valid");
    else if (status == "broken")
        lines.Add(1, "result: BROKEN, registration " + std::to_string(host["winner"].asInt()) +
                         " wins and its manifest is invalid");
    else
        lines.Add(1, "result: NOT REGISTERED");
    lines.Blank();
}

void AddChromePolicy(CLines& lines, const Json::Value& policy)
{
    lines.Add(0, "Chrome policy, force-installing extension " + policy["extensionId"].asString());
    lines.Add(1, "expected entry: " + (policy["expectedEntry"].isNull() ? std::string("unknown (no product)")
                                                                        : policy["expectedEntry"].asString()));
    for (const Json::Value& list : policy["forcelist"])
    {
        AddKey(lines, 1, list);
        if (!list["entry"].isNull())
            lines.Add(2, "the extension's entry is \"" + list["entry"]["name"].asString() + "\", " +
                             (list["entryMatches"].asBool() ? "as expected" : "NOT as expected"));
        else if (list["exists"].asBool())
            lines.Add(2, "no entry names the extension");
    }
    for (const Json::Value& setting : policy["passwordManagerEnabled"])
        lines.Add(1, Where(setting) + ": PasswordManagerEnabled = " + Shown(setting["value"]));
    lines.Add(1, std::string("result: ") + (policy["registered"].asBool() ? "registered" : "NOT REGISTERED"));
    lines.Blank();
}

void AddChromeExtension(CLines& lines, const Json::Value& extension)
{
    if (extension["extensionId"].isNull())
    {
        lines.Add(0, "Chrome external extension: the edition has no Chrome extension (or no product)");
    }
    else
    {
        lines.Add(0, "Chrome external extension " + extension["extensionId"].asString());
        for (const Json::Value& key : extension["keys"])
        {
            if (!key["exists"].asBool())
                lines.Add(1, Where(key) + ": no key");
            else
                lines.Add(1, Where(key) + ": update_url = " + Shown(key["updateUrl"]) +
                                 (key["updateUrlMatches"].asBool() ? " (the store's)" : " (NOT the store's)"));
        }
        lines.Add(1, std::string("result: ") + (extension["registered"].asBool() ? "registered" : "NOT REGISTERED"));
    }
    const Json::Value& found = extension["found"];
    lines.Add(1, found["name"].asString() + " under " + found["key"].asString() + " = " + Shown(found["value"]) +
                     " (1: the extension was found in a Chrome profile)");
    lines.Blank();
}

// "<value> in <key> (N-bit view) = <path> (exists)".
void AddPathValue(CLines& lines, const Json::Value& value)
{
    std::string line = value["name"].asString() + " in " + Where(value) + " = " + Shown(value["value"]);
    if (!value["value"].isNull())
        line += value["fileExists"].asBool() ? " (exists)" : " (MISSING)";
    lines.Add(1, line);
}

void AddFirefoxExtension(CLines& lines, const Json::Value& extension)
{
    if (extension["extensionId"].isNull())
        lines.Add(0, "Firefox extension: no product, so no edition's id to look for");
    else
        lines.Add(0, "Firefox extension " + extension["extensionId"].asString());
    for (const Json::Value& key : extension["keys"])
    {
        AddKey(lines, 1, key);
        if (!key["exists"].asBool())
            continue;
        if (key["folder"].isNull())
            lines.Add(2, "the edition's extension is not listed");
        else
            lines.Add(2, "the edition's extension folder " +
                             std::string(key["folderExists"].asBool() ? "exists" : "is MISSING"));
        if (key["legacyPresent"].asBool())
            lines.Add(2, "the old id " + extension["legacyId"].asString() + " is still listed");
    }
    AddPathValue(lines, extension["hostPath"]);
    for (const Json::Value& pipe : extension["pipeLibrary"])
        AddPathValue(lines, pipe);
    lines.Add(1, std::string("result: ") + (extension["registered"].asBool() ? "registered" : "NOT REGISTERED"));
    lines.Blank();
}

void AddDebugSwitch(CLines& lines, const Json::Value& debug)
{
    lines.Add(0, "Debug switch");
    lines.Add(1, debug["name"].asString() + " under " + debug["key"].asString() + " = " + Shown(debug["value"]));
    if (debug["on"].asBool())
        lines.Add(1, debug["logName"].asString() + " logs at level " + Shown(debug["level"]) + " to " +
                         debug["logFile"].asString() + " (scrambled)");
    else
        lines.Add(1, debug["logName"].asString() + " does not log");
    lines.Blank();
}

void AddSkipLists(CLines& lines, const Json::Value& skipLists)
{
    lines.Add(0, "Skip lists");
    for (const Json::Value& key : skipLists["keys"])
    {
        AddKey(lines, 1, key);
        if (!key["unread"].empty())
            lines.Add(2,
                      "never read by the host (it reads \"1\" to the number of values): " + Join(key["unread"], ", "));
    }
    if (skipLists["entries"].empty())
        lines.Add(1, "the host skips no site");
    else
        lines.Add(1, "the host skips sites whose domain contains: " + Join(skipLists["entries"], ", "));
    lines.Blank();
}

void AddCore(CLines& lines, const Json::Value& core)
{
    lines.Add(0, "Core");
    lines.Add(1, core["processName"].asString() + ": " +
                     (core["running"].asBool() ? "running, process " + Shown(core["processId"]) : "not running"));
    const Json::Value& block = core["sharedBlock"];
    if (!block["present"].asBool())
    {
        lines.Add(1, "shared block " + block["name"].asString() + ": absent (no host or core has it open)");
    }
    else
    {
        char flags[16];
        std::snprintf(flags, sizeof flags, "0x%08x", block["flags"].asUInt());
        const auto named = [](const Json::Value& name) {
            return name.isNull() ? std::string() : " (" + name.asString() + ")";
        };
        lines.Add(1, "shared block " + block["name"].asString() + ":");
        lines.Add(2, "requestCode " + Shown(block["requestCode"]) + named(block["request"]));
        lines.Add(2, "result " + Shown(block["result"]) + named(block["resultName"]));
        lines.Add(2, std::string("flags ") + flags +
                         (block["flagNames"].empty() ? "" : " (" + Join(block["flagNames"], ", ") + ")"));
    }
    lines.Blank();
}

void AddSummary(CLines& lines, const Json::Value& report)
{
    lines.Add(0, "Summary");
    lines.Add(1, std::string("product: ") + (report["product"]["installed"].asBool() ? "installed" : "NOT INSTALLED"));
    for (const char* browser : {"chrome", "edge", "firefox"})
    {
        const Json::Value& host = report["nativeMessaging"][browser];
        lines.Add(1, host["browser"].asString() + " native messaging: " + host["status"].asString());
    }
    lines.Add(1, std::string("Chrome policy: ") +
                     (report["chromePolicy"]["registered"].asBool() ? "registered" : "not registered"));
    lines.Add(1, std::string("Chrome external extension: ") +
                     (report["chromeExtension"]["registered"].asBool() ? "registered" : "not registered"));
    lines.Add(1, std::string("Firefox extension: ") +
                     (report["firefoxExtension"]["registered"].asBool() ? "registered" : "not registered"));
    lines.Add(1, std::string("core: ") + (report["core"]["running"].asBool() ? "running" : "not running"));
}
} // namespace

std::string RenderReportText(const Json::Value& report)
{
    CLines lines;
    lines.Add(0, "Lumivar registration doctor (reads only; changes nothing)");
    lines.Blank();
    AddProduct(lines, report["product"]);
    for (const char* browser : {"chrome", "edge", "firefox"})
        AddHost(lines, report["nativeMessaging"][browser]);
    AddChromePolicy(lines, report["chromePolicy"]);
    AddChromeExtension(lines, report["chromeExtension"]);
    AddFirefoxExtension(lines, report["firefoxExtension"]);
    AddDebugSwitch(lines, report["debugSwitch"]);
    AddSkipLists(lines, report["skipLists"]);
    AddCore(lines, report["core"]);
    AddSummary(lines, report);
    return lines.Text();
}
