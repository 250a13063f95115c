#include "autofill/DomainExtractor.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string DomainOf(const std::string& url)
{
    std::string domain = "untouched";
    EXPECT_TRUE(ExtractDomain(url, domain)) << url;
    return domain;
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

TEST(DomainExtractorTest, SecondLevelLabelUnderACountryCodeIsKept)
{
    EXPECT_EQ("D.CO.JP", DomainOf("http://a.b.c.d.co.jp/x"));
}

TEST(DomainExtractorTest, HostEndingInACodeMissingFromTheTableIsKeptWhole)
{
    EXPECT_EQ("WWW.EXAMPLE.CO.GB", DomainOf("http://www.example.co.gb/"));
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

TEST(DomainExtractorTest, UrlWithoutSchemeSeparatorTakesTheHostFromPositionTwo)
{
    EXPECT_EQ("TP:INTRANET", DomainOf("http:intranet"));
}

TEST(DomainExtractorTest, HostEndsAtTheFirstSlashAfterTheSchemeSeparator)
{
    EXPECT_EQ("EXAMPLE.COM", DomainOf("https://www.example.com/a.b.c.uk/x"));
}

TEST(DomainExtractorTest, QueryNotPrecededBySlashStaysPartOfTheHost)
{
    EXPECT_EQ("WWW.EXAMPLE.COM?Q=1", DomainOf("http://www.example.com?q=1"));
}

TEST(DomainExtractorTest, UserInformationStaysWithItsLabel)
{
    EXPECT_EQ("USER@EXAMPLE.COM", DomainOf("http://user@example.com/"));
}

TEST(DomainExtractorTest, SuffixLabelCountsAtAnyDepth)
{
    EXPECT_EQ("EXAMPLE.COM.AU", DomainOf("http://shop.example.com.au/"));
}

TEST(DomainExtractorTest, UnusualCodesInTheTableCountAsSuffixes)
{
    EXPECT_EQ("EXAMPLE.TP", DomainOf("http://www.example.tp/"));
    EXPECT_EQ("EXAMPLE.YU", DomainOf("http://www.example.yu/"));
    EXPECT_EQ("EXAMPLE.AN", DomainOf("http://www.example.an/"));
    EXPECT_EQ("EXAMPLE.GO.KR", DomainOf("http://www.example.go.kr/"));
}

TEST(DomainExtractorTest, CodesMissingFromTheTableAreOrdinaryLabels)
{
    EXPECT_EQ("WWW.EXAMPLE.EU", DomainOf("http://www.example.eu/"));
    EXPECT_EQ("WWW.EXAMPLE.ME", DomainOf("http://www.example.me/"));
    EXPECT_EQ("WWW.EXAMPLE.RS", DomainOf("http://www.example.rs/"));
    EXPECT_EQ("WWW.EXAMPLE.AX", DomainOf("http://www.example.ax/"));
    EXPECT_EQ("WWW.EXAMPLE.IO.GB", DomainOf("http://www.example.io.gb/"));
}

TEST(DomainExtractorTest, UpperCasingChangesOnlyAsciiLetters)
{
    EXPECT_EQ("B\xFC"
              "CHER.DE",
              DomainOf("http://www.b\xFC"
                       "cher.de/"));
    EXPECT_EQ("CAF\xC3\xA9.FR", DomainOf("http://www.caf\xC3\xA9.fr/"));
}
