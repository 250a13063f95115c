#pragma once
// LvRegDoctor's command line: the options, the usage text and the run from arguments to exit code. The Windows
// entry hands in the real registry, files and core; the tests hand in fakes.

#include "config/IRegistry.h"
#include "tools/regdoctor/ICoreProbe.h"
#include "tools/regdoctor/IDoctorFiles.h"

#include <ostream>
#include <string>
#include <vector>

inline constexpr int kExitReported = 0;
inline constexpr int kExitBadArguments = 2;

inline constexpr const char* kDoctorUsage = "usage: LvRegDoctor [--json] [--help]";

struct DoctorOptions
{
    bool json = false;
    bool help = false;
};

// The arguments after the program name. False, with `error` saying why, for an unknown or repeated one.
bool ParseDoctorArgs(const std::vector<std::string>& args, DoctorOptions& options, std::string& error);

// Prints the report (text, or JSON with --json) or the help to `out`; a bad argument goes to `err` with the usage
// line. Returns kExitReported or kExitBadArguments.
int RunDoctor(const std::vector<std::string>& args, IRegistry& registry, IDoctorFiles& files, ICoreProbe& core,
              std::ostream& out, std::ostream& err);
