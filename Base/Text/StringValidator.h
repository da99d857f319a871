// StringValidator and RegexFunctions: whole and partly typed texts checked against the library's
// regular expressions, and the fixed expressions for names.
//
// Both are all-static and hold no state; every function is thread-safe. A bad expression raises
// the standard library's std::regex_error, which is not caught here; nothing else raises.
//
// Expressions run on the standard library's ECMAScript regex in wide characters (one character a
// UTF-8 sequence, decoded without validation). They are compiled for the library's polynomial
// executor, which walks the text once per state instead of recursing once per character, so that
// no text, however long, can exhaust the stack: the standard executor would overflow it on a text
// of some tens of kilobytes, and backtracks exponentially on the folder expression. The cost is a
// time proportional to the length of the text times the size of the expression, and texts longer
// than max_text_size characters are refused without a match (see isValid and checkRegex).
// Back-references are not available in that mode: an expression holding one raises regex_error.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/TypeInfo.h"

namespace QELTA {

class QELTA_BASE_EXPORT StringValidator {
  public:
    // The longest text, in bytes, that any check matches; longer texts are not valid. It bounds
    // the time a check of hostile text takes, and is far beyond any name, path or typed value.
    static constexpr unsigned int max_text_size = 1u << 16;

    StringValidator() = delete;

    // TypeInfoRegex::ValidRegex.
    static char const * regex(TypeInfo const & info) noexcept;
    // Whether `text` matches regex(info) in full; false for a text over max_text_size.
    static bool isValid(StringView const & text, TypeInfo const & info);
    // Whether `text` matches `regex` in full.
    static bool isValid(StringView const & text, StringView const & regex);
    // The check of an edit box. A text longer than `max_size` bytes is true at once, with no
    // expression applied: its size is the caller's to check. Otherwise, when `end` is at least
    // the size, the part from `start` to the end must match in full; else the `end` bytes from
    // `start` (`end` is a length here, not an index). A start past the end checks the empty
    // text. A text within `max_size` but over max_text_size is false.
    static bool checkRegex(StringView const & text, StringView const & regex, unsigned int start, unsigned int end,
                           unsigned int max_size);
};

class QELTA_BASE_EXPORT RegexFunctions {
  public:
    RegexFunctions() = delete;

    // A file name without folder: none of the reserved device names (upper case only, with or
    // without an extension), no control character and none of \ ? * : " ; | /.
    static char const * FileNameRegex() noexcept;
    // A folder path, absolute from a drive or a separator.
    static char const * FolderRegex() noexcept;
    // A file path, absolute from a drive or a separator.
    static char const * FileRegex() noexcept;
    // Letters, digits, '.' and '_', not two of '.' and '_' in a row, and neither at either end.
    static char const * UsernameRegex() noexcept;
    static char const * EmailRegex() noexcept;

    // "(a)|(b)|...": matches any one of the values; an empty list gives an empty text. The values
    // are taken as expressions, not escaped.
    static String OptionalValues(Buffer<StringView> const & values);
    // A look-ahead "(?=[^]*?" value "[^]*)" for each value, then "[^]*": matches a text that holds
    // all the values, in any order.
    static String UnorderedValues(Buffer<StringView> const & values);
};

} // namespace QELTA
