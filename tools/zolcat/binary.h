// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_BINARY_H
#define ZOLCAT_BINARY_H

#include <string>
#include <string_view>

#include "catalog.h"

namespace zolcat {

/** The catalog file's bytes. @param catalog without problems, as readSources() returned it */
std::string writeCatalog(const Catalog& catalog);

/** Whether these bytes begin like a catalog file. */
bool isCatalogFile(std::string_view bytes);

/**
 * Reads a catalog file and finds everything that the format forbids, said with what the library
 * makes of it. Where one set is broken and its end is known, reading goes on there.
 *
 * @return the catalog as far as it could be read, without its empty messages
 */
Reading readCatalogFile(const std::string& file, std::string_view bytes);

}  // namespace zolcat

#endif
