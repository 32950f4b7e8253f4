// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zolcat/source.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "texts.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// The text of message 1 of set 1, from a line of source.
std::string textOf(const std::string& line) {
    const zolcat::Reading reading = read("$catalog 1 a\n$quote \"\n" + line + "\n");
    EXPECT_THAT(printed(reading), IsEmpty());
    const zolcat::Message* const message = reading.catalog.find(1, 1);
    return message == nullptr ? "(missing)" : message->text;
}

// The problems in a source that begins with a good $catalog, in line 0 as it were.
std::vector<std::string> problemsOf(const std::string& source) {
    return printed(read("$catalog 1 a\n" + source));
}

// --- texts ---

TEST(SourceText, FollowsOneBlankOrTab) {
    EXPECT_EQ("Valve open", textOf("1 Valve open"));
    EXPECT_EQ("Valve open", textOf("1\tValve open"));
}

TEST(SourceText, KeepsFurtherBlanksOnBothSides) {
    EXPECT_EQ("  a b ", textOf("1   a b "));
    EXPECT_EQ("\t", textOf("1 \t"));
}

TEST(SourceText, KeepsItsBytes) {
    EXPECT_EQ("\xe4\xff\x01\xc3\xa4", textOf("1 \xe4\xff\x01\xc3\xa4"));
}

TEST(SourceText, TranslatesEscapes) {
    EXPECT_EQ("a\nb\tc\vd\be\rf\fg\\h", textOf("1 a\\nb\\tc\\vd\\be\\rf\\fg\\\\h"));
}

TEST(SourceText, TakesUpToThreeOctalDigits) {
    EXPECT_EQ("A", textOf("1 \\101"));
    EXPECT_EQ("A1", textOf("1 \\1011"));
    EXPECT_EQ("\a8", textOf("1 \\78"));
    EXPECT_EQ("\xff", textOf("1 \\377"));
}

TEST(SourceText, DropsABackslashBeforeOtherCharacters) {
    EXPECT_EQ("a'q", textOf("1 a\\'\\q"));
}

TEST(SourceText, GoesOnInTheNextLineAfterABackslash) {
    EXPECT_EQ("open  shut", textOf("1 open\\\n  shut"));
    EXPECT_EQ("open\\", textOf("1 open\\\\\n2 next"));
}

TEST(SourceText, InQuotesKeepsOnlyWhatIsBetweenThem) {
    EXPECT_EQ("open  ", textOf("1 \"open  \""));
    EXPECT_EQ("open", textOf("1 \"open\" \t "));
}

TEST(SourceText, InQuotesMayHaveEscapedQuotes) {
    EXPECT_EQ("say \"a\"", textOf("1 \"say \\\"a\\\"\""));
}

TEST(SourceText, InQuotesMayHaveTheirCharacterThoughItsEscapeMeansAnotherOne) {
    EXPECT_EQ("anb", read("$catalog 1 a\n$quote n\n1 na\\nbn\n").catalog.find(1, 1)->text);
    EXPECT_EQ("a101", read("$catalog 1 a\n$quote 1\n2 1a\\10\\11\n").catalog.find(1, 2)->text);
}

TEST(SourceText, InQuotesMayGoOnInTheNextLine) {
    EXPECT_EQ("open shut", textOf("1 \"open \\\nshut\""));
}

TEST(SourceText, WithoutAQuoteAtItsBeginningIsNotQuoted) {
    EXPECT_EQ("a \"b\" c", textOf("1 a \"b\" c"));
    EXPECT_EQ(" \"b\"", textOf("1  \"b\""));
    EXPECT_EQ("\"b\"", textOf("1 \\\"b\""));
}

TEST(SourceText, MayEndWithTheFile) {
    EXPECT_EQ("x", read("$catalog 1 a\n1 x").catalog.find(1, 1)->text);
}

TEST(SourceText, CannotHaveAZeroByte) {
    EXPECT_THAT(problemsOf("1 a\\000b\n"), ElementsAre("a.msg:2: a text cannot have a zero byte"));
    EXPECT_THAT(problemsOf(std::string("1 a\0b\n", 6)),
                ElementsAre("a.msg:2: a text cannot have a zero byte"));
    EXPECT_THAT(problemsOf(std::string("1 a\\\n\0b\\\n\0\n", 11)),
                ElementsAre("a.msg:3: a text cannot have a zero byte"));
}

TEST(SourceText, CannotHaveAnOctalNumberAboveAByte) {
    EXPECT_THAT(problemsOf("1 a\\\n\\400\n"), ElementsAre("a.msg:3: \\400 is above \\377"));
}

