// Passwords: scrambling round trips across key lengths, equality under keys, strength at each
// rule's boundary, and the stored forms.
#include "Base/Text/PasswordString.h"
#include "Base/Language/TranslatedString.h"

#include <gtest/gtest.h>

#include <string>

namespace QELTA {
namespace {

std::string Plain(String const & text) {
    return std::string(text.c_str(), text.size());
}

TEST(PasswordStringTest, ScramblingRoundTripsUnderEveryKeyLength) {
    std::string const plain = "a password longer than sixteen bytes, with \x01 odd bytes";
    for (unsigned int length = 0; length < plain.size(); ++length) {
        StringView const text(plain.data(), length);
        EXPECT_EQ(Plain(PasswordString::Encode(text).decode()), plain.substr(0, length));
        for (unsigned int key_length = 1; key_length <= 20; ++key_length) {
            std::string const key(key_length, static_cast<char>('k' + key_length));
            PasswordString const password = PasswordString::Encode(text, StringView(key.c_str()));
            ASSERT_EQ(Plain(password.decode(StringView(key.c_str()))), plain.substr(0, length));
        }
    }
    PasswordString const scrambled = PasswordString::Encode("secret");
    EXPECT_NE(Plain(scrambled.encoded()), "secret");
    EXPECT_EQ(scrambled, PasswordString::Encode("secret", ""));
}

TEST(PasswordStringTest, EqualOnlyUnderTheSameKey) {
    EXPECT_EQ(PasswordString::Encode("secret", "one"), PasswordString::Encode("secret", "one"));
    EXPECT_NE(PasswordString::Encode("secret", "one"), PasswordString::Encode("secret", "two"));

    PasswordString moved = PasswordString::Encode("secret", "one");
    moved.swapEncoding("one", "one");
    EXPECT_EQ(moved, PasswordString::Encode("secret", "one"));
    moved.swapEncoding("one", "two");
    EXPECT_EQ(moved, PasswordString::Encode("secret", "two"));
    EXPECT_EQ(Plain(moved.decode("two")), "secret");
}

TEST(PasswordStringTest, StrengthAtEachRule) {
    struct Row {
        char const * plain;
        PasswordString::Strength strength;
    } const rows[] = {
        {"", PasswordString::VERY_WEAK},
        {"password", PasswordString::VERY_WEAK},               // a common password, whatever its length
        {"Password", PasswordString::WEAK},                    // not common: score 3
        {"abc", PasswordString::VERY_WEAK},                    // score 1
        {"12345678", PasswordString::VERY_WEAK},               // score 2
        {"Ab1!", PasswordString::WEAK},                        // score 4 but entropy 26 bits
        {"abcdefG1", PasswordString::MODERATE},                // 47 bits, score 4
        {"abcdefghijkl", PasswordString::MODERATE},            // score 6 alone
        {"aaaaBcd1!", PasswordString::MODERATE},               // a run of four costs 2
        {"Abcdefgh12!x", PasswordString::STRONG},              // 79 bits, score 9
        {"Abcdefgh12!xy", PasswordString::VERY_STRONG},        // 85 bits, score 10
        {"aaaaaaaaaaaaaaaaaaaa", PasswordString::VERY_STRONG}, // score 12 alone
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.plain);
        EXPECT_EQ(PasswordString::Encode(row.plain, "key").passwordStrength("key"), row.strength);
    }
}

TEST(PasswordStringTest, StoredForms) {
    PasswordString const password = PasswordString::Encode("secret");
    StringAllocatingView text;
    StringStream<PasswordString>::toString(password, text);
    PasswordString read;
    StringStream<PasswordString>::fromString(text, read);
    EXPECT_EQ(read, password);
    StringStream<PasswordString>::fromString("not base64!", read);
    EXPECT_TRUE(read.encoded().isEmpty());

    struct Row {
        char const * name;
        PasswordString::Strength strength;
    } const rows[] = {
        // clang-format off
        {"VERY_WEAK", PasswordString::VERY_WEAK}, {"MODERATE", PasswordString::MODERATE},
        {"VERY_STRONG", PasswordString::VERY_STRONG}, {"very_strong", PasswordString::WEAK}, {"", PasswordString::WEAK},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        PasswordString::Strength strength = PasswordString::STRONG;
        StringStream<PasswordString::Strength>::fromString(row.name, strength);
        EXPECT_EQ(strength, row.strength);
    }
    StringAllocatingView name;
    StringStream<PasswordString::Strength>::toString(PasswordString::VERY_STRONG, name);
    EXPECT_EQ(std::string(name.data(), name.size()), "VERY_STRONG");
    TranslatedString display;
    StringStream<PasswordString::Strength>::toDisplayString(PasswordString::VERY_STRONG, display);
    EXPECT_EQ(std::string(display.englishDefine().c_str()), "Very Strong");
}

} // namespace
} // namespace QELTA
