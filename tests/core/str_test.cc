// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/str.h"

#include <gtest/gtest.h>
#include <random>
#include <string.h>
#include <string>

#include "support/owned_str.h"

namespace {

// --- states and lengths ---

TEST(StrInit, GivesTheEmptyString) {
    xstr s = nullptr;

    xstr_init(&s);

    EXPECT_EQ(xstr_null, s);
    EXPECT_EQ(0, xstr_get_length(&s));
    EXPECT_EQ(1, xstr_is_empty(&s));
    EXPECT_EQ(0, xstr_compare(&s, ""));
}

TEST(StrLength, OfANullHandleIsZero) {
    const xstr s = nullptr;

    EXPECT_EQ(0, xstr_get_length(&s));
    EXPECT_EQ(1, xstr_is_empty(&s));
    EXPECT_EQ(0, xstr_compare(&s, ""));
}

TEST(StrFree, LeavesAnEmptyStringThatMayBeUsedAgain) {
    OwnedStr s("abc");

    xstr_free(s);

    EXPECT_EQ(xstr_null, s.h);
    xstr_set(s, "again", -1);
    EXPECT_STREQ("again", s.h);
}

TEST(StrFree, ReleasesOneReference) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_free(b);

    EXPECT_EQ(1, a.holders());
    EXPECT_STREQ("abc", a.h);
}

// --- setting ---

TEST(StrSet, MeasuresTheTextForALengthOfMinusOne) {
    OwnedStr s;

    EXPECT_EQ(&s.h, xstr_set(s, "abc", -1));

    EXPECT_EQ(3, s.length());
    EXPECT_STREQ("abc", s.h);
    EXPECT_EQ(0, xstr_is_empty(s));
    EXPECT_EQ(4, s.header()->count);
    EXPECT_EQ(1, s.holders());
    EXPECT_EQ(&xstr_def, s.header()->def);
}

TEST(StrSet, CopiesAGivenNumberOfBytes) {
    OwnedStr s;

    xstr_set(s, "abcdef", 3);

    EXPECT_STREQ("abc", s.h);
}

TEST(StrSet, CopiesEmbeddedNuls) {
    OwnedStr s;

    xstr_set(s, "a\0b", 3);

    EXPECT_EQ(3, s.length());
    EXPECT_EQ(0, memcmp("a\0b", s.h, 4));
}

TEST(StrSet, ToNothingOwnsNothing) {
    for (const int length : {0, -2, -1000}) {
        OwnedStr s("before");

        xstr_set(s, "abc", length);

        EXPECT_EQ(xstr_null, s.h) << length;
    }
}

TEST(StrSet, ToANullTextEmptiesTheString) {
    OwnedStr s("before");

    xstr_set(s, nullptr, -1);

    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrSet, LeavesOtherHoldersOfTheBytesUnchanged) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_set(b, "xyz", -1);

    EXPECT_STREQ("abc", a.h);
    EXPECT_EQ(1, a.holders());
}

TEST(StrSet, TakesAPartOfItself) {
    OwnedStr s("abcdef");

    xstr_set(s, s.h + 2, 3);

    EXPECT_STREQ("cde", s.h);
}

TEST(StrSet, GrowsToTheNextMultipleOf16AboveTheCount) {
    OwnedStr s;

    xstr_set(s, "12345678901234", -1);
    EXPECT_EQ(16, s.capacity());  // 15 bytes with the NUL
    xstr_set(s, "123456789012345", -1);
    EXPECT_EQ(32, s.capacity());  // 16 bytes
    xstr_set(s, "1234567890123456", -1);
    EXPECT_EQ(32, s.capacity());
}

TEST(StrSetChar, RepeatsACharacter) {
    OwnedStr s("before");

    EXPECT_EQ(&s.h, xstr_set_char(s, 'x', 4));

    EXPECT_STREQ("xxxx", s.h);
    EXPECT_EQ(4, s.length());
}

TEST(StrSetChar, OfLessThanOneEmptiesTheString) {
    OwnedStr s("before");

    xstr_set_char(s, 'x', 0);
    EXPECT_EQ(xstr_null, s.h);

    xstr_set(s, "before", -1);
    xstr_set_char(s, 'x', -1);
    EXPECT_EQ(xstr_null, s.h);
}

