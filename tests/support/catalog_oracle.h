// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_CATALOG_ORACLE_H
#define TESTS_SUPPORT_CATALOG_ORACLE_H

// What the reader must make of the bytes of a file, worked out in the plainest way: in memory, and
// with the texts themselves instead of their places.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct OracleSet {
    std::string name;
    std::vector<std::string> texts;
};

struct OracleCatalog {
    uint32_t id = 0;
    std::string name;
    std::vector<OracleSet> sets;  // by id
};

class CatalogOracle {
  public:
    explicit CatalogOracle(std::string bytes) : m_bytes(std::move(bytes)) {}

    std::optional<OracleCatalog> open() {
        OracleCatalog catalog;
        const auto magic = take(8);
        const auto length = number(4);
        if (magic != "#CATALOG" || !length || *length > 75) {
            return {};
        }
        const auto id = number(4);
        m_toldId = id;
        if (!id || *id > 255) {
            return {};
        }
        const auto name = takeName();
        const auto setCount = number(4);
        if (!name || !setCount || *setCount > 256 || *length != name->size() + 11) {
            return {};
        }
        catalog.id = *id;
        catalog.name = *name;
        std::optional<uint32_t> setId;
        for (uint32_t i = 0; i < *setCount; ++i) {
            const OracleSet set = takeSet(setId).value_or(OracleSet{});
            if (setId && *setId <= 255) {
                if (catalog.sets.size() <= *setId) {
                    catalog.sets.resize(*setId + 1);
                }
                catalog.sets[*setId] = set;
            }
        }
        return catalog;
    }

    // The catalog's id, where open() came to read it.
    std::optional<uint32_t> toldId() const { return m_toldId; }

  private:
    std::optional<OracleSet> takeSet(std::optional<uint32_t>& setId) {
        OracleSet set;
        const auto length = number(4);
        if (!length || *length > 131070) {
            return {};
        }
        const auto id = number(4);
        if (!id) {
            return {};
        }
        setId = id;
        if (*id > 255) {
            return {};
        }
        const auto name = takeName();
        if (!name) {
            return {};
        }
        set.name = *name;
        uint64_t consumed = 7 + name->size();
        uint64_t offset = 0;
        while (consumed < *length) {
            const size_t nul = m_bytes.find('\0', m_position);
            if (nul == std::string::npos) {
                m_position = m_bytes.size();
                return {};
            }
            const std::string text = m_bytes.substr(m_position, nul - m_position);
            m_position = nul + 1;
            consumed += text.size() + 1;
            offset += text.size() + 1;
            if (text.size() > 65535 || offset > 65535) {
                return {};
            }
            set.texts.push_back(text);
        }
        if (consumed > *length) {
            return {};
        }
        return set;
    }

    // At the end of the bytes what is left is taken, as a stream does.
    std::optional<std::string> take(size_t count) {
        const std::string taken = m_bytes.substr(m_position, count);
        m_position += taken.size();
        if (taken.size() < count) {
            return {};
        }
        return taken;
    }

    std::optional<uint32_t> number(size_t width) {
        const auto bytes = take(width);
        if (!bytes) {
            return {};
        }
        uint32_t value = 0;
        for (const char byte : *bytes) {
            value = value * 256 + static_cast<unsigned char>(byte);
        }
        return value;
    }

    std::optional<std::string> takeName() {
        const auto length = number(2);
        if (!length || *length > 64) {
            return {};
        }
        const auto name = take(*length + 1);
        if (!name) {
            return {};
        }
        return name->substr(0, *length);
    }

    std::string m_bytes;
    size_t m_position = 0;
    std::optional<uint32_t> m_toldId;
};

#endif
