// qelta units: the unit catalogue by category, and how a person names a unit of it.
#include "tools/qelta/Command.h"

#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/AngleUnit.h"
#include "Base/Units/TwoPartUnit.h"
#include "Base/Units/UnitCategory.h"
#include "Base/Units/UnitDefinitions.h"
#include "Base/Units/UnitManager.h"

#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

// Short names that the catalogue has no name for.
struct ShortName {
    char const * text;
    char const * function;
};
constexpr ShortName short_names[] = {{"dms", "DegreesMinutesSeconds"}, {"ft-in", "FeetInches"}};

// What one base unit of each category is, for the heading of its list.
struct CategoryBase {
    UnitCategory category;
    char const * base;
};
constexpr CategoryBase category_bases[] = {
    {UnitCategory::DISTANCE, "per metre"},
    {UnitCategory::SURFACE_AREA, "per square metre"},
    {UnitCategory::VOLUME, "per cubic metre"},
    {UnitCategory::WEIGHT, "per gram"},
    {UnitCategory::SPEED, "per metre per second"},
    {UnitCategory::ROTATIONAL_SPEED, "per turn per second"},
    {UnitCategory::TIME, "per second"},
    {UnitCategory::ANGLE, "per index unit, 65536 to the turn"},
    {UnitCategory::RATIO, "per whole"},
    {UnitCategory::UNDEFINED, "per degree Celsius, hertz, volt or pixel"},
};

std::string Text(TranslatedString const & text) {
    return text.englishDefine().c_str();
}

std::string Text(StringView const & text) {
    return std::string(text);
}

std::string CategoryName(UnitCategory category) {
    StringAllocatingView name;
    StringStream<UnitCategory>::toString(category, name);
    return Text(name.view());
}

// The text padded with blanks to `width` characters (not bytes: "m²" is two).
std::string Padded(std::string text, std::size_t width) {
    std::size_t characters = 0;
    for (char const c : text) {
        characters += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
    }
    if (characters < width) {
        text.append(width - characters, ' ');
    }
    return text;
}

void PrintHeading(UnitCategory category, unsigned int count) {
    char const * base = "";
    for (CategoryBase const & row : category_bases) {
        if (row.category == category) {
            base = row.base;
        }
    }
    std::printf("%s: %u units, factors %s\n", CategoryName(category).c_str(), count, base);
}

// The shortest text that reads back as the same double, as published tables write factors.
std::string Shortest(double value) {
    char digits[32];
    return std::string(digits, std::to_chars(digits, digits + sizeof(digits), value).ptr);
}

void PrintEntry(UnitDefinitions::Entry const & entry) {
    Unit const & unit = *entry.unit();
    std::string factor = Shortest(unit.matrix()(0, 0));
    if (auto const * offset = dynamic_cast<ScaledOffsetUnit const *>(&unit)) {
        factor += " + " + Shortest(offset->offset());
    }
    std::string name = Text(unit.name().view());
    std::string const label = Text(unit.translatedName());
    if (label != name) {
        name += " (" + label + ")";
    }
    std::printf("  %s %s %s %s\n", Padded(name, 48).c_str(), Padded(UnitAbbreviations(unit), 9).c_str(),
                Padded(factor, 24).c_str(), entry.function);
}

struct UnitsArguments {
    std::string category;
    CLI::Option const * category_option = nullptr;
    CLI::App const * units = nullptr;
    std::string set_category;
    std::string set_name;
    std::string detect_category;
    std::vector<std::string> labels;
};

// The categories that have a unit in force, in the order they are shown.
constexpr UnitCategory current_categories[] = {
    UnitCategory::DISTANCE,    UnitCategory::COORDINATE, UnitCategory::SURFACE_AREA,
    UnitCategory::VOLUME,      UnitCategory::WEIGHT,     UnitCategory::ANGLE,
    UnitCategory::ORIENTATION, UnitCategory::LATLON,     UnitCategory::TIME};

std::string CurrentCategoryNames() {
    std::string names;
    for (UnitCategory category : current_categories) {
        names += (names.empty() ? "" : ", ") + CategoryName(category);
    }
    return names;
}

// The category typed, in any case, among those with a unit in force.
bool ReadCurrentCategory(std::string const & text, UnitCategory & category) {
    for (UnitCategory candidate : current_categories) {
        if (StringView(text).isSameNoCase(StringView(CategoryName(candidate)))) {
            category = candidate;
            return true;
        }
    }
    return false;
}

