// qelta: the command-line face of the library, one subcommand per capability.
#include "tools/qelta/Command.h"

#include "Base/Text/StringStream.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <string>

namespace QELTA::Tool {
namespace {

constexpr std::array<Command const *, 15> commands = {
    &demo_command,    &text_command,  &uuid_command,    &number_command,   &time_command,
    &log_command,     &angle_command, &convert_command, &resource_command, &file_command,
    &folders_command, &queue_command, &base64_command,  &password_command, &csv_command};

void PrintOverview(std::FILE * out) {
    std::fputs("usage: qelta <command> [arguments]\n\n"
               "Shows the QELTA Base library at work.\n\n"
               "commands:\n",
               out);
    for (Command const * command : commands) {
        std::fprintf(out, "  %-10.*s %.*s\n", static_cast<int>(command->name.size()), command->name.data(),
                     static_cast<int>(command->summary.size()), command->summary.data());
    }
    std::fputs("\nRun 'qelta <command> --help' for the arguments of one command.\n", out);
}

} // namespace

int UsageError(std::string_view command, std::string_view message) {
    std::fprintf(stderr, "qelta %.*s: %.*s\nRun 'qelta %.*s --help' for usage.\n", static_cast<int>(command.size()),
                 command.data(), static_cast<int>(message.size()), message.data(), static_cast<int>(command.size()),
                 command.data());
    return exit_usage;
}

int Failure(std::string_view command, Exception const & error) {
    String text = error.message().englishTranslation();
    if (text.isEmpty()) {
        text = error.title().englishTranslation();
    }
    std::fflush(stdout);
    std::fprintf(stderr, "qelta %.*s: %s\n", static_cast<int>(command.size()), command.data(), text.c_str());
    return exit_failure;
}

int RunVerb(std::string_view command, Arguments arguments, std::span<Verb const> verbs) {
    if (arguments.empty()) {
        return UsageError(command, "needs a verb");
    }
    std::string_view const name(arguments[0]);
    for (Verb const & verb : verbs) {
        if (verb.name == name) {
            return verb.run(arguments.subspan(1));
        }
    }
    return UsageError(command, "unknown verb");
}

bool ReadCount(char const * text, unsigned int min, unsigned int max, unsigned int & count) {
    std::string_view const digits(text);
    if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string_view::npos) {
        return false;
    }
    StringStream<unsigned int>::fromString(StringView(text), count);
    return count >= min && count <= max;
}

bool ReadNumber(char const * text, double & value) {
    StringStream<double>::fromString(StringView(text), value);
    return !std::isnan(value);
}

String NumberText(double value) {
    StringAllocatingView out;
    StringStream<double>::toString(value, out);
    return String(out.view());
}

bool WantsHelp(Arguments arguments) {
    for (char const * argument : arguments) {
        std::string_view const text(argument);
        if (text == "--help" || text == "-h") {
            return true;
        }
    }
    return false;
}

} // namespace QELTA::Tool

int main(int argc, char ** argv) {
    using namespace QELTA::Tool;
    if (argc < 2) {
        PrintOverview(stderr);
        return exit_usage;
    }
    std::string_view const name(argv[1]);
    if (name == "--help" || name == "-h" || name == "help") {
        PrintOverview(stdout);
        return exit_ok;
    }
    for (Command const * command : commands) {
        if (command->name == name) {
            Arguments const arguments(argv + 2, static_cast<std::size_t>(argc - 2));
            if (WantsHelp(arguments)) {
                std::fwrite(command->help.data(), 1, command->help.size(), stdout);
                return exit_ok;
            }
            return command->run(arguments);
        }
    }
    std::fprintf(stderr, "qelta: unknown command '%s'\n\n", argv[1]);
    PrintOverview(stderr);
    return exit_usage;
}
