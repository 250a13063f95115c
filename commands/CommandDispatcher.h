#pragma once
// Turns one parsed request into one response text: checks the two members every request carries ("command", a
// string, and "id", an integer), echoes them, runs the common cancel step, calls the operation the command names
// and writes the status. "GetLang" and "Identify" are carried out here in full.

#include "commands/ICommandHandler.h"
#include "config/ProcessValues.h"
#include "messaging/MessageLoop.h"

#include <string>

class CCommandDispatcher : public IRequestDispatcher
{
public:
    CCommandDispatcher(ICommandHandler& handler, const ProcessValues& values) : m_handler(handler), m_values(values) {}

    // `request` is the message the handler reads; the answer is built in the handler's reply.
    std::string Dispatch(IJsonMessage& request) override;

private:
    // A command by its exact, case-sensitive name, and what it runs.
    struct Command
    {
        const char* name;
        std::uint32_t (*run)(CCommandDispatcher& dispatcher, ICommandHandler& handler);
    };
    static const Command kCommands[];

    std::uint32_t RunCommand(const std::string& command);
    std::uint32_t Identify();

    ICommandHandler& m_handler;
    const ProcessValues& m_values;
};

// The commands that skip the common cancel step.
bool SkipsCancelStep(const std::string& command);
