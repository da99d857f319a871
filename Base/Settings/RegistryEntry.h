// RegistryEntry and RegistyEntryType: one typed value of the settings registry, read and written.
//
// The registry on this system is a store of settings files, one for each root key, in the user's
// configuration folder (the machine's for "HKEY_LOCAL_MACHINE"): a value is the line
// "<path>/<name>=<type label>:<text>", written atomically by the INI writer. An entry is a plain
// value with no lock; two writers of one root replace the file in turn, the last one winning.
// Reading never raises; writing raises "registry_set_error".
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA {

// The type of a registry value; the name is spelled so, and stays.
enum RegistyEntryType : std::uint32_t {
    REG_NONE = 0,
    REG_SZ = 1,
    REG_EXPAND_SZ = 2,
    REG_BINARY = 3,
    REG_DWORD = 4,
    REG_DWORD_BIG_ENDIAN = 5,
    REG_LINK = 6,
    REG_MULTI_SZ = 7,
    REG_RESOURCE_LIST = 8,
    REG_FULL_RESOURCE_DESCRIPTOR = 9,
    REG_RESOURCE_REQUIREMENTS_LIST = 10,
    REG_QWORD = 11,
};

struct QELTA_BASE_EXPORT RegistryEntry {
    // `full_path` is "<key>\<path>\<name>", split at the first and the last separator ("\" or "/").
    explicit RegistryEntry(StringView const & full_path);
    // `key_and_path` is "<key>\<path>".
    RegistryEntry(StringView const & key_and_path, StringView const & name);
    RegistryEntry(StringView const & key, StringView const & path, StringView const & name);
    // The same with the name's separators ("/" or "\\") in the path: "Software/Test" is the
    // path "Software\\Test".

    // Text values as stored, numbers in decimal, other types empty; empty when nothing is stored.
    // `type` becomes the stored value's type.
    String getValue();
    // Stores `text` as a value of `type`; numbers are read in decimal. Raises "registry_set_error"
    // for a number that doesn't read, a name or path holding "=" or a line break, or a store that
    // can't be written.
    bool setValue(StringView const & text) const;

    // "HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_CLASSES_ROOT", "HKEY_USERS",
    // "HKEY_CURRENT_CONFIG".
    static Buffer<StringView> AvailableKeys();
    // Every value under the root `key`, "<path>/<name>" to "<type label>:<text>".
    static Dictionary<String, String> ListValues(StringView const & key);
    // The folders of the user's and the machine's store in place of the system's (empty Files:
    // the system's own again), so that a test writes neither.
    static void SetStoreFoldersForTesting(File const & user, File const & machine);

    String key;
    String path;
    String name;
    RegistyEntryType type = REG_SZ;
};

// The labels of the table above ("REG_DWORD"); "null" for any other value. Reading an unknown
// label leaves the value unchanged.
template <>
class QELTA_BASE_EXPORT StringStream<RegistyEntryType> {
  public:
    static void fromString(StringView const & text, RegistyEntryType & value) noexcept;
    static void toString(RegistyEntryType const & value, StringAllocatingView & out);
};

} // namespace QELTA
