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

#include <optional>

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
    // Made by the entry with the product values it has loaded, only when a registration switch is given.
    CRegistrationPlatformWin registrationPlatform;
    std::optional<CRegistration> registration;
    const auto registrationFor = [&](const ProductInfo& product) -> IRegistrationOperations& {
        return registration.emplace(registry, registrationPlatform, product);
    };

    const int exitCode = RunHostEntry(platform, registry, registrationFor, values);
    SetProcessTextCodec(nullptr);
    return exitCode;
}
