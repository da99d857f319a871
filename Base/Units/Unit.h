// Unit: a unit of measurement, converting between the base scale and what a person reads, and
// the simple kinds of unit: scaled, scaled with an offset, a reference and a matrix over another.
//
// A unit is immutable once built and is shared by ConstPointer<Unit>; it holds no lock. Its
// translated texts fill their translation caches on first show, as TranslatedString does, so
// a unit shared by threads is shown first from one thread or under its owner's lock. Nothing
// raises: a text that holds no number gives NaN, and NaN goes through every conversion.
#pragma once

#include "Base/Export.h"
#include "Base/Geometry/Matrix.h"
#include "Base/Geometry/Vector.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA {

class UnitDefinitions;

// Values are stored in a fixed base scale (metres, square metres, grams, seconds, ...). The
// verbs point one way each: convertToUnit goes from the base scale to this unit, convertFromUnit
// from this unit to the base scale; toString and fromString work on a value already in this
// unit; convertToString and convertFromString also convert. `axis` is the component (0 to 3:
// x, y, z, w) that a single value belongs to.
//
// The virtual functions are declared in the order of their slots, which modules built against
// this library depend on; new ones go at the end.
class QELTA_BASE_EXPORT Unit {
  public:
    using Ray = QELTA::Ray<3, double>;
    using Vertex = QELTA::Vertex<3, double>;
    using Matrix4 = Matrix<double, 4, 4>;

    // The four axis names and abbreviations both start as "X", "Y", "Z", "W".
    Unit(StringView name, TranslatedString label);
    Unit(Unit const &) = delete;
    Unit & operator=(Unit const &) = delete;

    virtual ~Unit();
    virtual Ray convertToUnit(Ray const & base) const = 0;
    virtual Vertex convertToUnit(Vertex const & base) const = 0;
    virtual double convertToUnit(double const & value, std::uint8_t axis) const = 0;
    virtual Ray convertFromUnit(Ray const & in_unit) const = 0;
    virtual Vertex convertFromUnit(Vertex const & in_unit) const = 0;
    virtual double convertFromUnit(double const & value, std::uint8_t axis) const = 0;
    virtual TranslatedString const & abbreviation(std::uint8_t axis) const = 0;
    // The base value `value` in this unit, rendered as toString does.
    virtual String convertToString(double const & value, bool add_comma, std::uint32_t min_decimals,
                                   std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                                   std::uint8_t axis) const;
    // Replaces `out` by the default text of `value` (already in this unit), passed through
    // String::formatNumberString with the five formatting arguments when any of them asks for
    // something, followed by the abbreviation with no blank in between when asked for.
    virtual void toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                          std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                          std::uint8_t axis) const;
    // The base value of the leading number of `text`.
    virtual double convertFromString(StringView const & text, std::uint8_t axis) const;
    // The leading number of `text`, in this unit: "12.5m" gives 12.5; no number gives NaN.
    // Nothing beyond the view is read.
    virtual double fromString(StringView const & text, std::uint8_t axis) const;
    virtual TranslatedString translatedAxisName(std::uint32_t index) const; // index 0 to 3
    // What to type next after `text`, judged on its last term: "." to start the decimals, the
    // abbreviation after them, nothing when the abbreviation is there or empty. The view lives as
    // long as the unit, until the language changes.
    virtual StringView getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const;
    // Rewrites an expression typed in this unit for the statement parser: each "e" becomes
    // "*10^", and each term that is not already the default text of its own number becomes that
    // text (so "12.5ft" becomes "12.5"). No conversion to the base scale happens.
    virtual void toFormula(StringAllocatingView & text, std::uint8_t axis) const;
    // A round step (1, 2.5, 5 or 10 times a power of ten in this unit) near the size of the base
    // value `value`, in the base scale. A value of 0 gives the step of one unit; an infinite or
    // NaN value gives NaN.
    virtual double epsilon(double value, std::uint8_t axis) const;
    // The unit that holds the texts of `axis`: this unit for the simple kinds.
    virtual Unit const * subUnit(std::uint8_t axis) const = 0;
    virtual Matrix4 matrix() const = 0;
    // A new unit of the same kind and factors with another name and label; the caller owns it.
    virtual Unit * clone(StringView const & name, TranslatedString const & label) const = 0;
    // clone(name, label) whose axis abbreviations are this unit's axis names.
    virtual Unit * clone() const;

    // The same as the virtual toString, into a new String.
    String toString(double const & value, bool add_comma, std::uint32_t min_decimals, std::uint32_t max_decimals,
                    std::uint32_t min_digits, bool add_abbreviation, std::uint8_t axis) const;

    String const & name() const noexcept { return name_; }
    TranslatedString translatedName() const { return translated_name_; }
    TranslatedString axisAbbreviation(std::uint32_t index) const { return axis_abbreviations_[index]; }

    // Equal matrix() element by element, exactly (a NaN element makes units unequal), and equal
    // names byte by byte. Labels and abbreviations take no part.
    bool operator==(Unit const & other) const;
    bool operator!=(Unit const & other) const { return !(*this == other); }

  protected:
    // The catalogue names the axes of the units it builds on others.
    friend class UnitDefinitions;

    // The pieces of `text` between the operators + - / * ^ ( ) %, empty pieces left out; at
    // least one piece, empty when there is nothing else.
    static StringViewBuffer OperatorSplit(StringView const & text);
    // The text of `text` in the current language, filling its cache.
    static StringView Shown(TranslatedString const & text);

    String name_;
    TranslatedString translated_name_;
    TranslatedString axis_names_[4];
    // Mutable for the translation cache only, as for every abbreviation a unit hands out.
    mutable TranslatedString axis_abbreviations_[4];
};

