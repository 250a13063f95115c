// Domain extraction and the site key, fed URLs as a web page can make them.

#include "autofill/DomainExtractor.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace
{
std::string UpperAscii(std::string text)
{
    for (char& c : text)
    {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return text;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    // The input's first line is the URL, the rest the site key's suffix.
    const std::size_t newline = input.find('\n');
    const std::string url = input.substr(0, newline);
    const std::string suffix = newline == std::string::npos ? std::string() : input.substr(newline + 1);

    std::string domain = "untouched";
    const bool found = ExtractDomain(url, domain);
    const std::string upperUrl = UpperAscii(url);
    if (found)
    {
        // The domain is a piece of the URL, upper-cased.
        FUZZ_CHECK(domain == UpperAscii(domain));
        FUZZ_CHECK(upperUrl.find(domain) != std::string::npos);
    }
    else
    {
        FUZZ_CHECK(domain == "untouched");
        FUZZ_CHECK(upperUrl.find("HTTP:") == std::string::npos && upperUrl.find("HTTPS:") == std::string::npos);
    }

    std::string key = "untouched";
    const bool keyed = MakeSiteKey(url, suffix, key);
    FUZZ_CHECK(keyed == found);
    FUZZ_CHECK(keyed ? key == domain + "::" + suffix : key == "untouched");
    return 0;
}
