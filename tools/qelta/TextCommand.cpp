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
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "text";

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

int Hash(Arguments arguments) {
    if (arguments.size() != 1) {
        return UsageError(command_name, "hash takes one TEXT");
    }
    StringView const text(arguments[0]);
    std::printf("hash       0x%016" PRIx64 "\n", static_cast<std::uint64_t>(text.hash()));
    std::printf("hashLower  0x%016" PRIx64 "\n", static_cast<std::uint64_t>(text.hashLower()));
    std::printf("hashUpper  0x%016" PRIx64 "\n", static_cast<std::uint64_t>(text.hashUpper()));
    return exit_ok;
}

int Number(Arguments arguments) {
    std::string_view type = "double";
    char const * text = nullptr;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view const argument(arguments[i]);
        if (argument == "--as") {
            if (i + 1 == arguments.size()) {
                return UsageError(command_name, "--as needs a TYPE");
            }
            type = arguments[++i];
        } else if (text == nullptr) {
            text = arguments[i];
        } else {
            return UsageError(command_name, "number takes one TEXT");
        }
    }
    if (text == nullptr) {
        return UsageError(command_name, "number needs a TEXT");
    }
    for (NumberType const & number_type : number_types) {
        if (number_type.name == type) {
            // The argument is zero-terminated, as the readers need.
            number_type.print(number_type.name.data(), StringView(text));
            return exit_ok;
        }
    }
    return UsageError(command_name, "unknown TYPE; use bool, char, int8, uint8, int16, uint16, int, int32, "
                                    "uint32, int64, uint64, float or double");
}

int Wildcard(Arguments arguments) {
    if (arguments.size() != 2) {
        return UsageError(command_name, "wildcard takes a PATTERN and a TEXT");
    }
    bool const matches = StringView(arguments[1]).matchesWildcard(StringView(arguments[0]));
    std::puts(matches ? "match" : "no match");
    return matches ? exit_ok : exit_failure;
}

int Split(Arguments arguments) {
    bool keep_empty = false;
    char const * positional[2] = {nullptr, nullptr};
    std::size_t count = 0;
    for (char const * argument : arguments) {
        if (std::string_view(argument) == "--keep-empty") {
            keep_empty = true;
        } else if (count < 2) {
            positional[count++] = argument;
        } else {
            return UsageError(command_name, "split takes a TEXT and a DELIMITER");
        }
    }
    if (count != 2 || std::string_view(positional[1]).size() != 1) {
        return UsageError(command_name, "split takes a TEXT and a one-byte DELIMITER");
    }
    Buffer<StringView> const parts = StringView(positional[0]).split(positional[1][0], keep_empty);
    std::printf("%u parts\n", parts.size());
    for (StringView const & part : parts) {
        std::fputc('[', stdout);
        std::fwrite(part.data(), 1, part.size(), stdout);
        std::fputs("]\n", stdout);
    }
    return exit_ok;
}

int Title(Arguments arguments) {
    if (arguments.size() != 1) {
        return UsageError(command_name, "title takes one TEXT");
    }
    PrintLine(StringView(arguments[0]).toTitleString());
    return exit_ok;
}

int Next(Arguments arguments) {
    if (arguments.size() != 1) {
        return UsageError(command_name, "next takes one NAME");
    }
    PrintLine(StringView(arguments[0]).predictNextStringIncrement());
    return exit_ok;
}

int Find(Arguments arguments) {
    if (arguments.size() != 2 && !(arguments.size() == 3 && std::string_view(arguments[2]) == "--ignore-case")) {
        return UsageError(command_name, "find takes a NEEDLE and a TEXT, and optionally --ignore-case");
    }
    bool const ignore_case = arguments.size() == 3;
    unsigned int const position = StringView(arguments[1]).indexOf(StringView(arguments[0]), ignore_case, 0);
    if (position == 0xFFFFFFFFu) {
        std::puts("not found");
        return exit_failure;
    }
    std::printf("found at byte %u\n", position);
    return exit_ok;
}

constexpr Verb verbs[] = {
    {"hash", Hash},   {"number", Number}, {"wildcard", Wildcard}, {"split", Split},
    {"title", Title}, {"next", Next},     {"find", Find},
};

int RunText(Arguments arguments) {
    return RunVerb(command_name, arguments, verbs);
}

} // namespace

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

Command const text_command = {
    "text",
    "hashes, searches, splitting, wildcards and typed conversion of text",
    "usage: qelta text <verb> [arguments]\n\n"
    "verbs:\n"
    "  hash TEXT                  the 64-bit text hash, and of its lower- and upper-case forms\n"
    "  number TEXT [--as TYPE]    reads TEXT as TYPE (default double) and prints it back;\n"
    "                             TYPE: bool char int8 uint8 int16 uint16 int int32 uint32 int64\n"
    "                             uint64 float double\n"
    "  wildcard PATTERN TEXT      whether TEXT matches PATTERN ('*' any run, '?' any byte);\n"
    "                             exit code 1 when it does not\n"
    "  split TEXT DELIMITER [--keep-empty]\n"
    "                             the parts of TEXT between one-byte delimiters\n"
    "  title TEXT                 the title-case form of TEXT (split at spaces and underscores)\n"
    "  next NAME                  the next name in a numbered series (\"scan_009\" -> \"scan_010\")\n"
    "  find NEEDLE TEXT [--ignore-case]\n"
    "                             the byte position of NEEDLE in TEXT; exit code 1 when absent\n",
    RunText,
};

} // namespace QELTA::Tool
