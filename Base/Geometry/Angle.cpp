// The text forms of the angles.
#include "Base/Geometry/Angle.h"

#include "Base/Text/TypeInfo.h"

namespace QELTA {

void StringStream<Angle<int>>::fromString(StringView const & text, Angle<int> & value) noexcept {
    float read = 0.0f;
    StringStream<float>::fromString(text, read);
    // The negated test also sends NaN to the invalid angle.
    if (!(read >= -2147483648.0f && read < 2147483648.0f)) {
        value = Angle<int>::Invalid();
        return;
    }
    value = Angle<int>(static_cast<int>(read));
}

void StringStream<Angle<int>>::toString(Angle<int> const & value, StringAllocatingView & out) {
    StringStream<double>::toString(value.index(), out);
}

char const * StringStream<Angle<int>>::getValidRegex() noexcept {
    return TypeInfoRegex::float_regex;
}

void StringStream<Angle<double>>::fromString(StringView const & text, Angle<double> & value) noexcept {
    StringStream<double>::fromString(text, value.value);
}

void StringStream<Angle<double>>::toString(Angle<double> const & value, StringAllocatingView & out) {
    StringStream<double>::toString(value.value, out);
}

char const * StringStream<Angle<double>>::getValidRegex() noexcept {
    return StringStream<double>::getValidRegex();
}

} // namespace QELTA
