// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The HTTP parser, the watering plan and the status page of gardend with each of its allocations
// failing in turn.

#include <gtest/gtest.h>
#include <string.h>

#include "gardend_drivers.h"
#include "http_parser.h"
#include "status_page.h"
#include "support/alloc_faults.h"
#include "watering_plan.h"

namespace {

using gardend::CHttpParser;

constexpr char kRequest[] =
    "POST http://garden/?a=b HTTP/1.1\r\nHost: garden\r\nConnection: close\r\n"
    "Accept-Language: de\r\nAccept-Language: en\r\n"
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
            EXPECT_FALSE(parser.getRequest().keepAlive);
        }
    });
}

// A text that cannot be read is said in English; one for which there is no room is missed.
TEST(StatusPageFaults, LeaveNothingOutUnnoticed) {
    gardend::FakeDrivers drivers;
    gardend::CGarden garden(drivers.wiring());
    look(garden);
    gardend::CWateringPlan plan(nullptr);
    const gardend::CLanguages languages(GARDEND_CATALOGS);
    forEachFailingAllocation([&] {
        const gardend::CPhrases phrases = languages.choose("de");
        gardend::CText page;

        gardend::writeStatusPage(garden, plan, phrases, page);

        EXPECT_STREQ("de", phrases.getLanguage());
        if (page.isWhole()) {
            EXPECT_NE(nullptr, strstr(page.get(), "<td>vegetables</td>"));
            EXPECT_NE(nullptr, strstr(page.get(), "55"));
            EXPECT_NE(nullptr, strstr(page.get(), "</html>"));
        }
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
