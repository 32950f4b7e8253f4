// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "catalog.h"

#include <algorithm>
#include <tuple>

#include "printable.h"

namespace zolcat {

std::string Catalog::describe(const Place& where) const {
    return files.at(where.file) + (isBinary ? ":byte " : ":") + std::to_string(where.number);
}

std::string Catalog::describe(const Problem& problem) const {
    return printable(describe(problem.place) + ": " + problem.text);
}

const Message* Catalog::find(unsigned setId, unsigned number) const {
    const auto set = sets.find(setId);
    if (set == sets.end()) {
        return nullptr;
    }
    const auto message = set->second.messages.find(number);
    if (message == set->second.messages.end() || message->second.text.empty()) {
        return nullptr;
    }
    return &message->second;
}

void sortByPlace(std::vector<Problem>& problems) {
    std::stable_sort(problems.begin(), problems.end(), [](const Problem& a, const Problem& b) {
        return std::tie(a.place.file, a.place.number) < std::tie(b.place.file, b.place.number);
    });
}

uint32_t messageId(unsigned catalogId, unsigned setId, unsigned number) {
    return static_cast<uint32_t>(catalogId) << 24 | static_cast<uint32_t>(setId) << 16 | number;
}

}  // namespace zolcat