TEST(SourceText, NeedsItsClosingQuote) {
    EXPECT_THAT(problemsOf("$quote \"\n1 \"a\n2 b\n"),
                ElementsAre("a.msg:3: the closing quote is missing"));
    EXPECT_THAT(problemsOf("$quote \"\n1 \"a\\\nb\n"),
                ElementsAre("a.msg:4: the closing quote is missing"));
}

TEST(SourceText, CannotHaveAnythingBehindTheClosingQuote) {
    EXPECT_THAT(problemsOf("$quote \"\n1 \"a\" b\n2 \"c\"d\n"),
                ElementsAre("a.msg:3: something follows the closing quote",
                            "a.msg:4: something follows the closing quote"));
    EXPECT_THAT(problemsOf("$quote \"\n1 \"a\\\nb\" c\n"),
                ElementsAre("a.msg:4: something follows the closing quote"));
}

TEST(SourceText, CannotGoOnBehindTheEndOfTheFile) {
    EXPECT_THAT(problemsOf("1 a\\\n"),
                ElementsAre("a.msg:2: the text goes on behind the end of the file"));
    EXPECT_THAT(problemsOf("1 a\\"),
                ElementsAre("a.msg:2: the text goes on behind the end of the file"));
    EXPECT_THAT(problemsOf("$quote \"\n1 \"a\\\n"),
                ElementsAre("a.msg:3: the text goes on behind the end of the file"));
}

TEST(SourceText, NeedsABlankBehindTheNumber) {
    EXPECT_THAT(problemsOf("1: a\\\n2: b\n3 c\n"),
                ElementsAre("a.msg:2: a blank or a tab has to follow the message number"));
}

// --- lines ---

TEST(SourceLine, MayEndInCarriageReturnAndNewline) {
    const zolcat::Reading reading =
        read("$catalog 1 a\r\n\r\n$quote \"\r\n1 x\\\r\ny\r\n2 \"z\"\r\n3\r\n4 a\rb\r\n");

    EXPECT_THAT(printed(reading), IsEmpty());
    EXPECT_EQ("a", reading.catalog.name);
    EXPECT_EQ("xy", reading.catalog.find(1, 1)->text);
    EXPECT_EQ("z", reading.catalog.find(1, 2)->text);
    EXPECT_EQ("a\rb", reading.catalog.find(1, 4)->text);
}

TEST(SourceLine, MayBeBlank) {
    EXPECT_THAT(problemsOf("\n  \t\n"), IsEmpty());
}

TEST(SourceLine, IsAComment) {
    EXPECT_THAT(problemsOf("$\n$ a comment \\\n$\tanother\n"), IsEmpty());
}

TEST(SourceLine, IsNothingElse) {
    EXPECT_THAT(problemsOf("open\n 1 x\n"),
                ElementsAre("a.msg:2: this is neither a message, nor a directive, nor a comment",
                            "a.msg:3: this is neither a message, nor a directive, nor a comment"));
}

TEST(SourceLine, CannotBeAnUnknownDirective) {
    EXPECT_THAT(problemsOf("$include x\n"),
                ElementsAre("a.msg:2: there is no directive $include; in a comment a blank follows "
                            "the $"));
}

TEST(SourceLine, IsQuotedWithoutWhatCannotBeShown) {
    EXPECT_THAT(problemsOf("$\x1b[2J\xff\r\x80\n$name Gr\xc3\xbc\xc3\x9f\x7f\n"),
                ElementsAre("a.msg:2: there is no directive $\\033[2J\\377\\015\\200; in a comment "
                            "a blank follows the $",
                            "a.msg:3: 'Gr\xc3\xbc\xc3\x9f\\177' is not an identifier"));
    EXPECT_THAT(problemsOf(std::string("$name a\0b\n", 10)),
                ElementsAre("a.msg:2: 'a\\000b' is not an identifier"));
}

TEST(SourceLine, OfTheFileBeginsBehindAByteOrderMark) {
    EXPECT_THAT(printed(read("\xef\xbb\xbf$catalog 1 a\n1 x\n")), IsEmpty());
}

// --- messages and sets ---

TEST(SourceMessage, StandsInSet1BeforeAnySet) {
    EXPECT_EQ("x", read("$catalog 1 a\n7 x\n$set 2\n7 y\n").catalog.find(1, 7)->text);
}

