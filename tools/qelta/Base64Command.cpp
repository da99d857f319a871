// qelta base64: bytes to Base64 text and back, in either alphabet.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Text/Base64Encoder.h"

#include <cstdio>
#include <string>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "base64";

// The whole content of `path`, or of standard input for a null path; false when it can't be read.
bool ReadInput(char const * path, std::string & content) {
    std::FILE * const input = path == nullptr ? stdin : std::fopen(path, "rb");
    if (input == nullptr) {
        return false;
    }
    char block[65536];
    std::size_t got = 0;
    while ((got = std::fread(block, 1, sizeof block, input)) > 0) {
        content.append(block, got);
    }
    bool const failed = std::ferror(input) != 0;
    if (input != stdin) {
        std::fclose(input);
    }
    return !failed;
}

int RunCoding(Arguments arguments, bool encode) {
    Base64Alphabet alphabet = STANDARD_ALPHABET;
    char const * path = nullptr;
    for (char const * argument : arguments) {
        if (std::string_view(argument) == "--url") {
            alphabet = URL_SAFE_ALPHABET;
        } else if (path == nullptr) {
            path = argument;
        } else {
            return UsageError(command_name, "takes at most one FILE");
        }
    }
    std::string input;
    if (!ReadInput(path, input) || input.size() > 0xFFFFFFF0u / 2) {
        std::fprintf(stderr, "qelta base64: cannot read %s\n", path == nullptr ? "standard input" : path);
        return exit_failure;
    }
    if (encode) {
        String const text = Base64Encoder::EncodeToBase64(reinterpret_cast<unsigned char const *>(input.data()),
                                                          static_cast<unsigned int>(input.size()), alphabet);
        std::printf("%s\n", text.c_str());
        return exit_ok;
    }
    // One line end at the end of the input is the terminal's, not the text's.
    while (!input.empty() && (input.back() == '\n' || input.back() == '\r')) {
        input.pop_back();
    }
    try {
        Buffer<unsigned char> const bytes =
            Base64Encoder::DecodeFromBase64(StringView(input.data(), static_cast<unsigned int>(input.size())));
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    } catch (Exception const & error) {
        return Failure("base64", error);
    }
    return exit_ok;
}

int Encode(Arguments arguments) {
    return RunCoding(arguments, true);
}

int Decode(Arguments arguments) {
    return RunCoding(arguments, false);
}

constexpr Verb verbs[] = {{"encode", Encode}, {"decode", Decode}};

int RunBase64(Arguments arguments) {
    return RunVerb(command_name, arguments, verbs);
}

} // namespace

Command const base64_command = {
    "base64",
    "bytes to Base64 text and back, standard or URL-safe",
    "usage: qelta base64 encode [--url] [FILE]\n"
    "       qelta base64 decode [--url] [FILE]\n\n"
    "encode  prints the bytes of FILE (or standard input) as Base64 text, padded with '=', in the\n"
    "        standard alphabet or, with --url, the URL-safe one ('-' and '_').\n"
    "decode  writes the bytes of the Base64 text in FILE (or standard input). Both alphabets are\n"
    "        read, '=' and '.' pad, and padding may be missing; any other byte, white space\n"
    "        included, is an error. One line end at the end of the input is ignored.\n",
    RunBase64,
};

} // namespace QELTA::Tool
