// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <errno.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <wchar.h>

#include "zol/str.h"

#include "support/owned_str.h"
#include "support/syslog_capture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Line = SyslogCapture::Line;

TEST(StrFormat, SetsTheTextAndAnswersItsLength) {
    OwnedStr s("before");

    EXPECT_EQ(9, xstr_format(s, "%s %04d", "zone", 17));

    EXPECT_STREQ("zone 0017", s.h);
    EXPECT_EQ(9, s.length());
}

TEST(StrFormat, OfNothingEmptiesTheString) {
    OwnedStr s("before");

    EXPECT_EQ(0, xstr_format(s, "%s", ""));

    EXPECT_EQ(xstr_null, s.h);
}

TEST(StrFormat, Of511CharactersLogsNothing) {
    SyslogCapture log;
    OwnedStr s;

    EXPECT_EQ(511, xstr_format(s, "%511s", "end"));

    EXPECT_EQ(511, s.length());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(StrFormat, OfMoreIsWholeAndLogsOneNoticeWithoutPrefix) {
    for (const int length : {512, 600, 100000}) {
        SyslogCapture log;
        OwnedStr s;

        EXPECT_EQ(length, xstr_format(s, "%d%*s", 7, length - 1, "end"));

        EXPECT_EQ("7" + std::string(static_cast<size_t>(length) - 4, ' ') + "end", s.h);
        EXPECT_EQ(length, s.length());
        EXPECT_THAT(log.lines(), ElementsAre(Line{5, "xstr_format, static buf is too small"}));
    }
}

TEST(StrFormat, ReadsFromTheStringItSets) {
    OwnedStr s("abc");
    EXPECT_EQ(9, xstr_format(s, "<%s|%s>", s.h, s.h));
    EXPECT_STREQ("<abc|abc>", s.h);

    SyslogCapture log;
    EXPECT_EQ(600, xstr_format(s, "%600s", s.h));
    EXPECT_EQ(std::string(591, ' ') + "<abc|abc>", s.h);
}

TEST(StrFormat, PrintsErrnoAsItWasBeforeTheNotice) {
    SyslogCapture log;  // sets errno, as writing to the log may
    OwnedStr s;
    errno = ENOENT;

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"  // %m is known to the C library, not to the standard
    EXPECT_EQ(625, xstr_format(s, "%600s%m", "|"));
#pragma GCC diagnostic pop

    EXPECT_EQ(std::string(599, ' ') + "|No such file or directory", s.h);
}

TEST(StrFormat, LeavesOtherHoldersOfTheBytesUnchanged) {
    OwnedStr a("abc");
    OwnedStr b;
    xstr_copy(b, a);

    xstr_format(b, "%d", 1);

    EXPECT_STREQ("abc", a.h);
}

TEST(StrFormat, ThatCannotBeDoneKeepsWhatWasFormatted) {
    OwnedStr s("before");
    const wchar_t invalid[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};

    EXPECT_EQ(-1, xstr_format(s, "ab%ls", invalid));

    EXPECT_STREQ("ab", s.h);
}

}  // namespace
