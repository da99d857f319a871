// The registry store: one settings file for each root key, "<path>/<name>=<type label>:<text>".
#include "Base/Settings/RegistryEntry.h"

#include "Base/Failure/Exception.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/Platform/EnvironmentPlatform.h"

#include <cerrno>
#include <mutex>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char const * root_keys[] = {"HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_CLASSES_ROOT", "HKEY_USERS",
                                      "HKEY_CURRENT_CONFIG"};
constexpr unsigned int machine_key = 1;
constexpr char store_ending[] = ".ini";
constexpr char type_separator = ':';
constexpr char set_error_title[] = "Cannot set Registry";
constexpr char set_error_label[] = "registry_set_error";
constexpr char set_error_text[] = "Path:\n[path]\nVariable:\n[variable]\nError:\n[error]";

constexpr char const * type_labels[] = {"REG_NONE",
                                        "REG_SZ",
                                        "REG_EXPAND_SZ",
                                        "REG_BINARY",
                                        "REG_DWORD",
                                        "REG_DWORD_BIG_ENDIAN",
                                        "REG_LINK",
                                        "REG_MULTI_SZ",
                                        "REG_RESOURCE_LIST",
                                        "REG_FULL_RESOURCE_DESCRIPTOR",
                                        "REG_RESOURCE_REQUIREMENTS_LIST",
                                        "REG_QWORD"};
constexpr char null_label[] = "null";

struct StoreFolders {
    std::mutex mutex;
    File user;
    File machine;
};

StoreFolders & TheStoreFolders() {
    static StoreFolders s_folders;
    return s_folders;
}

bool IsSeparator(char c) noexcept {
    return c == '\\' || c == '/';
}

// The store of a root key; false for a key that is no root.
bool StoreFile(StringView const & key, File & file) {
    for (unsigned int i = 0; i < sizeof(root_keys) / sizeof(root_keys[0]); ++i) {
        if (key != StringView(root_keys[i])) {
            continue;
        }
        bool const machine = i == machine_key;
        File folder;
        {
            StoreFolders & folders = TheStoreFolders();
            std::lock_guard<std::mutex> guard(folders.mutex);
            folder = machine ? folders.machine : folders.user;
        }
        if (folder.isEmpty()) {
            folder = File(EnvironmentPlatform::RegistryFolder(machine));
        }
        String path(folder.view());
        if (path.isEmpty() || !IsSeparator(path.view().last())) {
            path.append('\\');
        }
        path.append(key).append(StringView(store_ending));
        file = File(path);
        return true;
    }
    return false;
}

// "<path>/<name>", the path's separators made "/" too: the settings reader takes a backslash in a
// label for an escape.
String Label(RegistryEntry const & entry) {
    String label(entry.path);
    label.replace("\\", "/");
    label.append('/').append(entry.name.view());
    return label;
}

INIFactory ReadStore(File & file) {
    INIFactory factory;
    factory.setPreserveOrder(true);
    if (file.exists()) {
        factory.readAsciiFile(file);
    }
    return factory;
}

[[noreturn]] void RaiseSetError(RegistryEntry const & entry, TranslatedString const & error) {
    TranslatedString message = Translatable(set_error_label, set_error_text);
    String full(entry.key);
    full.append('\\').append(entry.path.view());
    message.replace("[path]", TranslatedString::DirectString(full.view()));
    message.replace("[variable]", TranslatedString::DirectString(entry.name.view()));
    message.replace("[error]", error);
    throw Exception(message, Translatable(set_error_title), false);
}

// A decimal number of at most `max`; false for anything else.
bool ReadNumber(StringView const & text, std::uint64_t max, std::uint64_t & value) {
    value = 0;
    if (text.isEmpty()) {
        return false;
    }
    for (unsigned int i = 0; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return false;
        }
        std::uint64_t const digit = static_cast<std::uint64_t>(text[i] - '0');
        if (value > (max - digit) / 10) {
            return false;
        }
        value = value * 10 + digit;
    }
    return true;
}

bool HasLineBreakOrEquals(StringView const & text) {
    return text.indexOf('=') != StringView::not_found || text.indexOf('\n') != StringView::not_found ||
           text.indexOf('\r') != StringView::not_found;
}

} // namespace

RegistryEntry::RegistryEntry(StringView const & full_path) {
    unsigned int first = StringView::not_found;
    unsigned int last = StringView::not_found;
    for (unsigned int i = 0; i < full_path.size(); ++i) {
        if (IsSeparator(full_path[i])) {
            first = first == StringView::not_found ? i : first;
            last = i;
        }
    }
    if (first == StringView::not_found) {
        key = String(full_path);
        return;
    }
    key = String(full_path.substr(0, first));
    if (last > first) {
        path = String(full_path.substr(first + 1, last));
    }
    name = String(full_path.substr(last + 1));
}

