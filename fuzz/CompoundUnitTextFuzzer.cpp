// Fuzz target: the text of the compound units (feet and inches, minutes and seconds, degrees and
// minutes, degrees-minutes-seconds, the packed DDD.MMSS form, a bearing and odd part counts),
// read (in one pass and by searching, which must agree), suggested, rewritten as a formula,
// shown again and read back.
//
// Input: byte 0 picks the unit, byte 1 the axis (bits 0-1), the decimals (bits 2-5) and the
// comma (bit 6), byte 2 the minimum digits; the rest is the text.
#include "Base/Text/StringAllocatingView.h"
#include "Base/Units/AngleUnit.h"
#include "Base/Units/TwoPartUnit.h"
#include "Base/Units/UnitDefinitions.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using namespace QELTA;

struct Subject {
    ConstPointer<Unit> unit;
    // How far apart a value and the reading of its text with extra decimals may be, in the unit;
    // 0 where the text does not round-trip by design.
    double tolerance;
    // The three-part text reads "-0°30'" as +0.5, so values between -1 and 0 don't come back.
    bool signed_zero_quirk;
};

std::vector<Subject> const & Subjects() {
    static std::vector<Subject> const subjects = [] {
        TranslatedString const none;
        TranslatedString const quote = TranslatedString::DirectString("\"");
        AngleUnit const & degrees = static_cast<AngleUnit const &>(*UnitDefinitions::Degrees());
        double const nan = std::numeric_limits<double>::quiet_NaN();
        return std::vector<Subject>{
            {UnitDefinitions::FeetInches(), 1e-6, false},
            {UnitDefinitions::USSurveyFeetInches(), 1e-6, false},
            {UnitDefinitions::MinutesSeconds(), 1e-6, false},
            {UnitDefinitions::DegreesMinutes(), 1e-6, false},
            {UnitDefinitions::DegreesMinutesSeconds(), 1e-6, true},
            {UnitDefinitions::DDDMMSS(), 1e-6, false},
            {UnitDefinitions::NorthOrientation(*UnitDefinitions::DegreesMinutesSeconds(), true), 1e-6, true},
            {UnitDefinitions::LatLonAlt(*UnitDefinitions::DegreesMinutes()), 1e-6, false},
            // Empty abbreviations and counts that no catalogue unit has.
            {ConstPointer<Unit>(new TwoPartUnit("odd", none, none, quote, 1.0, 7.0)), 0.0, false},
            {ConstPointer<Unit>(new TwoPartUnit("huge", none, quote, none, 1.0, 1e300)), 0.0, false},
            {ConstPointer<Unit>(new ThreePartAngleUnit("odd", none, none, none, quote, nan, 3600.0, degrees)), 0.0,
             false},
            {ConstPointer<Unit>(new ThreePartAngleUnit("zero", none, quote, none, none, 0.0, 0.0, degrees)), 0.0,
             false},
        };
    }();
    return subjects;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size < 3 || size > (1u << 16)) {
        return 0;
    }
    Subject const & subject = Subjects()[data[0] % Subjects().size()];
    Unit const & unit = *subject.unit;
    std::uint8_t const axis = data[1] & 3;
    unsigned int const decimals = (data[1] >> 2) & 15;
    bool const comma = (data[1] & 64) != 0;
    unsigned int const min_digits = data[2] % 32;
    StringView const text(reinterpret_cast<char const *>(data + 3), static_cast<unsigned int>(size - 3));

    double const value = unit.fromString(text, axis);
    double const base = unit.convertFromString(text, axis);
    (void)base;
    // Short texts are read in one pass where that finds what the search by abbreviation finds;
    // bytes that no number or abbreviation holds, added behind, make the text too long for it.
    String padded(text);
    for (unsigned int i = 0; i < 64; ++i) {
        padded.append(StringView("\x01", 1));
    }
    double const searched = unit.fromString(padded, axis);
    if (!(searched == value || (std::isnan(searched) && std::isnan(value)))) {
        std::abort();
    }
    StringView const next = unit.getNextPreferredSeparator(text, axis);
    if (next.size() > 8) {
        std::abort(); // a separator is one abbreviation or "."
    }
    StringAllocatingView formula{text};
    unit.toFormula(formula, axis);

    for (bool abbreviation : {true, false}) {
        String const shown = unit.toString(value, comma, decimals / 2, decimals, min_digits, abbreviation, axis);
        (void)unit.fromString(shown, axis);
        (void)unit.convertToString(value, comma, 0, decimals, min_digits, abbreviation, axis);
    }
    (void)unit.epsilon(value, axis);

    // Shown with six decimals beyond the parts, a value reads back to within the tolerance.
    if (subject.tolerance > 0.0 && std::isfinite(value) && std::fabs(value) < 1e6 &&
        !(subject.signed_zero_quirk && value < 0.0 && value > -1.0)) {
        String const shown = unit.toString(value, false, 0, 10, 0, true, axis);
        double const again = unit.fromString(shown, axis);
        if (!(std::fabs(again - value) <= subject.tolerance)) {
            std::abort();
        }
    }
    return 0;
}