// --- joining ---

TEST(StrConcat, AppendsText) {
    OwnedStr s("abc");

    EXPECT_EQ(&s.h, xstr_concat(s, "defgh", 2));

    EXPECT_STREQ("abcde", s.h);
    EXPECT_EQ(5, s.length());
}

TEST(StrConcat, ToAnEmptyStringSetsIt) {
    OwnedStr s;

    xstr_concat(s, "abc", -1);

    EXPECT_STREQ("abc", s.h);
    EXPECT_EQ(1, s.holders());
}

TEST(StrConcat, OfLessThanOneByteChangesNothing) {
    OwnedStr s("abc");
    OwnedStr shared;
    xstr_copy(shared, s);

    xstr_concat(s, "def", 0);
    xstr_concat(s, "def", -5);
    xstr_concat(s, "", -1);

    EXPECT_EQ(shared.h, s.h);
    EXPECT_STREQ("abc", s.h);
}

TEST(StrConcat, LeavesOtherHoldersOfTheBytesUnchanged) {
    OwnedStr original("abc");
    OwnedStr copy;
    xstr_copy(copy, original);
    ASSERT_EQ(original.h, copy.h);  // shared, not copied

    xstr_concat(copy, "def", -1);

    EXPECT_STREQ("abcdef", copy.h);
    EXPECT_STREQ("abc", original.h);
    EXPECT_EQ(1, original.holders());
    EXPECT_EQ(1, copy.holders());
}

TEST(StrConcat, AppendsTheStringToItself) {
    OwnedStr s("0123456789");

    xstr_concat(s, s.h, -1);
    xstr_concat(s, s.h + 5, 12);

    EXPECT_STREQ("01234567890123456789567890123456", s.h);
}

TEST(StrConcat, AppendsItsOwnNul) {
    OwnedStr s("0123456789");
    xstr_get_buffer(s, 1);
    xstr_release_buffer(s, 0);
    ASSERT_EQ(11, s.capacity());  // full: the block has to move

    xstr_concat(s, s.h + 10, 1);

    EXPECT_EQ(11, s.length());
    EXPECT_EQ(0, memcmp("0123456789\0", s.h, 12));
}

TEST(StrConcat, AppendsASharedStringToItself) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_concat(b, b.h + 1, -1);

    EXPECT_STREQ("abcbc", b.h);
    EXPECT_STREQ("abc", a.h);
}

TEST(StrConcat, KeepsEmbeddedNuls) {
    OwnedStr s("a");

    xstr_concat(s, "\0b", 2);

    EXPECT_EQ(3, s.length());
    EXPECT_EQ(0, memcmp("a\0b", s.h, 4));
}

TEST(StrCopy, SharesTheBytes) {
    OwnedStr a("abc");
    OwnedStr b("before");

    EXPECT_EQ(&b.h, xstr_copy(b, a));

    EXPECT_EQ(a.h, b.h);
    EXPECT_EQ(2, a.holders());
}

TEST(StrCopy, OfAnEmptyStringEmptiesTheDestination) {
    OwnedStr empty;
    OwnedStr s("before");

    xstr_copy(s, empty);

    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrCopy, OntoItselfChangesNothing) {
    OwnedStr s("abc");

    xstr_copy(s, s);

    EXPECT_STREQ("abc", s.h);
    EXPECT_EQ(1, s.holders());
}

TEST(StrCopy, OfSharedBytesKeepsTheCount) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_copy(b, a);

    EXPECT_EQ(2, a.holders());
}

// --- comparing ---

TEST(StrCompare, OrdersLikeStrcmp) {
    OwnedStr s("abc");

    EXPECT_EQ(0, xstr_compare(s, "abc"));
    EXPECT_LT(xstr_compare(s, "abd"), 0);
    EXPECT_GT(xstr_compare(s, "abb"), 0);
    EXPECT_GT(xstr_compare(s, "ab"), 0);
}

