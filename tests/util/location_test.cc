// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <stddef.h>
#include <string.h>
#include <string>

#include "zol/lyctx.h"

#include "support/location_oracle.h"

namespace {

xlyctx_location_s start() {
    xlyctx_location_s location = {};
    location.first_line = 1;
    location.last_line = 1;
    return location;
}

void update(xlyctx_location_s& location, const std::string& token) {
    xlyctx_update_location(&location, token.data(), static_cast<int>(token.size()));
}

// The location of the last of several tokens.
template <class... Tokens>
xlyctx_location_s after(const Tokens&... tokens) {
    xlyctx_location_s location = start();
    (update(location, tokens), ...);
    return location;
}

std::string repeat(int count, char character) {
    return std::string(static_cast<size_t>(count), character);
}

// Characters that tell where they stood: "0123456789" again and again.
std::string ruler(int length, int from = 0) {
    std::string text;
    for (int i = from; i < from + length; ++i) {
        text += static_cast<char>('0' + i % 10);
    }
    return text;
}

// --- the records ---

TEST(Location, HasItsFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(xlyctx_location_s, first_line));
    EXPECT_EQ(4U, offsetof(xlyctx_location_s, first_column));
    EXPECT_EQ(8U, offsetof(xlyctx_location_s, last_line));
    EXPECT_EQ(12U, offsetof(xlyctx_location_s, last_column));
    EXPECT_EQ(16U, offsetof(xlyctx_location_s, token_text));
    EXPECT_EQ(76U, offsetof(xlyctx_location_s, line_text));
    EXPECT_EQ(136U, offsetof(xlyctx_location_s, token_position));
    EXPECT_EQ(140U, sizeof(xlyctx_location_s));
}

TEST(ParserContext, HasItsFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(xlyctx_s, name));
    EXPECT_EQ(sizeof(void*), offsetof(xlyctx_s, own));
    EXPECT_EQ(sizeof(void*) + 8, offsetof(xlyctx_s, error));
}

// --- update ---

TEST(UpdateLocation, OfTheFirstTokenBeginsInColumnOne) {
    const xlyctx_location_s location = after("listen");

    EXPECT_EQ(1, location.first_line);
    EXPECT_EQ(1, location.first_column);
    EXPECT_EQ(1, location.last_line);
    EXPECT_EQ(6, location.last_column);
    EXPECT_STREQ("listen", location.token_text);
    EXPECT_STREQ("listen", location.line_text);
    EXPECT_EQ(0U, location.token_position);
}

TEST(UpdateLocation, ShowsTheLineBeforeTheToken) {
    const xlyctx_location_s location = after("x", " ", "=", " ", "ab");

    EXPECT_EQ(5, location.first_column);
    EXPECT_EQ(6, location.last_column);
    EXPECT_STREQ("x = ab", location.token_text);
    EXPECT_EQ(4U, location.token_position);
    EXPECT_STREQ("x = ab", location.line_text);
}

TEST(UpdateLocation, CountsATabAsOneColumnAndOthersByTheByte) {
    const xlyctx_location_s location = after("\t\xc3\xa9", "z");

    EXPECT_EQ(4, location.first_column);
    EXPECT_EQ(4, location.last_column);
}

TEST(UpdateLocation, OfANewlineEndsInColumnZeroOfTheNextLine) {
    const xlyctx_location_s location = after("ab", "\n");

    EXPECT_EQ(1, location.first_line);
    EXPECT_EQ(3, location.first_column);
    EXPECT_EQ(2, location.last_line);
    EXPECT_EQ(0, location.last_column);
    EXPECT_STREQ("ab", location.token_text);
    EXPECT_EQ(2U, location.token_position);
    EXPECT_STREQ("", location.line_text);
}

TEST(UpdateLocation, AfterANewlineBeginsInColumnOne) {
    const xlyctx_location_s location = after("ab", "\n", "c");

    EXPECT_EQ(2, location.first_line);
    EXPECT_EQ(1, location.first_column);
    EXPECT_STREQ("c", location.token_text);
    EXPECT_EQ(0U, location.token_position);
}

