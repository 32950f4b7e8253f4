// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_PLAIN_TEXT_ORACLE_H
#define TESTS_SUPPORT_PLAIN_TEXT_ORACLE_H

#include <string>

// UTF-8 made plain, rule by rule: each lead byte changes what follows it in a working copy, and
// only what is no lead byte is put out.
inline std::string plainText(std::string text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool lead = byte >= 0xC2 && byte <= 0xFE;
        if (!lead) {
            out += text[i];
        } else if (i + 1 == text.size()) {
            break;
        } else if (byte == 0xC3) {
            const std::string letters =
                "AAAAAAACEEEEIIIIDNOOOOO_OUUUUY_Baaaaaaaceeeeiiii_nooooo_ouuuuyyy";
            const auto follower = static_cast<unsigned char>(text[i + 1]);
            text[i + 1] = follower >= 0x80 && follower <= 0xBF ? letters[follower - 0x80] : '_';
        } else {
            text[i + 1] = static_cast<char>(byte < 0xE0 ? '_' : byte < 0xF0 ? 0xC2 : 0xE0);
        }
    }
    return out;
}

#endif
