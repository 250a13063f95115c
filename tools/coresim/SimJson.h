#pragma once
// Compact JSON objects for the log and the `dump` reply, and the byte/text mapping the sim uses everywhere.
// Strings from the shared block are single bytes in the host's code page, not UTF-8. The sim maps every byte to the
// code point of the same number (ISO-8859-1): the writer below escapes each byte from 0x80 up as \u00XX, so any
// block content gives valid JSON, and the vault file holds the same mapping as UTF-8 text.

#include <cstdint>
#include <string>
#include <vector>

// `bytes` as a quoted JSON string: control characters and every byte from 0x80 up as \u00XX.
std::string JsonQuote(const std::string& bytes);

// Each byte becomes the code point of the same number, written as UTF-8.
std::string BytesToUtf8(const std::string& bytes);

// The reverse of BytesToUtf8: code points up to 0xFF become one byte each, higher ones '?'. A byte that does not
// start a well-formed UTF-8 sequence is kept as it is.
std::string Utf8ToBytes(const std::string& text);

// One JSON object, members in the order they are added.
class CJsonLine
{
public:
    CJsonLine& AddString(const char* name, const std::string& value);
    CJsonLine& AddUnsigned(const char* name, std::uint64_t value);
    CJsonLine& AddInt(const char* name, std::int64_t value);
    CJsonLine& AddBool(const char* name, bool value);
    CJsonLine& AddStrings(const char* name, const std::vector<std::string>& values);

    // The object's compact text, "{...}", without a line end.
    std::string Text() const { return "{" + m_members + "}"; }

private:
    void AddName(const char* name);

    std::string m_members;
};