TEST(StrCompare, WithNullIsMinusOne) {
    OwnedStr s("abc");
    OwnedStr empty;

    EXPECT_EQ(-1, xstr_compare(s, nullptr));
    EXPECT_EQ(-1, xstr_compare(empty, nullptr));
    EXPECT_EQ(-1, xstr_ncompare(s, nullptr, 3));
    EXPECT_EQ(-1, xstr_ncompare(s, nullptr, static_cast<unsigned>(-1)));
}

TEST(StrNcompare, ComparesTheFirstBytes) {
    OwnedStr s("abcdef");

    EXPECT_EQ(0, xstr_ncompare(s, "abcxyz", 3));
    EXPECT_LT(xstr_ncompare(s, "abcxyz", 4), 0);
    EXPECT_EQ(0, xstr_ncompare(s, "xyz", 0));
}

TEST(StrNcompare, WithMinusOneComparesWholeStrings) {
    OwnedStr s("abc");

    EXPECT_EQ(0, xstr_ncompare(s, "abc", static_cast<unsigned>(-1)));
    EXPECT_LT(xstr_ncompare(s, "abcd", static_cast<unsigned>(-1)), 0);
}

// --- direct writing ---

TEST(StrBuffer, OfAnEmptyStringIsZeroed) {
    OwnedStr s;

    char* const buffer = xstr_get_buffer(s, 10);

    EXPECT_EQ(0, memcmp("\0\0\0\0\0\0\0\0\0\0", buffer, 10));
    EXPECT_EQ(10, s.header()->count);
    strcpy(buffer, "hi");
    EXPECT_EQ(&s.h, xstr_release_buffer(s, 0));
    EXPECT_EQ(2, s.length());
    EXPECT_EQ(3, s.capacity());
    EXPECT_STREQ("hi", s.h);
}

TEST(StrBuffer, OfAnEmptyStringAndNoSizeIsTheSharedEmptyText) {
    OwnedStr s;

    EXPECT_EQ(xstr_null, xstr_get_buffer(s, 0));
    EXPECT_EQ(xstr_null, xstr_get_buffer(s, -1));
    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrBuffer, KeepsTheTextAndAppendsZeroes) {
    OwnedStr s("abc");

    const char* const buffer = xstr_get_buffer(s, 8);

    EXPECT_EQ(0, memcmp("abc\0\0\0\0\0", buffer, 8));
    EXPECT_EQ(8, s.header()->count);
}

TEST(StrBuffer, ThatIsLargeEnoughStaysAsItIs) {
    OwnedStr s("abcdef");
    const char* const before = s.h;

    EXPECT_EQ(before, xstr_get_buffer(s, 7));
    EXPECT_EQ(before, xstr_get_buffer(s, 2));
    EXPECT_EQ(6, s.length());
}

TEST(StrBuffer, OfANegativeSizeIsTheTextAsItIs) {
    OwnedStr s("abc");

    EXPECT_EQ(s.h, xstr_get_buffer(s, INT32_MIN));

    EXPECT_STREQ("abc", s.h);
}

TEST(StrBuffer, IsPrivate) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_get_buffer(b, 1)[0] = 'X';

    EXPECT_STREQ("abc", a.h);
    EXPECT_STREQ("Xbc", b.h);
}

TEST(StrReleaseBuffer, CountsTheNul) {
    OwnedStr s("abcdefgh");
    xstr_get_buffer(s, 1);

    xstr_release_buffer(s, 5);

    EXPECT_STREQ("abcd", s.h);
    EXPECT_EQ(4, s.length());
    EXPECT_EQ(5, s.capacity());
}

TEST(StrReleaseBuffer, OfOneByteEmptiesTheString) {
    OwnedStr s("abc");
    xstr_get_buffer(s, 1);

    xstr_release_buffer(s, 1);

    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrReleaseBuffer, OfATextThatWasCutToNothingEmptiesTheString) {
    OwnedStr s("abc");
    xstr_get_buffer(s, 1)[0] = '\0';

    xstr_release_buffer(s, -1);

    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrReleaseBuffer, OfMoreThanThereIsKeepsTheText) {
    OwnedStr s("abc");
    xstr_get_buffer(s, 1);

    xstr_release_buffer(s, 100);

    EXPECT_STREQ("abc", s.h);
    EXPECT_EQ(4, s.capacity());
}

