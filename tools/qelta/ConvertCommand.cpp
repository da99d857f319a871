// qelta convert: a value from one unit of the catalogue to another, compound texts included, or
// a base value shown in a unit made on the spot from a factor.
#include "tools/qelta/Command.h"

#include "Base/Geometry/Angle.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/AngleUnit.h"
#include "Base/Units/TwoPartUnit.h"
#include "Base/Units/Unit.h"
#include "Base/Units/UnitDefinitions.h"
#include "Base/Units/UnitManager.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

constexpr char unit_name[] = "command_line_unit";
constexpr char unit_label[] = "Command Line Unit";
constexpr unsigned int factor_decimals = 2;
constexpr unsigned int catalogue_decimals = 4;

void PrintRow(std::string const & label, StringView const & value) {
    std::printf("%-18s %.*s\n", label.c_str(), static_cast<int>(value.size()), value.data());
}

std::string Text(StringView const & text) {
    return std::string(text);
}

// The base value in the unit, the text read back into the base scale, and a round step.
void Show(Unit const & unit, double base, unsigned int decimals) {
    String const shown = unit.convertToString(base, false, 0, decimals, 0, true, 0);
    PrintRow("base value", NumberText(base));
    PrintRow("in the unit", shown);
    PrintRow("text read back", NumberText(unit.convertFromString(shown, 0)));
    PrintRow("exact round trip", NumberText(unit.convertFromUnit(unit.convertToUnit(base, 0), 0)));
    PrintRow("step near value", NumberText(unit.epsilon(base, 0)));
}

// The abbreviations of the parts after the first, which only a compound text holds.
std::string PartAbbreviations(Unit const & unit) {
    std::string const all = UnitAbbreviations(unit);
    std::size_t const blank = all.find(' ');
    return blank == std::string::npos ? std::string() : all.substr(blank + 1);
}

// The unit that reads `value` typed in `from`: `from` itself, or the compound unit of the same
// factor and category whose part abbreviations the text holds most of ("5'6"" typed in feet is
// read as feet and inches, "12°30'15"" in degrees as degrees, minutes and seconds).
Unit const & Reader(UnitDefinitions::Entry const & from, std::string const & value) {
    Unit const * reader = from.unit().get();
    unsigned int best = 0;
    for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
        Unit const & other = *entry.unit();
        if (entry.category != from.category || !(other.matrix() == reader->matrix()) ||
            dynamic_cast<DDMMSSAngleUnit const *>(&other) != nullptr) {
            continue;
        }
        std::string const parts = PartAbbreviations(other);
        unsigned int found = 0;
        for (std::size_t start = 0; start < parts.size();) {
            std::size_t const blank = parts.find(' ', start);
            std::size_t const end = blank == std::string::npos ? parts.size() : blank;
            found += value.find(parts.substr(start, end - start)) != std::string::npos ? 1 : 0;
            start = end + 1;
        }
        if (found > best) {
            best = found;
            reader = &other;
        }
    }
    return *reader;
}

std::string Describe(UnitDefinitions::Entry const & entry) {
    return Text(entry.unit()->name().view());
}

struct ConvertArguments {
    std::string value;
    std::string from;
    std::string to;
    double factor = 0.0;
    double offset = 0.0;
    unsigned int decimals = 0;
    std::string abbreviation;
    UnitDefinitions::Entry const * from_unit = nullptr;
    UnitDefinitions::Entry const * to_unit = nullptr;
    CLI::Option const * factor_option = nullptr;
    CLI::Option const * offset_option = nullptr; // a unit without --offset has no offset at all
    CLI::Option const * decimals_option = nullptr;
    CLI::Option const * from_option = nullptr;
    ConstPointer<Unit> detected; // the unit written in VALUE, when FROM is left out
};

// The unit that the suffixes of `value` name: as the unit manager reads them, else the text
// behind the number as a unit name or abbreviation ("12.5 kg").
ConstPointer<Unit> DetectedUnit(std::string const & value, UnitCategory category) {
    UnitManager & manager = CurrentUnits();
    bool const read_by_manager = category == UnitCategory::DISTANCE || category == UnitCategory::ANGLE;
    if (ConstPointer<Unit> unit =
            manager.parseUnit(StringView(value), read_by_manager ? category : UnitCategory::UNDEFINED)) {
        return unit;
    }
    std::size_t start = value.find_first_not_of("+-0123456789.,eE \t");
    if (start == std::string::npos) {
        return nullptr;
    }
    std::string const suffix = value.substr(start);
    if (ConstPointer<Unit> unit = manager.unit(StringView(suffix))) {
        return unit;
    }
    std::string error;
    UnitDefinitions::Entry const * entry = FindCatalogueUnit(suffix, error);
    return entry != nullptr ? entry->unit() : nullptr;
}

