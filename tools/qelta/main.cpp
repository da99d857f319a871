// qelta: the command-line face of the library, one subcommand per capability.
#include "tools/qelta/Command.h"

#include "Base/Text/StringStream.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

// The commands in the order `qelta --help` lists them.
constexpr void (*const add_commands[])(CLI::App &) = {
    AddDemoCommand,     AddTextCommand,      AddUuidCommand,        AddNumberCommand,   AddTimeCommand,
    AddLogCommand,      AddAngleCommand,     AddConvertCommand,     AddUnitsCommand,    AddCalcCommand,
    AddResourceCommand, AddFileCommand,      AddFoldersCommand,     AddQueueCommand,    AddBase64Command,
    AddPasswordCommand, AddCsvCommand,       AddIniCommand,         AddJsonCommand,     AddYamlCommand,
    AddValidateCommand, AddTranslateCommand, AddBinaryCommand,      AddArchiveCommands, AddDbfCommand,
    AddModulesCommand,  AddColourCommand,    AddCrashReportCommand, AddFormulasCommand, AddKeyCommand,
    AddFontCommand,     AddFitCommand,       AddHostCommands,
};

// The slots in which the library's messages name paths, filled with its own form of the path
// (see File.h, FileException.h and ModuleManager.h).
constexpr char const * path_slots[] = {"[file_name]", "[file]", "[file_a]", "[file_b]", "[library]"};

bool ReadCount(std::string const & digits, unsigned int min, unsigned int max, unsigned int & count) {
    if (digits.empty() || digits.size() > 9 || digits.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    StringStream<unsigned int>::fromString(StringView(digits), count);
    return count >= min && count <= max;
}

// Help, the exit code of an action, or a usage error naming the command, as far as the command
// line was read.
int Exit(CLI::App & qelta, CLI::ParseError const & error) {
    if (error.get_exit_code() == exit_ok || dynamic_cast<CLI::RuntimeError const *>(&error) != nullptr) {
        return qelta.exit(error);
    }
    CLI::App const * command = &qelta;
    std::string path = qelta.get_name();
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().back();
        path += ' ' + command->get_name();
    }
    std::string message = error.what();
    std::vector<std::string> const unread = command->remaining();
    if (command->get_require_subcommand_min() != 0 && !unread.empty()) {
        message = "unknown command '" + unread.front() + "'";
    }
    std::fprintf(stderr, "%s: %s\nRun '%s --help' for usage.\n", path.c_str(), message.c_str(), path.c_str());
    return exit_usage;
}

} // namespace

CLI::App & AddCommand(CLI::App & parent, std::string const & name, std::string const & summary,
                      std::string const & help, Action action) {
    CLI::App & command = *parent.add_subcommand(name, summary);
    command.footer(help);
    if (action) {
        // An action's exit code leaves CLI11's parse as the error that carries one quietly.
        command.callback([action = std::move(action)] {
            if (int const code = action(); code != exit_ok) {
                throw CLI::RuntimeError(code);
            }
        });
    } else {
        command.require_subcommand(1);
    }
    return command;
}

int Failure(std::string_view command, Exception const & error) {
    String text = NativeEnglish(error.message());
    if (text.isEmpty()) {
        text = NativeEnglish(error.title());
    }
    std::fflush(stdout);
    std::fprintf(stderr, "qelta %.*s: %s\n", static_cast<int>(command.size()), command.data(), text.c_str());
    return exit_failure;
}

String NativeEnglish(TranslatedString text) {
    for (char const * slot : path_slots) {
        String path(slot);
        text.replaceVals(path); // the slot's value; the key itself when the text has no such slot
        if (path.view() != StringView(slot)) {
            text.replace(StringView(slot), TranslatedString::DirectString(NativePath(path.view())));
        }
    }
    return text.englishTranslation();
}

File FromNativePath(std::string_view path) {
    File file;
    file.setFromDisplayString(StringView(path));
    return file;
}

String NativePath(StringView const & path) {
    String native(path);
    for (unsigned int i = 0; i < native.size(); ++i) {
        if (native[i] == '\\') {
            native[i] = '/';
        }
    }
    return native;
}

String NativePath(File const & file) {
    return NativePath(file.toDisplayString().view());
}

CLI::Option * AddCount(CLI::App & command, std::string const & name, unsigned int & value, unsigned int min,
                       unsigned int max, std::string const & description) {
    auto const read = [&value, name, min, max](std::string const & text) {
        if (!ReadCount(text, min, max, value)) {
            throw CLI::ValidationError(name, "'" + text + "' is not a whole number from " + std::to_string(min) +
                                                 " to " + std::to_string(max));
        }
    };
    return command.add_option_function<std::string>(name, read, description)->type_name("N");
}

CLI::Option * AddNumber(CLI::App & command, std::string const & name, double & value, std::string const & description) {
    auto const read = [&value, name](std::string const & text) {
        StringStream<double>::fromString(StringView(text), value);
        if (std::isnan(value)) {
            throw CLI::ValidationError(name, "'" + text + "' is not a number");
        }
    };
    return command.add_option_function<std::string>(name, read, description)->type_name("NUMBER");
}

String NumberText(double value) {
    StringAllocatingView out;
    StringStream<double>::toString(value, out);
    return String(out.view());
}

} // namespace QELTA::Tool

int main(int argc, char ** argv) {
    using namespace QELTA::Tool;
    CLI::App qelta("Shows the QELTA Base library at work.", "qelta");
    qelta.get_formatter()->label("Usage", "usage");
    qelta.footer("Run 'qelta <command> --help' for the arguments of one command.");
    qelta.require_subcommand(1);
    for (auto const add : add_commands) {
        add(qelta);
    }
    try {
        qelta.parse(argc, argv);
    } catch (CLI::ParseError const & error) {
        return Exit(qelta, error);
    }
    return exit_ok;
}