TEST(UpdateLocation, OfSeveralLinesShowsTheFirstAndGoesOnWithTheLast) {
    const xlyctx_location_s location = after("s = ", "\"one\ntwo\nthree\"");

    EXPECT_EQ(1, location.first_line);
    EXPECT_EQ(5, location.first_column);
    EXPECT_EQ(3, location.last_line);
    EXPECT_EQ(6, location.last_column);
    EXPECT_STREQ("s = \"one", location.token_text);
    EXPECT_EQ(4U, location.token_position);
    EXPECT_STREQ("three\"", location.line_text);
}

TEST(UpdateLocation, OfATokenThatEndsWithANewlineLeavesAnEmptyLine) {
    const xlyctx_location_s location = after("# comment\n");

    EXPECT_EQ(2, location.last_line);
    EXPECT_EQ(0, location.last_column);
    EXPECT_STREQ("# comment", location.token_text);
    EXPECT_STREQ("", location.line_text);
}

TEST(UpdateLocation, OfAnEmptyTokenOnlyMovesTheFirstPosition) {
    xlyctx_location_s location = after("x = ", "ab");

    update(location, "");

    EXPECT_EQ(1, location.first_line);
    EXPECT_EQ(7, location.first_column);
    EXPECT_EQ(1, location.last_line);
    EXPECT_EQ(6, location.last_column);
    EXPECT_STREQ("x = ab", location.token_text);
    EXPECT_EQ(6U, location.token_position);
    EXPECT_STREQ("x = ab", location.line_text);
}

TEST(UpdateLocation, OfAnEmptyTokenBehindANewlineIsAtTheBeginningOfTheNextLine) {
    const xlyctx_location_s location = after("ab", "\n", "");

    EXPECT_EQ(2, location.first_line);
    EXPECT_EQ(1, location.first_column);
    EXPECT_STREQ("", location.token_text);
    EXPECT_EQ(0U, location.token_position);
}

TEST(UpdateLocation, OfANegativeLengthIsThatOfAnEmptyToken) {
    xlyctx_location_s location = after("ab");

    xlyctx_update_location(&location, "cd", -1);

    EXPECT_EQ(3, location.first_column);
    EXPECT_EQ(2, location.last_column);
    EXPECT_STREQ("ab", location.line_text);
    EXPECT_EQ(2U, location.token_position);
}

TEST(UpdateLocation, KeepsTheLast59CharactersOfALongLine) {
    const xlyctx_location_s location = after(ruler(40), ruler(40, 40));

    EXPECT_EQ(ruler(59, 21), location.line_text);
}

TEST(UpdateLocation, KeepsALineOf59CharactersAndDropsTheFirstOf60) {
    EXPECT_EQ(ruler(59), after(ruler(30), ruler(29, 30)).line_text);
    EXPECT_EQ(ruler(59, 1), after(ruler(30), ruler(30, 30)).line_text);
}

TEST(UpdateLocation, KeepsTheEndOfALongTokenAsTheLine) {
    EXPECT_EQ(ruler(59), after(ruler(59)).line_text);
    EXPECT_EQ(ruler(59, 1), after(ruler(60)).line_text);
    EXPECT_EQ(ruler(59, 941), after("abc", ruler(1000)).line_text);
    EXPECT_EQ(ruler(59), after("abc", ruler(59)).line_text);
}

TEST(UpdateLocation, KeepsTheEndOfALongLastLineOfAToken) {
    EXPECT_EQ(ruler(59, 11), after("abc", "x\ny\n" + ruler(70)).line_text);
    EXPECT_EQ(ruler(59), after("abc", "\n" + ruler(59)).line_text);
}

TEST(UpdateLocation, CutsALongTokenAtTheEndOfTheTokenText) {
    const xlyctx_location_s location = after("x = ", ruler(100));

    EXPECT_EQ("x = " + ruler(55), location.token_text);
    EXPECT_EQ(4U, location.token_position);
}

TEST(UpdateLocation, KeepsA30CharacterContextWhole) {
    const xlyctx_location_s location = after(ruler(30), repeat(40, 'x'));

    EXPECT_EQ(ruler(30) + repeat(29, 'x'), location.token_text);
    EXPECT_EQ(30U, location.token_position);
}

