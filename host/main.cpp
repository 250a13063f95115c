// LVBHOHost's composition root: the one place where the real objects are made and wired together. Read from the
// top, it is the whole program; every piece of logic lives in the libraries the tests link, behind the interfaces
// named here.
//
//   main                  what both modes share: binary streams, the text codec, the registry, the debug log
//   └ RunHostEntry        the product check, then one of the two modes
//     ├ registration      a switch on the command line: CRegistration, then exit
//     └ RunMessagingMode  the browser's native messaging host:
//         the browser's streams ─ the process list ─ the kernel objects shared with the core ─ the core link
//         the UI thread, which makes the command handler (and its windows) on itself
//         MainHandler: start-up, the message loop over the streams, shut-down

#include "autofill/KeySenderWin.h"
#include "commands/CommandHandler.h"
#include "config/DebugLog.h"
#include "config/LogSinkWin.h"
#include "config/ProcessValues.h"
#include "config/RegistryWin.h"
#include "corelink/BHOThreadWin.h"
#include "corelink/CoreLink.h"
#include "corelink/CoreObjectsWin.h"
#include "corelink/ProcessQueryWin.h"
#include "host/HostEntry.h"
#include "host/HostPlatformWin.h"
#include "host/MainHandler.h"
#include "host/MessagingPlatformWin.h"
#include "messaging/StdStreamsWin.h"
#include "messaging/TextCodecWin.h"
#include "messaging/Utf8Name.h"
#include "registration/Registration.h"
#include "registration/RegistrationPlatformWin.h"

#include <memory>
#include <optional>

namespace
{
// The browser's host, from the first frame read to the channel's end. Everything here lives as long as the loop.
void RunMessagingMode(IRegistry& registry, CDebugLog& log, ProcessValues& values)
{
    // The browser's channel: frames in on standard input, out on standard output.
    CStdInSource input;
    CStdOutSink output;

    // The core: found in the process list, reached through the shared block, its events and its mutex.
    CProcessQueryWin processes;
    CCoreObjectsWin coreObjects(processes, log);
    CCoreLink coreLink(coreObjects, log);

    // The UI thread makes the command handler on itself, where the handler's windows live; what the handler is made
    // of is all here. The key sender plays keystrokes from that thread.
    CKeySenderWin keys;
    const bool immersive = values.chromeImmersive;
    CBHOThread uiThread(log, [&](IHandlerPlatform& handlerPlatform, IJsonMessage& request) {
        const HandlerServices services{handlerPlatform, coreLink, registry, keys, log, immersive};
        return std::make_unique<CLVBHOCommandHandler>(request, services);
    });

    CMessagingPlatformWin platform(processes, coreObjects, coreLink, uiThread);
    MessagingEnvironment environment{registry, log, input, output, ::GetUserDefaultUILanguage(), platform};
    MainHandler(environment, values);
}
} // namespace

int main()
{
    // Before anything can write: frames are bytes, and text mode would rewrite them.
    SetBinaryStdStreams();

    CTextCodecWin codec;
    SetProcessTextCodec(&codec);

    CRegistryWin registry;
    CLogSinkWin logSink;
    CDebugLog log(logSink);
    ProcessValues values;

    // Registration mode: made by the entry with the product values it has loaded, only when a switch is given.
    CRegistrationPlatformWin registrationPlatform;
    std::optional<CRegistration> registration;
    const HostModes modes{
        [&](const ProductInfo& product) -> IRegistrationOperations& {
            return registration.emplace(registry, registrationPlatform, product);
        },
        [&](ProcessValues& complete) { RunMessagingMode(registry, log, complete); },
    };

    CHostPlatformWin platform;
    const int exitCode = RunHostEntry(platform, registry, modes, values);
    SetProcessTextCodec(nullptr);
    return exitCode;
}
