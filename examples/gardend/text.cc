// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "text.h"

#include <inttypes.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

namespace gardend {

namespace {

// Reads a character of UTF-8.
// @param character  receives it
// @return           how many bytes it has; 0 for what is none
int readCharacter(const char* bytes, uint32_t& character) {
    constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto first = static_cast<unsigned char>(*bytes);
    if (first < 0x80) {
        character = first;
        return 1;
    }
    if (first < 0xc0 || first >= 0xf8) {
        return 0;
    }
    const int length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    character = first & (0x7fU >> length);
    for (int i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xc0) != 0x80) {
            return 0;
        }
        character = character << 6 | (next & 0x3fU);
    }
    const bool isSurrogate = character >= 0xd800 && character <= 0xdfff;
    return character < kSmallest[length] || character > 0x10ffff || isSurrogate ? 0 : length;
}

}  // namespace

CText& CText::add(const char* text, int length) {
    const int added = length < 0 ? static_cast<int>(strlen(text)) : length;
    const int before = m_str.getLength();
    if (m_whole) {
        m_str.concat(text, added);
        m_whole = m_str.getLength() == before + added;
    }
    return *this;
}

CText& CText::add(const CText& text) {
    m_whole = m_whole && text.m_whole;
    return add(text.get(), text.getLength());
}

CText& CText::addFormat(const char* format, ...) {
    va_list args;
    va_start(args, format);
    zol::CStr piece;
    if (xstr_vformat(piece.handle(), format, args) != piece.getLength()) {
        m_whole = false;
    }
    va_end(args);
    return add(piece.get(), piece.getLength());
}

CText& CText::addDecimal(int64_t number, int decimals) {
    return add(makeDecimal(number, decimals).get());
}

CText& CText::addFilled(const char* text, std::initializer_list<Value> values) {
    for (const char* rest = text; *rest != '\0';) {
        const size_t index = static_cast<size_t>(rest[1] - '1');  // too large for what is no digit
        if (strncmp(rest, "%%", 2) == 0) {
            add("%");
            rest += 2;
        } else if (*rest == '%' && index < values.size() && strncmp(rest + 2, "$s", 2) == 0) {
            const Value& value = values.begin()[index];
            m_whole = m_whole && value.whole;
            add(value.text);
            rest += 4;
        } else {
            const int plain = 1 + static_cast<int>(strcspn(rest + 1, "%"));
            add(rest, plain);
            rest += plain;
        }
    }
    return *this;
}

CText& CText::addHtml(const Value& text) {
    m_whole = m_whole && text.whole;
    for (const char* rest = text.text; *rest != '\0';) {
        const int plain = static_cast<int>(strcspn(rest, "&<>\"'"));
        add(rest, plain);
        rest += plain;
        if (*rest != '\0') {
            addFormat("&#%d;", *rest);
            ++rest;
        }
    }
    return *this;
}

CText& CText::addJson(const char* text) {
    for (const char* next = text; *next != '\0'; ++next) {
        const unsigned char byte = static_cast<unsigned char>(*next);
        if (byte < 0x20 || byte == '"' || byte == '\\') {
            addFormat("\\u%04x", byte);
        } else {
            add(next, 1);
        }
    }
    return *this;
}

void CText::clear() {
    m_str = "";
    m_whole = true;
}

CShort::CShort(const char* format, ...) {
    va_list args;
    va_start(args, format);
    (void)vsnprintf(m_text, sizeof(m_text), format, args);
    va_end(args);
}

bool isLine(const char* text) {
    for (const char* rest = text; *rest != '\0';) {
        uint32_t character = 0;
        const int length = readCharacter(rest, character);
        const bool isControl = character < 0x20 || (character >= 0x7f && character < 0xa0);
        if (length == 0 || isControl) {
            return false;
        }
        rest += length;
    }
    return true;
}

CShort makeDecimal(int64_t number, int decimals, const char* point) {
    int64_t one = 1;
    for (int i = 0; i < decimals; ++i) {
        one *= 10;
    }
    return CShort("%" PRId64 "%s%0*" PRId64, number / one, point, decimals, number % one);
}

}  // namespace gardend
