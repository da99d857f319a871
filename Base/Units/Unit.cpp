// The abstract unit's rendering, parsing and steps, and the four simple kinds of unit.
#include "Base/Units/Unit.h"

#include "Base/Language/Translator.h"
#include "Base/Units/Internal/UnitText.h"

#include <cmath>
#include <limits>
#include <utility>

namespace QELTA {
namespace {

// The default axis texts and their translation keys, x, y, z, w.
constexpr char const * axis_texts[4] = {"X", "Y", "Z", "W"};
constexpr char const * axis_keys[4] = {"x_axis_abv", "y_axis_abv", "z_axis_abv", "w_axis_abv"};

constexpr char decimal_point[] = ".";
constexpr char operator_characters[] = "+-/*^()%";
constexpr char exponent_text[] = "e";
constexpr char exponent_formula[] = "*10^";

TranslatedString AxisText(unsigned int axis) {
    return TranslatedString(Translator::DefaultFastID(axis_keys[axis]), axis_texts[axis]);
}

Unit::Ray ScaleRay(Unit::Ray const & ray, double factor, double offset) {
    return Unit::Ray(ray[0] * factor + offset, ray[1] * factor + offset, ray[2] * factor + offset);
}

Unit::Vertex ScaleVertex(Unit::Vertex const & point, double factor, double offset) {
    return Unit::Vertex(point[0] * factor + offset, point[1] * factor + offset, point[2] * factor + offset);
}

Unit::Ray UnscaleRay(Unit::Ray const & ray, double factor, double offset) {
    return Unit::Ray((ray[0] - offset) / factor, (ray[1] - offset) / factor, (ray[2] - offset) / factor);
}

Unit::Vertex UnscaleVertex(Unit::Vertex const & point, double factor, double offset) {
    return Unit::Vertex((point[0] - offset) / factor, (point[1] - offset) / factor, (point[2] - offset) / factor);
}

// The length of the one-component vector through the upper 3x3 block, negated unless `value` is
// above 0; axis 3 has no component in that block.
double AxisThroughMatrix(Matrix<double, 4, 4> const & matrix, double value, std::uint8_t axis) {
    if (axis > 2) {
        return value;
    }
    Unit::Ray single;
    single[axis] = value;
    double const length = matrix.transform(single).length();
    return value > 0.0 ? length : -length;
}

} // namespace

// Unit

Unit::Unit(StringView name, TranslatedString label) : name_(name), translated_name_(std::move(label)) {
    for (unsigned int axis = 0; axis < 4; ++axis) {
        axis_names_[axis] = AxisText(axis);
        axis_abbreviations_[axis] = axis_names_[axis];
    }
}

Unit::~Unit() = default;

String Unit::convertToString(double const & value, bool add_comma, std::uint32_t min_decimals,
                             std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                             std::uint8_t axis) const {
    String out;
    toString(out, convertToUnit(value, axis), add_comma, min_decimals, max_decimals, min_digits, add_abbreviation,
             axis);
    return out;
}

void Unit::toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                    std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                    std::uint8_t axis) const {
    UnitText::SetNumber(value, out);
    if (add_comma || min_decimals != 0 || max_decimals <= out.size() || min_digits != 0) {
        out.formatNumberString(add_comma, min_decimals, max_decimals, min_digits, '.', ',');
    }
    if (add_abbreviation) {
        out.append(Shown(abbreviation(axis)));
    }
}

double Unit::convertFromString(StringView const & text, std::uint8_t axis) const {
    return convertFromUnit(fromString(text, axis), axis);
}

double Unit::fromString(StringView const & text, std::uint8_t /*axis*/) const {
    return UnitText::ReadNumber(text);
}

TranslatedString Unit::translatedAxisName(std::uint32_t index) const {
    return axis_names_[index];
}

StringView Unit::getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const {
    if (text.isEmpty()) {
        return decimal_point;
    }
    StringViewBuffer const pieces = OperatorSplit(text);
    StringView const last = pieces[pieces.size() - 1];
    StringView const shown = Shown(abbreviation(axis));
    if (shown.isEmpty() || last.hasSubString(shown)) {
        return StringView();
    }
    if (last.indexOf('.') != StringView::not_found) {
        return shown;
    }
    return decimal_point;
}

void Unit::toFormula(StringAllocatingView & text, std::uint8_t axis) const {
    text.replace(exponent_text, exponent_formula);
    StringViewBuffer const pieces = OperatorSplit(text.view());
    StringViewBuffer terms;
    StringBuffer numbers;
    for (unsigned int i = pieces.size(); i-- > 0;) {
        StringView term = pieces[i];
        term.trimWhiteSpace();
        String number;
        UnitText::SetNumber(fromString(term, axis), number);
        if (number.view() != term) {
            terms.add(term);
            numbers.add(std::move(number));
        }
    }
    if (terms.isEmpty()) {
        return;
    }
    String formula(text.view());
    formula.replace(terms, numbers, false, 0);
    text = StringAllocatingView(std::move(formula));
}