TEST(StrReleaseBuffer, EndsATextThatFillsTheBuffer) {
    OwnedStr s;
    memcpy(xstr_get_buffer(s, 4), "wxyz", 4);

    xstr_release_buffer(s, 0);

    EXPECT_STREQ("wxy", s.h);
}

TEST(StrReleaseBuffer, OfAnEmptyStringDoesNothing) {
    OwnedStr s;

    EXPECT_EQ(&s.h, xstr_release_buffer(s, 5));

    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrReleaseBuffer, OfASharedStringLeavesTheOthersAlone) {
    OwnedStr a("abcdef");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_release_buffer(b, 3);

    EXPECT_STREQ("ab", b.h);
    EXPECT_STREQ("abcdef", a.h);
}

// --- searching ---

TEST(StrFind, AnswersTheFirstMatchFromAnIndexOn) {
    OwnedStr s("abcabc");

    EXPECT_EQ(1, xstr_find(s, "bc", 0));
    EXPECT_EQ(1, xstr_find(s, "bc", 1));
    EXPECT_EQ(4, xstr_find(s, "bc", 2));
    EXPECT_EQ(-1, xstr_find(s, "bc", 5));
    EXPECT_EQ(-1, xstr_find(s, "x", 0));
    EXPECT_EQ(-1, xstr_find(s, "a", 6));
}

TEST(StrFind, InAnEmptyStringFindsNothing) {
    OwnedStr s;

    EXPECT_EQ(-1, xstr_find(s, "a", 0));
    EXPECT_EQ(-1, xstr_find(s, "", 0));
}

TEST(StrFindLast, AnswersTheLastMatch) {
    OwnedStr s("abcb");
    OwnedStr empty;

    EXPECT_EQ(3, xstr_find_last(s, "b"));
    EXPECT_EQ(0, xstr_find_last(s, "a"));
    EXPECT_EQ(-1, xstr_find_last(s, "x"));
    EXPECT_EQ(-1, xstr_find_last(empty, "b"));
}

TEST(StrFindLast, LetsMatchesOverlap) {
    OwnedStr s("aaa");

    EXPECT_EQ(1, xstr_find_last(s, "aa"));
}

TEST(StrFindLast, OfNothingIsTheEnd) {
    OwnedStr s("abc");

    EXPECT_EQ(3, xstr_find_last(s, ""));
}

// --- trimming ---

TEST(StrTrim, TakesBlanksOffBothEnds) {
    OwnedStr s("  a \n");

    EXPECT_EQ(&s.h, xstr_trim(s, nullptr));

    EXPECT_STREQ("a", s.h);
    EXPECT_EQ(1, s.length());
}

TEST(StrTrim, KnowsSixBlanks) {
    OwnedStr s(" \f\n\r\t\va b \f\n\r\t\v");

    xstr_trim(s, nullptr);

    EXPECT_STREQ("a b", s.h);
}

TEST(StrTrim, OfBlanksAloneLeavesALengthOfZero) {
    OwnedStr s("   ");

    xstr_trim(s, nullptr);

    EXPECT_EQ(0, s.length());
    EXPECT_STREQ("", s.h);
}

TEST(StrTrim, ABlockTrimmedToNothingIsNeverReleased) {
    OwnedStr s("   ");
    xstr_trim(s, nullptr);
    void* const block = s.h;
    ASSERT_NE(xstr_null, block);  // a block that holds its NUL alone

    xstr_free(s);
    EXPECT_EQ(block, s.h);
    xstr_set(s, "abc", -1);

    EXPECT_STREQ("abc", s.h);
    EXPECT_NE(block, s.h);
    xhandle dropped = block;
    EXPECT_EQ(1, xsbuf_get_refcount(&dropped));  // still there
    xsbuf_free(&dropped);
}

TEST(StrTrim, LeavesOtherHoldersOfTheBytesUnchanged) {
    OwnedStr a(" abc ");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_trim(b, nullptr);

    EXPECT_STREQ("abc", b.h);
    EXPECT_STREQ(" abc ", a.h);
}

