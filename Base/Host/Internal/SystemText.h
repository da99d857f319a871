// Readers of the system's small text files: "KEY=value" lists, "key : value" tables, version and
// hexadecimal numbers.
//
// Plain functions on text that the system wrote, or anybody: any bytes are read without harm,
// numbers saturate instead of overflowing, and what doesn't parse gives the empty or 0 result.
#pragma once

#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA::Internal {

// The value of `key` in a "KEY=value" list with '#' comments, its quotes taken off and the
// backslash escapes of a double-quoted value resolved; empty when the key is absent.
String AssignmentValue(StringView const & text, StringView const & key);
// The trimmed text after `separator` on the first line whose text before it, trimmed, is `key`.
String FieldValue(StringView const & text, StringView const & key, char separator);
// The lines whose text before `separator`, trimmed, is `key`.
unsigned int CountFields(StringView const & text, StringView const & key, char separator);
// The leading decimal number (after blanks); 0 without one; saturates at the largest value.
std::uint64_t LeadingNumber(StringView const & text);
// Up to three numbers of a version separated by '.', each stopping at the first non-digit:
// "6.1.0-18-amd64" gives 6, 1 and 0.
void VersionNumbers(StringView const & text, unsigned int (&parts)[3]);
// A hexadecimal number, with or without "0x"; saturates; 0 without digits.
std::uint64_t HexNumber(StringView const & text);
// The largest prefetchable region of a PCI device's "resource" table ("start end flags" in
// hexadecimal a line), in bytes; 0 when it has none.
std::uint64_t LargestPrefetchableRegion(StringView const & text);

} // namespace QELTA::Internal

namespace QELTA {
struct OSInformation;
struct HardwareInformation;
} // namespace QELTA

namespace QELTA::Internal {

// What SystemInformation reads from its root, read on the first call and kept until the root
// changes; thread-safe.
OSInformation CachedOSInformation();
HardwareInformation CachedHardwareInformation();

} // namespace QELTA::Internal
