#pragma once
// The messages the extension gets without asking: the outcome of a validation the core reports later
// ("ValidateAsyncMsg"), and a fill order the core starts by itself ("FormFill").

#include "autofill/LoginScript.h"
#include "corelink/ICoreLink.h"
#include "corelink/SharedData.h"
#include "messaging/JsonMessage.h"

#include <cstddef>
#include <string>

// The one builder of "ValidateAsyncMsg": sets "command", "msg", "status", "strdevid" and "Devid". (The prompt adds
// its "tabid" and sizes.)
void BuildValidateAsyncMsg(IJsonMessage& message, const std::string& text, std::int32_t status,
                           const std::string& strDevId, std::int32_t devId);
// The same from the core's record.
void BuildValidateAsyncMsg(IJsonMessage& message, const BHOCopyData& record);

// Statuses -1 and 6 end the wait of a command that waits for the validation's outcome.
bool ReleasesWaitingCommand(std::uint32_t status);

// Sets "command" "FormFill" and the fill data the core left in the block; 1 when there was a fill to send.
int BuildFormFill(IJsonMessage& message, LoginScriptTables& tables, ICoreLink& link);