TEST(SourceMessage, StandsInTheCurrentSet) {
    const zolcat::Catalog catalog =
        read("$catalog 1 a\n$set 0 comment\n0 x\n$set 255\n9 y\n$set 0\n1 z\n").catalog;

    EXPECT_EQ("x", catalog.find(0, 0)->text);
    EXPECT_EQ("y", catalog.find(255, 9)->text);
    EXPECT_EQ("z", catalog.find(0, 1)->text);
}

TEST(SourceMessage, NumbersNeedNotAscend) {
    EXPECT_THAT(problemsOf("$set 3\n5 x\n1 y\n$set 2\n1 z\n"), IsEmpty());
}

TEST(SourceMessage, CannotBeDefinedTwice) {
    EXPECT_THAT(problemsOf("$set 2\n7 x\n$set 3\n7 x\n$set 2\n7 y\n"),
                ElementsAre("a.msg:7: message 7 of set 2 is already defined in a.msg:3"));
}

TEST(SourceMessage, IsDeletedByItsNumberAlone) {
    const zolcat::Reading reading = read("$catalog 1 a\n1 x\n2 y\n2\n3\n1\n1 z\n");

    EXPECT_THAT(printed(reading), IsEmpty());
    EXPECT_EQ("z", reading.catalog.find(1, 1)->text);
    EXPECT_EQ(1u, reading.catalog.sets.at(1).messages.size());
}

TEST(SourceMessage, IsEmptyWhenNothingFollowsTheBlank) {
    const zolcat::Reading reading = read("$catalog 1 a\n$quote \"\n1 \n2 \"\"\n3 ");

    EXPECT_THAT(printed(reading), IsEmpty());
    EXPECT_EQ(3u, reading.catalog.sets.at(1).messages.size());
    EXPECT_EQ(nullptr, reading.catalog.find(1, 1));
    EXPECT_EQ(nullptr, reading.catalog.find(1, 2));
}

TEST(SourceMessage, NumberHasALimit) {
    EXPECT_THAT(problemsOf("65536 x\n99999999999999999999999 y\n"),
                ElementsAre("a.msg:2: message number 65536 is above 65535",
                            "a.msg:3: message number 99999999999999999999999 is above 65535"));
    EXPECT_THAT(problemsOf("65534 \n"), IsEmpty());
}

TEST(SourceMessage, StandsBehindCatalog) {
    EXPECT_THAT(printed(read("1 x\n2 y\n$catalog 1 a\n")),
                ElementsAre("a.msg:1: a message stands before $catalog"));
}

TEST(SourceSet, NumberHasALimit) {
    EXPECT_THAT(problemsOf("$set 256\n1 x\n1 x\n$setname y\n$set 4294967297\n$delset 256\n"),
                ElementsAre("a.msg:2: set number 256 is above 255",
                            "a.msg:6: set number 4294967297 is above 255",
                            "a.msg:7: set number 256 is above 255"));
}

TEST(SourceSet, WithoutAGoodNumberTakesNothingFromTheOneBefore) {
    const zolcat::Catalog catalog = read("$catalog 1 a\n1 x\n$set x\n1\n$setname b\n2 y\n").catalog;

    EXPECT_EQ("x", catalog.find(1, 1)->text);
    EXPECT_EQ("", catalog.sets.at(1).name);
    EXPECT_EQ(nullptr, catalog.find(1, 2));
}

TEST(SourceSet, NeedsANumber) {
    EXPECT_THAT(problemsOf("$set\n$set x\n$set 1x\n$delset\n"),
                ElementsAre("a.msg:2: $set needs the number of a set",
                            "a.msg:3: $set needs the number of a set",
                            "a.msg:4: $set needs the number of a set",
                            "a.msg:5: $delset needs the number of a set"));
}

TEST(SourceSet, IsDeletedWithItsNameAndMessages) {
    const zolcat::Reading reading =
        read("$catalog 1 a\n$set 2\n$setname b\n1 x\n$delset 2 comment\n$delset 3\n1 y\n");

    EXPECT_THAT(printed(reading), IsEmpty());
    EXPECT_EQ("", reading.catalog.sets.at(2).name);
    EXPECT_EQ("y", reading.catalog.find(2, 1)->text);
}

TEST(SourceSet, WithoutNameAndMessagesIsLeftOut) {
    EXPECT_THAT(read("$catalog 1 a\n$set 2\n1 x\n1\n$set 3\n").catalog.sets, IsEmpty());
}

TEST(SourceSet, WithANameAloneStays) {
    EXPECT_EQ("b c", read("$catalog 1 a\n$set 2\n$setname  b c \n").catalog.sets.at(2).name);
}

