// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// The reader of catalog files: any bytes are read as an obvious reader reads them.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

#include "zol/cat.h"

#include "support/catalog_oracle.h"

namespace {

void check(bool holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        abort();
    }
}

bool isSame(const zol::cat::CFile& file, unsigned id, const std::string& text) {
    zol::CStr found;
    const int result = file.getMessage(id, found);
    return text.empty()
               ? result == -1
               : result == 0 &&
                     text == std::string(found.get(), static_cast<size_t>(found.getLength()));
}

void compare(const zol::cat::CFile& file, const OracleCatalog& expected) {
    check(file.getId() == expected.id, "the id");
    check(static_cast<size_t>(file.getSets().getCount()) == expected.sets.size(), "slots");
    for (size_t set = 0; set < expected.sets.size(); ++set) {
        const auto& texts = expected.sets[set].texts;
        const auto& messages = file.getSets()[static_cast<int>(set)].getMessages();
        check(static_cast<size_t>(messages.getCount()) == texts.size(), "messages of a set");
        for (size_t i = 0; i < texts.size(); ++i) {
            check(isSame(file, static_cast<unsigned>(set << 16 | i), texts[i]), "a text");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int fd = memfd_create("catalog", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(fd);
    static FILE* const nowhere = fopen("/dev/null", "w");
    check(ftruncate(fd, 0) == 0 && pwrite(fd, data, size, 0) == static_cast<ssize_t>(size),
          "setup");

    zol::cat::CFile file;
    unsigned id = 0;
    const auto expected = CatalogOracle({reinterpret_cast<const char*>(data), size}).open();
    check((file.open(path.c_str(), id) == 0) == expected.has_value(), "what is refused");
    if (expected) {
        compare(file, *expected);
        file.dump(nowhere);
    }
    return 0;
}
