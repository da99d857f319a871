// Readers of the system's small text files.
#include "Base/Host/Internal/SystemText.h"

namespace QELTA::Internal {
namespace {

constexpr std::uint64_t prefetchable_flag = 0x2000;
constexpr std::uint64_t largest = ~std::uint64_t(0);

bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\r';
}

StringView Trimmed(StringView text) noexcept {
    unsigned int start = 0;
    unsigned int end = text.size();
    while (start < end && IsBlank(text[start])) {
        ++start;
    }
    while (end > start && IsBlank(text[end - 1])) {
        --end;
    }
    return text.substr(start, end);
}

// Calls `visit(line)` for each line until it returns true.
template <class Visit>
void EachLine(StringView const & text, Visit && visit) {
    unsigned int start = 0;
    while (start < text.size()) {
        unsigned int end = text.indexOf('\n', start);
        if (end == StringView::not_found) {
            end = text.size();
        }
        if (visit(text.substr(start, end))) {
            return;
        }
        start = end + 1;
    }
}

bool HexDigit(char c, unsigned int & value) noexcept {
    if (c >= '0' && c <= '9') {
        value = static_cast<unsigned int>(c - '0');
    } else if (c >= 'a' && c <= 'f') {
        value = static_cast<unsigned int>(c - 'a' + 10);
    } else if (c >= 'A' && c <= 'F') {
        value = static_cast<unsigned int>(c - 'A' + 10);
    } else {
        return false;
    }
    return true;
}

// The value of a "KEY=value" line after its '=', unquoted.
String Unquoted(StringView value) {
    value = Trimmed(value);
    String out;
    if (value.size() >= 1 && (value[0] == '"' || value[0] == '\'')) {
        char const quote = value[0];
        for (unsigned int i = 1; i < value.size() && value[i] != quote; ++i) {
            if (quote == '"' && value[i] == '\\' && i + 1 < value.size()) {
                ++i;
            }
            out.append(value[i]);
        }
        return out;
    }
    return String(value);
}

} // namespace

String AssignmentValue(StringView const & text, StringView const & key) {
    String out;
    EachLine(text, [&](StringView line) {
        line = Trimmed(line);
        if (line.isEmpty() || line[0] == '#') {
            return false;
        }
        unsigned int const equals = line.indexOf('=');
        if (equals == StringView::not_found || Trimmed(line.substr(0, equals)) != key) {
            return false;
        }
        out = Unquoted(line.substr(equals + 1));
        return true;
    });
    return out;
}

String FieldValue(StringView const & text, StringView const & key, char separator) {
    String out;
    EachLine(text, [&](StringView line) {
        unsigned int const at = line.indexOf(separator);
        if (at == StringView::not_found || Trimmed(line.substr(0, at)) != key) {
            return false;
        }
        out = String(Trimmed(line.substr(at + 1)));
        return true;
    });
    return out;
}

unsigned int CountFields(StringView const & text, StringView const & key, char separator) {
    unsigned int count = 0;
    EachLine(text, [&](StringView line) {
        unsigned int const at = line.indexOf(separator);
        if (at != StringView::not_found && Trimmed(line.substr(0, at)) == key) {
            ++count;
        }
        return false;
    });
    return count;
}

std::uint64_t LeadingNumber(StringView const & text) {
    StringView const trimmed = Trimmed(text);
    std::uint64_t value = 0;
    for (unsigned int i = 0; i < trimmed.size() && trimmed[i] >= '0' && trimmed[i] <= '9'; ++i) {
        std::uint64_t const digit = static_cast<std::uint64_t>(trimmed[i] - '0');
        if (value > (largest - digit) / 10) {
            return largest;
        }
        value = value * 10 + digit;
    }
    return value;
}

void VersionNumbers(StringView const & text, unsigned int (&parts)[3]) {
    parts[0] = parts[1] = parts[2] = 0;
    StringView rest = Trimmed(text);
    for (unsigned int & part : parts) {
        std::uint64_t const value = LeadingNumber(rest);
        part = value > 0xFFFFFFFFull ? 0xFFFFFFFFu : static_cast<unsigned int>(value);
        unsigned int i = 0;
        while (i < rest.size() && rest[i] >= '0' && rest[i] <= '9') {
            ++i;
        }
        if (i == 0 || i >= rest.size() || rest[i] != '.') {
            return;
        }
        rest = rest.substr(i + 1);
    }
}

std::uint64_t HexNumber(StringView const & text) {
    StringView digits = Trimmed(text);
    if (digits.size() >= 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        digits = digits.substr(2);
    }
    std::uint64_t value = 0;
    unsigned int digit = 0;
    for (unsigned int i = 0; i < digits.size() && HexDigit(digits[i], digit); ++i) {
        if (value > (largest >> 4)) {
            return largest;
        }
        value = (value << 4) | digit;
    }
    return value;
}

std::uint64_t LargestPrefetchableRegion(StringView const & text) {
    std::uint64_t found = 0;
    EachLine(text, [&](StringView line) {
        StringView fields[3];
        unsigned int count = 0;
        line = Trimmed(line);
        while (count < 3 && !line.isEmpty()) {
            unsigned int end = line.indexOf(' ');
            if (end == StringView::not_found) {
                end = line.size();
            }
            fields[count++] = line.substr(0, end);
            line = Trimmed(line.substr(end));
        }
        if (count == 3 && (HexNumber(fields[2]) & prefetchable_flag) != 0) {
            std::uint64_t const start = HexNumber(fields[0]);
            std::uint64_t const end = HexNumber(fields[1]);
            if (end > start && end - start != largest && end - start + 1 > found) {
                found = end - start + 1;
            }
        }
        return false;
    });
    return found;
}

} // namespace QELTA::Internal
