// Fuzz target: Base64 decoding of arbitrary bytes, the block path against the group-by-group path
// (same bytes or both raising), and a round trip of what decodes.
#include "Base/Failure/Exception.h"
#include "Base/Text/Base64Encoder.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstring>

namespace {

using QELTA::Base64Encoder;
using QELTA::Buffer;
using QELTA::StringView;
using QELTA::Fuzzing::Check;

// Decodes with one path; false when it raised.
bool Decode(StringView const & text, bool reference, Buffer<unsigned char> & out) {
    try {
        out = reference ? Base64Encoder::DecodeFromBase64Reference(text) : Base64Encoder::DecodeFromBase64(text);
        return true;
    } catch (QELTA::Exception const &) {
        return false;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 1 << 16) {
        return 0;
    }
    StringView const text(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size));
    Buffer<unsigned char> fast;
    Buffer<unsigned char> plain;
    bool const fast_ok = Decode(text, false, fast);
    Check(fast_ok == Decode(text, true, plain));
    if (!fast_ok) {
        return 0;
    }
    Check(fast.size() == plain.size() &&
          (fast.size() == 0 || std::memcmp(fast.data(), plain.data(), fast.size()) == 0));
    QELTA::String const again = Base64Encoder::EncodeToBase64(fast.data(), fast.size(), QELTA::STANDARD_ALPHABET);
    Buffer<unsigned char> back;
    Check(Decode(again, false, back));
    Check(back.size() == fast.size() && (back.size() == 0 || std::memcmp(back.data(), fast.data(), back.size()) == 0));
    return 0;
}
