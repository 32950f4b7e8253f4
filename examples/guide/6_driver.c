/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#include <stdio.h>

__attribute__((visibility("default"))) void lampd_driver_set(int is_on);

void lampd_driver_set(int is_on) {
    printf("relay %s\n", is_on != 0 ? "closed" : "open");
}

__attribute__((destructor)) static void gone(void) {
    puts("relay gone");
}
