#pragma once
// The process entry: one executable, two modes. With a registration switch it registers or unregisters itself
// with the browsers and exits; otherwise it is the browser's native messaging host.

#include "config/IRegistry.h"
#include "config/ProcessValues.h"
#include "host/ImmersiveCheck.h"
#include "registration/IRegistrationOperations.h"

#include <functional>
#include <string>

class IHostPlatform
{
public:
    virtual ~IHostPlatform() = default;
    // GetModuleHandleA(NULL) succeeded.
    virtual bool HasModuleHandle() = 0;
    // SetThreadLocale(LOCALE_SYSTEM_DEFAULT).
    virtual void SetSystemDefaultThreadLocale() = 0;
    virtual std::string CommandLine() = 0;
    // Raw text on standard output: no frame, no line end added.
    virtual void WriteRawOutput(const std::string& text) = 0;
    // Reaches IsImmersiveProcess only if User32.dll is already loaded.
    virtual IImmersiveQuery& ImmersiveQuery() = 0;
    // CoInitialize(NULL) (apartment) or CoInitializeEx(NULL, 0) (multithreaded); true when CoUninitialize is owed.
    virtual bool ComInitialize(bool multithreaded) = 0;
    virtual void ComUninitialize() = 0;
};

inline constexpr const char* kNotInstalledMessage = "Lumivar not found";

// Makes the registration operations for the product just loaded, when a switch is given: they are made only once
// the product values they work with exist.
using RegistrationFor = std::function<IRegistrationOperations&(const ProductInfo& product)>;

// Messaging mode, run inside the multithreaded apartment once the product values are complete.
using RunMessaging = std::function<void(ProcessValues& values)>;

// The two modes as the composition root makes them.
struct HostModes
{
    RegistrationFor registrationFor;
    RunMessaging runMessaging;
};

// Returns the process exit code: 1 only when the process cannot initialise.
int RunHostEntry(IHostPlatform& platform, IRegistry& registry, const HostModes& modes, ProcessValues& values);
