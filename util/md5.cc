// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// MD5, RFC 1321. The 64 steps are unrolled: of a loop, half the speed is left. Where the compiler
// looks for size they are one, and 900 bytes shorter.

#include <string.h>
#include <utility>

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

// T of the RFC: 2 to the power of 32 times the sine of 1 to 64.
constexpr uint32_t kAddends[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};

constexpr unsigned char kShifts[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

uint32_t mix(int round, uint32_t x, uint32_t y, uint32_t z) {
    switch (round) {
        case 0:
            return mixF(x, y, z);
        case 1:
            return mixG(x, y, z);
        case 2:
            return mixH(x, y, z);
        default:
            return mixI(x, y, z);
    }
}

// A round takes the numbers of the block in steps of kStride, beginning with kFirst.
constexpr unsigned char kFirst[4] = {0, 1, 5, 0};
constexpr unsigned char kStride[4] = {1, 5, 3, 7};

// One step, in which the four numbers of the state have changed places as many times.
template <int round>
[[gnu::always_inline]] inline void takeStep(unsigned step, uint32_t state[4],
                                            const uint32_t block[16]) {
    uint32_t& a = state[(64 - step) % 4];
    const uint32_t b = state[(65 - step) % 4];
    const uint32_t c = state[(66 - step) % 4];
    const uint32_t d = state[(67 - step) % 4];
    a = b + rotateLeft(a + mix(round, b, c, d) +
                           block[(kFirst[round] + step * kStride[round]) % 16] + kAddends[step],
                       kShifts[round][step % 4]);
}

#ifdef __OPTIMIZE_SIZE__
template <int round>
void takeRound(uint32_t state[4], const uint32_t block[16]) {
    for (unsigned step = 16 * round; step < 16 * round + 16; ++step) {
        takeStep<round>(step, state, block);
    }
}
#else
template <int round, unsigned... steps>
[[gnu::always_inline]] inline void unroll(uint32_t state[4], const uint32_t block[16],
                                          std::integer_sequence<unsigned, steps...> /*all*/) {
    (takeStep<round>(16 * round + steps, state, block), ...);
}

template <int round>
[[gnu::always_inline]] inline void takeRound(uint32_t state[4], const uint32_t block[16]) {
    unroll<round>(state, block, std::make_integer_sequence<unsigned, 16>());
}
#endif

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
    uint32_t mixed[4] = {state[0], state[1], state[2], state[3]};
    takeRound<0>(mixed, block);
    takeRound<1>(mixed, block);
    takeRound<2>(mixed, block);
    takeRound<3>(mixed, block);
    for (int i = 0; i < 4; ++i) {
        state[i] += mixed[i];
    }
}
