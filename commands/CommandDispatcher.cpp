#include "commands/CommandDispatcher.h"

#include "messaging/Responses.h"

std::string CCommandDispatcher::Dispatch(IJsonMessage& request)
{
    std::uint32_t status = kStatusArgumentMissing;
    m_response.Clear();

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
            m_response.SetString("command", command.c_str());
        if (idRead)
            m_response.SetInt("id", id);

        if (commandRead && idRead)
        {
            status = RunCommand(command, request);
            if (request.ConversionFailed())
            {
                // The command met a member it could not convert: its partial results are dropped.
                m_response.Clear();
                m_response.SetString("command", command.c_str());
                m_response.SetInt("id", id);
                status = kStatusArgumentMissing;
            }
        }
    }

    SetStatus(&m_response, status);
    std::string text;
    return m_response.ToString(text);
}

std::uint32_t CCommandDispatcher::RunCommand(const std::string& command, IJsonMessage&)
{
    // Exact, case-sensitive comparison, first match wins.
    if (command == "SetNeverRememberPwd")
        return kStatusSuccess;
    if (command == "GetLang")
    {
        m_response.SetString("Lang", m_values.languageName.c_str());
        return kStatusSuccess;
    }
    return kStatusInvalidCommand;
}
