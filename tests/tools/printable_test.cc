// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zolcat/printable.h"

#include <gtest/gtest.h>

namespace {

using zolcat::printable;

TEST(Printable, KeepsCharacters) {
    EXPECT_EQ("", printable(""));
    EXPECT_EQ(" a\\~", printable(" a\\~"));
    // The first and the last of each length.
    EXPECT_EQ("\xc2\xa0 \xdf\xbf", printable("\xc2\xa0 \xdf\xbf"));
    EXPECT_EQ("\xe0\xa0\x80 \xef\xbf\xbf", printable("\xe0\xa0\x80 \xef\xbf\xbf"));
    EXPECT_EQ("\xf0\x90\x80\x80 \xf4\x8f\xbf\xbf", printable("\xf0\x90\x80\x80 \xf4\x8f\xbf\xbf"));
}

TEST(Printable, EscapesControlCharacters) {
    EXPECT_EQ("\\000\\012\\033\\037\\177", printable(std::string_view("\0\n\x1b\x1f\x7f", 5)));
    EXPECT_EQ("\\302\\200\\302\\237", printable("\xc2\x80\xc2\x9f"));
}

TEST(Printable, EscapesWhatIsNoUtf8) {
    EXPECT_EQ("\\200\\277", printable("\x80\xbf"));
    EXPECT_EQ("\\303", printable("\xc3"));
    EXPECT_EQ("\\303a", printable("\xc3"
                                  "a"));
    EXPECT_EQ("\\342\\202", printable(std::string_view("\xe2\x82\xac", 2)));
    EXPECT_EQ("\\365\\200\\200\\200 \\377", printable("\xf5\x80\x80\x80 \xff"));
}

TEST(Printable, EscapesWhatIsTooLongInUtf8) {
    EXPECT_EQ("\\300\\200\\301\\277", printable("\xc0\x80\xc1\xbf"));
    EXPECT_EQ("\\340\\237\\277", printable("\xe0\x9f\xbf"));
    EXPECT_EQ("\\360\\217\\277\\277", printable("\xf0\x8f\xbf\xbf"));
}

TEST(Printable, EscapesWhatIsNoCharacter) {
    EXPECT_EQ("\\355\\240\\200 \\355\\277\\277", printable("\xed\xa0\x80 \xed\xbf\xbf"));
    EXPECT_EQ("\\364\\220\\200\\200", printable("\xf4\x90\x80\x80"));
}

TEST(Printable, EscapesWhatChangesTheDirectionOrCannotBeSeen) {
    EXPECT_EQ("\\330\\234", printable("\xd8\x9c"));  // U+061C
    EXPECT_EQ("\\342\\200\\213 \\342\\200\\217",
              printable("\xe2\x80\x8b \xe2\x80\x8f"));  // U+200B, F
    EXPECT_EQ("\\342\\200\\250 \\342\\200\\256",
              printable("\xe2\x80\xa8 \xe2\x80\xae"));  // U+2028, E
    EXPECT_EQ("\\342\\201\\240 \\342\\201\\257",
              printable("\xe2\x81\xa0 \xe2\x81\xaf"));                 // U+2060, F
    EXPECT_EQ("\\357\\273\\277", printable("\xef\xbb\xbf"));           // U+FEFF
    EXPECT_EQ("\\363\\240\\200\\200", printable("\xf3\xa0\x80\x80"));  // U+E0000
    EXPECT_EQ("\\363\\240\\201\\277", printable("\xf3\xa0\x81\xbf"));  // U+E007F
}

TEST(Printable, KeepsTheirNeighbours) {
    EXPECT_EQ("\xe2\x80\x8a \xe2\x80\x90", printable("\xe2\x80\x8a \xe2\x80\x90"));
    EXPECT_EQ("\xe2\x81\x9f \xe2\x81\xb0", printable("\xe2\x81\x9f \xe2\x81\xb0"));
    EXPECT_EQ("\xed\x9f\xbf \xee\x80\x80", printable("\xed\x9f\xbf \xee\x80\x80"));
}

}  // namespace