double Unit::epsilon(double value, std::uint8_t axis) const {
    double const u = convertToUnit(value, axis);
    if (u == 0.0) {
        return convertFromUnit(1.0, axis);
    }
    double step = 0.0;
    double power = 0.0;
    if (!UnitText::RoundStep(u, step, power)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    return convertFromUnit(u < 0.0 ? -step * power : step * power, axis);
}

Unit * Unit::clone() const {
    Unit * const copy = clone(name_, translated_name_);
    // The copy's abbreviations are this unit's axis names and its own names stay the defaults:
    // units saved and read back were built this way, so the crossing stays.
    for (unsigned int axis = 0; axis < 4; ++axis) {
        copy->axis_abbreviations_[axis] = axis_names_[axis];
    }
    return copy;
}

String Unit::toString(double const & value, bool add_comma, std::uint32_t min_decimals, std::uint32_t max_decimals,
                      std::uint32_t min_digits, bool add_abbreviation, std::uint8_t axis) const {
    String out;
    toString(out, value, add_comma, min_decimals, max_decimals, min_digits, add_abbreviation, axis);
    return out;
}

bool Unit::operator==(Unit const & other) const {
    return matrix() == other.matrix() && name_.view() == other.name_.view();
}

StringViewBuffer Unit::OperatorSplit(StringView const & text) {
    static Buffer<char> const operators(operator_characters, sizeof(operator_characters) - 1);
    StringViewBuffer pieces;
    text.splitString(operators, pieces, false);
    if (pieces.isEmpty()) {
        pieces.add(StringView());
    }
    return pieces;
}

StringView Unit::Shown(TranslatedString const & text) {
    // Every abbreviation a unit hands out is a mutable member, so filling its cache is allowed.
    return const_cast<TranslatedString &>(text).translation();
}

// ScaledUnit

ScaledUnit::ScaledUnit(StringView name, TranslatedString label, TranslatedString abbreviation, double factor)
    : Unit(name, std::move(label)), factor_(factor), abbreviation_text_(std::move(abbreviation)) {}

Unit::Ray ScaledUnit::convertToUnit(Ray const & base) const {
    return ScaleRay(base, factor_, 0.0);
}

Unit::Vertex ScaledUnit::convertToUnit(Vertex const & base) const {
    return ScaleVertex(base, factor_, 0.0);
}

double ScaledUnit::convertToUnit(double const & value, std::uint8_t /*axis*/) const {
    return value * factor_;
}

Unit::Ray ScaledUnit::convertFromUnit(Ray const & in_unit) const {
    return UnscaleRay(in_unit, factor_, 0.0);
}

Unit::Vertex ScaledUnit::convertFromUnit(Vertex const & in_unit) const {
    return UnscaleVertex(in_unit, factor_, 0.0);
}

double ScaledUnit::convertFromUnit(double const & value, std::uint8_t /*axis*/) const {
    return value / factor_;
}

TranslatedString const & ScaledUnit::abbreviation(std::uint8_t /*axis*/) const {
    return abbreviation_text_;
}

Unit const * ScaledUnit::subUnit(std::uint8_t /*axis*/) const {
    return this;
}

Unit::Matrix4 ScaledUnit::matrix() const {
    return Matrix4::Scale(factor_);
}

Unit * ScaledUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new ScaledUnit(name, label, abbreviation_text_, factor_);
}

// ScaledOffsetUnit

ScaledOffsetUnit::ScaledOffsetUnit(StringView name, TranslatedString label, TranslatedString abbreviation,
                                   double factor, double offset)
    : Unit(name, std::move(label)), factor_(factor), offset_(offset), abbreviation_text_(std::move(abbreviation)) {}

Unit::Ray ScaledOffsetUnit::convertToUnit(Ray const & base) const {
    return ScaleRay(base, factor_, offset_);
}

Unit::Vertex ScaledOffsetUnit::convertToUnit(Vertex const & base) const {
    return ScaleVertex(base, factor_, offset_);
}

double ScaledOffsetUnit::convertToUnit(double const & value, std::uint8_t /*axis*/) const {
    return value * factor_ + offset_;
}

Unit::Ray ScaledOffsetUnit::convertFromUnit(Ray const & in_unit) const {
    return UnscaleRay(in_unit, factor_, offset_);
}

Unit::Vertex ScaledOffsetUnit::convertFromUnit(Vertex const & in_unit) const {
    return UnscaleVertex(in_unit, factor_, offset_);
}

double ScaledOffsetUnit::convertFromUnit(double const & value, std::uint8_t /*axis*/) const {
    return (value - offset_) / factor_;
}

TranslatedString const & ScaledOffsetUnit::abbreviation(std::uint8_t /*axis*/) const {
    return abbreviation_text_;
}

