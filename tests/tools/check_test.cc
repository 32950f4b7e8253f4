// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zolcat/check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "texts.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

zolcat::Catalog reference(const std::string& source) {
    return zolcat::readSources({{"ref.msg", "$catalog 1 a\n" + source}}).catalog;
}

// What is said of a source when it is compared with another one.
std::vector<std::string> differences(const std::string& source, const std::string& other) {
    const zolcat::Catalog catalog = read("$catalog 1 a\n" + source).catalog;
    return printed(catalog, zolcat::compare(catalog, reference(other)));
}

TEST(Check, FindsMessagesThatAreGivenAndEmpty) {
    const zolcat::Catalog catalog = read("$catalog 1 a\n$set 2\n$setname b\n5 x\n0 \n").catalog;

    EXPECT_THAT(printed(catalog, zolcat::findEmptyMessages(catalog)),
                ElementsAre("a.msg:5: message 0 of set 2 'b' is empty, and counts as missing"));
}

TEST(Compare, SaysNothingOfEqualCatalogs) {
    EXPECT_THAT(differences("$set 2\n1 x %d\n", "$set 2\n1 y %d\n"), IsEmpty());
}

TEST(Compare, SaysThatTheCatalogHasAnotherNumber) {
    const zolcat::Catalog catalog = read("\n$catalog 2 a\n").catalog;

    EXPECT_THAT(printed(catalog, zolcat::compare(catalog, reference(""))),
                ElementsAre("a.msg:2: the catalog is number 2 here, and number 1 in ref.msg:1"));
}

TEST(Compare, SaysThatTheCatalogFileHasAnotherNumber) {
    const zolcat::Catalog binary =
        zolcat::readCatalogFile("a.cat", zolcat::writeCatalog(read("$catalog 2 a\n").catalog))
            .catalog;

    EXPECT_THAT(printed(binary, zolcat::compare(binary, reference(""))),
                ElementsAre("a.cat:byte 12: the catalog is number 2 here, and number 1 in "
                            "ref.msg:1"));
}

TEST(Compare, DoesNotCompareANumberThatIsNotThere) {
    for (const char* const source : {"1 x\n", "$catalog\n1 x\n", "$catalog 256 a\n1 x\n"}) {
        const zolcat::Catalog catalog = read(source).catalog;

        EXPECT_THAT(printed(catalog, zolcat::compare(catalog, reference("1 y\n"))), IsEmpty());
        EXPECT_THAT(zolcat::compare(reference("1 y\n"), catalog), IsEmpty());
    }
}

TEST(Compare, SaysThatASetIsMissing) {
    EXPECT_THAT(differences("", "$set 3\n$setname b\n1 x\n2 y\n"),
                ElementsAre("a.msg:1: set 3 'b' is missing; it is in ref.msg:2"));
    EXPECT_THAT(differences("\n$set 3\n$setname b\n1 \n", "$set 3\n1 x\n"),
                ElementsAre("a.msg:3: set 3 is missing; it is in ref.msg:2"));
}

TEST(Compare, SaysThatAMessageIsMissing) {
    EXPECT_THAT(differences("\n$set 3\n1 x\n3 \n", "$set 3\n1 x\n2 y\n3 z\n"),
                ElementsAre("a.msg:3: message 2 of set 3 is missing or empty; it is in ref.msg:4",
                            "a.msg:5: message 3 of set 3 is missing or empty; it is in ref.msg:5"));
}

TEST(Compare, AcceptsEmptyMessagesThatAreEmptyInTheReference) {
    EXPECT_THAT(differences("1 x\n2 \n3 \n", "1 x\n2 \n"), IsEmpty());
    EXPECT_THAT(differences("1 x\n", "1 x\n2 \n"), IsEmpty());
}

TEST(Compare, SaysThatSetsAndMessagesAreNotInTheReference) {
    EXPECT_THAT(differences("1 x\n2 y\n$set 3\n1 z\n2 z\n", "1 x\n2 \n"),
                ElementsAre("a.msg:3: message 2 of set 1 is not in ref.msg",
                            "a.msg:4: set 3 is not in ref.msg"));
}

TEST(Compare, SaysThatAConstantHasAnotherName) {
    EXPECT_THAT(differences("$name OPEN\n1 x\n", "$name SHUT\n1 x\n"),
                ElementsAre("a.msg:3: message 1 of set 1 is OPEN here, and SHUT in ref.msg:3"));
    EXPECT_THAT(differences("1 x\n", "$name SHUT\n1 x\n"), IsEmpty());
    EXPECT_THAT(differences("$name OPEN\n1 x\n", "1 x\n"), IsEmpty());
}

TEST(Compare, SaysThatConversionsDiffer) {
    EXPECT_THAT(differences("1 %s: %5d\n", "1 %d: %s\n"),
                ElementsAre("a.msg:2: message 1 of set 1 takes %s, %5d here, and %d, %s in "
                            "ref.msg:2"));
    EXPECT_THAT(differences("1 none\n2 %d\n", "1 %d\n2 none\n"),
                ElementsAre("a.msg:2: message 1 of set 1 takes no arguments here, and %d in "
                            "ref.msg:2",
                            "a.msg:3: message 2 of set 1 takes %d here, and no arguments in "
                            "ref.msg:3"));
    EXPECT_THAT(differences("1 %*d\n", "1 %d\n"),
                ElementsAre("a.msg:2: message 1 of set 1 takes %*d here, and %d in ref.msg:2"));
}

