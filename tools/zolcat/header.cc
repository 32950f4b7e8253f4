// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "header.h"

#include <algorithm>
#include <inttypes.h>
#include <stdio.h>
#include <string_view>

#include "ascii.h"
#include "printable.h"

namespace zolcat {

namespace {

constexpr size_t kMaxCommentLength = 60;  // characters of a text that are shown

// The beginning of a text, as it may stand in a comment.
std::string comment(std::string_view text) {
    std::string result;
    for (size_t count = 0; !text.empty(); ++count) {
        if (count == kMaxCommentLength) {
            return result + "...";
        }
        const size_t length = printableLength(text);
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
    const std::string constant = text + "_";
    const bool isReserved = constant[0] == '_' && (constant[1] == '_' || isUpper(constant[1]));
    return isIdentifier(text) && !isReserved;
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
