#include "plugins/web/CacheHeaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plugins/web/HttpErrors.h"

namespace {

using namespace Terrascope::Plugins;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr UnixSeconds kNow = 784'111'777;  // Sun, 06 Nov 1994 08:49:37 GMT
constexpr UnixSeconds kDay = 86'400;
constexpr UnixSeconds kYear = 365 * kDay;

HttpResponse Answer(const std::map<std::string, std::string>& headers, UnixSeconds now = kNow) {
    HttpResponse response;
    response.headers = headers;
    response.received = now;
    return response;
}

TEST(HttpDate, HasThreeForms) {
    const std::pair<const char*, UnixSeconds> dates[] = {
        {"Sun, 06 Nov 1994 08:49:37 GMT", kNow},
        {"Sunday, 06-Nov-94 08:49:37 GMT", kNow},
        {"Sun Nov  6 08:49:37 1994", kNow},
        {"Thu, 01 Jan 1970 00:00:00 GMT", 0},
        {"Wed, 31 Dec 1969 23:59:59 GMT", -1},
        {"Tue, 29 Feb 2000 00:00:00 GMT", 951'782'400},
        {"Sunday, 06-Nov-44 00:00:00 GMT", 2'362'003'200},  // fifty years ahead
        {"Sunday, 06-Nov-45 00:00:00 GMT", -762'220'800}};  // 1945
    for (const auto& [text, expected] : dates) {
        EXPECT_EQ(expected, ParseHttpDate(text, kNow)) << text;
    }
    for (const char* none :
         {"", "0", "-1", "now", "Sun, 06 Nov 1994 08:49:37", "Sun, 06 Nov 1994 08:49:37 CET",
          "Sun, 31 Feb 1994 08:49:37 GMT", "Sun, 06 Nox 1994 08:49:37 GMT",
          "Sun, 06 Nov 1994 24:00:00 GMT", "Sun, 06 Nov 1994 08:49 GMT",
          "Sun, 06 Nov 19944 08:49:37 GMT", "Sun, 06 Nov 0000 08:49:37 GMT",
          "Sun, 99999999999 Nov 1994 08:49:37 GMT", "Sun, 6x Nov 1994 08:49:37 GMT",
          "Host:evil, 06 Nov 1994 08:49:37 GMT", "S\xC3\xA9, 06 Nov 1994 08:49:37 GMT"}) {
        EXPECT_EQ(std::nullopt, ParseHttpDate(none, kNow)) << none;
    }
}

TEST(CacheHeaders, StateHowLongATileIsFresh) {
    struct Case {
        std::map<std::string, std::string> headers;
        UnixSeconds lifetime;
        bool mayBeKept = true;
    };
    const char* const kHourLater = "Sun, 06 Nov 1994 09:49:37 GMT";
    const Case cases[] = {
        {{}, 7 * kDay},
        {{{"cache-control", "public, immutable"}, {"age", "100"}}, 7 * kDay},
        {{{"cache-control", "max-age=60"}}, 60},
        {{{"cache-control", " Public ,, MAX-AGE = \"60\" , max-age=9"}, {"age", "20"}}, 40},
        {{{"cache-control", "max-age=60"}, {"age", "61"}}, 0},
        {{{"cache-control", "max-age=60"}, {"age", "-5"}, {"expires", kHourLater}}, 60},
        {{{"cache-control", "max-age=99999999999999999999"}}, kYear},
        {{{"cache-control", "max-age=99999999"}}, kYear},
        {{{"cache-control", "max-age=-1"}}, 0},
        {{{"cache-control", "max-age"}}, 0},
        {{{"cache-control", "s-maxage=60, max-ages=6"}}, 7 * kDay},
        {{{"cache-control", "ext=\"a, max-age=5, \\\" no-store\", max-age=60"}}, 60},
        {{{"cache-control", "ext=\"never ends, no-store"}}, 7 * kDay},
        {{{"cache-control", "max-age=60, no-cache"}}, 0},
        {{{"cache-control", "no-cache=\"Set-Cookie\""}, {"expires", kHourLater}}, 0},
        {{{"cache-control", "max-age=60, No-Store"}}, 60, false},
        {{{"expires", kHourLater}}, 3600},
        {{{"expires", kHourLater}, {"age", "600"}, {"date", kHourLater}}, 0},
        {{{"expires", kHourLater}, {"age", "600"}, {"date", "Sun Nov  6 09:00:00 1994"}}, 2377},
        {{{"expires", "0"}}, 0},
        {{{"expires", ""}}, 0},
        {{{"expires", "Sun, 06 Nov 1994 07:49:37 GMT"}}, 0},
        {{{"expires", "Fri, 31 Dec 9999 23:59:59 GMT"}, {"date", "x"}}, kYear}};
    for (const Case& one : cases) {
        const TileFreshness freshness = FreshnessOf(Answer(one.headers));
        EXPECT_EQ(kNow, freshness.fetched);
        EXPECT_EQ(one.lifetime, freshness.expires - kNow) << testing::PrintToString(one.headers);
        EXPECT_EQ(one.mayBeKept, freshness.mayBeKept) << testing::PrintToString(one.headers);
    }
    EXPECT_LT(0, FreshnessOf(Answer({{"expires", "0"}}, 0)).expires) << "0 has another meaning";
}

TEST(CacheHeaders, A304Renews) {
    const char* const kTime = "Sun, 06 Nov 1994 08:49:37 GMT";
    const TileFreshness known{true, "\"1\"", kTime, 1000, 1500};
    EXPECT_EQ((TileFreshness{true, "\"1\"", kTime, kNow, kNow + 500}), Renewed(known, Answer({})));
    EXPECT_EQ(
        (TileFreshness{false, "W/\"2\"", kTime, kNow, kNow + 60}),
        Renewed(known, Answer({{"cache-control", "max-age=60,no-store"}, {"etag", "W/\"2\""}})));
    for (const auto& [fetched, expires] :
         {std::pair<UnixSeconds, UnixSeconds>{0, 5}, {5, 4}, {INT64_MIN, INT64_MAX}}) {
        EXPECT_EQ((TileFreshness{true, "", "", kNow, kNow + 7 * kDay}),
                  Renewed({true, "\r\n", "x", fetched, expires}, Answer({})));
    }
    EXPECT_EQ(kNow + kYear, Renewed({true, "", "", 1, INT64_MAX}, Answer({})).expires);
}

TEST(CacheHeaders, OnlyWhatIsATagOrADateIsSent) {
    const char* const kTime = "Sunday, 06-Nov-94 08:49:37 GMT";
    EXPECT_THAT(ConditionsOf({true, "W/\"a,b\"", kTime, 0, 0}),
                ElementsAre(Pair("If-None-Match", "W/\"a,b\""), Pair("If-Modified-Since", kTime)));
    const std::string tooLong = '"' + std::string(300, 'x') + '"';
    for (const std::string& tag :
         {std::string(), std::string("*"), std::string("\"a\", \"b\""), std::string("bare"),
          std::string("\"a\r\nX-Key: b\""), std::string("\"a\0b\"", 5), std::string("\"\xC3\xA9\""),
          std::string("\""), std::string("W/"), tooLong}) {
        for (const std::string& time :
             {std::string(kTime) + "\r\nHost: x", "\r\nHost:x\r\n" + std::string(kTime),
              "\r\n" + std::string(kTime)}) {
            EXPECT_THAT(ConditionsOf({true, tag, time, 0, 0}), IsEmpty()) << tag << time;
        }
        EXPECT_EQ("", FreshnessOf(Answer({{"etag", tag}, {"last-modified", "today"}})).entityTag);
    }
}

TEST(HttpErrors, NameTheCertificate) {
    using testing::StartsWith;
    const char* const kCertificate = "the server's certificate is not valid";
    for (const DWORD error : {12037, 12038, 12045, 12057, 12157, 12169, 12170, 12175, 12179}) {
        EXPECT_THAT(WordsOf(error), StartsWith(kCertificate)) << error;
        EXPECT_TRUE(IsOfEncryption(error)) << error;
    }
    for (const DWORD error : {12007, 12029, 12002, 10060, 0, 12152}) {
        EXPECT_THAT(WordsOf(error), testing::Not(StartsWith(kCertificate))) << error;
        EXPECT_FALSE(IsOfEncryption(error)) << error;
    }
}

}  // namespace
