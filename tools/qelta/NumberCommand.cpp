// qelta number: numbers that are already text, shown with decimals, digits and grouping.
#include "tools/qelta/Command.h"

#include "Base/Text/String.h"
#include "Base/Text/StringStream.h"

#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

struct NumberArguments {
    std::string text;
    unsigned int decimals = 0;
    unsigned int min_digits = 0;
    bool comma = false;
};

int RunNumber(NumberArguments const & arguments) {
    String shown(arguments.text);
    shown.formatNumberString(arguments.comma, arguments.decimals, arguments.decimals, arguments.min_digits, '.', ',');
    std::puts(shown.c_str());
    return exit_ok;
}

} // namespace

void DemoNumber() {
    std::puts("\n== Number text");
    struct Example {
        char const * text;
        unsigned int decimals;
    };
    Example const examples[] = {{"1234567.891", 2}, {"1.005", 2}, {"9.99", 1}, {"-0.001", 2}, {"0.5", 0}};
    std::puts("Numbers round on their decimal digits, so no binary error shows:");
    for (Example const & example : examples) {
        String shown(example.text);
        shown.formatNumberString(true, example.decimals);
        std::printf("  \"%s\" with %u decimals -> \"%s\"\n", example.text, example.decimals, shown.c_str());
    }
    std::printf("Column letters: 0 -> %s, 27 -> %s, 702 -> %s\n", String::ToAlphaString(0).c_str(),
                String::ToAlphaString(27).c_str(), String::ToAlphaString(702).c_str());
}

void AddNumberCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<NumberArguments>();
    CLI::App & number =
        AddCommand(qelta, "number", "numbers that are already text, shown with decimals, digits and grouping",
                   "Rounds TEXT on its decimal digits (half away from zero) to N decimals, pads the integer part\n"
                   "with zeros to --min-digits digits, and groups it by three with --comma. TEXT may already be\n"
                   "grouped. A negative exponent shows as 0; a positive one appends zeros to the integer digits.\n"
                   "Failures print NaN, Inf, BIG (more than 63 integer digits) or SMALL.",
                   [arguments] { return RunNumber(*arguments); });
    number.add_option("TEXT", arguments->text, "the number as text")->required();
    AddCount(number, "--decimals", arguments->decimals, 0, 999999999, "the decimals shown")->required();
    AddCount(number, "--min-digits", arguments->min_digits, 0, 999999999, "the least integer digits shown");
    number.add_flag("--comma", arguments->comma, "groups the integer digits by three with ','");
}

} // namespace QELTA::Tool
