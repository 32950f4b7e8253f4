// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The garden without a daemon around it, and the texts that describe it.

#include "garden.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "drivers.h"
#include "gardend_drivers.h"
#include "status_page.h"
#include "text.h"
#include "watering_plan.h"

namespace gardend {

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr zol::CTime kSecond(1000000);
constexpr zol::CTime kMillisecond(1000);

CZone& zone(CGarden& garden, const char* name) {
    CZone* const found = garden.findZone(name);
    EXPECT_NE(nullptr, found) << name;
    return *found;
}

CZone& roses(CGarden& garden) {
    return zone(garden, "roses");
}

void advance(CGarden& garden, const zol::CTime& passed) {
    for (const CZone& each : garden.getZones()) {
        zone(garden, each.getName()).advance(passed);
    }
}

// A garden with drivers that obey, and no clock.
class Garden : public ::testing::Test {
  protected:
    FakeDrivers drivers;
    FourZones garden{drivers.wiring()};
};

TEST_F(Garden, StartsWithAllValvesClosed) {
    EXPECT_EQ(0, garden.getOpenCount());
    EXPECT_EQ(0, garden.getMillilitres());
}

TEST_F(Garden, OpensTheValveOfOneZone) {
    roses(garden).open();

    EXPECT_TRUE(roses(garden).isOpen());
    EXPECT_EQ(1, garden.getOpenCount());
}

TEST_F(Garden, ClosesTheValveAgain) {
    roses(garden).open();

    roses(garden).close();

    EXPECT_FALSE(roses(garden).isOpen());
}

TEST_F(Garden, FindsOnlyTheZonesThatItHas) {
    EXPECT_STREQ("hedge", zone(garden, "hedge").getName());
    EXPECT_EQ(nullptr, garden.findZone("desert"));
    EXPECT_EQ(nullptr, garden.findZone(""));
    EXPECT_EQ(nullptr, garden.findZone("rose"));
}

TEST_F(Garden, DeliversWaterWhileAValveIsOpen) {
    zone(garden, "roses").open();

    advance(garden, kSecond);
    zone(garden, "roses").close();
    advance(garden, kSecond);

    EXPECT_EQ(60, roses(garden).getMillilitres());
    EXPECT_EQ(60, garden.getMillilitres());
}

TEST_F(Garden, DeliversAsMuchInManyShortTicksAsInALongOne) {
    zone(garden, "roses").open();

    for (int i = 0; i < 1000; ++i) {
        advance(garden, kMillisecond);
    }

    EXPECT_EQ(60, roses(garden).getMillilitres());
}

TEST_F(Garden, ClosesTheValvesOfZonesThatGoOrMoveToAnotherLine) {
    for (const char* const name : {"lawn", "roses", "hedge"}) {
        zone(garden, name).open();
    }
    zol::CTab<ZoneWish> wishes;
    wishes.append({"roses", 1, 60});
    wishes.append({"hedge", 5, 120});

    EXPECT_EQ(nullptr, garden.closeWhatGoes(wishes));

    EXPECT_FALSE(zone(garden, "lawn").isOpen());
    EXPECT_TRUE(roses(garden).isOpen());
    EXPECT_FALSE(zone(garden, "hedge").isOpen());
}

TEST_F(Garden, TellsOfAValveThatDoesNotCloseBeforeItsZoneGoes) {
    roses(garden).open();
    drivers.obeys = false;

    const CZone* const stuck = garden.closeWhatGoes({});

    ASSERT_NE(nullptr, stuck);
    EXPECT_STREQ("roses", stuck->getName());
}

TEST_F(Garden, ClosesAllValvesAtOnce) {
    zone(garden, "roses").open();
    zone(garden, "lawn").open();

    garden.closeAllValves();

    EXPECT_EQ(0, garden.getOpenCount());
}

TEST_F(Garden, MovesTheValveOfTheLine) {
    EXPECT_TRUE(zone(garden, "vegetables").open());
    EXPECT_TRUE(drivers.isOpen[2]);

    EXPECT_TRUE(zone(garden, "vegetables").close());
    EXPECT_FALSE(drivers.isOpen[2]);
}

TEST_F(Garden, MovesAValveOnlyWhenThatChangesSomething) {
    roses(garden).open();
    roses(garden).open();
    roses(garden).close();
    roses(garden).close();

    EXPECT_EQ(2, drivers.calls);
}

TEST_F(Garden, LeavesAValveClosedThatDoesNotOpen) {
    drivers.obeys = false;

    EXPECT_FALSE(roses(garden).open());

    EXPECT_FALSE(roses(garden).isOpen());
}

TEST_F(Garden, KnowsAValveThatDoesNotClose) {
    roses(garden).open();
    drivers.obeys = false;

    EXPECT_FALSE(roses(garden).close());

    EXPECT_TRUE(roses(garden).isOpen());
}

TEST_F(Garden, AsksTheDriverOfAValveThatDoesNotCloseWhetherItOpens) {
    roses(garden).open();
    drivers.obeys = false;
    roses(garden).close();

    EXPECT_FALSE(roses(garden).open());
    drivers.obeys = true;
    EXPECT_TRUE(roses(garden).open());

    EXPECT_TRUE(roses(garden).isOpen());
    EXPECT_TRUE(roses(garden).close());
}

TEST_F(Garden, ShowsWhatTheSensorOfTheLineSays) {
    drivers.moisture[1] = 77;

    advance(garden, kMillisecond);

    EXPECT_EQ(77, roses(garden).getMoisturePermille());
    EXPECT_EQ(420, zone(garden, "lawn").getMoisturePermille());
}

TEST_F(Garden, KeepsTheLastAnswerOfASensorThatAnswersNoMore) {
    advance(garden, kMillisecond);

    drivers.moisture[1] = -1;
    drivers.moisture[2] = 1001;
    advance(garden, kMillisecond);

    EXPECT_EQ(310, roses(garden).getMoisturePermille());
    EXPECT_EQ(550, zone(garden, "vegetables").getMoisturePermille());
}

TEST(GardenWatcher, IsToldOfValvesThatMove) {
    class Watcher : public IValveWatcher {
      public:
        void onValve(const char* zone, bool isOpen) override {
            told += std::string(zone) + (isOpen ? " open;" : " closed;");
        }
        std::string told;
    };
    FakeDrivers drivers;
    Watcher watcher;
    {
        FourZones garden(drivers.wiring(&watcher));
        roses(garden).open();
        roses(garden).open();
        roses(garden).close();
        zone(garden, "lawn").open();
    }

    EXPECT_EQ("roses open;roses closed;lawn open;lawn closed;", watcher.told);
}

TEST(Drivers, AreThoseThatWereAttachedFirst) {
    const CDrivers drivers("");
    FakeDrivers one;
    FakeDrivers other;
    EXPECT_EQ(nullptr, drivers.getValves());
    EXPECT_EQ(nullptr, drivers.getSensors());

    EXPECT_TRUE(attachValves(one));
    EXPECT_TRUE(attachValves(one));
    EXPECT_FALSE(attachValves(other));
    EXPECT_TRUE(attachSensors(other));

    EXPECT_EQ(&one, drivers.getValves());
    EXPECT_EQ(&other, drivers.getSensors());
    detachValves(one);
    detachSensors(other);
}

TEST(Drivers, AreTakenBackByTheirOwnersOnly) {
    const CDrivers drivers("");
    FakeDrivers one;
    FakeDrivers other;
    EXPECT_TRUE(attachValves(one));

    detachValves(other);
    EXPECT_EQ(&one, drivers.getValves());

    detachValves(one);
    EXPECT_EQ(nullptr, drivers.getValves());
}

TEST(MoistureLog, KeepsTheLowestTheMeanAndTheHighestOfADay) {
    CMoistureLog log;

    log.add(300, 7);
    log.add(200, 7);
    log.add(401, 7);

    EXPECT_EQ(3, log.getCount());
    EXPECT_EQ(200, log.getLowest());
    EXPECT_EQ(300, log.getMean());
    EXPECT_EQ(401, log.getHighest());
}

TEST(MoistureLog, BeginsAnewOnAnotherDay) {
    CMoistureLog log;
    log.add(300, 7);
    log.add(900, 7);

    log.add(500, 8);

    EXPECT_EQ(1, log.getCount());
    EXPECT_EQ(500, log.getLowest());
    EXPECT_EQ(500, log.getMean());
    EXPECT_EQ(500, log.getHighest());
}

TEST(MoistureLog, IsEmptyAtFirst) {
    const CMoistureLog log;

    EXPECT_EQ(0, log.getCount());
    EXPECT_EQ(0, log.getMean());
}

class StatusPage : public ::testing::Test {
  protected:
    std::string page() {
        CText text;
        writeStatusPage(m_garden, m_plan, CDownloads(), CPhrases("en", nullptr), text);
        EXPECT_TRUE(text.isWhole());
        return text.get();
    }

