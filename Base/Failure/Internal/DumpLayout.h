// The constants of the crash dump's layout, shared by its writer (CrashPlatform) and its reader
// (CrashDump). The layout itself is documented in Base/Failure/CrashManager.h.
#pragma once

#include <cstddef>

namespace QELTA::Internal::DumpLayout {

inline constexpr char magic[8] = {'Q', 'E', 'L', 'T', 'A', 'D', 'M', 'P'};
inline constexpr unsigned int version = 1;
inline constexpr std::size_t header_size = 16;    // magic, version, 4 reserved bytes
inline constexpr std::size_t record_head = 8;     // kind, size
inline constexpr std::size_t fault_size = 40;     // the payload of a fault record
inline constexpr std::size_t register_name = 8;   // the name field of a register entry
inline constexpr std::size_t register_entry = 16; // name and value

enum Kind : unsigned int {
    FAULT = 1,
    THREAD = 2,
    REGISTERS = 3,
    FRAME = 4,
    MAPS = 5,
    EXCEPTION = 6,
};

} // namespace QELTA::Internal::DumpLayout
