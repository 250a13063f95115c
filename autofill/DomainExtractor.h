#pragma once
// Logins are filed under the registrable domain of their page, not under the full host: sub-domains such as a
// leading WWW are dropped, the public suffix (COM, CO.UK, COM.AU, ...) is kept.

#include <string>

// The registrable domain of `url`, upper case (ASCII letters only). False, with `domain` untouched, when the URL
// holds neither "HTTP:" nor "HTTPS:" anywhere. Ports, user information and a query not preceded by a "/" stay part
// of the host, so they usually leave the host whole.
[[nodiscard]] bool ExtractDomain(const std::string& url, std::string& domain);

// The site key handed to the core with each login request: the domain of `url`, "::", then `suffix` as given.
// False, with `key` untouched, when `url` has no domain.
[[nodiscard]] bool MakeSiteKey(const std::string& url, const std::string& suffix, std::string& key);
