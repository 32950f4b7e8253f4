// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zolcat/binary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/catalog_bytes.h"
#include "texts.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Texts with a bar for each zero byte.
std::string zeros(std::string text) {
    for (char& c : text) {
        c = c == '|' ? '\0' : c;
    }
    return text;
}

// The head of a catalog 3 called "a".
std::string head(uint32_t setCount) {
    CatalogBytes catalog(3, "a", {});
    catalog.setCount = setCount;
    return catalog.bytes();
}

// A set called "b".
std::string set(uint32_t id, const std::string& texts) {
    SetBytes set(id, "b", {});
    set.texts = zeros(texts);
    set.length += static_cast<uint32_t>(texts.size());
    return set.bytes();
}

std::vector<std::string> problemsOf(const std::string& bytes) {
    return printed(zolcat::readCatalogFile("a.cat", bytes));
}

// --- writing ---

TEST(CatalogFile, IsWrittenByteForByte) {
    EXPECT_EQ(zeros("#CATALOG") + bigEndian32(17) + bigEndian32(7) + bigEndian16(6) +
                  zeros("garden|") + bigEndian32(2) +                          //
                  bigEndian32(7 + 6 + 12) + bigEndian32(2) + bigEndian16(6) +  //
                  zeros("valves|"
                        "|open||shut|") +  //
                  bigEndian32(7 + 1) +
                  bigEndian32(255) + bigEndian16(0) + zeros("||"),  //
              zolcat::writeCatalog(read("$catalog 7 garden\n$set 255\n0 \n$set 2\n$setname valves\n"
                                        "1 open\n3 shut\n")
                                       .catalog));
}

TEST(CatalogFile, MayHaveNoSets) {
    EXPECT_EQ(bigEndian32(0), zolcat::writeCatalog(read("$catalog 7 a\n").catalog).substr(20));
}

TEST(CatalogFile, KeepsASetThatHasOnlyAName) {
    EXPECT_EQ(head(1) + set(5, ""),
              zolcat::writeCatalog(read("$catalog 3 a\n$set 5\n$setname b\n").catalog));
}

TEST(CatalogFile, OfTheLargestSizeIsGood) {
    const std::string bytes = head(1) + set(0, std::string(65534, 'x') + "|");

    EXPECT_EQ(bytes,
              zolcat::writeCatalog(
                  read("$catalog 3 a\n$set 0\n$setname b\n0 " + std::string(65534, 'x')).catalog));
    EXPECT_THAT(problemsOf(bytes), IsEmpty());
}

// --- reading ---

TEST(ReadCatalogFile, FindsWhatIsInIt) {
    const zolcat::Reading reading =
        zolcat::readCatalogFile("a.cat", head(2) + set(5, "open||shut|") + set(2, ""));

    EXPECT_THAT(printed(reading), IsEmpty());
    EXPECT_FALSE(reading.isRefused);
    EXPECT_EQ(3u, reading.catalog.id);
    EXPECT_EQ("a", reading.catalog.name);
    EXPECT_EQ("b", reading.catalog.sets.at(2).name);
    EXPECT_EQ("open", reading.catalog.find(5, 0)->text);
    EXPECT_EQ(nullptr, reading.catalog.find(5, 1));
    EXPECT_EQ("shut", reading.catalog.find(5, 2)->text);
    EXPECT_EQ("a.cat:byte 42", reading.catalog.describe(reading.catalog.find(5, 2)->place));
}

TEST(ReadCatalogFile, RefusesOtherFiles) {
    EXPECT_THAT(problemsOf("#CATALOf"),
                ElementsAre("a.cat:byte 0: the file does not begin with #CATALOG: it is refused"));
    EXPECT_THAT(problemsOf(""),
                ElementsAre("a.cat:byte 0: the file does not begin with #CATALOG: it is refused"));
}

TEST(ReadCatalogFile, RefusesAHeadThatDisagreesWithItsName) {
    std::string bytes = head(0);
    bytes[11] = 13;

    EXPECT_THAT(problemsOf(bytes),
                ElementsAre("a.cat:byte 8: the header length is 13 where a name of 1 bytes makes "
                            "12: the file is refused"));
}

TEST(ReadCatalogFile, AcceptsTheLargestHead) {
    EXPECT_THAT(problemsOf("#CATALOG" + bigEndian32(75) + bigEndian32(255) + bigEndian16(64) +
                           std::string(64, 'n') + zeros("|") + bigEndian32(0)),
                IsEmpty());
}

