#pragma once
// Turns the host's scrambled debug log back into text. The file copy of every entry had 10 added to each byte but
// 0, 9 and 10, and was then written in text mode, which put an unscrambled carriage return before each line feed.
// Decoding drops that carriage return and subtracts 10 from every other byte but 0, 9 and 10.
//
// A byte 3 in the original text just before a line feed cannot be told from the text mode's carriage return; it is
// dropped with it. The host never logs one.

#include <cstddef>
#include <string>

class CLogDecoder
{
public:
    // Decodes the next piece of the file. A carriage return at the end of a piece is held back until the next byte
    // shows whether the text mode put it there.
    std::string Feed(const char* data, std::size_t size);
    // The end of the input: a held-back carriage return is decoded as scrambled text.
    std::string Finish();

    // Decodes a whole file's bytes.
    static std::string DecodeAll(const std::string& bytes);

private:
    bool m_heldCarriageReturn = false;
};

// The decoding of one byte, line ends aside.
char UnscrambleLogByte(char c);