TEST(UpdateLocation, DropsOneOf31CharactersForALongToken) {
    const xlyctx_location_s location = after(ruler(31), repeat(40, 'x'));

    EXPECT_EQ(ruler(30, 1) + repeat(29, 'x'), location.token_text);
    EXPECT_EQ(30U, location.token_position);
}

TEST(UpdateLocation, DropsNothingWhileLineAndTokenHave59Characters) {
    const xlyctx_location_s location = after(ruler(31), repeat(28, 'x'));

    EXPECT_EQ(ruler(31) + repeat(28, 'x'), location.token_text);
    EXPECT_EQ(31U, location.token_position);
}

TEST(UpdateLocation, DropsOneWhenLineAndTokenHave60Characters) {
    const xlyctx_location_s location = after(ruler(50), repeat(10, 'x'));

    EXPECT_EQ(ruler(49, 1) + repeat(10, 'x'), location.token_text);
    EXPECT_EQ(49U, location.token_position);
}

TEST(UpdateLocation, KeepsAtLeast30CharactersBeforeATokenAtPosition50) {
    const xlyctx_location_s location = after(ruler(50), repeat(59, 'x'));

    EXPECT_EQ(ruler(30, 20) + repeat(29, 'x'), location.token_text);
    EXPECT_EQ(30U, location.token_position);
}

TEST(UpdateLocation, MeasuresTheFirstLineOfATokenAlone) {
    const xlyctx_location_s location = after(ruler(50), repeat(9, 'x') + "\n" + ruler(40));

    EXPECT_EQ(ruler(50) + repeat(9, 'x'), location.token_text);
    EXPECT_EQ(50U, location.token_position);
}

TEST(UpdateLocation, EndsATextAtANulOfTheInput) {
    xlyctx_location_s location = after("x = ", std::string("a\0b", 3));

    EXPECT_EQ(7, location.last_column);
    EXPECT_STREQ("x = a", location.token_text);

    update(location, "c");
    EXPECT_EQ(8, location.first_column);
    EXPECT_STREQ("x = ac", location.token_text);
}

TEST(UpdateLocation, TakesTextsThatDoNotEnd) {
    xlyctx_location_s location = start();
    memset(location.line_text, 'x', sizeof location.line_text);

    update(location, "ab");

    EXPECT_EQ(repeat(57, 'x') + "ab", location.line_text);
}

TEST(UpdateLocation, WrapsAroundAtTheLastLineAndColumn) {
    xlyctx_location_s location = start();
    location.last_line = INT32_MAX;
    location.last_column = INT32_MAX;

    update(location, "a\n");
    update(location, "b");

    EXPECT_EQ(INT32_MIN, location.last_line);
    EXPECT_EQ(1, location.last_column);
}

// --- concat ---

TEST(ConcatLocation, OfNeighboursIsTheWholeOfThem) {
    xlyctx_location_s location = after("x", " = ");
    const xlyctx_location_s first = after("x");
    xlyctx_location_s whole = first;
    xlyctx_location_s next = location;
    update(next, "ab");

    xlyctx_concat_location(&whole, &next);

    EXPECT_EQ(1, whole.first_line);
    EXPECT_EQ(1, whole.first_column);
    EXPECT_EQ(1, whole.last_line);
    EXPECT_EQ(6, whole.last_column);
    EXPECT_STREQ("x = ab", whole.token_text);
    EXPECT_EQ(0U, whole.token_position);
    EXPECT_STREQ("x = ab", whole.line_text);
}

TEST(ConcatLocation, OverSeveralLinesKeepsTheTextOfTheFirst) {
    xlyctx_location_s whole = after("  ", "a");
    xlyctx_location_s next = whole;
    update(next, "\n");
    update(next, "b");

    xlyctx_concat_location(&whole, &next);

    EXPECT_EQ(1, whole.first_line);
    EXPECT_EQ(3, whole.first_column);
    EXPECT_EQ(2, whole.last_line);
    EXPECT_EQ(1, whole.last_column);
    EXPECT_STREQ("  a", whole.token_text);
    EXPECT_EQ(2U, whole.token_position);
    EXPECT_STREQ("b", whole.line_text);
}

