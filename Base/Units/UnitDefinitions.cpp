// The unit catalogue: the functions of UnitCatalogue.def's rows, and the units built on others.
#include "Base/Units/UnitDefinitions.h"

#include "Base/Language/Translator.h"
#include "Base/Units/AngleUnit.h"
#include "Base/Units/Internal/UnitText.h"
#include "Base/Units/TwoPartUnit.h"

#include <memory>

namespace QELTA {
namespace {

using Matrix4 = Unit::Matrix4;

enum class CoordinateMatrix { TURNED, FLIPPED, TURNED_MIRRORED };

using AxisText = UnitDefinitions::AxisText;

constexpr AxisText lat_lon_axes[3] = {
    {"Latitude", "LAT", "latitude_abv"}, {"Longitude", "LON", "longitude_abv"}, {"Altitude", "ALT", "altitude_abv"}};
constexpr AxisText compass_axes[3] = {
    {"Roll", "R", "roll_abv"}, {"Pitch", "P", "pitch_abv"}, {"Azimuth", "Az", "heading_abv"}};

constexpr char lat_lon_prefix[] = "LATLONALT:";
constexpr char name_separator[] = ":";
constexpr char clockwise_text[] = "CW";
constexpr char counter_clockwise_text[] = "CCW";
constexpr char up_text[] = "UP";
constexpr char down_text[] = "DOWN";

// Index units of a quarter and of half a turn.
constexpr double quarter_turn = 16384.0;
constexpr double half_turn = 32768.0;

// The translated name: the label, or the name when the label is empty, keyed by its readable label.
TranslatedString Label(char const * name, char const * label) {
    StringView const text = *label != 0 ? StringView(label) : StringView(name);
    return TranslatedString(Translator::DefaultID(text), text);
}

TranslatedString Abbreviation(char const * abbreviation, char const * key) {
    return TranslatedString(Translator::DefaultFastID(key), abbreviation);
}

// Keeps a catalogue unit for the life of the process: the handle is never destroyed, so the unit
// outlives every static that refers to it.
ConstPointer<Unit> const & Keep(Unit const * unit) {
    return *new ConstPointer<Unit>(unit);
}

AngleUnit const & AngleOf(ConstPointer<Unit> const & unit) {
    return static_cast<AngleUnit const &>(*unit);
}

String Joined(std::initializer_list<StringView> parts) {
    String text;
    for (StringView const part : parts) {
        text.append(part);
    }
    return text;
}

Matrix4 CoordinateTransform(CoordinateMatrix kind) {
    Matrix4 const turned = Matrix4::Rotation(Angle<double>(quarter_turn), Unit::Ray(0.0, 0.0, 1.0));
    Matrix4 flipped;
    flipped(1, 1) = -1.0;
    if (kind == CoordinateMatrix::FLIPPED) {
        return flipped;
    }
    if (kind == CoordinateMatrix::TURNED) {
        return turned;
    }
    Matrix4 mirrored;
    mirrored(0, 0) = -1.0;
    return turned * flipped * mirrored;
}

// A coordinate unit that shares the unit under it, so that the unit lives as long as it does.
class HeldMatrixUnit final : public MatrixUnit {
  public:
    HeldMatrixUnit(StringView name, TranslatedString const & label, Matrix4 const & matrix,
                   ConstPointer<Unit> const & unit)
        : MatrixUnit(name, label, matrix, *unit), held_(unit) {}

