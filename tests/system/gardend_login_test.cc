// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Who is let in to gardend's status page, and what clients may say of themselves.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/random.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <unistd.h>
#include <vector>

#include "zol/digest.h"

#include "digest_credentials.h"
#include "digest_login.h"
#include "secret.h"

namespace {

bool hasRandomBytes = true;

}  // namespace

// Instead of the system's: so that there may be no random bytes.
ssize_t getrandom(void* buffer, size_t size, unsigned flags) {
    return hasRandomBytes ? syscall(SYS_getrandom, buffer, size, flags) : -1;
}

namespace gardend {

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// The example of RFC 2617, section 3.5.
constexpr char kMufasa[] =
    "Digest username=\"Mufasa\", realm=\"testrealm@host.com\", "
    "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", uri=\"/dir/index.html\", qop=auth, "
    "nc=00000001, cnonce=\"0a4f113b\", response=\"6629fae49393a05397450978507c4ef1\", "
    "opaque=\"5ccc069c403ebaf9f0171e9517f40e41\"";

// Everything that is needed, and some more parameters.
std::string withMore(const std::string& more) {
    return "Digest username=\"a\",realm=\"b\",nonce=\"c\",uri=\"/\",response=\"d\"" + more;
}

int read(const std::string& field) {
    DigestCredentials credentials;
    return readCredentials(field.c_str(), credentials);
}

// A user name as it stands in the field, quotes included. @return what it means
std::string username(const std::string& value) {
    DigestCredentials credentials;
    const std::string field = "Digest username=" + value + ",realm=b,nonce=c,uri=\"/\",response=d";
    const int status = readCredentials(field.c_str(), credentials);
    return status == 0 ? credentials[DigestCredentials::kUsername].get() : std::to_string(status);
}

TEST(DigestCredentials, AreTheParametersOfTheField) {
    DigestCredentials credentials;

    ASSERT_EQ(0, readCredentials(kMufasa, credentials));

    EXPECT_STREQ("Mufasa", credentials[DigestCredentials::kUsername].get());
    EXPECT_STREQ("testrealm@host.com", credentials[DigestCredentials::kRealm].get());
    EXPECT_STREQ("dcd98b7102dd2f0e8b11d0f600bfb0c093",
                 credentials[DigestCredentials::kNonce].get());
    EXPECT_STREQ("/dir/index.html", credentials[DigestCredentials::kUri].get());
    EXPECT_STREQ("6629fae49393a05397450978507c4ef1",
                 credentials[DigestCredentials::kResponse].get());
    EXPECT_STREQ("0a4f113b", credentials[DigestCredentials::kCnonce].get());
    EXPECT_EQ(1U, credentials.count);
}

TEST(DigestCredentials, MayComeInAnyOrderWithBlanksAndEmptyParts) {
    EXPECT_EQ(0, read("digest ,, URI = \"/\" ,\tresponse=d,nonce=\"c\" , ,realm=b,Username=a,"));
}

TEST(DigestCredentials, ThatAreUnknownAreSkipped) {
    EXPECT_EQ(0, read(withMore(",opaque=\"x,y\",opaque=z,userhash=false,charset=UTF-8,x=\"\"")));
}

TEST(DigestCredentials, InQuotesMayBeEscaped) {
    EXPECT_EQ("a\"b\\c,d=e", username("\"a\\\"b\\\\\\c,d=e\""));
    EXPECT_EQ("J\xc3\xb6rg", username("\"J\xc3\xb6rg\""));
    EXPECT_EQ("", username("\"\""));
}

TEST(DigestCredentials, AreTokensOrInQuotes) {
    EXPECT_EQ("a-b", username("a-b"));
    for (const char* value : {"", "a b", "a/b", "J\xc3\xb6rg", "\"a", "\"a\\", "\"a\\\"", "\"a\"b",
                              "\"a\" b", "'a b'", "a\"b\"", "=a", "\""}) {
        EXPECT_EQ("400", username(value)) << value;
    }
}

TEST(DigestCredentials, NeedNamesAndValues) {
    for (const char* more : {",x", ",x=", ",=x", ",x y=z", ",x=y z", ",\"x\"=y", ";x=y", " x=y",
                             ",x==y", ",x=y=z", ",x:y"}) {
        EXPECT_EQ(400, read(withMore(more))) << more;
    }
}

TEST(DigestCredentials, MustNotEndInQuotes) {
    for (const char* more :
         {",x=\"", ",x=\"a", ",x=\"\\", ",x=\"a\\\"", ",x=\"a\\\\", ",cnonce=\"\\"}) {
        EXPECT_EQ(400, read(withMore(more))) << more;
    }
}

TEST(DigestCredentials, MustBeThereOnce) {
    for (const char* name : {"username", "realm", "nonce", "uri", "response"}) {
        EXPECT_EQ(400, read(withMore("," + std::string(name) + "=x"))) << name;
        std::string without = withMore("");
        without.replace(without.find(name), 1, "x");
        EXPECT_EQ(400, read(without)) << name;
    }
    EXPECT_EQ(400, read("Digest"));
    EXPECT_EQ(400, read("Digest "));
}

TEST(DigestCredentials, NameTheUserPlainly) {
    std::string field = withMore("");
    field.replace(field.find("username=\"a\""), 12, "username*=UTF-8''a");
    EXPECT_EQ(400, read(field));
}

TEST(DigestCredentials, WithQopNeedACountAndANonceOfTheClient) {
    EXPECT_EQ(0, read(withMore(",qop=auth,nc=00000001,cnonce=\"\"")));
    EXPECT_EQ(0, read(withMore(",qop=\"auth\",nc=\"fFfFfFfF\",cnonce=x")));
    for (const char* more : {",qop=auth", ",qop=auth,nc=00000001", ",qop=auth,cnonce=x",
                             ",qop=auth,nc=1,cnonce=x", ",qop=auth,nc=00000000,cnonce=x",
                             ",qop=auth,nc=000000001,cnonce=x", ",qop=auth,nc=0000000g,cnonce=x",
                             ",qop=auth,nc=+0000001,cnonce=x", ",qop=auth,nc=0x000001,cnonce=x",
                             ",qop=auth,nc=\" 0000001\",cnonce=x", ",qop=auth,nc=\"\",cnonce=x"}) {
        EXPECT_EQ(400, read(withMore(more))) << more;
    }
}

TEST(DigestCredentials, ChooseNothingThatWasNotOffered) {
    for (const char* qop : {"\"\"", "auth-int", "\"auth,auth-int\"", "AUTH", "\"auth \""}) {
        EXPECT_EQ(400, read(withMore(",nc=00000001,cnonce=x,qop=" + std::string(qop)))) << qop;
    }
    EXPECT_EQ(0, read(withMore(",algorithm=MD5")));
    EXPECT_EQ(0, read(withMore(",algorithm=\"md5\"")));
    for (const char* algorithm : {"\"\"", "MD5-sess", "SHA-256", "SHA-512-256", "MD", "MD55"}) {
        EXPECT_EQ(400, read(withMore(",algorithm=" + std::string(algorithm)))) << algorithm;
    }
}

TEST(DigestCredentials, OfAnotherSchemeAreNone) {
    for (const char* field : {"", "Basic dXNlcjpwdw==", "DigestX a=b", "Diges", " Digest a=b",
                              "Digest=", "\"Digest\" a=b"}) {
        EXPECT_EQ(field == std::string("Digest=") ? 400 : 401, read(field)) << field;
    }
}

TEST(DigestResponse, IsThatOfTheExample) {
    DigestCredentials credentials;
    ASSERT_EQ(0, readCredentials(kMufasa, credentials));
    const zol::CStr ha1 = generateHa1("Mufasa", "testrealm@host.com", "Circle Of Life");

    EXPECT_STREQ("6629fae49393a05397450978507c4ef1", makeResponse(credentials, "GET", ha1).get());
    EXPECT_STRNE("6629fae49393a05397450978507c4ef1", makeResponse(credentials, "HEAD", ha1).get());
}

// The same without qop, nc and cnonce: what RFC 2069 asks for.
TEST(DigestResponse, WithoutQopIsThatOfOldClients) {
    DigestCredentials credentials;
    ASSERT_EQ(0, readCredentials("Digest username=\"Mufasa\", realm=\"testrealm@host.com\", "
                                 "nonce=\"dcd98b7102dd2f0e8b11d0f600bfb0c093\", "
                                 "uri=\"/dir/index.html\", response=x",
                                 credentials));
    const zol::CStr ha1 = generateHa1("Mufasa", "testrealm@host.com", "Circle Of Life");

    EXPECT_STREQ("670fd8c2df070c60b045671b8b24ff02", makeResponse(credentials, "GET", ha1).get());
}

TEST(DigestResponse, IsNotMadeOfAnythingLessThanADigest) {
    DigestCredentials credentials;
    ASSERT_EQ(0, readCredentials(kMufasa, credentials));

    EXPECT_TRUE(makeResponse(credentials, "GET", "").isEmpty());
    EXPECT_TRUE(makeResponse(credentials, "GET", "939e7578ed9e3c518a452acee763bce").isEmpty());
}

TEST(SameDigest, IsTheSameWhole) {
    const zol::CStr digest("6629fae49393a05397450978507c4ef1");
    EXPECT_TRUE(isSameDigest(digest, "6629fae49393a05397450978507c4ef1"));
    EXPECT_FALSE(isSameDigest(digest, "6629fae49393a05397450978507c4ef2"));
    EXPECT_FALSE(isSameDigest(digest, "7629fae49393a05397450978507c4ef1"));
    EXPECT_FALSE(isSameDigest(digest, "6629FAE49393A05397450978507C4EF1"));
}

TEST(SameDigest, IsNothingThatIsNoDigest) {
    EXPECT_FALSE(isSameDigest("", ""));
    EXPECT_FALSE(isSameDigest("abc", "abc"));
    EXPECT_FALSE(
        isSameDigest("6629fae49393a05397450978507c4ef11", "6629fae49393a05397450978507c4ef11"));
}

TEST(SameDigest, IsNothingOfWhichOneIsTooShort) {
    const zol::CStr digest("6629fae49393a05397450978507c4ef1");
    EXPECT_FALSE(isSameDigest(digest, "6629fae49393a05397450978507c4ef"));
    EXPECT_FALSE(isSameDigest("6629fae49393a05397450978507c4ef", digest));
    EXPECT_FALSE(isSameDigest(digest, ""));
    EXPECT_FALSE(isSameDigest("", digest));
}

TEST(Digest, HasThirtyTwoDigits) {
    EXPECT_TRUE(isDigest("6629fae49393a05397450978507c4ef1"));
    EXPECT_FALSE(isDigest("6629fae49393a05397450978507c4ef"));
    EXPECT_FALSE(isDigest("6629fae49393a05397450978507c4ef11"));
    EXPECT_FALSE(isDigest("6629fae49393a05397450978507c4efg"));
}

/** What is logged meanwhile. */
class Log {
  public:
    Log() {
        openlog("test", LOG_PERROR, LOG_DAEMON);
        ::testing::internal::CaptureStderr();
    }
    ~Log() {
        (void)::testing::internal::GetCapturedStderr();
        closelog();
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    /** @return the lines since the last time */
    std::string take() {
        const std::string lines = ::testing::internal::GetCapturedStderr();
        ::testing::internal::CaptureStderr();
        return lines;
    }
};

TEST(Secret, IsDifferentEachTime) {
    EXPECT_TRUE(isDigest(makeSecret()));
    EXPECT_STRNE(makeSecret().get(), makeSecret().get());
}

TEST(Secret, ThatCannotBeMadeIsLogged) {
    Log log;
    hasRandomBytes = false;
    EXPECT_TRUE(makeSecret().isEmpty());
    hasRandomBytes = true;

    EXPECT_EQ("test: no secret is to be had: nobody can log in\n", log.take());
}

constexpr zol::CTime seconds(int count) {
    return zol::CTime(count * int64_t{1000000});
}

// What a client says: right, unless something is changed.
struct Reply {
    std::string user = "Mufasa";
    std::string realm = "gardend";
    std::string password = "Circle Of Life";
    std::string uri = "/";
    std::string nc = "00000001";  // empty: without qop
};

class Login : public ::testing::Test {
  protected:
    Login() {
        zol::CTab<User> users;
        users.append({"Simba", generateHa1("Simba", "gardend", "Hakuna Matata")});
        users.append({"Mufasa", generateHa1("Mufasa", "gardend", "Circle Of Life")});
        m_login.setUsers(users);
    }

