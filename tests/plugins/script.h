// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_PLUGINS_SCRIPT_H
#define TESTS_PLUGINS_SCRIPT_H

// The test program defines it, see support/plugin_dir.cc. A scripted plug-in reports each of its
// calls, and does what the test wants: for onUpdate, `settled` is the counter and the result that
// of the call; for the entry function, other than 0 is the wish for no instance.
extern "C" int plugInCalled(const char* call, const char* file, int* settled);

#endif
