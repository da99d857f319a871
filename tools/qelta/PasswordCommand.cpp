// qelta password: the strength of a password and its scrambled stored form.
#include "tools/qelta/Command.h"

#include "Base/Language/TranslatedString.h"
#include "Base/Text/Base64Encoder.h"
#include "Base/Text/PasswordString.h"

#include <cstdio>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "password";

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

int Strength(Arguments arguments) {
    if (arguments.size() != 1) {
        return UsageError(command_name, "'strength' takes one TEXT");
    }
    PrintStrength(arguments[0]);
    return exit_ok;
}

constexpr Verb verbs[] = {{"strength", Strength}};

int RunPassword(Arguments arguments) {
    return RunVerb(command_name, arguments, verbs);
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

Command const password_command = {
    "password",
    "the strength of a password",
    "usage: qelta password strength TEXT\n\n"
    "Rates TEXT from VERY_WEAK to VERY_STRONG: a score from its length beyond 7, one point for\n"
    "each of upper case, lower case, digits and symbols, minus 2 for a run of four equal bytes,\n"
    "weighed with an entropy estimate; six common passwords are always VERY_WEAK.\n",
    RunPassword,
};

} // namespace QELTA::Tool
