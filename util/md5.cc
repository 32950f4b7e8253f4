// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// MD5, RFC 1321. The four rounds are written out: of a loop over tables, half the speed is left.

#include <string.h>

#include "zol/digest.h"

namespace {

constexpr size_t kBlockSize = 64;
constexpr size_t kLengthOffset = 56;  // where the count of bits stands in the last block

uint32_t rotateLeft(uint32_t value, unsigned bits) {
    return value << bits | value >> (32 - bits);
}

// The mixing functions F, G, H and I; F and G in forms that need one operation less.
uint32_t mixF(uint32_t x, uint32_t y, uint32_t z) {
    return z ^ (x & (y ^ z));
}
uint32_t mixG(uint32_t x, uint32_t y, uint32_t z) {
    return y ^ (z & (x ^ y));
}
uint32_t mixH(uint32_t x, uint32_t y, uint32_t z) {
    return x ^ y ^ z;
}
uint32_t mixI(uint32_t x, uint32_t y, uint32_t z) {
    return y ^ (x | ~z);
}

using Mix = uint32_t (*)(uint32_t, uint32_t, uint32_t);

// Inlined also where the compiler looks for size: the calls would cost more bytes than they save.
template <Mix mix>
[[gnu::always_inline]] inline void step(uint32_t& a, uint32_t b, uint32_t c, uint32_t d,
                                        uint32_t addend, unsigned bits) {
    a = b + rotateLeft(a + mix(b, c, d) + addend, bits);
}

// Bytes as numbers, the lowest first, whatever the machine.
void loadBlock(uint32_t block[16], const unsigned char* bytes) {
    for (int i = 0; i < 16; ++i, bytes += 4) {
        block[i] = bytes[0] | static_cast<uint32_t>(bytes[1]) << 8 |
                   static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
    }
}

void storeNumber(unsigned char* bytes, uint32_t number) {
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(number >> 8 * i);
    }
}

void transformBytes(uint32_t state[4], const unsigned char* bytes) {
    uint32_t block[16];
    loadBlock(block, bytes);
    cvs_MD5Transform(state, block);
}

// Counts bytes that are taken. Returns how many of a block were waiting before.
size_t countBytes(cvs_MD5Context* context, size_t length) {
    const uint64_t before = static_cast<uint64_t>(context->bits[1]) << 32 | context->bits[0];
    const uint64_t after = before + (static_cast<uint64_t>(length) << 3);
    context->bits[0] = static_cast<uint32_t>(after);
    context->bits[1] = static_cast<uint32_t>(after >> 32);
    return before / 8 % kBlockSize;
}

}  // namespace

void cvs_MD5Init(cvs_MD5Context* context) {
    *context = {{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476}, {0, 0}, {}};
}

void cvs_MD5Update(cvs_MD5Context* context, const unsigned char* bytes, size_t length) {
    if (length == 0) {
        return;
    }
    const size_t waiting = countBytes(context, length);
    if (waiting > 0) {
        const size_t missing = kBlockSize - waiting;
        const size_t taken = length < missing ? length : missing;
        memcpy(context->buffer + waiting, bytes, taken);
        if (taken < missing) {
            return;
        }
        transformBytes(context->state, context->buffer);
        bytes += taken;
        length -= taken;
    }
    for (; length >= kBlockSize; bytes += kBlockSize, length -= kBlockSize) {
        transformBytes(context->state, bytes);
    }
    memcpy(context->buffer, bytes, length);
}

void cvs_MD5Final(unsigned char digest[16], cvs_MD5Context* context) {
    static const unsigned char padding[kBlockSize] = {0x80};
    unsigned char length[8];
    storeNumber(length, context->bits[0]);
    storeNumber(length + 4, context->bits[1]);

    const size_t waiting = context->bits[0] / 8 % kBlockSize;
    const size_t padded = waiting < kLengthOffset ? kLengthOffset : kLengthOffset + kBlockSize;
    cvs_MD5Update(context, padding, padded - waiting);
    cvs_MD5Update(context, length, sizeof length);

    for (const uint32_t number : context->state) {
        storeNumber(digest, number);
        digest += 4;
    }
    memset(context, 0, sizeof *context);  // it may have digested a password
}