TEST(StrTrim, OfNothingKeepsTheBytesShared) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_trim(b, nullptr);

    EXPECT_EQ(a.h, b.h);
}

TEST(StrTrim, TakesItsSetFromTheStringItself) {
    OwnedStr s("xyabcyx");

    xstr_trim(s, s.h + 5);  // "yx"

    EXPECT_STREQ("abc", s.h);
}

TEST(StrLtrim, TakesOffLeadingBytesOfTheSet) {
    OwnedStr s("xyxabxy");

    EXPECT_EQ(&s.h, xstr_ltrim(s, "xy"));

    EXPECT_STREQ("abxy", s.h);
    EXPECT_EQ(4, s.length());
}

TEST(StrLtrim, OfBlanksAloneLeavesAPrivateBlockWithItsNul) {
    OwnedStr a("   ");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_ltrim(b, nullptr);

    EXPECT_EQ(0, b.length());
    EXPECT_EQ(1, b.header()->count);
    EXPECT_EQ(1, b.holders());
    EXPECT_STREQ("   ", a.h);
}

TEST(StrLtrim, OfAnEmptyStringDoesNothing) {
    OwnedStr s;

    xstr_ltrim(s, nullptr);

    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrRtrim, TakesOffTrailingBytesOfTheSet) {
    OwnedStr s("xyabxyx");

    EXPECT_EQ(&s.h, xstr_rtrim(s, "xy"));

    EXPECT_STREQ("xyab", s.h);
    EXPECT_EQ(4, s.length());
}

TEST(StrRtrim, NeverTakesOffTheFirstByte) {
    OwnedStr s("   ");

    xstr_rtrim(s, nullptr);

    EXPECT_STREQ(" ", s.h);
    EXPECT_EQ(1, s.length());
}

TEST(StrRtrim, KeepsEmbeddedNuls) {
    OwnedStr s;
    xstr_set(s, "a\0", 2);

    xstr_rtrim(s, " ");

    EXPECT_EQ(2, s.length());
}

TEST(StrRtrim, OfAnEmptySetRemovesNothing) {
    OwnedStr s("abc ");

    xstr_rtrim(s, "");

    EXPECT_STREQ("abc ", s.h);
}

TEST(StrRtrim, GivesSpareRoomBackOnceItIsAWholeStep) {
    OwnedStr s("a                    ");  // 21 bytes

    xstr_rtrim(s, nullptr);

    EXPECT_STREQ("a", s.h);
    EXPECT_EQ(2, s.capacity());
}

// --- replacing ---

TEST(StrReplace, ByALongerText) {
    OwnedStr s("aXa");

    EXPECT_EQ(&s.h, xstr_replace(s, "a", "bb"));

    EXPECT_STREQ("bbXbb", s.h);
    EXPECT_EQ(5, s.length());
}

TEST(StrReplace, ByAShorterText) {
    OwnedStr s("bbXbb");

    xstr_replace(s, "bb", "a");

    EXPECT_STREQ("aXa", s.h);
    EXPECT_EQ(3, s.length());
}

TEST(StrReplace, ByNothing) {
    OwnedStr s("a-b-c-");

    xstr_replace(s, "-", "");

    EXPECT_STREQ("abc", s.h);
}

TEST(StrReplace, OfAllByNothingLeavesALengthOfZero) {
    OwnedStr s("--");

    xstr_replace(s, "-", "");

    EXPECT_EQ(0, s.length());
    EXPECT_STREQ("", s.h);
}

TEST(StrReplace, DoesNotSearchWhatItPutIn) {
    OwnedStr s("aa");

    xstr_replace(s, "a", "aa");

    EXPECT_STREQ("aaaa", s.h);
}

TEST(StrReplace, OfAnEmptyPatternChangesNothing) {
    OwnedStr s("abc");

    xstr_replace(s, "", "x");

    EXPECT_STREQ("abc", s.h);
}

TEST(StrReplace, OfEqualLengthChangesOtherHoldersToo) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_replace(b, "b", "X");

    EXPECT_EQ(a.h, b.h);
    EXPECT_STREQ("aXc", a.h);
}

