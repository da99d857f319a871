// The fixed texts of the library as translatable texts: one id rule for every constant.
//
// Plain functions on values; thread-safe as Translator's id functions are. Never raise.
#pragma once

#include "Base/Language/TranslatedString.h"
#include "Base/Language/Translator.h"
#include "Base/Text/StringView.h"

namespace QELTA::Internal {

// A fixed English text that translates by the id of its own readable label.
inline TranslatedString Translatable(StringView const & english) {
    return TranslatedString(Translator::DefaultID(english), english);
}

// A fixed English text under a stable label, the message id of a failure ("tm_invalid_month_struct").
inline TranslatedString Translatable(StringView const & label, StringView const & english) {
    return TranslatedString(Translator::DefaultFastID(label), english);
}

} // namespace QELTA::Internal
