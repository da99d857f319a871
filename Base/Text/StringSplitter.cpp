// StringSplitter: every part of a text at one delimiter, and its first and last part.
#include "Base/Text/StringSplitter.h"

namespace QELTA {

StringViewBuffer StringSplitter::split(StringView const & text, char delimiter) {
    return text.split(delimiter, true);
}

StringView StringSplitter::begin(StringView const & text, char delimiter) noexcept {
    if (text.isEmpty()) {
        return StringView();
    }
    unsigned int const first = text.indexOf(delimiter);
    return first == StringView::not_found ? text : text.substr(0, first);
}

StringView StringSplitter::end(StringView const & text, char delimiter) noexcept {
    if (text.isEmpty()) {
        return StringView();
    }
    unsigned int const last = text.lastIndexOf(delimiter);
    return last == StringView::not_found ? text : text.substr(last + 1);
}

} // namespace QELTA
