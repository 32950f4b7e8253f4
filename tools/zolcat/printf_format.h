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
    // for a width or precision, "" for an argument that is skipped over.
    std::vector<std::string> arguments;
    // The conversions as they stand in the text: "%5.2f, %s".
    std::string written;
    // The first that printf() does not know; empty: there is none.
    std::string invalid;

    bool isFormat() const { return !arguments.empty(); }
};

/** Finds the conversions of printf(3), positions like %2$s included; %% is none. */
Conversions conversionsOf(std::string_view text);

}  // namespace zolcat

#endif
