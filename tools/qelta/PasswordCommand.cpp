// qelta password: the strength of a password and its scrambled stored form.
#include "tools/qelta/Command.h"

#include "Base/Language/TranslatedString.h"
#include "Base/Text/Base64Encoder.h"
#include "Base/Text/PasswordString.h"

#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

void PrintStrength(char const * plain) {
    PasswordString const password = PasswordString::Encode(plain);
    PasswordString::Strength const strength = password.passwordStrength(StringView());
    StringAllocatingView name;
    StringStream<PasswordString::Strength>::toString(strength, name);
    TranslatedString display;
    StringStream<PasswordString::Strength>::toDisplayString(strength, display);
    std::printf("%-20s %.*s (%s)\n", plain, static_cast<int>(name.size()), name.data(),
                display.englishTranslation().c_str());
}

} // namespace

void DemoPassword() {
    std::puts("\n== Base64 and passwords");
    unsigned char const bytes[] = {'M', 'a', 'n', 0xFB, 0xFF};
    std::printf("Bytes \"Man\\xFB\\xFF\" as Base64: %s, URL-safe: %s\n",
                Base64Encoder::EncodeToBase64(bytes, sizeof bytes, STANDARD_ALPHABET).c_str(),
                Base64Encoder::EncodeToBase64(bytes, sizeof bytes, URL_SAFE_ALPHABET).c_str());
    std::puts("Passwords are kept scrambled with this build's key and rated by length, kinds and runs:");
    for (char const * plain : {"password", "Password", "abcdefG1", "Abcdefgh12!x", "Abcdefgh12!xy"}) {
        std::printf("  ");
        PrintStrength(plain);
    }
}

void AddPasswordCommand(CLI::App & qelta) {
    CLI::App & password = AddCommand(qelta, "password", "the strength of a password", "");
    auto const text = std::make_shared<std::string>();
    AddCommand(password, "strength", "rates TEXT from VERY_WEAK to VERY_STRONG",
               "Rates TEXT by a score from its length beyond 7, one point for each of upper case, lower\n"
               "case, digits and symbols, minus 2 for a run of four equal bytes, weighed with an entropy\n"
               "estimate; six common passwords are always VERY_WEAK.",
               [text] {
                   PrintStrength(text->c_str());
                   return exit_ok;
               })
        .add_option("TEXT", *text, "the password")
        ->required();
}

} // namespace QELTA::Tool
