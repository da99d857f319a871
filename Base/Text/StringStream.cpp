// Text forms of the plain types: numbers, booleans, characters and texts.
#include "Base/Text/StringStream.h"

#include "Base/Text/Internal/NumberReading.h"
#include "Base/Text/Internal/NumberWriting.h"
#include "Base/Text/TypeInfo.h"
#include "Base/Text/UTF8Iterator.h"

#include <cmath>
#include <cstring>
#include <cwchar>
#include <type_traits>

namespace QELTA {
namespace {

constexpr char true_text[] = "T";
constexpr char false_text[] = "F";

// The 64-bit type with the same rules as T (long is 64 bits here and reads like long long).
template <class T>
using ReadAs =
    std::conditional_t<sizeof(T) == 8, std::conditional_t<std::is_signed_v<T>, long long, unsigned long long>, T>;

template <class T>
char const * IntegerRegex() noexcept {
    if constexpr (sizeof(T) == 1) {
        return std::is_signed_v<T> ? TypeInfoRegex::int8_regex : TypeInfoRegex::uint8_regex;
    } else if constexpr (sizeof(T) == 2) {
        return std::is_signed_v<T> ? TypeInfoRegex::int16_regex : TypeInfoRegex::uint16_regex;
    } else if constexpr (sizeof(T) == 4) {
        return std::is_signed_v<T> ? TypeInfoRegex::int32_regex : TypeInfoRegex::uint32_regex;
    } else {
        return std::is_signed_v<T> ? TypeInfoRegex::int64_regex : TypeInfoRegex::uint64_regex;
    }
}

// Copies a view into a new zero-terminated block that the caller owns.
char * NewText(StringView const & text) {
    char * copy = new char[static_cast<std::size_t>(text.size()) + 1];
    if (text.size() != 0) {
        std::memcpy(copy, text.data(), text.size());
    }
    copy[text.size()] = 0;
    return copy;
}

// Decodes UTF-8 into 16-bit units, one per character, by the library's conversion rules.
std::wstring DecodeUTF8(StringView const & text) {
    std::wstring wide;
    for (UTF8Iterator characters(text); !characters.isEmpty();) {
        wide.push_back(characters.nextChar());
    }
    return wide;
}

wchar_t * NewWideText(StringView const & text) {
    std::wstring const wide = DecodeUTF8(text);
    wchar_t * copy = new wchar_t[wide.size() + 1];
    std::wmemcpy(copy, wide.c_str(), wide.size() + 1);
    return copy;
}

void AppendWide(wchar_t const * text, StringAllocatingView & out) {
    if (text == nullptr) {
        return;
    }
    String encoded;
    encoded.addUTF16AsUTF8(text);
    out.append(encoded);
}

} // namespace

// Integers

template <class T>
void IntegerStringStream<T>::fromString(StringView const & text, T & value) noexcept {
    using Read = ReadAs<T>;
    if constexpr (std::is_signed_v<T>) {
        value = static_cast<T>(NumberReading::ReadSigned<Read>(text.data()));
    } else {
        value = static_cast<T>(NumberReading::ReadUnsigned<Read>(text.data()));
    }
}

template <class T>
void IntegerStringStream<T>::toString(T const & value, StringAllocatingView & out) {
    // unsigned char and the 64-bit unsigned types have no special text for their Invalid value.
    constexpr bool prints_invalid = std::is_signed_v<T> || (sizeof(T) != 1 && sizeof(T) != 8);
    if (prints_invalid && value == invalid) {
        out.borrow(NumberWriting::nan_text);
        return;
    }
    char digits[24];
    unsigned int length = 0;
    if constexpr (std::is_signed_v<T>) {
        length = NumberWriting::WriteSigned(static_cast<long long>(value), digits);
    } else {
        length = NumberWriting::WriteUnsigned(static_cast<unsigned long long>(value), digits);
    }
    out.append(StringView(digits, length));
}

template <class T>
char const * IntegerStringStream<T>::getValidRegex() noexcept {
    return IntegerRegex<T>();
}

template class IntegerStringStream<signed char>;
template class IntegerStringStream<unsigned char>;
template class IntegerStringStream<short>;
template class IntegerStringStream<unsigned short>;
template class IntegerStringStream<int>;
template class IntegerStringStream<unsigned int>;
template class IntegerStringStream<long>;
template class IntegerStringStream<unsigned long>;
template class IntegerStringStream<long long>;
template class IntegerStringStream<unsigned long long>;

// Floating point

template <class T>
void FloatingStringStream<T>::fromString(StringView const & text, T & value) noexcept {
    if constexpr (std::is_same_v<T, float>) {
        value = NumberReading::ReadFloat(text.data());
    } else {
        value = NumberReading::ReadDouble(text.data());
    }
}

template <class T>
void FloatingStringStream<T>::toString(T const & value, StringAllocatingView & out) {
    double const wide = static_cast<double>(value);
    if (std::isnan(wide)) {
        out.borrow(NumberWriting::nan_text);
        return;
    }
    char digits[40];
    unsigned int const length = NumberWriting::WriteDouble(wide, digits);
    out.append(StringView(digits, length));
}

template <class T>
char const * FloatingStringStream<T>::getValidRegex() noexcept {
    return TypeInfoRegex::float_regex;
}

template class FloatingStringStream<float>;
template class FloatingStringStream<double>;

// bool, bits and flags

void StringStream<bool>::fromString(StringView const & text, bool & value) noexcept {
    char const first = text.size() != 0 ? text.data()[0] : 0;
    value = first == 'T' || first == 't' || first == '1';
}

void StringStream<bool>::toString(bool const & value, StringAllocatingView & out) {
    out.borrow(value ? true_text : false_text);
}

char const * StringStream<bool>::getValidRegex() noexcept {
    return TypeInfoRegex::bool_regex;
}

void StringStream<BitReference>::fromString(StringView const & text, BitReference & value) noexcept {
    bool bit = false;
    StringStream<bool>::fromString(text, bit);
    value = bit;
}

void StringStream<BitReference>::toString(BitReference const & value, StringAllocatingView & out) {
    StringStream<bool>::toString(static_cast<bool>(value), out);
}

char const * StringStream<BitReference>::getValidRegex() noexcept {
    return TypeInfoRegex::bool_regex;
}

void StringStream<BitFlag>::fromString(StringView const & text, BitFlag & value) noexcept {
    StringStream<unsigned char>::fromString(text, value.value);
}

void StringStream<BitFlag>::toString(BitFlag const & value, StringAllocatingView & out) {
    StringStream<unsigned char>::toString(value.value, out);
}

char const * StringStream<BitFlag>::getValidRegex() noexcept {
    return TypeInfoRegex::uint8_regex;
}

// Characters

void StringStream<char>::fromString(StringView const & text, char & value) noexcept {
    value = text.size() != 0 ? text.data()[0] : 0;
}

void StringStream<char>::toString(char const & value, StringAllocatingView & out) {
    out.append(value);
}

char const * StringStream<char>::getValidRegex() noexcept {
    return TypeInfoRegex::char_regex;
}

void StringStream<wchar_t>::fromString(StringView const & text, wchar_t & value) noexcept {
    if (text.size() != 0) {
        value = UTF8Iterator(text).nextChar();
    }
}

void StringStream<wchar_t>::toString(wchar_t const & value, StringAllocatingView & out) {
    unsigned int const code = static_cast<unsigned int>(value);
    if (code < 0x80) {
        out.append(static_cast<char>(code));
    } else if (code < 0x800) {
        out.append(static_cast<char>(0xC0 | code >> 6));
        out.append(static_cast<char>(0x80 | (code & 63)));
    } else {
        // The first and last bytes go through the int form, as digits; stored key names use this.
        StringStream<int>::toString(static_cast<int>(0xE0 | (code >> 12 & 15)), out);
        out.append(static_cast<char>(0x80 | (code >> 6 & 63)));
        StringStream<int>::toString(static_cast<int>(0x80 | (code & 63)), out);
    }
}

char const * StringStream<wchar_t>::getValidRegex() noexcept {
    return TypeInfoRegex::char_regex;
}

// Texts

void StringStream<String>::fromString(StringView const & text, String & value) {
    value = String(text);
}

void StringStream<String>::toString(String const & value, StringAllocatingView & out) {
    out.borrow(value);
}

char const * StringStream<String>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<StringView>::fromString(StringView const & text, StringView & value) noexcept {
    value = text;
}

void StringStream<StringView>::toString(StringView const & value, StringAllocatingView & out) {
    out.borrow(value);
}

char const * StringStream<StringView>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<StringAllocatingView>::fromString(StringView const & text, StringAllocatingView & value) {
    value.clear();
    value.borrow(text);
}

void StringStream<StringAllocatingView>::toString(StringAllocatingView const & value, StringAllocatingView & out) {
    if (&value == &out) {
        return;
    }
    out.borrow(value.view());
}

char const * StringStream<StringAllocatingView>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<std::string>::fromString(StringView const & text, std::string & value) {
    value.assign(text.data() == nullptr ? "" : text.data(), text.size());
}

void StringStream<std::string>::toString(std::string const & value, StringAllocatingView & out) {
    out.borrow(StringView(value.data(), static_cast<unsigned int>(value.size())));
}

char const * StringStream<std::string>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<std::wstring>::fromString(StringView const & text, std::wstring & value) {
    value = DecodeUTF8(text);
}

void StringStream<std::wstring>::toString(std::wstring const & value, StringAllocatingView & out) {
    AppendWide(value.c_str(), out);
}

char const * StringStream<std::wstring>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<char const *>::fromString(StringView const & text, char const *& value) {
    value = NewText(text);
}

void StringStream<char const *>::toString(char const * const & value, StringAllocatingView & out) {
    if (value != nullptr) {
        out.borrow(StringView(value));
    }
}

char const * StringStream<char const *>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<char *>::fromString(StringView const & text, char *& value) {
    value = NewText(text);
}

void StringStream<char *>::toString(char * const & value, StringAllocatingView & out) {
    StringStream<char const *>::toString(value, out);
}

char const * StringStream<char *>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<wchar_t const *>::fromString(StringView const & text, wchar_t const *& value) {
    value = NewWideText(text);
}

void StringStream<wchar_t const *>::toString(wchar_t const * const & value, StringAllocatingView & out) {
    AppendWide(value, out);
}

char const * StringStream<wchar_t const *>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<wchar_t *>::fromString(StringView const & text, wchar_t *& value) {
    value = NewWideText(text);
}

void StringStream<wchar_t *>::toString(wchar_t * const & value, StringAllocatingView & out) {
    AppendWide(value, out);
}

char const * StringStream<wchar_t *>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

} // namespace QELTA
