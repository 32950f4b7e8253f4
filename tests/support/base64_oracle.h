// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_BASE64_ORACLE_H
#define TESTS_SUPPORT_BASE64_ORACLE_H

#include <string>

// Base64 decoded as slowly and obviously as can be, one value at a time.
struct Base64Oracle {
    bool fails = false;
    bool isIncomplete = false;  // why it fails: within the group that begins at `groupStart`
    size_t groupStart = 0;
    std::string bytes;

    Base64Oracle(const std::string& text, size_t room) {
        static const std::string alphabet =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
        std::string group;
        for (size_t i = 0; i < text.size(); ++i) {
            const size_t value = alphabet.find(text[i]);
            if (value == std::string::npos) {
                continue;
            }
            group += static_cast<char>(value);
            if (group.size() < 4) {
                continue;
            }
            if (!addGroup(group, room) || group[2] == 64 || group[3] == 64) {
                return;
            }
            group.clear();
            groupStart = i + 1;
        }
        isIncomplete = !group.empty();
        fails = isIncomplete;
    }

  private:
    // Bits are collected in a number, and what padding leaves over must be zero.
    bool addGroup(const std::string& group, size_t room) {
        const int count = group[2] == 64 ? 1 : group[3] == 64 ? 2 : 3;
        unsigned bits = 0;
        for (int i = 0; i < 4; ++i) {
            const bool counts = i <= count;
            fails = fails || (counts && group[static_cast<size_t>(i)] == 64);
            bits = bits << 6 | (counts ? static_cast<unsigned>(group[static_cast<size_t>(i)]) : 0);
        }
        const unsigned used = 0xffffffU << 8 * (3 - count);
        fails = fails || (bits & ~used & 0xffffffU) != 0 ||
                bytes.size() + static_cast<size_t>(count) > room;
        for (int i = 0; i < count && !fails; ++i) {
            bytes += static_cast<char>(bits >> 8 * (2 - i));
        }
        return !fails;
    }
};

#endif
