// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A plug-in without instance, which offers a function to others.

#include "zol/plugin.h"

extern "C" __attribute__((visibility("default"))) const char* textOfProvider();

const char* textOfProvider() {
    return "provided";
}

zol::CPlugInInstance* zol_getPlugIn() {
    return nullptr;
}
