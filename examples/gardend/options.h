// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_OPTIONS_H
#define GARDEND_OPTIONS_H

#include "zol/str.h"

#include "settings.h"

namespace gardend {

/** What the command line says. */
struct Options {
    zol::CStr configuration;  // a file; empty: the garden that the program knows by itself
    Settings settings;        // which win over those of the file
    bool checkOnly = false;
    bool logToTerminal = false;
};

/**
 * Reads the command line.
 *
 * @return -1 to go on; else the exit status, with the help or a complaint printed
 */
int readOptions(int argc, char** argv, Options& options);

}  // namespace gardend

#endif
