#include "corelink/AsyncMessages.h"

#include <cstring>

std::string FieldText(const char* field, std::size_t size)
{
    const void* end = std::memchr(field, '\0', size);
    return std::string(field, end ? static_cast<const char*>(end) - field : size);
}

void BuildValidateAsyncMsg(IJsonMessage& message, const BHOCopyData& record)
{
    message.SetString("command", "ValidateAsyncMsg");
    message.SetString("msg", FieldText(record.message, sizeof record.message).c_str());
    message.SetInt("status", static_cast<int>(record.status));
    message.SetString("strdevid", FieldText(record.strDevId, sizeof record.strDevId).c_str());
    message.SetInt("Devid", static_cast<int>(record.devId));
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
