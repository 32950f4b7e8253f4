/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */

/* Debian's libgcc_eh.a, which unwinds exceptions, asks glibc which object a program counter belongs
   to. Here the same for a C library that has dl_iterate_phdr(3) only. */

#define _GNU_SOURCE
#include <link.h>
#include <stddef.h>

struct dl_find_object {
    unsigned long long flags;
    void* start;
    void* end;
    struct link_map* map;
    const void* eh_frame;
#ifdef __i386__
    void* data_base;
#endif
    unsigned long long reserved[7];
};

struct search {
    ElfW(Addr) pc;
    struct dl_find_object* result;
};

static int look_into(struct dl_phdr_info* info, size_t size, void* context) {
    const struct search* search = context;
    const ElfW(Phdr)* eh_frame = NULL;
    const ElfW(Phdr)* dynamic = NULL;
    ElfW(Addr) start = 0;
    ElfW(Addr) end = 0;
    (void)size;
    for (int i = 0; i < info->dlpi_phnum; i++) {
        const ElfW(Phdr)* header = &info->dlpi_phdr[i];
        const ElfW(Addr) address = info->dlpi_addr + header->p_vaddr;
        if (header->p_type == PT_LOAD && search->pc >= address &&
            search->pc < address + header->p_memsz) {
            start = address;
            end = address + header->p_memsz;
        } else if (header->p_type == PT_GNU_EH_FRAME) {
            eh_frame = header;
        } else if (header->p_type == PT_DYNAMIC) {
            dynamic = header;
        }
    }
    if (end == 0 || eh_frame == NULL) {
        return 0;
    }
    *search->result = (struct dl_find_object){
        .start = (void*)start,
        .end = (void*)end,
        .eh_frame = (const void*)(info->dlpi_addr + eh_frame->p_vaddr),
    };
#ifdef __i386__
    if (dynamic != NULL) {
        for (const ElfW(Dyn)* entry = (const void*)(info->dlpi_addr + dynamic->p_vaddr);
             entry->d_tag != DT_NULL; entry++) {
            if (entry->d_tag == DT_PLTGOT) {
                search->result->data_base = (void*)entry->d_un.d_ptr;
            }
        }
    }
#else
    (void)dynamic;
#endif
    return 1;
}

__attribute__((visibility("hidden"))) int _dl_find_object(void* pc, struct dl_find_object* result);

int _dl_find_object(void* pc, struct dl_find_object* result) {
    struct search search = {(ElfW(Addr))pc, result};
    return dl_iterate_phdr(look_into, &search) == 1 ? 0 : -1;
}