void cvs_MD5Transform(uint32_t state[4], const uint32_t block[16]) {
    uint32_t a = state[0];
    uint32_t b = state[1];
    uint32_t c = state[2];
    uint32_t d = state[3];

    step<mixF>(a, b, c, d, block[0] + 0xd76aa478, 7);
    step<mixF>(d, a, b, c, block[1] + 0xe8c7b756, 12);
    step<mixF>(c, d, a, b, block[2] + 0x242070db, 17);
    step<mixF>(b, c, d, a, block[3] + 0xc1bdceee, 22);
    step<mixF>(a, b, c, d, block[4] + 0xf57c0faf, 7);
    step<mixF>(d, a, b, c, block[5] + 0x4787c62a, 12);
    step<mixF>(c, d, a, b, block[6] + 0xa8304613, 17);
    step<mixF>(b, c, d, a, block[7] + 0xfd469501, 22);
    step<mixF>(a, b, c, d, block[8] + 0x698098d8, 7);
    step<mixF>(d, a, b, c, block[9] + 0x8b44f7af, 12);
    step<mixF>(c, d, a, b, block[10] + 0xffff5bb1, 17);
    step<mixF>(b, c, d, a, block[11] + 0x895cd7be, 22);
    step<mixF>(a, b, c, d, block[12] + 0x6b901122, 7);
    step<mixF>(d, a, b, c, block[13] + 0xfd987193, 12);
    step<mixF>(c, d, a, b, block[14] + 0xa679438e, 17);
    step<mixF>(b, c, d, a, block[15] + 0x49b40821, 22);

    step<mixG>(a, b, c, d, block[1] + 0xf61e2562, 5);
    step<mixG>(d, a, b, c, block[6] + 0xc040b340, 9);
    step<mixG>(c, d, a, b, block[11] + 0x265e5a51, 14);
    step<mixG>(b, c, d, a, block[0] + 0xe9b6c7aa, 20);
    step<mixG>(a, b, c, d, block[5] + 0xd62f105d, 5);
    step<mixG>(d, a, b, c, block[10] + 0x02441453, 9);
    step<mixG>(c, d, a, b, block[15] + 0xd8a1e681, 14);
    step<mixG>(b, c, d, a, block[4] + 0xe7d3fbc8, 20);
    step<mixG>(a, b, c, d, block[9] + 0x21e1cde6, 5);
    step<mixG>(d, a, b, c, block[14] + 0xc33707d6, 9);
    step<mixG>(c, d, a, b, block[3] + 0xf4d50d87, 14);
    step<mixG>(b, c, d, a, block[8] + 0x455a14ed, 20);
    step<mixG>(a, b, c, d, block[13] + 0xa9e3e905, 5);
    step<mixG>(d, a, b, c, block[2] + 0xfcefa3f8, 9);
    step<mixG>(c, d, a, b, block[7] + 0x676f02d9, 14);
    step<mixG>(b, c, d, a, block[12] + 0x8d2a4c8a, 20);

    step<mixH>(a, b, c, d, block[5] + 0xfffa3942, 4);
    step<mixH>(d, a, b, c, block[8] + 0x8771f681, 11);
    step<mixH>(c, d, a, b, block[11] + 0x6d9d6122, 16);
    step<mixH>(b, c, d, a, block[14] + 0xfde5380c, 23);
    step<mixH>(a, b, c, d, block[1] + 0xa4beea44, 4);
    step<mixH>(d, a, b, c, block[4] + 0x4bdecfa9, 11);
    step<mixH>(c, d, a, b, block[7] + 0xf6bb4b60, 16);
    step<mixH>(b, c, d, a, block[10] + 0xbebfbc70, 23);
    step<mixH>(a, b, c, d, block[13] + 0x289b7ec6, 4);
    step<mixH>(d, a, b, c, block[0] + 0xeaa127fa, 11);
    step<mixH>(c, d, a, b, block[3] + 0xd4ef3085, 16);
    step<mixH>(b, c, d, a, block[6] + 0x04881d05, 23);
    step<mixH>(a, b, c, d, block[9] + 0xd9d4d039, 4);
    step<mixH>(d, a, b, c, block[12] + 0xe6db99e5, 11);
    step<mixH>(c, d, a, b, block[15] + 0x1fa27cf8, 16);
    step<mixH>(b, c, d, a, block[2] + 0xc4ac5665, 23);

    step<mixI>(a, b, c, d, block[0] + 0xf4292244, 6);
    step<mixI>(d, a, b, c, block[7] + 0x432aff97, 10);
    step<mixI>(c, d, a, b, block[14] + 0xab9423a7, 15);
    step<mixI>(b, c, d, a, block[5] + 0xfc93a039, 21);
    step<mixI>(a, b, c, d, block[12] + 0x655b59c3, 6);
    step<mixI>(d, a, b, c, block[3] + 0x8f0ccc92, 10);
    step<mixI>(c, d, a, b, block[10] + 0xffeff47d, 15);
    step<mixI>(b, c, d, a, block[1] + 0x85845dd1, 21);
    step<mixI>(a, b, c, d, block[8] + 0x6fa87e4f, 6);
    step<mixI>(d, a, b, c, block[15] + 0xfe2ce6e0, 10);
    step<mixI>(c, d, a, b, block[6] + 0xa3014314, 15);
    step<mixI>(b, c, d, a, block[13] + 0x4e0811a1, 21);
    step<mixI>(a, b, c, d, block[4] + 0xf7537e82, 6);
    step<mixI>(d, a, b, c, block[11] + 0xbd3af235, 10);
    step<mixI>(c, d, a, b, block[2] + 0x2ad7d2bb, 15);
    step<mixI>(b, c, d, a, block[9] + 0xeb86d391, 21);

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}
