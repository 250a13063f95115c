#include "autofill/DomainExtractor.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace
{
std::string DomainOf(const std::string& url)
{
    std::string domain = "untouched";
    EXPECT_TRUE(ExtractDomain(url, domain)) << url;
    return domain;
}

struct UrlRow
{
    const char* url;
    const char* domain;
};

void ExpectDomains(std::initializer_list<UrlRow> rows)
{
    for (const UrlRow& row : rows)
        EXPECT_EQ(row.domain, DomainOf(row.url)) << row.url;
}
} // namespace

TEST(DomainExtractorTest, HttpsUrlWithPathGivesTheRegistrableDomain)
{
    std::string domain;

    const bool ok = ExtractDomain("https://www.example.com/login", domain);

    EXPECT_TRUE(ok);
    EXPECT_EQ("EXAMPLE.COM", domain);
}

TEST(DomainExtractorTest, SameUrlWithoutPathInAnyCaseGivesTheSameDomain)
{
    const char* const urls[] = {"https://www.example.com", "HTTPS://WWW.EXAMPLE.COM", "hTtPs://wWw.ExAmPlE.cOm"};

    for (const char* url : urls)
        EXPECT_EQ("EXAMPLE.COM", DomainOf(url)) << url;
}

TEST(DomainExtractorTest, OtherSchemeWithHttpInItsQueryPassesAndTakesTheHostAfterTheFirstSeparator)
{
    std::string domain;

    const bool ok = ExtractDomain("ftp://files.example.net/get?next=http://www.other.org/", domain);

    EXPECT_TRUE(ok);
    EXPECT_EQ("EXAMPLE.NET", domain);
}

TEST(DomainExtractorTest, MakeSiteKeyJoinsTheDomainAndTheSuffixKeepingItsCase)
{
    std::string key;

    const bool ok = MakeSiteKey("http://www.example.org/", "pwd", key);

    EXPECT_TRUE(ok);
    EXPECT_EQ("EXAMPLE.ORG::pwd", key);
}

TEST(DomainExtractorTest, HostsReduceAsTheTableOfResultsSays)
{
    struct Row
    {
        const char* host;
        const char* domain;
    };
    const Row rows[] = {
        {"WWW.EXAMPLE.COM", "EXAMPLE.COM"},
        {"MAIL.EXAMPLE.CO.UK", "EXAMPLE.CO.UK"},
        {"EXAMPLE.COM", "EXAMPLE.COM"}, // the walk runs out of dots while in the suffix
        {"CO.UK", "CO.UK"},
        {"WWW.EXAMPLE.LOCAL", "WWW.EXAMPLE.LOCAL"},       // rightmost label not in the table
        {"192.168.0.10", "192.168.0.10"},                 // rightmost label not in the table
        {"WWW.EXAMPLE.COM:8080", "WWW.EXAMPLE.COM:8080"}, // the port makes the last label unknown
        {"INTRANET", "INTRANET"},                         // no dot
    };

    for (const Row& row : rows)
        EXPECT_EQ(row.domain, DomainOf(std::string("HTTP://") + row.host + "/PATH")) << row.host;
}

TEST(DomainExtractorTest, UrlWithoutHttpFailsAndLeavesTheDomainUntouched)
{
    std::string domain = "previous";

    const bool ok = ExtractDomain("ftp://www.example.com/file", domain);

    EXPECT_FALSE(ok);
    EXPECT_EQ("previous", domain);
}

TEST(DomainExtractorTest, MakeSiteKeyWithoutDomainFailsAndLeavesTheKeyUntouched)
{
    std::string key = "previous";

    const bool ok = MakeSiteKey("about:blank", "pwd", key);

    EXPECT_FALSE(ok);
    EXPECT_EQ("previous", key);
}

TEST(DomainExtractorTest, TheHostIsCutFromTheUrlByPositionNotByUrlSyntax)
{
    ExpectDomains({
        {"http:intranet", "TP:INTRANET"},                      // without "//" the host starts at position two
        {"https://www.example.com/a.b.c.uk/x", "EXAMPLE.COM"}, // the host ends at the first slash after "//"
        {"http://www.example.com?q=1", "WWW.EXAMPLE.COM?Q=1"}, // a query not preceded by a slash stays in the host
        {"http://user@example.com/", "USER@EXAMPLE.COM"},      // user information stays with its label
    });
}

TEST(DomainExtractorTest, CodesInTheSuffixTableKeepOneMoreLabelAtAnyDepth)
{
    ExpectDomains({
        {"http://a.b.c.d.co.jp/x", "D.CO.JP"},
        {"http://shop.example.com.au/", "EXAMPLE.COM.AU"},
        // Unusual codes count too.
        {"http://www.example.tp/", "EXAMPLE.TP"},
        {"http://www.example.yu/", "EXAMPLE.YU"},
        {"http://www.example.an/", "EXAMPLE.AN"},
        {"http://www.example.go.kr/", "EXAMPLE.GO.KR"},
    });
}

TEST(DomainExtractorTest, CodesMissingFromTheSuffixTableAreOrdinaryLabels)
{
    ExpectDomains({
        {"http://www.example.co.gb/", "WWW.EXAMPLE.CO.GB"},
        {"http://www.example.eu/", "WWW.EXAMPLE.EU"},
        {"http://www.example.me/", "WWW.EXAMPLE.ME"},
        {"http://www.example.rs/", "WWW.EXAMPLE.RS"},
        {"http://www.example.ax/", "WWW.EXAMPLE.AX"},
        {"http://www.example.io.gb/", "WWW.EXAMPLE.IO.GB"},
    });
}

TEST(DomainExtractorTest, UpperCasingChangesOnlyAsciiLetters)
{
    EXPECT_EQ("B\xFC"
              "CHER.DE",
              DomainOf("http://www.b\xFC"
                       "cher.de/"));
    EXPECT_EQ("CAF\xC3\xA9.FR", DomainOf("http://www.caf\xC3\xA9.fr/"));
}
