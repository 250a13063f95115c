#include "autofill/DomainExtractor.h"

#include "messaging/AsciiText.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <string_view>

namespace
{
// The labels that count as a public suffix, at any depth. The list is the core's own and is kept as it stands,
// gaps and extras alike: it holds AN, GO, TP and YU, and lacks GB, EU, ME, RS and AX, which therefore read as
// ordinary name labels.
// Separated and surrounded by spaces, so that a label matches only whole.
constexpr std::string_view kSuffixLabels =
    " "
    "COM NET ORG EDU MIL GOV BIZ INT INFO NAME AC AD AE AF AG AI AL AM AN AO AQ AR AS AT AU AW AZ BA BB BD "
    "BE BF BG BH BI BJ BM BN BO BR BS BT BV BW BY BZ CA CC CD CF CG CH CI CK CL CM CN CO CR CU CV CX CY CZ "
    "DE DJ DK DM DO DZ EC EE EG EH ER ES ET FI FJ FK FM FO FR GA GD GE GF GG GH GI GL GM GN GO GP GQ GR GS "
    "GT GU GW GY HK HM HN HR HT HU ID IE IL IM IN IO IQ IR IS IT JE JM JO JP KE KG KH KI KM KN KP KR KW KY "
    "KZ LA LB LC LI LK LR LS LT LU LV LY MA MC MD MG MH MK ML MM MN MO MP MQ MR MS MT MU MV MW MX MY MZ NA "
    "NC NE NF NG NI NL NO NP NR NU NZ OM PA PE PF PG PH PK PL PM PN PR PS PT PW PY QA RE RO RU RW SA SB SC "
    "SD SE SG SH SI SJ SK SL SM SN SO SR ST SV SY SZ TC TD TF TG TH TJ TK TM TN TO TP TR TT TV TW TZ UA UG "
    "UK UM US UY UZ VA VC VE VG VI VN VU WF WS YE YT YU ZA ZM ZW ";

constexpr std::size_t LabelCount(std::string_view labels)
{
    std::size_t count = 0;
    for (std::size_t i = 1; i < labels.size(); ++i)
        if (labels[i] == ' ')
            ++count;
    return count;
}
static_assert(LabelCount(kSuffixLabels) == 254, "the core's suffix list has 254 labels");

bool IsSuffixLabel(const std::string& label)
{
    if (label.empty() || label.find(' ') != std::string::npos)
        return false;
    return kSuffixLabels.find(" " + label + " ") != std::string_view::npos;
}

} // namespace

bool ExtractDomain(const std::string& url, std::string& domain)
{
    // Only a to z change, whatever the locale, so the same URL gives the same key on every machine.
    const std::string upper = ToUpperAscii(url);
    // A plain substring test, not a scheme check: another scheme carrying "http:" in its query passes.
    if (upper.find("HTTP:") == std::string::npos && upper.find("HTTPS:") == std::string::npos)
        return false;

    // Without "://" the host is taken from position 2 on; the URL holds at least "HTTP:" here, so that is inside.
    const std::size_t schemeEnd = upper.find("://");
    const std::size_t hostStart = schemeEnd == std::string::npos ? 2 : schemeEnd + 3;
    const std::size_t hostEnd = upper.find('/', hostStart);
    const std::string host =
        upper.substr(hostStart, hostEnd == std::string::npos ? std::string::npos : hostEnd - hostStart);

    // Walk the labels from the right while they are suffix labels; the first other label ends the walk.
    std::string rest = host;
    int labelCount = 0;
    bool inSuffix = true;
    std::size_t lastDot = std::string::npos;
    while (inSuffix)
    {
        const std::size_t dot = rest.rfind('.');
        if (dot == std::string::npos)
            break;
        const std::string label = rest.substr(dot + 1);
        ++labelCount;
        lastDot = dot;
        rest.resize(dot);
        inSuffix = IsSuffixLabel(label);
    }

    // An unknown rightmost label (a port, an intranet name, an address) or a host made of suffix labels only is
    // kept whole.
    if (!inSuffix && labelCount > 1)
        domain = host.substr(lastDot + 1);
    else
        domain = host;
    return true;
}

bool MakeSiteKey(const std::string& url, const std::string& suffix, std::string& key)
{
    std::string domain;
    if (!ExtractDomain(url, domain))
        return false;
    key = domain + "::" + suffix;
    return true;
}
