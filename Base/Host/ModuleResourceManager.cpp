// What modules need: configurations, dependencies and firewall openings in their text form.
#include "Base/Host/ModuleResourceManager.h"

#include "Base/Text/StringStream.h"

namespace QELTA {
namespace {

constexpr char separator = '|';
constexpr char default_protocol[] = "tcp";
constexpr char default_profile[] = "domain";
constexpr char default_address[] = "any";

bool Needed(String const & list, StringView const & value) {
    return value.isEmpty() || list.hasSubString(value);
}

String FirewallText(FireWallException const & exception) {
    String text(exception.protocol.view());
    text.append(separator);
    text.append(exception.profile.view());
    text.append(separator);
    text.append(exception.address.view());
    text.append(separator);
    StringAllocatingView port;
    StringStream<int>::toString(exception.port, port);
    text.append(port.view());
    text.append(separator);
    text.append(exception.enabled ? 'T' : 'F');
    return text;
}

} // namespace

ModuleConfiguration::ModuleConfiguration() : os(OSType::all), config(ConfigType::all), platform(PlatformType::all) {}

ModuleConfiguration::ModuleConfiguration(StringView const & os_keys, StringView const & config_keys,
                                         StringView const & platform_keys)
    : os(os_keys), config(config_keys), platform(platform_keys) {}

bool ModuleConfiguration::neededForOS(StringView const & value) const {
    return Needed(os, value);
}

bool ModuleConfiguration::neededForConfig(StringView const & value) const {
    return Needed(config, value);
}

bool ModuleConfiguration::neededForPlatform(StringView const & value) const {
    return Needed(platform, value);
}

String ModuleConfiguration::Combine(std::initializer_list<StringView> items) {
    String list;
    bool first = true;
    for (StringView const & item : items) {
        if (!first) {
            list.append(separator);
        }
        list.append(item);
        first = false;
    }
    return list;
}

String & ModuleConfiguration::Remove(String & list, std::initializer_list<StringView> items) {
    String kept;
    bool first = true;
    for (StringView const & part : list.split(separator, true)) {
        bool dropped = false;
        for (StringView const & item : items) {
            dropped = dropped || part == item;
        }
        if (!dropped) {
            if (!first) {
                kept.append(separator);
            }
            kept.append(part);
            first = false;
        }
    }
    list = kept.view();
    return list;
}

FireWallException::FireWallException()
    : protocol(default_protocol), profile(default_profile), address(default_address) {}

ModuleDependency::ModuleDependency(DependencyType kind, StringView const & dependency_name, StringView const & os_keys,
                                   StringView const & config_keys, StringView const & platform_keys)
    : ModuleConfiguration(os_keys, config_keys, platform_keys), name(dependency_name), type(kind) {}

ModuleDependency::ModuleDependency(StringView const & dependency_name, StringView const & os_keys,
                                   StringView const & config_keys, StringView const & platform_keys)
    : ModuleDependency(FILE_DEPENDENCY, dependency_name, os_keys, config_keys, platform_keys) {}

ModuleDependency::ModuleDependency(FireWallException const & exception, StringView const & os_keys,
                                   StringView const & config_keys, StringView const & platform_keys)
    : ModuleDependency(FIREWALL_DEPENDENCY, FirewallText(exception).view(), os_keys, config_keys, platform_keys) {}

FireWallException ModuleDependency::getAsFirewallException() const {
    FireWallException exception;
    StringViewBuffer const parts = name.split(separator, true);
    if (parts.size() > 0) {
        exception.protocol = parts[0];
    }
    if (parts.size() > 1) {
        exception.profile = parts[1];
    }
    if (parts.size() > 2) {
        exception.address = parts[2];
    }
    if (parts.size() > 3) {
        StringStream<int>::fromString(parts[3], exception.port);
    }
    bool enabled = false;
    if (parts.size() > 4) {
        StringStream<bool>::fromString(parts[4], enabled);
    }
    exception.enabled = enabled;
    return exception;
}

void ModuleResourceManager::addDependency(DependencyType kind, StringView const & name, StringView const & os,
                                          StringView const & config, StringView const & platform) {
    dependencies.add(ModuleDependency(kind, name, os, config, platform));
}

void ModuleResourceManager::addModuleDependency(StringView const & name, StringView const & os,
                                                StringView const & config, StringView const & platform) {
    addDependency(MODULE_DEPENDENCY, name, os, config, platform);
}

void ModuleResourceManager::addFileDependency(StringView const & name, StringView const & os, StringView const & config,
                                              StringView const & platform) {
    addDependency(FILE_DEPENDENCY, name, os, config, platform);
}

void ModuleResourceManager::addInstallExeDependency(StringView const & name, StringView const & os,
                                                    StringView const & config, StringView const & platform) {
    addDependency(INSTALLER_DEPENDENCY, name, os, config, platform);
}

} // namespace QELTA
