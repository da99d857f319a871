// Fuzz target: every number reader on arbitrary bytes, and the printers' round trips.
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

using QELTA::String;
using QELTA::StringAllocatingView;
using QELTA::StringStream;
using QELTA::StringView;

// Reads the text as T, prints the value and reads the print again: it must give the same value.
template <class T>
void RoundTrip(String const & text) {
    T value{};
    StringStream<T>::fromString(text, value);
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    String const printed(out.view());
    T again{};
    StringStream<T>::fromString(printed, again);
    if (again != value && !(value == QELTA::IntegerStringStream<T>::invalid)) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 4096) {
        return 0;
    }
    // The readers need a text that ends in a byte that cannot continue a number: a String does.
    String const text(StringView(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size)));
    RoundTrip<signed char>(text);
    RoundTrip<unsigned char>(text);
    RoundTrip<short>(text);
    RoundTrip<unsigned short>(text);
    RoundTrip<int>(text);
    RoundTrip<unsigned int>(text);
    RoundTrip<long long>(text);
    RoundTrip<unsigned long long>(text);

    double value = 0;
    StringStream<double>::fromString(text, value);
    StringAllocatingView out;
    StringStream<double>::toString(value, out);
    if (out.size() == 0 || out.size() > 32) {
        std::abort();
    }
    float single = 0;
    StringStream<float>::fromString(text, single);
    wchar_t wide = 0;
    StringStream<wchar_t>::fromString(text, wide);
    std::wstring wides;
    StringStream<std::wstring>::fromString(text, wides);
    StringAllocatingView back;
    StringStream<std::wstring>::toString(wides, back);
    return 0;
}
