// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// A catalog and its header, made by the build, in a program.
#include <gtest/gtest.h>

#include "zol/cat.h"

#include "orchard.h"
#include "orchard_user.h"

namespace {

TEST(MadeHeader, HasTheIdsOfTheMessages) {
    EXPECT_EQ(9u, ORCHARD_CATALOG);
    EXPECT_EQ(0x09020000u, ORCHARD_APPLE);
    EXPECT_EQ(0x09020003u, ORCHARD_PEAR);
    EXPECT_EQ(0x09020004u, ORCHARD__plum);
    EXPECT_EQ(0x09fffffeu, ORCHARD_class);
}

TEST(MadeHeader, IsTheSameInC) {
    EXPECT_EQ(ORCHARD_CATALOG, orchardIds[0]);
    EXPECT_EQ(ORCHARD_APPLE, orchardIds[1]);
    EXPECT_EQ(ORCHARD_PEAR, orchardIds[2]);
    EXPECT_EQ(ORCHARD__plum, orchardIds[3]);
    EXPECT_EQ(ORCHARD_class, orchardIds[4]);
}

TEST(MadeHeader, FindsTheTextsOfTheMadeCatalog) {
    zol::cat::CCatalog catalog;
    ASSERT_EQ(0, catalog.openFile(ORCHARD_CAT));
    zol::CStr text;

    ASSERT_EQ(0, catalog.getMessage(ORCHARD_APPLE, text));
    EXPECT_STREQ("An apple tree", text.get());
    ASSERT_EQ(0, catalog.getMessage(ORCHARD_PEAR, text));
    EXPECT_STREQ(
        "A pear tree */ ?"
        "?/ // with \\",
        text.get());
    EXPECT_EQ(-1, catalog.getMessage(ORCHARD_class, text));
}

}  // namespace