    // Asks, and remembers the field that asks for a login.
    int ask(const std::string& authorization, const char* target = "/",
            const char* method = "GET") {
        HttpRequest request;
        request.method = method;
        request.target = target;
        request.authorization = authorization.c_str();
        CText fields;
        const int status = m_login.check(request, m_now, fields);
        m_challenge = fields.get();
        return status;
    }

    // Asks for a nonce.
    std::string nonce() {
        EXPECT_EQ(401, ask(""));
        const size_t begin = m_challenge.find("nonce=\"") + 7;
        return m_challenge.substr(begin, m_challenge.find('"', begin) - begin);
    }

    bool isStale() const { return m_challenge.find(", stale=true\r\n") != std::string::npos; }

    std::string say(const std::string& nonce, const Reply& reply = Reply()) {
        const std::string count = ",qop=auth,nc=" + reply.nc + ",cnonce=\"0a4f113b\"";
        const std::string start = "Digest username=\"" + reply.user + "\",realm=\"" + reply.realm +
                                  "\",nonce=\"" + nonce + "\",uri=\"" + reply.uri + "\"" +
                                  (reply.nc.empty() ? "" : count);
        DigestCredentials credentials;
        (void)readCredentials((start + ",response=x").c_str(), credentials);
        const zol::CStr ha1 =
            generateHa1(reply.user.c_str(), reply.realm.c_str(), reply.password.c_str());
        return start + ",response=\"" + makeResponse(credentials, "GET", ha1).get() + "\"";
    }

