#include "tools/coresim/SimVault.h"

#include "tools/coresim/SimJson.h"

#include <json/json.h>

#include <fstream>
#include <memory>
#include <sstream>

const SimLogin* CSimVault::Find(const std::string& siteKey) const
{
    const auto found = m_sites.find(siteKey);
    return found == m_sites.end() ? nullptr : &found->second;
}

namespace
{
// Reads an optional string member; false when it is there but not a string.
bool ReadMember(const Json::Value& object, const char* name, bool required, std::string& value)
{
    if (!object.isMember(name))
        return !required;
    const Json::Value& member = object[name];
    if (!member.isString())
        return false;
    value = Utf8ToBytes(member.asString());
    return true;
}
} // namespace

bool CSimVault::FromText(const std::string& text, bool& noPrompt, std::string& error)
{
    Json::CharReaderBuilder builder;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    std::string parseErrors;
    bool parsed = false;
    try
    {
        parsed = reader->parse(text.data(), text.data() + text.size(), &root, &parseErrors);
    }
    catch (const Json::Exception& failure) // jsoncpp throws when nesting passes its stack limit
    {
        parseErrors = failure.what();
    }
    if (!parsed)
    {
        error = "not JSON: " + parseErrors;
        return false;
    }
    if (!root.isObject())
    {
        error = "the top level is not an object";
        return false;
    }

    std::map<std::string, SimLogin> sites;
    if (root.isMember("sites"))
    {
        const Json::Value& list = root["sites"];
        if (!list.isObject())
        {
            error = "\"sites\" is not an object";
            return false;
        }
        for (const std::string& key : list.getMemberNames())
        {
            const Json::Value& entry = list[key];
            SimLogin login;
            if (!entry.isObject() || !ReadMember(entry, "user", true, login.user) ||
                !ReadMember(entry, "password", true, login.password) ||
                !ReadMember(entry, "userField", true, login.userField) ||
                !ReadMember(entry, "passField", true, login.passField) || !ReadMember(entry, "url", false, login.url))
            {
                error = "site \"" + key + "\" needs the strings user, password, userField, passField (url optional)";
                return false;
            }
            sites[Utf8ToBytes(key)] = login;
        }
    }

    bool fileNoPrompt = noPrompt;
    if (root.isMember("noPrompt"))
    {
        if (!root["noPrompt"].isBool())
        {
            error = "\"noPrompt\" is not true or false";
            return false;
        }
        fileNoPrompt = root["noPrompt"].asBool();
    }

    m_sites = std::move(sites);
    noPrompt = fileNoPrompt;
    return true;
}

std::string CSimVault::ToText(bool noPrompt) const
{
    Json::Value root(Json::objectValue);
    Json::Value& sites = root["sites"] = Json::Value(Json::objectValue);
    for (const auto& [key, login] : m_sites)
    {
        Json::Value entry(Json::objectValue);
        entry["user"] = BytesToUtf8(login.user);
        entry["password"] = BytesToUtf8(login.password);
        entry["userField"] = BytesToUtf8(login.userField);
        entry["passField"] = BytesToUtf8(login.passField);
        entry["url"] = BytesToUtf8(login.url);
        sites[BytesToUtf8(key)] = entry;
    }
    root["noPrompt"] = noPrompt;

    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, root) + "\n";
}

bool CSimVault::Load(const std::string& path, bool& noPrompt, std::string& error)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        error = "cannot open " + path;
        return false;
    }
    std::ostringstream text;
    text << file.rdbuf();
    if (!FromText(text.str(), noPrompt, error))
    {
        error = path + ": " + error;
        return false;
    }
    return true;
}

bool CSimVault::Save(const std::string& path, bool noPrompt, std::string& error) const
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file)
    {
        error = "cannot write " + path;
        return false;
    }
    file << ToText(noPrompt);
    file.flush();
    if (!file)
    {
        error = "cannot write " + path;
        return false;
    }
    return true;
}
