// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// What gardend's display of two lines of 20 ASCII characters shows.

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "zol/sched.h"

#include "display.h"
#include "gardend_drivers.h"

namespace gardend {

namespace {

std::string line(const char* text) {
    CText whole;
    whole.add(text);
    char written[Display::kColumns + 1];
    writeDisplayLine(whole, written);
    return written;
}

TEST(DisplayLine, LosesItsAccents) {
    EXPECT_EQ("ete a Noel, ca?", line("été à Noël, ça?"));
    EXPECT_EQ("Ol fur Arger, GruBe", line("Öl für Ärger, Grüße"));
}

TEST(DisplayLine, HasPlainBlanksApostrophesAndDashes) {
    EXPECT_EQ("l'eau : 3 %, 1-2", line("l’eau\u00a0: 3\u202f%, 1–2"));
}

TEST(DisplayLine, ShowsAnUnderscoreForEachOtherCharacter) {
    EXPECT_EQ("_ _ _", line("€ 🌱 ж"));
}

TEST(DisplayLine, IsCutAfterTwentyCharactersNotBytes) {
    EXPECT_EQ("eeeeeeeeeeeeeeeeeeee", line("éééééééééééééééééééé"));
    EXPECT_EQ("12345678901234567890", line("123456789012345678901"));
    EXPECT_EQ("", line(""));
}

TEST(DisplayLine, IsPlainAlsoWhenTheTextIsNoUtf8) {
    for (const char* text :
         {"\xff", "a\x80", "\xc3", "\xe2\x82", "\xf0", "a\tb", "\x7f", "\x1b[2J"}) {
        for (const char c : line(text)) {
            EXPECT_TRUE(c >= ' ' && c <= '~') << text;
        }
    }
    EXPECT_EQ("_[2J", line("\x1b[2J"));
}

class GardenDisplay : public ::testing::Test {
  protected:
    GardenDisplay() { zol::CTime::synchronized = 1; }
    ~GardenDisplay() override { zol::CTime::synchronized = 0; }

    std::vector<std::string> show(const char* language) {
        Display display;
        writeDisplay(m_garden, m_plan, m_languages.choose(language), display);
        return {display.lines[0], display.lines[1]};
    }

    static std::vector<std::string> lines(const char* first, const char* second) {
        return {first, second};
    }

    FakeDrivers m_drivers;
    FourZones m_garden{m_drivers.wiring()};
    CWateringPlan m_plan{nullptr};
    CLanguages m_languages{GARDEND_CATALOGS};
};

TEST_F(GardenDisplay, SaysThatNothingIsWatered) {
    EXPECT_EQ(lines("all valves closed", "nothing scheduled"), show("en"));
    EXPECT_EQ(lines("Ventile geschlossen", "nichts geplant"), show("de"));
    EXPECT_EQ(lines("vannes fermees", "aucun arrosage prevu"), show("fr"));
}

TEST_F(GardenDisplay, SaysThatTheClockIsNotSet) {
    zol::CTime::synchronized = 0;

    EXPECT_EQ(lines("all valves closed", "clock not set"), show("en"));
    EXPECT_EQ(lines("Ventile geschlossen", "Uhr nicht gestellt"), show("de"));
    EXPECT_EQ(lines("vannes fermees", "heure non reglee"), show("fr"));
}

TEST_F(GardenDisplay, NamesTheZoneThatIsWatered) {
    ASSERT_TRUE(m_garden.findZone("vegetables")->open());

    EXPECT_EQ("vegetables open", show("en")[0]);
    EXPECT_EQ("lauft: vegetables", show("de")[0]);
    EXPECT_EQ("ouverte : vegetables", show("fr")[0]);
}

TEST_F(GardenDisplay, CountsTheZonesThatAreWatered) {
    ASSERT_TRUE(m_garden.findZone("roses")->open());
    ASSERT_TRUE(m_garden.findZone("lawn")->open());

    EXPECT_EQ("2 valves open", show("en")[0]);
    EXPECT_EQ("2 Ventile offen", show("de")[0]);
    EXPECT_EQ("2 vannes ouvertes", show("fr")[0]);
}

TEST_F(GardenDisplay, TellsWhatIsWateredNext) {
    ASSERT_EQ(1, m_plan.add({m_garden.findZone("vegetables"), ZOL_MONDAY, 6, 30, 20}));

    EXPECT_EQ("mon 06:30 vegetables", show("en")[1]);
    EXPECT_EQ("Mo 06:30 vegetables", show("de")[1]);
    EXPECT_EQ("lun. 06:30 vegetable", show("fr")[1]);  // the name is cut, not the time
}

}  // namespace

}  // namespace gardend