    CDigestLogin m_login{"00112233445566778899aabbccddeeff"};
    zol::CTime m_now = seconds(1000);
    std::string m_challenge;
};

TEST_F(Login, IsAskedForWithAFreshNonce) {
    EXPECT_EQ(401, ask(""));

    EXPECT_THAT(m_challenge, StartsWith("WWW-Authenticate: Digest realm=\"gardend\", nonce=\""));
    EXPECT_THAT(m_challenge, ::testing::EndsWith("\", qop=\"auth\", algorithm=MD5\r\n"));
    EXPECT_NE(nonce(), nonce());
}

TEST_F(Login, IsNotAskedForWithoutUsers) {
    m_login.setUsers(zol::CTab<User>());

    EXPECT_EQ(0, ask(""));
    EXPECT_EQ(0, ask("Digest nonsense"));
    EXPECT_EQ("", m_challenge);
}

TEST_F(Login, LetsInWhoKnowsThePassword) {
    EXPECT_EQ(0, ask(say(nonce())));
    EXPECT_EQ("", m_challenge);

    Reply simba;
    simba.user = "Simba";
    simba.password = "Hakuna Matata";
    EXPECT_EQ(0, ask(say(nonce(), simba)));
}

TEST_F(Login, LetsInWhoDoesNotCount) {
    Reply old;
    old.nc = "";
    EXPECT_EQ(0, ask(say(nonce(), old)));
}

TEST_F(Login, RefusesEverybodyElse) {
    Reply wrong[5];
    wrong[0].password = "circle of life";
    wrong[1].user = "Scar";
    wrong[2].user = "Simba";  // with the password of another one
    wrong[3].realm = "pride rock";
    wrong[4].user = "";
    for (Reply reply : wrong) {
        EXPECT_EQ(401, ask(say(nonce(), reply))) << reply.user;
        EXPECT_FALSE(isStale());
        reply.nc = "";
        EXPECT_EQ(401, ask(say(nonce(), reply))) << reply.user;
        EXPECT_FALSE(isStale());
    }
}

// An unknown user is compared with an HA1 that everybody can read in the sources.
TEST_F(Login, RefusesNobody) {
    const std::string start = "Digest username=\"Scar\",realm=\"gardend\",nonce=\"" + nonce() +
                              "\",uri=\"/\",response=\"";
    DigestCredentials credentials;
    ASSERT_EQ(0, readCredentials((start + "\"").c_str(), credentials));
    const zol::CStr response = makeResponse(credentials, "GET", "00000000000000000000000000000000");

    EXPECT_EQ(401, ask(start + response.get() + "\""));
    EXPECT_FALSE(isStale());
}

TEST_F(Login, RefusesWhoMeansToLogInElsewhere) {
    std::string said = say(nonce());
    said.replace(said.find("\"gardend\""), 9, "\"garden\"");  // is no part of the response

    EXPECT_EQ(401, ask(said));
    EXPECT_FALSE(isStale());
}

TEST_F(Login, RefusesAnotherScheme) {
    EXPECT_EQ(401, ask("Basic TXVmYXNhOkNpcmNsZSBPZiBMaWZl"));
    EXPECT_FALSE(isStale());
}

TEST_F(Login, RefusesWhatIsMalformed) {
    EXPECT_EQ(400, ask("Digest username=\"Mufasa"));
    EXPECT_EQ("", m_challenge);
}

TEST_F(Login, IsForTheTargetOfTheRequest) {
    Reply query;
    query.uri = "/?a=b";
    EXPECT_EQ(0, ask(say(nonce(), query), "/?a=b"));

    EXPECT_EQ(400, ask(say(nonce(), query), "/?a=c"));
    EXPECT_EQ(400, ask(say(nonce(), query), "/"));
    EXPECT_EQ(400, ask(say(nonce()), "/status.json"));
}

TEST_F(Login, IsForTheMethodOfTheRequest) {
    EXPECT_EQ(401, ask(say(nonce()), "/", "POST"));
    EXPECT_FALSE(isStale());
}

TEST_F(Login, ChangesWithTheUsers) {
    zol::CTab<User> users;
    users.append({"Simba", generateHa1("Simba", "gardend", "Hakuna Matata")});
    m_login.setUsers(users);

    EXPECT_EQ(401, ask(say(nonce())));
    EXPECT_FALSE(isStale());
}

TEST_F(Login, WithoutASecretIsImpossible) {
    CDigestLogin login("");
    zol::CTab<User> users;
    users.append({"Mufasa", generateHa1("Mufasa", "gardend", "Circle Of Life")});
    login.setUsers(users);
    CText fields;

    EXPECT_EQ(503, login.check(HttpRequest(), m_now, fields));
}

TEST_F(Login, CountsUpwards) {
    const std::string nonce = this->nonce();
    Reply reply;
    for (const char* nc : {"00000001", "00000002", "0000000a", "fffffffe"}) {
        reply.nc = nc;
        EXPECT_EQ(0, ask(say(nonce, reply))) << nc;
    }
    for (const char* nc : {"fffffffe", "00000002", "00000003"}) {
        reply.nc = nc;
        EXPECT_EQ(401, ask(say(nonce, reply))) << nc;
        EXPECT_TRUE(isStale()) << nc;
    }
}

TEST_F(Login, WithoutACountIsGoodOnce) {
    const std::string nonce = this->nonce();
    Reply old;
    old.nc = "";
    EXPECT_EQ(0, ask(say(nonce, old)));

    EXPECT_EQ(401, ask(say(nonce, old)));
    EXPECT_TRUE(isStale());
    Reply counting;
    counting.nc = "00000002";
    EXPECT_EQ(401, ask(say(nonce, counting)));
    EXPECT_TRUE(isStale());
}

TEST_F(Login, IsNotUsedUpByAWrongPassword) {
    const std::string nonce = this->nonce();
    Reply wrong;
    wrong.password = "wrong";
    EXPECT_EQ(401, ask(say(nonce, wrong)));

    EXPECT_EQ(0, ask(say(nonce)));
}

TEST_F(Login, IsStaleAfterFiveMinutes) {
    const std::string nonce = this->nonce();
    Reply reply;
    m_now = seconds(1300);
    EXPECT_EQ(0, ask(say(nonce, reply)));

    m_now = zol::CTime(1300000001);
    reply.nc = "00000002";
    EXPECT_EQ(401, ask(say(nonce, reply)));

    EXPECT_TRUE(isStale());
    EXPECT_EQ(0, ask(say(this->nonce())));
}

TEST_F(Login, IsStaleWithANonceOfSomebodyElse) {
    const std::string ours = nonce();
    std::string damaged = ours;
    damaged[15] = damaged[15] == '0' ? '1' : '0';
    std::string cut = ours.substr(1);
    for (const std::string& nonce :
         {damaged, cut, ours + "0", "0" + ours, ours.substr(0, 20), ours.substr(0, 31),
          std::string("1"), std::string(), std::string("dcd98b7102dd2f0e8b11d0f600bfb0c093")}) {
        EXPECT_EQ(401, ask(say(nonce))) << nonce;
        EXPECT_TRUE(isStale()) << nonce;
    }
    Reply wrong;
    wrong.password = "wrong";
    EXPECT_EQ(401, ask(say(damaged, wrong)));
    EXPECT_FALSE(isStale());
}

TEST_F(Login, IsStaleAfterARestart) {
    const std::string nonce = this->nonce();
    m_login = CDigestLogin("ffeeddccbbaa99887766554433221100");
    zol::CTab<User> users;
    users.append({"Mufasa", generateHa1("Mufasa", "gardend", "Circle Of Life")});
    m_login.setUsers(users);

    EXPECT_EQ(401, ask(say(nonce)));
    EXPECT_TRUE(isStale());
}

TEST_F(Login, StaysWhoeverAsksForThousandsOfNonces) {
    const std::string used = nonce();
    const std::string unused = nonce();
    EXPECT_EQ(0, ask(say(used)));
    for (int i = 0; i < 10000; ++i) {
        (void)nonce();
    }

    Reply next;
    next.nc = "00000002";
    EXPECT_EQ(0, ask(say(used, next)));
    EXPECT_EQ(0, ask(say(unused)));
}

TEST_F(Login, IsStaleForTheOldestOfTooMany) {
    std::vector<std::string> nonces;
    for (int i = 0; i < CDigestLogin::kMostUsed + 1; ++i) {
        nonces.push_back(nonce());
        m_now += seconds(1);
    }
    for (const std::string& nonce : nonces) {
        EXPECT_EQ(0, ask(say(nonce)));
    }

    EXPECT_EQ(401, ask(say(nonces[0])));  // a replay, too
    EXPECT_TRUE(isStale());
    Reply next;
    next.nc = "00000002";
    EXPECT_EQ(401, ask(say(nonces[0], next)));
    EXPECT_TRUE(isStale());
    EXPECT_EQ(0, ask(say(nonces[1], next)));
}

TEST_F(Login, NeverTakesAReplayHoweverOldItsNonce) {
    const std::string old = nonce();
    EXPECT_EQ(0, ask(say(old)));
    for (int i = 0; i < 3 * CDigestLogin::kMostUsed; ++i) {
        m_now += seconds(1);
        EXPECT_EQ(0, ask(say(nonce())));
        EXPECT_EQ(401, ask(say(old)));
    }
}

class WrongLogin : public Login {
  protected:
    WrongLogin() { m_wrong.password = "wrong"; }

