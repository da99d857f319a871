// Base64Encoder: bytes to Base64 text in the two alphabets of RFC 4648, and one decoder for both.
//
// All-static and reentrant. Encoding never fails. Decoding raises an Exception titled "Input is
// not valid base64-encoded data." for any byte outside the two alphabets (white space included)
// and for a group cut after one character; it never reads outside the text.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class File;

// The alphabet of the last two digits: '+' and '/', or the URL-safe '-' and '_'.
enum Base64Alphabet : unsigned char { STANDARD_ALPHABET = 0, URL_SAFE_ALPHABET = 1 };

class QELTA_BASE_EXPORT Base64Encoder {
  public:
    Base64Encoder() = delete;

    // Three bytes make four characters; a last group of one or two bytes is padded with '=' to
    // four characters in both alphabets. No data gives no text.
    static String EncodeToBase64(unsigned char const * data, unsigned int size, Base64Alphabet alphabet);
    // The file's whole content; a file that cannot be read raises its FileException.
    static String EncodeToBase64(File const & file, Base64Alphabet alphabet);
    static void AppendBase64To(String & out, unsigned char const * data, unsigned int size, Base64Alphabet alphabet);

    // Reads both alphabets, mixed too. '=' and '.' end a group as padding, and padding may be
    // missing. Long texts take a fast path over whole blocks that gives exactly the bytes or the
    // exception of the group-by-group path.
    static Buffer<unsigned char> DecodeFromBase64(StringView const & text);
    // The group-by-group path alone.
    static Buffer<unsigned char> DecodeFromBase64Reference(StringView const & text);

    // The 6-bit value of a digit of either alphabet; any other byte raises.
    static unsigned int pos_of_char(unsigned char c);
};

} // namespace QELTA
