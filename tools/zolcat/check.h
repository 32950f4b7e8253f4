// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_CHECK_H
#define ZOLCAT_CHECK_H

#include <vector>

#include "catalog.h"

namespace zolcat {

/** Finds what is allowed in a catalog and yet a mistake: messages that are given, and empty. */
std::vector<Problem> findEmptyMessages(const Catalog& catalog);

/**
 * Compares a catalog with the one it was translated from: what is missing, what is not in the
 * other, constants with different names, texts that printf() would take other arguments for.
 *
 * @return problems of `catalog`, in the order of their places
 */
std::vector<Problem> compare(const Catalog& catalog, const Catalog& reference);

}  // namespace zolcat

#endif
