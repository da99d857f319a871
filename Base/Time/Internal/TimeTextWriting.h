// The writer behind Time::appendTo, with its plain reference form for differential tests.
//
// Static functions on caller-owned values; reentrant; never raise beyond a failed allocation.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <ctime>

namespace QELTA::Internal {

struct QELTA_BASE_EXPORT TimeTextWriting {
    // `format` with its tokens replaced by the values of `fields` (tm layout) and `sub_second`
    // nanoseconds: each token in turn, all occurrences each, as Time::appendTo describes.
    static String WriteReference(StringView const & format, std::tm const & fields, unsigned long long sub_second);
    // The same text. A format without month or weekday names has only values as long as their
    // tokens, so it is written in one pass over the format, in place.
    static String Write(StringView const & format, std::tm const & fields, unsigned long long sub_second);
};

} // namespace QELTA::Internal