RegistryEntry::RegistryEntry(StringView const & key_and_path, StringView const & value_name)
    : RegistryEntry(key_and_path, StringView(), value_name) {
    unsigned int first = StringView::not_found;
    for (unsigned int i = 0; i < key_and_path.size() && first == StringView::not_found; ++i) {
        if (IsSeparator(key_and_path[i])) {
            first = i;
        }
    }
    if (first != StringView::not_found) {
        key = String(key_and_path.substr(0, first));
        path = String(key_and_path.substr(first + 1));
    }
}

RegistryEntry::RegistryEntry(StringView const & root, StringView const & key_path, StringView const & value_name)
    : key(root), path(key_path), name(value_name) {
    path.replace("/", "\\");
}

String RegistryEntry::getValue() {
    File file;
    if (!StoreFile(key.view(), file)) {
        return String();
    }
    String stored;
    try {
        INIFactory const factory = ReadStore(file);
        stored = factory.getOption(Label(*this).view(), StringView());
    } catch (Exception const &) {
        return String();
    }
    unsigned int const colon = stored.indexOf(type_separator);
    if (colon == String::not_found) {
        return String();
    }
    RegistyEntryType stored_type = static_cast<RegistyEntryType>(~0u);
    StringStream<RegistyEntryType>::fromString(stored.substr(0, colon), stored_type);
    StringView const text = stored.substr(colon + 1);
    switch (stored_type) {
    case REG_NONE:
    case REG_SZ:
    case REG_EXPAND_SZ:
        type = stored_type;
        return String(text);
    case REG_BINARY:
    case REG_DWORD:
    case REG_DWORD_BIG_ENDIAN:
    case REG_QWORD: {
        type = stored_type;
        std::uint64_t number = 0;
        return ReadNumber(text, ~std::uint64_t(0), number) ? String(text) : String("0");
    }
    case REG_LINK:
    case REG_MULTI_SZ:
    case REG_RESOURCE_LIST:
    case REG_FULL_RESOURCE_DESCRIPTOR:
    case REG_RESOURCE_REQUIREMENTS_LIST:
        type = stored_type;
        return String();
    }
    return String();
}

bool RegistryEntry::setValue(StringView const & text) const {
    File file;
    if (!StoreFile(key.view(), file) || HasLineBreakOrEquals(path.view()) || HasLineBreakOrEquals(name.view())) {
        RaiseSetError(*this, ApplicationResource::GetErrorString(EINVAL));
    }
    String value;
    std::uint64_t number = 0;
    switch (type) {
    case REG_DWORD:
    case REG_DWORD_BIG_ENDIAN:
        if (!ReadNumber(text, 0xFFFFFFFFull, number)) {
            RaiseSetError(*this, ApplicationResource::GetErrorString(EINVAL));
        }
        break;
    case REG_BINARY:
    case REG_QWORD:
        if (!ReadNumber(text, ~std::uint64_t(0), number)) {
            RaiseSetError(*this, ApplicationResource::GetErrorString(EINVAL));
        }
        break;
    default:
        break;
    }
    StringAllocatingView label;
    StringStream<RegistyEntryType>::toString(type, label);
    value.append(label.view()).append(type_separator).append(text);
    try {
        INIFactory factory = ReadStore(file);
        factory.addManagedOption(Label(*this).view(), value.view(), true);
        File folder = file.getParentDirectory();
        if (!folder.exists()) {
            folder.create(true);
        }
        factory.writeToAsciiFile(file, false);
    } catch (Exception const & error) {
        RaiseSetError(*this, error.message());
    }
    return true;
}

Buffer<StringView> RegistryEntry::AvailableKeys() {
    Buffer<StringView> keys;
    for (char const * root : root_keys) {
        keys.add(StringView(root));
    }
    return keys;
}

Dictionary<String, String> RegistryEntry::ListValues(StringView const & root) {
    File file;
    if (!StoreFile(root, file)) {
        return Dictionary<String, String>();
    }
    try {
        return ReadStore(file).extraOptions();
    } catch (Exception const &) {
        return Dictionary<String, String>();
    }
}

void RegistryEntry::SetStoreFoldersForTesting(File const & user, File const & machine) {
    StoreFolders & folders = TheStoreFolders();
    std::lock_guard<std::mutex> guard(folders.mutex);
    folders.user = user;
    folders.machine = machine;
}

void StringStream<RegistyEntryType>::fromString(StringView const & text, RegistyEntryType & value) noexcept {
    unsigned long long const hash = text.hash();
    for (unsigned int i = 0; i < sizeof(type_labels) / sizeof(type_labels[0]); ++i) {
        if (StringView(type_labels[i]).hash() == hash && text == StringView(type_labels[i])) {
            value = static_cast<RegistyEntryType>(i);
            return;
        }
    }
}

void StringStream<RegistyEntryType>::toString(RegistyEntryType const & value, StringAllocatingView & out) {
    out.borrow(StringView(static_cast<unsigned int>(value) < sizeof(type_labels) / sizeof(type_labels[0])
                              ? type_labels[static_cast<unsigned int>(value)]
                              : null_label));
}

} // namespace QELTA
