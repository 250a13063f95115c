#pragma once
// The JSON message through which every command reads its arguments and writes its results. Members are addressed
// by name on the root object, with one level of array indexing and one level of member-of-array-element access.
// All texts are narrow; names and written strings are normalised to UTF-8, strings read back are the UTF-8 bytes
// held.

#include <cstdint>
#include <string>

class IJsonMessage
{
public:
    virtual ~IJsonMessage() = default;
    virtual void Clear() = 0;
    virtual bool Parse(const char* text) = 0;
    // Parse for a text the caller no longer needs: it may be overwritten, so that long strings are moved into the
    // message instead of being copied twice. The text ends at its first NUL, as for Parse.
    virtual bool ParseInPlace(std::string& text) = 0;
    virtual std::string& ToString(std::string& out) = 0;
    virtual std::string& GetString(std::string& out, const char* name) = 0;
    virtual int GetInt(const char* name) = 0;
    virtual std::uint32_t GetCount(const char* name) = 0;
    virtual std::string& GetArrayMemberString(std::string& out, const char* name, const char* member,
                                              std::uint32_t index) = 0;
    virtual std::string& GetArrayString(std::string& out, const char* name, std::uint32_t index) = 0;
    virtual int GetArrayMemberInt(const char* name, const char* member, std::uint32_t index) = 0;
    virtual int GetArrayInt(const char* name, std::uint32_t index) = 0;
    virtual int SetObject(const char* name, IJsonMessage* other) = 0;
    virtual int SetInt(const char* name, int value) = 0;
    virtual int SetString(const char* name, const char* value) = 0;
    virtual int AppendInt(const char* name, int value) = 0;
    virtual int AppendString(const char* name, const char* value) = 0;
    virtual int AppendObject(const char* name, IJsonMessage* other) = 0;
    virtual bool HasMember(const char* name) = 0;

    // True when a value could not be converted to the type asked for (a string read as an integer, an object read
    // as a string, a member of something that is not an object) since the last Clear or Parse. Such a read gives
    // the empty text or 0 instead of throwing.
    virtual bool ConversionFailed() const = 0;
    virtual void ResetConversionFailed() = 0;
    // Whether the root has a member `name` that is an array (GetCount also counts an object's members).
    virtual bool IsArrayMember(const char* name) = 0;
};
