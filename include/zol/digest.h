/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_DIGEST_H
#define ZOL_DIGEST_H

/**
 * @file zol/digest.h
 * MD5 (RFC 1321), and the texts that HTTP digest authentication (RFC 2617) and signed download
 * addresses are made of.
 *
 * MD5 is broken as a signature, and here because these protocols ask for it. Do not build anything
 * new on it that an attacker gains from.
 *
 * Pointers are never null. Any thread. Nothing is logged, but the notice of xstr_vformat() for an
 * address of more than 511 characters.
 */

#include <stddef.h>
#include <stdint.h>

#include "zol/str.h"

ZOL_BEGIN_DECLS

/** A digest under way. */
typedef struct cvs_MD5Context {
    uint32_t state[4];        /**< digest of the whole blocks so far */
    uint32_t bits[2];         /**< bits taken so far, low word first */
    unsigned char buffer[64]; /**< bytes of a block that is not whole */
} cvs_MD5Context;

/** Begins a digest. */
ZOL_API void cvs_MD5Init(cvs_MD5Context* context);

/** Takes bytes. @param length  in bytes */
ZOL_API void cvs_MD5Update(cvs_MD5Context* context, const unsigned char* bytes, size_t length);

/** Ends the digest, and clears the context. */
ZOL_API void cvs_MD5Final(unsigned char digest[16], cvs_MD5Context* context);

/** The step that digests are made of. @param block  as numbers: of four bytes the first is lowest
 */
ZOL_API void cvs_MD5Transform(uint32_t state[4], const uint32_t block[16]);

ZOL_END_DECLS

#ifdef __cplusplus

// Each of these answers an empty text when there is no memory: never take that for a digest.

/** @return two lowercase hexadecimal characters for each byte; empty for a `length` below 1 */
ZOL_API zol::CStr binary2hexstring(const unsigned char* bytes, int length);

/** @return MD5 of the text, NULs in it included, as 32 lowercase hexadecimal characters */
ZOL_API zol::CStr md5Encode(const zol::CStr& text);

/**
 * A text that is different each time, for WWW-Authenticate: two numbers of random(3), which the
 * application seeds, added. What will bite: without srandom(3) it is the same in every process, and
 * whoever knows a few of them can tell those that follow.
 *
 * @return up to ten decimal digits
 */
ZOL_API zol::CStr generateNonce();

/** @return the HA1 of RFC 2617: md5Encode() of "user:realm:password" */
ZOL_API zol::CStr generateHa1(const zol::CStr& user, const zol::CStr& realm,
                              const zol::CStr& password);

/**
 * md5Encode() of "first:second:third:fourth". The response of RFC 2617 with qop=auth is that of
 * HA1, the nonce, "nc:cnonce:auth", and HA2, which is md5Encode() of "method:uri"; without qop it
 * is generateHa1() of HA1, the nonce, and HA2.
 */
ZOL_API zol::CStr generateAuthKey(const zol::CStr& first, const zol::CStr& second,
                                  const zol::CStr& third, const zol::CStr& fourth);

/**
 * Makes an address that proves, to whoever knows the key, that it was made by somebody who does,
 * and when.
 *
 * @return "PREFIXHASH/STAMP/PATH": the stamp is time(2) as eight hexadecimal digits, the hash
 *         md5Encode() of "KEY/PATHSTAMP". The prefix brings its own "/".
 *
 * Who serves such addresses forms the hash anew, compares, and decides how old a stamp may be.
 */
ZOL_API zol::CStr getDownloadURI(const char* key, const char* prefix, const char* path);

namespace zolcrypt {

/** The library's hash, without the name of an algorithm: md5Encode(). */
ZOL_API zol::CStr hashEncode(const zol::CStr& text);

}  // namespace zolcrypt

#endif
#endif
