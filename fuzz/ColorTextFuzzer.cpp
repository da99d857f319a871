// Fuzz target: every reader of colour text. The bytes, as a view with nothing behind it, go through
// the hexadecimal reader, the comma-separated form of each colour model and the scanner's colour
// field; each value read is printed and read again and must come back the same. Nothing may read
// outside the text, loop forever or raise.
#include "Base/Color/ACIColor.h"
#include "Base/Color/HSBColor.h"
#include "Base/Color/HSLColor.h"
#include "Base/Color/LABColor.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/XYZColor.h"
#include "Base/Files/Scanner.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "fuzz/Support/FuzzInput.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace {

using namespace QELTA;

// Floats that print and read back. An infinity prints as a word that reads as NaN, and the float
// reader takes no integer part beyond 32 bits, so those two are let be.
bool SameFloat(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) || !(std::fabs(a) < 4294967296.0f) || a == b;
}

bool Same(RGBColor const & a, RGBColor const & b) {
    return a == b;
}
bool Same(ACIColor const & a, ACIColor const & b) {
    return a == b;
}
bool Same(HSBColor const & a, HSBColor const & b) {
    return a == b;
}
bool Same(HSLColor const & a, HSLColor const & b) {
    return a == b;
}
bool Same(XYZColor const & a, XYZColor const & b) {
    return SameFloat(a.x, b.x) && SameFloat(a.y, b.y) && SameFloat(a.z, b.z) && SameFloat(a.alpha, b.alpha);
}
bool Same(LABColor const & a, LABColor const & b) {
    return SameFloat(a.l, b.l) && SameFloat(a.a, b.a) && SameFloat(a.b, b.b) && SameFloat(a.alpha, b.alpha);
}

// Reads `text` as T, prints the value and reads the print again, which must give the same value.
template <class T>
T RoundTrip(StringView const & text) {
    T value;
    StringStream<T>::fromString(text, value);
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    String const printed(out.view());
    T again;
    StringStream<T>::fromString(printed.view(), again);
    if (!Same(value, again)) {
        std::abort();
    }
    return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 4096) {
        return 0;
    }
    Fuzzing::ExactCopy const bytes(data, size);
    StringView const text = bytes.view();

    RGBColor const hex = RGBColor::FromHexARGB(text);
    if (!(hex == RGBColor::ErrorColor()) && !(RGBColor::FromHexARGB(hex.getHexARGB().view()) == hex)) {
        std::abort();
    }
    RGBColor const rgb = RoundTrip<RGBColor>(text);
    RoundTrip<ACIColor>(text);
    HSBColor const hsb = RoundTrip<HSBColor>(text);
    RoundTrip<HSLColor>(text);
    XYZColor const xyz = RoundTrip<XYZColor>(text);
    LABColor const lab = RoundTrip<LABColor>(text);

    // What was read converts without undefined behaviour, NaN and wild values included.
    (void)RGBColor(xyz);
    (void)RGBColor(lab).getName();
    (void)RGBColor(hsb);
    (void)ACIColor(hsb);
    (void)LABColor(rgb).getName();

    Scanner scanner(text, ',');
    for (unsigned int fields = 0; scanner.hasNext() && fields <= size; ++fields) {
        (void)scanner.getNext<RGBColor>();
    }
    return 0;
}