// Checks the two forms of the command line once it is read; a wrong one is a usage error.
void CheckConvert(ConvertArguments & arguments) {
    if (arguments.factor_option->count() != 0) {
        if (arguments.from_option->count() != 0) {
            throw CLI::ValidationError("FROM", "a unit is given by --factor or by FROM and TO, not both");
        }
        double value = 0.0;
        StringStream<double>::fromString(StringView(arguments.value), value);
        if (std::isnan(value)) {
            throw CLI::ValidationError("VALUE", "'" + arguments.value + "' is not a number");
        }
        return;
    }
    if (arguments.from_option->count() == 0) {
        throw CLI::ValidationError("TO", "give the unit to show VALUE in, or a unit by --factor");
    }
    std::string error;
    if (arguments.to.empty()) {
        // VALUE TO: the unit is the one written in VALUE.
        arguments.to_unit = FindCatalogueUnit(arguments.from, error);
        if (arguments.to_unit == nullptr) {
            throw CLI::ValidationError("TO", error);
        }
        arguments.detected = DetectedUnit(arguments.value, arguments.to_unit->category);
        if (arguments.detected == nullptr) {
            throw CLI::ValidationError("VALUE",
                                       "'" + arguments.value + "' names no unit by its suffixes; give FROM before TO");
        }
        return;
    }
    arguments.from_unit = FindCatalogueUnit(arguments.from, error);
    if (arguments.from_unit == nullptr) {
        throw CLI::ValidationError("FROM", error);
    }
    arguments.to_unit = FindCatalogueUnit(arguments.to, error);
    if (arguments.to_unit == nullptr) {
        throw CLI::ValidationError("TO", error);
    }
    UnitCategory const from = arguments.from_unit->category;
    UnitCategory const to = arguments.to_unit->category;
    if (from != to && from != UnitCategory::UNDEFINED && to != UnitCategory::UNDEFINED) {
        throw CLI::ValidationError("TO", Describe(*arguments.from_unit) + " and " + Describe(*arguments.to_unit) +
                                             " measure different things");
    }
}

int RunFactorConvert(ConvertArguments const & arguments) {
    double value = 0.0;
    StringStream<double>::fromString(StringView(arguments.value), value);
    unsigned int const decimals = arguments.decimals_option->count() != 0 ? arguments.decimals : factor_decimals;
    TranslatedString const label = TranslatedString::DirectString(unit_label);
    TranslatedString const shown = TranslatedString::DirectString(StringView(arguments.abbreviation));
    if (arguments.offset_option->count() != 0) {
        Show(ScaledOffsetUnit(unit_name, label, shown, arguments.factor, arguments.offset), value, decimals);
    } else {
        Show(ScaledUnit(unit_name, label, shown, arguments.factor), value, decimals);
    }
    return exit_ok;
}

int RunConvert(ConvertArguments const & arguments) {
    if (arguments.factor_option->count() != 0) {
        return RunFactorConvert(arguments);
    }
    unsigned int const decimals = arguments.decimals_option->count() != 0 ? arguments.decimals : catalogue_decimals;
    Unit const & reader =
        arguments.detected != nullptr ? *arguments.detected : Reader(*arguments.from_unit, arguments.value);
    Unit const & to = *arguments.to_unit->unit();
    double const base = reader.convertFromString(StringView(arguments.value), 0);
    if (std::isnan(base)) {
        std::fflush(stdout);
        std::fprintf(stderr, "qelta convert: '%s' holds no number to read in %s\n", arguments.value.c_str(),
                     reader.name().c_str());
        return exit_failure;
    }
    String const shown = to.convertToString(base, false, 0, decimals, 0, true, 0);
    std::string const read = Text(NumberText(reader.fromString(arguments.value, 0)).view());
    PrintRow("read as", read + " (" + Text(reader.name().view()) + ")");
    PrintRow("base value", NumberText(base));
    PrintRow("in the unit", Text(shown.view()) + " (" + Text(to.name().view()) + ")");
    PrintRow("read back", NumberText(to.convertFromString(shown, 0)));
    return exit_ok;
}

} // namespace

