// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zolcat/printf_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<std::string> argumentsOf(const std::string& text) {
    return zolcat::conversionsOf(text).arguments;
}

std::string invalidIn(const std::string& text) {
    return zolcat::conversionsOf(text).invalid;
}

TEST(Conversions, AreListedInTheirOrder) {
    EXPECT_THAT(argumentsOf("%s has %d"), ElementsAre("s", "d"));
}

TEST(Conversions, OfOneTypeAreAlike) {
    EXPECT_THAT(argumentsOf("%i %d"), ElementsAre("d", "d"));
    EXPECT_THAT(argumentsOf("%u %x %X %o"), ElementsAre("u", "u", "u", "u"));
    EXPECT_THAT(argumentsOf("%f %F %e %E %g %G %a %A %lf"),
                ElementsAre("f", "f", "f", "f", "f", "f", "f", "f", "f"));
    EXPECT_THAT(argumentsOf("%C %lc %S %ls"), ElementsAre("lc", "lc", "ls", "ls"));
}

TEST(Conversions, KeepTheLengthOfTheirArgument) {
    EXPECT_THAT(argumentsOf("%hhd %hd %ld %lld %qd %jd %zu %td %Lf"),
                ElementsAre("hhd", "hd", "ld", "lld", "lld", "jd", "zu", "td", "Lf"));
}

TEST(Conversions, MayHaveFlagsWidthAndPrecision) {
    EXPECT_THAT(argumentsOf("%-+ #0'5.2f %.s %10c"), ElementsAre("f", "s", "c"));
}

TEST(Conversions, CountWidthsAndPrecisionsThatAreArguments) {
    EXPECT_THAT(argumentsOf("%*d %.*s"), ElementsAre("*", "d", "*", "s"));
}

TEST(Conversions, WithPositionsAreListedByPosition) {
    EXPECT_THAT(argumentsOf("%2$s has %1$d"), ElementsAre("d", "s"));
    EXPECT_THAT(argumentsOf("%1$*2$d"), ElementsAre("d", "*"));
    EXPECT_THAT(argumentsOf("%1$s %1$s"), ElementsAre("s"));
    EXPECT_THAT(argumentsOf("%2$s"), ElementsAre("", "s"));
}

TEST(Conversions, MayCountTheBytesWritten) {
    EXPECT_THAT(argumentsOf("%n %ln %hhn %qn"), ElementsAre("n", "ln", "hhn", "lln"));
    EXPECT_THAT(argumentsOf("%Ln"), ElementsAre("?%Ln"));
}

TEST(Conversions, MayBeBinary) {
    EXPECT_THAT(argumentsOf("%b %#lB"), ElementsAre("u", "lu"));
    EXPECT_EQ("", invalidIn("%b %B"));
}

TEST(Conversions, DoNotCountPercentSignsAndErrnoTexts) {
    EXPECT_THAT(argumentsOf("100%% %m %1$m"), IsEmpty());
    EXPECT_THAT(argumentsOf("%*m"), ElementsAre("*"));
    EXPECT_EQ("", invalidIn("100%% %m %d"));
    EXPECT_EQ("", invalidIn("%1$m %1$d %m"));
}

TEST(Conversions, MakeAFormat) {
    EXPECT_TRUE(zolcat::conversionsOf("%d").isFormat);
    EXPECT_TRUE(zolcat::conversionsOf("%%").isFormat);
    EXPECT_TRUE(zolcat::conversionsOf("%m").isFormat);
    EXPECT_TRUE(zolcat::conversionsOf("%y").isFormat);
    EXPECT_FALSE(zolcat::conversionsOf("").isFormat);
    EXPECT_FALSE(zolcat::conversionsOf("100%").isFormat);
    EXPECT_FALSE(zolcat::conversionsOf("100 % sure").isFormat);
}

