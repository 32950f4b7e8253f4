// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>
#include <string>

#include "zol/lyctx.h"

#include "support/syslog_capture.h"

namespace {

xlyctx_location_s at(int line, int column) {
    xlyctx_location_s location = {};
    location.first_line = line;
    location.first_column = column;
    return location;
}

class ParserError : public ::testing::Test {
  protected:
    std::string logged() {
        const auto lines = m_log.lines();
        return lines.size() == 1 ? lines[0].text : std::to_string(lines.size()) + " lines";
    }

    SyslogCapture m_log;
    xlyctx_s m_context = {"config", {7, 8}, 0};
};

TEST_F(ParserError, IsLoggedWithNamePlaceTextsAndNumbers) {
    const xlyctx_location_s location = at(3, 7);

    xlyctx_error(&m_context, &location, "unexpected", 1, -2, "word");

    const std::vector<SyslogCapture::Line> expected = {
        {3, "config parser (line=3, col=7): unexpected 1 -2 word"}};
    EXPECT_EQ(expected, m_log.lines());
}

TEST_F(ParserError, IsNotedInTheContext) {
    const xlyctx_location_s location = at(1, 1);
    m_context.error = -5;

    xlyctx_error(&m_context, &location, "", 0, 0, "");

    EXPECT_EQ(1, m_context.error);
    EXPECT_STREQ("config", m_context.name);
    EXPECT_EQ(7, m_context.own[0]);
    EXPECT_EQ(8, m_context.own[1]);
}

TEST_F(ParserError, FillsConversionsInBothTextsFromTheFurtherArguments) {
    const xlyctx_location_s location = at(3, 7);

    xlyctx_error(&m_context, &location, "unexpected %s", 1, 2, "after %d", "word", 42);

    EXPECT_EQ("config parser (line=3, col=7): unexpected word 1 2 after 42", logged());
}

TEST_F(ParserError, TakesDoubledPercentSignsForOne) {
    const xlyctx_location_s location = at(1, 1);
    m_context.name = "100%%";

    xlyctx_error(&m_context, &location, "a%%b", 0, 0, "c%%");

    EXPECT_EQ("100% parser (line=1, col=1): a%b 0 0 c%", logged());
}

TEST_F(ParserError, LeavesPercentSignsOfArgumentsAlone) {
    const xlyctx_location_s location = at(1, 1);

    xlyctx_error(&m_context, &location, "%s", 0, 0, "%s", "%n%s", "50%");

    EXPECT_EQ("config parser (line=1, col=1): %n%s 0 0 50%", logged());
}

TEST_F(ParserError, TakesTheFirstPositionOfTheLocation) {
    xlyctx_location_s location = at(2, 9);
    location.last_line = 5;
    location.last_column = 1;

    xlyctx_error(&m_context, &location, "a", 0, 0, "b");

    EXPECT_EQ("config parser (line=2, col=9): a 0 0 b", logged());
}

TEST_F(ParserError, TakesLongTexts) {
    const xlyctx_location_s location = at(1, 1);
    const std::string text(3000, 'x');

    xlyctx_error(&m_context, &location, text.c_str(), 0, 0, "%s", "end");

    ASSERT_FALSE(m_log.lines().empty());
    EXPECT_EQ("config parser (line=1, col=1): " + text + " 0 0 end", m_log.lines().back().text);
    EXPECT_EQ(3, m_log.lines().back().priority);
}

// --- memory ---

TEST(ParserMalloc, AnswersZeroedMemory) {
    int ignored = 0;
    auto* const memory = static_cast<char*>(xlyctx_malloc(&ignored, 1000));
    ASSERT_NE(nullptr, memory);

    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(0, memory[i]);
    }
    memset(memory, 0xff, 1000);
    free(memory);
    auto* const again = static_cast<char*>(xlyctx_malloc(nullptr, 1000));
    ASSERT_NE(nullptr, again);
    EXPECT_EQ(0, again[999]);
    free(again);
}

}  // namespace
