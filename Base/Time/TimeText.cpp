// The text forms of Time: writing and reading through the format language.
#include "Base/Failure/Exception.h"
#include "Base/Time/Internal/FormatTokens.h"
#include "Base/Time/Internal/TimeFields.h"
#include "Base/Time/Internal/TimeTextWriting.h"
#include "Base/Time/Time.h"

#include <array>
#include <utility>

namespace QELTA {
namespace {

using Internal::AppendDigits;
using Internal::FormatToken;

constexpr char not_a_time_text[] = "NaN";
constexpr char iso_format[] = "ISO";
constexpr char const * iso_forms[] = {"YYYY-MM-DDTHH:mm:ss", "YYYY-MM-DDTHH:mm", "YYYY-MM-DD"};

constexpr char const * weekday_names[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
constexpr char const * weekday_short_names[] = {"SUN", "MON", "TUE", "WED", "THU", "FRI", "SAT"};
constexpr char weekday_error_name[] = "Error";
constexpr char weekday_short_error_name[] = "ERROR";
constexpr char const * month_names[] = {"January", "February", "March",     "April",   "May",      "June",
                                        "July",    "August",   "September", "October", "November", "December"};
constexpr char const * month_short_names[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr char const * month_numbers[] = {"01", "02", "03", "04", "05", "06", "07", "08", "09", "10", "11", "12"};

// The tokens of a Time text, in the order they are replaced.
enum TimeToken : unsigned int {
    FRACTION_7,
    FRACTION_6,
    FRACTION_5,
    FRACTION_4,
    FRACTION_3,
    FRACTION_2,
    FRACTION_1,
    SECOND,
    MINUTE,
    HOUR_12,
    HOUR_24,
    WEEKDAY_NAME,
    WEEKDAY_SHORT_NAME,
    MONTH_DAY,
    MONTH_NAME,
    MONTH_SHORT_NAME,
    MONTH,
    YEAR,
    YEAR_2,
    TIME_TOKEN_COUNT
};

constexpr FormatToken time_tokens[TIME_TOKEN_COUNT] = {
    {'f', 7}, {'f', 6}, {'f', 5}, {'f', 4}, {'f', 3}, {'f', 2}, {'f', 1}, {'s', 2}, {'m', 2}, {'h', 2},
    {'H', 2}, {'d', 4}, {'d', 3}, {'D', 2}, {'M', 4}, {'M', 3}, {'M', 2}, {'Y', 4}, {'Y', 2}};

constexpr unsigned long long powers_of_ten[8] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000};

void AppendName(Internal::TokenValue & out, char const * const * names, int count, int index, char const * error_name) {
    out.append(StringView(index >= 0 && index < count ? names[index] : error_name));
}

// The fields a text reads into, in the units a person writes: the full year, the month from 1.
struct ReadFields {
    static constexpr long long largest = 999999999; // digits beyond this are read but change nothing

    long long year = 0;
    long long month = 0;
    long long day = 0;
    long long hour = 0;
    long long minute = 0;
    long long second = 0;

    static void AddDigit(long long & field, int digit) noexcept {
        field = field * 10 + digit;
        if (field > largest) {
            field = largest;
        }
    }
};

// For each byte, the index of its first (longest) token in time_tokens, or TIME_TOKEN_COUNT.
constexpr auto first_token_of = [] {
    std::array<unsigned char, 256> first{};
    first.fill(TIME_TOKEN_COUNT);
    for (unsigned int token = TIME_TOKEN_COUNT; token-- > 0;) {
        first[static_cast<unsigned char>(time_tokens[token].letter)] = static_cast<unsigned char>(token);
    }
    return first;
}();

// The number a digit token shows; false for the name tokens.
bool TokenNumber(unsigned int token, std::tm const & fields, unsigned long long sub_second,
                 unsigned long long & number) noexcept {
    switch (token) {
    case SECOND:
        number = static_cast<unsigned long long>(fields.tm_sec);
        return true;
    case MINUTE:
        number = static_cast<unsigned long long>(fields.tm_min);
        return true;
    case HOUR_12:
        number = fields.tm_hour % 12 == 0 ? 12ull : static_cast<unsigned long long>(fields.tm_hour % 12);
        return true;
    case HOUR_24:
        number = static_cast<unsigned long long>(fields.tm_hour);
        return true;
    case MONTH_DAY:
        number = static_cast<unsigned long long>(fields.tm_mday);
        return true;
    case MONTH:
        number = static_cast<unsigned long long>(fields.tm_mon + 1);
        return true;
    case YEAR:
        number = static_cast<unsigned long long>(fields.tm_year + 1900);
        return true;
    case YEAR_2:
        number = static_cast<unsigned long long>((fields.tm_year + 1900) % 100);
        return true;
    case WEEKDAY_NAME:
    case WEEKDAY_SHORT_NAME:
    case MONTH_NAME:
    case MONTH_SHORT_NAME:
        return false;
    default:
        number = Internal::FractionValue(token, sub_second);
        return true;
    }
}

// Appends the value of token `token` for `fields` and `sub_second` nanoseconds: a number as wide
// as its token (the year in full), or a name.
void AppendTokenValue(unsigned int token, std::tm const & fields, unsigned long long sub_second,
                      Internal::TokenValue & value) {
    unsigned long long number = 0;
    if (TokenNumber(token, fields, sub_second, number)) {
        AppendDigits(value, number, token == YEAR ? 1 : time_tokens[token].length);
        return;
    }
    switch (token) {
    case WEEKDAY_NAME:
        AppendName(value, weekday_names, 7, fields.tm_wday, weekday_error_name);
        break;
    case WEEKDAY_SHORT_NAME:
        AppendName(value, weekday_short_names, 7, fields.tm_wday, weekday_short_error_name);
        break;
    case MONTH_NAME:
        AppendName(value, month_names, 12, fields.tm_mon, weekday_error_name);
        break;
    default:
        AppendName(value, month_short_names, 12, fields.tm_mon, weekday_short_error_name);
        break;
    }
}

bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

} // namespace

namespace Internal {

String TimeTextWriting::WriteReference(StringView const & format, std::tm const & fields,
                                       unsigned long long sub_second) {
    String text(format);
    ReplaceTokens(text, time_tokens, TIME_TOKEN_COUNT,
                  [&](unsigned int token, TokenValue & value) { AppendTokenValue(token, fields, sub_second, value); });
    return text;
}

String TimeTextWriting::Write(StringView const & format, std::tm const & fields, unsigned long long sub_second) {
    // Digit values cannot form new tokens, so replacing token by token equals cutting each run
    // of a letter from the left into its tokens, longest first. A name token (whose value may
    // form new tokens with its neighbours) sends the format to the token-by-token writer.
    String text(format);
    char * const data = text.data();
    unsigned int const size = text.size();
    for (unsigned int index = 0; index < size;) {
        char const letter = data[index];
        unsigned int token = first_token_of[static_cast<unsigned char>(letter)];
        if (token == TIME_TOKEN_COUNT) {
            ++index;
            continue;
        }
        unsigned int run_end = index + 1;
        while (run_end < size && data[run_end] == letter) {
            ++run_end;
        }
        for (; token < TIME_TOKEN_COUNT && time_tokens[token].letter == letter; ++token) {
            unsigned int const length = time_tokens[token].length;
            if (run_end - index < length) {
                continue;
            }
            unsigned long long number = 0;
            if (!TokenNumber(token, fields, sub_second, number) || number >= powers_of_ten[length]) {
                return WriteReference(format, fields, sub_second);
            }
            for (; run_end - index >= length; index += length) {
                unsigned long long rest = number;
                for (unsigned int digit = length; digit-- > 0; rest /= 10) {
                    data[index + digit] = static_cast<char>('0' + rest % 10);
                }
            }
        }
        index = run_end;
    }
    return text;
}

} // namespace Internal

void Time::appendTo(StringAllocatingView & out, bool local, StringView const & format) const {
    if (!isValid()) {
        out.append(StringView(not_a_time_text));
        return;
    }
    std::tm fields{};
    breakDown(local, fields);
    String text = Internal::TimeTextWriting::Write(format, fields, count_ % nanoseconds_per_second);
    if (out.isEmpty()) {
        out = StringAllocatingView(std::move(text));
    } else {
        out.append(text.view());
    }
}

StringAllocatingView Time::getAsString(bool local, StringView const & format) const {
    StringAllocatingView out;
    appendTo(out, local, format);
    return out;
}

void Time::setTimeFromString(StringView const & text, bool local, StringView const & format) {
    bool const read_names = format.indexOf(StringView("MMM")) != StringView::not_found ||
                            format.indexOf(StringView("ddd")) != StringView::not_found;
    if (format == StringView(iso_format)) {
        // Each form reads on top of what the one before left; a form that fails changes nothing.
        for (char const * form : iso_forms) {
            try {
                setTimeFromString(text, local, StringView(form));
            } catch (Exception const &) {
            }
        }
    }

    ReadFields read;
    std::tm fields{};
    if (isValid() && breakDown(local, fields)) {
        read.year = fields.tm_year + 1900ll;
        read.month = fields.tm_mon + 1ll;
        read.day = fields.tm_mday;
        read.hour = fields.tm_hour;
        read.minute = fields.tm_min;
        read.second = fields.tm_sec;
    }
    unsigned long long sub_second = 0;
    unsigned long long weight = 100000000;

    String named_text;
    String named_format;
    StringView source = text;
    StringView pattern = format;
    if (read_names) {
        named_text = String(text);
        for (int month = 0; month < 12; ++month) {
            named_text.replace(StringView(month_names[month]), StringView(month_numbers[month]), true);
        }
        for (int month = 0; month < 12; ++month) {
            if (month != 4) { // "May" is its own short name and was replaced above
                named_text.replace(StringView(month_short_names[month]), StringView(month_numbers[month]), true);
            }
        }
        named_format = String(format);
        named_format.replace(StringView("MMMM"), StringView("MM"));
        named_format.replace(StringView("MMM"), StringView("MM"));
        source = named_text.view();
        pattern = named_format.view();
    }

    // Literal bytes of the format skip text bytes unseen; only position lines fields up.
    unsigned int text_index = 0;
    for (unsigned int format_index = 0; format_index < pattern.size() && text_index <= source.size(); ++format_index) {
        char const token = pattern[format_index];
        long long * field = nullptr;
        switch (token) {
        case 'D':
            field = &read.day;
            break;
        case 'H':
        case 'h':
            field = &read.hour;
            break;
        case 'M':
            field = &read.month;
            break;
        case 'Y':
            field = &read.year;
            break;
        case 'm':
            field = &read.minute;
            break;
        case 's':
            field = &read.second;
            break;
        case 'f':
            break;
        default:
            ++text_index;
            continue;
        }
        if (text_index == source.size() || !IsDigit(source[text_index])) {
            continue;
        }
        int const digit = source[text_index] - '0';
        ++text_index;
        if (field != nullptr) {
            ReadFields::AddDigit(*field, digit);
        } else {
            sub_second += static_cast<unsigned long long>(digit) * weight;
            weight /= 10;
        }
    }

    if (read.year < 100) {
        long long const this_century = read.year + 2000;
        read.year = this_century > SystemTime().year(local) + 50ll ? read.year + 1900 : this_century;
    }
    fields.tm_year = static_cast<int>(read.year - 1900);
    fields.tm_mon = static_cast<int>(read.month - 1);
    fields.tm_mday = static_cast<int>(read.day);
    fields.tm_hour = static_cast<int>(read.hour);
    fields.tm_min = static_cast<int>(read.minute);
    fields.tm_sec = static_cast<int>(read.second);
    fields.tm_isdst = -1;
    count_ = Internal::TimeCountOf(fields, local, sub_second);
}

void StringStream<Time>::fromString(StringView const & text, Time & value) {
    value = Time();
    value.setTimeFromString(text, false, StringView(Time::storage_format));
}

void StringStream<Time>::toString(Time const & value, StringAllocatingView & out) {
    if (!value.isValid() && out.isEmpty()) {
        out.borrow(StringView(not_a_time_text));
        return;
    }
    value.appendTo(out, false, StringView(Time::storage_format));
}

char const * StringStream<Time>::getValidRegex() noexcept {
    return "[+]?[0-9][0-9]*";
}

} // namespace QELTA
