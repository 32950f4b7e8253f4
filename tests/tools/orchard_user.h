/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef TESTS_TOOLS_ORCHARD_USER_H
#define TESTS_TOOLS_ORCHARD_USER_H

#ifdef __cplusplus
extern "C" {
#endif
/* What orchard.h has, as seen from C: the catalog, apple, pear, plum, class. */
extern const unsigned orchardIds[5];
#ifdef __cplusplus
}
#endif

#endif