TEST(ConcatLocation, WithOneThatBeginsBeforeItTakesItsEndAlone) {
    const xlyctx_location_s source = after("a");
    xlyctx_location_s whole = after("a", "b", "c");

    xlyctx_concat_location(&whole, &source);

    EXPECT_EQ(3, whole.first_column);
    EXPECT_EQ(1, whole.last_column);
    EXPECT_STREQ("abc", whole.token_text);
    EXPECT_STREQ("a", whole.line_text);
}

TEST(ConcatLocation, WithOneThatBeginsTogetherAddsWhatItHasMore) {
    xlyctx_location_s whole = after("ab");
    const xlyctx_location_s source = after("abcd");

    xlyctx_concat_location(&whole, &source);

    EXPECT_STREQ("abcd", whole.token_text);
    EXPECT_EQ(4, whole.last_column);
}

TEST(ConcatLocation, WithOneThatShowsNoMoreAddsNothing) {
    xlyctx_location_s whole = after("abcd");
    const xlyctx_location_s source = after("ab");

    xlyctx_concat_location(&whole, &source);

    EXPECT_STREQ("abcd", whole.token_text);
}

TEST(ConcatLocation, AcrossAGapInTheTextsAddsNothing) {
    xlyctx_location_s whole = after("ab");
    const xlyctx_location_s source = after("ab", ruler(100), repeat(10, 'x'));  // shows 49 and 10

    xlyctx_concat_location(&whole, &source);

    EXPECT_STREQ("ab", whole.token_text);
    EXPECT_EQ(112, whole.last_column);
    EXPECT_EQ(ruler(49, 51) + repeat(10, 'x'), whole.line_text);
}

TEST(ConcatLocation, FillsUpTo59CharactersExactly) {
    xlyctx_location_s whole = after(ruler(50));
    xlyctx_location_s source = whole;
    update(source, ruler(9, 50));

    xlyctx_concat_location(&whole, &source);

    EXPECT_EQ(ruler(59), whole.token_text);
    EXPECT_EQ(0U, whole.token_position);
}

TEST(ConcatLocation, CutsTheEndWhereTheTokenStandsAmongTheFirst30) {
    xlyctx_location_s whole = after(ruler(30), ruler(20, 30));
    xlyctx_location_s source = whole;
    update(source, repeat(10, 'x'));

    ASSERT_EQ(30U, whole.token_position);
    xlyctx_concat_location(&whole, &source);

    EXPECT_EQ(ruler(50) + repeat(9, 'x'), whole.token_text);
    EXPECT_EQ(30U, whole.token_position);
}

TEST(ConcatLocation, DropsTheFrontWhereTheTokenStandsBehindThem) {
    xlyctx_location_s whole = after(ruler(31), ruler(19, 31));
    xlyctx_location_s source = whole;
    update(source, repeat(10, 'x'));

    ASSERT_EQ(31U, whole.token_position);
    xlyctx_concat_location(&whole, &source);

    EXPECT_EQ(ruler(49, 1) + repeat(10, 'x'), whole.token_text);
    EXPECT_EQ(30U, whole.token_position);
}

TEST(ConcatLocation, DropsMoreThanTheContextWhereTheTokenStandsBehindIt) {
    xlyctx_location_s whole = after(ruler(40), ruler(10, 40));
    xlyctx_location_s source = whole;
    update(source, repeat(25, 'x'));

    ASSERT_EQ(40U, whole.token_position);
    xlyctx_concat_location(&whole, &source);

    EXPECT_EQ(ruler(34, 16) + repeat(25, 'x'), whole.token_text);
    EXPECT_EQ(24U, whole.token_position);
}

