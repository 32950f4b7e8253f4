// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_ACCEPT_LANGUAGE_H
#define GARDEND_ACCEPT_LANGUAGE_H

namespace gardend {

/** How much somebody wants a language. */
struct Wish {
    int quality = 0;   // from 1 to 1000; 0: does not want it, or says nothing of it
    int position = 0;  // in the list, from 1 on: of languages wanted alike the first one wins
};

/**
 * Looks for a language in a list such as browsers send in the header field Accept-Language:
 * "de-AT, fr;q=0.8, *;q=0.1".
 *
 * Somebody who wants a variety of the language wants the language; who refuses a variety does not
 * refuse it. "*" stands for all that are not named. Parts of the list whose weight is malformed
 * count for nothing.
 *
 * @param list      whatever a client has sent
 * @param language  "de"
 */
Wish findWish(const char* list, const char* language);

}  // namespace gardend

#endif
