// Input expressions by type, and the choice of one from a run-time type description.
#include "Base/Text/TypeInfo.h"

#include "Base/Text/StringStream.h"

namespace QELTA {

// The largest unsigned short and unsigned int are left out on purpose: they are the Invalid values.
char const TypeInfoRegex::bool_regex[] = "[TFtfYNyn10]+";
char const TypeInfoRegex::char_regex[] = ".";
char const TypeInfoRegex::int8_regex[] = "[-+]?([0-9]|[1-8][0-9]|9[0-9]|1[01][0-9]|12[0-7])";
char const TypeInfoRegex::uint8_regex[] = "[+]?([0-9]|[1-8][0-9]|9[0-9]|1[0-9]{2}|2[0-4][0-9]|25[0-5])";
char const TypeInfoRegex::int16_regex[] =
    "[-+]?([0-9]|[1-8][0-9]|9[0-9]|[1-8][0-9]{2}|9[0-8][0-9]|99[0-9]|[1-8][0-9]{3}|9[0-8][0-9]{2}|99[0-8][0-9]|999[0-9]"
    "|[12][0-9]{4}|3[01][0-9]{3}|32[0-6][0-9]{2}|327[0-5][0-9]|3276[0-7])";
char const TypeInfoRegex::uint16_regex[] =
    "[+]?([0-9]|[1-8][0-9]|9[0-9]|[1-8][0-9]{2}|9[0-8][0-9]|99[0-9]|[1-8][0-9]{3}|9[0-8][0-9]{2}|99[0-8][0-9]|999[0-9]|"
    "[1-5][0-9]{4}|6[0-4][0-9]{3}|65[0-4][0-9]{2}|655[0-2][0-9]|6553[0-4])";
char const TypeInfoRegex::int32_regex[] =
    "[-+]?([0-9]|[1-8][0-9]|9[0-9]|[1-8][0-9]{2}|9[0-8][0-9]|99[0-9]|[1-8][0-9]{3}|9[0-8][0-9]{2}|99[0-8][0-9]|999[0-9]"
    "|[1-8][0-9]{4}|9[0-8][0-9]{3}|99[0-8][0-9]{2}|999[0-8][0-9]|9999[0-9]|[1-8][0-9]{5}|9[0-8][0-9]{4}|99[0-8][0-9]{3}"
    "|999[0-8][0-9]{2}|9999[0-8][0-9]|99999[0-9]|[1-8][0-9]{6}|9[0-8][0-9]{5}|99[0-8][0-9]{4}|999[0-8][0-9]{3}|9999[0-"
    "8][0-9]{2}|99999[0-8][0-9]|999999[0-9]|[1-8][0-9]{7}|9[0-8][0-9]{6}|99[0-8][0-9]{5}|999[0-8][0-9]{4}|9999[0-8][0-"
    "9]{3}|99999[0-8][0-9]{2}|999999[0-8][0-9]|9999999[0-9]|[1-8][0-9]{8}|9[0-8][0-9]{7}|99[0-8][0-9]{6}|999[0-8][0-9]{"
    "5}|9999[0-8][0-9]{4}|99999[0-8][0-9]{3}|999999[0-8][0-9]{2}|9999999[0-8][0-9]|99999999[0-9]|1[0-9]{9}|20[0-9]{8}|"
    "21[0-3][0-9]{7}|214[0-6][0-9]{6}|2147[0-3][0-9]{5}|21474[0-7][0-9]{4}|214748[0-2][0-9]{3}|2147483[0-5][0-9]{2}|"
    "21474836[0-3][0-9]|214748364[0-7])";
char const TypeInfoRegex::uint32_regex[] =
    "[+]?([0-9]|[1-8][0-9]|9[0-9]|[1-8][0-9]{2}|9[0-8][0-9]|99[0-9]|[1-8][0-9]{3}|9[0-8][0-9]{2}|99[0-8][0-9]|999[0-9]|"
    "[1-8][0-9]{4}|9[0-8][0-9]{3}|99[0-8][0-9]{2}|999[0-8][0-9]|9999[0-9]|[1-8][0-9]{5}|9[0-8][0-9]{4}|99[0-8][0-9]{3}|"
    "999[0-8][0-9]{2}|9999[0-8][0-9]|99999[0-9]|[1-8][0-9]{6}|9[0-8][0-9]{5}|99[0-8][0-9]{4}|999[0-8][0-9]{3}|9999[0-8]"
    "[0-9]{2}|99999[0-8][0-9]|999999[0-9]|[1-8][0-9]{7}|9[0-8][0-9]{6}|99[0-8][0-9]{5}|999[0-8][0-9]{4}|9999[0-8][0-9]{"
    "3}|99999[0-8][0-9]{2}|999999[0-8][0-9]|9999999[0-9]|[1-8][0-9]{8}|9[0-8][0-9]{7}|99[0-8][0-9]{6}|999[0-8][0-9]{5}|"
    "9999[0-8][0-9]{4}|99999[0-8][0-9]{3}|999999[0-8][0-9]{2}|9999999[0-8][0-9]|99999999[0-9]|[1-3][0-9]{9}|4[01][0-9]{"
    "8}|42[0-8][0-9]{7}|429[0-3][0-9]{6}|4294[0-8][0-9]{5}|42949[0-5][0-9]{4}|429496[0-6][0-9]{3}|4294967[01][0-9]{2}|"
    "42949672[0-8][0-9]|429496729[0-4])";
char const TypeInfoRegex::int64_regex[] = "[-+]?[0-9][0-9]*";
char const TypeInfoRegex::uint64_regex[] = "[+]?[0-9][0-9]*";
char const TypeInfoRegex::float_regex[] = "[-+]?([0-9]*)?(\\.)?(([0-9]+)?([eE][-+]?[0-9]+)?)?|(Invalid)|(nan)";
char const TypeInfoRegex::time_span_regex[] =
    "([+]?[0-9][0-9]*\\^)?([-+]?([0-9]*)?(\\.)?(([0-9]+)([eE][-+]?[0-9]+)?)|(Invalid)|(nan))";
char const TypeInfoRegex::uuid_regex[] = "[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}";
char const TypeInfoRegex::any_regex[] = ".*";

char const * TypeInfoRegex::ValidRegex(TypeInfo const & info) noexcept {
    if (info.vector_size >= 2) {
        return any_regex;
    }
    if (info.is_bool) {
        return bool_regex;
    }
    if (info.is_string || !info.is_number) {
        return any_regex;
    }
    if (info.is_float) {
        return info.byte_size == 4 || info.byte_size == 8 ? float_regex : any_regex;
    }
    switch (info.byte_size) {
    case 1:
        return info.is_unsigned ? uint8_regex : int8_regex;
    case 2:
        return info.is_unsigned ? uint16_regex : int16_regex;
    case 4:
        return info.is_unsigned ? uint32_regex : int32_regex;
    case 8:
        return info.is_unsigned ? uint64_regex : int64_regex;
    default:
        return any_regex;
    }
}

namespace {

// The seven flags in the order of the fields.
constexpr bool TypeInfo::*type_flags[] = {&TypeInfo::is_number,    &TypeInfo::is_unsigned,  &TypeInfo::is_float,
                                          &TypeInfo::extra_flag_1, &TypeInfo::extra_flag_2, &TypeInfo::is_string,
                                          &TypeInfo::is_bool};

template <class T>
T ReadSize(StringView const & field) {
    String text(field); // a terminated copy for the number reader
    unsigned int value = 0;
    StringStream<unsigned int>::fromString(text, value);
    return value == IntegerStringStream<unsigned int>::invalid || value > static_cast<T>(~T(0)) ? T(0)
                                                                                                : static_cast<T>(value);
}

} // namespace

void StringStream<TypeInfo>::fromString(StringView const & text, TypeInfo & value) {
    StringViewBuffer const fields = text.split(',', true);
    TypeInfo info;
    unsigned int const count = fields.size();
    info.total_size = count > 0 ? ReadSize<std::uint32_t>(fields[0]) : 0;
    info.byte_size = count > 1 ? ReadSize<std::uint16_t>(fields[1]) : 0;
    info.vector_size = count > 2 ? ReadSize<std::uint16_t>(fields[2]) : 0;
    for (unsigned int i = 0; i < 7 && i + 3 < count; ++i) {
        StringView const field = fields[i + 3];
        char const first = field.isEmpty() ? 0 : field[0];
        info.*type_flags[i] = first == 'T' || first == 't' || first == '1';
    }
    value = info;
}

void StringStream<TypeInfo>::toString(TypeInfo const & value, StringAllocatingView & out) {
    StringStream<unsigned int>::toString(value.total_size, out);
    out.append(',');
    StringStream<unsigned int>::toString(value.byte_size, out);
    out.append(',');
    StringStream<unsigned int>::toString(value.vector_size, out);
    for (bool TypeInfo::*flag : type_flags) {
        out.append(value.*flag ? StringView(",T") : StringView(",F"));
    }
}

char const * StringStream<TypeInfo>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

} // namespace QELTA
