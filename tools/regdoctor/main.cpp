// LvRegDoctor: wiring only. The examination and both renderings live in lvbho_regdoctor, which the tests link.

#include "config/RegistryWin.h"
#include "messaging/TextCodecWin.h"
#include "messaging/Utf8Name.h"
#include "tools/regdoctor/CoreProbeWin.h"
#include "tools/regdoctor/DoctorCommand.h"
#include "tools/regdoctor/DoctorFilesWin.h"

#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    // The report carries UTF-8: narrow registry texts are converted from the system's ANSI code page.
    CTextCodecWin codec;
    SetProcessTextCodec(&codec);

    CRegistryWin registry;
    CDoctorFilesWin files;
    CCoreProbeWin core;
    const std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    const int exitCode = RunDoctor(args, registry, files, core, std::cout, std::cerr);
    SetProcessTextCodec(nullptr);
    return exitCode;
}
