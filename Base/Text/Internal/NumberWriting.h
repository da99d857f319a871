// NumberWriting: the number printers behind StringStream, writing into a buffer of the caller.
//
// All functions are static and reentrant, keep no state, allocate nothing and cannot fail. They
// write no terminator and return the number of bytes written. They know nothing of Invalid
// values: whether a value prints as "NaN" is the caller's decision. The double form is a stored
// format, read back by NumberReading::ReadDouble, and must not change.
#pragma once

#include "Base/Export.h"

namespace QELTA {

struct QELTA_BASE_EXPORT NumberWriting {
    // Room that `out` must have for each function.
    static constexpr unsigned int max_integer_length = 20;
    static constexpr unsigned int max_double_length = 32;

    // The text of an Invalid value: a double NaN, and the Invalid value of the integer types.
    static constexpr char nan_text[] = "NaN";

    // Plain decimal digits, with a leading '-' for a negative value.
    static unsigned int WriteUnsigned(unsigned long long value, char * out) noexcept;
    static unsigned int WriteSigned(long long value, char * out) noexcept;

    // The text form of a double:
    // - "Infinity", "-Infinity" and "NaN".
    // - A value that equals its truncation to a 64-bit integer prints as that integer, unless the
    //   integer's low 32 bits are 0x80000000; -0.0 prints "0".
    // - Other values print the shortest digits that identify them, generated after Steele and
    //   White in double arithmetic. That arithmetic loses precision, so the last digits often
    //   differ from the exact shortest form and the text may lie a double or two away from the
    //   value; that is the stored format.
    // - With k the decimal exponent of the first digit: k from -5 to -1 prints "0.000ddd"; k from
    //   0 to 20 prints the digits positionally, filled with '0' up to the decimal point; k from
    //   -20 to -6 prints "d.ddde-k"; for |k| of 21 or more the digits after the point are cut,
    //   not rounded, to 9 ("1.797693134e+308"). An exponent form drops trailing zeros.
    static unsigned int WriteDouble(double value, char * out) noexcept;

    // The same text as WriteDouble, computed step by step in the plain way, slowly. Tests hold
    // WriteDouble to it byte for byte.
    static unsigned int WriteDoubleReference(double value, char * out) noexcept;
};

} // namespace QELTA