    std::string json() {
        CText text;
        writeStatusJson(m_garden, m_plan, text);
        EXPECT_TRUE(text.isWhole());
        return text.get();
    }

    void schedule(const char* name, uint8_t days, uint8_t hour, uint8_t minute, int minutes) {
        ASSERT_LT(0, m_plan.add({&zone(m_garden, name), days, hour, minute, minutes}));
    }

    FakeDrivers m_drivers;
    FourZones m_garden{m_drivers.wiring()};
    CWateringPlan m_plan{nullptr};  // is not asked to follow the clock
};

TEST_F(StatusPage, ShowsAZoneInARow) {
    roses(m_garden).open();
    m_drivers.moisture[1] = 315;
    advance(m_garden, kSecond);

    EXPECT_THAT(page(), HasSubstr("<tr><td>roses</td><td class=\"open\">open</td>"
                                  "<td><meter max=\"100\" value=\"31.5\"></meter> 31.5 %</td>"
                                  "<td>0.0 – 0.0 %</td><td class=\"number\">0.060 l</td></tr>"));
    EXPECT_THAT(page(), HasSubstr("1 of 4 valves open · 0.060 l delivered"));
}

TEST_F(StatusPage, ShowsAScheduleInARow) {
    schedule("roses", ZOL_MONDAY | ZOL_SUNDAY, 6, 5, 20);

    EXPECT_THAT(page(), HasSubstr("<tr><td>roses</td><td>mon,sun</td><td>06:05</td>"
                                  "<td class=\"number\">20</td></tr>"));
}

TEST_F(StatusPage, ShowsNoTableOfSchedulesWhereThereAreNone) {
    EXPECT_THAT(page(), Not(HasSubstr("Every week")));
}

TEST_F(StatusPage, SaysWhatComesNext) {
    zol::CTime::synchronized = 1;
    EXPECT_THAT(page(), HasSubstr("nothing is scheduled"));

    schedule("hedge", ZOL_FRIDAY, 21, 0, 1);
    EXPECT_THAT(page(), HasSubstr("next: hedge on fri at 21:00"));

    zol::CTime::synchronized = 0;
    EXPECT_THAT(page(), HasSubstr("the clock is not set"));
}

TEST_F(StatusPage, TellsProgramsTheSchedulesAndTheStateOfTheClock) {
    zol::CTime::synchronized = 0;
    EXPECT_THAT(json(), EndsWith("],\"schedules\":[],\"clockSynchronized\":false}\n"));

    zol::CTime::synchronized = 1;
    schedule("roses", 127, 6, 5, 20);
    schedule("lawn", ZOL_FRIDAY, 21, 0, 1440);

    EXPECT_THAT(json(),
                EndsWith("],\"schedules\":["
                         "{\"number\":1,\"zone\":\"roses\",\"days\":\"daily\",\"time\":\"06:05\","
                         "\"minutes\":20},"
                         "{\"number\":2,\"zone\":\"lawn\",\"days\":\"fri\",\"time\":\"21:00\","
                         "\"minutes\":1440}],\"clockSynchronized\":true}\n"));
    zol::CTime::synchronized = 0;
}

TEST(Text, GrowsPieceByPiece) {
    CText text;

    text.add("a").add("bcd", 2).addFormat("%d", 7);

    EXPECT_STREQ("abc7", text.get());
    EXPECT_EQ(4, text.getLength());
}

TEST(Text, TakesNulsAndText) {
    CText text;

    text.add("a\0b", 3);

    EXPECT_EQ(3, text.getLength());
    EXPECT_EQ('b', text.get()[2]);
}

TEST(Text, HidesWhatHtmlWouldUnderstand) {
    CText text;

    text.addHtml("<b a=\"x\" b='y'>&amp; grün");

    EXPECT_STREQ("&#60;b a=&#34;x&#34; b=&#39;y&#39;&#62;&#38;amp; grün", text.get());
}

TEST(Text, HidesWhatJsonWouldUnderstand) {
    CText text;

    text.addJson("\"\\\n\x1f grün");

    EXPECT_STREQ("\\u0022\\u005c\\u000a\\u001f grün", text.get());
}

TEST(Text, WritesDecimals) {
    CText text;

    text.addDecimal(12345, 3).add(" ").addDecimal(7, 3).add(" ").addDecimal(0, 1);

    EXPECT_STREQ("12.345 0.007 0.0", text.get());
}

TEST(Text, IsEmptyAndWholeAfterAClear) {
    CText text;
    text.add("a");

    text.clear();

    EXPECT_TRUE(text.isEmpty());
    EXPECT_TRUE(text.isWhole());
}

}  // namespace

}  // namespace gardend
