#include "plugins/web/HttpFetcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <sstream>
#include <thread>

#include "plugins/web/HttpByteSource.h"
#include "tests/fixtures/Await.h"
#include "tests/fixtures/LogCapture.h"
#include "tests/plugins/web/FaultServer.h"

namespace {

using namespace std::string_literals;
using namespace Terrascope::Plugins;
using TerrascopeTest::FaultServer;
using TerrascopeTest::Reply;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Goes on by its rests alone, and takes no time for them.
class SetClock : public Clock {
public:
    Milliseconds Now() override { return now; }
    bool Rest(Milliseconds duration, const Cancellation& cancellation) override {
        now += duration;
        rests.push_back(duration);
        return !cancellation.IsCancelled();
    }
    UnixSeconds Utc() override { return utc; }
    std::atomic<Milliseconds> now = 1000;
    UnixSeconds utc = 0;
    std::vector<Milliseconds> rests;
};

class Fetching : public testing::Test {
protected:
    HttpResult Fetch(const std::string& address) {
        return m_fetcher.Fetch(*HttpAddress::Parse(address), m_identity, m_limits, m_cancellation);
    }
    HttpResult FetchPath(const std::string& path) { return Fetch(m_server.Address(path)); }
    static std::string Body(const HttpResult& result) {
        return result.outcome == HttpOutcome::Here
                   ? std::string(result.response.body.begin(), result.response.body.end())
                   : "outcome " + std::to_string(static_cast<int>(result.outcome)) + ": " +
                         result.reason;
    }

