// Validation of texts by the standard library's regular expressions.
#include "Base/Text/StringValidator.h"

#include "Base/Text/StringStream.h"

#include <regex>
#include <string>

namespace QELTA {
namespace {

// The library's fixed expressions; stored settings and edit boxes depend on them as they are.
constexpr char file_name_regex[] =
    "^(?!^(PRN|AUX|CLOCK\\$|NUL|CON|COM\\d|LPT\\d|\\..*)(\\..+)?$)[^\\x00-\\x1f\\\\?*:\\\";|/]+$";
constexpr char folder_regex[] =
    "^(?:[a-zA-Z]\\:|(\\\\|\\/))?(\\\\|\\/)+((\\\\|\\/)?(?!(PRN|AUX|CLOCK\\$|NUL|CON|COM\\d|"
    "LPT\\d|\\.$)(\\..)?$)[^\\x00-\\x1f\\?*:\\\";|])*$";
constexpr char file_regex[] = "^(?:[a-zA-Z]\\:|(\\\\|\\/))?(\\\\|\\/)+((\\\\|\\/)?(?!(PRN|AUX|CLOCK\\$|NUL|CON|COM\\d|"
                              "LPT\\d|\\.$)(\\..)?$)[^\\x00-\\x1f\\?*:\\\";|\\//])*$";
constexpr char username_regex[] = "^(?=^[a-zA-Z0-9._]+$)(?!.*[_.]{2})[^_.].*[^_.]$";
constexpr char email_regex[] = "^[a-zA-Z0-9._%+-]+@[a-zA-Z0-9.-]+\\.[a-zA-Z]{2,}$";

std::wstring Wide(StringView const & text) {
    std::wstring wide;
    StringStream<std::wstring>::fromString(text, wide);
    return wide;
}

// The polynomial executor: no recursion per character of the text (see the header).
bool FullMatch(std::wstring const & text, StringView const & regex) {
    std::wregex const expression(Wide(regex), std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
    return std::regex_match(text, expression);
}

} // namespace

char const * StringValidator::regex(TypeInfo const & info) noexcept {
    return TypeInfoRegex::ValidRegex(info);
}

bool StringValidator::isValid(StringView const & text, TypeInfo const & info) {
    return isValid(text, StringView(regex(info)));
}

bool StringValidator::isValid(StringView const & text, StringView const & regex) {
    if (text.size() > max_text_size) {
        return false;
    }
    return FullMatch(Wide(text), regex);
}

bool StringValidator::checkRegex(StringView const & text, StringView const & regex, unsigned int start,
                                 unsigned int end, unsigned int max_size) {
    if (text.size() > max_size) {
        return true;
    }
    if (text.size() > max_text_size) {
        return false;
    }
    StringView part = text.substr(start);
    if (end < text.size() && end < part.size()) {
        part = StringView(part.data(), end);
    }
    return FullMatch(Wide(part), regex);
}

char const * RegexFunctions::FileNameRegex() noexcept {
    return file_name_regex;
}

char const * RegexFunctions::FolderRegex() noexcept {
    return folder_regex;
}

char const * RegexFunctions::FileRegex() noexcept {
    return file_regex;
}

char const * RegexFunctions::UsernameRegex() noexcept {
    return username_regex;
}

char const * RegexFunctions::EmailRegex() noexcept {
    return email_regex;
}

String RegexFunctions::OptionalValues(Buffer<StringView> const & values) {
    String out;
    for (unsigned int i = 0; i < values.size(); ++i) {
        if (i != 0) {
            out.append('|');
        }
        out.append('(').append(values[i]).append(')');
    }
    return out;
}

String RegexFunctions::UnorderedValues(Buffer<StringView> const & values) {
    String out;
    for (StringView const & value : values) {
        out.append("(?=[^]*?").append(value).append("[^]*)");
    }
    out.append("[^]*");
    return out;
}

} // namespace QELTA
