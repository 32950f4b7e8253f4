// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "printf_format.h"

#include <algorithm>
#include <stddef.h>

#include "ascii.h"

namespace zolcat {

namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kTakeABlank = "diaAeEfFgG";
constexpr size_t kMaxPosition = 99;
constexpr char kUnknown[] = "printf() does not know";

// What a conversion asks for.
struct Argument {
    size_t position;  // 0: the next one
    std::string type;
};

// Reads the conversions of one text, one after the other.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : m_text(text) {}

    Conversions scan() {
        while ((m_offset = m_text.find('%', m_offset)) != std::string_view::npos) {
            readConversion();
        }
        return m_result;
    }

  private:
    void readConversion() {
        const size_t percent = m_offset++;
        if (takeOneOf("%")) {
            m_result.isFormat = true;
            return;
        }
        std::vector<Argument> arguments;
        const size_t position = takePosition();
        const bool hasBlank = takeFlags();
        takeSize(arguments);
        if (takeOneOf(".")) {
            takeSize(arguments);
        }
        const std::string length = takeLength();
        const char letter = takeVisible();
        const std::string conversion(m_text.substr(percent, m_offset - percent));
        if (!isLetter(letter) || (hasBlank && kTakeABlank.find(letter) == std::string_view::npos)) {
            complain(conversion, kUnknown);  // as in "100 % safe": just a percent sign, perhaps
            return;
        }

        const bool isErrorText = letter == 'm' && length.empty();  // of errno: no argument
        std::string type = isErrorText ? "" : typeOf(length, letter);
        if (type.empty() && !isErrorText) {
            complain(conversion, kUnknown);
            type = "?" + conversion;
        }
        arguments.push_back({position, type});
        addArguments(arguments, conversion);
    }

    bool takeOneOf(std::string_view characters) {
        if (m_offset == m_text.size() ||
            characters.find(m_text[m_offset]) == std::string_view::npos) {
            return false;
        }
        ++m_offset;
        return true;
    }

    // Takes a character that can be seen and begins no other conversion. @return it; '\0': none
    char takeVisible() {
        const char c = m_offset < m_text.size() ? m_text[m_offset] : '\0';
        if (c <= ' ' || c >= 0x7f || c == '%') {
            return '\0';
        }
        ++m_offset;
        return c;
    }

    // Takes "2$". @return the position, too large a one for "0$"; 0 where there is none
    size_t takePosition() {
        const size_t start = m_offset;
        size_t value = 0;
        while (takeOneOf(kDigits)) {
            const auto digit = static_cast<size_t>(m_text[m_offset - 1] - '0');
            value = std::min(value * 10 + digit, kMaxPosition + 1);
        }
        if (m_offset > start && takeOneOf("$")) {
            return value == 0 ? kMaxPosition + 1 : value;
        }
        m_offset = start;
        return 0;
    }

    // @return whether there is a blank among them
    bool takeFlags() {
        const size_t start = m_offset;
        while (takeOneOf("-+ #0'I")) {
        }
        return m_text.substr(start, m_offset - start).find(' ') != std::string_view::npos;
    }

    // Takes a width or a precision.
    void takeSize(std::vector<Argument>& arguments) {
        if (takeOneOf("*")) {
            arguments.push_back({takePosition(), "*"});
            return;
        }
        while (takeOneOf(kDigits)) {
        }
    }

    std::string takeLength() {
        const size_t start = m_offset;
        if (takeOneOf("h")) {
            takeOneOf("h");
        } else if (takeOneOf("l")) {
            takeOneOf("l");
        } else {
            takeOneOf("qLjzt");
        }
        return std::string(m_text.substr(start, m_offset - start));
    }

    // What is passed for a conversion, by one name for all that can stand for each other;
    // "" where printf() does not know it.
    static std::string typeOf(const std::string& length, char letter) {
        const std::string wide = length == "q" ? "ll" : length;
        switch (letter) {
            case 'd':
            case 'i':
                return length == "L" ? "" : wide + "d";
            case 'o':
            case 'u':
            case 'x':
            case 'X':
            case 'b':
            case 'B':
                return length == "L" ? "" : wide + "u";
            case 'a':
            case 'A':
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
                return length == "L" ? "Lf" : length.empty() || length == "l" ? "f" : "";
            case 'c':
            case 's':
                return length.empty() || length == "l" ? length + letter : "";
            case 'C':
                return length.empty() ? "lc" : "";
            case 'S':
                return length.empty() ? "ls" : "";
            case 'p':
                return length.empty() ? "p" : "";
            case 'n':
                return length == "L" ? "" : wide + "n";
            default:
                return "";
        }
    }

    void addArguments(const std::vector<Argument>& arguments, const std::string& conversion) {
        m_result.isFormat = true;
        m_result.written += (m_result.written.empty() ? "" : ", ") + conversion;
        for (const Argument& argument : arguments) {
            const std::string fault = add(argument);
            if (!fault.empty()) {
                complain(conversion, fault);
                m_result.arguments.push_back("?" + conversion);
                return;
            }
        }
    }

    // Positions are for all arguments of a text or for none. @return what is wrong; empty: nothing
    std::string add(const Argument& argument) {
        const auto& [position, type] = argument;
        if (position > kMaxPosition) {
            return kUnknown;
        }
        m_hasPositions = m_hasPositions || position > 0;
        m_hasPlain = m_hasPlain || (position == 0 && !type.empty());
        if (m_hasPositions && m_hasPlain) {
            return "mixes positions with order";
        }
        if (type.empty()) {
            return "";
        }
        if (position == 0) {
            m_result.arguments.push_back(type);
            return "";
        }
        m_result.arguments.resize(std::max(m_result.arguments.size(), position));
        std::string& known = m_result.arguments[position - 1];
        if (!known.empty() && known != type) {
            return "takes argument " + std::to_string(position) + " as two types";
        }
        known = type;
        return "";
    }

    void complain(const std::string& conversion, const std::string& fault) {
        if (m_result.invalid.empty()) {
            m_result.invalid = "'" + conversion + "', which " + fault;
        }
    }

    std::string_view m_text;
    size_t m_offset = 0;
    bool m_hasPositions = false;
    bool m_hasPlain = false;
    Conversions m_result;
};

}  // namespace

Conversions conversionsOf(std::string_view text) {
    return Scanner(text).scan();
}

}  // namespace zolcat
