/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include "orchard_user.h"

#include "orchard.h"

/* Twice, and nothing happens. */
#include "orchard.h"

const unsigned orchardIds[] = {ORCHARD_CATALOG, ORCHARD_APPLE, ORCHARD_PEAR, ORCHARD__plum,
                               ORCHARD_class};
