// qelta csv: the typed fields of each line of a delimited text file, as BufferedScanner reads them.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Files/File.h"
#include "Base/Text/StringStream.h"
#include "Base/Time/Time.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace QELTA::Tool {
namespace {

// The type letters of --types, in the order of the help text.
constexpr std::string_view type_letters = "iuldfbxcst";

void PrintText(StringView const & text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

template <class T>
void PrintValue(T const & value) {
    StringAllocatingView text;
    StringStream<T>::toString(value, text);
    PrintText(text.view());
}

// Reads one field of the type `letter` and prints it.
void PrintField(Scanner & scanner, char letter) {
    switch (letter) {
    case 'i':
        PrintValue(scanner.getNext<int>());
        break;
    case 'u':
        PrintValue(scanner.getNext<unsigned int>());
        break;
    case 'l':
        PrintValue(scanner.getNext<long long>());
        break;
    case 'd':
        PrintValue(scanner.getNext<double>());
        break;
    case 'f':
        PrintValue(scanner.getNext<float>());
        break;
    case 'b':
        PrintValue(scanner.getNext<bool>());
        break;
    case 'x':
        std::printf("0x%x", scanner.getNextHex<unsigned int>());
        break;
    case 'c': {
        char const c = scanner.getNext<char>();
        scanner.skip();
        PrintText(StringView(&c, 1));
        break;
    }
    case 't': {
        Time const time = scanner.getNext<Time>();
        PrintText(time.getAsString(true, Scanner::default_time_format).view());
        break;
    }
    default: {
        std::putchar('[');
        PrintText(scanner.getNext());
        std::putchar(']');
        break;
    }
    }
}

// "i,d,s" into "ids"; false for an unknown letter or a malformed list.
bool ReadTypes(std::string_view list, std::string & types) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (i % 2 == 1) {
            if (list[i] != ',') {
                return false;
            }
            continue;
        }
        if (type_letters.find(list[i]) == std::string_view::npos) {
            return false;
        }
        types += list[i];
    }
    return !list.empty() && list.size() % 2 == 1;
}

// Rewrites --types as its letters ("i,d,s" becomes "ids").
CLI::Validator TypeLetters() {
    return CLI::Validator(
        [](std::string & list) {
            std::string types;
            if (!ReadTypes(list, types)) {
                return std::string("is not a list of the letters iuldfbxcst separated by ','");
            }
            list = types;
            return std::string();
        },
        "");
}

// Rewrites "tab" as the tab; any other text must be one byte.
CLI::Validator OneByte() {
    return CLI::Validator(
        [](std::string & text) {
            if (text == "tab") {
                text = "\t";
            }
            return text.size() == 1 ? std::string() : "is neither one byte nor 'tab'";
        },
        "");
}

struct CsvArguments {
    std::string file;
    std::string delimiter = ",";
    std::string quote = "\"";
    std::string types; // one letter a field
    bool ignore_empty = false;
    bool trim = false;
};

int RunCsv(CsvArguments const & arguments) {
    try {
        BufferedScanner scanner(FromNativePath(arguments.file), arguments.delimiter[0], File::READ_BINARY);
        scanner.setQuoteCharacter(arguments.quote[0]);
        scanner.setIgnoreEmptyLines(arguments.ignore_empty);
        scanner.setIgnoreWhiteSpace(arguments.trim);
        std::string const & types = arguments.types;
        while (scanner.nextLine()) {
            std::printf("%llu:", scanner.getCurrentLineNumber());
            for (std::size_t field = 0; scanner.hasNext(); ++field) {
                unsigned int const before = scanner.linePosition();
                std::putchar(' ');
                PrintField(scanner, field < types.size() ? types[field] : 's');
                if (scanner.linePosition() == before) {
                    break;
                }
            }
            std::putchar('\n');
        }
    } catch (Exception const & error) {
        return Failure("csv", error);
    }
    return exit_ok;
}

} // namespace

void DemoCsv() {
    std::puts("\n== Delimited text");
    std::puts("A scanner cuts lines into typed fields; quotes keep a delimiter inside a field:");
    BufferedScanner scanner(StringView("id;length;label;ok\r\n7;12.5;'pier;north';T\n8;;'';no\n"), ';');
    scanner.setQuoteCharacter('\'');
    scanner.nextLine();
    while (scanner.nextLine()) {
        int const id = scanner.getNext<int>();
        double const length = scanner.getNext<double>();
        StringView const label = scanner.getNext();
        bool const ok = scanner.getNext<bool>();
        std::printf("id %d, length %s, label [%.*s], ok %s\n", id, NumberText(length).c_str(),
                    static_cast<int>(label.size()), label.data(), ok ? "T" : "F");
    }
    std::puts("An empty number field reads as the type's empty value (NaN), and 'no' as false.");
}

void AddCsvCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<CsvArguments>();
    CLI::App & csv =
        AddCommand(qelta, "csv", "the typed fields of each line of a delimited text file",
                   "Reads FILE whole and prints each line as its number (lines counted from 1, empty ones\n"
                   "included), ':' and its fields, each behind a blank. Line feeds end lines and a carriage\n"
                   "return before one is dropped, so LF and CRLF files read alike.\n\n"
                   "A delimiter between two quotes belongs to the field; a quote equal to the delimiter quotes\n"
                   "nothing. --types lists how to read the fields in order; fields beyond the list are text:\n"
                   "  i  int              u  unsigned int     l  long long\n"
                   "  d  double           f  float            b  bool (T, t, Y, y or 1 is true)\n"
                   "  x  hexadecimal      c  the first byte   s  text, shown in [ ]\n"
                   "  t  time in the form YYYY_MM_DD_HH_mm_ss, local time; the field behind a time is passed\n"
                   "     over, as the library's time reader does\n"
                   "A field that is empty or doesn't read as its type prints the type's empty value: NaN for\n"
                   "numbers, F for bool, 0xffffffff for hexadecimal at the end of the line, [] for text. Text\n"
                   "loses one quote at each end.\n\n"
                   "--trim trims blanks, tabs and carriage returns at both ends of each line and steps over\n"
                   "blanks and tabs ahead of each field.\n\n"
                   "A file that can't be opened, or one too large to be read at once, ends with exit code 1.",
                   [arguments] { return RunCsv(*arguments); });
    csv.add_option("FILE", arguments->file, "the delimited text file")->required();
    csv.add_option("--delimiter", arguments->delimiter, "the field delimiter, one byte or 'tab' (default ',')")
        ->type_name("C")
        ->transform(OneByte());
    csv.add_option("--quote", arguments->quote, "the quote character, one byte or 'tab' (default '\"')")
        ->type_name("C")
        ->transform(OneByte());
    csv.add_option("--types", arguments->types, "how to read the fields in order, such as i,d,s")
        ->type_name("T,T,...")
        ->transform(TypeLetters());
    csv.add_flag("--ignore-empty", arguments->ignore_empty, "passes over empty lines");
    csv.add_flag("--trim", arguments->trim, "trims the lines and the blanks ahead of each field");
}

} // namespace QELTA::Tool
