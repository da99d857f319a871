// qelta dbf: the records of a dBASE table as text lines, all fields or the named ones.
#include "tools/qelta/Command.h"

#include "Base/Files/DBFParser.h"
#include "Base/Files/File.h"

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

constexpr char standard_output[] = "/dev/stdout";

struct DbfArguments {
    std::string table;
    std::vector<std::string> fields;
    std::string out;
};

int RunDbf(DbfArguments const & arguments) {
    File const table = FromNativePath(arguments.table);
    try {
        DBFParser parser(table);
        std::string const out = arguments.out.empty() ? std::string(standard_output) : arguments.out;
        std::printf("%s: %u records in the header\n", NativePath(table).c_str(), parser.recordCount());
        std::fflush(stdout);
        if (arguments.fields.empty()) {
            parser.DumpAll(FromNativePath(out).c_str());
        } else {
            std::vector<char const *> names;
            for (std::string const & field : arguments.fields) {
                names.push_back(field.c_str());
            }
            parser.DumpFields(FromNativePath(out).c_str(), names.data(), names.size());
        }
    } catch (std::logic_error const & error) {
        std::fflush(stdout);
        std::fprintf(stderr, "qelta dbf: %s: %s\n", NativePath(table).c_str(), error.what());
        return exit_failure;
    }
    return exit_ok;
}

} // namespace

void AddDbfCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<DbfArguments>();
    CLI::App & dbf =
        AddCommand(qelta, "dbf", "dumps the records of a dBASE table as text lines",
                   "Prints the header's record count, then every live record of FILE as one line: the bytes of\n"
                   "its fields as they stand, with nothing between them. --fields keeps the named fields, which\n"
                   "must be given in the table's order, and then reports the records and bytes written. --out\n"
                   "writes the lines to a file instead. A table that can't be opened or a field that isn't found\n"
                   "ends with exit code 1.",
                   [arguments] { return RunDbf(*arguments); });
    dbf.add_option("FILE", arguments->table, "the dBASE table (.dbf)")->required();
    dbf.add_option("--fields", arguments->fields, "the fields to dump, in the table's order")
        ->delimiter(',')
        ->type_name("NAME,...");
    dbf.add_option("--out", arguments->out, "the text file to write the lines to");
}

} // namespace QELTA::Tool
