// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_HEADER_H
#define ZOLCAT_HEADER_H

#include <string>

#include "catalog.h"

namespace zolcat {

/** Whether a text can begin the names of constants: those of compilers, as __x and _X, cannot. */
bool isPrefix(const std::string& text);

/** The prefix that a catalog's name makes: "door lock" makes DOOR_LOCK. */
std::string defaultPrefix(const std::string& name);

/**
 * A header for C and C++ with a constant for the catalog (PREFIX_CATALOG) and for each message
 * that has a name (PREFIX_NAME). The same catalog and prefix always make the same bytes.
 */
std::string makeHeader(const Catalog& catalog, const std::string& prefix);

}  // namespace zolcat

#endif
