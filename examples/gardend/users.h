// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_USERS_H
#define GARDEND_USERS_H

#include "zol/str.h"

namespace gardend {

/** Who may see the status page. */
struct User {
    zol::CStr name;
    zol::CStr ha1;  // generateHa1() of the name, kLoginRealm and the password, in lowercase
};

/** What browsers show when they ask for a name and a password; part of every HA1. */
constexpr char kLoginRealm[] = "gardend";

}  // namespace gardend

#endif
