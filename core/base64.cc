// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Base64, RFC 4648: three bytes are four characters of six bits each.

#include <limits.h>
#include <stdint.h>

#include "zol/buffer.h"

#include "handle.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr unsigned char kPadding = 254;
constexpr unsigned char kSkipped = 255;

// What each character stands for: six bits, kPadding or kSkipped. One entry for every character
// there is, so that nothing has to be compared.
struct Values {
    constexpr Values() : of() {
        for (unsigned char& value : of) {
            value = kSkipped;
        }
        for (unsigned char i = 0; i < 64; ++i) {
            of[static_cast<unsigned char>(kAlphabet[i])] = i;
        }
        of[static_cast<unsigned char>('=')] = kPadding;
    }

    unsigned char of[256];
};
constexpr Values kValues;

unsigned valueOf(char character) {
    return kValues.of[static_cast<unsigned char>(character)];
}

char characterOf(unsigned bits) {
    return kAlphabet[bits & 63];
}

unsigned char byteOf(unsigned bits) {
    return static_cast<unsigned char>(bits);
}

int64_t encodedLength(int n) {
    return int64_t{n} / 3 * 4 + (n % 3 != 0 ? 4 : 0);
}

// The text of one to three bytes.
void encodeGroup(char* out, const unsigned char* in, int count) {
    const unsigned first = in[0];
    const unsigned second = count > 1 ? in[1] : 0;
    const unsigned third = count > 2 ? in[2] : 0;
    out[0] = characterOf(first >> 2);
    out[1] = characterOf(first << 4 | second >> 4);
    out[2] = count > 1 ? characterOf(second << 2 | third >> 6) : '=';
    out[3] = count > 2 ? characterOf(third) : '=';
}

// Collects the values of a group, skipping what is none. Returns how many there were.
int collectGroup(unsigned values[4], const char* in, int length, int& position) {
    int count = 0;
    while (count < 4 && position < length) {
        const unsigned value = valueOf(in[position]);
        ++position;
        if (value != kSkipped) {
            values[count] = value;
            ++count;
        }
    }
    return count;
}

// Decodes a group that may be padded. Returns the number of its bytes, less than three for the last
// one; -1 when it is malformed, or there is no room for it.
int decodeGroup(unsigned char* out, int room, const unsigned values[4]) {
    if (values[0] == kPadding || values[1] == kPadding || room < 1) {
        return -1;
    }
    out[0] = byteOf(values[0] << 2 | values[1] >> 4);
    if (values[2] == kPadding) {
        return (values[1] & 15) == 0 ? 1 : -1;
    }
    if (room < 2) {
        return -1;
    }
    out[1] = byteOf(values[1] << 4 | values[2] >> 2);
    if (values[3] == kPadding) {
        return (values[2] & 3) == 0 ? 2 : -1;
    }
    if (room < 3) {
        return -1;
    }
    out[2] = byteOf(values[2] << 6 | values[3]);
    return 3;
}

// Decodes groups as long as they are neither padded nor interrupted, and fit: nearly all of them.
void decodeWholeGroups(unsigned char* out, int room, int& produced, const char* in, int length,
                       int& position) {
    while (length - position >= 4 && room - produced >= 3) {
        const char* const group = in + position;
        const unsigned values[4] = {valueOf(group[0]), valueOf(group[1]), valueOf(group[2]),
                                    valueOf(group[3])};
        if ((values[0] | values[1] | values[2] | values[3]) > 63) {
            return;
        }
        unsigned char* const bytes = out + produced;
        bytes[0] = byteOf(values[0] << 2 | values[1] >> 4);
        bytes[1] = byteOf(values[1] << 4 | values[2] >> 2);
        bytes[2] = byteOf(values[2] << 6 | values[3]);
        position += 4;
        produced += 3;
    }
}

}  // namespace

int xbase64_get_encoded_maxlength(int n) {
    const int64_t length = encodedLength(n);
    return length < INT_MAX ? static_cast<int>(length) : INT_MAX;
}

int xbase64_get_decoded_maxlength(int n) {
    // Deliberate: one byte for an incomplete group, whatever it has. Pinned by
    // Base64DecodedMaxlength.CountsOneByteForAnIncompleteGroup.
    return n / 4 * 3 + (n % 4 != 0 ? 1 : 0);
}

int xbase64_encode(char* out, int* outLen, const unsigned char* in, int inLen) {
    const int room = *outLen;
    int written = 0;
    for (int left = inLen; left > 0; left -= 3) {
        if (room - written < 5) {
            return -1;
        }
        encodeGroup(out + written, in, left);
        in += 3;
        written += 4;
    }
    out[written] = '\0';
    *outLen = written + 1;
    return 0;
}

int xbase64_decode(unsigned char* out, int* outLen, const char* in, int* inLen) {
    const int room = *outLen;
    const int length = *inLen;
    int produced = 0;
    for (int position = 0;;) {
        decodeWholeGroups(out, room, produced, in, length, position);
        const int groupStart = position;
        unsigned values[4];
        const int count = collectGroup(values, in, length, position);
        if (count == 0) {
            *outLen = produced;
            return 0;
        }
        if (count < 4) {
            *inLen = groupStart;
            return -1;
        }
        const int bytes = decodeGroup(out + produced, room - produced, values);
        if (bytes == -1) {
            return -1;
        }
        produced += bytes;
        if (bytes < 3) {
            *outLen = produced;
            return 0;
        }
    }
}

int xbase64_encode_buffer(xstr* s, const unsigned char* in, int inLen) {
    if (inLen < 1) {
        xstr_free(s);
        return 0;
    }
    const int64_t size = encodedLength(inLen) + 1;
    // The new text first: `in` may lie in the old one.
    zol::CStr fresh;
    auto room = static_cast<int>(size);
    char* const text = size <= INT_MAX ? xstr_get_buffer(fresh.handle(), room) : nullptr;
    if (text == nullptr || xbase64_encode(text, &room, in, inLen) != 0) {
        return -1;
    }
    xstr_release_buffer(fresh.handle(), room);
    xstr_copy(s, fresh.handle());
    return 0;
}

int xbase64_decode_buffer(xbuffer* b, const char* in, int* inLen) {
    int room = xbase64_get_decoded_maxlength(*inLen);
    // The text may be the buffer's own bytes: those have room enough, and stay where they are.
    auto* const bytes = static_cast<unsigned char*>(xbuffer_get_buffer(b, room));
    if (bytes == nullptr && room > 0) {
        return -1;
    }
    const int result = xbase64_decode(bytes, &room, in, inLen);
    xbuffer_release_buffer(b, room);
    return result;
}
