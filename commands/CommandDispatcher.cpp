#include "commands/CommandDispatcher.h"

#include "messaging/JsonCppWrapper.h"
#include "messaging/Responses.h"

#include <memory>

namespace
{
constexpr std::uint32_t kCompletionWaitMs = 500;
constexpr int kBrowserCodeOther = 7;
} // namespace

bool SkipsCancelStep(const std::string& command)
{
    return command == "SetPluginParam" || command == "CancelOperation" || command == "SetPromptPos" ||
           command == "HidePrompt" || command == "CheckSkipList";
}

std::string CCommandDispatcher::Dispatch(IJsonMessage& request)
{
    IJsonMessage& response = m_handler.Reply();
    std::uint32_t status = kStatusArgumentMissing;
    response.Clear();

    if (request.HasMember("command") && request.HasMember("id"))
    {
        // A member of the wrong type ("id": "x") counts as missing; what could be read is still echoed.
        request.ResetConversionFailed();
        std::string command;
        request.GetString(command, "command");
        const bool commandRead = !request.ConversionFailed();
        request.ResetConversionFailed();
        const int id = request.GetInt("id");
        const bool idRead = !request.ConversionFailed();

        if (commandRead)
            response.SetString("command", command.c_str());
        if (idRead)
            response.SetInt("id", id);

        if (commandRead && idRead)
        {
            if (!SkipsCancelStep(command) && m_handler.CancelIfBusy(1) == kStatusPending)
            {
                // The core was busy and has been told to cancel: the prompt goes, and the cancel gets a moment.
                m_handler.HidePrompt();
                m_handler.WaitForCompletion(kCompletionWaitMs);
            }
            status = RunCommand(command);
            if (request.ConversionFailed())
            {
                // The command met a member it could not convert: its partial results are dropped.
                response.Clear();
                response.SetString("command", command.c_str());
                response.SetInt("id", command == "ShowPrompt" ? -1 : id);
                status = kStatusArgumentMissing;
            }
        }
    }

    SetStatus(response, status);
    std::string text;
    return response.ToString(text);
}

// The first entry whose name matches runs.
const CCommandDispatcher::Command CCommandDispatcher::kCommands[] = {
    {"StoreLoginData",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.StoreLoginData(); }},
    {"CheckAndValidate",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t {
         const std::uint32_t status = handler.CheckAndValidate();
         // The validation's outcome reaches the extension later, as a frame of its own; give it a moment anyway.
         if (status == kStatusPending)
             handler.WaitForCompletion(kCompletionWaitMs);
         return status;
     }},
    {"RememberPwdWithoutPrompt",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.RememberPwdWithoutPrompt(); }},
    {"IsPageRemembered",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.IsPageRemembered(); }},
    {"SetRememberPwdWithoutPrompt",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t {
         return handler.SetRememberPwdWithoutPrompt() == kStatusSuccess ? kStatusSuccess : kStatusFail;
     }},
    {"SetNeverRememberPwd", [](CCommandDispatcher&, ICommandHandler&) -> std::uint32_t { return kStatusSuccess; }},
    {"SetPluginParam",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.SetPluginParam(); }},
    {"GetLang",
     [](CCommandDispatcher& dispatcher, ICommandHandler& handler) -> std::uint32_t {
         handler.Reply().SetString("Lang", dispatcher.m_values.languageName.c_str());
         return kStatusSuccess;
     }},
    {"CancelOperation",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.CancelOperation(); }},
    // Whether the site is skipped is a member, not the status.
    {"CheckSkipList",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.CheckSkipList(); }},
    {"ShowPrompt",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t {
         const std::uint32_t status = handler.ShowPrompt();
         handler.Reply().SetInt("id", -1);
         return status;
     }},
    {"SetPromptPos",
     [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.SetPromptPos(); }},
    {"HidePrompt", [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.HidePrompt(); }},
    {"Identify",
     [](CCommandDispatcher& dispatcher, ICommandHandler&) -> std::uint32_t { return dispatcher.Identify(); }},
    {"keyevent", [](CCommandDispatcher&, ICommandHandler& handler) -> std::uint32_t { return handler.PlayKeys(); }},
};

std::uint32_t CCommandDispatcher::RunCommand(const std::string& command)
{
    for (const Command& entry : kCommands)
        if (command == entry.name)
            return entry.run(*this, m_handler);
    return kStatusInvalidCommand;
}

std::uint32_t CCommandDispatcher::Identify()
{
    IJsonMessage& request = m_handler.Request();
    IJsonMessage& reply = m_handler.Reply();

    // A missing "name" or "purpose" is noted, yet "Identify" still answers 0.
    std::string name;
    std::string purpose;
    if (request.HasMember("name"))
        request.GetString(name, "name");
    if (request.HasMember("purpose"))
        request.GetString(purpose, "purpose");

    if (name != "firefox")
    {
        if (name != "chrome")
            name = "unkown"; // so spelled; the extension and the core know the word
        m_handler.SetBrowserCode(kBrowserCodeOther);
    }
    m_handler.SetBrowserName(name);

    if (purpose == "Install")
        m_handler.ExtensionInstalled();
    else if (name != "chrome")
        m_handler.StartNonChromeBrowser();

    auto info = std::make_unique<JsonCPPWrapper>();
    info->SetString("buildnumber", m_values.product.buildNumber.c_str());
    info->SetString("productver", m_values.product.productVer.c_str());
    info->SetString("webversion", m_values.product.webVersion.c_str());
    info->SetInt("releasever", m_values.product.release);
    info->SetInt("oem", m_values.product.oem);
    info->SetInt("pmode", m_values.product.pmode);
    reply.SetObject("productverinfo", info.get());
    reply.SetInt("ismetro", m_values.chromeImmersive ? 1 : 0);
    reply.SetInt("MultiVltSupport", 1);
    return kStatusSuccess;
}
