// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Parts of gardend with each of their allocations failing in turn.

#include <fstream>
#include <gtest/gtest.h>
#include <string.h>
#include <string>
#include <time.h>

#include "zol/digest.h"

#include "digest_login.h"
#include "display.h"
#include "downloads.h"
#include "gardend_drivers.h"
#include "http_parser.h"
#include "status_page.h"
#include "support/alloc_faults.h"
#include "support/temp_dir.h"
#include "watering_plan.h"

namespace {

using gardend::CHttpParser;

constexpr char kRequest[] =
    "POST http://garden/?a=b HTTP/1.1\r\nHost: garden\r\nConnection: close\r\n"
    "Accept-Language: de\r\nAccept-Language: en\r\nAuthorization: Digest a\r\n"
    "Content-Length: 39\r\n\r\n";
constexpr char kBody[] = "GET /smuggled HTTP/1.1\r\nHost: garden\r\n\r\n";

TEST(HttpParserFaults, EndWith503OrWithTheRequestAsItWasMeant) {
    ASSERT_EQ(40U, strlen(kBody));
    forEachFailingAllocation([] {
        CHttpParser parser;
        char bytes[400];
        strcpy(bytes, kRequest);
        strcat(bytes, kBody);
        const int size = static_cast<int>(strlen(bytes));

        const int taken = parser.feed(bytes, size);

        if (parser.getState() == CHttpParser::kFailed) {
            EXPECT_EQ(503, parser.getError());
            EXPECT_TRUE(AllocFaults::hasFailed());
        } else {
            ASSERT_EQ(CHttpParser::kComplete, parser.getState());
            EXPECT_EQ(size - 1, taken);  // the last byte is behind the body
            EXPECT_STREQ("POST", parser.getRequest().method.get());
            EXPECT_STREQ("/", parser.getRequest().path.get());
            EXPECT_STREQ(",de,en", parser.getRequest().languages.get());
            EXPECT_STREQ("Digest a", parser.getRequest().authorization.get());
            EXPECT_FALSE(parser.getRequest().keepAlive);
        }
    });
}

// The nonce of an answer that asks for a login.
std::string nonceOf(const char* fields) {
    const char* const nonce = strstr(fields, "nonce=\"") + 7;
    return std::string(nonce, strcspn(nonce, "\""));
}

class LoginFaults : public ::testing::Test {
  protected:
    LoginFaults() {
        m_users.append({"Mufasa", generateHa1("Mufasa", "gardend", "Circle Of Life")});
        gardend::CDigestLogin login(m_secret);
        login.setUsers(m_users);
        gardend::CText fields;
        EXPECT_EQ(401, login.check(m_request, m_now, fields));
        m_nonce = nonceOf(fields.get());
        m_start = "Digest username=\"Mufasa\", realm=\"gardend\", nonce=\"" + m_nonce +
                  "\", uri=\"/\", qop=auth, nc=00000001, cnonce=\"0a4f113b\", response=\"";
        m_request.method = "GET";
        m_request.target = "/";
    }

    // Logs in with a password, the nonce being from an earlier run with the same secret.
    void logInWith(const char* password, const std::function<void(int, bool)>& check) {
        gardend::DigestCredentials credentials;
        ASSERT_EQ(0, gardend::readCredentials((m_start + "\"").c_str(), credentials));
        const zol::CStr ha1 = generateHa1("Mufasa", "gardend", password);
        const zol::CStr response = gardend::makeResponse(credentials, "GET", ha1);
        m_request.authorization = (m_start + response.get() + "\"").c_str();
        forEachFailingAllocation([&] {
            gardend::CDigestLogin login(m_secret);
            login.setUsers(m_users);
            gardend::CText fields;
            const int status = login.check(m_request, m_now, fields);
            check(status, strstr(fields.get(), "stale=true") != nullptr);
            EXPECT_TRUE(AllocFaults::hasFailed() || status != 503);
        });
    }