void PrintCurrent(char const * label, ConstPointer<Unit> const & unit) {
    if (unit == nullptr) {
        std::printf("  %s -\n", Padded(label, 13).c_str());
        return;
    }
    std::printf("  %s %s %s\n", Padded(label, 13).c_str(), Padded(Text(unit->name().view()), 36).c_str(),
                UnitAbbreviations(*unit).c_str());
}

int RunCurrent() {
    UnitManager & manager = CurrentUnits();
    std::printf("Units in force (%s):\n", NativePath(manager.defaultINIFile()).c_str());
    for (UnitCategory category : current_categories) {
        PrintCurrent(CategoryName(category).c_str(), manager.unit(category));
    }
    PrintCurrent("TEMPERATURE", manager.temperatureResource().value());
    return exit_ok;
}

int RunSet(UnitsArguments const & arguments) {
    UnitCategory category = UnitCategory::UNDEFINED;
    ReadCurrentCategory(arguments.set_category, category);
    UnitManager & manager = CurrentUnits();
    ConstPointer<Unit> const unit = manager.unit(StringView(arguments.set_name));
    if (unit == nullptr) {
        std::fflush(stdout);
        std::fprintf(stderr,
                     "qelta units set: '%s' names no unit that settings can keep; try a name such as 'feet',\n"
                     "'square meters', 'degrees minutes seconds' or 'NEH:feet'\n",
                     arguments.set_name.c_str());
        return exit_failure;
    }
    ConstPointer<Unit> const before = manager.unit(category);
    manager.setUnit(category, unit);
    if (!manager.saveINIOptions(false)) {
        std::fflush(stdout);
        std::fprintf(stderr, "qelta units set: %s could not be written\n",
                     NativePath(manager.defaultINIFile()).c_str());
        return exit_failure;
    }
    std::printf("%s: %s -> %s (saved in %s)\n", CategoryName(category).c_str(),
                before == nullptr ? "-" : before->name().c_str(), unit->name().c_str(),
                NativePath(manager.defaultINIFile()).c_str());
    return exit_ok;
}

int RunDetect(UnitsArguments const & arguments) {
    UnitCategory category = UnitCategory::UNDEFINED;
    if (!arguments.detect_category.empty()) {
        ReadCurrentCategory(arguments.detect_category, category);
    }
    UnitManager & manager = CurrentUnits();
    int code = exit_ok;
    for (std::string const & label : arguments.labels) {
        StringView const text(label);
        ConstPointer<Unit> unit = manager.parseUnit(text, category);
        if (unit == nullptr) {
            unit = manager.determineUnit(Buffer<String>{String(text)}, category);
        }
        std::printf("%s\t%s\n", label.c_str(), unit == nullptr ? "-" : unit->name().c_str());
        code = unit == nullptr ? exit_failure : code;
    }
    return code;
}

// The category typed, in any case; false for a name that no unit of the catalogue has.
bool ReadCategory(std::string const & text, UnitCategory & category) {
    std::string upper = text;
    for (char & c : upper) {
        c = StringView::ToUpperASCII(c);
    }
    StringStream<UnitCategory>::fromString(StringView(upper), category);
    if (CategoryName(category) != upper) {
        return false;
    }
    for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
        if (entry.category == category) {
            return true;
        }
    }
    return false;
}

std::string CategoryNames() {
    std::string names;
    for (CategoryBase const & row : category_bases) {
        names += (names.empty() ? "" : ", ") + CategoryName(row.category);
    }
    return names;
}

int RunUnits(UnitsArguments const & arguments) {
    if (!arguments.units->get_subcommands().empty()) {
        return exit_ok; // a verb did the work
    }
    bool const one = arguments.category_option->count() != 0;
    UnitCategory wanted = UnitCategory::UNDEFINED;
    if (one) {
        ReadCategory(arguments.category, wanted);
    }
    bool first = true;
    for (CategoryBase const & row : category_bases) {
        if (one && row.category != wanted) {
            continue;
        }
        std::vector<UnitDefinitions::Entry const *> entries;
        for (UnitDefinitions::Entry const & entry : UnitDefinitions::Catalogue()) {
            if (entry.category == row.category) {
                entries.push_back(&entry);
            }
        }
        std::printf("%s", first ? "" : "\n");
        first = false;
        PrintHeading(row.category, static_cast<unsigned int>(entries.size()));
        for (UnitDefinitions::Entry const * entry : entries) {
            PrintEntry(*entry);
        }
    }
    return exit_ok;
}

} // namespace

