// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// What gardend makes of HTTP requests, and how its answers look on the line.

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "zol/sched.h"

#include "garden.h"
#include "gardend_drivers.h"
#include "http_parser.h"
#include "http_server.h"
#include "languages.h"
#include "status_page.h"
#include "support/temp_dir.h"
#include "watering_plan.h"
#include "words.h"

namespace gardend {

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::string operator""_s(const char* text, size_t length) {
    return std::string(text, length);
}

// One line for each request, and one for the error that ended it:
// "GET / keep-alive", "HEAD /x close", "error 400", "..." for a request that is not complete.
std::vector<std::string> parsePieces(const std::vector<std::string>& pieces) {
    std::vector<std::string> found;
    CHttpParser parser;
    bool begun = false;
    for (const std::string& piece : pieces) {
        size_t taken = 0;
        while (taken < piece.size() && parser.getState() != CHttpParser::kFailed) {
            const int size = static_cast<int>(piece.size() - taken);
            const int now = parser.feed(piece.data() + taken, size);
            EXPECT_GT(now, 0);
            EXPECT_LE(now, size);
            taken += static_cast<size_t>(now);
            begun = true;
            if (parser.getState() == CHttpParser::kComplete) {
                const HttpRequest& request = parser.getRequest();
                found.push_back(request.method.get() + " "_s + request.path.get() +
                                (request.keepAlive ? " keep-alive" : " close"));
                parser.restart();
                begun = false;
            }
        }
    }
    if (parser.getState() == CHttpParser::kFailed) {
        found.push_back("error " + std::to_string(parser.getError()));
    } else if (begun) {
        found.push_back("...");
    }
    return found;
}

std::vector<std::string> parse(const std::string& text) {
    return parsePieces({text});
}

std::vector<std::string> found(std::initializer_list<std::string> lines) {
    return lines;
}

// A request with one more header field.
std::vector<std::string> parseWithField(const std::string& field) {
    return parse("GET / HTTP/1.1\r\nHost: garden\r\n" + field + "\r\n\r\n");
}

TEST(HttpRequestLine, GivesMethodAndPath) {
    EXPECT_EQ(found({"GET /a/b keep-alive"}), parse("GET /a/b HTTP/1.1\r\nHost: h\r\n\r\n"));
    EXPECT_EQ(found({"BREW /tea keep-alive"}), parse("BREW /tea HTTP/1.1\r\nHost: h\r\n\r\n"));
}

TEST(HttpRequestLine, LeavesTheQueryOut) {
    EXPECT_EQ(found({"GET /a keep-alive"}), parse("GET /a?b=c/d HTTP/1.1\r\nHost: h\r\n\r\n"));
}

TEST(HttpRequestLine, TakesAWholeAddressForItsPath) {
    EXPECT_EQ(found({"GET /a keep-alive"}),
              parse("GET http://garden:80/a?b HTTP/1.1\r\nHost: garden\r\n\r\n"));
    EXPECT_EQ(found({"GET / keep-alive"}),
              parse("GET HTTP://garden HTTP/1.1\r\nHost: garden\r\n\r\n"));
    EXPECT_EQ(found({"error 400"}), parse("GET http:///a HTTP/1.1\r\nHost: garden\r\n\r\n"));
}

TEST(HttpRequestLine, TakesTheAsterisk) {
    EXPECT_EQ(found({"OPTIONS * keep-alive"}), parse("OPTIONS * HTTP/1.1\r\nHost: h\r\n\r\n"));
}

TEST(HttpRequestLine, MayComeAfterEmptyLines) {
    EXPECT_EQ(found({"GET / keep-alive"}), parse("\r\n\r\nGET / HTTP/1.1\r\nHost: h\r\n\r\n"));
}

TEST(HttpRequestLine, MayEndWithLfAlone) {
    EXPECT_EQ(found({"GET / close"}), parse("GET / HTTP/1.0\n\n"));
}

TEST(HttpRequestLine, MustHaveThreeParts) {
    for (const char* line :
         {"GET", "GET /", "GET  / HTTP/1.1", "GET / HTTP/1.1 ", " GET / HTTP/1.1",
          "GET /a b HTTP/1.1", "GET\t/\tHTTP/1.1", "/ HTTP/1.1", " ", "  "}) {
        EXPECT_EQ(found({"error 400"}), parse(line + "\r\n"_s)) << line;
    }
}

TEST(HttpRequestLine, MustHaveAMethodOfTokenCharacters) {
    for (const char* line : {"G(T / HTTP/1.1", "G\"T / HTTP/1.1", "G\xc3\xa9T / HTTP/1.1"}) {
        EXPECT_EQ(found({"error 400"}), parse(line + "\r\n"_s)) << line;
    }
}

TEST(HttpRequestLine, MustHaveAPathOfVisibleCharacters) {
    for (const char* line :
         {"GET a HTTP/1.1", "GET ?a HTTP/1.1", "GET /\xff HTTP/1.1", "GET /\x7f HTTP/1.1",
          "CONNECT garden:80 HTTP/1.1", "GET *a HTTP/1.1", "GET ftp://garden/ HTTP/1.1"}) {
        EXPECT_EQ(found({"error 400"}), parse(line + "\r\n"_s)) << line;
    }
}

TEST(HttpVersion, DecidesWhetherTheConnectionStays) {
    EXPECT_EQ(found({"GET / close"}), parse("GET / HTTP/1.0\r\n\r\n"));
    EXPECT_EQ(found({"GET / keep-alive"}), parse("GET / HTTP/1.1\r\nHost: h\r\n\r\n"));
    EXPECT_EQ(found({"GET / keep-alive"}), parse("GET / HTTP/1.7\r\nHost: h\r\n\r\n"));
}

TEST(HttpVersion, MustBeOne) {
    EXPECT_EQ(found({"error 505"}), parse("GET / HTTP/2.0\r\n"));
    EXPECT_EQ(found({"error 505"}), parse("PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"));
    EXPECT_EQ(found({"error 505"}), parse("GET / HTTP/0.9\r\n"));
}

TEST(HttpVersion, MustBeWellFormed) {
    for (const char* version :
         {"", "H", "HTTP", "HTTP/", "HTTP/1", "HTTP/1.", "HTTP/1.1.1", "HTTP/11.1", "HTTP/1.10",
          "http/1.1", "HTTP/a.1", "HTTP/1.b", "HTTP 1.1", "XTTP/1.1"}) {
        EXPECT_EQ(found({"error 400"}), parse("GET / "_s + version + "\r\n")) << version;
    }
}

TEST(HttpConnectionField, OverridesTheVersion) {
    EXPECT_EQ(found({"GET / close"}), parseWithField("Connection: close"));
    EXPECT_EQ(found({"GET / close"}), parseWithField("connection:\tUpgrade , CLOSE\t"));
    EXPECT_EQ(found({"GET / keep-alive"}),
              parse("GET / HTTP/1.0\r\nConnection: Keep-Alive\r\n\r\n"));
}

TEST(HttpConnectionField, ClosesWhereSeveralDisagree) {
    EXPECT_EQ(found({"GET / close"}),
              parseWithField("Connection: keep-alive\r\nConnection: close"));
    EXPECT_EQ(found({"GET / close"}),
              parseWithField("Connection: close\r\nConnection: keep-alive"));
}

TEST(HttpConnectionField, LooksAtWholeWords) {
    EXPECT_EQ(found({"GET / keep-alive"}), parseWithField("Connection: closed, enclose"));
}

TEST(HttpAcceptLanguage, IsOneListHoweverManyFieldsThereAre) {
    CHttpParser parser;
    const std::string text =
        "GET / HTTP/1.0\r\nAccept-Language: de-AT, en;q=0.5\r\naccept-language:\r\n"
        "ACCEPT-LANGUAGE: fr\r\n\r\n";

    parser.feed(text.data(), static_cast<int>(text.size()));

    EXPECT_EQ(CHttpParser::kComplete, parser.getState());
    EXPECT_STREQ(",de-AT, en;q=0.5,,fr", parser.getRequest().languages.get());
    parser.restart();
    EXPECT_STREQ("", parser.getRequest().languages.get());
}

TEST(HttpAuthorization, IsTheFieldAndTheTarget) {
    CHttpParser parser;
    const std::string text =
        "GET http://garden/a?b=c HTTP/1.0\r\nAUTHORIZATION: \tDigest a=\"b\" \r\n\r\n";

    parser.feed(text.data(), static_cast<int>(text.size()));

    EXPECT_EQ(CHttpParser::kComplete, parser.getState());
    EXPECT_STREQ("Digest a=\"b\"", parser.getRequest().authorization.get());
    EXPECT_STREQ("http://garden/a?b=c", parser.getRequest().target.get());
    parser.restart();
    EXPECT_STREQ("", parser.getRequest().authorization.get());
}

TEST(HttpAuthorization, MustNotComeTwice) {
    EXPECT_EQ(found({"GET / keep-alive"}), parseWithField("Authorization: Basic eA=="));
    EXPECT_EQ(found({"error 400"}), parseWithField("Authorization: a\r\nauthorization: a"));
    EXPECT_EQ(found({"error 400"}), parseWithField("Authorization:\r\nAuthorization: a"));
}

TEST(HttpHost, IsNeededOnceByHttp11) {
    EXPECT_EQ(found({"error 400"}), parse("GET / HTTP/1.1\r\n\r\n"));
    EXPECT_EQ(found({"error 400"}), parse("GET / HTTP/1.1\r\nHost: a\r\nHost: a\r\n\r\n"));
    EXPECT_EQ(found({"error 400"}), parse("GET / HTTP/1.0\r\nHost: a\r\nHost: b\r\n\r\n"));
    EXPECT_EQ(found({"GET / keep-alive"}), parse("GET / HTTP/1.1\r\nhOST:\r\n\r\n"));
    EXPECT_EQ(found({"GET / keep-alive"}), parse("GET / HTTP/1.1\r\nHost: [::1]:80 \r\n\r\n"));
}

TEST(HttpHost, HoldsNothingButAHost) {
    for (const char* host : {"a b", "a,b", "a/b", "user@a", "a\tb", "\xc3\xa9"}) {
        EXPECT_EQ(found({"error 400"}), parse("GET / HTTP/1.1\r\nHost: "_s + host + "\r\n\r\n"));
    }
}

TEST(HttpField, NeedsANameAndAColon) {
    for (const char* field : {"Nothing", ": value", "Name : value", " Folded: value", "\tfolded",
                              "Na me: value", "N\xc3\xa4me: value", "\"Name\": value"}) {
        EXPECT_EQ(found({"error 400"}), parseWithField(field)) << field;
    }
}

TEST(HttpField, MayBeAnythingThatIsNotKnown) {
    EXPECT_EQ(found({"GET / keep-alive"}), parseWithField("X-Gr\x75n: \xc3\xbc\t\"()\":,;"));
    EXPECT_EQ(found({"GET / keep-alive"}), parseWithField("Empty:"));
}

TEST(HttpControlBytes, EndTheRequestAtOnce) {
    EXPECT_EQ(found({"error 400"}), parse("GET / HTTP/1.1\r\nHost: a\x00"_s));
    EXPECT_EQ(found({"error 400"}), parse("\x16\x03\x01\x02\x00\x01"_s));
    EXPECT_EQ(found({"error 400"}), parse("GET / HTTP/1.1\r\nA: \x1b[2J"));
    EXPECT_EQ(found({"error 400"}), parse("GET / HTTP/1.1\r\nA: \x7f"));
}

TEST(HttpControlBytes, IncludeACarriageReturnInsideALine) {
    EXPECT_EQ(found({"error 400"}), parseWithField("A: b\rc"));
    EXPECT_EQ(found({"error 400"}), parseWithField("A: b\r"));
    EXPECT_EQ(found({"error 400"}), parse("\rGET / HTTP/1.1\r\n"));
}

TEST(HttpBody, IsSkipped) {
    EXPECT_EQ(found({"POST / keep-alive", "GET /b keep-alive"}),
              parse("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 5\r\n\r\n\0\r\n\r\n"_s +
                    "GET /b HTTP/1.1\r\nHost: h\r\n\r\n"));
}

TEST(HttpBody, IsWaitedFor) {
    EXPECT_EQ(found({"..."}), parse("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 5\r\n\r\n1234"));
}

TEST(HttpBody, MayBeEmpty) {
    EXPECT_EQ(found({"GET / keep-alive"}), parseWithField("Content-Length: 0"));
}

TEST(HttpBody, MayBeAsLargeAsTheLimit) {
    const std::string head = "PUT / HTTP/1.1\r\nHost: h\r\nContent-Length: ";

    EXPECT_EQ(found({"PUT / keep-alive"}), parse(head + "65536\r\n\r\n" + std::string(65536, 'x')));
    EXPECT_EQ(found({"error 413"}), parse(head + "65537\r\n\r\n"));
    EXPECT_EQ(found({"error 413"}), parse(head + "99999999999999999999999999999999\r\n\r\n"));
    EXPECT_EQ(found({"error 413"}), parse(head + "4294967296\r\n\r\n"));
}

TEST(HttpBody, NeedsALengthOfDigits) {
    for (const char* length :
         {"", "-1", "+1", "0x10", "1 2", "1,2", "5, 5", "1.0", "a", "1a", "\xd9\xa1"}) {
        EXPECT_EQ(found({"error 400"}), parseWithField("Content-Length: "_s + length)) << length;
    }
}

TEST(HttpBody, MayTellItsLengthTwiceButNotDifferently) {
    EXPECT_EQ(found({"GET / keep-alive"}),
              parse("GET / HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n"
                    "content-length: 2\r\n\r\nab"));
    EXPECT_EQ(found({"error 400"}), parseWithField("Content-Length: 2\r\nContent-Length: 3"));
    EXPECT_EQ(found({"error 400"}), parseWithField("Content-Length: 0\r\nContent-Length: 3"));
}

TEST(HttpBody, IsNotTakenInChunks) {
    EXPECT_EQ(found({"error 501"}), parseWithField("Transfer-Encoding: chunked"));
    EXPECT_EQ(found({"error 501"}), parseWithField("transfer-encoding: identity"));
    EXPECT_EQ(found({"error 400"}),
              parseWithField("Content-Length: 3\r\nTransfer-Encoding: chunked"));
}

TEST(HttpBody, IsNotAskedFor) {
    EXPECT_EQ(found({"error 417"}), parseWithField("Expect: 100-continue\r\nContent-Length: 3"));
    EXPECT_EQ(found({"GET / keep-alive"}), parseWithField("Expect: 100-continue"));
}

TEST(HttpHead, IsBounded) {
    const std::string start = "GET / HTTP/1.1\r\nHost: h\r\nA: ";
    const std::string end = "\r\n\r\n";
    const size_t room = 8192 - start.size() - end.size();

    EXPECT_EQ(found({"GET / keep-alive"}), parse(start + std::string(room, 'x') + end));
    EXPECT_EQ(found({"error 431"}), parse(start + std::string(room + 1, 'x') + end));
}

TEST(HttpHead, IsBoundedAlsoWithoutAnEndOfLine) {
    EXPECT_EQ(found({"error 431"}), parse(std::string(8193, 'x')));
    EXPECT_EQ(found({"error 431"}), parsePieces(std::vector<std::string>(8193, "x")));
    EXPECT_EQ(found({"..."}), parsePieces(std::vector<std::string>(8192, "x")));
}

TEST(HttpHead, IsBoundedAlsoInManyShortLines) {
    std::string many = "GET / HTTP/1.1\r\nHost: h\r\n";
    for (int i = 0; i < 3000; ++i) {
        many += "A:\r\n";
    }

    EXPECT_EQ(found({"error 431"}), parse(many));
    EXPECT_EQ(found({"error 431"}), parsePieces(std::vector<std::string>(5000, "\r\n")));
}

TEST(HttpHead, HasTheWholeBoundForEachRequest) {
    const std::string request =
        "GET / HTTP/1.1\r\nHost: h\r\nA: " + std::string(5000, 'x') + "\r\n\r\n";

    EXPECT_EQ(found({"GET / keep-alive", "GET / keep-alive"}), parse(request + request));
}

TEST(HttpPipeline, GivesTheRequestsInTurn) {
    EXPECT_EQ(found({"GET /1 keep-alive", "HEAD /2 keep-alive", "GET /3 close", "..."}),
              parse("GET /1 HTTP/1.1\r\nHost: h\r\n\r\n"
                    "HEAD /2 HTTP/1.1\r\nHost: h\r\n\r\n"
                    "GET /3 HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n"
                    "GET /4 HT"));
}

TEST(HttpPipeline, KeepsNothingOfThePastRequest) {
    EXPECT_EQ(found({"POST / close", "error 400"}),
              parse("POST / HTTP/1.1\r\nHost: h\r\nConnection: close\r\nContent-Length: 1\r\n\r\nx"
                    "GET / HTTP/1.1\r\n\r\n"));
}

TEST(HttpParser, TakesNothingMoreAfterAnError) {
    CHttpParser parser;
    ASSERT_EQ(5, parser.feed("bad\r\nGET / HTTP/1.0\r\n\r\n", 23));

    EXPECT_EQ(0, parser.feed("GET / HTTP/1.0\r\n\r\n", 18));
    EXPECT_EQ(CHttpParser::kFailed, parser.getState());
    EXPECT_EQ(400, parser.getError());
}

TEST(HttpParser, KeepsTheFirstOfSeveralErrors) {
    EXPECT_EQ(found({"error 505"}), parse("GET / HTTP/3.0\r\nbad\r\n\r\n"));
}

// Texts in which every kind of byte stands somewhere next to a cut.
const std::vector<std::string>& specimens() {
    static const std::vector<std::string> kTexts = {
        "\r\nGET /a?b HTTP/1.1\r\nHost: h\r\nConnection: keep-alive, x\r\n\r\n"
        "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 4\r\n\r\nab\r\nHEAD / HTTP/1.0\n\n",
        "GET / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: h\r\nA: b\rc\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
        "GET / HTTP/1.1\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: h\r\n folded\r\n\r\n",
    };
    return kTexts;
}

TEST(HttpPieces, MakeNoDifferenceWhereverTheyAreCut) {
    for (const std::string& text : specimens()) {
        const std::vector<std::string> whole = parse(text);
        for (size_t cut = 1; cut < text.size(); ++cut) {
            EXPECT_EQ(whole, parsePieces({text.substr(0, cut), text.substr(cut)})) << cut << text;
        }
    }
}

TEST(HttpPieces, MayBeSingleBytes) {
    for (const std::string& text : specimens()) {
        std::vector<std::string> bytes;
        for (const char byte : text) {
            bytes.emplace_back(1, byte);
        }
        EXPECT_EQ(parse(text), parsePieces(bytes)) << text;
    }
}

// Breaks good requests in all ways of one byte: whatever comes out, it must come out of any cut.
TEST(HttpPieces, MakeNoDifferenceToDamagedRequests) {
    const std::string good = "GET /a HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nxx";
    for (size_t at = 0; at < good.size(); ++at) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string text = good;
            text[at] = static_cast<char>(byte);
            ASSERT_EQ(parse(text), parsePieces({text.substr(0, at), text.substr(at)}))
                << at << " " << byte;
        }
    }
}