    const zol::CStr m_secret{"00112233445566778899aabbccddeeff"};
    zol::CTab<gardend::User> m_users;
    const zol::CTime m_now{1000000};
    gardend::HttpRequest m_request;
    std::string m_nonce;
    std::string m_start;  // of what is said to it, up to the response
};

TEST_F(LoginFaults, NeverLetInWhoDoesNotKnowThePassword) {
    logInWith("wrong", [](int status, bool isStale) {
        EXPECT_TRUE((status == 401 && !isStale) || status == 503) << status;
    });
}

// With a nonce that is stale a client tries again, and does not ask its user.
TEST_F(LoginFaults, LetInWhoKnowsThePasswordOrNobody) {
    logInWith("Circle Of Life", [](int status, bool isStale) {
        EXPECT_TRUE(status == 0 || (status == 401 && isStale) || status == 503) << status;
        EXPECT_TRUE(status == 0 || AllocFaults::hasFailed());
    });
}

// As they would be of what is left of the parts when there is no memory for them.
TEST_F(LoginFaults, NeverLetInWithADigestOfNothing) {
    const zol::CStr ha2 = md5Encode("GET:/");
    for (const zol::CStr& response :
         {md5Encode(""), generateAuthKey("", m_nonce.c_str(), "00000001:0a4f113b:auth", ha2),
          generateAuthKey("", "", "", ""), generateAuthKey("", m_nonce.c_str(), "", ha2)}) {
        m_request.authorization = (m_start + response.get() + "\"").c_str();
        forEachFailingAllocation([&] {
            gardend::CDigestLogin login(m_secret);
            login.setUsers(m_users);
            gardend::CText fields;
            EXPECT_NE(0, login.check(m_request, m_now, fields));
        });
    }
}

TEST(DownloadFaults, ServeTheWholeFileOrNone) {
    const TempDir folder;
    std::ofstream(folder.file("moisture.log")) << "roses 31.0\n";
    gardend::CDownloads downloads;
    downloads.configure("key", 10, folder.path().c_str());
    const zol::CStr address = downloads.makeAddress("moisture.log");
    std::string other = address.get();
    other[5] = other[5] == '0' ? '1' : '0';
    const zol::CStr wrong(other.c_str());
    const time_t now = time(nullptr);
    forEachFailingAllocation([&] {
        gardend::HttpAnswer answer;

        downloads.answer(address, now, answer);

        if (answer.body.isWhole() && answer.status == 200) {
            EXPECT_STREQ("roses 31.0\n", answer.body.get());
        } else {
            EXPECT_TRUE(AllocFaults::hasFailed());
            EXPECT_TRUE(answer.status == 503 || answer.status == 200) << answer.status;
        }
    });
    forEachFailingAllocation([&] {
        gardend::HttpAnswer answer;

        downloads.answer(wrong, now, answer);

        EXPECT_TRUE(answer.status == 403 || answer.status == 503) << answer.status;
    });
}

TEST(DownloadFaults, ListFewerFilesButNoOthers) {
    const TempDir folder;
    std::ofstream(folder.file("moisture.log")) << "roses 31.0\n";
    std::ofstream(folder.file("valves.log")) << "roses open\n";
    gardend::CDownloads downloads;
    downloads.configure("key", 10, folder.path().c_str());
    forEachFailingAllocation([&] {
        const zol::CTab<zol::CStr> names = downloads.list();

        EXPECT_TRUE(names.getCount() == 2 || AllocFaults::hasFailed());
        for (const zol::CStr& name : names) {
            EXPECT_TRUE(name == "moisture.log" || name == "valves.log") << name.get();
        }
    });
}

TEST(DisplayFaults, LeaveLinesOfAscii) {
    gardend::CText text;
    text.add("été à Noël");
    forEachFailingAllocation([&] {
        char line[gardend::Display::kColumns + 1];

        gardend::writeDisplayLine(text, line);

        for (const char* c = line; *c != '\0'; ++c) {
            EXPECT_TRUE(*c >= ' ' && *c <= '~') << line;
        }
    });
}

// A text that cannot be read is said in English; one for which there is no room is missed.
TEST(StatusPageFaults, LeaveNothingOutUnnoticed) {
    gardend::FakeDrivers drivers;
    gardend::FourZones garden(drivers.wiring());
    look(garden);
    gardend::CWateringPlan plan(nullptr);
    const gardend::CLanguages languages(GARDEND_CATALOGS);
    forEachFailingAllocation([&] {
        const gardend::CPhrases phrases = languages.choose("de");
        gardend::CText page;

        gardend::writeStatusPage(garden, plan, gardend::CDownloads(), phrases, page);

        EXPECT_STREQ("de", phrases.getLanguage());
        if (page.isWhole()) {
            EXPECT_NE(nullptr, strstr(page.get(), "<td>vegetables</td>"));
            EXPECT_NE(nullptr, strstr(page.get(), "55"));
            EXPECT_NE(nullptr, strstr(page.get(), "</html>"));
        }
    });
}

TEST(StatusPageFaults, LinkToADownloadOrLeaveItOut) {
    const TempDir folder;
    std::ofstream(folder.file("moisture.log")) << "roses 31.0\n";
    gardend::CDownloads downloads;
    downloads.configure("key", 10, folder.path().c_str());
    gardend::FakeDrivers drivers;
    const gardend::CGarden garden(drivers.wiring());
    const gardend::CWateringPlan plan(nullptr);
    const gardend::CPhrases phrases("en", nullptr);
    forEachFailingAllocation([&] {
        gardend::CText page;

        gardend::writeStatusPage(garden, plan, downloads, phrases, page);

        EXPECT_EQ(nullptr, strstr(page.get(), "href=\"\""));
        EXPECT_TRUE(strstr(page.get(), "href=\"/log/") != nullptr || AllocFaults::hasFailed());
    });
}

// Not for leaks: schedules that are withdrawn again leave their records behind.
TEST(WateringPlanFaults, LeaveThePlanAsItWasOrWithTheNewSchedule) {
    gardend::FakeDrivers drivers;
    gardend::CZone zone("roses", 1, 60, drivers.wiring());
    zol::CEventLoop loop;
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        gardend::CWateringPlan plan(loop.getThread());
        ASSERT_TRUE(plan.start());
        ASSERT_EQ(1, plan.add({&zone, ZOL_MONDAY, 6, 30, 20}));

        AllocFaults::failNth(nth);
        const int number = plan.add({&zone, ZOL_MONDAY | ZOL_FRIDAY, 7, 0, 5});
        failed = AllocFaults::hasFailed();
        AllocFaults::failNth(0);

        if (number < 0) {
            EXPECT_TRUE(failed);
            EXPECT_EQ(gardend::CWateringPlan::kNoMemory, number);
        }
        EXPECT_EQ(number < 0 ? 1 : 2, plan.getSchedules().getCount());
        EXPECT_LT(0, plan.add({&zone, ZOL_MONDAY, 6, 30, 20}));
        EXPECT_TRUE(plan.remove(1));
    }
}

}  // namespace
