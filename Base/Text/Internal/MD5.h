// MD5: the RFC 1321 message digest, fed incrementally, behind the derived identifiers of UUID.
//
// A value of this class owns its running state and nothing else; one object is used by one
// thread at a time. Nothing fails or allocates. MD5 is not a secure hash: it serves only to
// derive stable identifiers from content.
#pragma once

#include "Base/Export.h"

#include <cstddef>
#include <cstdint>

namespace QELTA {

// Starts in the standard initial state. update() may be called any number of times with pieces
// of any size; finish() pads, returns the 16-byte digest and leaves the object spent (build a
// new one for the next message).
class QELTA_BASE_EXPORT MD5 {
  public:
    static constexpr std::size_t digest_size = 16;

    struct Digest {
        unsigned char bytes[digest_size];
    };

    MD5() noexcept;

    void update(void const * bytes, std::size_t size) noexcept;
    Digest finish() noexcept;

    // The digest of one complete message.
    static Digest Compute(void const * bytes, std::size_t size) noexcept;

  private:
    void transform(unsigned char const * block) noexcept;

    std::uint32_t state_[4];
    std::uint64_t length_;      // bytes seen so far
    unsigned char pending_[64]; // the start of an incomplete block
    std::size_t pending_size_;
};

} // namespace QELTA
