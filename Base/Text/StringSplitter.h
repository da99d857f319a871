// StringSplitter: splitting a text at one byte into every part, empty parts included.
//
// Its functions are static and borrow: every part points into the given text, which the caller
// keeps alive. They have no state and no lock, and never fail.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class QELTA_BASE_EXPORT StringSplitter {
  public:
    StringSplitter() = delete;

    static constexpr char default_delimiter = ',';

    // Every delimiter starts a part, so n delimiters give n + 1 parts; an empty text gives one
    // part with a null pointer.
    static StringViewBuffer split(StringView const & text, char delimiter);

    // The first part of split(text, delimiter), found without building the list: the text up
    // to the first delimiter, or all of it.
    static StringView begin(StringView const & text, char delimiter = default_delimiter) noexcept;
    // The last part of split(text, delimiter): the text behind the last delimiter (empty when
    // the text ends in one), or all of it.
    static StringView end(StringView const & text, char delimiter = default_delimiter) noexcept;
};

} // namespace QELTA
