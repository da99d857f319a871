// ModuleResourceManager and its kin: what a module needs outside itself (files, other modules,
// installers, firewall openings) and on which systems, builds and processors each need applies.
//
// Plain values with no lock, filled by a module in "DefineModuleResourcesForQELTA" and read by an
// installer or packaging tool; nothing in this library reads them. Nothing raises but allocation.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstdint>
#include <initializer_list>

namespace QELTA {

// The operating system keys of a configuration; `all` joins them with "|".
struct OSType {
    static constexpr StringView windows = "windows";
    static constexpr StringView android = "android";
    static constexpr StringView macx = "macx";
    static constexpr StringView ios = "ios";
    static constexpr StringView wasm = "wasm";
    static constexpr StringView all = "windows|android|macx|ios|wasm";
    // The key this system reports; it stands outside `all`, which keeps its five keys.
    static constexpr StringView current = "linux";
};

struct ConfigType {
    static constexpr StringView debug = "debug";
    static constexpr StringView release = "release";
    static constexpr StringView all = "debug|release";
};

struct PlatformType {
    static constexpr StringView x86 = "x86";
    static constexpr StringView x64 = "x64";
    static constexpr StringView armeabi = "armeabi";
    static constexpr StringView arm64 = "arm64";
    static constexpr StringView all = "x86|x64|armeabi|arm64";
};

// Where a need applies: "|"-separated lists of keys, each `all` in a new configuration.
struct QELTA_BASE_EXPORT ModuleConfiguration {
    ModuleConfiguration();
    ModuleConfiguration(StringView const & os_keys, StringView const & config_keys, StringView const & platform_keys);

    // True for an empty `value`, else when `value` stands anywhere in the list: a plain search for
    // the text, deliberately blind to the "|" marks, so that "x6" is needed wherever "x64" is.
    bool neededForOS(StringView const & value) const;
    bool neededForConfig(StringView const & value) const;
    bool neededForPlatform(StringView const & value) const;

    // The items joined by "|".
    static String Combine(std::initializer_list<StringView> items);
    // Drops the named items from the "|"-separated list and returns it.
    static String & Remove(String & list, std::initializer_list<StringView> items);

    String os;
    String config;
    String platform;
};

// The kinds of need this library fills in; other values pass through untouched.
enum DependencyType : std::uint32_t {
    FILE_DEPENDENCY = 1,
    MODULE_DEPENDENCY = 3,
    FIREWALL_DEPENDENCY = 5,
    INSTALLER_DEPENDENCY = 9,
};

// An opening in the firewall that a module asks for.
struct QELTA_BASE_EXPORT FireWallException {
    FireWallException();

    // Kept and copied for the host, like every field this library never fills.
    String key;
    TranslatedString name;
    TranslatedString description;
    void * first_handle = nullptr;
    void * second_handle = nullptr;
    String protocol;
    String protocol_extra;
    String profile;
    String profile_extra;
    String address;
    String address_extra;
    int port = -1;
    bool enabled = true;
};

struct QELTA_BASE_EXPORT ModuleDependency : ModuleConfiguration {
    ModuleDependency(DependencyType kind, StringView const & dependency_name, StringView const & os_keys,
                     StringView const & config_keys, StringView const & platform_keys);
    // A file.
    ModuleDependency(StringView const & dependency_name, StringView const & os_keys, StringView const & config_keys,
                     StringView const & platform_keys);
    // A firewall opening, kept in `name` as "protocol|profile|address|port|enabled" with enabled as
    // "T" or "F".
    ModuleDependency(FireWallException const & exception, StringView const & os_keys, StringView const & config_keys,
                     StringView const & platform_keys);

    // The opening of the text form in `name`, each missing field at its default. The enabled
    // state is read from the fifth field only, so text with fewer fields gives false, not the
    // default true: stored rules depend on that.
    FireWallException getAsFirewallException() const;

    // The module's name, the file's path or the firewall opening as text.
    String name;
    String extra_text;
    DependencyType type;
};

class QELTA_BASE_EXPORT ModuleResourceManager {
  public:
    ModuleResourceManager() = default;

    void addDependency(DependencyType kind, StringView const & name, StringView const & os = OSType::all,
                       StringView const & config = ConfigType::all, StringView const & platform = PlatformType::all);
    void addModuleDependency(StringView const & name, StringView const & os = OSType::all,
                             StringView const & config = ConfigType::all,
                             StringView const & platform = PlatformType::all);
    void addFileDependency(StringView const & name, StringView const & os = OSType::all,
                           StringView const & config = ConfigType::all,
                           StringView const & platform = PlatformType::all);
    void addInstallExeDependency(StringView const & name, StringView const & os = OSType::all,
                                 StringView const & config = ConfigType::all,
                                 StringView const & platform = PlatformType::all);

    // In order of addition.
    Buffer<ModuleDependency> dependencies;
    // Carried by copies for the host; nothing here fills it.
    Buffer<ModuleDependency> other_dependencies;
    ModuleConfiguration configuration;
    String extra_text;
};

} // namespace QELTA
