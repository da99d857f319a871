// What Linux says about the machine: plain reads of /proc and /sys, readlink, uname and sysconf.
#include "Base/Host/Platform/SystemInfoPlatform.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/utsname.h>
#include <unistd.h>

namespace QELTA {
namespace {

std::string ToSystem(StringView const & path) {
    std::string out(path.data() == nullptr ? "" : path.data(), path.size());
    std::replace(out.begin(), out.end(), '\\', '/');
    return out;
}

} // namespace

String SystemInfoPlatform::ReadSmallFile(StringView const & path, unsigned int limit) {
    String out;
    std::string const system = ToSystem(path);
    if (system.find('\0') != std::string::npos) {
        return out;
    }
    int const descriptor = open(system.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return out;
    }
    char buffer[4096];
    while (out.size() < limit) {
        std::size_t const wanted = std::min<std::size_t>(sizeof(buffer), limit - out.size());
        ssize_t const count = read(descriptor, buffer, wanted);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        out.append(buffer, static_cast<unsigned int>(count));
    }
    close(descriptor);
    return out;
}

String SystemInfoPlatform::LinkTargetName(StringView const & path) {
    std::string const system = ToSystem(path);
    char target[4096];
    ssize_t const count = readlink(system.c_str(), target, sizeof(target) - 1);
    if (count <= 0) {
        return String();
    }
    std::string const text(target, static_cast<std::size_t>(count));
    return String(text.substr(text.find_last_of('/') == std::string::npos ? 0 : text.find_last_of('/') + 1));
}

Buffer<String> SystemInfoPlatform::FolderNames(StringView const & path) {
    Buffer<String> names;
    std::string const system = ToSystem(path);
    DIR * const folder = opendir(system.c_str());
    if (folder == nullptr) {
        return names;
    }
    while (dirent const * entry = readdir(folder)) {
        std::string const name = entry->d_name;
        if (name != "." && name != "..") {
            names.add(String(name));
        }
    }
    closedir(folder);
    return names;
}

String SystemInfoPlatform::MachineArchitecture() {
    utsname names{};
    return uname(&names) == 0 ? String(names.machine) : String();
}

unsigned int SystemInfoPlatform::PageSize() noexcept {
    long const size = sysconf(_SC_PAGESIZE);
    return size > 0 ? static_cast<unsigned int>(size) : 0u;
}

unsigned int SystemInfoPlatform::OnlineProcessors() noexcept {
    long const count = sysconf(_SC_NPROCESSORS_ONLN);
    return count > 0 ? static_cast<unsigned int>(count) : 0u;
}

} // namespace QELTA
