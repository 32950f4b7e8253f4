// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zolcat/header.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "texts.h"

namespace {

using ::testing::HasSubstr;

std::string headerOf(const std::string& source) {
    return zolcat::makeHeader(read("$catalog 3 door lock\n" + source).catalog, "DOOR");
}

// The comment beside the constant of a message with this text, given as source.
std::string commentOf(const std::string& text) {
    const std::string header = headerOf("$name A\n1 " + text + "\n");
    const size_t start = header.find("0x03010001u ") + 12;
    return header.substr(start, header.find('\n', start) - start);
}

TEST(Header, HasTheCatalogAndTheNamedMessages) {
    EXPECT_EQ(
        "/* Messages of the catalog 'door lock'. Made by zolcat: change the catalog's source "
        "instead. */\n"
        "#ifndef DOOR_CATALOG_H\n"
        "#define DOOR_CATALOG_H\n"
        "\n"
        "#define DOOR_CATALOG 3u\n"
        "\n"
        "/* Set 1 */\n"
        "#define DOOR_OPEN 0x03010010u /* Door open */\n"
        "\n"
        "/* Set 255: bolts */\n"
        "#define DOOR_first 0x03ff0000u /* Bolt %d */\n"
        "#define DOOR_last 0x03fffffeu /*  */\n"
        "\n"
        "#endif\n",
        headerOf("$set 255\n$setname bolts\n$name last\n65534 \n$name first\n0 Bolt %d\n$set 1\n"
                 "1 unnamed\n$name OPEN\n16 Door open\n$set 7\n1 unnamed\n"));
}

TEST(Header, ShortensTexts) {
    EXPECT_EQ("/* " + std::string(60, 'x') + " */", commentOf(std::string(60, 'x')));
    EXPECT_EQ("/* " + std::string(60, 'x') + "... */", commentOf(std::string(61, 'x')));
}

TEST(Header, CannotBeBrokenByTexts) {
    EXPECT_EQ("/* a* / #error / * b */", commentOf("a*/ #error /* b"));
    EXPECT_EQ("/* / */", commentOf("/"));
    EXPECT_EQ("/* * */", commentOf("*"));
    EXPECT_EQ("/* ? ? ? ?/ */", commentOf("?\?\?\?/"));
    EXPECT_EQ("/* a b c d\\ */", commentOf("a\\nb\\tc\\rd\\\\"));
}

TEST(Header, CannotBeBrokenByNames) {
    const zolcat::Catalog catalog = read("$catalog 3 a*/b\n$setname c*/d\n$name A\n1 x\n").catalog;

    EXPECT_THAT(zolcat::makeHeader(catalog, "DOOR"), HasSubstr("'a* /b'"));
    EXPECT_THAT(zolcat::makeHeader(catalog, "DOOR"), HasSubstr("/* Set 1: c* /d */"));
}

TEST(Header, KeepsUtf8) {
    EXPECT_EQ(
        "/* Gr\xc3\xbc\xc3\x9f"
        "e \xe2\x82\xac \xf0\x9f\x8c\xb7 */",
        commentOf("Gr\xc3\xbc\xc3\x9f"
                  "e \xe2\x82\xac \xf0\x9f\x8c\xb7"));
}

TEST(Header, DropsWhatIsNoUtf8OrCannotBeSeen) {
    EXPECT_EQ("/* Gr e   x */", commentOf("Gr\xfc"
                                          "e \xc3 x"));
    EXPECT_EQ("/* a   b */", commentOf("a\xe2\x80\xae"
                                       "b"));
    EXPECT_EQ("/* a   b */", commentOf("a\xef\xbb\xbf"
                                       "b"));
    EXPECT_EQ("/* a  b */", commentOf("a\xc0\xaf"
                                      "b"));
    EXPECT_EQ("/* a   b */", commentOf("a\xed\xa0\x80"
                                       "b"));
}

TEST(HeaderPrefix, IsNotOneOfTheCompilers) {
    EXPECT_FALSE(zolcat::isPrefix("__x"));
    EXPECT_FALSE(zolcat::isPrefix("_X"));
    EXPECT_FALSE(zolcat::isPrefix("_"));
    EXPECT_TRUE(zolcat::isPrefix("_x"));
    EXPECT_TRUE(zolcat::isPrefix("X_"));
}

TEST(HeaderPrefix, IsTheCatalogsNameInCapitals) {
    EXPECT_EQ("GARDEN", zolcat::defaultPrefix("garden"));
    EXPECT_EQ("DOOR_LOCK_2", zolcat::defaultPrefix("door lock-2"));
    EXPECT_EQ("A_B", zolcat::defaultPrefix("_a__.b "));
    EXPECT_EQ("GR_E", zolcat::defaultPrefix("Gr\xc3\xbc\xc3\x9f"
                                            "e"));
}

TEST(HeaderPrefix, BeginsWithALetter) {
    EXPECT_EQ("MSG_3D", zolcat::defaultPrefix("3d"));
    EXPECT_EQ("MSG", zolcat::defaultPrefix("\xc3\xbc"));
}

TEST(HeaderPrefix, IsAnIdentifier) {
    EXPECT_TRUE(zolcat::isPrefix("door_2"));
    EXPECT_FALSE(zolcat::isPrefix("2"));
    EXPECT_FALSE(zolcat::isPrefix("a b"));
    EXPECT_FALSE(zolcat::isPrefix(""));
}

}  // namespace