TEST(StrReplace, OfAnotherLengthLeavesOtherHoldersAlone) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_replace(b, "b", "XX");

    EXPECT_STREQ("abc", a.h);
    EXPECT_STREQ("aXXc", b.h);
}

TEST(StrReplace, TakesBothTextsFromTheStringItself) {
    OwnedStr s("ab ab ab");

    xstr_replace(s, s.h + 6, s.h);  // "ab" by all of it

    EXPECT_STREQ("ab ab ab ab ab ab ab ab ab", s.h);
}

// --- references to text ---

TEST(Strref, RealLengthIsMeasuredForMinusOne) {
    EXPECT_EQ(3, xstrref_get_real_length("abc", -1));
    EXPECT_EQ(2, xstrref_get_real_length("abc", 2));
    EXPECT_EQ(-7, xstrref_get_real_length("abc", -7));
    EXPECT_EQ(0, xstrref_get_real_length(nullptr, -1));
    EXPECT_EQ(0, xstrref_get_real_length(nullptr, 5));
}

TEST(Strref, IsEmptyWithARealLengthOfZero) {
    EXPECT_EQ(1, xstrref_is_empty("", -1));
    EXPECT_EQ(1, xstrref_is_empty("abc", 0));
    EXPECT_EQ(1, xstrref_is_empty(nullptr, 4));
    EXPECT_EQ(0, xstrref_is_empty("abc", -1));
}

TEST(StrrefCompare, OfNulls) {
    EXPECT_EQ(0, xstrref_compare(nullptr, 0, nullptr));
    EXPECT_EQ(-1, xstrref_compare(nullptr, 0, "a"));
    EXPECT_EQ(-1, xstrref_compare("a", 1, nullptr));
}

TEST(StrrefCompare, DifferentLengthsCompareAsLess) {
    EXPECT_EQ(-1, xstrref_compare("ab", static_cast<unsigned>(-1), "abc"));
    EXPECT_EQ(-1, xstrref_compare("zzz", 3, "a"));
    EXPECT_EQ(-1, xstrref_compare("ab", 5, "ab"));  // the length that is told, not the text's
}

TEST(StrrefCompare, OfEqualLengthsOrdersLikeStrncmp) {
    EXPECT_EQ(0, xstrref_compare("abcdef", 3, "abc"));
    EXPECT_EQ(0, xstrref_compare("abc", static_cast<unsigned>(-1), "abc"));
    EXPECT_LT(xstrref_compare("abc", 3, "abd"), 0);
    EXPECT_GT(xstrref_compare("abe", static_cast<unsigned>(-1), "abd"), 0);
}

// --- zol::CStr ---

TEST(CStr, IsOneWord) {
    EXPECT_EQ(sizeof(void*), sizeof(zol::CStr));
}

TEST(CStr, SharesItsBytesWithCopies) {
    const zol::CStr a("abc");
    const zol::CStr b(a);

    EXPECT_EQ(a.get(), b.get());
}

TEST(CStr, AssignsAndCompares) {
    zol::CStr a("abc");
    zol::CStr b;

    b = a;
    EXPECT_TRUE(a == b);
    EXPECT_TRUE("abc" == b);
    b = "abd";
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(a < b);
    const zol::CStr& same = b;
    b = same;
    EXPECT_STREQ("abd", b.get());
}

TEST(CStr, MovesItsBytes) {
    zol::CStr a("abc");
    const char* const bytes = a.get();

    zol::CStr b(static_cast<zol::CStr&&>(a));
    EXPECT_EQ(bytes, b.get());
    EXPECT_TRUE(a.isEmpty());
    a = static_cast<zol::CStr&&>(b);
    EXPECT_EQ(bytes, a.get());
}

TEST(CStr, FormatsAndAnswersTheLength) {
    zol::CStr s;

    EXPECT_EQ(6, s.format("zone %d", 4));

    EXPECT_STREQ("zone 4", s.get());
}

