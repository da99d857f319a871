// qelta text: the text spine at work (hashes, searches, splitting, wildcards, typed conversion).
#include "tools/qelta/Command.h"

#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace QELTA::Tool {
namespace {

void PrintLine(StringView const & text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
}

// Reads `text` as T and prints the value back through its text form.
template <class T>
void PrintNumber(char const * type, StringView const & text) {
    T value{};
    StringStream<T>::fromString(text, value);
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    std::printf("%s: ", type);
    PrintLine(out.view());
}

struct NumberType {
    std::string_view name;
    void (*print)(char const *, StringView const &);
};

constexpr NumberType number_types[] = {
    {"bool", PrintNumber<bool>},
    {"char", PrintNumber<char>},
    {"int8", PrintNumber<signed char>},
    {"uint8", PrintNumber<unsigned char>},
    {"int16", PrintNumber<short>},
    {"uint16", PrintNumber<unsigned short>},
    {"int", PrintNumber<int>},
    {"int32", PrintNumber<int>},
    {"uint32", PrintNumber<unsigned int>},
    {"int64", PrintNumber<long long>},
    {"uint64", PrintNumber<unsigned long long>},
    {"float", PrintNumber<float>},
    {"double", PrintNumber<double>},
};

// The arguments of the verbs; each verb reads the ones it declares.
struct TextArguments {
    std::string text;  // the first positional
    std::string other; // the second: TEXT of wildcard and find, DELIMITER of split
    std::string type = "double";
    bool flag = false; // --keep-empty, --ignore-case
};

int Hash(TextArguments const & arguments) {
    StringView const text(arguments.text);
    std::printf("hash       0x%016" PRIx64 "\n", static_cast<std::uint64_t>(text.hash()));
    std::printf("hashLower  0x%016" PRIx64 "\n", static_cast<std::uint64_t>(text.hashLower()));
    std::printf("hashUpper  0x%016" PRIx64 "\n", static_cast<std::uint64_t>(text.hashUpper()));
    return exit_ok;
}

int Number(TextArguments const & arguments) {
    for (NumberType const & number_type : number_types) {
        if (number_type.name == arguments.type) {
            // The argument is zero-terminated, as the readers need.
            number_type.print(number_type.name.data(), StringView(arguments.text));
        }
    }
    return exit_ok;
}

int Wildcard(TextArguments const & arguments) {
    bool const matches = StringView(arguments.other).matchesWildcard(StringView(arguments.text));
    std::puts(matches ? "match" : "no match");
    return matches ? exit_ok : exit_failure;
}

int Split(TextArguments const & arguments) {
    Buffer<StringView> const parts = StringView(arguments.text).split(arguments.other[0], arguments.flag);
    std::printf("%u parts\n", parts.size());
    for (StringView const & part : parts) {
        std::fputc('[', stdout);
        std::fwrite(part.data(), 1, part.size(), stdout);
        std::fputs("]\n", stdout);
    }
    return exit_ok;
}

int Title(TextArguments const & arguments) {
    PrintLine(StringView(arguments.text).toTitleString());
    return exit_ok;
}

int Next(TextArguments const & arguments) {
    PrintLine(StringView(arguments.text).predictNextStringIncrement());
    return exit_ok;
}

int Find(TextArguments const & arguments) {
    unsigned int const position = StringView(arguments.other).indexOf(StringView(arguments.text), arguments.flag, 0);
    if (position == 0xFFFFFFFFu) {
        std::puts("not found");
        return exit_failure;
    }
    std::printf("found at byte %u\n", position);
    return exit_ok;
}

} // namespace