  private:
    ConstPointer<Unit> held_;
};

} // namespace

// Names and abbreviates the first three axes. A row that gives one text for both keys the name
// by the abbreviation's key as well, as the default axis texts are; other names are keyed by
// their readable label.
void UnitDefinitions::NameAxes(Unit & unit, AxisText const (&axes)[3]) {
    for (unsigned int axis = 0; axis < 3; ++axis) {
        AxisText const & text = axes[axis];
        TranslatedString abbreviation = Abbreviation(text.abbreviation, text.key);
        StringView const name(text.name);
        unit.axis_names_[axis] =
            name == StringView(text.abbreviation) ? abbreviation : TranslatedString(Translator::DefaultID(name), name);
        unit.axis_abbreviations_[axis] = std::move(abbreviation);
    }
}

// The named units, one function for each row of the table.

#define QELTA_SCALED_UNIT(function, category, name, label, abbreviation, key, factor)                                  \
    ConstPointer<Unit> const & UnitDefinitions::function() {                                                           \
        static ConstPointer<Unit> const & unit =                                                                       \
            Keep(new ScaledUnit(name, Label(name, label), Abbreviation(abbreviation, key), factor));                   \
        return unit;                                                                                                   \
    }
#define QELTA_TWO_PART_UNIT(function, category, name, major, major_key, minor, minor_key, factor, parts)               \
    ConstPointer<Unit> const & UnitDefinitions::function() {                                                           \
        static ConstPointer<Unit> const & unit = Keep(new TwoPartUnit(                                                 \
            name, Label(name, ""), Abbreviation(major, major_key), Abbreviation(minor, minor_key), factor, parts));    \
        return unit;                                                                                                   \
    }
#define QELTA_OFFSET_UNIT(function, category, name, abbreviation, key, factor, offset)                                 \
    ConstPointer<Unit> const & UnitDefinitions::function() {                                                           \
        static ConstPointer<Unit> const & unit =                                                                       \
            Keep(new ScaledOffsetUnit(name, Label(name, ""), Abbreviation(abbreviation, key), factor, offset));        \
        return unit;                                                                                                   \
    }
#define QELTA_ANGLE_UNIT(function, category, name, label, abbreviation, key, factor)                                   \
    ConstPointer<Unit> const & UnitDefinitions::function() {                                                           \
        static ConstPointer<Unit> const & unit =                                                                       \
            Keep(new AngleUnit(name, Label(name, label), Abbreviation(abbreviation, key), factor));                    \
        return unit;                                                                                                   \
    }
#define QELTA_TWO_PART_ANGLE_UNIT(function, category, name, label, base, major, major_key, minor, minor_key, parts)    \
    ConstPointer<Unit> const & UnitDefinitions::function() {                                                           \
        static ConstPointer<Unit> const & unit =                                                                       \
            Keep(new TwoPartAngleUnit(name, Label(name, label), Abbreviation(major, major_key),                        \
                                      Abbreviation(minor, minor_key), parts, AngleOf(base())));                        \
        return unit;                                                                                                   \
    }
#define QELTA_THREE_PART_ANGLE_UNIT(function, category, name, label, base, major, major_key, middle, middle_key,       \
                                    minor, minor_key, middle_parts, minor_parts)                                       \
    ConstPointer<Unit> const & UnitDefinitions::function() {                                                           \
        static ConstPointer<Unit> const & unit = Keep(new ThreePartAngleUnit(                                          \
            name, Label(name, label), Abbreviation(major, major_key), Abbreviation(middle, middle_key),                \
            Abbreviation(minor, minor_key), middle_parts, minor_parts, AngleOf(base())));                              \
        return unit;                                                                                                   \
    }
#define QELTA_DDMMSS_ANGLE_UNIT(function, category, name, label, base, abbreviation, key)                              \
    ConstPointer<Unit> const & UnitDefinitions::function() {                                                           \
        static ConstPointer<Unit> const & unit =                                                                       \
            Keep(new DDMMSSAngleUnit(name, Label(name, label), Abbreviation(abbreviation, key), AngleOf(base())));     \
        return unit;                                                                                                   \
    }
