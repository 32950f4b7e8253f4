// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Plain text for places that take only ASCII. What a character becomes stands in tables of ranges,
// the first match counts.

#include "zol/str.h"

#include "handle.h"

namespace {

struct Range {
    char replacement;
    unsigned char lowest;
    unsigned char highest;
};

constexpr Range kCodePage437[] = {
    {'a', 0x83, 0x86}, {'e', 0x88, 0x8A}, {'i', 0x8B, 0x8D}, {'o', 0x93, 0x95},
    {'u', 0x96, 0x97}, {'c', 0x87, 0x87}, {'A', 0x8E, 0x8F}, {'E', 0x90, 0x90},
    {'O', 0x99, 0x99}, {'U', 0x9A, 0x9A}, {'C', 0x80, 0x80},
};

// Second bytes of the UTF-8 sequences that begin with 0xC3: U+00C0 to U+00FF.
// Deliberate: the order and its overlaps, by which thorn becomes "y", and its own "_" is never
// reached. Pinned by PlainUtf8.ThornBecomesYForTheFirstRangeCounts.
constexpr Range kLatin1[] = {
    {'a', 0xA0, 0xA6}, {'e', 0xA8, 0xAB}, {'i', 0xAC, 0xAF}, {'c', 0xA7, 0xA7}, {'o', 0xB2, 0xB6},
    {'o', 0xB8, 0xB8}, {'u', 0xB9, 0xBC}, {'n', 0xB1, 0xB1}, {'y', 0xBD, 0xBD}, {'y', 0xBD, 0xBF},
    {'A', 0x80, 0x86}, {'B', 0x9F, 0x9F}, {'E', 0x88, 0x8B}, {'I', 0x8C, 0x8F}, {'C', 0x87, 0x87},
    {'O', 0x92, 0x96}, {'O', 0x98, 0x98}, {'U', 0x99, 0x9C}, {'Y', 0x9D, 0x9D}, {'D', 0x90, 0x90},
    {'N', 0x91, 0x91}, {'_', 0x97, 0x97}, {'_', 0x9E, 0x9E}, {'_', 0xBE, 0xBE}, {'_', 0xB0, 0xB0},
    {'_', 0xB7, 0xB7},
};

constexpr char kUnknown = '_';

// What a byte becomes; `otherwise` when no range has it.
template <int count>
char replacementOf(unsigned char byte, const Range (&ranges)[count], char otherwise) {
    for (const Range& range : ranges) {
        if (byte >= range.lowest && byte <= range.highest) {
            return range.replacement;
        }
    }
    return otherwise;
}

// Makes the text private. Null for a string without text, and without memory.
char* privateText(xstr* s) {
    if (xstr_is_empty(s)) {
        return nullptr;
    }
    xtab_detach(core::tableOf(s));
    auto* const text = static_cast<char*>(core::dataOf(core::tableOf(s)));
    if (text == nullptr) {
        xstr_init(s);
    }
    return text;
}

bool isNull(xstr* s) {
    return s == nullptr || core::dataOf(core::tableOf(s)) == nullptr;
}

bool isLead(unsigned char byte) {
    return byte >= 0xC2 && byte <= 0xFE;
}

// What stands in the place of the byte behind a lead byte, which goes: the character's replacement,
// or a lead byte of one byte less.
char followerOf(unsigned char lead, unsigned char follower) {
    if (lead >= 0xF0) {
        return static_cast<char>(0xE0);
    }
    if (lead >= 0xE0) {
        return static_cast<char>(0xC2);
    }
    return lead == 0xC3 ? replacementOf(follower, kLatin1, kUnknown) : kUnknown;
}

// Rewrites a text in its place; returns the new length.
int makePlain(char* text, int length) {
    int written = 0;
    for (int i = 0; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (!isLead(byte)) {
            text[written++] = text[i];
        } else if (i + 1 < length) {  // a lead byte at the end has nothing to change: it just goes
            text[i + 1] = followerOf(byte, static_cast<unsigned char>(text[i + 1]));
        }
    }
    return written;
}

}  // namespace

xstr* xstr_replaceSpecialCharASCII(xstr* s) {
    if (isNull(s)) {
        return nullptr;
    }
    char* const text = privateText(s);
    const int length = xstr_get_length(s);
    for (int i = 0; i < length; ++i) {
        text[i] = replacementOf(static_cast<unsigned char>(text[i]), kCodePage437, text[i]);
    }
    return s;
}

xstr* xstr_replaceSpecialCharUTF8(xstr* s) {
    if (isNull(s)) {
        return nullptr;
    }
    char* const text = privateText(s);
    if (text == nullptr) {
        return s;
    }
    const int length = xstr_get_length(s);
    const int plainLength = makePlain(text, length);
    if (plainLength == 0) {
        xstr_free(s);
        return s;
    }
    text[plainLength] = '\0';
    (void)xtab_delete(core::tableOf(s), plainLength + 1, length - plainLength);
    return s;
}
