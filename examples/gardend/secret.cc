// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "secret.h"

#include <stdlib.h>
#include <string.h>
#include <sys/random.h>
#include <syslog.h>

#include "zol/digest.h"

namespace gardend {

namespace {

constexpr size_t kDigestLength = 32;

}  // namespace

void seedRandom() {
    unsigned seed = 0;
    if (getrandom(&seed, sizeof(seed), 0) == sizeof(seed)) {
        srandom(seed);
    }
}

zol::CStr makeSecret() {
    unsigned char bytes[16];
    zol::CStr secret;
    if (getrandom(bytes, sizeof(bytes), 0) == sizeof(bytes)) {
        secret = binary2hexstring(bytes, sizeof(bytes));
    }
    if (!isDigest(secret)) {
        syslog(LOG_ERR, "no secret is to be had: nobody can log in");
        return zol::CStr();
    }
    return secret;
}

bool isDigest(const zol::CStr& text) {
    return strlen(text.get()) == kDigestLength &&
           strspn(text.get(), "0123456789abcdef") == kDigestLength;
}

bool isSameDigest(const zol::CStr& one, const zol::CStr& other) {
    if (!isDigest(one) || !isDigest(other)) {
        return false;
    }
    int difference = 0;
    for (size_t i = 0; i < kDigestLength; ++i) {
        difference |= one.get()[i] ^ other.get()[i];
    }
    return difference == 0;
}

}  // namespace gardend