    FaultServer m_server;
    TerrascopeTest::LogCapture m_log;
    SetClock m_clock;
    HttpFetcher m_fetcher{m_clock};
    HttpIdentity m_identity{{{"User-Agent", "Test/1"}, {"X-Key", "secret"}}, false, ""};
    HttpLimits m_limits{2000, 400, 1000, 100000, true};
    Cancellation m_cancellation;
};

TEST_F(Fetching, BringsWholeAnswersOverKeptConnections) {
    const std::string large(99999, 'x');
    m_server.On("/a?key=1", Reply{200, "first"});
    m_server.On("/b", Reply{200, large,
                            "ETag: \"v1\" \r\nCache-Control: public\r\n"
                            "cache-control: max-age=5\r\nX-A: 1\r\nX-A: 2\r\n"});
    m_server.On("/empty", Reply{200, ""});
    m_server.On("/chunked", Reply{.body = "HTTP/1.1 200 X\r\nTransfer-Encoding: chunked\r\n\r\n"
                                          "5\r\nhello\r\n0\r\n\r\n",
                                  .kind = Reply::Raw});

    EXPECT_EQ("first", Body(FetchPath("/a?key=1")));
    EXPECT_THAT(m_server.LastHead(), HasSubstr("User-Agent: Test/1\r\n"));
    EXPECT_THAT(m_server.LastHead(), HasSubstr("X-Key: secret\r\n"));
    const HttpResult second = FetchPath("/b");
    EXPECT_EQ(large, Body(second));
    EXPECT_EQ("\"v1\"", second.response.Header("etag"));
    EXPECT_EQ("public, max-age=5", second.response.Header("cache-control"));
    EXPECT_EQ("2", second.response.Header("x-a"));
    EXPECT_EQ("", Body(FetchPath("/empty")));
    EXPECT_EQ(1, m_server.Connections());
    EXPECT_EQ("hello", Body(FetchPath("/chunked")));
    m_identity.onlySecure = true;
    FetchPath("/b");
    EXPECT_THAT(m_server.LastHead(), HasSubstr("User-Agent: Test/1\r\n"));
    EXPECT_THAT(m_server.LastHead(), Not(HasSubstr("secret"))) << "not over http";
    m_identity = {{{"X-Key", "secret"}}, false, "http://127.0.0.1:1"};
    FetchPath("/b");
    EXPECT_THAT(m_server.LastHead(), Not(HasSubstr("secret"))) << "the key of another server";
}

TEST_F(Fetching, RefusesWhatIsNotAWholeAnswerInTime) {
    const std::string body(1000, 'x');
    const auto raw = [](const std::string& headers) {
        return Reply{.body = "HTTP/1.1 200 X\r\n" + headers + "\r\n0123456789", .kind = Reply::Raw};
    };
    const std::pair<Reply, const char*> cases[] = {
        {{200, body, "", Reply::Half}, "breaks off"},
        {{200, body, "", Reply::Endless}, "too"},  // large, or long
        {{.kind = Reply::Silent}, "no answer"},
        {{200, std::string(100001, 'x')}, "too large"},
        {raw("Content-Length: 11\r\n"), "breaks off"},
        {raw("Content-Length: 99999999999999999999\r\n"), ""},
        {raw("Content-Length: -1\r\n"), ""},
        {{.body = "no answer at all", .kind = Reply::Raw}, ""},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const std::string path = "/" + std::to_string(i);
        m_server.On(path, cases[i].first);
        const ULONGLONG start = ::GetTickCount64();
        HttpFetcher fresh(m_clock);  // five failures would end the test
        const HttpResult result = fresh.Fetch(*HttpAddress::Parse(m_server.Address(path)),
                                              m_identity, m_limits, m_cancellation);
        EXPECT_EQ(HttpOutcome::Failed, result.outcome) << i << ": " << Body(result);
        EXPECT_THAT(result.reason, HasSubstr(cases[i].second)) << i;
        EXPECT_THAT(result.response.body, IsEmpty()) << i;
        EXPECT_GT(1600U, ::GetTickCount64() - start) << i;
    }
}

TEST_F(Fetching, SendsNoHeaderThatIsMoreThanOneLine) {
    for (const std::string& value : {"a\r\nHost: b"s, "a\nb"s, "\ra"s, "a\0b"s}) {
        m_identity.headers = {{"X-Key", value}};
        EXPECT_THAT(Body(FetchPath("/a")), HasSubstr("more than one line")) << value;
    }
    EXPECT_EQ(0, m_server.Requests());
}

TEST_F(Fetching, AsksOnceMoreWhenTheServerHangsUp) {
    m_server.On("/a", {Reply{.kind = Reply::HangUp}, Reply{200, "on a new connection"}});
    EXPECT_EQ("on a new connection", Body(FetchPath("/a")));
    m_server.On("/always", Reply{.kind = Reply::HangUp});
    EXPECT_THAT(Body(FetchPath("/always")), HasSubstr("no answer"));
    m_server.On("/silent", Reply{.kind = Reply::Silent});
    EXPECT_THAT(Body(FetchPath("/silent")), HasSubstr("no answer"));
    EXPECT_EQ(1, m_server.Requests("/silent")) << "who is slow is not asked twice";
    EXPECT_GE(4, m_server.Requests("/always"));  // the system repeats some of them itself
}

TEST_F(Fetching, AServerMayThinkLongerThanItsConnectionTakes) {
    m_limits = {300, 2000, 3000, 1000, false};
    m_server.On("/slow", Reply{.body = "thought over", .kind = Reply::Slow});
    EXPECT_EQ("thought over", Body(FetchPath("/slow")));
    m_limits.firstByte = 300;
    EXPECT_THAT(Body(FetchPath("/slow")), HasSubstr("no answer"));
}

TEST_F(Fetching, FollowsRedirectsWithinBounds) {
    FaultServer other;
    m_server.On("/one/a", Reply{302, "", "Location: ../two?x=1\r\n"});
    m_server.On("/two?x=1", Reply{301, "", "Location: " + other.Address("/there") + "\r\n"});
    other.On("/there", Reply{200, "elsewhere"});
    m_server.On("/loop", Reply{302, "", "Location: /loop\r\n"});
    m_server.On("/file", Reply{302, "", "Location: file:///C:/windows/win.ini\r\n"});
    m_server.On("/nowhere", Reply{302, ""});
    m_server.On("/odd", Reply{302, "", "Location: //user@host/\r\n"});

    EXPECT_EQ("elsewhere", Body(FetchPath("/one/a")));
    EXPECT_THAT(other.LastHead(), HasSubstr("User-Agent: Test/1\r\n"));
    EXPECT_THAT(other.LastHead(), Not(HasSubstr("secret"))) << "the key is for the first host";
    EXPECT_THAT(Body(FetchPath("/loop")), HasSubstr("too many redirects"));
    EXPECT_EQ(6, m_server.Requests("/loop"));
    EXPECT_THAT(m_fetcher.State().text, HasSubstr("too many redirects"));
    for (const char* path : {"/file", "/odd"}) {
        EXPECT_THAT(Body(FetchPath(path)), HasSubstr("no redirect may lead")) << path;
        EXPECT_THAT(m_fetcher.State().text, HasSubstr("no redirect may lead")) << path;
    }
    EXPECT_EQ(HttpOutcome::Failed, FetchPath("/nowhere").outcome);
}

TEST_F(Fetching, ARedirectTakesNoConditionToAnotherServer) {
    FaultServer other;
    const auto leads = [](const std::string& to) {
        return Reply{302, "", "Location: " + to + "\r\n"};
    };
    m_server.On("/near", leads("/here"));
    m_server.On("/far", leads(other.Address("/there")));
    m_server.On("/round", leads(other.Address("/back")));
    other.On("/back", leads(m_server.Address("/here")));
    m_server.On("/here", Reply{304});
    other.On("/there", Reply{304});
    const auto ask = [this](const std::string& path, const HttpHeaders& headers) {
        return m_fetcher.Fetch(*HttpAddress::Parse(m_server.Address(path)), m_identity, m_limits,
                               m_cancellation, headers);
    };
    const HttpHeaders known = {
        {"Range", "bytes=0-9"}, {"If-Modified-Since", "x"}, {"If-None-Match", "\"1\""}};
    EXPECT_EQ(HttpOutcome::NotModified, ask("/near", known).outcome);
    for (const char* path : {"/far", "/round"}) {
        EXPECT_EQ("outcome 3: status 304 without being asked", Body(ask(path, known))) << path;
    }
    EXPECT_THAT(m_server.LastHead(), HasSubstr("secret")) << "it is the key's own server";
    EXPECT_THAT(m_server.LastHead(), Not(HasSubstr("\r\nIf-")));
    ask("/far", known);
    EXPECT_THAT(other.LastHead(), Not(HasSubstr("\r\nIf-")));
    EXPECT_THAT(other.LastHead(), HasSubstr("\r\nRange: bytes=0-9\r\n"));
    EXPECT_EQ("outcome 3: status 304 without being asked", Body(FetchPath("/here")));
    m_server.On("/part", Reply{206, "x"});
    EXPECT_EQ("outcome 3: status 206 without being asked", Body(FetchPath("/part")));
}

TEST_F(Fetching, AsksAgainWhatTheServerCannotDoNow) {
    const Reply busy{429, "later", "Retry-After: 3\r\n"};
    const Reply broken{500, "oops"};
    m_limits.total = 8000;
    m_server.On("/busy", {busy, Reply{200, "now"}});
    m_server.On("/broken", {broken, broken, Reply{200, "mended"}});
    m_server.On("/always", broken);
    m_server.On("/long", Reply{503, "", "Retry-After: 60\r\n"});

    EXPECT_EQ("now", Body(FetchPath("/busy")));
    EXPECT_THAT(m_clock.rests, ElementsAre(3020));
    EXPECT_EQ("mended", Body(FetchPath("/broken")));
    EXPECT_EQ("outcome 3: status 500", Body(FetchPath("/always")));
    EXPECT_EQ(3, m_server.Requests("/always"));
    EXPECT_EQ("outcome 3: status 503", Body(FetchPath("/long"))) << "not within the tile's time";
    EXPECT_THAT(Body(FetchPath("/busy")), HasSubstr("left alone")) << "the host asked for it";
    EXPECT_EQ(1, m_server.Requests("/long"));
    m_clock.now += 60000;
    EXPECT_EQ("now", Body(FetchPath("/busy")));

    const std::string date = "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n";
    m_server.On("/date", {Reply{503, "", date + "Retry-After: Sun, 06 Nov 1994 08:49:40 GMT\r\n"},
                          Reply{503, "", date + "Retry-After: Sun, 06 Nov 1994 08:49:36 GMT\r\n"},
                          Reply{200, "by the server's clock"}});
    m_clock.rests.clear();
    EXPECT_EQ("by the server's clock", Body(FetchPath("/date")));
    EXPECT_THAT(m_clock.rests, ElementsAre(3020, 1020)) << "one that is past does not count";
    m_server.On("/today", {Reply{503, "", "Retry-After: Fri, 02 Jan 1970 00:00:02 GMT\r\n"},
                           Reply{200, "by our clock"}});
    m_clock.utc = 86400;
    m_clock.rests.clear();
    EXPECT_EQ("by our clock", Body(FetchPath("/today")));
    EXPECT_THAT(m_clock.rests, ElementsAre(2020));
}

TEST_F(Fetching, DoesNotAskForWhatIsKnownToBeAbsent) {
    m_server.On("/none", Reply{204});
    m_server.On("/gone", Reply{410});
    m_server.On("/forbidden", Reply{403, "no"});
    for (int i = 0; i < 2; ++i) {
        for (const char* path : {"/none", "/gone", "/missing"}) {
            EXPECT_EQ(HttpOutcome::Absent, FetchPath(path).outcome) << path;
        }
        EXPECT_EQ("outcome 3: status 403", Body(FetchPath("/forbidden")));
    }
    EXPECT_EQ(3 + 2, m_server.Requests());
    m_server.On("/missing", Reply{200, "new"});
    m_clock.now += 10 * 60 * 1000;
    EXPECT_EQ("new", Body(FetchPath("/missing")));
    AbsentAddresses many(m_clock);
    for (int i = 0; i < 9000; ++i) {
        many.Add(std::to_string(i));
    }
    EXPECT_FALSE(many.Has("0")) << "memory is bounded";
    EXPECT_TRUE(many.Has("8999"));
}

TEST_F(Fetching, LeavesAHostAloneThatIsDown) {
    m_limits.connect = 1500;  // a refused connection may be tried for a second
    std::string down;
    {
        const FaultServer gone;
        down = gone.Address("/tile?key=secret");
    }
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(Body(Fetch(down)), Not(HasSubstr("left alone"))) << i;
    }
    EXPECT_THAT(Body(Fetch(down)), HasSubstr("left alone"));
    m_server.On("/a", Reply{200, "other hosts are asked"});
    EXPECT_EQ("other hosts are asked", Body(FetchPath("/a")));
    EXPECT_EQ(1, m_log.Count("is left alone for 2 s")) << m_log.Text();
    EXPECT_EQ(0, m_log.Count("secret")) << m_log.Text();
}

