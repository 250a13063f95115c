#pragma once
// IJsonMessage over jsoncpp. jsoncpp's exceptions stop here: a conversion it refuses reads as null and is
// reported by ConversionFailed().

#include "messaging/JsonMessage.h"
#include "messaging/TextCodec.h"

#include <json/json.h>

// The most values a parsed text may hold. jsoncpp spends about a hundred bytes on each, so a 64 MiB body of "0,"
// would take gigabytes; no request comes near this.
inline constexpr std::size_t kMaxJsonValues = 100000;

// A string of at least this many bytes in a text given to ParseInPlace is moved into the message, not copied.
inline constexpr std::size_t kLongJsonString = 64 * 1024;

// Counts the values a JSON text would create (openings and separators outside strings, plus one), stopping as
// soon as the count passes `limit`. The text ends at its first NUL.
std::size_t CountJsonValues(const char* text, std::size_t limit);

class JsonCPPWrapper : public IJsonMessage
{
public:
    explicit JsonCPPWrapper(ITextCodec* codec = nullptr);

    void Clear() override;
    // False for malformed JSON, nesting deeper than 1000 levels, or more than kMaxJsonValues values.
    bool Parse(const char* text) override;
    // Reads the same message as Parse. Each string value of at least `longString` bytes whose escapes are simple
    // (no surrogate) is decoded in place and taken out of the text before jsoncpp reads it, so that it is held
    // twice, not three times. Not when the text has a comment: jsoncpp alone then tells what is a string.
    bool ParseInPlace(std::string& text) override { return ParseInPlace(text, kLongJsonString); }
    bool ParseInPlace(std::string& text, std::size_t longString);
    std::string& ToString(std::string& out) override;
    std::string& GetString(std::string& out, const char* name) override;
    int GetInt(const char* name) override;
    std::uint32_t GetCount(const char* name) override;
    std::string& GetArrayMemberString(std::string& out, const char* name, const char* member,
                                      std::uint32_t index) override;
    std::string& GetArrayString(std::string& out, const char* name, std::uint32_t index) override;
    int GetArrayMemberInt(const char* name, const char* member, std::uint32_t index) override;
    int GetArrayInt(const char* name, std::uint32_t index) override;
    int SetObject(const char* name, IJsonMessage* other) override;
    int SetInt(const char* name, int value) override;
    int SetString(const char* name, const char* value) override;
    int AppendInt(const char* name, int value) override;
    int AppendString(const char* name, const char* value) override;
    int AppendObject(const char* name, IJsonMessage* other) override;
    bool HasMember(const char* name) override;
    bool ConversionFailed() const override { return m_conversionFailed; }
    void ResetConversionFailed() override { m_conversionFailed = false; }
    bool IsArrayMember(const char* name) override;

private:
    // A name or a written value, normalised to UTF-8.
    std::string Utf8(const char* text);
    // The reading both parses share, of a text already checked against kMaxJsonValues.
    bool ReadText(const char* begin, const char* end);
    Json::Value* Element(const char* name, std::uint32_t index);
    template <typename Read>
    auto Guard(Read read, decltype(read()) fallback) -> decltype(read());

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#endif
    Json::FastWriter m_writer;
    Json::Reader m_reader;
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
    Json::Value m_root;
    ITextCodec& m_codec;
    bool m_conversionFailed = false;
};
