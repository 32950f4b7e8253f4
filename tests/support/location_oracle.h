// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_LOCATION_ORACLE_H
#define TESTS_SUPPORT_LOCATION_ORACLE_H

#include <algorithm>
#include <string>

#include "zol/lyctx.h"

// Locations as slow and obvious as can be: on strings that are as long as they like. Tokens without
// NULs.
struct LocationOracle {
    int firstLine = 1;
    int firstColumn = 0;
    int lastLine = 1;
    int lastColumn = 0;
    std::string token;
    std::string line;
    unsigned position = 0;

    void update(const std::string& text) {
        firstLine = lastLine;
        firstColumn = lastColumn + 1;
        for (const char character : text) {
            lastColumn = character == '\n' ? 0 : lastColumn + 1;
            lastLine += character == '\n' ? 1 : 0;
        }
        const std::string shown = text.substr(0, text.find('\n'));
        token = line;
        position = static_cast<unsigned>(line.size());
        if (position >= 31 && position + shown.size() >= 60) {
            const auto wanted = static_cast<unsigned>(position + shown.size() - 59);
            const unsigned dropped = std::min(wanted, position - 30);
            token.erase(0, dropped);
            position -= dropped;
        }
        token = (token + shown).substr(0, 59);
        const size_t newline = text.rfind('\n');
        line = newline == std::string::npos ? line + text : text.substr(newline + 1);
        if (line.size() > 59) {
            line.erase(0, line.size() - 59);
        }
    }

    void concat(const LocationOracle& source) {
        if (firstLine == source.firstLine && source.firstColumn >= firstColumn) {
            const int end = firstColumn - static_cast<int>(position) + length(token);
            const int begin = source.firstColumn - static_cast<int>(source.position);
            if (end >= begin && end - begin < length(source.token)) {
                add(source.token.substr(static_cast<size_t>(end - begin)));
            }
        }
        lastLine = source.lastLine;
        lastColumn = source.lastColumn;
        line = source.line;
    }

    bool agreesWith(const xlyctx_location_s& location) const {
        return firstLine == location.first_line && firstColumn == location.first_column &&
               lastLine == location.last_line && lastColumn == location.last_column &&
               token == location.token_text && line == location.line_text &&
               position == location.token_position;
    }

  private:
    static int length(const std::string& text) { return static_cast<int>(text.size()); }

    void add(const std::string& more) {
        const size_t sum = token.size() + more.size();
        if (sum > 59 && position > 30) {
            token.erase(0, sum - 59);
            position -= static_cast<unsigned>(sum - 59);
        }
        token = (token + more).substr(0, 59);
    }
};

#endif