TEST_F(Fetching, RemembersWhichServersFail) {
    const auto state = [this] {
        const ServerState now = m_fetcher.State();
        return std::to_string(now.kind) + " " + now.text;
    };
    m_limits.connect = 900;  // as in LeavesAHostAloneThatIsDown, and less than all of the time
    std::string unreachable;
    {
        const FaultServer gone;
        unreachable = gone.Address("/tile?key=secret");
    }
    const std::string here = m_server.Address("").substr(7);
    m_server.On("/up", Reply{200, "up"});
    m_server.On("/forbidden?key=secret", Reply{403, "no"});
    m_server.On("/mute", Reply{.kind = Reply::HangUp});
    m_server.On("/busy", Reply{503, "", "Retry-After: 50\r\n"});
    EXPECT_EQ("0 ", state());
    FetchPath("/forbidden?key=secret");
    EXPECT_EQ("1 " + here + ": status 403", state());
    FetchPath("/missing");
    EXPECT_EQ("0 ", state()) << "that nothing is there is an answer";
    FetchPath("/mute");
    EXPECT_THAT(state(), testing::StartsWith("1 " + here + ": no answer"));
    FetchPath("/up");
    Fetch(unreachable);
    EXPECT_THAT(state(), testing::StartsWith("2 127.0.0.1:"));
    EXPECT_THAT(state(), HasSubstr(": no connection"));
    EXPECT_THAT(state(), Not(HasSubstr("secret")));
    FetchPath("/busy");
    EXPECT_EQ("1 " + here + " is left alone: status 503", state());
    m_clock.now += 50020;
    FetchPath("/up");
    EXPECT_THAT(state(), testing::StartsWith("2 ")) << "that one is still as it was";
    m_clock.now += 69980;
    EXPECT_EQ("0 ", state()) << "two minutes after its last failure";
    FetchPath("/busy");
    m_clock.now += 40000;
    FetchPath("/busy");
    m_clock.now += 119999;
    EXPECT_EQ("1 " + here + " is left alone: status 503", state()) << "it was to be asked";
    m_clock.now += 1;
    EXPECT_EQ("0 ", state());
}

