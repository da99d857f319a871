// The texts shown to people for plain values, declared with their StringStream members.
#include "Base/Language/Internal/Translatable.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/StringStream.h"

namespace QELTA {

namespace {

constexpr char true_text[] = "True";
constexpr char false_text[] = "False";

TranslatedString BoolDisplay(bool value) {
    return Internal::Translatable(value ? true_text : false_text);
}

} // namespace

void StringStream<bool>::toDisplayString(bool const & value, TranslatedString & out) {
    out = BoolDisplay(value);
}

void StringStream<BitReference>::toDisplayString(bool const & value, TranslatedString & out) {
    out = BoolDisplay(value);
}

} // namespace QELTA
