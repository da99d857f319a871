// qelta base64: bytes to Base64 text and back, in either alphabet.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Text/Base64Encoder.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace QELTA::Tool {
namespace {

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

struct Base64Arguments {
    std::optional<std::string> file; // standard input when not given
    bool url = false;
};

int RunCoding(Base64Arguments const & arguments, bool encode) {
    char const * const path = arguments.file ? arguments.file->c_str() : nullptr;
    std::string input;
    if (!ReadInput(path, input) || input.size() > 0xFFFFFFF0u / 2) {
        std::fprintf(stderr, "qelta base64: cannot read %s\n", path == nullptr ? "standard input" : path);
        return exit_failure;
    }
    if (encode) {
        String const text = Base64Encoder::EncodeToBase64(reinterpret_cast<unsigned char const *>(input.data()),
                                                          static_cast<unsigned int>(input.size()),
                                                          arguments.url ? URL_SAFE_ALPHABET : STANDARD_ALPHABET);
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

} // namespace

void AddBase64Command(CLI::App & qelta) {
    CLI::App & base64 = AddCommand(qelta, "base64", "bytes to Base64 text and back, standard or URL-safe", "");
    auto const arguments = std::make_shared<Base64Arguments>();
    CLI::App & encode = AddCommand(base64, "encode", "prints the bytes of FILE as Base64 text",
                                   "Prints the bytes of FILE (or standard input) as Base64 text, padded with '=',\n"
                                   "in the standard alphabet or, with --url, the URL-safe one ('-' and '_').",
                                   [arguments] { return RunCoding(*arguments, true); });
    CLI::App & decode = AddCommand(base64, "decode", "writes the bytes of the Base64 text in FILE",
                                   "Writes the bytes of the Base64 text in FILE (or standard input). Both alphabets\n"
                                   "are read, '=' and '.' pad, and padding may be missing; any other byte, white\n"
                                   "space included, is an error. One line end at the end of the input is ignored.",
                                   [arguments] { return RunCoding(*arguments, false); });
    for (CLI::App * coding : {&encode, &decode}) {
        coding->add_option("FILE", arguments->file, "the input (default: standard input)");
        coding->add_flag("--url", arguments->url, "the URL-safe alphabet");
    }
}

} // namespace QELTA::Tool
