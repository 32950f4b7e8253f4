// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The garden without a daemon around it, and the texts that describe it.

#include "garden.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "status_page.h"
#include "text.h"

namespace gardend {

namespace {

using ::testing::HasSubstr;

constexpr zol::CTime kSecond(1000000);
constexpr zol::CTime kMillisecond(1000);

const Zone& roses(const CGarden& garden) {
    return garden.getZones()[1];
}

TEST(Garden, StartsWithAllValvesClosed) {
    const CGarden garden;

    EXPECT_EQ(4, garden.getZones().getCount());
    EXPECT_EQ(0, garden.getOpenCount());
    EXPECT_EQ(0, garden.getMillilitres());
}

TEST(Garden, OpensTheValveOfOneZone) {
    CGarden garden;

    EXPECT_TRUE(garden.setValve("roses", true));

    EXPECT_TRUE(roses(garden).open);
    EXPECT_EQ(1, garden.getOpenCount());
}

TEST(Garden, ClosesTheValveAgain) {
    CGarden garden;
    garden.setValve("roses", true);

    EXPECT_TRUE(garden.setValve("roses", false));

    EXPECT_FALSE(roses(garden).open);
}

TEST(Garden, RefusesZonesThatItDoesNotHave) {
    CGarden garden;

    EXPECT_FALSE(garden.setValve("desert", true));
    EXPECT_FALSE(garden.setValve("", true));
    EXPECT_FALSE(garden.setValve("rose", true));
    EXPECT_EQ(0, garden.getOpenCount());
}

TEST(Garden, DeliversWaterWhileAValveIsOpen) {
    CGarden garden;
    garden.setValve("roses", true);

    garden.advance(kSecond);
    garden.setValve("roses", false);
    garden.advance(kSecond);

    EXPECT_EQ(60, roses(garden).getMillilitres());
    EXPECT_EQ(60, garden.getMillilitres());
}

TEST(Garden, DeliversAsMuchInManyShortTicksAsInALongOne) {
    CGarden garden;
    garden.setValve("roses", true);

    for (int i = 0; i < 1000; ++i) {
        garden.advance(kMillisecond);
    }

    EXPECT_EQ(60, roses(garden).getMillilitres());
    EXPECT_EQ(315, roses(garden).getMoisturePermille());
}

TEST(Garden, GetsWetUntilItIsSoaked) {
    CGarden garden;
    garden.setValve("roses", true);

    garden.advance(zol::CTime(3600 * kSecond.getMicroseconds()));

    EXPECT_EQ(1000, roses(garden).getMoisturePermille());
}

TEST(Garden, DriesUntilItIsDry) {
    CGarden garden;

    garden.advance(zol::CTime(10 * kSecond.getMicroseconds()));
    EXPECT_EQ(309, roses(garden).getMoisturePermille());

    garden.advance(zol::CTime(86400 * kSecond.getMicroseconds()));
    EXPECT_EQ(0, roses(garden).getMoisturePermille());
}

TEST(Garden, ClosesAllValvesAtOnce) {
    CGarden garden;
    garden.setValve("roses", true);
    garden.setValve("lawn", true);

    garden.closeAllValves();

    EXPECT_EQ(0, garden.getOpenCount());
}

TEST(StatusPage, ShowsAZoneInARow) {
    CGarden garden;
    garden.setValve("roses", true);
    garden.advance(kSecond);

    CText page;
    writeStatusPage(garden, page);

    EXPECT_TRUE(page.isWhole());
    EXPECT_THAT(page.get(), HasSubstr("<tr><td>roses</td><td class=\"open\">open</td>"
                                      "<td><meter max=\"100\" value=\"31.5\"></meter> 31.5 %</td>"
                                      "<td class=\"number\">0.060 l</td></tr>"));
    EXPECT_THAT(page.get(), HasSubstr("1 of 4 valves open · 0.060 l delivered"));
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
