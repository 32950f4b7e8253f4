// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef ZOLCAT_PRINTF_FORMAT_H
#define ZOLCAT_PRINTF_FORMAT_H

#include <string>
#include <string_view>
#include <vector>

namespace zolcat {

/** What a text asks for when it is given to printf(). */
struct Conversions {
    // The type of each argument in the order of the arguments: "d" "ld" "u" "f" "s" and so on, "*"
    // for a width or precision, "" for an argument that is skipped over. A conversion that is
    // invalid stands for an argument of a type of its own: "?%y".
    std::vector<std::string> arguments;
    // The conversions of these arguments as they stand in the text: "%5.2f, %s".
    std::string written;
    // The first that is invalid, and why; empty: there is none.
    std::string invalid;
    // Whether the text is clearly written for printf(): it has arguments, %% or %m. Else its
    // percent signs, of which `invalid` may tell, can be just percent signs.
    bool isFormat = false;
};

/** Finds the conversions of printf(3), those of C23 and positions like %2$s included. */
Conversions conversionsOf(std::string_view text);

}  // namespace zolcat

#endif