void DemoConvert() {
    std::puts("\n== Units");
    std::puts("Values are stored in a base scale and shown in the user's unit, from the catalogue of units.");
    ConstPointer<Unit> const & feet_inches = UnitDefinitions::FeetInches();
    double const length = feet_inches->convertFromString("5'6\"", 0);
    std::printf("A length typed as 5'6\" in feet and inches is %s m, shown in metres as %s\n",
                NumberText(length).c_str(),
                UnitDefinitions::Meters()->convertToString(length, false, 0, 4, 0, true, 0).c_str());
    std::printf("and 1 m in feet and inches is %s.\n",
                feet_inches->convertToString(1.0, false, 0, 4, 0, true, 0).c_str());
    ConstPointer<Unit> const & dms = UnitDefinitions::DegreesMinutesSeconds();
    double const angle = UnitDefinitions::Degrees()->convertFromString("45.5125", 0);
    std::printf("An angle of 45.5125 degrees is %s index units, shown as %s, and packed as %s.\n",
                NumberText(angle).c_str(), dms->convertToString(angle, false, 0, 4, 0, true, 0).c_str(),
                UnitDefinitions::DDDMMSS()->convertToString(angle, false, 0, 4, 0, true, 0).c_str());
    std::printf("Seconds that round up carry: 359.99999997 degrees to whole seconds is %s.\n",
                dms->toString(359.99999997, false, 0, 4, 0, true, 0).c_str());
    // A heading is held counter-clockwise from north; a bearing reads clockwise.
    ConstPointer<Unit> const bearing = UnitDefinitions::NorthOrientation(*dms, true);
    double const heading = Angle<double>::FromDegrees(30.25).value;
    std::printf("A heading of 30.25 degrees to the left of north is the bearing %s (unit \"%s\").\n",
                bearing->convertToString(heading, false, 0, 4, 0, true, 2).c_str(), bearing->name().c_str());
    std::puts("A unit made of a factor and an offset: 100 degrees Celsius in Fahrenheit.");
    Show(*UnitDefinitions::Fahrenheit(), 100.0, 1);
    StringAllocatingView formula{StringView("2e3'*(1.5'-0.5)")};
    UnitDefinitions::Feet()->toFormula(formula, 0);
    std::printf("Typed \"2e3'*(1.5'-0.5)\" in feet becomes the formula \"%.*s\"\n", static_cast<int>(formula.size()),
                formula.data());
}

void AddConvertCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<ConvertArguments>();
    CLI::App & convert = AddCommand(
        qelta, "convert", "a value from one unit of the catalogue to another, or into a unit made of a factor",
        "With FROM and TO: VALUE is text in FROM, as a person types it (\"5'6\\\"\" in feet, \"12°30'15\\\"\" in\n"
        "degrees); a text with the part abbreviations of a compound unit of FROM's factor is read by that\n"
        "unit. Units are named as 'qelta units' lists them (\"feet\", \"hectares\", \"dms\"). Prints:\n"
        "  read as           the number read from VALUE, and the unit that read it\n"
        "  base value        the value in the base scale (metres, square metres, index units, ...)\n"
        "  in the unit       its text in TO, with at most N decimals (default 4) counted from the\n"
        "                    largest part of a compound unit, and TO's name\n"
        "  read back         that text read again into the base scale\n"
        "With --factor: a unit made on the spot, in which a value is the base value * F (+ O with\n"
        "--offset); VALUE is in the base scale and its leading number is read. Prints:\n"
        "  base value        VALUE as the library reads it\n"
        "  in the unit       its text in the unit, with at most N decimals (default 2), rounded on\n"
        "                    the decimal digits, followed by TEXT\n"
        "  text read back    that text read again and taken back to the base scale\n"
        "  exact round trip  the value taken to the unit and back without text\n"
        "  step near value   a round step (1, 2.5, 5 or 10 times a power of ten in the unit) of\n"
        "                    about the value's size, in the base scale; negative values step by 10\n"
        "With VALUE and TO alone, the unit is the one VALUE is written in, read from its suffixes as\n"
        "'qelta units detect' reads them (5'6\" feet and inches, 12° 30' 15\" degrees, minutes and\n"
        "seconds), else from the unit name or abbreviation behind the number (12.5 kg).\n"
        "Put -- before a VALUE that begins with '-'.\n"
        "Examples: qelta convert 5\\'6\\\" feet meters\n"
        "          qelta convert 5\\'6\\\" meters\n"
        "          qelta convert 12.5 acres hectares\n"
        "          qelta convert 45.5 degrees dms\n"
        "          qelta convert 1 --factor 3.280839895013123 --abbreviation ft",
        [arguments] { return RunConvert(*arguments); });
    convert.add_option("VALUE", arguments->value, "the value: text in FROM, or a base value")->required();
    arguments->from_option = convert.add_option("FROM", arguments->from, "the unit VALUE is typed in");
    convert.add_option("TO", arguments->to, "the unit to show it in");
    arguments->factor_option =
        AddNumber(convert, "--factor", arguments->factor, "the factor of a unit made on the spot")->type_name("F");
    arguments->offset_option =
        AddNumber(convert, "--offset", arguments->offset, "its offset")->type_name("O")->needs("--factor");
    arguments->decimals_option =
        AddCount(convert, "--decimals", arguments->decimals, 0, 999999999, "the most decimals shown");
    convert.add_option("--abbreviation", arguments->abbreviation, "the text shown behind a value in that unit")
        ->needs("--factor");
    convert.parse_complete_callback([arguments] { CheckConvert(*arguments); });
}

} // namespace QELTA::Tool
