#pragma once
// The stand-in vault: site key -> login, in memory, loaded from and saved to a JSON file. Strings are the bytes the
// block carries; the file holds them as UTF-8 by the byte mapping of SimJson.h.
//
// File format:
//   {"sites": {"EXAMPLE.COM::pwd": {"user": "u", "password": "p", "userField": "login", "passField": "pwd",
//                                   "url": "https://example.com/"}},
//    "noPrompt": false}
// "sites" and "noPrompt" are optional; so is "url" in a login (empty when absent). Every other member of a login
// must be a string.

#include <cstddef>
#include <map>
#include <string>

struct SimLogin
{
    std::string user;
    std::string password;
    std::string userField;
    std::string passField;
    std::string url;
};

class CSimVault
{
public:
    // Null when the vault holds no login for `siteKey`.
    const SimLogin* Find(const std::string& siteKey) const;
    void Store(const std::string& siteKey, const SimLogin& login) { m_sites[siteKey] = login; }
    std::size_t Size() const noexcept { return m_sites.size(); }

    // Replaces the contents with the file's; `noPrompt` is set only when the file has the member. On failure the
    // vault and `noPrompt` are unchanged and `error` says why.
    [[nodiscard]] bool Load(const std::string& path, bool& noPrompt, std::string& error);
    [[nodiscard]] bool Save(const std::string& path, bool noPrompt, std::string& error) const;

    // The file's text, and its parser; FromText leaves `*this` unchanged on failure.
    std::string ToText(bool noPrompt) const;
    [[nodiscard]] bool FromText(const std::string& text, bool& noPrompt, std::string& error);

private:
    std::map<std::string, SimLogin> m_sites;
};