void AddTextCommand(CLI::App & qelta) {
    CLI::App & text =
        AddCommand(qelta, "text", "hashes, searches, splitting, wildcards and typed conversion of text", "");
    // One invocation runs one verb, so the verbs share one set of arguments.
    auto const arguments = std::make_shared<TextArguments>();

    AddCommand(text, "hash", "the 64-bit text hash, and of its lower- and upper-case forms", "",
               [arguments] { return Hash(*arguments); })
        .add_option("TEXT", arguments->text)
        ->required();

    std::vector<std::string> type_names;
    for (NumberType const & number_type : number_types) {
        type_names.emplace_back(number_type.name);
    }
    CLI::App & number = AddCommand(text, "number", "reads TEXT as TYPE and prints it back through its text form", "",
                                   [arguments] { return Number(*arguments); });
    number.add_option("TEXT", arguments->text)->required();
    number.add_option("--as", arguments->type, "the type (default double)")
        ->type_name("TYPE")
        ->check(CLI::IsMember(type_names));

    CLI::App & wildcard = AddCommand(text, "wildcard", "whether TEXT matches PATTERN; exit code 1 when it does not",
                                     "In PATTERN '*' matches any run of bytes and '?' any one byte.",
                                     [arguments] { return Wildcard(*arguments); });
    wildcard.add_option("PATTERN", arguments->text)->required();
    wildcard.add_option("TEXT", arguments->other)->required();

    CLI::App & split = AddCommand(text, "split", "the parts of TEXT between one-byte delimiters", "",
                                  [arguments] { return Split(*arguments); });
    split.add_option("TEXT", arguments->text)->required();
    split.add_option("DELIMITER", arguments->other, "one byte")
        ->required()
        ->check(CLI::Validator(
            [](std::string const & delimiter) { return delimiter.size() == 1 ? std::string() : "is not one byte"; },
            ""));
    split.add_flag("--keep-empty", arguments->flag, "keeps empty parts");

    AddCommand(text, "title", "the title-case form of TEXT (split at spaces and underscores)", "",
               [arguments] { return Title(*arguments); })
        .add_option("TEXT", arguments->text)
        ->required();

    AddCommand(text, "next", "the next name in a numbered series (\"scan_009\" -> \"scan_010\")", "",
               [arguments] { return Next(*arguments); })
        .add_option("NAME", arguments->text)
        ->required();

    CLI::App & find = AddCommand(text, "find", "the byte position of NEEDLE in TEXT; exit code 1 when absent", "",
                                 [arguments] { return Find(*arguments); });
    find.add_option("NEEDLE", arguments->text)->required();
    find.add_option("TEXT", arguments->other)->required();
    find.add_flag("--ignore-case", arguments->flag, "compares upper and lower case alike");
}

void DemoText() {
    std::puts("== Text: buffers, dictionaries, strings and typed conversion");

    Buffer<unsigned long long> numbers;
    std::printf("A buffer of 8-byte numbers grows by a fixed rule; capacities while adding 100:");
    unsigned int last_capacity = 0;
    for (unsigned long long i = 0; i < 100; ++i) {
        numbers.add(i);
        if (numbers.capacity() != last_capacity) {
            last_capacity = numbers.capacity();
            std::printf(" %u", last_capacity);
        }
    }
    std::puts("");

    Dictionary<String, unsigned int> words;
    StringView const sentence("the quick brown fox jumps over the lazy dog the end");
    for (StringView const & word : sentence.split(' ', false)) {
        words[String(word)] += 1;
    }
    std::printf("A dictionary counted %llu distinct words in \"%s\"; \"the\" appears %u times.\n",
                static_cast<unsigned long long>(words.size()), sentence.data(), words.at(String("the")));

    StringView const folder("C:\\Data\\Survey_007");
    std::printf("The folder after \"%s\" in its series is \"%s\".\n", folder.data(),
                folder.predictNextStringIncrement().c_str());
    std::printf("Title case of \"units_and_ui_settings\": ");
    PrintLine(StringView("units_and_ui_settings").toTitleString());
    std::printf("\"*.csv\" matches \"points.csv\": %s\n",
                StringView("points.csv").matchesWildcard(StringView("*.csv")) ? "yes" : "no");

    double const values[] = {0.1, 1.0 / 3.0, 1e21, 1.5e-7, -2147483648.0};
    std::puts("Doubles print with the shortest digits that identify them:");
    for (double const value : values) {
        StringAllocatingView out;
        StringStream<double>::toString(value, out);
        double back = 0;
        StringStream<double>::fromString(String(out.view()), back);
        std::printf("  %.17g -> \"", value);
        std::fwrite(out.view().data(), 1, out.view().size(), stdout);
        std::printf("\" -> %.17g\n", back);
    }
    int parsed = 0;
    StringStream<int>::fromString(StringView("  12"), parsed);
    std::printf("Readers never skip white space: \"  12\" as int reads as Invalid, printed ");
    StringAllocatingView out;
    StringStream<int>::toString(parsed, out);
    PrintLine(out.view());
}

} // namespace QELTA::Tool
