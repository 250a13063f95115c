#include "corelink/AsyncMessages.h"

#include <cstring>

void BuildValidateAsyncMsg(IJsonMessage& message, const std::string& text, std::int32_t status,
                           const std::string& strDevId, std::int32_t devId)
{
    message.SetString("command", "ValidateAsyncMsg");
    message.SetString("msg", text.c_str());
    message.SetInt("status", status);
    message.SetString("strdevid", strDevId.c_str());
    message.SetInt("Devid", devId);
}

void BuildValidateAsyncMsg(IJsonMessage& message, const BHOCopyData& record)
{
    BuildValidateAsyncMsg(message, FieldText(record.message), static_cast<std::int32_t>(record.status),
                          FieldText(record.strDevId), static_cast<std::int32_t>(record.devId));
}

bool ReleasesWaitingCommand(std::uint32_t status)
{
    return status == 0xFFFFFFFF || status == 6;
}

int BuildFormFill(IJsonMessage& message, LoginScriptTables& tables, ICoreLink& link)
{
    message.SetString("command", "FormFill");
    return LoginScriptToJson(tables, link, &message);
}
