#pragma once
// Native messaging frames: a 4-byte little-endian length, then that many bytes of UTF-8 JSON.

#include "messaging/ByteStream.h"

#include <cstdint>
#include <string>

// The largest message Chrome sends to a host. A longer body is never allocated.
inline constexpr std::uint32_t kMaxFrameBody = 64u * 1024u * 1024u;

// Reads the 4-byte length. Bytes that do not arrive stay zero, so a zero result covers a real zero length, end of
// input and a failed read alike, and a partial header is taken as the partial value.
std::uint32_t ReadFrameLength(IByteSource& source);

// Reads a body of `length` bytes into `body`; a body cut short by the end of input holds what arrived. Returns
// false, with `body` empty and the rest of the body read past, when there is no memory for it.
bool ReadFrameBody(IByteSource& source, std::uint32_t length, std::string& body);

// Reads and throws away `length` bytes in bounded chunks. Returns false if the input ended first.
bool DiscardFrameBody(IByteSource& source, std::uint32_t length);

// The 4-byte header for a body of `length` bytes.
std::string EncodeFrameLength(std::uint32_t length);
