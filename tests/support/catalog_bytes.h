// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_CATALOG_BYTES_H
#define TESTS_SUPPORT_CATALOG_BYTES_H

// Builds the bytes of catalog files, sound and damaged ones, field by field.

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

inline std::string bigEndian16(unsigned value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

inline std::string bigEndian32(uint32_t value) {
    return bigEndian16(value >> 16) + bigEndian16(value & 0xFFFF);
}

// One set record. A field that is changed is written as it is; the others are not adapted to it.
struct SetBytes {
    SetBytes(uint32_t setId, std::string setName, const std::vector<std::string>& setTexts)
        : id(setId), nameLength(static_cast<unsigned>(setName.size())), name(std::move(setName)) {
        for (const std::string& text : setTexts) {
            texts += text + '\0';
        }
        length = static_cast<uint32_t>(7 + name.size() + texts.size());
    }

    std::string bytes() const {
        return bigEndian32(length) + bigEndian32(id) + bigEndian16(nameLength) + name +
               nameTerminator + texts;
    }

    uint32_t length;
    uint32_t id;
    unsigned nameLength;
    std::string name;
    char nameTerminator = '\0';
    std::string texts;  // each with its NUL
};

// A whole file. Fields as above.
struct CatalogBytes {
    CatalogBytes(uint32_t catalogId, std::string catalogName, std::vector<SetBytes> catalogSets)
        : headLength(static_cast<uint32_t>(11 + catalogName.size())),
          id(catalogId),
          nameLength(static_cast<unsigned>(catalogName.size())),
          name(std::move(catalogName)),
          setCount(static_cast<uint32_t>(catalogSets.size())),
          sets(std::move(catalogSets)) {}

    std::string bytes() const {
        const std::string head = magic + bigEndian32(headLength) + bigEndian32(id) +
                                 bigEndian16(nameLength) + name + nameTerminator +
                                 bigEndian32(setCount);
        return std::accumulate(
            sets.begin(), sets.end(), head,
            [](const std::string& all, const SetBytes& set) { return all + set.bytes(); });
    }

    std::string magic = "#CATALOG";
    uint32_t headLength;
    uint32_t id;
    unsigned nameLength;
    std::string name;
    char nameTerminator = '\0';
    uint32_t setCount;
    std::vector<SetBytes> sets;
};

#endif