std::string writtenAnswer(const HttpAnswer& answer, const char* method, bool keepAlive) {
    CText out;
    writeAnswer(answer, method, keepAlive, out);
    EXPECT_TRUE(out.isWhole());
    return std::string(out.get(), static_cast<size_t>(out.getLength()));
}

TEST(HttpAnswer, HasAStatusAHeadAndABody) {
    HttpAnswer answer;
    answer.body.add("hello");

    const std::string text = writtenAnswer(answer, "GET", true);

    EXPECT_THAT(text, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nContent-Type: text/plain; charset=utf-8\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nContent-Length: 5\r\n"));
    EXPECT_THAT(text, HasSubstr("\r\nConnection: keep-alive\r\n"));
    EXPECT_THAT(text, EndsWith("\r\n\r\nhello"));
}

TEST(HttpAnswer, ToHeadTellsTheLengthButHasNoBody) {
    HttpAnswer answer;
    answer.body.add("hello");

    const std::string text = writtenAnswer(answer, "HEAD", true);

    EXPECT_THAT(text, HasSubstr("\r\nContent-Length: 5\r\n"));
    EXPECT_THAT(text, EndsWith("\r\n\r\n"));
}

TEST(HttpAnswer, SaysWhetherTheConnectionEnds) {
    EXPECT_THAT(writtenAnswer(HttpAnswer(), "GET", false), HasSubstr("\r\nConnection: close\r\n"));
}

TEST(HttpAnswer, SaysItsLanguageAndThatThereAreOthers) {
    HttpAnswer answer;
    EXPECT_THAT(writtenAnswer(answer, "GET", true), Not(HasSubstr("Language")));

    answer.language = "de";

    EXPECT_THAT(writtenAnswer(answer, "GET", true),
                HasSubstr("\r\nContent-Language: de\r\nVary: Accept-Language\r\n"));
}

TEST(HttpAnswer, CarriesADateOnlyWhenTheClockIsSet) {
    zol::CTime::synchronized = 0;
    EXPECT_THAT(writtenAnswer(HttpAnswer(), "GET", true), Not(HasSubstr("Date:")));

    zol::CTime::synchronized = 1;
    EXPECT_THAT(writtenAnswer(HttpAnswer(), "GET", true),
                ::testing::ContainsRegex("\r\nDate: [A-Z][a-z]{2}, [0-9]{2} [A-Z][a-z]{2} "
                                         "[0-9]{4} [0-9:]{8} GMT\r\n"));
    zol::CTime::synchronized = 0;
}

TEST(HttpAnswer, NamesEveryError) {
    for (const int status : {400, 401, 403, 404, 405, 410, 413, 417, 431, 501, 503, 505}) {
        HttpAnswer answer;
        makeError(status, answer);
        EXPECT_THAT(writtenAnswer(answer, "GET", false), Not(HasSubstr("Unknown"))) << status;
    }
}

class GardenSite : public ::testing::Test {
  protected:
    GardenSite() { look(m_garden); }

    HttpAnswer ask(const char* method, const char* path, const char* languages = "") {
        HttpRequest request;
        request.method = method;
        request.path = path;
        HttpAnswer answer;
        request.languages = languages;
        CStatusSite({m_garden, m_plan, m_downloads, m_languages, m_login}).answer(request, answer);
        return answer;
    }

    void askForLogins() {
        zol::CTab<User> users;
        users.append({"Mufasa", "939e7578ed9e3c518a452acee763bce9"});
        m_login.setUsers(users);
    }

    FakeDrivers m_drivers;
    FourZones m_garden{m_drivers.wiring()};
    CWateringPlan m_plan{nullptr};  // is not asked to follow the clock
    CDownloads m_downloads;
    CLanguages m_languages{GARDEND_CATALOGS};
    CDigestLogin m_login{"00112233445566778899aabbccddeeff"};
};

TEST_F(GardenSite, ShowsThePageAtItsRoot) {
    const HttpAnswer answer = ask("GET", "/");

    EXPECT_EQ(200, answer.status);
    EXPECT_STREQ("text/html; charset=utf-8", answer.contentType);
    EXPECT_THAT(answer.body.get(), StartsWith("<!DOCTYPE html>"));
}

TEST_F(GardenSite, LetsBrowsersRunAndFetchNothing) {
    const HttpAnswer answer = ask("GET", "/");

    EXPECT_STREQ("Content-Security-Policy: default-src 'none'; style-src 'unsafe-inline'\r\n",
                 answer.fields.get());
    EXPECT_THAT(writtenAnswer(answer, "GET", true),
                HasSubstr("\r\nX-Content-Type-Options: nosniff\r\n"));
}

TEST_F(GardenSite, ShowsNamesAsTheyAreWhateverTheyAre) {
    zol::CTab<ZoneWish> wishes;
    wishes.append({"<b>\"&'", 0, 200});
    ASSERT_TRUE(m_garden.add(wishes));
    m_garden.keep(wishes);
    look(m_garden);
    Schedule schedule;
    schedule.zone = m_garden.findZone("<b>\"&'");
    schedule.days = kDaily;
    ASSERT_EQ(1, m_plan.add(schedule));

    const std::string page = ask("GET", "/").body.get();
    EXPECT_THAT(page, HasSubstr("<tr><td>&#60;b&#62;&#34;&#38;&#39;</td><td>closed</td>"));
    EXPECT_THAT(page, HasSubstr("<tr><td>&#60;b&#62;&#34;&#38;&#39;</td><td>daily</td>"));
    EXPECT_THAT(page, Not(HasSubstr("<b>")));
    const std::string json = ask("GET", "/status.json").body.get();
    EXPECT_THAT(json, StartsWith("{\"zones\":[{\"name\":\"<b>\\u0022&'\",\"open\":false,"));
    EXPECT_THAT(json, HasSubstr("{\"number\":1,\"zone\":\"<b>\\u0022&'\",\"days\""));
}

TEST_F(GardenSite, AnswersHeadAsGet) {
    EXPECT_STREQ(ask("GET", "/").body.get(), ask("HEAD", "/").body.get());
}

TEST_F(GardenSite, SpeaksTheLanguageOfTheReader) {
    const HttpAnswer german = ask("GET", "/", "de-AT, en;q=0.5");
    EXPECT_STREQ("de", german.language);
    EXPECT_THAT(german.body.get(), HasSubstr("<html lang=\"de\">"));
    EXPECT_THAT(german.body.get(), HasSubstr("<title>Der Garten</title>"));
    EXPECT_THAT(german.body.get(), HasSubstr("<td>geschlossen</td><td><meter max=\"100\" "
                                             "value=\"42.0\"></meter> 42,0\u00a0%</td>"));

    const HttpAnswer french = ask("GET", "/", "fr");
    EXPECT_STREQ("fr", french.language);
    EXPECT_THAT(french.body.get(), HasSubstr("<html lang=\"fr\">"));
    EXPECT_THAT(french.body.get(), HasSubstr("vannes ouvertes\u00a0: 0 sur 4"));

    const HttpAnswer english = ask("GET", "/", "ja");
    EXPECT_STREQ("en", english.language);
    EXPECT_THAT(english.body.get(), HasSubstr("0 of 4 valves open · 0.000 l delivered · "));
}

TEST_F(GardenSite, NamesTheDaysInTheLanguageOfTheReader) {
    Schedule schedule;
    schedule.zone = m_garden.findZone("roses");
    schedule.days = ZOL_MONDAY | ZOL_FRIDAY | ZOL_SUNDAY;
    ASSERT_EQ(1, m_plan.add(schedule));

    EXPECT_THAT(ask("GET", "/").body.get(), HasSubstr("<td>mon,fri,sun</td>"));
    EXPECT_THAT(ask("GET", "/", "de").body.get(), HasSubstr("<td>Mo, Fr, So</td>"));
    EXPECT_THAT(ask("GET", "/", "fr").body.get(), HasSubstr("<td>lun., ven., dim.</td>"));

    schedule.days = kDaily;
    ASSERT_EQ(2, m_plan.add(schedule));
    EXPECT_THAT(ask("GET", "/").body.get(), HasSubstr("<td>daily</td>"));
    EXPECT_THAT(ask("GET", "/", "de").body.get(), HasSubstr("<td>täglich</td>"));
}

TEST_F(GardenSite, SpeaksJsonToPrograms) {
    const HttpAnswer answer = ask("GET", "/status.json");

    EXPECT_STREQ("application/json", answer.contentType);
    EXPECT_EQ(nullptr, answer.language);
    EXPECT_THAT(answer.body.get(), StartsWith("{\"zones\":[{\"name\":\"lawn\",\"open\":false,"
                                              "\"secondsLeft\":0,\"moisturePercent\":42.0,"));
}

TEST_F(GardenSite, KnowsNothingElse) {
    EXPECT_EQ(404, ask("GET", "/index.html").status);
    EXPECT_EQ(404, ask("GET", "//").status);
    EXPECT_EQ(404, ask("OPTIONS", "*").status);
}

TEST_F(GardenSite, IsOnlyForWhoMayLogIn) {
    askForLogins();

    for (const char* path : {"/", "/status.json"}) {
        for (const char* method : {"GET", "HEAD", "POST", "BREW"}) {
            const HttpAnswer answer = ask(method, path);
            EXPECT_EQ(401, answer.status) << method << path;
            EXPECT_THAT(answer.fields.get(), StartsWith("WWW-Authenticate: Digest ")) << method;
            EXPECT_STREQ("401 Unauthorized\n", answer.body.get());
        }
    }
}

TEST_F(GardenSite, AsksForNoLoginWhereThereIsNothing) {
    askForLogins();

    EXPECT_EQ(404, ask("GET", "/favicon.ico").status);
    EXPECT_EQ(404, ask("GET", "/log/").status);
}

TEST_F(GardenSite, LinksToTheLogsWithFreshAddresses) {
    const TempDir folder;
    std::ofstream(folder.file("moisture.log")) << "roses 31.0\n";
    EXPECT_THAT(ask("GET", "/").body.get(), Not(HasSubstr("<h2>Logs</h2>")));

    m_downloads.configure("key", 10, folder.path().c_str());
    const std::string page = ask("GET", "/").body.get();

    EXPECT_THAT(page, HasSubstr("<h2>Logs</h2>\n<ul>\n<li><a href=\"/log/"));
    EXPECT_THAT(page, HasSubstr("/moisture.log\">moisture.log</a></li>\n</ul>"));
    const size_t begin = page.find("/log/");
    const std::string address = page.substr(begin, page.find('"', begin) - begin);
    askForLogins();
    EXPECT_STREQ("roses 31.0\n", ask("GET", address.c_str()).body.get());
    EXPECT_EQ(405, ask("POST", address.c_str()).status);
}

TEST_F(GardenSite, ShowsTheDisplay) {
    EXPECT_THAT(ask("GET", "/", "fr").body.get(),
                HasSubstr("<pre>vannes fermees\nheure non reglee</pre>"));
}

TEST_F(GardenSite, CannotBeChanged) {
    const HttpAnswer answer = ask("POST", "/");

    EXPECT_EQ(405, answer.status);
    EXPECT_STREQ("Allow: GET, HEAD\r\n", answer.fields.get());
}

}  // namespace

}  // namespace gardend
