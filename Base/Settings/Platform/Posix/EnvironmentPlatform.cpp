// The environment on Linux: getenv and setenv under one lock, environment.d files and the XDG
// configuration folders.
#include "Base/Settings/Platform/EnvironmentPlatform.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string>

namespace QELTA {
namespace {

constexpr char config_home_variable[] = "XDG_CONFIG_HOME";
constexpr char home_variable[] = "HOME";
constexpr char config_tail[] = "/.config";
constexpr char user_variables_tail[] = "/environment.d/60-qelta.conf";
constexpr char system_variables_file[] = "/etc/environment.d/60-qelta.conf";
constexpr char user_registry_tail[] = "/QELTA/registry/";
constexpr char machine_registry_folder[] = "/etc/xdg/QELTA/registry/";

std::mutex & EnvironmentMutex() {
    static std::mutex s_mutex;
    return s_mutex;
}

std::string Text(StringView const & text) {
    return std::string(text.data() == nullptr ? "" : text.data(), text.size());
}

String LibraryForm(std::string path) {
    std::replace(path.begin(), path.end(), '/', '\\');
    return String(path);
}

std::string ConfigHome() {
    std::lock_guard<std::mutex> guard(EnvironmentMutex());
    char const * config = std::getenv(config_home_variable);
    if (config != nullptr && *config == '/') {
        return config;
    }
    char const * home = std::getenv(home_variable);
    return std::string(home != nullptr ? home : "") + config_tail;
}

bool IsNameStart(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsNameChar(char c) noexcept {
    return IsNameStart(c) || (c >= '0' && c <= '9');
}

} // namespace

bool EnvironmentPlatform::GetVariable(StringView const & name, String & value) {
    std::string const key = Text(name);
    if (key.empty() || key.find('\0') != std::string::npos) {
        return false;
    }
    std::lock_guard<std::mutex> guard(EnvironmentMutex());
    char const * found = std::getenv(key.c_str());
    if (found == nullptr) {
        return false;
    }
    value = String(found);
    return true;
}

bool EnvironmentPlatform::SetVariable(StringView const & name, StringView const & value) {
    std::string const key = Text(name);
    std::string const text = Text(value);
    if (key.empty() || key.find_first_of(std::string("=\0", 2)) != std::string::npos ||
        text.find('\0') != std::string::npos) {
        return false;
    }
    std::lock_guard<std::mutex> guard(EnvironmentMutex());
    return setenv(key.c_str(), text.c_str(), 1) == 0;
}

String EnvironmentPlatform::ExpandVariables(StringView const & text) {
    std::string const in = Text(text);
    std::string out;
    std::lock_guard<std::mutex> guard(EnvironmentMutex());
    std::size_t i = 0;
    while (i < in.size()) {
        if (in[i] != '$' || i + 1 >= in.size()) {
            out += in[i++];
            continue;
        }
        std::size_t start = i + 1;
        std::size_t end = start;
        bool const braced = in[start] == '{';
        if (braced) {
            end = in.find('}', start + 1);
            start += 1;
        } else {
            while (end < in.size() && (end == start ? IsNameStart(in[end]) : IsNameChar(in[end]))) {
                ++end;
            }
        }
        std::string const name = end == std::string::npos ? std::string() : in.substr(start, end - start);
        char const * value = name.empty() || name.find('\0') != std::string::npos ? nullptr : std::getenv(name.c_str());
        if (value == nullptr) {
            out += in[i++];
            continue;
        }
        out += value;
        i = braced ? end + 1 : end;
    }
    return String(out);
}

String EnvironmentPlatform::PersistentVariablesFile(bool system) {
    return LibraryForm(system ? std::string(system_variables_file) : ConfigHome() + user_variables_tail);
}

String EnvironmentPlatform::RegistryFolder(bool machine) {
    return LibraryForm(machine ? std::string(machine_registry_folder) : ConfigHome() + user_registry_tail);
}

} // namespace QELTA
