// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_SOURCE_H
#define ZOLCAT_SOURCE_H

#include <string>
#include <vector>

#include "catalog.h"

namespace zolcat {

struct SourceFile {
    std::string name;
    std::string bytes;
};

/** The names that the generated header keeps for itself, see header.h. */
bool isReservedName(const std::string& name);

/**
 * Reads sources into one catalog, as if they stood one behind the other; set 1 is the current set
 * and nothing quotes at the start of each.
 *
 * @return the catalog, without sets that have neither a name nor messages; the problems in the
 *         order of their places
 */
Reading readSources(const std::vector<SourceFile>& sources);

}  // namespace zolcat

#endif
