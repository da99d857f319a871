// TypeInfo: a run-time description of a field's type, and the input expression that fits it.
//
// TypeInfo is a plain value. TypeInfoRegex only hands out constant texts; both are thread-safe
// and report no failure: a description that fits no row gets the expression that admits anything.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringView.h"

#include <cstdint>
#include <type_traits>

namespace QELTA {

// Describes a value of `vector_size` components of `byte_size` bytes each, `total_size` bytes
// in all. The two extra flags are read by no text conversion; their meaning belongs to the
// formats that set them.
struct TypeInfo {
    std::uint32_t total_size = 0;
    std::uint16_t byte_size = 0;
    std::uint16_t vector_size = 0;
    bool is_number = false;
    bool is_unsigned = false;
    bool is_float = false;
    bool extra_flag_1 = false;
    bool extra_flag_2 = false;
    bool is_string = false;
    bool is_bool = false;

    constexpr bool operator==(TypeInfo const &) const noexcept = default;

    // The description of a plain arithmetic type (bool, characters, integers, floating point).
    template <class T>
    static constexpr TypeInfo Of() noexcept {
        static_assert(std::is_arithmetic_v<T>, "TypeInfo::Of describes plain arithmetic types");
        TypeInfo info;
        info.total_size = sizeof(T);
        info.byte_size = sizeof(T);
        info.vector_size = 1;
        info.is_bool = std::is_same_v<T, bool>;
        info.is_number = !info.is_bool;
        info.is_unsigned = std::is_unsigned_v<T> && !info.is_bool;
        info.is_float = std::is_floating_point_v<T>;
        return info;
    }
};

// The input expressions, for the standard library's regex: a valid input matches in full.
// They are a stable part of the settings editors and must not change.
struct QELTA_BASE_EXPORT TypeInfoRegex {
    // The expression for the type that `info` describes.
    static char const * ValidRegex(TypeInfo const & info) noexcept;

    static char const bool_regex[];
    static char const char_regex[];
    static char const int8_regex[];
    static char const uint8_regex[];
    static char const int16_regex[];
    static char const uint16_regex[];
    static char const int32_regex[];
    static char const uint32_regex[];
    static char const int64_regex[];
    static char const uint64_regex[];
    static char const float_regex[];
    static char const time_span_regex[];
    static char const uuid_regex[];
    static char const any_regex[];
};

template <class T>
class StringStream;

// The text form of a TypeInfo, as settings and option descriptions store it: the three sizes in
// decimal, then the seven flags as "T" or "F", in the order of the fields, joined by ','
// ("4,4,1,T,F,F,F,F,F,F" for int). A missing or bad size reads as 0 and a missing flag as false.
template <>
class QELTA_BASE_EXPORT StringStream<TypeInfo> {
  public:
    static void fromString(StringView const & text, TypeInfo & value);
    static void toString(TypeInfo const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
