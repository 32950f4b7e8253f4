// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef CAT_BIG_ENDIAN_H
#define CAT_BIG_ENDIAN_H

// Integers as they stand in catalog files: the most significant byte first.

#include <stdint.h>
#include <stdio.h>

namespace zol {
namespace cat {

// False, with `value` as it was, when the stream ends or fails before.
template <class T>
bool readBigEndian(FILE* stream, T& value) {
    unsigned char bytes[sizeof(T)];
    if (fread(bytes, sizeof bytes, 1, stream) != 1) {
        return false;
    }
    uint32_t bits = 0;
    for (const unsigned char byte : bytes) {
        bits = bits << 8 | byte;
    }
    value = static_cast<T>(bits);
    return true;
}

}  // namespace cat
}  // namespace zol

#endif
