// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_PRINTABLE_H
#define ZOLCAT_PRINTABLE_H

#include <stddef.h>
#include <string>
#include <string_view>

namespace zolcat {

/**
 * The length of the character that begins a text: well-formed UTF-8, and nothing that a terminal
 * or an editor would obey instead of showing it, like control characters, marks that change the
 * direction of writing, and what cannot be seen at all.
 *
 * @param text  not empty
 * @return      in bytes; 0: no such character begins it
 */
size_t printableLength(std::string_view text);

/** A text as it may be printed in one line: all other bytes as a source writes them, like \033. */
std::string printable(std::string_view text);

}  // namespace zolcat

#endif