TEST(ReadCatalogFile, SaysEverythingThatIsAboveALimitInTheHead) {
    EXPECT_THAT(problemsOf("#CATALOG" + bigEndian32(76) + bigEndian32(256) + bigEndian16(65) +
                           std::string(65, 'n') + zeros("|") + bigEndian32(257)),
                ElementsAre("a.cat:byte 8: the header length 76 is above 75: the file is refused",
                            "a.cat:byte 12: the catalog id 256 is above 255: the file is refused",
                            "a.cat:byte 16: the name length 65 is above 64: the file is refused",
                            "a.cat:byte 84: the set count 257 is above 256: the file is refused"));
}

TEST(ReadCatalogFile, Accepts256Sets) {
    std::string bytes = head(256);
    for (uint32_t id = 0; id < 256; ++id) {
        bytes += set(id, "x|");
    }

    EXPECT_THAT(problemsOf(bytes), IsEmpty());
}

TEST(ReadCatalogFile, MindsTheTerminatorsOfNames) {
    std::string bytes = head(1) + set(0, "x|");
    bytes[19] = 'A';
    bytes[35] = 'B';

    EXPECT_THAT(problemsOf(bytes),
                ElementsAre("a.cat:byte 19: a name is not terminated by a zero byte: this is "
                            "ignored",
                            "a.cat:byte 35: a name is not terminated by a zero byte: this is "
                            "ignored"));
}

TEST(ReadCatalogFile, MindsZeroBytesInNames) {
    std::string bytes = head(0);
    bytes[18] = '\0';

    EXPECT_THAT(problemsOf(bytes),
                ElementsAre("a.cat:byte 18: zero byte in a name: the name ends there"));
}

TEST(ReadCatalogFile, SaysWhatFollowsTheLastSet) {
    EXPECT_THAT(problemsOf(head(1) + set(0, "x|") + "abc"),
                ElementsAre("a.cat:byte 38: 3 bytes after the last set: ignored"));
}

TEST(ReadCatalogFile, SaysThatASetComesAgain) {
    const zolcat::Reading reading =
        zolcat::readCatalogFile("a.cat", head(2) + set(4, "x|") + set(4, "y|"));

    EXPECT_THAT(printed(reading),
                ElementsAre("a.cat:byte 38: set 4 comes again: the one at byte 24 is lost"));
    EXPECT_EQ("y", reading.catalog.find(4, 0)->text);
}

TEST(ReadCatalogFile, LosesASetWhoseLengthIsTooLarge) {
    // Where the length would lead cannot be seen here.
    EXPECT_THAT(problemsOf(head(2) + set(1, "x|") + bigEndian32(131071) + bigEndian32(0)),
                ElementsAre("a.cat:byte 38: the set length 131071 is above 131070: set 1, read "
                            "before, is lost, and the next one is looked for at byte 42"));
}

TEST(ReadCatalogFile, GoesOnBehindASetWhoseLengthIsTooLarge) {
    const zolcat::Reading reading =
        zolcat::readCatalogFile("a.cat", head(2) + set(0, std::string(131063, '|')) + set(1, "x|"));

    EXPECT_THAT(printed(reading),
                ElementsAre("a.cat:byte 24: the set length 131071 is above 131070: the set is "
                            "lost, and the next one is looked for at byte 28"));
    EXPECT_EQ("x", reading.catalog.find(1, 0)->text);
}

TEST(ReadCatalogFile, AcceptsTheLargestLengthOfASet) {
    // Of texts that are too many: that is what is said, not that the length is too large.
    EXPECT_THAT(problemsOf(head(1) + set(0, std::string(131062, '|'))),
                ElementsAre("a.cat:byte 65571: with message 65535 the texts of the set have more "
                            "than 65535 bytes: the set is lost, and the next one is looked for at "
                            "byte 65572"));
}

TEST(ReadCatalogFile, LosesASetWhoseLengthIsTooSmall) {
    EXPECT_THAT(
        problemsOf(head(1) + bigEndian32(7) + bigEndian32(0) + bigEndian16(1) + zeros("b|x|")),
        ElementsAre("a.cat:byte 24: the set length is 7 where the name alone makes 8: the "
                    "set is lost, and the next one is looked for at byte 36"));
}

TEST(ReadCatalogFile, LosesASetWhoseIdIsTooLarge) {
    EXPECT_THAT(problemsOf(head(2) + set(256, "x|") + set(1, "x|")),
                ElementsAre("a.cat:byte 28: the set id 256 is above 255: the set is lost, and the "
                            "next one is looked for at byte 32"));
}

TEST(ReadCatalogFile, LosesNoEarlierSetBehindOneWhoseIdIsTooLarge) {
    // A third set, of which not even the id is there, cannot be the first one.
    const zolcat::Reading reading = zolcat::readCatalogFile(
        "a.cat", head(3) + set(1, "x|") + bigEndian32(6) + bigEndian32(256) + "ab");

    EXPECT_THAT(printed(reading),
                ElementsAre("a.cat:byte 42: the set id 256 is above 255: the set is lost, and the "
                            "next one is looked for at byte 46",
                            "a.cat:byte 48: the file ends after 2 of 3 sets: the set is lost"));
    EXPECT_EQ("x", reading.catalog.find(1, 0)->text);
}

