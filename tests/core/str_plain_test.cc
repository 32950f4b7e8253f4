// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string.h>
#include <string>

#include "zol/str.h"

#include "support/owned_str.h"
#include "support/plain_text_oracle.h"

namespace {

std::string utf8(const std::string& text) {
    OwnedStr s;
    xstr_set(s, text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(&s.h, xstr_replaceSpecialCharUTF8(s));
    EXPECT_EQ('\0', s.h[s.length()]);
    return std::string(s.h, static_cast<size_t>(s.length()));
}

std::string ascii(const std::string& text) {
    OwnedStr s;
    xstr_set(s, text.data(), static_cast<int>(text.size()));
    EXPECT_EQ(&s.h, xstr_replaceSpecialCharASCII(s));
    EXPECT_EQ('\0', s.h[s.length()]);
    return std::string(s.h, static_cast<size_t>(s.length()));
}

// --- UTF-8 ---

TEST(PlainUtf8, LeavesAsciiAsItIs) {
    std::string all;
    for (int character = 1; character < 128; ++character) {
        all += static_cast<char>(character);
    }

    EXPECT_EQ(all, utf8(all));
}

TEST(PlainUtf8, LosesTheAccentsOfLatin1) {
    EXPECT_EQ("e", utf8("é"));
    EXPECT_EQ("Arger", utf8("Ärger"));
    EXPECT_EQ("B", utf8("ß"));
    EXPECT_EQ("Straucher giessen", utf8("Sträucher giessen"));
    EXPECT_EQ("deja vu a Noel", utf8("déjà vu à Noël"));
}

// All that begin with 0xC3, in their order.
TEST(PlainUtf8, KnowsEveryLetterOfLatin1) {
    EXPECT_EQ("AAAAAAACEEEEIIII", utf8("ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏ"));
    EXPECT_EQ("DNOOOOO_OUUUUY_B", utf8("ÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"));
    EXPECT_EQ("aaaaaaaceeeeiiii", utf8("àáâãäåæçèéêëìíîï"));
    EXPECT_EQ("_nooooo_ouuuuyyy", utf8("ðñòóôõö÷øùúûüýþÿ"));
}

TEST(PlainUtf8, ThornBecomesYForTheFirstRangeCounts) {
    EXPECT_EQ("y", utf8("þ"));
    EXPECT_EQ("_", utf8("Þ"));
}

TEST(PlainUtf8, MakesOneLineOfEveryOtherCharacter) {
    EXPECT_EQ("_", utf8("×"));
    EXPECT_EQ("_", utf8("µ"));
    EXPECT_EQ("_", utf8("\xc2\x80"));
    EXPECT_EQ("_", utf8("Ā"));
    EXPECT_EQ("_", utf8("\xdf\xbf"));
    EXPECT_EQ("_", utf8("€"));
    EXPECT_EQ("_", utf8("\xe0\xa0\x80"));
    EXPECT_EQ("_", utf8("\xef\xbf\xbf"));
    EXPECT_EQ("_", utf8("🌱"));
    EXPECT_EQ("_", utf8("\xf4\x8f\xbf\xbf"));
    EXPECT_EQ("5 _", utf8("5 €"));
    EXPECT_EQ("__", utf8("🌱€"));
}

TEST(PlainUtf8, ShortensTheTextByTheBytesThatGo) {
    OwnedStr euro("5 € a");
    OwnedStr seedling("a🌱b");

    xstr_replaceSpecialCharUTF8(euro);
    xstr_replaceSpecialCharUTF8(seedling);

    EXPECT_EQ(5, euro.length());
    EXPECT_STREQ("5 _ a", euro.h);
    EXPECT_EQ(3, seedling.length());
    EXPECT_STREQ("a_b", seedling.h);
}

TEST(PlainUtf8, CopiesStrayContinuationBytes) {
    EXPECT_EQ(
        "a\x80\xbf\xff"
        "b",
        utf8("a\x80\xbf\xff"
             "b"));
    EXPECT_EQ("\xc0\xc1", utf8("\xc0\xc1"));
}

TEST(PlainUtf8, TakesTheByteBehindALeadByteWhateverItIs) {
    EXPECT_EQ("_", utf8("\xc2"
                        "A"));
    EXPECT_EQ("_", utf8("\xe2"
                        "AB"));
    EXPECT_EQ("_", utf8("\xf0"
                        "ABC"));
    EXPECT_EQ("_", utf8("\xfe"
                        "ABC"));
    EXPECT_EQ("_B", utf8("\xc4"
                         "AB"));
}

// U+00C3 and so on have followers from 0x80 to 0xBF; another one is not UTF-8.
TEST(PlainUtf8, MakesOneLineOfALeadByteOfLatin1WithAWrongFollower) {
    EXPECT_EQ("_b", utf8("\xc3"
                         "Ab"));
    EXPECT_EQ("_b", utf8("\xc3\xc3"
                         "b"));
    EXPECT_EQ("_b", utf8("\xc3\xff"
                         "b"));
}

TEST(PlainUtf8, LosesACharacterThatIsCutOff) {
    EXPECT_EQ("a", utf8("a\xc3"));
    EXPECT_EQ("a", utf8("a\xc2"));
    EXPECT_EQ("a", utf8("a\xe2"));
    EXPECT_EQ("a", utf8("a\xe2\x82"));
    EXPECT_EQ("a", utf8("a\xf0"));
    EXPECT_EQ("a", utf8("a\xf0\x9f"));
    EXPECT_EQ("a", utf8("a\xf0\x9f\x8c"));
}

TEST(PlainUtf8, IsEmptyWhenNothingIsLeft) {
    OwnedStr s("\xf0\x9f");

    xstr_replaceSpecialCharUTF8(s);

    EXPECT_EQ(xstr_null, s.h);
}

TEST(PlainUtf8, GoesOnBehindNuls) {
    EXPECT_EQ(std::string("a\0e", 3), utf8(std::string("a\0é", 4)));
}

TEST(PlainUtf8, OfAnEmptyStringIsEmpty) {
    OwnedStr s;

    EXPECT_EQ(&s.h, xstr_replaceSpecialCharUTF8(s));

    EXPECT_EQ(xstr_null, s.h);
}

TEST(PlainUtf8, OfANullHandleIsNull) {
    xstr null = nullptr;

    EXPECT_EQ(nullptr, xstr_replaceSpecialCharUTF8(&null));
    EXPECT_EQ(nullptr, xstr_replaceSpecialCharUTF8(nullptr));
}

TEST(PlainUtf8, LeavesOtherHoldersTheirText) {
    OwnedStr s("é");
    OwnedStr other;
    xstr_copy(other, s);

    xstr_replaceSpecialCharUTF8(s);

    EXPECT_STREQ("e", s.h);
    EXPECT_STREQ("é", other.h);
    EXPECT_EQ(1, s.holders());
    EXPECT_EQ(1, other.holders());
}

TEST(PlainUtf8, MakesAPlainTextPrivateToo) {
    OwnedStr s("abc");
    OwnedStr other;
    xstr_copy(other, s);

    xstr_replaceSpecialCharUTF8(s);

    EXPECT_NE(s.h, other.h);
}

TEST(PlainUtf8, GivesRoomBackWhenMuchHasGone) {
    std::string text;
    for (int i = 0; i < 100; ++i) {
        text += "🌱";
    }
    OwnedStr s(text.c_str());

    xstr_replaceSpecialCharUTF8(s);

    EXPECT_EQ(100, s.length());
    EXPECT_EQ(101, s.capacity());
}

TEST(PlainUtf8, TreatsAnyThreeBytesByTheRules) {
    const std::string bytes = "a_\x7f\x80\x9f\xbe\xbf\xc0\xc1\xc2\xc3\xc4\xdf\xe0\xef\xf0\xfe\xff";
    for (const char first : bytes) {
        for (const char second : bytes) {
            for (const char third : bytes) {
                const std::string text = {first, second, third};
                ASSERT_EQ(plainText(text), utf8(text)) << testing::PrintToString(text);
            }
        }
    }
}

// --- code page 437 ---

TEST(PlainAscii, LeavesAsciiAsItIs) {
    std::string all;
    for (int character = 1; character < 128; ++character) {
        all += static_cast<char>(character);
    }

    EXPECT_EQ(all, ascii(all));
}

TEST(PlainAscii, ReplacesTheBytesOfItsRangesAlone) {
    EXPECT_EQ(
        "C\x81\x82"
        "aaaaceeeiiiAAE",
        ascii("\x80\x81\x82\x83\x84\x85\x86\x87\x88\x89\x8a\x8b\x8c\x8d\x8e\x8f\x90"));
    EXPECT_EQ("\x91\x92ooouu\x98OU\x9b\x9c\x9d\x9e\x9f",
              ascii("\x91\x92\x93\x94\x95\x96\x97\x98\x99\x9a\x9b\x9c\x9d\x9e\x9f"));
    for (int byte = 0xA0; byte < 0x100; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(text, ascii(text)) << byte;
    }
}

TEST(PlainAscii, KeepsTheLength) {
    OwnedStr s("gr\x81n b\x8a la");

    xstr_replaceSpecialCharASCII(s);

    EXPECT_EQ(10, s.length());
    EXPECT_STREQ("gr\x81n be la", s.h);
}

TEST(PlainAscii, GoesOnBehindNuls) {
    EXPECT_EQ(std::string("a\0e", 3), ascii(std::string("a\0\x8a", 3)));
}

TEST(PlainAscii, OfAnEmptyStringIsEmpty) {
    OwnedStr s;

    EXPECT_EQ(&s.h, xstr_replaceSpecialCharASCII(s));

    EXPECT_EQ(xstr_null, s.h);
}

TEST(PlainAscii, OfANullHandleIsNull) {
    xstr null = nullptr;

    EXPECT_EQ(nullptr, xstr_replaceSpecialCharASCII(&null));
    EXPECT_EQ(nullptr, xstr_replaceSpecialCharASCII(nullptr));
}

TEST(PlainAscii, LeavesOtherHoldersTheirText) {
    OwnedStr s("\x8a");
    OwnedStr other;
    xstr_copy(other, s);

    xstr_replaceSpecialCharASCII(s);

    EXPECT_STREQ("e", s.h);
    EXPECT_STREQ("\x8a", other.h);
}

}  // namespace
