// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "support/plugin_dir.h"

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>

#include "plugins/script.h"
#include "support/loader_model.h"

namespace {
PlugInDir* current = nullptr;
}

PlugInDir::PlugInDir() {
    current = this;
}

PlugInDir::~PlugInDir() {
    current = nullptr;
}

std::string PlugInDir::add(const std::string& name, const char* dependencies) {
    if (dependencies != nullptr) {
        write(name + ".dep", dependencies);
    }
    return addBuilt(SCRIPTED_PLUGIN, name);
}

std::string PlugInDir::addBuilt(const char* built, const std::string& name) {
    const std::string copy = path(name);
    std::filesystem::create_directories(std::filesystem::path(copy).parent_path());
    std::filesystem::copy_file(built, copy);
    return copy;
}

std::string PlugInDir::write(const std::string& name, const std::string& bytes) {
    const std::string file = path(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
}

void PlugInDir::throwOn(const std::string& call) {
    on(call, [call](int*) -> int { throw std::runtime_error(call); });
}

std::vector<std::string> PlugInDir::calledTo(const std::string& call) const {
    std::vector<std::string> files;
    for (const std::string& each : m_calls) {
        if (each.compare(0, call.size() + 1, call + " ") == 0) {
            files.push_back(each.substr(call.size() + 1));
        }
    }
    return files;
}

int PlugInDir::called(const std::string& call, const std::string& file, int* settled) {
    const bool isHere = file.compare(0, m_dir.path().size() + 1, m_dir.path() + "/") == 0;
    const std::string line = call + " " + (isHere ? file.substr(m_dir.path().size() + 1) : file);
    m_calls.push_back(line);
    const auto action = m_actions.find(line);
    if (action != m_actions.end()) {
        return Action(action->second)(settled);  // a copy: it may be replaced meanwhile
    }
    if (settled != nullptr) {
        ++*settled;
    }
    return 0;
}

// Plug-ins that outlive the test, as at the end of the process, are not listened to.
int plugInCalled(const char* call, const char* file, int* settled) {
#ifdef LOADER_MODEL
    if (std::string(call) == "constructor") {
        noteConstructor();
    }
#endif
    return current == nullptr ? 0 : current->called(call, file, settled);
}

bool isMapped(const std::string& path) {
#ifdef LOADER_MODEL
    return isOpenInModel(path);
#else
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.size() >= path.size() &&
            line.compare(line.size() - path.size(), path.size(), path) == 0) {
            return true;
        }
    }
    return false;
#endif
}

std::string loadersReason(const std::string& path) {
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_GLOBAL);
    EXPECT_EQ(nullptr, library) << path << " can be opened";
    const char* const reason = dlerror();  // null, where the loader has none
    return reason == nullptr ? "unknown error" : reason;
}
