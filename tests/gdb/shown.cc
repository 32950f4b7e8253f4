// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// What gdb is to show: it stops in look(), with all kinds of handles above.

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "zol/buffer.h"
#include "zol/list.h"
#include "zol/str.h"
#include "zol/tab.h"
#include "zol/time.h"

namespace {

struct Job {
    int id;
    xlist_link_s link;
};

struct Call {
    void* next;
    int number;
};

class CLamp : public zol::CListElem<CLamp> {
  public:
    explicit CLamp(const char* name) : m_name(name) {}

  private:
    zol::CStr m_name;
};

volatile int looked;

__attribute__((noinline)) void look(const zol::CStr& reference) {
    looked = reference.getLength();
}

}  // namespace

int main() {
    // Words in memory that are no handles: gdb is not to follow them.
    static unsigned char noise[64];
    memset(noise, 0xa5, sizeof noise);
    char* const noWhere = reinterpret_cast<char*>(static_cast<uintptr_t>(16));

    xstr text, shared, empty, null = nullptr, wild = noWhere, noisy;
    xstr_init(&text);
    xstr_init(&shared);
    xstr_init(&empty);
    xstr_set(&text, "zone \"4\"", -1);
    xstr_copy(&shared, &text);
    noisy = reinterpret_cast<char*>(noise + 32);

    xstr longText;  // longer than what gdb reads of one value
    xstr_init(&longText);
    memset(xstr_get_buffer(&longText, 200001), '-', 200000);
    xstr_release_buffer(&longText, -1);

    const zol::CStr object("kitchen");
    const zol::CStr none;

    xtab table = nullptr, noTable = nullptr;
    const xabuf_def_s pairs = {sizeof(xtabh_s), 8, 4};
    xtab_insert(&table, &pairs, -1, 3, nullptr);
    xbuffer buffer = nullptr;
    xbuffer_set(&buffer, "\1\2abc", 5);

    zol::CTab<int> numbers;
    numbers.append(7);
    numbers.append(-8);
    const zol::CTab<zol::CStr> noNames;
    zol::CTab<zol::CStr> names;
    names.append("hall");
    names.append(object);
    xtab wildTable = noise + 32;

    const zol::CTime date(INT64_C(62135596800000000) + INT64_C(1795329000123456));
    const zol::CTime duration(1500000);
    const zol::CTime before(-2500000);

    Job first = {1, {nullptr, nullptr}}, second = {2, {nullptr, nullptr}};
    xlist jobs = xlist_null, noJobs = xlist_null;
    xlist_add_tail(&jobs, &first, offsetof(Job, link));
    xlist_add_tail(&jobs, &second, offsetof(Job, link));
    Call one = {nullptr, 10}, two = {nullptr, 20};
    xfifo calls = xfifo_null;
    xfifo_add(&calls, &one, 0);
    xfifo_add(&calls, &two, 0);
    Call below = {nullptr, 30}, above = {nullptr, 40};
    xlifo stack = xlifo_null;
    xlifo_push(&stack, &below, 0);
    xlifo_push(&stack, &above, 0);
    CLamp kitchen("kitchen lamp"), hall("hall lamp");
    xlist lamps = xlist_null;
    CLamp::append(lamps, kitchen);
    CLamp::append(lamps, hall);

    look(object);

    CLamp::remove(lamps, kitchen);
    CLamp::remove(lamps, hall);
    xsbuf_free(&table);
    xsbuf_free(&buffer);
    xstr_free(&longText);
    xstr_free(&text);
    xstr_free(&shared);
    return noTable != nullptr || null != nullptr || wild == noisy || wildTable == nullptr ||
           stack.top == nullptr || noJobs.count != 0 || none.getLength() != 0 ||
           noNames.getCount() != 0 || date < duration || before == duration || looked != 7;
}
