// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The parser of message sources: any bytes are read, and what is accepted makes a good catalog
// file.
#include <cstdio>
#include <cstdlib>
#include <stddef.h>
#include <stdint.h>
#include <string>

#include "zolcat/binary.h"
#include "zolcat/check.h"
#include "zolcat/header.h"
#include "zolcat/source.h"

namespace {

void check(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        abort();
    }
}

void describeAll(const zolcat::Catalog& catalog, const std::vector<zolcat::Problem>& problems) {
    for (const zolcat::Problem& problem : problems) {
        check(!catalog.describe(problem.place).empty() && !problem.text.empty(), "a problem");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string source(reinterpret_cast<const char*>(data), size);
    const zolcat::Reading reading = zolcat::readSources({{"source", source}});
    const zolcat::Catalog& catalog = reading.catalog;
    describeAll(catalog, reading.problems);
    describeAll(catalog, zolcat::findEmptyMessages(catalog));
    check(zolcat::compare(catalog, catalog).empty(), "a catalog equals itself");
    if (!reading.problems.empty()) {
        return 0;
    }

    const std::string bytes = zolcat::writeCatalog(catalog);
    const zolcat::Reading again = zolcat::readCatalogFile("file", bytes);
    check(again.problems.empty(), "the catalog file is good");
    check(zolcat::compare(catalog, again.catalog).empty(), "it has the same messages");
    check(zolcat::compare(again.catalog, catalog).empty(), "and no others");
    check(zolcat::isPrefix(zolcat::defaultPrefix(catalog.name)), "the prefix is a good one");
    const std::string header = zolcat::makeHeader(catalog, "A");
    check(header.find('\0') == std::string::npos, "the header is text");
    return 0;
}
