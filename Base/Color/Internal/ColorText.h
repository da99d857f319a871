// The comma-separated text forms of the colour models: fields read one by one, written in order.
//
// Plain inline functions, reentrant. Nothing raises: a field that cannot be read gives what its
// type's reader gives for bad text.
#pragma once

#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cstring>
#include <type_traits>

namespace QELTA::ColorText {

inline constexpr char separator = ',';

// Reads `field` with StringStream<T>. The number readers stop only at a byte that cannot continue
// a number, so the field is copied first and ends in a zero byte: no reader sees past it.
template <class T>
void ReadField(StringView const & field, T & value) noexcept {
    char buffer[64];
    if (field.size() < sizeof(buffer)) {
        if (field.size() != 0) {
            std::memcpy(buffer, field.data(), field.size());
        }
        buffer[field.size()] = 0;
        StringStream<T>::fromString(StringView(buffer, field.size()), value);
    } else {
        String const copy(field);
        StringStream<T>::fromString(copy.view(), value);
    }
}

// Calls read(index, field) for each of the first `count` fields of `text` split at ','; an empty
// text has no field, and fields behind the `count`th are ignored. Returns the fields read.
template <class Read>
unsigned int ReadFields(StringView const & text, unsigned int count, Read const & read) {
    if (text.isEmpty()) {
        return 0;
    }
    unsigned int index = 0;
    unsigned int start = 0;
    while (index < count) {
        unsigned int end = start;
        while (end < text.size() && text[end] != separator) {
            ++end;
        }
        read(index, text.substr(start, end));
        ++index;
        if (end >= text.size()) {
            break;
        }
        start = end + 1;
    }
    return index;
}

// Appends the values with StringStream<T> of each, joined by ','.
template <class... T>
void WriteFields(StringAllocatingView & out, T const &... values) {
    bool first = true;
    auto const write = [&](auto const & value) {
        if (!first) {
            out.append(separator);
        }
        first = false;
        StringStream<std::remove_cvref_t<decltype(value)>>::toString(value, out);
    };
    (write(values), ...);
}

} // namespace QELTA::ColorText
