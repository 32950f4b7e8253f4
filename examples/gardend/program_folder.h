// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_PROGRAM_FOLDER_H
#define GARDEND_PROGRAM_FOLDER_H

#include "zol/str.h"

namespace gardend {

/**
 * Finds the files that belong to this program from where the program is.
 *
 * @param built      where they are beside the program, when it has been built there: "/texts"
 * @param installed  where they are otherwise: "/../share/gardend"
 * @return           the folder, as a pattern of glob(7) in which it stands for itself; empty when
 *                   there is no memory
 */
zol::CStr findFolder(const char* built, const char* installed);

}  // namespace gardend

#endif
