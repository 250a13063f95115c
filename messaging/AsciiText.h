#pragma once
// Letter case and white space of narrow texts, the same on every machine: only the ASCII letters change case,
// whatever the locale or code page, and the white space is that of the C locale.

#include <string>

std::string ToUpperAscii(std::string text);
std::string ToLowerAscii(std::string text);
bool EqualsIgnoringAsciiCase(const std::string& a, const std::string& b);
// Without spaces, tabs, line ends, vertical tabs and form feeds at either end.
std::string TrimWhiteSpace(const std::string& text);