// value * factor: the factor is how many of this unit make one base unit (feet: 3.280839895013123).
// A factor of 0 is not guarded.
class QELTA_BASE_EXPORT ScaledUnit : public Unit {
  public:
    ScaledUnit(StringView name, TranslatedString label, TranslatedString abbreviation, double factor);

    using Unit::clone;
    using Unit::toString;

    Ray convertToUnit(Ray const & base) const override;
    Vertex convertToUnit(Vertex const & base) const override;
    double convertToUnit(double const & value, std::uint8_t axis) const override;
    Ray convertFromUnit(Ray const & in_unit) const override;
    Vertex convertFromUnit(Vertex const & in_unit) const override;
    double convertFromUnit(double const & value, std::uint8_t axis) const override;
    // The same text for every axis.
    TranslatedString const & abbreviation(std::uint8_t axis) const override;
    Unit const * subUnit(std::uint8_t axis) const override;
    Matrix4 matrix() const override; // a uniform scale by the factor
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

    double factor() const noexcept { return factor_; }

  private:
    double factor_;
    mutable TranslatedString abbreviation_text_; // mutable for the translation cache only
};

// value * factor + offset (Fahrenheit from Celsius: factor 1.8, offset 32).
class QELTA_BASE_EXPORT ScaledOffsetUnit : public Unit {
  public:
    ScaledOffsetUnit(StringView name, TranslatedString label, TranslatedString abbreviation, double factor,
                     double offset);

    using Unit::clone;
    using Unit::toString;

    // The offset is applied to a Ray as to a Vertex, on purpose: stored values were converted so.
    Ray convertToUnit(Ray const & base) const override;
    Vertex convertToUnit(Vertex const & base) const override;
    double convertToUnit(double const & value, std::uint8_t axis) const override;
    Ray convertFromUnit(Ray const & in_unit) const override;
    Vertex convertFromUnit(Vertex const & in_unit) const override;
    double convertFromUnit(double const & value, std::uint8_t axis) const override;
    TranslatedString const & abbreviation(std::uint8_t axis) const override;
    Unit const * subUnit(std::uint8_t axis) const override;
    // The uniform scale by the factor alone: the offset does not appear, so units that differ
    // only in their offset compare equal.
    Matrix4 matrix() const override;
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

