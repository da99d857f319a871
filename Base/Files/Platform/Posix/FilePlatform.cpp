// The file system on Linux: statx, utimensat, fopen with close-on-exec, fsync, rename.
#include "Base/Files/Platform/FilePlatform.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <system_error>
#include <unistd.h>

namespace QELTA {
namespace {

constexpr char by_label_folder[] = "/dev/disk/by-label";
constexpr char default_temporary_folder[] = "/tmp";
constexpr std::size_t copy_chunk = 1 << 16;
constexpr std::size_t copy_buffer = 1 << 14; // on the stack of the caller's thread

// The system's form of a library path: '/' for '\'. False for a path that holds a zero byte.
bool ToSystem(StringView const & path, std::string & out) {
    out.assign(path.data() == nullptr ? "" : path.data(), path.size());
    if (out.find('\0') != std::string::npos) {
        return false;
    }
    for (char & c : out) {
        if (c == '\\') {
            c = '/';
        }
    }
    return true;
}

String FromSystem(std::string const & path) {
    String out(path);
    for (unsigned int i = 0; i < out.size(); ++i) {
        if (out[i] == '/') {
            out[i] = '\\';
        }
    }
    return out;
}

Time FromTimestamp(statx_timestamp const & stamp) {
    if (stamp.tv_sec < 0) {
        return Time();
    }
    return Time(static_cast<unsigned long long>(stamp.tv_sec) * Time::nanoseconds_per_second + stamp.tv_nsec);
}

// The last name of a system path, ignoring trailing '/'.
std::string_view LastName(std::string const & path) {
    std::string_view view(path);
    while (view.size() > 1 && view.back() == '/') {
        view.remove_suffix(1);
    }
    std::size_t const slash = view.rfind('/');
    return slash == std::string_view::npos ? view : view.substr(slash + 1);
}

// The folder part of a system path, "." when it has none.
std::string FolderOf(std::string const & path) {
    std::size_t const slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

int CloseKeepingError(int descriptor, int error) {
    if (close(descriptor) != 0 && error == 0) {
        return errno;
    }
    return error;
}

int WriteAll(int descriptor, char const * bytes, std::size_t size) {
    while (size > 0) {
        ssize_t const written = write(descriptor, bytes, size);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

// Copies the whole content of one open file into another.
int CopyDescriptor(int from, int to) {
    for (;;) {
        ssize_t const copied = copy_file_range(from, nullptr, to, nullptr, copy_chunk, 0);
        if (copied > 0) {
            continue;
        }
        if (copied == 0) {
            return 0;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP) {
            return errno;
        }
        break;
    }
    char buffer[copy_buffer];
    for (;;) {
        ssize_t const got = read(from, buffer, sizeof(buffer));
        if (got == 0) {
            return 0;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        if (int const error = WriteAll(to, buffer, static_cast<std::size_t>(got)); error != 0) {
            return error;
        }
    }
}

// Copies `from` into a new file `to`, synced when `sync` is set; a failed copy removes `to`.
int CopyPath(std::string const & from, std::string const & to, int create_flags, bool sync) {
    int const source = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0) {
        return errno;
    }
    struct stat status {};
    mode_t const mode = fstat(source, &status) == 0 ? (status.st_mode & 07777) : 0644;
    int const target = open(to.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | create_flags, mode);
    if (target < 0) {
        return CloseKeepingError(source, errno);
    }
    int error = CopyDescriptor(source, target);
    if (error == 0 && sync && fsync(target) != 0) {
        error = errno;
    }
    error = CloseKeepingError(target, error);
    error = CloseKeepingError(source, error);
    if (error != 0 && (create_flags & O_EXCL) != 0) {
        unlink(to.c_str());
    }
    return error;
}

} // namespace

bool FilePlatform::ReadAttributes(StringView const & path, FileAttributes & attributes) noexcept {
    std::string system;
    if (!ToSystem(path, system) || system.empty()) {
        return false;
    }
    struct statx status {};
    unsigned int const wanted = STATX_TYPE | STATX_SIZE | STATX_ATIME | STATX_MTIME | STATX_BTIME;
    if (statx(AT_FDCWD, system.c_str(), 0, wanted, &status) != 0) {
        return false;
    }
    attributes.size = status.stx_size;
    attributes.modified = FromTimestamp(status.stx_mtime);
    attributes.accessed = FromTimestamp(status.stx_atime);
    // Some file systems announce a creation time but hold zero for files made before they kept it.
    bool const has_creation =
        (status.stx_mask & STATX_BTIME) != 0 && (status.stx_btime.tv_sec != 0 || status.stx_btime.tv_nsec != 0);
    attributes.created = has_creation ? FromTimestamp(status.stx_btime) : Time();
    attributes.directory = S_ISDIR(status.stx_mode);
    std::string_view const name = LastName(system);
    attributes.hidden = name.size() > 1 && name[0] == '.' && name != "..";
    return true;
}

bool FilePlatform::PathExists(StringView const & path) noexcept {
    std::string system;
    return ToSystem(path, system) && !system.empty() && access(system.c_str(), F_OK) == 0;
}

bool FilePlatform::IsExistingFolder(StringView const & path) noexcept {
    std::string system;
    struct stat status {};
    return ToSystem(path, system) && !system.empty() && stat(system.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

int FilePlatform::MakeFolder(StringView const & path) noexcept {
    std::string system;
    if (!ToSystem(path, system) || system.empty()) {
        return ENOENT;
    }
    if (mkdir(system.c_str(), 0777) == 0) {
        return 0;
    }
    int const error = errno;
    return error == EEXIST && IsExistingFolder(path) ? 0 : error;
}

String FilePlatform::AbsolutePath(StringView const & path) {
    std::string system;
    if (!ToSystem(path, system)) {
        return String();
    }
    std::error_code failure;
    std::filesystem::path const absolute = std::filesystem::absolute(std::filesystem::path(system), failure);
    if (failure) {
        return String();
    }
    return FromSystem(absolute.lexically_normal().string());
}

String FilePlatform::RelativePath(StringView const & path, StringView const & base) {
    std::string system_path;
    std::string system_base;
    if (!ToSystem(path, system_path) || !ToSystem(base, system_base)) {
        return String();
    }
    std::error_code failure;
    std::filesystem::path const from = std::filesystem::weakly_canonical(system_path, failure);
    if (failure) {
        return String();
    }
    std::filesystem::path const to = std::filesystem::weakly_canonical(system_base, failure);
    if (failure) {
        return String();
    }
    return FromSystem(from.lexically_relative(to).string());
}

bool FilePlatform::ReadFileIdentity(StringView const & path, UUID & identity) noexcept {
    std::string system;
    struct stat status {};
    if (!ToSystem(path, system) || system.empty() || stat(system.c_str(), &status) != 0) {
        return false;
    }
    unsigned long long const device = status.st_dev;
    unsigned long long const inode = status.st_ino;
    for (unsigned int i = 0; i < 8; ++i) {
        identity.bytes[i] = static_cast<unsigned char>(device >> (8 * i));
        identity.bytes[8 + i] = static_cast<unsigned char>(inode >> (8 * i));
    }
    return true;
}

unsigned long long FilePlatform::AvailableSpace(StringView const & path, bool free_bytes) noexcept {
    std::string system;
    struct statvfs status {};
    if (!ToSystem(path, system) || system.empty() || statvfs(system.c_str(), &status) != 0) {
        return ~0ull;
    }
    unsigned long long const blocks = free_bytes ? status.f_bfree : status.f_bavail;
    return blocks * status.f_frsize;
}

String FilePlatform::VolumeLabel(StringView const & path) {
    std::string system;
    struct stat status {};
    if (!ToSystem(path, system) || system.empty() || stat(system.c_str(), &status) != 0) {
        return String();
    }
    DIR * labels = opendir(by_label_folder);
    if (labels == nullptr) {
        return String();
    }
    String label;
    while (dirent const * entry = readdir(labels)) {
        if (entry->d_name[0] == '.') {
            continue;
        }
        std::string const device = std::string(by_label_folder) + "/" + entry->d_name;
        struct stat device_status {};
        if (stat(device.c_str(), &device_status) == 0 && S_ISBLK(device_status.st_mode) &&
            device_status.st_rdev == status.st_dev) {
            label = String(entry->d_name);
            break;
        }
    }
    closedir(labels);
    return label;
}

StringBuffer FilePlatform::SystemDrives() {
    StringBuffer drives;
    drives.add(String("\\"));
    return drives;
}

bool FilePlatform::SetAccessTime(StringView const & path, Time const & accessed) noexcept {
    std::string system;
    if (!ToSystem(path, system) || system.empty() || !accessed.isValid()) {
        return false;
    }
    timespec times[2]{};
    times[0].tv_sec = static_cast<time_t>(accessed.nanoseconds() / Time::nanoseconds_per_second);
    times[0].tv_nsec = static_cast<long>(accessed.nanoseconds() % Time::nanoseconds_per_second);
    times[1].tv_nsec = UTIME_OMIT;
    return utimensat(AT_FDCWD, system.c_str(), times, 0) == 0;
}

std::FILE * FilePlatform::OpenStream(StringView const & path, char const * mode, int & error) noexcept {
    std::string system;
    if (!ToSystem(path, system) || system.empty()) {
        error = ENOENT;
        return nullptr;
    }
    std::string const flags = std::string(mode) + "e";
    errno = 0;
    std::FILE * stream = std::fopen(system.c_str(), flags.c_str());
    error = stream == nullptr ? (errno == 0 ? EINVAL : errno) : 0;
    return stream;
}

int FilePlatform::SyncFile(std::FILE * stream) noexcept {
    if (std::fflush(stream) != 0) {
        return errno == 0 ? EIO : errno;
    }
    if (fsync(fileno(stream)) != 0) {
        return errno;
    }
    return 0;
}

int FilePlatform::SyncFolder(StringView const & folder) noexcept {
    std::string system;
    if (!ToSystem(folder, system)) {
        return ENOENT;
    }
    if (system.empty()) {
        system = ".";
    }
    int const descriptor = open(system.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return errno;
    }
    int const error = fsync(descriptor) != 0 && errno != EINVAL ? errno : 0;
    return CloseKeepingError(descriptor, error);
}

int FilePlatform::ReplaceFileAtomically(StringView const & source, StringView const & target) noexcept {
    std::string from;
    std::string to;
    if (!ToSystem(source, from) || !ToSystem(target, to) || from.empty() || to.empty()) {
        return ENOENT;
    }
    if (rename(from.c_str(), to.c_str()) == 0) {
        return 0;
    }
    if (errno != EXDEV) {
        return errno;
    }
    // Another file system: bring the content next to the target first, so that the step that
    // replaces it is still a single rename.
    std::string const folder = FolderOf(to);
    std::string staging;
    int error = EEXIST;
    for (unsigned int attempt = 0; attempt < 16 && error == EEXIST; ++attempt) {
        StringAllocatingView id;
        StringStream<UUID>::toString(UUID::CreateUUID(), id);
        staging = folder + "/." + std::string(LastName(to)) + "." + std::string(id.data(), id.size()) + ".part";
        error = CopyPath(from, staging, O_EXCL, true);
    }
    if (error != 0) {
        return error;
    }
    if (rename(staging.c_str(), to.c_str()) != 0) {
        error = errno;
        unlink(staging.c_str());
        return error;
    }
    unlink(from.c_str());
    return 0;
}

int FilePlatform::CopyFileContent(StringView const & source, StringView const & target) noexcept {
    std::string from;
    std::string to;
    if (!ToSystem(source, from) || !ToSystem(target, to) || from.empty() || to.empty()) {
        return ENOENT;
    }
    return CopyPath(from, to, O_TRUNC, false);
}

int FilePlatform::RemovePath(StringView const & path) noexcept {
    std::string system;
    if (!ToSystem(path, system) || system.empty()) {
        return ENOENT;
    }
    return std::remove(system.c_str()) == 0 ? 0 : errno;
}

String FilePlatform::TemporaryFolder() {
    char const * folder = std::getenv("TMPDIR");
    std::string system = folder != nullptr && folder[0] == '/' ? folder : default_temporary_folder;
    if (system.back() != '/') {
        system += '/';
    }
    return FromSystem(system);
}

String FilePlatform::ErrorName(int error) {
    char const * name = strerrorname_np(error);
    return String(name);
}

String FilePlatform::ErrorText(int error) {
    char buffer[256] = {};
    // The GNU form returns the text, which may or may not lie in `buffer`.
    return String(strerror_r(error, buffer, sizeof(buffer)));
}

} // namespace QELTA
