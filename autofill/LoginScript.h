#pragma once
// The login data script: how user names, passwords and fill instructions travel between the host and the core in
// the shared block. The field script holds tag tokens joined by "+"; the value list holds one NUL-terminated string
// per item, back to back, paired with the tokens by position.

#include "corelink/ICoreLink.h"
#include "messaging/JsonMessage.h"

#include <cstddef>
#include <cstdint>
#include <string>

inline constexpr std::size_t kMaxScriptFields = 100;

// The command handler's scratch tables, indexed alike. Each writer and reader call overwrites them; nothing clears
// them in between.
struct LoginScriptTables
{
    std::string fieldNames[kMaxScriptFields];
    std::string fieldValues[kMaxScriptFields];
};

// Writes a store or check request for one user-name and one password field into the block, under the block mutex.
// With a non-empty `userFieldName`, a display name that is empty or 16 characters or longer is replaced by the
// site's own label (the first label of the URL's domain, upper case). Texts that do not fit their field are cut;
// a value that would start past the end of the value list is dropped, but the script and the count are written.
// Writes nothing when the block is not mapped.
void WriteLoginScript(LoginScriptTables& tables, ICoreLink& link, std::string siteKey, std::string displayName,
                      std::string url, std::string userFieldName, std::string userValue, std::string passFieldName,
                      std::string passValue);

// Reads the script in the block into `tables`, under the block mutex, and returns the number of field names found
// (at most kMaxScriptFields; reading stops there). 0 for an empty script or an unmapped block.
std::int32_t ReadLoginScript(LoginScriptTables& tables, ICoreLink& link);

// Adds the script's fields to `reply` as the "LoginData" array and "clickok" = "true", clears the block and returns
// 1. Returns 0, leaving the block as it is, when the script names fewer than two fields. A null `reply` clears the
// block and returns 0.
int LoginScriptToJson(LoginScriptTables& tables, ICoreLink& link, IJsonMessage* reply);

// The index-th (from 0) NUL-terminated string of the first `size` bytes of `buffer`. Never reads past `size`: the
// last string may end at the limit without a NUL, and an item past it is empty, as is any item of a null buffer.
std::string GetMultiStringItem(const char* buffer, std::size_t size, std::uint32_t index);