    double factor() const noexcept { return factor_; }
    double offset() const noexcept { return offset_; }

  private:
    double factor_;
    double offset_;
    mutable TranslatedString abbreviation_text_; // mutable for the translation cache only
};

// Another name for `unit`, which must outlive it: every operation, text forms included, is the
// target's. Construction copies the target's four axis abbreviations.
class QELTA_BASE_EXPORT ReferenceUnit : public Unit {
  public:
    ReferenceUnit(StringView name, TranslatedString label, Unit const & unit);

    using Unit::clone;
    using Unit::toString;

    Ray convertToUnit(Ray const & base) const override;
    Vertex convertToUnit(Vertex const & base) const override;
    double convertToUnit(double const & value, std::uint8_t axis) const override;
    Ray convertFromUnit(Ray const & in_unit) const override;
    Vertex convertFromUnit(Vertex const & in_unit) const override;
    double convertFromUnit(double const & value, std::uint8_t axis) const override;
    TranslatedString const & abbreviation(std::uint8_t axis) const override;
    String convertToString(double const & value, bool add_comma, std::uint32_t min_decimals, std::uint32_t max_decimals,
                           std::uint32_t min_digits, bool add_abbreviation, std::uint8_t axis) const override;
    void toString(String & out, double const & value, bool add_comma, std::uint32_t min_decimals,
                  std::uint32_t max_decimals, std::uint32_t min_digits, bool add_abbreviation,
                  std::uint8_t axis) const override;
    double convertFromString(StringView const & text, std::uint8_t axis) const override;
    double fromString(StringView const & text, std::uint8_t axis) const override;
    StringView getNextPreferredSeparator(StringView const & text, std::uint8_t axis) const override;
    void toFormula(StringAllocatingView & text, std::uint8_t axis) const override;
    double epsilon(double value, std::uint8_t axis) const override;
    Unit const * subUnit(std::uint8_t axis) const override;
    Matrix4 matrix() const override;
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

    Unit const & target() const noexcept { return *unit_; }

  private:
    Unit const * unit_;
};

// A 4x4 matrix applied on top of `unit`: the stored transform is matrix * unit.matrix(), so a
// base value goes through the unit first and the matrix second. Vertices take the whole transform
// with the perspective divide, rays its upper 3x3 block. A single value of axis a is the vector
// with the value in component a, through the 3x3 block; the result is its length, negated unless
// the value is above 0. Axis 3 has no component and passes unchanged. The texts are the target's,
// so convertToString and convertFromString convert as the target does; only epsilon uses this
// unit's conversions.
class QELTA_BASE_EXPORT MatrixUnit : public ReferenceUnit {
  public:
    MatrixUnit(StringView name, TranslatedString const & label, Matrix4 const & matrix, Unit const & unit);

    using ReferenceUnit::clone;
    using ReferenceUnit::toString;

    Ray convertToUnit(Ray const & base) const override;
    Vertex convertToUnit(Vertex const & base) const override;
    double convertToUnit(double const & value, std::uint8_t axis) const override;
    Ray convertFromUnit(Ray const & in_unit) const override;
    Vertex convertFromUnit(Vertex const & in_unit) const override;
    double convertFromUnit(double const & value, std::uint8_t axis) const override;
    double epsilon(double value, std::uint8_t axis) const override;
    Unit const * subUnit(std::uint8_t axis) const override;
    Matrix4 matrix() const override;
    Unit * clone(StringView const & name, TranslatedString const & label) const override;

  private:
    struct Combined {};
    // Takes `transform` as the finished transform, for clone().
    MatrixUnit(Combined, StringView name, TranslatedString const & label, Matrix4 const & transform, Unit const & unit);

    Matrix4 transform_;
    Matrix4 inverse_; // of transform_, worked out once
};

} // namespace QELTA
