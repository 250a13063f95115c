#include "tools/regdoctor/DoctorCommand.h"

#include "tools/regdoctor/RegDoctor.h"
#include "tools/regdoctor/ReportText.h"

namespace
{
constexpr const char* kHelp =
    "Shows how the Lumivar browser host is registered on this machine, and changes nothing.\n"
    "\n"
    "For Chrome, Edge and Firefox: the native messaging registrations under HKCU and HKLM in both registry\n"
    "views, in the browser's lookup order, which one wins, and whether its manifest exists, parses, names the\n"
    "right host and points at an existing program. Then the Chrome policy entries, the Chrome external-extension\n"
    "key, the Firefox extension values, the product key and its values, the debug switch, the skip lists,\n"
    "whether the core runs, and the shared block's request code, result and flags.\n"
    "\n"
    "  --json   the report as one JSON object, for scripts\n"
    "  --help   this text\n"
    "\n"
    "Exit codes: 0 the report (or this text) was printed; 2 bad arguments.\n";

std::string WriteJson(const Json::Value& report)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    builder["emitUTF8"] = true;
    return Json::writeString(builder, report) + "\n";
}
} // namespace

bool ParseDoctorArgs(const std::vector<std::string>& args, DoctorOptions& options, std::string& error)
{
    for (const std::string& arg : args)
    {
        bool* option = nullptr;
        if (arg == "--json")
            option = &options.json;
        else if (arg == "--help" || arg == "-h" || arg == "/?")
            option = &options.help;
        if (option == nullptr)
        {
            error = "unknown argument: " + arg;
            return false;
        }
        if (*option)
        {
            error = "repeated argument: " + arg;
            return false;
        }
        *option = true;
    }
    return true;
}

int RunDoctor(const std::vector<std::string>& args, IRegistry& registry, IDoctorFiles& files, ICoreProbe& core,
              std::ostream& out, std::ostream& err)
{
    DoctorOptions options;
    std::string error;
    if (!ParseDoctorArgs(args, options, error))
    {
        err << "LvRegDoctor: " << error << "\n" << kDoctorUsage << "\n";
        return kExitBadArguments;
    }
    if (options.help)
    {
        out << kDoctorUsage << "\n\n" << kHelp;
        return kExitReported;
    }
    CRegDoctor doctor(registry, files, core);
    const Json::Value report = doctor.Examine();
    out << (options.json ? WriteJson(report) : RenderReportText(report));
    out.flush();
    return kExitReported;
}
