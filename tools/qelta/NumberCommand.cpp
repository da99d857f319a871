// qelta number: numbers that are already text, shown with decimals, digits and grouping.
#include "tools/qelta/Command.h"

#include "Base/Text/String.h"
#include "Base/Text/StringStream.h"

#include <cstdio>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "number";

int RunNumber(Arguments arguments) {
    char const * text = nullptr;
    unsigned int decimals = 0;
    unsigned int min_digits = 0;
    bool have_decimals = false;
    bool comma = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view const argument(arguments[i]);
        if (argument == "--comma") {
            comma = true;
        } else if (argument == "--decimals" || argument == "--min-digits") {
            unsigned int & target = argument == "--decimals" ? decimals : min_digits;
            if (i + 1 == arguments.size() || !ReadCount(arguments[i + 1], 0, 999999999, target)) {
                return UsageError(command_name, "--decimals and --min-digits need a whole number");
            }
            have_decimals = have_decimals || argument == "--decimals";
            ++i;
        } else if (text == nullptr) {
            text = arguments[i];
        } else {
            return UsageError(command_name, "takes one TEXT");
        }
    }
    if (text == nullptr || !have_decimals) {
        return UsageError(command_name, "needs a TEXT and --decimals N");
    }
    String shown(text);
    shown.formatNumberString(comma, decimals, decimals, min_digits, '.', ',');
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

Command const number_command = {
    "number",
    "numbers that are already text, shown with decimals, digits and grouping",
    "usage: qelta number TEXT --decimals N [--comma] [--min-digits N]\n\n"
    "Rounds TEXT on its decimal digits (half away from zero) to N decimals, pads the integer part\n"
    "with zeros to --min-digits digits, and groups it by three with --comma. TEXT may already be\n"
    "grouped. A negative exponent shows as 0; a positive one appends zeros to the integer digits.\n"
    "Failures print NaN, Inf, BIG (more than 63 integer digits) or SMALL.\n",
    RunNumber,
};

} // namespace QELTA::Tool
