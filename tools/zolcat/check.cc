// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "check.h"

#include <algorithm>
#include <utility>

#include "printf_format.h"

namespace zolcat {

namespace {

std::string setCalled(unsigned id, const Set& set) {
    const std::string text = "set " + std::to_string(id);
    return set.name.empty() ? text : text + " '" + set.name + "'";
}

std::string messageOf(unsigned number, unsigned id, const Set& set) {
    return "message " + std::to_string(number) + " of " + setCalled(id, set);
}

bool hasTexts(const Set& set) {
    return std::any_of(set.messages.begin(), set.messages.end(),
                       [](const auto& entry) { return !entry.second.text.empty(); });
}

std::string listed(const Conversions& conversions) {
    return conversions.arguments.empty() ? "no arguments" : conversions.written;
}

class Comparison {
  public:
    Comparison(const Catalog& catalog, const Catalog& reference)
        : m_catalog(catalog), m_reference(reference) {}

    std::vector<Problem> run() {
        if (m_catalog.hasId && m_reference.hasId && m_catalog.id != m_reference.id) {
            complain(m_catalog.place,
                     "the catalog is number " + std::to_string(m_catalog.id) +
                         " here, and number " + std::to_string(m_reference.id),
                     m_reference.place);
        }
        for (const auto& [id, set] : m_reference.sets) {
            findMissing(id, set);
        }
        for (const auto& [id, set] : m_catalog.sets) {
            findExtra(id, set);
        }
        sortByPlace(m_problems);
        return std::move(m_problems);
    }

  private:
    void complain(const Place& place, const std::string& text, const Place& inReference) {
        m_problems.push_back({place, text + " in " + m_reference.describe(inReference)});
    }

    void findMissing(unsigned id, const Set& referenceSet) {
        const auto set = m_catalog.sets.find(id);
        if (set == m_catalog.sets.end() || !hasTexts(set->second)) {
            if (hasTexts(referenceSet)) {
                complain(placeOfSet(id), setCalled(id, referenceSet) + " is missing; it is",
                         referenceSet.place);
            }
            return;
        }
        for (const auto& [number, message] : referenceSet.messages) {
            if (message.text.empty()) {
                continue;
            }
            const Message* const counterpart = m_catalog.find(id, number);
            if (counterpart != nullptr) {
                compareMessages(messageOf(number, id, referenceSet), *counterpart, message);
                continue;
            }
            complain(placeOfMessage(set->second, number),
                     messageOf(number, id, referenceSet) + " is missing or empty; it is",
                     message.place);
        }
    }

    void findExtra(unsigned id, const Set& set) {
        const std::string isNotIn = " is not in " + m_reference.files[0];
        const auto referenceSet = m_reference.sets.find(id);
        if (referenceSet == m_reference.sets.end() || !hasTexts(referenceSet->second)) {
            if (hasTexts(set)) {
                m_problems.push_back({set.place, setCalled(id, set) + isNotIn});
            }
            return;
        }
        for (const auto& [number, message] : set.messages) {
            if (!message.text.empty() && m_reference.find(id, number) == nullptr) {
                m_problems.push_back({message.place, messageOf(number, id, set) + isNotIn});
            }
        }
    }

    void compareMessages(const std::string& subject, const Message& message,
                         const Message& reference) {
        if (!message.name.empty() && !reference.name.empty() && message.name != reference.name) {
            complain(message.place,
                     subject + " is " + message.name + " here, and " + reference.name,
                     reference.place);
        }
        const Conversions own = conversionsOf(message.text);
        const Conversions wanted = conversionsOf(reference.text);
        if (own.arguments != wanted.arguments) {
            complain(message.place,
                     subject + " takes " + listed(own) + " here, and " + listed(wanted),
                     reference.place);
        }
        // Where one of them is for printf(), the other one has to be good for it.
        if ((!own.isFormat && !wanted.isFormat) || own.invalid == wanted.invalid) {
            return;
        }
        if (!own.invalid.empty()) {
            complain(message.place, subject + " has " + own.invalid + "; not so", reference.place);
        } else {
            complain(message.place,
                     subject + " is for printf() here, and has " + wanted.invalid + ",",
                     reference.place);
        }
    }

    // Of what is missing: the nearest thing that is there.
    Place placeOfSet(unsigned id) const {
        const auto set = m_catalog.sets.find(id);
        return set != m_catalog.sets.end() ? set->second.place
                                           : Place{0, m_catalog.isBinary ? size_t{0} : size_t{1}};
    }
    static Place placeOfMessage(const Set& set, unsigned number) {
        const auto message = set.messages.find(number);
        return message != set.messages.end() ? message->second.place : set.place;
    }

    const Catalog& m_catalog;
    const Catalog& m_reference;
    std::vector<Problem> m_problems;
};

}  // namespace

std::vector<Problem> findEmptyMessages(const Catalog& catalog) {
    std::vector<Problem> problems;
    for (const auto& [id, set] : catalog.sets) {
        for (const auto& [number, message] : set.messages) {
            if (message.text.empty()) {
                problems.push_back({message.place, messageOf(number, id, set) +
                                                       " is empty, and counts as missing"});
            }
        }
    }
    sortByPlace(problems);
    return problems;
}

std::vector<Problem> compare(const Catalog& catalog, const Catalog& reference) {
    return Comparison(catalog, reference).run();
}

}  // namespace zolcat