TEST(Conversions, AreShownAsWritten) {
    EXPECT_EQ("%5.2f, %-3d", zolcat::conversionsOf("%% a %5.2f b %-3d c").written);
    EXPECT_EQ("%y, %.*2$d", zolcat::conversionsOf("%y 5% %.*2$d").written);
}

TEST(Conversions, ThatPrintfDoesNotKnowAreSaid) {
    EXPECT_EQ("'%y', which printf() does not know", invalidIn("%d %y %w"));
    EXPECT_EQ("'%-5Ld', which printf() does not know", invalidIn("%-5Ld"));
    EXPECT_EQ("'%lp', which printf() does not know", invalidIn("%d %lp %hp"));
}

TEST(Conversions, ThatPrintfDoesNotKnowAreArgumentsOfTheirOwn) {
    EXPECT_THAT(argumentsOf("%y %s %-5Ld"), ElementsAre("?%y", "s", "?%-5Ld"));
    EXPECT_THAT(argumentsOf("%2$s %1$y"), ElementsAre("?%1$y", "s"));
}

TEST(Conversions, AreNotWhatNoLetterEnds) {
    EXPECT_EQ("'%!', which printf() does not know", invalidIn("100%!"));
    EXPECT_EQ("'%', which printf() does not know", invalidIn("100%"));
    EXPECT_EQ("'%', which printf() does not know", invalidIn("100%\xc3\xa4"));
    EXPECT_EQ("'%-', which printf() does not know", invalidIn("100%-\n"));
    EXPECT_EQ("'%', which printf() does not know", invalidIn("100%\x7f"));
    EXPECT_EQ("'%5', which printf() does not know", invalidIn("%5%"));
    EXPECT_THAT(argumentsOf("100%! 5%5% %* %"), IsEmpty());
    EXPECT_THAT(argumentsOf("5% %d"), ElementsAre("d"));
}

TEST(Conversions, AreNotBlanksBeforeLettersThatTakeNoBlank) {
    EXPECT_THAT(argumentsOf("% s % c % C % S % o % u % x % X % b % p % n % m % y"), IsEmpty());
    EXPECT_THAT(argumentsOf("% d % i % f % e % G % a"), ElementsAre("d", "d", "f", "f", "f", "f"));
    EXPECT_EQ("'% s', which printf() does not know", invalidIn("100 % sure"));
}

TEST(Conversions, CannotMixPositionsWithOrder) {
    EXPECT_EQ("'%s', which mixes positions with order", invalidIn("%1$d %s"));
    EXPECT_EQ("'%2$s', which mixes positions with order", invalidIn("%d %2$s"));
    EXPECT_EQ("'%1$m', which mixes positions with order", invalidIn("%d %1$m"));
    EXPECT_EQ("'%s', which mixes positions with order", invalidIn("%1$m %s"));
    EXPECT_EQ("'%.*2$d', which mixes positions with order", invalidIn("%.*2$d"));
    EXPECT_EQ("'%1$*d', which mixes positions with order", invalidIn("%1$*d"));
    EXPECT_THAT(argumentsOf("%1$d %s"), ElementsAre("d", "?%s"));
}

TEST(Conversions, CannotTakeOneArgumentAsTwoTypes) {
    EXPECT_EQ("'%1$s', which takes argument 1 as two types", invalidIn("%1$d %1$s"));
    EXPECT_EQ("'%12$*12$s', which takes argument 12 as two types", invalidIn("%12$*12$s"));
}

TEST(Conversions, CannotHavePositionsWithoutEnd) {
    EXPECT_THAT(argumentsOf("%99$d"), SizeIs(99));
    EXPECT_EQ("'%100$d', which printf() does not know", invalidIn("%100$d"));
    EXPECT_EQ("'%0$d', which printf() does not know", invalidIn("%0$d"));
    EXPECT_EQ("'%99999999999999999999$d', which printf() does not know",
              invalidIn("%99999999999999999999$d"));
    EXPECT_THAT(argumentsOf("%99999999999999999999$d"), ElementsAre("?%99999999999999999999$d"));
}

}  // namespace
