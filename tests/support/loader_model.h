// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef SUPPORT_LOADER_MODEL_H
#define SUPPORT_LOADER_MODEL_H

#include <string>

/**
 * The dlclose() of musl does nothing: what has been loaded stays to the end of the program. There
 * the test program defines dlopen() and dlclose(), which count who has a library open, and play its
 * end for those that report their calls (plugins/script.h). So it is tested there, too, that all is
 * closed that has been opened, and when.
 */
#ifndef __GLIBC__
#define LOADER_MODEL 1

/** A library that is being loaded has reported that its constructor runs. */
void noteConstructor();

/** Whether somebody has a library open whose path ends so. */
bool isOpenInModel(const std::string& path);

#endif
#endif
