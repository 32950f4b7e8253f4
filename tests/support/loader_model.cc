// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

#include "support/loader_model.h"

#ifdef LOADER_MODEL

#include <array>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

#include "plugins/script.h"

namespace {

// All in place: nothing is allocated, for allocations may be what is counted.
struct Library {
    void* handle;
    char path[200];
    bool isScripted;  // reports its calls
    int owners;
};

std::array<Library, 2000> libraries;
size_t count = 0;
bool constructorRuns = false;

Library* find(const void* handle) {
    for (size_t i = 0; i < count; ++i) {
        if (libraries[i].handle == handle) {
            return &libraries[i];
        }
    }
    return nullptr;
}

Library* add(void* handle, const char* path) {
    if (count == libraries.size()) {
        abort();
    }
    Library& library = libraries[count++];
    library.handle = handle;
    (void)snprintf(library.path, sizeof library.path, "%s", path);
    library.isScripted = constructorRuns;
    return &library;
}

template <class Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void play(const char* call, const Library& library) {
    if (library.isScripted) {
        (void)plugInCalled(call, library.path, nullptr);
    }
}

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

void noteConstructor() {
    constructorRuns = true;
}

bool isOpenInModel(const std::string& path) {
    for (size_t i = 0; i < count; ++i) {
        if (libraries[i].owners > 0 && endsWith(libraries[i].path, path)) {
            return true;
        }
    }
    return false;
}

extern "C" {

void* dlopen(const char* path, int mode) {
    constructorRuns = false;
    void* const handle = next<void* (*)(const char*, int)>("dlopen")(path, mode);
    if (handle == nullptr || path == nullptr) {
        return handle;
    }
    Library* library = find(handle);
    if (library == nullptr) {
        library = add(handle, path);
    } else if (library->owners == 0) {
        play("constructor", *library);
    }
    ++library->owners;
    return handle;
}

int dlclose(void* handle) {
    Library* const library = find(handle);
    if (library != nullptr && library->owners > 0) {
        if (library->owners == 1) {
            play("destructor", *library);
        }
        --library->owners;
    }
    return next<int (*)(void*)>("dlclose")(handle);
}

}  // extern "C"

#endif
