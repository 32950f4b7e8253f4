// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_TEMP_DIR_H
#define TESTS_SUPPORT_TEMP_DIR_H

#include <filesystem>
#include <stdlib.h>
#include <string>

// A fresh folder, removed with all that is in it.
class TempDir {
  public:
    TempDir() {
        char path[] = "/tmp/zol-XXXXXX";
        m_path = mkdtemp(path) != nullptr ? path : "";
    }
    ~TempDir() {
        if (!m_path.empty()) {
            std::filesystem::remove_all(m_path);
        }
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string file(const std::string& name) const { return m_path + "/" + name; }
    const std::string& path() const { return m_path; }

  private:
    std::string m_path;
};

#endif