Unit const * ScaledOffsetUnit::subUnit(std::uint8_t /*axis*/) const {
    return this;
}

Unit::Matrix4 ScaledOffsetUnit::matrix() const {
    return Matrix4::Scale(factor_);
}

Unit * ScaledOffsetUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new ScaledOffsetUnit(name, label, abbreviation_text_, factor_, offset_);
}

// ReferenceUnit

ReferenceUnit::ReferenceUnit(StringView name, TranslatedString label, Unit const & unit)
    : Unit(name, std::move(label)), unit_(&unit) {
    for (unsigned int axis = 0; axis < 4; ++axis) {
        axis_abbreviations_[axis] = unit.axisAbbreviation(axis);
    }
}

Unit::Ray ReferenceUnit::convertToUnit(Ray const & base) const {
    return unit_->convertToUnit(base);
}

Unit::Vertex ReferenceUnit::convertToUnit(Vertex const & base) const {
    return unit_->convertToUnit(base);
}

double ReferenceUnit::convertToUnit(double const & value, std::uint8_t axis) const {
    return unit_->convertToUnit(value, axis);
}

Unit::Ray ReferenceUnit::convertFromUnit(Ray const & in_unit) const {
    return unit_->convertFromUnit(in_unit);
}

Unit::Vertex ReferenceUnit::convertFromUnit(Vertex const & in_unit) const {
    return unit_->convertFromUnit(in_unit);
}

double ReferenceUnit::convertFromUnit(double const & value, std::uint8_t axis) const {
    return unit_->convertFromUnit(value, axis);
}

TranslatedString const & ReferenceUnit::abbreviation(std::uint8_t axis) const {
    return unit_->abbreviation(axis);
}

String ReferenceUnit::convertToString(double const & value, bool add_comma, std::uint32_t min_decimals,
                                      std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                                      std::uint8_t axis) const {
    return unit_->convertToString(value, add_comma, min_decimals, max_decimals, min_digits, add_abbreviation, axis);
}

void ReferenceUnit::toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                             std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                             std::uint8_t axis) const {
    unit_->toString(out, value, add_comma, min_decimals, max_decimals, min_digits, add_abbreviation, axis);
}

double ReferenceUnit::convertFromString(StringView const & text, std::uint8_t axis) const {
    return unit_->convertFromString(text, axis);
}

double ReferenceUnit::fromString(StringView const & text, std::uint8_t axis) const {
    return unit_->fromString(text, axis);
}

StringView ReferenceUnit::getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const {
    return unit_->getNextPreferredSeparator(text, axis);
}

void ReferenceUnit::toFormula(StringAllocatingView & text, std::uint8_t axis) const {
    unit_->toFormula(text, axis);
}

double ReferenceUnit::epsilon(double value, std::uint8_t axis) const {
    return unit_->epsilon(value, axis);
}

Unit const * ReferenceUnit::subUnit(std::uint8_t axis) const {
    return unit_->subUnit(axis);
}

Unit::Matrix4 ReferenceUnit::matrix() const {
    return unit_->matrix();
}

Unit * ReferenceUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new ReferenceUnit(name, label, *unit_);
}

// MatrixUnit

MatrixUnit::MatrixUnit(StringView name, TranslatedString const & label, Matrix4 const & matrix, Unit const & unit)
    : MatrixUnit(Combined{}, name, label, matrix * unit.matrix(), unit) {}

MatrixUnit::MatrixUnit(Combined, StringView name, TranslatedString const & label, Matrix4 const & transform,
                       Unit const & unit)
    : ReferenceUnit(name, label, unit), transform_(transform), inverse_(transform.inverse()) {}

Unit::Ray MatrixUnit::convertToUnit(Ray const & base) const {
    return transform_.transform(base);
}

Unit::Vertex MatrixUnit::convertToUnit(Vertex const & base) const {
    return transform_.transform(base);
}

double MatrixUnit::convertToUnit(double const & value, std::uint8_t axis) const {
    return AxisThroughMatrix(transform_, value, axis);
}

Unit::Ray MatrixUnit::convertFromUnit(Ray const & in_unit) const {
    return inverse_.transform(in_unit);
}

Unit::Vertex MatrixUnit::convertFromUnit(Vertex const & in_unit) const {
    return inverse_.transform(in_unit);
}

double MatrixUnit::convertFromUnit(double const & value, std::uint8_t axis) const {
    return AxisThroughMatrix(inverse_, value, axis);
}

double MatrixUnit::epsilon(double value, std::uint8_t axis) const {
    return Unit::epsilon(value, axis);
}

Unit const * MatrixUnit::subUnit(std::uint8_t /*axis*/) const {
    return &target();
}

Unit::Matrix4 MatrixUnit::matrix() const {
    return transform_;
}

Unit * MatrixUnit::clone(StringView const & name, TranslatedString const & label) const {
    return new MatrixUnit(Combined{}, name, label, transform_, target());
}

} // namespace QELTA