TEST(ReadCatalogFile, LosesASetWhoseNameIsTooLong) {
    const std::string name(65, 'n');
    EXPECT_THAT(problemsOf(head(1) + bigEndian32(72) + bigEndian32(1) + bigEndian16(65) + name +
                           zeros("|")),
                ElementsAre("a.cat:byte 32: the name length 65 is above 64: the set is lost, and "
                            "the next one is looked for at byte 34"));
    EXPECT_THAT(problemsOf(head(1) + bigEndian32(71) + bigEndian32(1) + bigEndian16(64) +
                           name.substr(1) + zeros("|")),
                IsEmpty());
}

TEST(ReadCatalogFile, LosesASetWithTooManyBytesOfTexts) {
    EXPECT_THAT(problemsOf(head(2) + set(0, "x|" + std::string(65533, 'x') + "|") + set(1, "y|")),
                ElementsAre("a.cat:byte 38: with message 1 the texts of the set have more than "
                            "65535 bytes: the set is lost"));
    EXPECT_THAT(problemsOf(head(2) + set(0, std::string(65535, 'x') + "|y|") + set(1, "y|")),
                ElementsAre("a.cat:byte 36: with message 0 the texts of the set have more than "
                            "65535 bytes: the set is lost, and the next one is looked for at byte "
                            "65572"));
}

TEST(ReadCatalogFile, LosesASetWhoseLastTextRunsBeyondItsEnd) {
    const zolcat::Reading reading =
        zolcat::readCatalogFile("a.cat", head(2) + set(0, "x|y") + set(1, "z|"));

    EXPECT_THAT(printed(reading),
                ElementsAre("a.cat:byte 38: the text of message 1 runs beyond the end of the set: "
                            "the set is lost, and the next one is looked for at byte 40"));
    EXPECT_THAT(reading.catalog.sets, ::testing::SizeIs(1));
}

TEST(ReadCatalogFile, LosesAnEarlierSetToABadOneOfTheSameId) {
    const zolcat::Reading reading =
        zolcat::readCatalogFile("a.cat", head(2) + set(1, "x|") + set(1, "y"));

    EXPECT_THAT(printed(reading),
                ElementsAre("a.cat:byte 51: the file ends in message 0 of set 1: the set is lost"));
    EXPECT_THAT(reading.catalog.sets, IsEmpty());
}

TEST(ReadCatalogFile, SaysThatThereAreFewerSetsThanCounted) {
    EXPECT_THAT(problemsOf(head(1)),
                ElementsAre("a.cat:byte 24: the file ends after 0 of 1 sets: the set is lost"));
    EXPECT_THAT(problemsOf(head(3) + set(5, "x|")),
                ElementsAre("a.cat:byte 38: the file ends after 1 of 3 sets: set 5, read before, "
                            "is lost"));
}

TEST(ReadCatalogFile, SaysWhereAFileIsCutOff) {
    const std::string bytes = head(2) + set(0, "x|") + set(1, "yy|z|");
    EXPECT_THAT(problemsOf(bytes), IsEmpty());

    for (size_t length = 0; length < bytes.size(); ++length) {
        const zolcat::Reading reading = zolcat::readCatalogFile("a.cat", bytes.substr(0, length));

        ASSERT_EQ(1u, reading.problems.size()) << length;
        EXPECT_EQ(length < 8 ? 0 : length, reading.problems[0].place.number);
        EXPECT_EQ(length < 24, reading.isRefused) << length;
    }
}

TEST(ReadCatalogFile, SaysInWhichFieldAFileIsCutOff) {
    const std::string bytes = head(2) + set(0, "x|") + set(1, "yy|z|");

    EXPECT_THAT(problemsOf(bytes.substr(0, 20)),
                ElementsAre("a.cat:byte 20: the file ends in the header: the file is refused"));
    EXPECT_THAT(problemsOf(bytes.substr(0, 40)),
                ElementsAre("a.cat:byte 40: the file ends in a set length: set 0, read before, is "
                            "lost"));
    EXPECT_THAT(problemsOf(bytes.substr(0, 45)),
                ElementsAre("a.cat:byte 45: the file ends in a set id: set 0, read before, is "
                            "lost"));
    EXPECT_THAT(problemsOf(bytes.substr(0, 48)),
                ElementsAre("a.cat:byte 48: the file ends in the head of a set: the set is lost"));
    EXPECT_THAT(problemsOf(bytes.substr(0, 54)),
                ElementsAre("a.cat:byte 54: the file ends in message 1 of set 1: the set is lost"));
}

}  // namespace