TEST(CStr, OffersTheStringFunctions) {
    zol::CStr s("  a-b-c  ");

    s.trim().replace("-", "+").concat("!").concat("???", 1);

    EXPECT_STREQ("a+b+c!?", s.get());
    EXPECT_EQ(7, s.getLength());
    EXPECT_EQ(1, s.find("+"));
    EXPECT_EQ(3, s.find("+", 2));
    EXPECT_EQ(3, s.findLast("+"));
    EXPECT_EQ(0, s.compare("a+b+c!?"));
    EXPECT_STREQ("ab", s.set("abc", 2).get());
    EXPECT_EQ(2, xstr_get_length(s.handle()));
}

TEST(CStr, EmptyStrIsEmpty) {
    EXPECT_TRUE(zol::CStr::EmptyStr.isEmpty());
    EXPECT_EQ(xstr_null, zol::CStr::EmptyStr.get());
}

// --- against std::string ---

TEST(StrRandom, BehavesLikeStdString) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    auto below = [&random](size_t limit) { return static_cast<size_t>(random() % limit); };
    auto text = [&](size_t limit) {
        std::string result;
        for (size_t n = below(limit); n > 0; --n) {
            result += "ab "[below(3)];
        }
        return result;
    };
    // Lets go of a block that holds nothing but its NUL, as the library never does.
    auto tidy = [](OwnedStr& s) {
        if (s.length() == 0 && s.h != xstr_null) {
            xsbuf_free(s.table());
            xstr_init(s);
        }
    };
    OwnedStr strings[3];
    std::string models[3];

    for (int step = 0; step < 30000; ++step) {
        const size_t i = below(3);
        const size_t j = below(3);
        OwnedStr& s = strings[i];
        std::string& model = models[i];
        const std::string other = text(40);
        switch (below(9)) {
            case 0:
                xstr_set(s, other.data(), static_cast<int>(other.size()));
                model = other;
                break;
            case 1:
                xstr_concat(s, other.c_str(), -1);
                model += other;
                break;
            case 2:
                xstr_copy(s, strings[j]);
                model = models[j];
                break;
            case 3:
                xstr_ltrim(s, nullptr);
                model.erase(0, model.find_first_not_of(' '));
                break;
            case 4: {
                xstr_rtrim(s, nullptr);
                const size_t last = model.find_last_not_of(' ');
                const size_t kept = last == std::string::npos ? 1 : last + 1;
                model.resize(model.size() < kept ? model.size() : kept);
                break;
            }
            case 5: {
                const std::string from = text(3) + "a";
                std::string to = text(6);
                if (to.size() == from.size()) {
                    to += "b";  // would change the strings that share the bytes
                }
                xstr_replace(s, from.c_str(), to.c_str());
                for (size_t at = 0; (at = model.find(from, at)) != std::string::npos;
                     at += to.size()) {
                    model.replace(at, from.size(), to);
                }
                break;
            }
            case 6: {
                const size_t from = below(model.size() + 1);
                const size_t at = model.find(other, from);
                const int expected =
                    at == std::string::npos || model.empty() ? -1 : static_cast<int>(at);
                ASSERT_EQ(expected, xstr_find(s, other.c_str(), static_cast<unsigned>(from)));
                const size_t last = model.rfind(other);
                ASSERT_EQ(last == std::string::npos || model.empty() ? -1 : static_cast<int>(last),
                          xstr_find_last(s, other.c_str()));
                break;
            }
            case 7: {
                const size_t size = 1 + below(60);
                memset(xstr_get_buffer(s, static_cast<int>(size)), 'a', size - 1);
                const size_t longest = model.size() > size - 1 ? model.size() : size - 1;
                model.replace(0, size - 1, std::string(size - 1, 'a'));
                ASSERT_EQ(longest, model.size());
                tidy(s);
                break;
            }
            case 8: {
                const size_t size = below(model.size() + 2);
                xstr_release_buffer(s, static_cast<int>(size));
                model.resize(size == 0 || size > model.size() ? model.size() : size - 1);
                break;
            }
        }
        tidy(s);
        for (size_t k = 0; k < 3; ++k) {
            ASSERT_EQ(models[k],
                      std::string(strings[k].h, static_cast<size_t>(strings[k].length())));
        }
    }
}

}  // namespace