#define QELTA_COORDINATE_UNIT(function, prefix, matrix, name0, abbreviation0, key0, name1, abbreviation1, key1, name2, \
                              abbreviation2, key2)                                                                     \
    ConstPointer<Unit> UnitDefinitions::function(Unit const & unit) {                                                  \
        static constexpr AxisText axes[3] = {                                                                          \
            {name0, abbreviation0, key0}, {name1, abbreviation1, key1}, {name2, abbreviation2, key2}};                 \
        auto made = std::make_unique<MatrixUnit>(Joined({prefix, unit.name()}), unit.translatedName(),                 \
                                                 CoordinateTransform(CoordinateMatrix::matrix), unit);                 \
        NameAxes(*made, axes);                                                                                         \
        return ConstPointer<Unit>(made.release());                                                                     \
    }                                                                                                                  \
    ConstPointer<Unit> UnitDefinitions::function(ConstPointer<Unit> const & unit) {                                    \
        if (unit == nullptr) {                                                                                         \
            return nullptr;                                                                                            \
        }                                                                                                              \
        static constexpr AxisText axes[3] = {                                                                          \
            {name0, abbreviation0, key0}, {name1, abbreviation1, key1}, {name2, abbreviation2, key2}};                 \
        auto made = std::make_unique<HeldMatrixUnit>(Joined({prefix, unit->name()}), unit->translatedName(),           \
                                                     CoordinateTransform(CoordinateMatrix::matrix), unit);             \
        NameAxes(*made, axes);                                                                                         \
        return ConstPointer<Unit>(made.release());                                                                     \
    }
#define QELTA_COMPASS_UNIT(function, letter, shifts_zero, zero_point)                                                  \
    ConstPointer<Unit> UnitDefinitions::function(Unit const & unit, bool clockwise) {                                  \
        auto const * angle = dynamic_cast<AngleUnit const *>(&unit);                                                   \
        if (angle == nullptr) {                                                                                        \
            return nullptr;                                                                                            \
        }                                                                                                              \
        String const name = Joined({letter, name_separator, clockwise ? clockwise_text : counter_clockwise_text,       \
                                    name_separator, unit.name()});                                                     \
        std::unique_ptr<AngleUnit> made(static_cast<AngleUnit *>(angle->clone(name, unit.translatedName())));          \
        made->wrapped_ = Vector<3, bool>::Filled(true);                                                                \
        made->reversed_.set(2, clockwise);                                                                             \
        if (shifts_zero) {                                                                                             \
            made->zero_point_[2] = zero_point;                                                                         \
        }                                                                                                              \
        NameAxes(*made, compass_axes);                                                                                 \
        return ConstPointer<Unit>(made.release());                                                                     \
    }
#include "Base/Units/UnitCatalogue.def"

ConstPointer<Unit> UnitDefinitions::LatLonAlt(Unit const & unit) {
    std::unique_ptr<Unit> made(unit.clone(Joined({lat_lon_prefix, unit.name()}), unit.translatedName()));
    NameAxes(*made, lat_lon_axes);
    return ConstPointer<Unit>(made.release());
}

ConstPointer<Unit> UnitDefinitions::AppendInclinationOrientation(Unit const & unit, Angle<double> const & zero,
                                                                 bool up) {
    auto const * angle = dynamic_cast<AngleUnit const *>(&unit);
    if (angle == nullptr) {
        return nullptr;
    }
    String degrees;
    UnitText::SetNumber(zero.index() * 180.0 / half_turn, degrees);
    String const name = Joined({unit.name(), name_separator, degrees, name_separator, up ? up_text : down_text});
    std::unique_ptr<AngleUnit> made(static_cast<AngleUnit *>(angle->clone(name, unit.translatedName())));
    made->wrapped_.set(1, true);
    made->max_angle_[1] = half_turn;
    made->zero_point_[1] = up ? -zero.index() : zero.index();
    made->reversed_.set(1, !up);
    return ConstPointer<Unit>(made.release());
}

ConstPointer<Unit> UnitDefinitions::Unwrapped(Unit const & unit, StringView const & name,
                                              TranslatedString const & label) {
    auto const * angle = dynamic_cast<AngleUnit const *>(&unit);
    if (angle == nullptr) {
        return nullptr;
    }
    std::unique_ptr<AngleUnit> made(static_cast<AngleUnit *>(angle->clone(name, label)));
    made->wrapped_ = Vector<3, bool>::Filled(false);
    return ConstPointer<Unit>(made.release());
}

std::span<UnitDefinitions::Entry const> UnitDefinitions::Catalogue() noexcept {
#define QELTA_UNIT(function, category) {#function, UnitCategory::category, &UnitDefinitions::function},
    static constexpr Entry entries[] = {
#include "Base/Units/UnitCatalogue.def"
    };
    return entries;
}

} // namespace QELTA