TEST(Compare, AcceptsAnotherOrderByPositions) {
    EXPECT_THAT(differences("1 %2$s: %1$d\n", "1 %d: %s\n"), IsEmpty());
}

TEST(Compare, SaysThatConversionsUnknownToPrintfDiffer) {
    EXPECT_THAT(differences("1 %s %y\n2 %y\n3 %y %s\n", "1 %y %s\n2 %w\n3 %y %s\n"),
                ElementsAre("a.msg:2: message 1 of set 1 takes %s, %y here, and %y, %s in "
                            "ref.msg:2",
                            "a.msg:3: message 2 of set 1 takes %y here, and %w in ref.msg:3",
                            "a.msg:3: message 2 of set 1 has '%y', which printf() does not know; "
                            "not so in ref.msg:3"));
    EXPECT_THAT(differences("1 %s %b\n", "1 %b %s\n"),
                ElementsAre("a.msg:2: message 1 of set 1 takes %s, %b here, and %b, %s in "
                            "ref.msg:2"));
}

TEST(Compare, SaysThatAFormatBecameInvalid) {
    EXPECT_THAT(differences("1 %d: 100%!\n", "1 %d: 100%%!\n"),
                ElementsAre("a.msg:2: message 1 of set 1 has '%!', which printf() does not know; "
                            "not so in ref.msg:2"));
    EXPECT_THAT(differences("1 %2$s %1$d %s\n", "1 %d %s\n"),
                ElementsAre("a.msg:2: message 1 of set 1 takes %2$s, %1$d, %s here, and %d, %s in "
                            "ref.msg:2",
                            "a.msg:2: message 1 of set 1 has '%s', which mixes positions with "
                            "order; not so in ref.msg:2"));
}

TEST(Compare, SaysThatAPercentSignIsNoLongerDoubled) {
    EXPECT_THAT(differences("1 100%\n", "1 100%%\n"),
                ElementsAre("a.msg:2: message 1 of set 1 has '%', which printf() does not know; "
                            "not so in ref.msg:2"));
    EXPECT_THAT(differences("1 100%%\n", "1 100%\n"),
                ElementsAre("a.msg:2: message 1 of set 1 is for printf() here, and has '%', which "
                            "printf() does not know, in ref.msg:2"));
    EXPECT_THAT(differences("1 alles\n2 100%%\n", "1 100%%\n2 all\n"), IsEmpty());
}

TEST(Compare, AcceptsPercentSignsInTextsThatAreNoFormats) {
    EXPECT_THAT(differences("1 zu 100%\n", "1 to 100%!\n"), IsEmpty());
    EXPECT_THAT(differences("1 sicher 100 %\n", "1 100 % sure\n"), IsEmpty());
    EXPECT_THAT(differences("1 50 % weniger\n", "1 50% off\n"), IsEmpty());
    EXPECT_THAT(differences("1 alles\n", "1 100 % of it\n"), IsEmpty());
}

TEST(Compare, AcceptsAFaultThatIsInTheReferenceToo) {
    EXPECT_THAT(differences("1 %d zu 100%!\n", "1 %d to 100%!\n"), IsEmpty());
}

TEST(Compare, WorksWithCatalogFilesToo) {
    const zolcat::Catalog source = reference("$set 2\n1 %d\n2 y\n");
    const zolcat::Catalog binary =
        zolcat::readCatalogFile(
            "a.cat", zolcat::writeCatalog(read("$catalog 1 a\n$set 2\n0 x\n1 %s\n").catalog))
            .catalog;

    EXPECT_THAT(printed(binary, zolcat::compare(binary, source)),
                ElementsAre("a.cat:byte 24: message 2 of set 2 is missing or empty; it is in "
                            "ref.msg:4",
                            "a.cat:byte 35: message 0 of set 2 is not in ref.msg",
                            "a.cat:byte 37: message 1 of set 2 takes %s here, and %d in "
                            "ref.msg:3"));
    EXPECT_THAT(printed(source, zolcat::compare(source, binary)),
                ElementsAre("ref.msg:2: message 0 of set 2 is missing or empty; it is in "
                            "a.cat:byte 35",
                            "ref.msg:3: message 1 of set 2 takes %d here, and %s in a.cat:byte 37",
                            "ref.msg:4: message 2 of set 2 is not in a.cat"));
}

TEST(Compare, PointsToTheBeginningOfAFileWithoutTheSet) {
    const zolcat::Catalog binary =
        zolcat::readCatalogFile("a.cat", zolcat::writeCatalog(read("$catalog 1 a\n").catalog))
            .catalog;

    EXPECT_THAT(printed(binary, zolcat::compare(binary, reference("1 x\n"))),
                ElementsAre("a.cat:byte 0: set 1 is missing; it is in ref.msg:2"));
}

}  // namespace
