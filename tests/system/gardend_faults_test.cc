// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The parser of gardend with each of its allocations failing in turn.

#include <gtest/gtest.h>
#include <string.h>

#include "http_parser.h"
#include "support/alloc_faults.h"

namespace {

using gardend::CHttpParser;

constexpr char kRequest[] =
    "POST http://garden/?a=b HTTP/1.1\r\nHost: garden\r\nConnection: close\r\n"
    "Content-Length: 39\r\n\r\n";
constexpr char kBody[] = "GET /smuggled HTTP/1.1\r\nHost: garden\r\n\r\n";

TEST(HttpParserFaults, EndWith503OrWithTheRequestAsItWasMeant) {
    ASSERT_EQ(40U, strlen(kBody));
    forEachFailingAllocation([] {
        CHttpParser parser;
        char bytes[400];
        strcpy(bytes, kRequest);
        strcat(bytes, kBody);
        const int size = static_cast<int>(strlen(bytes));

        const int taken = parser.feed(bytes, size);

        if (parser.getState() == CHttpParser::kFailed) {
            EXPECT_EQ(503, parser.getError());
            EXPECT_TRUE(AllocFaults::hasFailed());
        } else {
            ASSERT_EQ(CHttpParser::kComplete, parser.getState());
            EXPECT_EQ(size - 1, taken);  // the last byte is behind the body
            EXPECT_STREQ("POST", parser.getRequest().method.get());
            EXPECT_STREQ("/", parser.getRequest().path.get());
            EXPECT_FALSE(parser.getRequest().keepAlive);
        }
    });
}

}  // namespace