void DemoUnitManager() {
    std::puts("\n== Units in force");
    std::puts("Each kind of quantity has a unit in force that code watches. Switching the length from");
    std::puts("metric to imperial tells a listener once, and the choice is kept by the unit's name:");
    File settings = DemoFolder();
    settings.appendPath(StringView(UnitManager::settings_file_name));
    UnitManager manager(settings);
    manager.setToDefaultMetric(true);
    Resource<ConstPointer<Unit>> & distance = manager.unitResource(UnitCategory::DISTANCE);
    distance.addListener(new BasicResourceListener([&distance] {
                             std::printf("  listener: the length unit is now %s\n", distance.value()->name().c_str());
                         }),
                         true);
    std::printf("  distance %s, coordinates %s\n", manager.unit(UnitCategory::DISTANCE)->name().c_str(),
                manager.unit(UnitCategory::COORDINATE)->name().c_str());
    manager.setToDefaultImperial(true);
    std::printf("  distance %s, coordinates %s\n", manager.unit(UnitCategory::DISTANCE)->name().c_str(),
                manager.unit(UnitCategory::COORDINATE)->name().c_str());
    manager.saveINIOptions(false);
    UnitManager fresh(settings);
    fresh.readINIOptions();
    std::printf("  read back from %s: distance %s\n", UnitManager::settings_file_name,
                fresh.unit(UnitCategory::DISTANCE)->name().c_str());
    std::puts("Units are also found from what is written around values and in column labels:");
    for (char const * label : {"5'6\"", "12° 30' 15\"", "Easting (ft)", "Dist [m]", "Angle DMS"}) {
        ConstPointer<Unit> unit = fresh.parseUnit(StringView(label), UnitCategory::UNDEFINED);
        if (unit == nullptr) {
            unit = fresh.determineUnit(Buffer<String>{String(label)}, UnitCategory::UNDEFINED);
        }
        std::printf("  %-14s %s\n", label, unit == nullptr ? "-" : unit->name().c_str());
    }
}

UnitManager & CurrentUnits() {
    static UnitManager & manager = []() -> UnitManager & {
        UnitManager & made = UnitManager::DefaultManager();
        made.setToDefaultMetric(false);
        made.readINIOptions();
        return made;
    }();
    return manager;
}

std::string UnitAbbreviations(Unit const & unit) {
    std::string text = Text(unit.abbreviation(0));
    if (auto const * two = dynamic_cast<TwoPartUnit const *>(&unit)) {
        text += " " + Text(two->minorAbbreviation());
    } else if (auto const * two_angle = dynamic_cast<TwoPartAngleUnit const *>(&unit)) {
        text += " " + Text(two_angle->minorAbbreviation());
    } else if (auto const * three = dynamic_cast<ThreePartAngleUnit const *>(&unit)) {
        text += " " + Text(three->middleAbbreviation()) + " " + Text(three->minorAbbreviation());
    }
    return text;
}

UnitDefinitions::Entry const * FindCatalogueUnit(std::string const & text, std::string & error) {
    StringView const typed(text);
    std::span<UnitDefinitions::Entry const> const catalogue = UnitDefinitions::Catalogue();
    for (ShortName const & name : short_names) {
        if (typed.isSameNoCase(name.text)) {
            return FindCatalogueUnit(name.function, error);
        }
    }
    // By the function, then the name, then the label; names that repeat give the first unit.
    for (int pass = 0; pass < 3; ++pass) {
        for (UnitDefinitions::Entry const & entry : catalogue) {
            Unit const & unit = *entry.unit();
            std::string const label = Text(unit.translatedName());
            StringView const candidate = pass == 0   ? StringView(entry.function)
                                         : pass == 1 ? unit.name().view()
                                                     : StringView(label);
            if (typed.isSameNoCase(candidate)) {
                return &entry;
            }
        }
    }
    // An abbreviation, when only one unit has it.
    std::vector<UnitDefinitions::Entry const *> matches;
    for (UnitDefinitions::Entry const & entry : catalogue) {
        if (Text(entry.unit()->abbreviation(0)) == text) {
            matches.push_back(&entry);
        }
    }
    if (matches.size() == 1) {
        return matches.front();
    }
    if (matches.empty()) {
        error = "'" + text + "' is no unit of the catalogue; 'qelta units' lists them";
    } else {
        error = "'" + text + "' abbreviates";
        for (UnitDefinitions::Entry const * entry : matches) {
            error += (entry == matches.front() ? " " : ", ") + Text(entry->unit()->name().view());
        }
        error += "; give the name";
    }
    return nullptr;
}

void AddUnitsCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<UnitsArguments>();
    CLI::App & units = AddCommand(
        qelta, "units", "the unit catalogue: names, abbreviations and factors by category",
        "Lists every named unit of the catalogue, or those of CATEGORY, with its name (and its label when it\n"
        "differs), its abbreviations (all parts of a compound unit, such as ' \" for feet and inches), its\n"
        "factor (how many of the unit make one base unit; + the offset of a temperature) and the name of\n"
        "its function. Names, labels, function names and unambiguous abbreviations name a unit in\n"
        "'qelta convert', as do the short names 'dms' and 'ft-in'. Names are stored identities and kept\n"
        "as they are, misspellings included; where two units share a name, the first is meant.\n"
        "CATEGORY, in any case: " +
            CategoryNames(),
        [arguments] { return RunUnits(*arguments); });
    arguments->units = &units;
    AddCommand(units, "current", "the unit in force for each category, from the user's settings",
               "Prints the unit in force for each category that has one, with its name (the text kept in the\n"
               "settings file) and its abbreviations. Without a settings file the metric defaults are in\n"
               "force; 'qelta units set' changes one. The settings file is application_units.ini in the\n"
               "user's settings folder, named on the first line.",
               [] { return RunCurrent(); });
    CLI::App & set =
        AddCommand(units, "set", "changes the unit in force for a category and saves the choice",
                   "Sets the unit of CATEGORY to the unit NAME and saves all choices in the user's\n"
                   "application_units.ini, written whole through a temporary file. NAME is a name the settings\n"
                   "file can keep: a spelling such as feet, metre, us survey feet, square meters, dms,\n"
                   "degrees minutes seconds, an option such as US gallons, or a composed name: an axis order\n"
                   "and a length (ENH:feet, NEH:meters), LATLONALT:degrees, or a compass bearing\n"
                   "N:CW:decimal degrees[:90:UP]. A name that reads no unit changes nothing and exits 1.\n"
                   "CATEGORY, in any case: " +
                       CurrentCategoryNames() +
                       "\n"
                       "Example: qelta units set distance feet",
                   [arguments] { return RunSet(*arguments); });
    set.add_option("CATEGORY", arguments->set_category, "the kind of quantity")
        ->required()
        ->check(CLI::Validator(
            [](std::string & text) -> std::string {
                UnitCategory category = UnitCategory::UNDEFINED;
                return ReadCurrentCategory(text, category) ? std::string()
                                                           : "'" + text + "' is not one of " + CurrentCategoryNames();
            },
            "CATEGORY"));
    set.add_option("NAME", arguments->set_name, "the unit")->required();
    CLI::App & detect =
        AddCommand(units, "detect", "the unit that a value's suffixes or a column label names",
                   "For each LABEL prints the label, a tab and the name of the unit it names, or '-'. A value's\n"
                   "suffixes are read first (5'6\" is feet and inches, 12° 30' 15\" degrees, minutes and\n"
                   "seconds, 12.5 cm centimetres); a column label is read by the unit word in its last bracket or\n"
                   "its last word (\"Easting (ft)\", \"Dist [m]\", \"Angle DMS\"). --category narrows the search; a\n"
                   "COORDINATE length takes the axis order of the coordinate unit in force. Exits 1 when a label\n"
                   "names no unit.\n"
                   "Example: qelta units detect \"Easting (ft)\" \"Dist [m]\" \"Angle DMS\" --category distance",
                   [arguments] { return RunDetect(*arguments); });
    detect.add_option("LABEL", arguments->labels, "values or column labels")->required();
    detect.add_option("--category", arguments->detect_category, "the kind of quantity to look for")
        ->check(CLI::Validator(
            [](std::string & text) -> std::string {
                UnitCategory category = UnitCategory::UNDEFINED;
                return ReadCurrentCategory(text, category) ? std::string()
                                                           : "'" + text + "' is not one of " + CurrentCategoryNames();
            },
            "CATEGORY"));
    arguments->category_option =
        units
            .add_option_function<std::string>(
                "CATEGORY",
                [arguments](std::string const & text) {
                    UnitCategory category = UnitCategory::UNDEFINED;
                    if (!ReadCategory(text, category)) {
                        throw CLI::ValidationError("CATEGORY", "'" + text + "' is not one of " + CategoryNames());
                    }
                    arguments->category = text;
                },
                "the category to list")
            ->type_name("");
}

} // namespace QELTA::Tool
