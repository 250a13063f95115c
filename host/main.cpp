// LVBHOHost: wiring only. Every piece of logic lives in the libraries the tests link.

#include "config/DebugLog.h"
#include "config/LogSinkWin.h"
#include "config/ProcessValues.h"
#include "config/RegistryWin.h"
#include "host/HostEntry.h"
#include "host/HostPlatformWin.h"
#include "messaging/StdStreamsWin.h"
#include "messaging/TextCodecWin.h"
#include "messaging/Utf8Name.h"
#include "registration/Registration.h"
#include "registration/RegistrationPlatformWin.h"

int main()
{
    // Before anything can write: frames are bytes, and text mode would rewrite them.
    SetBinaryStdStreams();

    CTextCodecWin codec;
    SetProcessTextCodec(&codec);

    CRegistryWin registry;
    CLogSinkWin logSink;
    CDebugLog log(logSink);
    CHostPlatformWin platform(registry, log);
    ProcessValues values;
    // Reads the product values once the entry has loaded them.
    CRegistrationPlatformWin registrationPlatform;
    CRegistration registration(registry, registrationPlatform, values.product);

    const int exitCode = RunHostEntry(platform, registry, registration, values);
    SetProcessTextCodec(nullptr);
    return exitCode;
}
