#pragma once
// Turns one parsed request into one response text: checks the two members every request carries ("command", a
// string, and "id", an integer), echoes them, runs the command the text names and writes the status.
//
// This build carries the commands that need nothing but the host itself ("GetLang", "SetNeverRememberPwd");
// the commands that reach the core, the prompt and the keyboard are not known to it yet and are answered as
// unknown commands.

#include "config/ProcessValues.h"
#include "messaging/JsonCppWrapper.h"
#include "messaging/MessageLoop.h"

#include <string>

class CCommandDispatcher : public IRequestDispatcher
{
public:
    explicit CCommandDispatcher(const ProcessValues& values) : m_values(values) {}

    std::string Dispatch(IJsonMessage& request) override;

private:
    std::uint32_t RunCommand(const std::string& command, IJsonMessage& request);

    const ProcessValues& m_values;
    JsonCPPWrapper m_response;
};
