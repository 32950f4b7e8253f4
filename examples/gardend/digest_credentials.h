// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_DIGEST_CREDENTIALS_H
#define GARDEND_DIGEST_CREDENTIALS_H

#include <stdint.h>

#include "text.h"

namespace gardend {

/** What a client says of itself in the header field Authorization, for a digest login. */
struct DigestCredentials {
    enum Name {
        kUsername,
        kRealm,
        kNonce,
        kUri,
        kResponse,
        kAlgorithm,
        kQop,
        kCount,   // "nc": eight hexadecimal digits
        kCnonce,  // the nonce of the client
        kNameCount
    };

    const zol::CStr& operator[](Name name) const { return values[name].getStr(); }

    CText values[kNameCount];  // without quotes and escapes
    bool isThere[kNameCount] = {};
    uint32_t count = 0;  // of the requests with this nonce, as kCount says; 0: without qop
};

/**
 * Reads the value of a field Authorization: parameters in any order, as tokens or in quotes. Those
 * that are not known are skipped.
 *
 * @param field        every byte is taken for hostile
 * @param credentials  has its initial values; good on success only
 * @return             0; else the status that tells the client what is wrong: 401 another scheme
 *                     than Digest, or none; 503 no memory; 400 malformed. That is also a parameter
 *                     that is missing or comes twice, and what was not offered: an algorithm that
 *                     is not MD5, a qop that is not auth.
 */
int readCredentials(const char* field, DigestCredentials& credentials);

}  // namespace gardend

#endif
