// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_PLUGIN_DIR_H
#define TESTS_SUPPORT_PLUGIN_DIR_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/temp_dir.h"

// A folder of plug-ins, and what they do. Each plug-in is a copy of one that was built for the
// tests, see tests/plugins: the loader takes files for different libraries when they are different
// files.
class PlugInDir {
  public:
    using Action = std::function<int(int* settled)>;

    PlugInDir();
    ~PlugInDir();
    PlugInDir(const PlugInDir&) = delete;
    PlugInDir& operator=(const PlugInDir&) = delete;

    std::string path(const std::string& name) const { return m_dir.file(name); }

    // Makes a plug-in, and its dependency file where `dependencies` is not null. All answer its
    // path.
    std::string add(const std::string& name, const char* dependencies = nullptr);
    std::string addBuilt(const char* built, const std::string& name);
    std::string write(const std::string& name, const std::string& bytes);

    // What a scripted plug-in is to do when it is called: on("onLoad a.so", ...).
    void on(const std::string& call, Action action) { m_actions[call] = std::move(action); }
    void throwOn(const std::string& call);

    // The calls of scripted plug-ins: "onLoad a.so"; and the plug-ins to which one was made.
    const std::vector<std::string>& calls() const { return m_calls; }
    std::vector<std::string> calledTo(const std::string& call) const;
    void forgetCalls() { m_calls.clear(); }

    int called(const std::string& call, const std::string& file, int* settled);

  private:
    TempDir m_dir;
    std::map<std::string, Action> m_actions;
    std::vector<std::string> m_calls;
};

// Whether a file is a part of the process.
bool isMapped(const std::string& path);

// What the loader says about a library that it cannot open.
std::string loadersReason(const std::string& path);

#endif
