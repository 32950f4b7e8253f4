// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_FILES_H
#define ZOLCAT_FILES_H

#include <string>

namespace zolcat {

/** Reads a whole file. @return 0, or an errno */
int readFile(const std::string& path, std::string& bytes);

/**
 * Gives a file new contents, at once: they are written beside it and moved over it, so that after
 * a failure the file is as it was, and whoever has it open keeps what it had. Its permissions
 * stay. A symbolic link stays one; where it leads to nothing, this fails. What is no regular file
 * (a pipe, a device) is written to.
 *
 * @return 0, or an errno
 */
int replaceFile(const std::string& path, const std::string& bytes);

}  // namespace zolcat

#endif
