// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A library that is not a plug-in.

extern "C" __attribute__((visibility("default"))) int answerOfNoEntry();

int answerOfNoEntry() {
    return 42;
}
