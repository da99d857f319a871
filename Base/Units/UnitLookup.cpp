// The reading of units from text: stored identities and composed names, the suffixes of values
// and column labels.
#include "Base/Units/UnitManager.h"

#include "Base/Text/StringStream.h"
#include "Base/Units/Internal/UnitNames.h"
#include "Base/Units/UnitDefinitions.h"

namespace QELTA {
namespace {

using Units = UnitDefinitions;
using UnitFunction = ConstPointer<Unit> const & (*)();

struct Spelling {
    char const * text;
    UnitFunction unit;
};

// The spellings by which a stored text names a catalogue unit, in lower case. Not every name of
// the catalogue stands here ("yards" doesn't), so not every unit can be found by text.
constexpr Spelling spellings[] = {
    {"meter", &Units::Meters},
    {"meters", &Units::Meters},
    {"metre", &Units::Meters},
    {"centimeter", &Units::Centimeters},
    {"centimeters", &Units::Centimeters},
    {"centimetres", &Units::Centimeters},
    {"centimetre", &Units::Centimeters},
    {"millimeter", &Units::Millimeters},
    {"millimeters", &Units::Millimeters},
    {"millimetre", &Units::Millimeters},
    {"millimetres", &Units::Millimeters},
    {"mm", &Units::Millimeters},
    {"kilometer", &Units::Kilometers},
    {"kilometers", &Units::Kilometers},
    {"km", &Units::Kilometers},
    {"feet", &Units::Feet},
    {"foot", &Units::Feet},
    {"feet inches", &Units::FeetInches},
    {"inch", &Units::Inches},
    {"inches", &Units::Inches},
    {"us survey feet", &Units::USSurveyFeet},
    {"us survey foot", &Units::USSurveyFeet},
    {"us feet", &Units::USSurveyFeet},
    {"us foot", &Units::USSurveyFeet},
    {"foot_us", &Units::USSurveyFeet},
    {"foot_survey_us", &Units::USSurveyFeet},
    {"survey feet", &Units::USSurveyFeet},
    {"survey foot", &Units::USSurveyFeet},
    {"us survey feet inches", &Units::USSurveyFeetInches},
    {"international feet", &Units::InternationalFeet},
    {"international_feet", &Units::InternationalFeet},
    {"gold coast feet", &Units::GoldCoastFeet},
    {"gold coast foot", &Units::GoldCoastFeet},
    {"clarke's feet", &Units::ClarkesFeet},
    {"clarke's foot", &Units::ClarkesFeet},
    {"clarke's yard", &Units::ClarkesYards},
    {"clarke's yards", &Units::ClarkesYards},
    {"clarke's chain", &Units::ClarkesChains},
    {"clarke's chains", &Units::ClarkesChains},
    {"clarke's link", &Units::ClarkesLinks},
    {"clarke's links", &Units::ClarkesLinks},
    {"chain", &Units::Chains},
    {"chains", &Units::Chains},
    {"link", &Units::Links},
    {"links", &Units::Links},
    {"british chains", &Units::BritishChains},
    {"british chain", &Units::BritishChains},
    {"square meters", &Units::SqrMeters},
    {"square feet", &Units::SqrFeet},
    {"square yards", &Units::SqrYards},
    {"square inches", &Units::SqrInches},
    {"square kilometers", &Units::SqrKilometers},
    {"cubic meters", &Units::CubicMeters},
    {"cubic feet", &Units::CubicFeet},
    {"cubic yards", &Units::CubicYards},
    {"cubic inches", &Units::CubicInches},
    {"acres", &Units::Acres},
    {"ares", &Units::Ares},
    {"hectares", &Units::Hectares},
    {"liters", &Units::Liters},
    {"gallon", &Units::Gallon},
    {"gallons", &Units::Gallon},
    {"us gallon", &Units::Gallon},
    {"us gallons", &Units::Gallon},
    {"barrel", &Units::Barrel},
    {"barrels", &Units::Barrel},
    {"grams", &Units::Grams},
    {"kilograms", &Units::Kilograms},
    {"pounds", &Units::Pounds},
    {"ounce", &Units::Ounces},
    {"ounces", &Units::Ounces},
    {"metric ton", &Units::MetricTons},
    {"metric tons", &Units::MetricTons},
    {"tonne", &Units::MetricTons},
    {"tonnes", &Units::MetricTons},
    {"long ton", &Units::LongTons},
    {"long tons", &Units::LongTons},
    {"tons", &Units::LongTons},
    {"imperial tons", &Units::LongTons},
    {"short ton", &Units::ShortTons},
    {"short tons", &Units::ShortTons},
    {"degree", &Units::Degrees},
    {"degrees", &Units::Degrees},
    {"decimal degrees", &Units::Degrees},
    {"degrees minutes", &Units::DegreesMinutes},
    {"degrees minutes seconds", &Units::DegreesMinutesSeconds},
    {"dms", &Units::DegreesMinutesSeconds},
    {"degrees.minsec", &Units::DDDMMSS},
    {"radians", &Units::Radians},
    {"gradians", &Units::Gradians},
    {"celsius", &Units::Celsius},
    {"fahrenheit", &Units::Fahrenheit},
    {"seconds", &Units::Seconds},
    {"percent", &Units::Percent},
    {"mph", &Units::MilesPerHour},
    {"f/s", &Units::FeetPerSecond},
    // The catalogue's own names of these two, so that a stored speed reads back.
    {"feet per secons", &Units::FeetPerSecond},
    {"meters per second", &Units::MetersPerSecond},
    {"rpm", &Units::RotationsPerMinute},
};

// The longest spelling, in bytes: a longer text is no spelling.
constexpr unsigned int max_spelling_size = 23;

Dictionary<StringView, UnitFunction> const & SpellingTable() {
    static Dictionary<StringView, UnitFunction> const * const table = [] {
        auto * made = new Dictionary<StringView, UnitFunction>();
        made->reserve(sizeof(spellings) / sizeof(spellings[0]));
        for (Spelling const & spelling : spellings) {
            made->insert(StringView(spelling.text), spelling.unit);
        }
        return made;
    }();
    return *table;
}

// The text of an abbreviation or name in the current language. Every abbreviation a unit hands
// out is a mutable member, so filling its cache is allowed.
StringView Shown(TranslatedString const & text) {
    return const_cast<TranslatedString &>(text).translation();
}

constexpr char degree_sign[] = "°";

// A quarter and half a turn in index units.
constexpr double quarter_turn_index = 16384.0;
constexpr double half_turn_index = 32768.0;

// The length `found` in the axis order of the coordinate unit `present`: "NEH:..." gives
// northing, easting and elevation. Easting, northing and elevation also where no known order is
// in force.
ConstPointer<Unit> InOrderOf(ConstPointer<Unit> const & present, ConstPointer<Unit> const & found) {
    StringView const name = present == nullptr ? StringView() : present->name().view();
    unsigned int const colon = name.indexOf(':');
    StringView const order = colon == StringView::not_found ? name : name.substr(0, colon);
    switch (order.hash()) {
    case UnitNames::Hash("NEH"):
        return Units::NorthingEastingElevation(found);
    case UnitNames::Hash("WSH"):
        return Units::WestingSouthingElevation(found);
    case UnitNames::Hash("XYZ"):
        return Units::XYZ(found);
    case UnitNames::Hash("YXZ"):
        return Units::YXZ(found);
    default:
        return Units::EastingNorthingElevation(found);
    }
}

bool IsOneOf(StringView const & text, std::initializer_list<char const *> words) {
    for (char const * word : words) {
        if (text.isSameNoCase(StringView(word))) {
            return true;
        }
    }
    return false;
}

// The unit word of a column label: what the last bracket holds ("Easting (ft)", "Dist [m]"), else
// the last word ("Angle DMS"); empty when the label is that word already.
StringView LabelWord(StringView const & label) {
    unsigned int open = StringView::not_found;
    for (unsigned int i = label.size(); i > 0; --i) {
        if (label[i - 1] == '(' || label[i - 1] == '[') {
            open = i - 1;
            break;
        }
    }
    if (open != StringView::not_found) {
        unsigned int end = open + 1;
        while (end < label.size() && label[end] != ')' && label[end] != ']') {
            ++end;
        }
        return label.substr(open + 1, end);
    }
    unsigned int start = label.size();
    while (start > 0 && !StringView::IsWhiteSpace(label[start - 1]) && label[start - 1] != '_') {
        --start;
    }
    return start == 0 ? StringView() : label.substr(start);
}

} // namespace

ConstPointer<Unit> UnitManager::spelledUnit(StringView const & text) const {
    if (text.size() > max_spelling_size) {
        return nullptr;
    }
    char lower[max_spelling_size];
    for (unsigned int i = 0; i < text.size(); ++i) {
        lower[i] = StringView::ToLowerASCII(text[i]);
    }
    Dictionary<StringView, UnitFunction> const & table = SpellingTable();
    auto const found = table.find(StringView(lower, text.size()));
    return found != table.end() ? found->value()() : nullptr;
}

ConstPointer<Unit> UnitManager::unit(StringView const & text) const {
    if (!option_map_.isEmpty()) {
        auto const found = option_map_.find(text);
        if (found != option_map_.end()) {
            return found->value()->unit();
        }
    }
    if (ConstPointer<Unit> spelled = spelledUnit(text)) {
        return spelled;
    }
    unsigned int const pieces = text.count(':') + 1;
    if (pieces != 2 && pieces != 3 && pieces != 5) {
        return nullptr;
    }
    StringView piece[5];
    unsigned int start = 0;
    for (unsigned int i = 0; i < pieces; ++i) {
        unsigned int end = i + 1 < pieces ? text.indexOf(':', start) : text.size();
        piece[i] = text.substr(start, end);
        start = end + 1;
    }
    if (pieces == 2) {
        // The second piece has no ':', so this goes one level deep at most.
        ConstPointer<Unit> const base = unit(piece[1]);
        if (base == nullptr) {
            return nullptr;
        }
        StringView const wrapper = piece[0];
        switch (wrapper.hashUpper()) {
        case UnitNames::Hash("XYZ"):
            return wrapper.isSameNoCase("XYZ") ? Units::XYZ(base) : nullptr;
        case UnitNames::Hash("YXZ"):
            return wrapper.isSameNoCase("YXZ") ? Units::YXZ(base) : nullptr;
        case UnitNames::Hash("NEH"):
            return wrapper.isSameNoCase("NEH") ? Units::NorthingEastingElevation(base) : nullptr;
        case UnitNames::Hash("ENH"):
            return wrapper.isSameNoCase("ENH") ? Units::EastingNorthingElevation(base) : nullptr;
        case UnitNames::Hash("WSH"):
            return wrapper.isSameNoCase("WSH") ? Units::WestingSouthingElevation(base) : nullptr;
        case UnitNames::Hash("NHE"):
            return wrapper.isSameNoCase("NHE") ? Units::NorthingElevationEasting(base) : nullptr;
        case UnitNames::Hash("EHN"):
            return wrapper.isSameNoCase("EHN") ? Units::EastingElevationNorthing(base) : nullptr;
        case UnitNames::Hash("WHS"):
            return wrapper.isSameNoCase("WHS") ? Units::WestingElevationSouthing(base) : nullptr;
        case UnitNames::Hash("LATLONALT"):
            return wrapper.isSameNoCase("LATLONALT") ? Units::LatLonAlt(*base) : nullptr;
        default:
            return nullptr;
        }
    }
    ConstPointer<Unit> const angle = unit(piece[2]);
    if (angle == nullptr || piece[0].size() != 1) {
        return nullptr;
    }
    // Anything but "CW" is counter-clockwise.
    bool const clockwise = piece[1] == StringView("CW");
    ConstPointer<Unit> compass;
    switch (StringView::ToUpperASCII(piece[0][0])) {
    case 'N':
        compass = Units::NorthOrientation(*angle, clockwise);
        break;
    case 'E':
        compass = Units::EastOrientation(*angle, clockwise);
        break;
    case 'S':
        compass = Units::SouthOrientation(*angle, clockwise);
        break;
    case 'W':
        compass = Units::WestOrientation(*angle, clockwise);
        break;
    default:
        return nullptr;
    }
    if (compass == nullptr) {
        return nullptr;
    }
    if (pieces == 3) {
        return Units::AppendInclinationOrientation(*compass, Angle<double>(quarter_turn_index), true);
    }
    double degrees = 0.0;
    StringStream<double>::fromString(piece[3], degrees);
    return Units::AppendInclinationOrientation(*compass, Angle<double>(degrees / 180.0 * half_turn_index),
                                               piece[4] == StringView("UP"));
}

ConstPointer<Unit> UnitManager::parseUnit(StringView const & text, UnitCategory category) const {
    Buffer<String> parts;
    unsigned int i = 0;
    unsigned int const size = text.size();
    while (i < size) {
        char const c = text[i];
        if (StringView::IsDigit(c) || c == '.' || c == ',') {
            ++i;
            continue;
        }
        // More than three parts name nothing: the fourth is enough to know.
        if (parts.size() > 3) {
            break;
        }
        unsigned int start = i;
        while (i < size && (text[i] == ' ' || text[i] == '\t' || text[i] == '\r')) {
            start = ++i;
        }
        while (i < size && !StringView::IsDigit(text[i]) && text[i] != ' ' && text[i] != '\t' && text[i] != '\r') {
            ++i;
        }
        if (i > start) {
            parts.add(String(text.substr(start, i)));
        }
    }
    return determineUnit(parts, category);
}

ConstPointer<Unit> UnitManager::Matching(UnitOptionList const & options, StringView const & part) {
    ConstPointer<Unit> found;
    for (ConstPointer<UnitOption> const & option : options) {
        ConstPointer<Unit> unit = option->unit();
        if (unit == nullptr) {
            continue;
        }
        TranslatedString name = unit->translatedName();
        if (Shown(unit->abbreviation(0)).isSameNoCase(part) || name.translation().isSameNoCase(part)) {
            found = std::move(unit); // a later match replaces an earlier one
        }
    }
    return found;
}

ConstPointer<Unit> UnitManager::singlePartUnit(StringView const & part, UnitCategory category) const {
    bool const any = category == UnitCategory::UNDEFINED;
    if (any || category == UnitCategory::DISTANCE || category == UnitCategory::COORDINATE) {
        ConstPointer<Unit> found = IsOneOf(part, {"ft", "foot"}) ? Units::Feet() : Matching(distance_options_, part);
        if (found != nullptr) {
            return category == UnitCategory::COORDINATE ? InOrderOf(coordinate_.value(), found) : found;
        }
    }
    if (any || category == UnitCategory::ANGLE || category == UnitCategory::ORIENTATION) {
        if (part == StringView(degree_sign) || IsOneOf(part, {"deg", "degree", "degrees"})) {
            return Units::Degrees();
        }
        if (ConstPointer<Unit> found = Matching(angle_options_, part)) {
            return found;
        }
    }
    if (any || category == UnitCategory::LATLON) {
        if (IsOneOf(part, {"deg", "degree", "degrees", "decimal degrees"})) {
            return Units::LatLonAlt(*Units::Degrees());
        }
        if (ConstPointer<Unit> found = Matching(lat_lon_options_, part)) {
            return found;
        }
    }
    return nullptr;
}

ConstPointer<Unit> UnitManager::determineUnit(Buffer<String> const & parts, UnitCategory category) const {
    if (parts.isEmpty() || parts.size() > 3) {
        return nullptr;
    }
    StringView const degrees = Shown(Units::Degrees()->abbreviation(0));
    StringView const feet = Shown(Units::Feet()->abbreviation(0));
    StringView const inches = Shown(Units::Inches()->abbreviation(0));
    if (parts.size() == 3) {
        bool const dms = parts[0] == degrees && parts[1] == feet && parts[2] == inches;
        return dms ? Units::DegreesMinutesSeconds() : nullptr;
    }
    if (parts.size() == 2) {
        if (parts[0] == feet && parts[1] == inches) {
            return Units::FeetInches();
        }
        if (parts[0] == degrees && parts[1] == feet) {
            return Units::DegreesMinutes();
        }
        return nullptr;
    }
    StringView const part = parts[0].view();
    if (ConstPointer<Unit> found = singlePartUnit(part, category)) {
        return found;
    }
    // A column label: its unit word, by the same rules or as a stored name.
    StringView const word = LabelWord(part);
    if (word.isEmpty()) {
        return nullptr;
    }
    if (ConstPointer<Unit> found = singlePartUnit(word, category)) {
        return found;
    }
    ConstPointer<Unit> named = unit(word);
    if (named == nullptr || category == UnitCategory::UNDEFINED) {
        return named;
    }
    if (category == UnitCategory::COORDINATE) {
        return ActiveOption(distance_options_, named) != nullptr ? InOrderOf(coordinate_.value(), named) : nullptr;
    }
    UnitOptionList const * options = optionsOf(category);
    return options != nullptr && ActiveOption(*options, named) != nullptr ? named : nullptr;
}

} // namespace QELTA
