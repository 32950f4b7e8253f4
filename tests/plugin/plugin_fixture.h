// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_PLUGIN_PLUGIN_FIXTURE_H
#define TESTS_PLUGIN_PLUGIN_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "zol/plugin.h"

#include "support/plugin_dir.h"
#include "support/syslog_capture.h"

using Line = SyslogCapture::Line;
using Names = std::vector<std::string>;

// A manager and a folder of plug-ins, which are named without it.
class PlugInTest : public testing::Test {
  protected:
    PlugInTest() { log.clear(); }

    bool load(const std::string& name, int update = 0, int level = 0) {
        return manager->addPlugIn(dir.path(name).c_str(), update, level);
    }
    bool loadNew(const std::string& name, int update = 0) {
        dir.add(name);
        return load(name, update);
    }
    bool remove(const std::string& name) { return manager->removePlugIn(dir.path(name).c_str()); }
    bool has(const std::string& name) {
        return manager->findPlugIn(dir.path(name).c_str()) != nullptr;
    }
    bool isMapped(const std::string& name) const { return ::isMapped(dir.path(name)); }

    void end() { m_owner.reset(); }
    void startAfresh() {
        m_owner = std::make_unique<zol::CPlugIns>();
        manager = m_owner.get();
    }

    // How many rows have this name; they are gone then.
    int removeAll(const std::string& name) {
        int count = 0;
        while (remove(name)) {
            ++count;
        }
        return count;
    }

    // What was logged but for the libraries that were opened.
    std::vector<Line> complaints() const {
        std::vector<Line> lines;
        for (const Line& line : log.lines()) {
            if (line.priority != 6) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    PlugInDir dir;
    SyslogCapture log;

  private:
    std::unique_ptr<zol::CPlugIns> m_owner = std::make_unique<zol::CPlugIns>();

  protected:
    zol::CPlugIns* manager = m_owner.get();  // good until end() returns
};

inline const Line kNoneSettled = {3, " updateAll(#): Some plugins couldn't be loaded!"};
inline const Line kTooDeep = {3,
                              " addPlugIn(#): Too many dependency levels for plug-ins. "
                              "Maybe a circular dependency ?"};
inline const Line kNoEntry = {3, " getSymbol(#): Cannot found symbol: zol_getPlugIn"};

inline Line cannotOpen(const std::string& path) {
    return {3, " open(#): Cannot open dynamic library: " + loadersReason(path)};
}

#endif
