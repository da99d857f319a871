// The texts shown to people for plain values, declared with their StringStream members.
#include "Base/Language/TranslatedString.h"
#include "Base/Language/Translator.h"
#include "Base/Text/StringStream.h"

namespace QELTA {

namespace {

constexpr char true_text[] = "True";
constexpr char false_text[] = "False";

TranslatedString BoolDisplay(bool value) {
    StringView const english(value ? true_text : false_text);
    return TranslatedString(Translator::DefaultID(english), english);
}

} // namespace

void StringStream<bool>::toDisplayString(bool const & value, TranslatedString & out) {
    out = BoolDisplay(value);
}

void StringStream<BitReference>::toDisplayString(bool const & value, TranslatedString & out) {
    out = BoolDisplay(value);
}

} // namespace QELTA
