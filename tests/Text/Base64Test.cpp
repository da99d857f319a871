// Base64: the RFC 4648 vectors, both alphabets, the decoder's padding and failure rules, round
// trips, and the block path against the group-by-group path.
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Text/Base64Encoder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace QELTA {
namespace {

std::string Encode(std::string const & bytes, Base64Alphabet alphabet = STANDARD_ALPHABET) {
    String const text = Base64Encoder::EncodeToBase64(reinterpret_cast<unsigned char const *>(bytes.data()),
                                                      static_cast<unsigned int>(bytes.size()), alphabet);
    return std::string(text.c_str(), text.size());
}

std::string Decode(std::string const & text, bool reference = false) {
    StringView const view(text.data(), static_cast<unsigned int>(text.size()));
    Buffer<unsigned char> const bytes =
        reference ? Base64Encoder::DecodeFromBase64Reference(view) : Base64Encoder::DecodeFromBase64(view);
    return std::string(reinterpret_cast<char const *>(bytes.data()), bytes.size());
}

// The decoded bytes, or nothing when the decoder raises.
std::optional<std::string> DecodeOrRaised(std::string const & text, bool reference) {
    try {
        return Decode(text, reference);
    } catch (Exception const &) {
        return std::nullopt;
    }
}

TEST(Base64Test, RFC4648Vectors) {
    struct Row {
        char const * bytes;
        char const * text;
    } const rows[] = {
        // clang-format off
        {"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"}, {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"}, {"Man", "TWFu"}, {"M", "TQ=="},
        // clang-format on
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.bytes);
        EXPECT_EQ(Encode(row.bytes), row.text);
        EXPECT_EQ(Encode(row.bytes, URL_SAFE_ALPHABET), row.text);
        EXPECT_EQ(Decode(row.text), row.bytes);
    }
    std::string const high("\xFB\xFF\xBF", 3);
    EXPECT_EQ(Encode(high), "+/+/");
    EXPECT_EQ(Encode(high, URL_SAFE_ALPHABET), "-_-_");
    String appended("x=");
    Base64Encoder::AppendBase64To(appended, reinterpret_cast<unsigned char const *>("Ma"), 2, STANDARD_ALPHABET);
    EXPECT_EQ(std::string(appended.c_str()), "x=TWE=");
}

TEST(Base64Test, DecoderReadsBothAlphabetsAndLoosePadding) {
    struct Row {
        char const * text;
        std::string bytes;
    } const rows[] = {
        {"TQ", "M"},          {"TQ..", "M"}, {"TQ=", "M"}, {"TWE", "Ma"}, {"TWE.", "Ma"}, {"a-_b", Decode("a+/b")},
        {"TQ==TWFu", "MMan"}, // padding ends a group, not the text
        {"TQ=u", "M"},        // behind padding in its group a byte is not looked at
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Decode(row.text), row.bytes);
    }
}

TEST(Base64Test, InvalidTextRaises) {
    char const * const texts[] = {"TWFu\n", "TW Fu", "TWFuT", "=AAA", "T=AA", "TWF*", "TWFu====T"};
    for (char const * text : texts) {
        SCOPED_TRACE(text);
        try {
            Decode(text);
            FAIL() << "no exception";
        } catch (Exception const & error) {
            EXPECT_EQ(std::string(error.title().englishDefine().c_str()), "Input is not valid base64-encoded data.");
        }
    }
}

TEST(Base64Test, RoundTripsEveryLengthInBothAlphabets) {
    std::mt19937 random(4648);
    for (unsigned int length = 0; length <= 100; ++length) {
        std::string bytes(length, '\0');
        for (char & byte : bytes) {
            byte = static_cast<char>(random());
        }
        for (Base64Alphabet const alphabet : {STANDARD_ALPHABET, URL_SAFE_ALPHABET}) {
            std::string const text = Encode(bytes, alphabet);
            ASSERT_EQ(text.size(), (length + 2) / 3 * 4);
            ASSERT_EQ(Decode(text), bytes) << length;
        }
    }
}

TEST(Base64Test, BlockPathMatchesGroupPath) {
    static constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/-_=.\n*";
    std::mt19937 random(20);
    std::uniform_int_distribution<unsigned int> length(0, 80);
    for (int i = 0; i < 20000; ++i) {
        unsigned int const size = i < 300 ? 19 + static_cast<unsigned int>(i % 3) : length(random);
        std::string text;
        for (unsigned int n = 0; n < size; ++n) {
            // Mostly digits, with padding and bad bytes now and then.
            unsigned int const pick = random() % 200;
            text += pick < 190 ? alphabet[pick % 64] : alphabet[64 + pick % 6];
        }
        ASSERT_EQ(DecodeOrRaised(text, false), DecodeOrRaised(text, true)) << text;
    }
}

TEST(Base64Test, EncodesAFileWhole) {
    std::string const path = (std::filesystem::temp_directory_path() / "qelta-base64-test.bin").string();
    std::string const bytes("\x00\x01\x02 binary \xFF", 12);
    std::ofstream(path, std::ios::binary) << bytes;
    String const text = Base64Encoder::EncodeToBase64(File(String(path.c_str())), STANDARD_ALPHABET);
    EXPECT_EQ(std::string(text.c_str()), Encode(bytes));
    std::remove(path.c_str());
}

} // namespace
} // namespace QELTA
