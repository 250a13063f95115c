#pragma once
// A message's compact text, for comparing whole messages in tests.

#include "messaging/JsonMessage.h"

#include <string>

inline std::string Text(IJsonMessage& message)
{
    std::string out;
    return message.ToString(out);
}
