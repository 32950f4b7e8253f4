// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_CATALOG_COMPARISON_H
#define TESTS_SUPPORT_CATALOG_COMPARISON_H

#include <string>
#include <sys/syscall.h>
#include <unistd.h>

#include "zol/cat.h"

#include "support/catalog_oracle.h"

// Compares what the reader makes of a file with what the obvious reader makes of its bytes.
class CatalogComparison {
  public:
    CatalogComparison()
        : m_fd(static_cast<int>(syscall(SYS_memfd_create, "catalog", 1U))),  // 1: closed on exec
          m_path("/proc/self/fd/" + std::to_string(m_fd)) {}
    ~CatalogComparison() { close(m_fd); }
    CatalogComparison(const CatalogComparison&) = delete;
    CatalogComparison& operator=(const CatalogComparison&) = delete;

    // Where they differ; empty: nowhere.
    std::string run(const std::string& bytes) {
        const auto size = static_cast<ssize_t>(bytes.size());
        if (ftruncate(m_fd, 0) != 0 || pwrite(m_fd, bytes.data(), bytes.size(), 0) != size) {
            return "the file cannot be made";
        }
        CatalogOracle oracle(bytes);
        const auto expected = oracle.open();
        zol::cat::CFile file;
        unsigned id = kNoId;
        m_opened = file.open(m_path.c_str(), id) == 0;
        if (m_opened != expected.has_value()) {
            return "one refuses it";
        }
        if (id != oracle.toldId().value_or(kNoId)) {
            return "the id that is told";
        }
        return m_opened ? compare(file, *expected) : "";
    }

    // Whether the last one was a catalog.
    bool hasOpened() const { return m_opened; }

  private:
    static constexpr unsigned kNoId = 999;

    static bool isSame(const zol::CStr& found, const std::string& expected) {
        return expected == std::string(found.get(), static_cast<size_t>(found.getLength()));
    }

    static bool isSame(const zol::cat::CFile& file, unsigned id, const std::string& expected) {
        zol::CStr text;
        const int result = file.getMessage(id, text);
        return expected.empty() ? result == -1 : result == 0 && isSame(text, expected);
    }

    static std::string compare(const zol::cat::CFile& file, const OracleCatalog& expected) {
        if (file.getId() != expected.id || !isSame(file.getName(), expected.name)) {
            return "id or name";
        }
        if (static_cast<size_t>(file.getSets().getCount()) != expected.sets.size()) {
            return "the number of sets";
        }
        for (size_t set = 0; set < expected.sets.size(); ++set) {
            const std::string where = "set " + std::to_string(set);
            const OracleSet& wanted = expected.sets[set];
            const zol::cat::CSet& found = file.getSets()[static_cast<int>(set)];
            if (!isSame(found.getName(), wanted.name) ||
                static_cast<size_t>(found.getMessages().getCount()) != wanted.texts.size()) {
                return where + ", its name or the number of its messages";
            }
            for (size_t i = 0; i < wanted.texts.size(); ++i) {
                if (!isSame(file, static_cast<unsigned>(set << 16 | i), wanted.texts[i])) {
                    return where + ", message " + std::to_string(i);
                }
            }
        }
        return "";
    }

    int m_fd;
    std::string m_path;
    bool m_opened = false;
};

#endif