TEST(SourceSet, HasOneName) {
    EXPECT_THAT(problemsOf("$setname b\n$set 2\n$setname c\n$set 1\n$setname d\n"),
                ElementsAre("a.msg:6: set 1 has its name in a.msg:2"));
}

TEST(SourceSet, Has65535BytesOfTexts) {
    const std::string text(65534, 'x');

    EXPECT_THAT(problemsOf("0 " + text + "\n"), IsEmpty());
    EXPECT_THAT(problemsOf("0 " + text + "y\n"),
                ElementsAre("a.msg:2: message 0 of set 1 does not fit: the texts of a set can have "
                            "65535 bytes, with one more for each message number up to the last"));
}

TEST(SourceSet, CountsTheGapsBetweenItsMessages) {
    const std::string text(65529, 'x');

    EXPECT_THAT(problemsOf("5 " + text + "\n"), IsEmpty());
    EXPECT_THAT(problemsOf("7 z\n6 \n5 " + text + "\n"),
                ElementsAre("a.msg:3: message 6 of set 1 does not fit: the texts of a set can have "
                            "65535 bytes, with one more for each message number up to the last"));
    EXPECT_THAT(problemsOf("65535 \n"),
                ElementsAre("a.msg:2: message 65535 of set 1 does not fit: the texts of a set can "
                            "have 65535 bytes, with one more for each message number up to the "
                            "last"));
}

// --- directives ---

TEST(SourceQuote, IsAnyCharacterUntilSwitchedOff) {
    const zolcat::Catalog catalog =
        read("$catalog 1 a\n1 \"x\"\n$quote |\n2 |x |\n$quote\n3 |x|\n").catalog;

    EXPECT_EQ("\"x\"", catalog.find(1, 1)->text);
    EXPECT_EQ("x ", catalog.find(1, 2)->text);
    EXPECT_EQ("|x|", catalog.find(1, 3)->text);
}

TEST(SourceQuote, IsOneByteAndNoBackslash) {
    EXPECT_THAT(problemsOf("$quote ''\n$quote \\\n"),
                ElementsAre("a.msg:2: $quote takes one byte, and not a backslash",
                            "a.msg:3: $quote takes one byte, and not a backslash"));
}

TEST(SourceCatalog, IsRequired) {
    EXPECT_THAT(printed(read("")), ElementsAre("a.msg:1: there is no $catalog"));
}

TEST(SourceCatalog, ComesOnce) {
    EXPECT_THAT(problemsOf("$catalog 1 a\n"),
                ElementsAre("a.msg:2: the catalog has its $catalog in a.msg:1"));
}

TEST(SourceCatalog, HasANumberUpTo255) {
    EXPECT_EQ(255u, read("$catalog 255 a\n").catalog.id);
    EXPECT_THAT(printed(read("$catalog 256 a\n")),
                ElementsAre("a.msg:1: catalog number 256 is above 255"));
    EXPECT_THAT(printed(read("$catalog garden\n")),
                ElementsAre("a.msg:1: $catalog needs the number of the catalog, and its name"));
}

TEST(SourceCatalog, HasANameOf1To64Bytes) {
    const std::string name(64, 'n');

    EXPECT_EQ(name, read("$catalog 0 " + name + "\n").catalog.name);
    EXPECT_EQ(
        "Gr\xc3\xbc\xc3\x9f"
        "e 2",
        read("$catalog\t0\t Gr\xc3\xbc\xc3\x9f"
             "e 2 \n")
            .catalog.name);
    EXPECT_THAT(printed(read("$catalog 0 " + name + "n\n")),
                ElementsAre("a.msg:1: the name has 65 bytes, and can have 64"));
    EXPECT_THAT(printed(read("$catalog 0 \n")), ElementsAre("a.msg:1: the name is missing"));
}

TEST(SourceSetName, Has1To64BytesToo) {
    EXPECT_THAT(problemsOf("$setname\n$setname " + std::string(65, 'n') + "\n"),
                ElementsAre("a.msg:2: the name is missing",
                            "a.msg:3: the name has 65 bytes, and can have 64"));
}

TEST(SourceSetName, CannotHaveAZeroByte) {
    EXPECT_THAT(problemsOf(std::string("$setname a\0b\n", 13)),
                ElementsAre("a.msg:2: a name cannot have a zero byte"));
}

