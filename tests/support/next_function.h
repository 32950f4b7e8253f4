// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef SUPPORT_NEXT_FUNCTION_H
#define SUPPORT_NEXT_FUNCTION_H

#include <dlfcn.h>
#include <string>

/**
 * The C library's function behind one that the program defines under its name. Where file offsets
 * have been widened to 64 bits, some libraries have it by a longer name.
 */
template <class Function>
Function nextFunction(const std::string& name) {
    void* const wide = dlsym(RTLD_NEXT, (name + "64").c_str());
    return reinterpret_cast<Function>(wide != nullptr ? wide : dlsym(RTLD_NEXT, name.c_str()));
}

#endif
