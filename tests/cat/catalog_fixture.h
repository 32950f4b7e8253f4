// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_CAT_CATALOG_FIXTURE_H
#define TESTS_CAT_CATALOG_FIXTURE_H

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "zol/cat.h"

#include "support/catalog_bytes.h"
#include "support/temp_dir.h"

inline std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// Catalog files in a folder of their own.
class CatalogFiles : public testing::Test {
  protected:
    // Writes a file, with the folders above it.
    std::string write(const std::string& name, const std::string& bytes) {
        const std::string path = dir.file(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
        return path;
    }

    // A file that holds one text, as message 0 of set 0.
    std::string writeText(const std::string& name, unsigned catalogId, const std::string& text) {
        return write(name, CatalogBytes(catalogId, "test", {{0, "", {text}}}).bytes());
    }

    // What a function prints to the stream that it is given.
    template <class Print>
    std::string printed(Print print) {
        const std::string path = dir.file("printed");
        FILE* const out = fopen(path.c_str(), "w");
        print(out);
        fclose(out);
        return contentOf(path);
    }

    TempDir dir;
};

constexpr const char* kMissing = "(missing)";

// The text of a message in a file, set or catalog.
template <class Holder, class... Stream>
std::string textIn(const Holder& holder, unsigned id, Stream... stream) {
    zol::CStr text("as it was");
    if (holder.getMessage(id, stream..., text) == 0) {
        return {text.get(), static_cast<size_t>(text.getLength())};
    }
    return kMissing;
}

#endif
