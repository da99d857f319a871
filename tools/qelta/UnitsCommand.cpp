// qelta units: the unit catalogue by category, and how a person names a unit of it.
#include "tools/qelta/Command.h"

#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/AngleUnit.h"
#include "Base/Units/TwoPartUnit.h"
#include "Base/Units/UnitCategory.h"
#include "Base/Units/UnitDefinitions.h"

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
};

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
