// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "printable.h"

#include <algorithm>
#include <iterator>
#include <stdio.h>

namespace zolcat {

namespace {

struct Range {
    unsigned long first;
    unsigned long last;
};

// What is well-formed and yet not for printing.
constexpr Range kHidden[] = {
    {0x0000, 0x001f},    // control characters
    {0x007f, 0x009f},    // more of them
    {0x061c, 0x061c},    // direction of writing
    {0x200b, 0x200f},    // without width; direction of writing
    {0x2028, 0x202e},    // line ends; direction of writing
    {0x2060, 0x206f},    // without width; direction of writing
    {0xd800, 0xdfff},    // halves of characters in UTF-16
    {0xfeff, 0xfeff},    // the byte order mark
    {0xe0000, 0xe007f},  // tags
};

bool isHidden(unsigned long code) {
    return std::any_of(std::begin(kHidden), std::end(kHidden), [code](const Range& range) {
        return range.first <= code && code <= range.last;
    });
}

}  // namespace

size_t printableLength(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return isHidden(first) ? 0 : 1;
    }
    const size_t length = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || text.size() < length) {
        return 0;
    }
    unsigned long code = first & (0xffu >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xc0) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3fu);
    }
    const bool isTooLong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    return isTooLong || isHidden(code) || code > 0x10ffff ? 0 : length;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const size_t length = printableLength(text);
        if (length > 0) {
            result += text.substr(0, length);
        } else {
            char escape[8];
            (void)snprintf(escape, sizeof escape, "\\%03o", static_cast<unsigned char>(text[0]));
            result += escape;
        }
        text.remove_prefix(std::max(length, size_t{1}));
    }
    return result;
}

}  // namespace zolcat
