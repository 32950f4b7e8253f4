// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_SECRET_H
#define GARDEND_SECRET_H

#include "zol/str.h"

namespace gardend {

/**
 * Seeds random(3) with what nobody can guess.
 *
 * That makes it different in each process, and no more: the seed has 32 bits, and who has seen some
 * of the numbers can try them all. What must not be forged takes makeSecret().
 */
void seedRandom();

/** @return 32 hexadecimal digits that nobody can guess; empty, and that is logged, when the system
 *  or memory fails */
zol::CStr makeSecret();

/** @return whether it is of 32 hexadecimal digits, in lowercase: not what is left of a digest
 *  without memory */
bool isDigest(const zol::CStr& text);

/** @return whether two digests are the same, which takes as long whatever they are; false for what
 *  is no digest */
bool isSameDigest(const zol::CStr& one, const zol::CStr& other);

}  // namespace gardend

#endif
