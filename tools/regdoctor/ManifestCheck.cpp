#include "tools/regdoctor/ManifestCheck.h"

#include "tools/regdoctor/RegValues.h"

#include <cctype>
#include <exception>
#include <memory>

namespace
{
constexpr const char* kUtf8Bom = "\xEF\xBB\xBF";

bool IsSeparator(char c)
{
    return c == '\\' || c == '/';
}

// JSON as the browsers read it: one object, no comments, nothing after it. jsoncpp's exceptions (its stack limit
// throws) stop here.
bool ParseObject(const std::string& text, Json::Value& root, std::string& error)
{
    Json::CharReaderBuilder builder;
    builder["allowComments"] = false;
    builder["strictRoot"] = true;
    builder["allowSingleQuotes"] = false;
    builder["allowNumericKeys"] = false;
    builder["allowSpecialFloats"] = false;
    builder["failIfExtra"] = true;
    builder["stackLimit"] = 1000;
    try
    {
        const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
        if (!reader->parse(text.data(), text.data() + text.size(), &root, &error))
            return false;
    }
    catch (const std::exception& e)
    {
        error = e.what();
        return false;
    }
    if (!root.isObject())
    {
        error = "the top level is not an object";
        return false;
    }
    return true;
}

std::string StringMember(const Json::Value& root, const char* name, bool& present)
{
    const Json::Value& member = root[name];
    present = member.isString();
    return present ? member.asString() : std::string();
}
} // namespace

bool IsAbsoluteWindowsPath(const std::string& path)
{
    const bool drive =
        path.size() >= 3 && std::isalpha(static_cast<unsigned char>(path[0])) && path[1] == ':' && IsSeparator(path[2]);
    const bool unc = path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]);
    return drive || unc;
}

std::string FolderOf(const std::string& path)
{
    const std::size_t last = path.find_last_of("\\/");
    return last == std::string::npos ? std::string() : path.substr(0, last);
}

std::string ResolveProgramPath(const std::string& manifestPath, const std::string& programPath)
{
    if (IsAbsoluteWindowsPath(programPath))
        return programPath;
    const std::string folder = FolderOf(manifestPath);
    return folder.empty() ? programPath : folder + "\\" + programPath;
}

Json::Value CheckManifest(IDoctorFiles& files, const std::string& manifestPath, const ManifestRules& rules)
{
    Json::Value report(Json::objectValue);
    Json::Value& problems = report["problems"] = Json::Value(Json::arrayValue);
    Json::Value& notes = report["notes"] = Json::Value(Json::arrayValue);
    report["path"] = Utf8(manifestPath);
    report["absolute"] = IsAbsoluteWindowsPath(manifestPath);
    for (const char* check : {"exists", "parses", "nameMatches", "typeIsStdio", "programExists", "allowedPresent",
                              "allowsEdition", "valid"})
        report[check] = false;
    for (const char* found : {"name", "type", "program", "allowed"})
        report[found] = Json::Value();

    if (!report["absolute"].asBool())
        problems.append("the registry names the manifest by a relative path; browsers want a full path");
    report["exists"] = files.IsFile(manifestPath);
    if (!report["exists"].asBool())
    {
        problems.append("the manifest file does not exist");
        return report;
    }
    std::string text;
    if (!files.ReadText(manifestPath, kMaxManifestBytes, text))
    {
        problems.append("the manifest file cannot be read, or is larger than 1 MiB");
        return report;
    }
    // The browsers skip a byte order mark; so does the check.
    if (text.compare(0, 3, kUtf8Bom) == 0)
        text.erase(0, 3);
    Json::Value parsed;
    std::string error;
    if (!ParseObject(text, parsed, error))
    {
        problems.append("the manifest does not parse as a JSON object: " + Utf8(error));
        return report;
    }
    report["parses"] = true;
    // Read through a const reference: looking a member up must not add it.
    const Json::Value& root = parsed;

    bool present = false;
    const std::string name = Utf8(StringMember(root, "name", present));
    if (present)
        report["name"] = name;
    report["nameMatches"] = present && name == rules.hostName;
    if (!report["nameMatches"].asBool())
        problems.append(std::string("\"name\" is ") + (present ? "\"" + name + "\"" : "missing") + ", not \"" +
                        rules.hostName + "\"");

    const std::string type = Utf8(StringMember(root, "type", present));
    if (present)
        report["type"] = type;
    report["typeIsStdio"] = present && type == "stdio";
    if (!report["typeIsStdio"].asBool())
        problems.append("\"type\" is not \"stdio\"");

    const std::string programPath = StringMember(root, "path", present);
    if (!present || programPath.empty())
    {
        problems.append("\"path\" is missing");
    }
    else
    {
        const std::string program = ResolveProgramPath(manifestPath, programPath);
        report["program"] = Utf8(program);
        report["programExists"] = files.IsFile(program);
        if (!report["programExists"].asBool())
            problems.append("\"path\" names no existing program: " + Utf8(program));
    }

    const Json::Value& allowed = root[rules.allowedMember];
    Json::Value list(Json::arrayValue);
    if (allowed.isArray())
    {
        for (const Json::Value& entry : allowed)
        {
            if (entry.isString())
                list.append(Utf8(entry.asString()));
        }
    }
    report["allowed"] = list;
    report["allowedPresent"] = !list.empty();
    if (list.empty())
        problems.append(std::string("\"") + rules.allowedMember + "\" is missing or empty");
    for (const Json::Value& entry : list)
    {
        if (!rules.expectedAllowed.empty() && entry.asString() == rules.expectedAllowed)
            report["allowsEdition"] = true;
    }
    if (!rules.expectedAllowed.empty() && !report["allowsEdition"].asBool())
        notes.append(std::string("\"") + rules.allowedMember + "\" does not list the installed edition's " +
                     rules.expectedAllowed);

    report["valid"] = problems.empty();
    return report;
}
