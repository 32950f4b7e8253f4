// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The parser of message sources: any bytes are read, and what is accepted makes a good catalog
// file. What follows the first form feed is another source, with which the first one is compared.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stddef.h>
#include <stdint.h>
#include <string>

#include "zolcat/binary.h"
#include "zolcat/check.h"
#include "zolcat/header.h"
#include "zolcat/printable.h"
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
        const std::string line = catalog.describe(problem);
        check(line == zolcat::printable(line), "a problem is a clean line");
        check(catalog.isBinary || problem.place.number > 0, "a problem is in a line");
    }
}

void checkSource(const std::string& source) {
    const zolcat::Reading reading = zolcat::readSources({{"source", source}});
    const zolcat::Catalog& catalog = reading.catalog;
    describeAll(catalog, reading.problems);
    describeAll(catalog, zolcat::findEmptyMessages(catalog));
    check(zolcat::compare(catalog, catalog).empty(), "a catalog equals itself");
    if (!reading.problems.empty()) {
        return;
    }

    const std::string bytes = zolcat::writeCatalog(catalog);
    const zolcat::Reading again = zolcat::readCatalogFile("file", bytes);
    check(again.problems.empty(), "the catalog file is good");
    check(zolcat::compare(catalog, again.catalog).empty(), "it has the same messages");
    check(zolcat::compare(again.catalog, catalog).empty(), "and no others");
    check(zolcat::isPrefix(zolcat::defaultPrefix(catalog.name)), "the prefix is a good one");
    const std::string header = zolcat::makeHeader(catalog, "A");
    check(header.find('\0') == std::string::npos, "the header is text");
}

void checkComparison(const std::string& source, const std::string& other) {
    const zolcat::Catalog one = zolcat::readSources({{"one", source}}).catalog;
    const zolcat::Catalog two = zolcat::readSources({{"two", other}}).catalog;
    const std::vector<zolcat::Problem> there = zolcat::compare(one, two);
    const std::vector<zolcat::Problem> back = zolcat::compare(two, one);
    describeAll(one, there);
    describeAll(two, back);
    check(there.size() == back.size(), "what differs here differs there");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t end = std::min(input.find('\f'), size);
    checkSource(input.substr(0, end));
    if (end < size) {
        checkComparison(input.substr(0, end), input.substr(end + 1));
    }
    return 0;
}
