// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_ASCII_H
#define ZOLCAT_ASCII_H

// Kinds of characters, the same in every locale.

#include <algorithm>
#include <string_view>

namespace zolcat {

inline bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

inline bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

inline bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}

inline bool isLetter(char c) {
    return isUpper(c) || isLower(c);
}

/** Whether it can be a name in C. */
inline bool isIdentifier(std::string_view text) {
    return !text.empty() && !isDigit(text[0]) && std::all_of(text.begin(), text.end(), [](char c) {
        return isLetter(c) || isDigit(c) || c == '_';
    });
}

}  // namespace zolcat

#endif