TEST(ConcatLocation, MayLoseTheBeginningOfTheTokenItself) {
    xlyctx_location_s whole = after(ruler(31), ruler(28, 31));
    xlyctx_location_s next = whole;
    update(next, repeat(30, 'x'));
    update(next, repeat(29, 'y'));

    ASSERT_EQ(31U, whole.token_position);
    xlyctx_concat_location(&whole, &next);

    EXPECT_EQ(repeat(30, 'x') + repeat(29, 'y'), whole.token_text);
    EXPECT_EQ(-28, static_cast<int32_t>(whole.token_position));

    update(next, repeat(10, 'z'));
    xlyctx_concat_location(&whole, &next);

    EXPECT_EQ(repeat(20, 'x') + repeat(29, 'y') + repeat(10, 'z'), whole.token_text);
    EXPECT_EQ(-38, static_cast<int32_t>(whole.token_position));
    EXPECT_EQ(32, whole.first_column);
}

TEST(ConcatLocation, WithAnEmptyTokenReachesUpToIt) {
    xlyctx_location_s whole = after("zone");
    const xlyctx_location_s end = after("zone", " ", "lawn", "");

    xlyctx_concat_location(&whole, &end);

    EXPECT_STREQ("zone lawn", whole.token_text);
    EXPECT_EQ(0U, whole.token_position);
    EXPECT_EQ(9, whole.last_column);
}

TEST(ConcatLocation, LeavesTheSourceAlone) {
    const xlyctx_location_s before = after("x", " = ");
    xlyctx_location_s whole = after("x");
    xlyctx_location_s source = before;

    xlyctx_concat_location(&whole, &source);

    EXPECT_EQ(0, memcmp(&before, &source, sizeof source));
}

// --- against an oracle ---

::testing::AssertionResult agrees(const LocationOracle& oracle, const xlyctx_location_s& location) {
    if (oracle.agreesWith(location)) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << location.first_line << "." << location.first_column << "-" << location.last_line
           << "." << location.last_column << " \"" << location.token_text << "\" "
           << location.token_position << " \"" << location.line_text << "\"; expected "
           << oracle.firstLine << "." << oracle.firstColumn << "-" << oracle.lastLine << "."
           << oracle.lastColumn << " \"" << oracle.token << "\" " << oracle.position << " \""
           << oracle.line << "\"";
}

class TokenStream {
  public:
    explicit TokenStream(unsigned seed) : m_random(seed) {}

    unsigned below(unsigned limit) { return static_cast<unsigned>(m_random() % limit); }

    // Mostly short ones; else of the lengths at which texts are cut.
    std::string token() {
        static const int limits[] = {28, 29, 30, 31, 32, 58, 59, 60, 61, 120};
        const int length =
            below(4) != 0 ? static_cast<int>(below(12)) : limits[below(std::size(limits))];
        std::string text;
        for (int i = 0; i < length; ++i) {
            text += static_cast<char>('a' + m_count++ % 26);
        }
        if (below(8) == 0 && length > 0) {
            text[below(static_cast<unsigned>(length))] = '\n';
        }
        return text;
    }

  private:
    std::mt19937 m_random;
    unsigned m_count = 0;
};

TEST(Location, FollowsRandomTokensAsTheOracleDoes) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    TokenStream stream(seed);
    for (int file = 0; file < 200; ++file) {
        xlyctx_location_s location = start();
        LocationOracle oracle;
        for (int i = 0; i < 50; ++i) {
            const std::string token = stream.token();
            update(location, token);
            oracle.update(token);
            ASSERT_TRUE(agrees(oracle, location));
        }
    }
}

TEST(Location, MergesRandomRulesAsTheOracleDoes) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    TokenStream stream(seed);
    for (int file = 0; file < 500; ++file) {
        // As a parser does it: the rule begins with a token and grows with those that follow.
        xlyctx_location_s location = start();
        LocationOracle oracle;
        xlyctx_location_s rule = location;
        LocationOracle ruleLocationOracle = oracle;
        for (int i = 0; i < 40; ++i) {
            const std::string token = stream.token();
            update(location, token);
            oracle.update(token);
            if (stream.below(6) == 0) {
                rule = location;
                ruleLocationOracle = oracle;
            } else if (stream.below(3) != 0) {
                xlyctx_concat_location(&rule, &location);
                ruleLocationOracle.concat(oracle);
            }
            ASSERT_TRUE(agrees(ruleLocationOracle, rule));
        }
    }
}

}  // namespace
