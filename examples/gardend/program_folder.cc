// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "program_folder.h"

#include <limits.h>
#include <string.h>
#include <unistd.h>

#include "text.h"

namespace gardend {

zol::CStr findFolder(const char* built, const char* installed) {
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof(program) - 1);
    program[length < 0 ? 0 : length] = '\0';
    const char* const slash = strrchr(program, '/');
    const int folderLength = slash == nullptr ? 0 : static_cast<int>(slash - program);

    CText beside;
    beside.add(program, folderLength).add(built);
    CText pattern;
    for (int i = 0; i < folderLength; ++i) {
        pattern.add(strchr("*?[\\", program[i]) != nullptr ? "\\" : "").add(program + i, 1);
    }
    pattern.add(access(beside.get(), F_OK) == 0 ? built : installed);
    return pattern.isWhole() ? pattern.get() : "";
}

}  // namespace gardend
