// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// A library that is not a plug-in.

extern "C" int answerOfNoEntry();

int answerOfNoEntry() {
    return 42;
}
