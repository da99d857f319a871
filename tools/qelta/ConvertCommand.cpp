// qelta convert: a base value shown in a unit made on the spot, and read back from that text.
#include "tools/qelta/Command.h"

#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/Unit.h"

#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

constexpr char unit_name[] = "command_line_unit";
constexpr char unit_label[] = "Command Line Unit";

void PrintRow(char const * label, StringView const & value) {
    std::printf("%-18s %.*s\n", label, static_cast<int>(value.size()), value.data());
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

struct ConvertArguments {
    double value = 0.0;
    double factor = 0.0;
    double offset = 0.0;
    unsigned int decimals = 2;
    std::string abbreviation;
    CLI::Option const * offset_option = nullptr; // a unit without --offset has no offset at all
};

int RunConvert(ConvertArguments const & arguments) {
    TranslatedString const label = TranslatedString::DirectString(unit_label);
    TranslatedString const shown = TranslatedString::DirectString(StringView(arguments.abbreviation));
    if (arguments.offset_option->count() != 0) {
        Show(ScaledOffsetUnit(unit_name, label, shown, arguments.factor, arguments.offset), arguments.value,
             arguments.decimals);
    } else {
        Show(ScaledUnit(unit_name, label, shown, arguments.factor), arguments.value, arguments.decimals);
    }
    return exit_ok;
}

} // namespace

void DemoConvert() {
    std::puts("\n== Units");
    std::puts("Values are stored in a base scale and shown in the user's unit. One metre in feet:");
    ScaledUnit const feet("feet", TranslatedString::DirectString("Feet"), TranslatedString::DirectString("ft"),
                          3.280839895013123);
    Show(feet, 1.0, 2);
    std::puts("100 degrees Celsius in Fahrenheit (factor 1.8, offset 32):");
    ScaledOffsetUnit const fahrenheit("fahrenheit", TranslatedString::DirectString("Fahrenheit"),
                                      TranslatedString::DirectString("F"), 1.8, 32.0);
    Show(fahrenheit, 100.0, 1);
    StringAllocatingView formula{StringView("2e3ft*(1.5ft-0.5)")};
    feet.toFormula(formula, 0);
    std::printf("Typed \"2e3ft*(1.5ft-0.5)\" becomes the formula \"%.*s\"\n", static_cast<int>(formula.size()),
                formula.data());
}

void AddConvertCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<ConvertArguments>();
    CLI::App & convert =
        AddCommand(qelta, "convert", "a base value shown in a unit made of a factor and an offset, and read back",
                   "Makes a unit on the spot: a value in the unit is the base value * F (+ O with --offset).\n"
                   "VALUE is in the base scale (metres, degrees Celsius, ...); its leading number is read.\n"
                   "Prints:\n"
                   "  base value        VALUE as the library reads it\n"
                   "  in the unit       its text in the unit, with at most N decimals (default 2), rounded on\n"
                   "                    the decimal digits, followed by TEXT\n"
                   "  text read back    that text read again and taken back to the base scale\n"
                   "  exact round trip  the value taken to the unit and back without text\n"
                   "  step near value   a round step (1, 2.5, 5 or 10 times a power of ten in the unit) of\n"
                   "                    about the value's size, in the base scale; negative values step by 10\n"
                   "Example: qelta convert 1 --factor 3.280839895013123 --abbreviation ft",
                   [arguments] { return RunConvert(*arguments); });
    AddNumber(convert, "VALUE", arguments->value, "the value in the base scale")->required();
    AddNumber(convert, "--factor", arguments->factor, "the unit's factor")->type_name("F")->required();
    arguments->offset_option = AddNumber(convert, "--offset", arguments->offset, "the unit's offset")->type_name("O");
    AddCount(convert, "--decimals", arguments->decimals, 0, 999999999, "the most decimals shown (default 2)");
    convert.add_option("--abbreviation", arguments->abbreviation, "the text shown behind the value");
}

} // namespace QELTA::Tool
