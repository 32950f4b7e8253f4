/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */

/* On ARM every object with unwind tables refers to these, so that whoever links it has an unwinder.
   But the tables name them by number, and the unwinder that an exception of the application brings
   takes its own: these are not called. With them a library does not need libgcc_s.so
   (Exception handling ABI for the Arm architecture, 7.2 and 7.3). */

void __aeabi_unwind_cpp_pr0(void);
void __aeabi_unwind_cpp_pr1(void);
void __aeabi_unwind_cpp_pr2(void);

__attribute__((__visibility__("hidden"))) void __aeabi_unwind_cpp_pr0(void) {}
__attribute__((__visibility__("hidden"))) void __aeabi_unwind_cpp_pr1(void) {}
__attribute__((__visibility__("hidden"))) void __aeabi_unwind_cpp_pr2(void) {}
