// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "header.h"

#include <algorithm>
#include <inttypes.h>
#include <stdio.h>
#include <string_view>

namespace zolcat {

namespace {

constexpr size_t kMaxCommentLength = 60;  // characters of a text that are shown

bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The length of the well-formed UTF-8 character that begins the text and may stand in a comment;
// 0: there is none. Characters that change the direction of writing could hide code.
size_t characterLength(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return first >= 0x20 && first != 0x7f ? 1 : 0;
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
    const bool isSurrogate = code >= 0xd800 && code <= 0xdfff;
    const bool isControl = code < 0xa0 || (code >= 0x200b && code <= 0x200f) ||
                           (code >= 0x2028 && code <= 0x202e) || (code >= 0x2060 && code <= 0x206f);
    return isTooLong || isSurrogate || isControl || code > 0x10ffff ? 0 : length;
}

// The beginning of a text, as it may stand in a comment.
std::string comment(std::string_view text) {
    std::string result;
    for (size_t count = 0; !text.empty(); ++count) {
        if (count == kMaxCommentLength) {
            return result + "...";
        }
        const size_t length = characterLength(text);
        const char last = result.empty() ? '\0' : result.back();
        const char next = text[0];
        if ((last == '*' && next == '/') || (last == '/' && next == '*') ||
            (last == '?' && next == '?')) {
            result += ' ';  // no end or start of a comment, no trigraph
        }
        if (length == 0) {
            result += ' ';
        } else {
            result += text.substr(0, length);
        }
        text.remove_prefix(std::max(length, size_t{1}));
    }
    return result;
}

std::string hexadecimal(uint32_t value) {
    char text[16];
    (void)snprintf(text, sizeof text, "0x%08" PRIx32 "u", value);
    return text;
}

}  // namespace

bool isPrefix(const std::string& text) {
    return !text.empty() && !isDigit(text[0]) && std::all_of(text.begin(), text.end(), [](char c) {
        return isUpper(c) || isLower(c) || isDigit(c) || c == '_';
    });
}

std::string defaultPrefix(const std::string& name) {
    std::string prefix;
    for (const char c : name) {
        if (isUpper(c) || isDigit(c)) {
            prefix += c;
        } else if (isLower(c)) {
            prefix += static_cast<char>(c - 'a' + 'A');
        } else if (!prefix.empty() && prefix.back() != '_') {
            prefix += '_';
        }
    }
    while (!prefix.empty() && prefix.back() == '_') {
        prefix.pop_back();
    }
    if (prefix.empty()) {
        return "MSG";
    }
    return isDigit(prefix[0]) ? "MSG_" + prefix : prefix;
}

std::string makeHeader(const Catalog& catalog, const std::string& prefix) {
    const std::string guard = prefix + "_CATALOG_H";
    std::string text = "/* Messages of the catalog '" + comment(catalog.name) +
                       "'. Made by zolcat: change the catalog's source instead. */\n" + "#ifndef " +
                       guard + "\n#define " + guard + "\n\n" + "#define " + prefix + "_CATALOG " +
                       std::to_string(catalog.id) + "u\n";
    for (const auto& [setId, set] : catalog.sets) {
        std::string constants;
        for (const auto& [number, message] : set.messages) {
            if (!message.name.empty()) {
                constants += "#define " + prefix + "_" + message.name + " " +
                             hexadecimal(messageId(catalog.id, setId, number)) + " /* " +
                             comment(message.text) + " */\n";
            }
        }
        if (!constants.empty()) {
            text += "\n/* Set " + std::to_string(setId) +
                    (set.name.empty() ? "" : ": " + comment(set.name)) + " */\n" + constants;
        }
    }
    return text + "\n#endif\n";
}

}  // namespace zolcat
