// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The reader of catalog files: any bytes are read as an obvious reader reads them.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "support/catalog_comparison.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CatalogComparison comparison;
    const std::string difference = comparison.run({reinterpret_cast<const char*>(data), size});
    if (!difference.empty()) {
        fprintf(stderr, "differs: %s\n", difference.c_str());
        abort();
    }
    return 0;
}