TEST(ServerStates, AreBoundedAndHandedOverInTheRoomThereIs) {
    SetClock clock;
    CServerStates states(clock);
    for (int i = 0; i < 100; ++i) {
        states.Failed("http://" + std::to_string(i), i != 20 && i != 90, false, "down");
    }
    EXPECT_EQ("90: down", states.Now().text) << "it can be reached";
    states.Answered("http://90");
    EXPECT_EQ("99: down", states.Now().text) << "the first ones are forgotten";
    std::string buffer(8, '#');
    EXPECT_EQ(2, HandOver(states.Now(), buffer.data(), 6));
    EXPECT_EQ("99: d\0##"s, buffer);
    EXPECT_EQ(0, HandOver({}, buffer.data(), 1));
    EXPECT_EQ("\0009: d\0##"s, buffer);
    EXPECT_EQ(2, HandOver(states.Now(), buffer.data(), 0));
    EXPECT_EQ(2, HandOver(states.Now(), nullptr, 8));
    EXPECT_EQ("\0009: d\0##"s, buffer);
}

TEST(HostHealth, RestsLongerEachTimeAndSendsOneToFindOut) {
    SetClock clock;
    HostHealth health(clock);
    for (int i = 1; i < 5; ++i) {
        EXPECT_EQ(0, health.Failed("h")) << i;
    }
    EXPECT_TRUE(health.MayAsk("h"));
    for (const Milliseconds rest : {2000, 4000, 8000, 16000, 32000, 60000, 60000}) {
        EXPECT_EQ(rest, health.Failed("h"));
        EXPECT_EQ(0, health.Failed("h")) << "it was on its way before";
        clock.now += rest - 1;
        EXPECT_FALSE(health.MayAsk("h"));
        clock.now += 1;
        EXPECT_TRUE(health.MayAsk("h"));
        EXPECT_FALSE(health.MayAsk("h")) << "one is enough to find out";
    }
    health.Undecided("h");
    EXPECT_TRUE(health.MayAsk("h"));
    health.Answered("h");
    EXPECT_TRUE(health.MayAsk("h"));
    EXPECT_EQ(0, health.Failed("h"));
    health.AskedForPause("h", 1'800'000);
    health.AskedForPause("g", 86'400'000);
    clock.now += 1'799'999;
    EXPECT_FALSE(health.MayAsk("h")) << "it asked for half an hour";
    clock.now += 1;
    EXPECT_TRUE(health.MayAsk("h"));
    EXPECT_FALSE(health.MayAsk("g"));
    clock.now += 1'800'000;
    EXPECT_TRUE(health.MayAsk("g")) << "no host keeps itself from us for longer than an hour";
    for (int i = 0; i < 300; ++i) {
        health.AskedForPause(std::to_string(i), 1000 + i);
    }
    EXPECT_TRUE(health.MayAsk("0")) << "forgotten: memory is bounded";
    EXPECT_FALSE(health.MayAsk("299"));
}

