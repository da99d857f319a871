// qelta validate: a text checked against the library's expressions for names and typed values.
#include "tools/qelta/Command.h"

#include "Base/Text/StringValidator.h"
#include "Base/Text/TypeInfo.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace QELTA::Tool {
namespace {

struct ValidateArguments {
    std::string kind;
    std::string text;
};

// A kind of text and the expression that checks it.
struct Kind {
    char const * name;
    char const * regex;
};

// The kinds in the order of the help text.
Kind const kinds[] = {
    {"file-name", RegexFunctions::FileNameRegex()},
    {"folder", RegexFunctions::FolderRegex()},
    {"file", RegexFunctions::FileRegex()},
    {"user-name", RegexFunctions::UsernameRegex()},
    {"email", RegexFunctions::EmailRegex()},
    {"bool", TypeInfoRegex::ValidRegex(TypeInfo::Of<bool>())},
    {"int8", TypeInfoRegex::ValidRegex(TypeInfo::Of<signed char>())},
    {"uint8", TypeInfoRegex::ValidRegex(TypeInfo::Of<unsigned char>())},
    {"int16", TypeInfoRegex::ValidRegex(TypeInfo::Of<short>())},
    {"uint16", TypeInfoRegex::ValidRegex(TypeInfo::Of<unsigned short>())},
    {"int32", TypeInfoRegex::ValidRegex(TypeInfo::Of<int>())},
    {"uint32", TypeInfoRegex::ValidRegex(TypeInfo::Of<unsigned int>())},
    {"int64", TypeInfoRegex::ValidRegex(TypeInfo::Of<long long>())},
    {"uint64", TypeInfoRegex::ValidRegex(TypeInfo::Of<unsigned long long>())},
    {"float", TypeInfoRegex::ValidRegex(TypeInfo::Of<float>())},
    {"double", TypeInfoRegex::ValidRegex(TypeInfo::Of<double>())},
};

int RunValidate(ValidateArguments const & arguments) {
    for (Kind const & kind : kinds) {
        if (arguments.kind == kind.name) {
            bool const valid = StringValidator::isValid(StringView(arguments.text), StringView(kind.regex));
            std::printf("'%s' is %s %s\n", arguments.text.c_str(), valid ? "a valid" : "not a valid", kind.name);
            return valid ? exit_ok : exit_failure;
        }
    }
    return exit_failure; // not reached: CLI11 admits only the kinds above
}

void Show(char const * kind, char const * text) {
    for (Kind const & row : kinds) {
        if (std::string_view(row.name) == kind) {
            bool const valid = StringValidator::isValid(StringView(text), StringView(row.regex));
            std::printf("  %-10s %-18s %s\n", kind, (std::string("'") + text + "'").c_str(),
                        valid ? "valid" : "refused");
        }
    }
}

} // namespace

void DemoValidate() {
    std::puts("\n== Validation");
    Show("file-name", "report.txt");
    Show("file-name", "CON.txt");
    Show("file-name", "con.txt");
    Show("folder", "/data/survey/");
    Show("user-name", "john..doe");
    Show("email", "a.b@example.org");
    Show("int8", "127");
    Show("int8", "128");
}

void AddValidateCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<ValidateArguments>();
    CLI::App & validate =
        AddCommand(qelta, "validate", "checks TEXT as a name, a path, an address or a typed value",
                   "KIND is one of:\n"
                   "  file-name  a file name without folder: no reserved device name (CON, PRN, AUX, NUL,\n"
                   "             CLOCK$, COM1..COM9, LPT1..LPT9, upper case only, with or without an\n"
                   "             extension), no control character and none of \\ ? * : \" ; | /\n"
                   "  folder     a folder path from a drive or a separator\n"
                   "  file       a file path from a drive or a separator\n"
                   "  user-name  letters, digits, '.' and '_', no two of '.' and '_' in a row, neither at an end\n"
                   "  email      an e-mail address\n"
                   "  bool, int8, uint8, int16, uint16, int32, uint32, int64, uint64, float, double\n"
                   "             a value as settings editors accept it\n"
                   "Prints the verdict; exits with 0 when TEXT is valid and 1 when it is not. Texts over\n"
                   "64 KiB are never valid.",
                   [arguments] { return RunValidate(*arguments); });
    std::vector<std::string> names;
    for (Kind const & kind : kinds) {
        names.emplace_back(kind.name);
    }
    validate.add_option("KIND", arguments->kind, "what TEXT must be")->required()->check(CLI::IsMember(names));
    validate.add_option("TEXT", arguments->text, "the text to check")->required();
}

} // namespace QELTA::Tool
