// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_TOOLS_TEXTS_H
#define TESTS_TOOLS_TEXTS_H

#include <stdio.h>
#include <string>
#include <vector>

#include "zolcat/binary.h"
#include "zolcat/catalog.h"
#include "zolcat/source.h"

// The problems as they are printed.
inline std::vector<std::string> printed(const zolcat::Catalog& catalog,
                                        const std::vector<zolcat::Problem>& problems) {
    std::vector<std::string> lines;
    for (const zolcat::Problem& problem : problems) {
        lines.push_back(catalog.describe(problem));
    }
    return lines;
}

inline std::vector<std::string> printed(const zolcat::Reading& reading) {
    return printed(reading.catalog, reading.problems);
}

// Reads one source, called "a.msg".
inline zolcat::Reading read(const std::string& source) {
    return zolcat::readSources({{"a.msg", source}});
}

// What the library prints of a catalog, from what we know of it.
inline std::string dumpOf(const zolcat::Catalog& catalog) {
    std::string dump = "CATALOG '" + catalog.name + "' (id=" + std::to_string(catalog.id) + "):\n";
    const unsigned end = catalog.sets.empty() ? 0 : catalog.sets.rbegin()->first + 1;
    for (unsigned id = 0; id < end; ++id) {
        const auto found = catalog.sets.find(id);
        const zolcat::Set& set = found == catalog.sets.end() ? zolcat::Set() : found->second;
        dump += "  SET '" + set.name + "' (id=" + std::to_string(id) + "):\n";
        for (const auto& [number, message] : set.messages) {
            char key[32];
            (void)snprintf(key, sizeof key, "0x%02x%02x%04x", catalog.id, id, number);
            if (!message.text.empty()) {
                dump += "    __xmsg__(" + std::string(key) + "): \"" + message.text + "\"\n";
            }
        }
    }
    return dump;
}

#endif