TEST_F(Fetching, EndsForACallerThatLeaves) {
    m_limits = kTileLimits;
    m_server.On("/hangs", Reply{.kind = Reply::Silent});
    m_server.On("/drips", Reply{.body = "x", .kind = Reply::Endless});
    for (const char* path : {"/hangs", "/drips"}) {
        Cancellation cancellation;
        std::atomic<ULONGLONG> cancelled = 0;
        std::thread leaving([&] {
            EXPECT_TRUE(TerrascopeTest::Await([&] { return m_server.Requests(path) == 1; }));
            cancelled = ::GetTickCount64();
            cancellation.Cancel();
        });
        const HttpResult result = m_fetcher.Fetch(*HttpAddress::Parse(m_server.Address(path)),
                                                  m_identity, m_limits, cancellation);
        const ULONGLONG end = ::GetTickCount64();
        leaving.join();
        EXPECT_EQ(HttpOutcome::Cancelled, result.outcome) << path << Body(result);
        EXPECT_GT(200U, end - cancelled) << path;
    }
    m_server.On("/next", Reply{200, "the next one works"});
    EXPECT_EQ("the next one works", Body(FetchPath("/next")));
}

TEST_F(Fetching, ServesManyAtOnce) {
    m_limits = {20000, 20000, 30000, 100000, true};  // it is not about time
    std::vector<std::jthread> threads;
    std::atomic<int> right = 0;
    for (int i = 0; i < 8; ++i) {
        const std::string path = "/" + std::to_string(i);
        const std::string body(5000, static_cast<char>('a' + i));
        m_server.On(path, Reply{200, body});
        threads.emplace_back([&, path, body] {
            for (int n = 0; n < 50; ++n) {
                right += Body(FetchPath(path)) == body ? 1 : 0;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(8 * 50, right);
}

class Ranges : public Fetching {
protected:
    std::unique_ptr<CHttpByteSource> Open(const std::string& path) {
        reason.clear();
        return CHttpByteSource::Open(*HttpAddress::Parse(m_server.Address(path)),
                                     {m_fetcher, m_identity}, m_cancellation, reason);
    }
    static std::string Read(IByteSource& source, std::uint64_t offset, std::size_t count) {
        std::vector<std::uint8_t> buffer(count);
        return source.Read(offset, buffer) ? std::string(buffer.begin(), buffer.end()) : "failed";
    }
    std::string reason;
};

TEST_F(Ranges, AreReadOfTheSameFileAlone) {
    std::string content;
    for (int i = 0; content.size() < 50000; ++i) {
        content += std::to_string(i) + ",";
    }
    m_server.On("/f", Reply{200, content, "ETag: \"1\"\r\n", Reply::Ranges});
    const auto source = Open("/f");
    ASSERT_NE(nullptr, source) << reason;
    EXPECT_EQ(content.size(), source->Size());
    EXPECT_EQ(content.substr(0, 127), Read(*source, 0, 127));
    EXPECT_EQ(content.substr(16000, 384), Read(*source, 16000, 384));
    EXPECT_EQ(1, m_server.Requests()) << "the start is kept";
    EXPECT_EQ(content.substr(16000, 385), Read(*source, 16000, 385));
    EXPECT_EQ(content.substr(40000), Read(*source, 40000, content.size() - 40000));
    EXPECT_EQ("", Read(*source, content.size(), 0));
    EXPECT_EQ(3, m_server.Requests());
    for (const std::uint64_t offset : {content.size() - 1, content.size() + 1, ~std::size_t{0}}) {
        EXPECT_EQ("failed", Read(*source, offset, 2)) << "beyond the end";
    }
    EXPECT_EQ(3, m_server.Requests());
    m_server.On("/f", Reply{200, content, "ETag: \"2\"\r\n", Reply::Ranges});
    EXPECT_EQ("failed", Read(*source, 20000, 10)) << "it is another file now";
    EXPECT_THAT(m_fetcher.State().text, HasSubstr("the file there is another one now"));

    m_server.On("/small", Reply{200, "as a whole"});
    EXPECT_EQ("whole", Read(*Open("/small"), 5, 5));
    m_server.On("/whole", Reply{200, content});
    EXPECT_EQ(nullptr, Open("/whole"));
    EXPECT_EQ("its server delivers no ranges", reason);
    EXPECT_THAT(m_fetcher.State().text, HasSubstr(reason));
    for (const char* range : {"bytes 1-16384/50000", "bytes 0-9/50000", "bytes 0-16383/*",
                              "bytes 0-16383/100", "0-16383/50000", ""}) {
        m_server.On("/odd", Reply{206, content.substr(0, 16384),
                                  std::string("Content-Range: ") + range + "\r\n"});
        EXPECT_EQ(nullptr, Open("/odd")) << range;
    }
    EXPECT_EQ(nullptr, Open("/absent"));
}

TEST_F(Ranges, TheStartIsKeptWhileItIsFresh) {
    const std::string version = "ETag: \"1\"\r\nCache-Control: max-age=";
    const std::string large(50000, 'x');
    for (const auto& [kind, body, lifetime, end] :
         {std::tuple(Reply::Ranges, large, "60", 60), std::tuple(Reply::Whole, "small"s, "60", 60),
          std::tuple(Reply::Ranges, large, "0", 15)}) {
        m_server.On("/f", Reply{200, body, version + lifetime + "\r\n", kind});
        const auto source = Open("/f");
        const int before = m_server.Requests();
        m_clock.utc += end - 1;
        EXPECT_EQ(body.substr(2, 3), Read(*source, 2, 3));
        EXPECT_EQ(before, m_server.Requests()) << lifetime;
        m_clock.utc += 1;
        EXPECT_EQ(body.substr(2, 3), Read(*source, 2, 3));
        EXPECT_EQ(before + 1, m_server.Requests()) << lifetime;
        m_server.On("/f", Reply{200, body, "ETag: \"2\"\r\n", kind});
        EXPECT_EQ("failed", Read(*source, 2, 3)) << "it is another file now";
    }
}

TEST_F(Ranges, EndForACallerThatLeaves) {
    m_server.On("/f", {Reply{200, std::string(50000, 'x'), "", Reply::Ranges},
                       Reply{.kind = Reply::Silent}});
    const auto source = Open("/f");
    ASSERT_NE(nullptr, source);
    for (const int time : {200, 8000}) {
        const CHttpByteSource::CReadScope reads(m_cancellation, time);
        const ULONGLONG start = ::GetTickCount64();
        EXPECT_EQ("failed", Read(*source, 20000, 10));
        EXPECT_GT(500U, ::GetTickCount64() - start) << "its time is over; it was cancelled";
        m_cancellation.Cancel();
    }
}

TEST(HttpAddress, IsReadAndResolved) {
    const auto text = [](const std::optional<HttpAddress>& address) {
        return address ? address->Text() : std::string("none");
    };
    const std::pair<const char*, const char*> whole[] = {
        {"HTTP://Example.org", "http://example.org/"},
        {"https://a.b:443/x?y=1#z", "https://a.b/x?y=1"},
        {"http://a:8080?q", "http://a:8080/?q"},
        {"http://[::1]:81/a b\xC3\xA9%20", "http://[::1]:81/a%20b%C3%A9%20"}};
    for (const auto& [given, expected] : whole) {
        EXPECT_EQ(expected, text(HttpAddress::Parse(given))) << given;
    }
    const std::string tooLong = "http://a/" + std::string(5000, 'x');
    for (const std::string& none :
         {"ftp://a/"s, "file:///etc"s, "http:/a"s, "http://"s, "http://user:word@a/"s,
          "http://a:0/"s, "http://a:99999/"s, "http://a:8x/"s, "http://a\\b/"s,
          "http://b\xC3\xBC.de/"s, "C:\\maps"s, ""s, tooLong}) {
        EXPECT_EQ("none", text(HttpAddress::Parse(none))) << none;
    }
    const HttpAddress base = *HttpAddress::Parse("https://a:8443/one/two/doc.json?key=1");
    EXPECT_EQ("https://a:8443/one/two/doc.json", base.ForLog());
    EXPECT_FALSE(base.MayLeadTo(*HttpAddress::Parse("http://a:8443/one")));
    EXPECT_TRUE(HttpAddress::Parse("http://a/")->MayLeadTo(base));
    std::istringstream references(
        "x https://a:8443/one/two/x ../x?y https://a:8443/one/x?y ../../../../x https://a:8443/x "
        "./ https://a:8443/one/two/ /x/./y/ https://a:8443/x/y/ //b/x https://b/x "
        "http://c http://c/ ?z https://a:8443/one/two/doc.json?z mailto:me none // none "
        ".. https://a:8443/one/ a/?b=http://c/ https://a:8443/one/two/a/?b=http://c/");
    for (std::string reference, expected; references >> reference >> expected;) {
        EXPECT_EQ(expected, text(base.Resolve(reference))) << reference;
    }
}

}  // namespace
