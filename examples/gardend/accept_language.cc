// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "accept_language.h"

#include <string.h>
#include <string_view>
#include <strings.h>

namespace gardend {

namespace {

constexpr char kBlanks[] = " \t";

std::string_view withoutBlanksAround(std::string_view text) {
    const size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return text.substr(0, 0);
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// Takes the text up to a separator off the rest, and the separator.
std::string_view takeUpTo(char separator, std::string_view& rest) {
    const std::string_view taken = rest.substr(0, rest.find(separator));
    rest.remove_prefix(taken.size() < rest.size() ? taken.size() + 1 : rest.size());
    return taken;
}

// Reads "q=0.85": up to three digits behind the point, and not more than 1.
// @return thousandths; -1 for something else
int readQuality(std::string_view weight) {
    if (weight.size() < 3 || (weight[0] != 'q' && weight[0] != 'Q') || weight[1] != '=') {
        return -1;
    }
    const std::string_view value = weight.substr(2);
    if (value.size() > 5 || (value.size() > 1 && value[1] != '.')) {
        return -1;
    }
    int thousandths = 0;
    for (size_t i = 0; i < 5; ++i) {
        const char digit = i < value.size() ? value[i] : '0';
        if (i == 1) {
            continue;  // the point
        }
        if (digit < '0' || digit > '9') {
            return -1;
        }
        thousandths = thousandths * 10 + (digit - '0');
    }
    return thousandths <= 1000 ? thousandths : -1;
}

bool isLanguage(std::string_view range, const char* language) {
    return range.size() == strlen(language) &&
           strncasecmp(range.data(), language, range.size()) == 0;
}

// "de-AT" is a variety of "de".
bool isVariety(std::string_view range, const char* language) {
    const size_t length = strlen(language);
    return range.size() > length && range[length] == '-' &&
           isLanguage(range.substr(0, length), language);
}

}  // namespace

Wish findWish(const char* list, const char* language) {
    Wish named;
    Wish any;
    int position = 0;
    for (std::string_view rest = list; !rest.empty();) {
        std::string_view weight = takeUpTo(',', rest);
        const bool hasWeight = weight.find(';') != std::string_view::npos;
        const std::string_view range = withoutBlanksAround(takeUpTo(';', weight));
        const int quality = hasWeight ? readQuality(withoutBlanksAround(weight)) : 1000;
        ++position;
        if (isLanguage(range, language) && quality == 0) {
            return Wish();
        }
        if (isLanguage(range, language) || isVariety(range, language)) {
            named = quality > named.quality ? Wish{quality, position} : named;
        } else if (range == "*") {
            any = quality > any.quality ? Wish{quality, position} : any;
        }
    }
    return named.quality > 0 ? named : any;
}

}  // namespace gardend
