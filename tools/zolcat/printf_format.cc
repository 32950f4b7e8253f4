// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "printf_format.h"

#include <stddef.h>

namespace zolcat {

namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr size_t kMaxPosition = 99;

// Reads the conversions of one text, one after the other.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : m_text(text) {}

    Conversions scan() {
        size_t percent = 0;
        while ((percent = m_text.find('%', m_offset)) != std::string_view::npos) {
            m_offset = percent + 1;
            const bool isGood = readConversion();
            const std::string conversion(m_text.substr(percent, m_offset - percent));
            if (!isGood) {
                if (m_result.invalid.empty()) {
                    m_result.invalid = conversion;
                }
            } else if (conversion != "%%") {
                m_result.written += (m_result.written.empty() ? "" : ", ") + conversion;
            }
        }
        return m_result;
    }

  private:
    char next() const { return m_offset < m_text.size() ? m_text[m_offset] : '\0'; }

    bool takeOneOf(std::string_view characters) {
        if (m_offset == m_text.size() || characters.find(next()) == std::string_view::npos) {
            return false;
        }
        ++m_offset;
        return true;
    }

    // Takes "2$". @return the position, too large a one for "0$"; 0 where there is none
    size_t takePosition() {
        const size_t start = m_offset;
        size_t value = 0;
        while (kDigits.find(next()) != std::string_view::npos && value <= kMaxPosition) {
            value = value * 10 + static_cast<size_t>(next() - '0');
            ++m_offset;
        }
        if (m_offset > start && takeOneOf("$")) {
            return value == 0 ? kMaxPosition + 1 : value;
        }
        m_offset = start;
        return 0;
    }

    // Notes the type of an argument. Positions are for all arguments of a text or for none.
    bool addArgument(size_t position, const std::string& type) {
        if (position == 0) {
            m_hasPlain = true;
            m_result.arguments.push_back(type);
            return !m_hasPositions;
        }
        m_hasPositions = true;
        if (m_hasPlain || position > kMaxPosition) {
            return false;
        }
        if (m_result.arguments.size() < position) {
            m_result.arguments.resize(position);
        }
        std::string& known = m_result.arguments[position - 1];
        if (!known.empty() && known != type) {
            return false;
        }
        known = type;
        return true;
    }

    // Takes a width or a precision.
    bool readSize() {
        if (takeOneOf("*")) {
            return addArgument(takePosition(), "*");
        }
        while (takeOneOf(kDigits)) {
        }
        return true;
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

    // Takes what follows a percent sign.
    bool readConversion() {
        if (takeOneOf("%")) {
            return true;
        }
        const size_t position = takePosition();
        while (takeOneOf("-+ #0'I")) {
        }
        if (!readSize() || (takeOneOf(".") && !readSize())) {
            return false;
        }
        const std::string length = takeLength();
        const char letter = next();
        if (m_offset < m_text.size()) {
            ++m_offset;
        }
        if (letter == 'm' && length.empty()) {
            return true;  // the text of errno, without an argument
        }
        const std::string type = typeOf(length, letter);
        return !type.empty() && addArgument(position, type);
    }

    // What is passed for a conversion, by one name for all that can stand for each other.
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