TEST(SourceName, IsThatOfTheNextMessage) {
    const zolcat::Catalog catalog =
        read("$catalog 1 a\n$name OPEN_2\n$ comment\n\n1 x\n2 y\n").catalog;

    EXPECT_EQ("OPEN_2", catalog.find(1, 1)->name);
    EXPECT_EQ("", catalog.find(1, 2)->name);
}

TEST(SourceName, IsAnIdentifier) {
    EXPECT_THAT(
        problemsOf("$name 2\n$name A-B\n$name A B\n$name\n$name _a1\n1 x\n"),
        ElementsAre("a.msg:2: '2' is not an identifier", "a.msg:3: 'A-B' is not an identifier",
                    "a.msg:4: 'A B' is not an identifier", "a.msg:5: '' is not an identifier"));
}

TEST(SourceName, IsNotOneOfTheHeadersOwn) {
    EXPECT_THAT(problemsOf("$name CATALOG\n1 x\n$name CATALOG_H\n2 x\n"),
                ElementsAre("a.msg:2: the name CATALOG is used by the header itself",
                            "a.msg:4: the name CATALOG_H is used by the header itself"));
}

TEST(SourceName, BelongsToOneMessage) {
    EXPECT_THAT(problemsOf("$name A\n1 x\n$set 2\n$name A\n1 y\n"),
                ElementsAre("a.msg:6: the name A belongs to the message in a.msg:3"));
    EXPECT_THAT(problemsOf("$name A\n1 x\n1\n$name A\n2 y\n"), IsEmpty());
}

TEST(SourceName, NeedsAMessageBehindIt) {
    EXPECT_THAT(
        problemsOf("$name A\n$name B\n1\n$name C\n$set 2\n$name D\n$delset 3\n$name E\n"),
        ElementsAre("a.msg:2: no message follows $name A", "a.msg:3: no message follows $name B",
                    "a.msg:5: no message follows $name C", "a.msg:7: no message follows $name D",
                    "a.msg:9: no message follows $name E"));
    EXPECT_THAT(problemsOf("$name A\n$set 2\n1 x\n"),
                ElementsAre("a.msg:2: no message follows $name A"));
    EXPECT_THAT(problemsOf("$name A\n$delset 2\n1 x\n"),
                ElementsAre("a.msg:2: no message follows $name A"));
}

// --- several sources ---

TEST(SeveralSources, MakeOneCatalog) {
    const zolcat::Reading reading =
        zolcat::readSources({{"a", "$catalog 1 a\n$set 2\n1 x\n"}, {"b", "$set 2\n2 y"}});

    EXPECT_THAT(printed(reading), IsEmpty());
    EXPECT_EQ("x", reading.catalog.find(2, 1)->text);
    EXPECT_EQ("y", reading.catalog.find(2, 2)->text);
}

TEST(SeveralSources, EachBeginInSet1WithoutQuotes) {
    const zolcat::Catalog catalog =
        zolcat::readSources({{"a", "$catalog 1 a\n$quote \"\n$set 2\n"}, {"b", "2 \"y\""}}).catalog;

    EXPECT_EQ("\"y\"", catalog.find(1, 2)->text);
}

TEST(SeveralSources, EachBeginInSet1AlsoBehindABadSet) {
    const zolcat::Catalog catalog =
        zolcat::readSources({{"a", "$catalog 1 a\n$set 256\n"}, {"b", "2 y"}}).catalog;

    EXPECT_EQ("y", catalog.find(1, 2)->text);
}

TEST(SeveralSources, HaveTheirProblemsSaidInOrder) {
    const zolcat::Reading reading =
        zolcat::readSources({{"a", "$catalog 1 a\n$name N\n1 x\n$name M\n"},
                             {"b", "$catalog 1 a\n1 y\n$name N\n2 z\n"}});

    EXPECT_THAT(printed(reading), ElementsAre("a:4: no message follows $name M",
                                              "b:1: the catalog has its $catalog in a:1",
                                              "b:2: message 1 of set 1 is already defined in a:3",
                                              "b:4: the name N belongs to the message in a:3"));
    EXPECT_THAT(
        problemsOf("$name N\n1 x\n$name N\n2 y\n$foo\n65535 z\n$bar\n"),
        ElementsAre("a.msg:5: the name N belongs to the message in a.msg:3",
                    "a.msg:6: there is no directive $foo; in a comment a blank follows the $",
                    "a.msg:7: message 65535 of set 1 does not fit: the texts of a set can "
                    "have 65535 bytes, with one more for each message number up to the "
                    "last",
                    "a.msg:8: there is no directive $bar; in a comment a blank follows the $"));
}

}  // namespace
