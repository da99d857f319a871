// MD5 against RFC 1321's test suite; UUID derivation against digests computed independently over
// the exact bytes, the name ids, the text form with its edge cases, random ids and the lock key.
#include "Base/Text/UUID.h"
#include "Base/Geometry/Vector.h"
#include "Base/Text/Internal/MD5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>

namespace QELTA {
namespace {

std::string Hex(unsigned char const * bytes) {
    static char const digits[] = "0123456789abcdef";
    std::string text;
    for (int i = 0; i < 16; ++i) {
        text += digits[bytes[i] >> 4];
        text += digits[bytes[i] & 15];
    }
    return text;
}

UUID Read(std::string const & text) {
    UUID value;
    value.bytes[0] = 0; // so that a reader that leaves the value alone is caught
    StringStream<UUID>::fromString(StringView(text), value);
    return value;
}

// 10 11 12 ... 1f
UUID Base() {
    UUID id;
    for (unsigned char i = 0; i < 16; ++i) {
        id.bytes[i] = static_cast<unsigned char>(0x10 + i);
    }
    return id;
}

struct DigestCase {
    std::string message;
    char const * digest;
};

DigestCase const rfc1321_suite[] = {
    {"", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
    {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789", "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"1234567890123456789012345678901234567890"
     "1234567890123456789012345678901234567890",
     "57edf4a22be3c955ac49da2e2107b67a"},
};

TEST(MD5Test, MatchesTheRfc1321SuiteWholeAndInOddPieces) {
    for (DigestCase const & test : rfc1321_suite) {
        EXPECT_EQ(Hex(MD5::Compute(test.message.data(), test.message.size()).bytes), test.digest) << test.message;
        for (std::size_t piece : {1u, 3u, 7u, 63u}) {
            MD5 md5;
            for (std::size_t at = 0; at < test.message.size(); at += piece) {
                md5.update(test.message.data() + at, std::min(piece, test.message.size() - at));
            }
            EXPECT_EQ(Hex(md5.finish().bytes), test.digest) << test.message << " in pieces of " << piece;
        }
    }
}

TEST(UUIDTest, DerivedIdsAreTheDigestOfTheBaseAndTheValueBytes) {
    UUID const base = Base();
    struct {
        UUID id;
        char const * digest;
    } const cases[] = {
        {base.appendUUID(5), "d76eca20b0486e0635c1d11a192c10e1"},
        {base.appendUUID(5u), "d76eca20b0486e0635c1d11a192c10e1"},
        {base.appendUUID(5ll), "4cf7d4332e9737a6ddc44fa7f4c27bb3"},
        {base.appendUUID(5ull), "4cf7d4332e9737a6ddc44fa7f4c27bb3"},
        {base.appendBoolUUID(true), "7b2e8ae461689a6238727baf320080bf"},
        {base.appendBoolUUID(false), "1e6d0659960ad0d4533802bee9b24f0a"},
        {base.appendUUID(StringView()), "db8ece45734863857be43fd355839b6d"},
        {base.appendUUID(StringView("Hello, world")), "9cce2fc27131457ce5b852bdb0670104"},
        {base.appendUUID(1.5), "5abc2bebf4375138e21ada0e391ef1a9"},
        {base.appendUUID(1.5f), "d8a88e8fdc096b08d3b17aa46078c988"},
        {base.appendUUID(Vector<3, float>(1.5f, -2.25f, 0.125f)), "06029f7938f36442e6572255a82645a6"},
        {base.appendUUID(1069547520), "d8a88e8fdc096b08d3b17aa46078c988"}, // the bits of 1.5f
        {base.appendUUID(UUID::Invalid()), "d1cdcc2302b46939634ac385078e922e"},
        {base.appendUUID(1).appendUUID(2), "0c53a709f8db264dd7a45034d079ea28"},
    };
    for (auto const & test : cases) {
        EXPECT_EQ(Hex(test.id.bytes), test.digest);
    }
}

TEST(UUIDTest, NameIdsXorTheTextIntoTheInvalidValue) {
    EXPECT_EQ(UUID(), UUID::Invalid());
    EXPECT_FALSE(UUID().isValid());
    EXPECT_EQ(UUID::CreateUUID(StringView()), UUID::Invalid());
    EXPECT_EQ(Hex(UUID::CreateUUID("ab").bytes), "9e9dffffffffffffffffffffffffffff");
    // Byte 16 folds back onto byte 0: 0xFF ^ 'a' ^ 'b' == 0xFC.
    EXPECT_EQ(Hex(UUID::CreateUUID("a123456789abcdefb").bytes), Hex(Read("fccecdcccbcac9c8c7c69e9d9c9b9a99").bytes));
    EXPECT_EQ(UUID::CreateUUID("0123456789abcdefXY"), UUID::CreateUUID("XY23456789abcdef01"));
}

TEST(UUIDTest, TextFormAndItsEdgeCases) {
    UUID const value = Read("00112233445566778899aabbccddeeff");
    EXPECT_EQ(Hex(value.bytes), "00112233445566778899aabbccddeeff");
    StringAllocatingView out;
    StringStream<UUID>::toString(value, out);
    EXPECT_EQ(std::string(out.view()), "00112233-4455-6677-8899-aabbccddeeff");
    struct {
        char const * text;
        UUID expected;
    } const cases[] = {
        // clang-format off
        {"00112233-4455-6677-8899-aabbccddeeff", value}, {"-0-0112233445566778899AABBCCDDEEFF--", value},
        {"00112233445566778899aabbccddeeff-", value}, {"00112233445566778899aabbccddeeff0", UUID::Invalid()},
        {"00112233445566778899aabbccddeef", UUID::Invalid()}, {"00112233445566778899aabbccddee", UUID::Invalid()},
        {"00112233-4455-6677-8899-aabbccddeefg", UUID::Invalid()}, {"", UUID::Invalid()},
        {"00112233 4455-6677-8899-aabbccddeeff", UUID::Invalid()},
        // clang-format on
    };
    for (auto const & test : cases) {
        EXPECT_EQ(Read(test.text), test.expected) << test.text;
    }
}

TEST(UUIDTest, RandomIdsDifferAndCarryVersionFour) {
    std::set<UUID> seen;
    for (int i = 0; i < 100; ++i) {
        UUID const id = UUID::CreateUUID();
        EXPECT_EQ(id.bytes[6] >> 4, 4);
        EXPECT_EQ(id.bytes[8] & 0xC0, 0x80);
        seen.insert(id);
    }
    EXPECT_EQ(seen.size(), 100u);
}

TEST(UUIDTest, LockKeyIsTheByteSumAndHashFoldsTheHalves) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(Base().getUniquePointer()), 376u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(UUID().getUniquePointer()), 4080u);
    EXPECT_EQ(DictionaryHash<UUID>()(Base()), 0x0808080808080808ull);
    EXPECT_EQ(DictionaryHash<UUID>()(Read("0102030405060708f0f0f0f0f0f0f0f0")), 0xf1f2f3f4f5f6f7f8ull);
    EXPECT_EQ(std::hash<UUID>()(Base()), 0x0808080808080808ull);
}

} // namespace
} // namespace QELTA
