// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zolcat/printf_format.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> argumentsOf(const std::string& text) {
    return zolcat::conversionsOf(text).arguments;
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

TEST(Conversions, DoNotCountPercentSignsAndErrnoTexts) {
    EXPECT_THAT(argumentsOf("100%% %m"), IsEmpty());
    EXPECT_EQ("", zolcat::conversionsOf("100%% %m").invalid);
}

TEST(Conversions, AreShownAsWritten) {
    EXPECT_EQ("%5.2f, %-3d", zolcat::conversionsOf("%% a %5.2f b %-3d c").written);
}

TEST(Conversions, ThatPrintfDoesNotKnowAreSaid) {
    EXPECT_EQ("%!", zolcat::conversionsOf("100%!").invalid);
    EXPECT_EQ("%", zolcat::conversionsOf("100%").invalid);
    EXPECT_EQ("%5%", zolcat::conversionsOf("%5%").invalid);
    EXPECT_EQ("%Ld", zolcat::conversionsOf("%Ld").invalid);
    EXPECT_EQ("%lp", zolcat::conversionsOf("%d %lp %hp").invalid);
}

TEST(Conversions, CannotMixPositionsWithOrder) {
    EXPECT_EQ("%s", zolcat::conversionsOf("%1$d %s").invalid);
    EXPECT_EQ("%2$s", zolcat::conversionsOf("%d %2$s").invalid);
}

TEST(Conversions, CannotTakeOneArgumentAsTwoTypes) {
    EXPECT_EQ("%1$s", zolcat::conversionsOf("%1$d %1$s").invalid);
}

TEST(Conversions, CannotHavePositionsWithoutEnd) {
    EXPECT_EQ("%100$d", zolcat::conversionsOf("%100$d").invalid);
    EXPECT_EQ("%0$d", zolcat::conversionsOf("%0$d").invalid);
    EXPECT_EQ("%99999999999999999999$", zolcat::conversionsOf("%99999999999999999999$d").invalid);
}

}  // namespace