    int guess() { return ask(say(nonce(), m_wrong)); }

    Reply m_wrong;
};

TEST_F(WrongLogin, IsLoggedOnceAMinute) {
    Log log;
    (void)guess();
    EXPECT_EQ("test: wrong logins: 1, the last one as \"Mufasa\"\n", log.take());

    m_now = seconds(1059);
    (void)guess();
    m_wrong.user = "Scar";
    (void)guess();
    EXPECT_EQ("", log.take());

    m_now = seconds(1060);
    (void)nonce();  // anybody's request
    EXPECT_EQ("test: wrong logins: 2, the last one as \"Scar\"\n", log.take());
}

TEST_F(WrongLogin, IsNotLoggedOfWhoIsRightOrSaysNothing) {
    Log log;
    EXPECT_EQ(0, ask(say(nonce())));
    EXPECT_EQ(401, ask(say("1")));  // stale

    EXPECT_EQ("", log.take());
}

TEST(WrongLogins, AreLoggedWithANameThatIsShortAndPrintable) {
    Log log;
    CWrongLogins wrong;
    wrong.add("a\nb\"\xff\x7f 0123456789 0123456789 0123456789", seconds(1));

    EXPECT_EQ("test: wrong logins: 1, the last one as \"a?b??? 0123456789 0123456789 012\"\n",
              log.take());
}

TEST_F(WrongLogin, HasToWaitAfterSixtyInAMinute) {
    for (int i = 0; i < 60; ++i) {
        EXPECT_EQ(401, guess());
    }
    m_now = seconds(1010);
    EXPECT_EQ(503, guess());
    EXPECT_EQ("Retry-After: 50\r\n", m_challenge);
    EXPECT_EQ(503, ask(say(nonce())));  // a good guess is not told either

    m_now = seconds(1060);
    EXPECT_EQ(401, guess());
    EXPECT_EQ(0, ask(say(nonce())));
}

TEST_F(WrongLogin, DisturbsNobodyWhoIsLoggedIn) {
    const std::string nonce = this->nonce();
    EXPECT_EQ(0, ask(say(nonce)));
    for (int i = 0; i < 100; ++i) {
        (void)guess();
    }
    Reply next;
    next.nc = "00000002";
    EXPECT_EQ(0, ask(say(nonce, next)));

    next.password = "wrong";
    EXPECT_EQ(503, ask(say(nonce, next)));
}

}  // namespace

}  // namespace gardend
