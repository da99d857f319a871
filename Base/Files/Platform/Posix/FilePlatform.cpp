// The file system on Linux: statx, utimensat, fopen with close-on-exec, fsync, rename.
#include "Base/Files/Platform/FilePlatform.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

constexpr char by_label_folder[] = "/dev/disk/by-label";
constexpr char default_temporary_folder[] = "/tmp";
constexpr char programs_folder[] = "/opt/";
constexpr char machine_data_folder[] = "/var/lib/";
constexpr char user_data_tail[] = "/.local/share/";
constexpr char config_tail[] = "/.config/";
constexpr char user_dirs_file[] = "user-dirs.dirs";
constexpr char home_variable[] = "$HOME";
constexpr char executable_link[] = "/proc/self/exe";
constexpr char block_devices_folder[] = "/sys/dev/block/";
constexpr unsigned int attribute_fields = STATX_TYPE | STATX_SIZE | STATX_ATIME | STATX_MTIME | STATX_BTIME;
constexpr std::size_t copy_chunk = 1 << 16;
constexpr std::size_t copy_buffer = 1 << 14; // on the stack of the caller's thread
constexpr unsigned long long default_progress_chunk = 8ull << 20;
constexpr std::size_t progress_copy_buffer = 1 << 20; // on the heap, for the read/write fallback
constexpr unsigned int staging_attempts = 16;

std::atomic<unsigned long long> s_progress_chunk{default_progress_chunk};

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

// The attributes of one statx answer for the entry called `name`.
void FillAttributes(struct statx const & status, std::string_view name, FileAttributes & attributes) {
    attributes.size = status.stx_size;
    attributes.modified = FromTimestamp(status.stx_mtime);
    attributes.accessed = FromTimestamp(status.stx_atime);
    // Some file systems announce a creation time but hold zero for files made before they kept it.
    bool const has_creation =
        (status.stx_mask & STATX_BTIME) != 0 && (status.stx_btime.tv_sec != 0 || status.stx_btime.tv_nsec != 0);
    attributes.created = has_creation ? FromTimestamp(status.stx_btime) : Time();
    attributes.directory = S_ISDIR(status.stx_mode);
    attributes.hidden = name.size() > 1 && name[0] == '.' && name != "..";
}

// A variable of the environment that holds an absolute path, else empty.
std::string AbsoluteVariable(char const * name) {
    char const * value = std::getenv(name);
    return value != nullptr && value[0] == '/' ? std::string(value) : std::string();
}

std::string WithSlash(std::string path) {
    if (!path.empty() && path.back() != '/') {
        path += '/';
    }
    return path;
}

// The user's folder of one kind as the user-dirs file of the configuration folder names it
// (`KEY="$HOME/Documents"`), else `fallback` inside the home folder.
std::string UserDirectory(std::string const & home, char const * key, char const * fallback) {
    std::string config = AbsoluteVariable("XDG_CONFIG_HOME");
    config = config.empty() ? home + config_tail : WithSlash(config);
    std::ifstream in(config + user_dirs_file);
    std::string const prefix = std::string(key) + "=\"";
    std::string line;
    while (std::getline(in, line)) {
        if (line.compare(0, prefix.size(), prefix) != 0) {
            continue;
        }
        std::size_t const end = line.find('"', prefix.size());
        if (end == std::string::npos) {
            break;
        }
        std::string value = line.substr(prefix.size(), end - prefix.size());
        if (value.compare(0, sizeof(home_variable) - 1, home_variable) == 0) {
            value = home + value.substr(sizeof(home_variable) - 1);
        }
        if (!value.empty() && value[0] == '/') {
            return WithSlash(value);
        }
        break;
    }
    return home + "/" + fallback + "/";
}

// Opens a new file with a free temporary name beside `to`: ".<name>.<random id>.part".
int OpenStaging(std::string const & to, std::string & staging, int & descriptor) {
    std::string const folder = FolderOf(to);
    int error = EEXIST;
    for (unsigned int attempt = 0; attempt < staging_attempts && error == EEXIST; ++attempt) {
        StringAllocatingView id;
        StringStream<UUID>::toString(UUID::CreateUUID(), id);
        staging = folder + "/." + std::string(LastName(to)) + "." + std::string(id.data(), id.size()) + ".part";
        descriptor = open(staging.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        error = descriptor < 0 ? errno : 0;
    }
    return error;
}

// A chunk of up to `size` bytes by the read/write fallback; `at_target` tells which side failed.
int ReadWriteChunk(int from, int to, unsigned long long size, std::unique_ptr<char[]> & buffer,
                   unsigned long long & copied, bool & at_target) {
    if (!buffer) {
        buffer.reset(new (std::nothrow) char[progress_copy_buffer]);
        if (!buffer) {
            return ENOMEM;
        }
    }
    while (size > 0) {
        std::size_t const wanted = static_cast<std::size_t>(std::min<unsigned long long>(size, progress_copy_buffer));
        ssize_t const got = read(from, buffer.get(), wanted);
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        if (got == 0) {
            return 0;
        }
        if (int const error = WriteAll(to, buffer.get(), static_cast<std::size_t>(got)); error != 0) {
            at_target = true;
            return error;
        }
        copied += static_cast<unsigned long long>(got);
        size -= static_cast<unsigned long long>(got);
    }
    return 0;
}

// Copies one chunk of up to `size` bytes; `end` is set at the end of the source. The kernel's
// in-place copy is used until it refuses this pair of files, then reading and writing.
int CopyChunk(int from, int to, unsigned long long size, bool & in_kernel, std::unique_ptr<char[]> & buffer,
              unsigned long long & copied, bool & end, bool & at_target) {
    unsigned long long const before = copied;
    while (in_kernel && copied - before < size) {
        std::size_t const wanted = static_cast<std::size_t>(size - (copied - before));
        ssize_t const moved = copy_file_range(from, nullptr, to, nullptr, wanted, 0);
        if (moved > 0) {
            copied += static_cast<unsigned long long>(moved);
            continue;
        }
        if (moved == 0) {
            end = true;
            return 0;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP) {
            // The call doesn't say which side failed; a full or limited target is the likely case.
            at_target = errno == ENOSPC || errno == EFBIG || errno == EDQUOT || errno == EROFS;
            return errno;
        }
        in_kernel = false;
    }
    if (in_kernel) {
        return 0;
    }
    unsigned long long const left = size - (copied - before);
    unsigned long long const start = copied;
    int const error = ReadWriteChunk(from, to, left, buffer, copied, at_target);
    end = error == 0 && copied - start < left;
    return error;
}

} // namespace

bool FilePlatform::ReadAttributes(StringView const & path, FileAttributes & attributes) noexcept {
    std::string system;
    if (!ToSystem(path, system) || system.empty()) {
        return false;
    }
    struct statx status {};
    if (statx(AT_FDCWD, system.c_str(), 0, attribute_fields, &status) != 0) {
        return false;
    }
    FillAttributes(status, LastName(system), attributes);
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

bool FilePlatform::IsRemovableVolume(StringView const & path) noexcept {
    std::string system;
    struct stat status {};
    if (!ToSystem(path, system) || system.empty() || stat(system.c_str(), &status) != 0) {
        return false;
    }
    try {
        std::string const device = std::string(block_devices_folder) + std::to_string(major(status.st_dev)) + ":" +
                                   std::to_string(minor(status.st_dev));
        std::error_code failure;
        std::string const target = std::filesystem::read_symlink(device, failure).string();
        return !failure && (target.find("usb") != std::string::npos || target.find("mmc") != std::string::npos);
    } catch (...) {
        return false; // out of memory: not known to be removable
    }
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

String FilePlatform::SystemPath(StringView const & path) {
    std::string system;
    if (!ToSystem(path, system)) {
        return String();
    }
    return String(system);
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

CopyOutcome FilePlatform::CopyFileThroughTemporary(StringView const & source, StringView const & target,
                                                   CopyProgress progress, void * context) noexcept {
    CopyOutcome outcome;
    std::string from;
    std::string to;
    if (!ToSystem(source, from) || from.empty()) {
        outcome.error = ENOENT;
        return outcome;
    }
    if (!ToSystem(target, to) || to.empty()) {
        outcome.error = ENOENT;
        outcome.at_target = true;
        return outcome;
    }
    int const input = open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (input < 0) {
        outcome.error = errno;
        return outcome;
    }
    struct stat status {};
    if (fstat(input, &status) != 0) {
        outcome.error = CloseKeepingError(input, errno);
        return outcome;
    }
    if (S_ISDIR(status.st_mode)) {
        outcome.error = CloseKeepingError(input, EISDIR);
        return outcome;
    }
    std::string staging;
    int output = -1;
    if (int const error = OpenStaging(to, staging, output); error != 0) {
        outcome.error = CloseKeepingError(input, error);
        outcome.at_target = true;
        return outcome;
    }
    // Content that replaces a file is on the device before the rename, so that a crash leaves the
    // old file or the new one; a new file needs no such wait, as nothing is lost without it.
    struct stat existing {};
    bool const replaces = lstat(to.c_str(), &existing) == 0;
    posix_fadvise(input, 0, 0, POSIX_FADV_SEQUENTIAL);
    unsigned long long const total = static_cast<unsigned long long>(status.st_size);
    unsigned long long const chunk = s_progress_chunk.load(std::memory_order_relaxed);
    unsigned long long copied = 0;
    bool in_kernel = true;
    bool end = false;
    std::unique_ptr<char[]> buffer;
    int error = 0;
    while (!end && error == 0) {
        unsigned long long const chunk_start = copied;
        error = CopyChunk(input, output, chunk, in_kernel, buffer, copied, end, outcome.at_target);
        if (replaces && error == 0 && copied > chunk_start) {
            // Starts writing the chunk out now, so that the sync before the rename finds little
            // left to wait for; failures show up at that sync.
            sync_file_range(output, static_cast<off_t>(chunk_start), static_cast<off_t>(copied - chunk_start),
                            SYNC_FILE_RANGE_WRITE);
        }
        if (error == 0 && progress != nullptr && !progress(context, copied, total)) {
            outcome.stopped = true;
            error = ECANCELED;
        }
    }
    if (error == 0) {
        // A file system that keeps no modes or times still gets the content: these are best effort.
        fchmod(output, status.st_mode & 07777);
        timespec const times[2] = {status.st_atim, status.st_mtim};
        futimens(output, times);
        if (replaces && fsync(output) != 0) {
            error = errno;
            outcome.at_target = true;
        }
    }
    if (close(output) != 0 && error == 0) {
        error = errno;
        outcome.at_target = true;
    }
    close(input);
    if (error == 0 && rename(staging.c_str(), to.c_str()) != 0) {
        error = errno;
        outcome.at_target = true;
    }
    if (error != 0) {
        unlink(staging.c_str());
    }
    outcome.error = error;
    return outcome;
}

void FilePlatform::SetCopyChunkSizeForTesting(unsigned long long bytes) noexcept {
    s_progress_chunk.store(bytes == 0 ? default_progress_chunk : bytes, std::memory_order_relaxed);
}

int FilePlatform::RenamePath(StringView const & source, StringView const & target) noexcept {
    std::string from;
    std::string to;
    if (!ToSystem(source, from) || !ToSystem(target, to) || from.empty() || to.empty()) {
        return ENOENT;
    }
    return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

bool FilePlatform::IsLink(StringView const & path) noexcept {
    std::string system;
    struct stat status {};
    return ToSystem(path, system) && !system.empty() && lstat(system.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool FilePlatform::SetReadOnly(StringView const & path, bool read_only) noexcept {
    std::string system;
    struct stat status {};
    if (!ToSystem(path, system) || system.empty() || stat(system.c_str(), &status) != 0) {
        return false;
    }
    mode_t const mode = read_only ? (status.st_mode & ~static_cast<mode_t>(0222)) : (status.st_mode | S_IWUSR);
    return chmod(system.c_str(), mode & 07777) == 0;
}

String FilePlatform::TemporaryFolder() {
    char const * folder = std::getenv("TMPDIR");
    std::string system = folder != nullptr && folder[0] == '/' ? folder : default_temporary_folder;
    if (system.back() != '/') {
        system += '/';
    }
    return FromSystem(system);
}

String FilePlatform::KnownFolderPath(KnownFolder folder) {
    std::string const home = AbsoluteVariable("HOME");
    switch (folder) {
    case PROGRAMS:
        return FromSystem(programs_folder);
    case MACHINE_DATA:
        if (access(machine_data_folder, W_OK) == 0) {
            return FromSystem(machine_data_folder);
        }
        return KnownFolderPath(USER_DATA);
    case USER_DATA: {
        std::string const data = AbsoluteVariable("XDG_DATA_HOME");
        if (!data.empty()) {
            return FromSystem(WithSlash(data));
        }
        return home.empty() ? String() : FromSystem(home + user_data_tail);
    }
    case DOCUMENTS:
        return home.empty() ? String() : FromSystem(UserDirectory(home, "XDG_DOCUMENTS_DIR", "Documents"));
    case DOWNLOADS:
        return home.empty() ? String() : FromSystem(UserDirectory(home, "XDG_DOWNLOAD_DIR", "Downloads"));
    }
    return String();
}

String FilePlatform::ExecutablePath() {
    std::error_code failure;
    std::filesystem::path const path = std::filesystem::read_symlink(executable_link, failure);
    return failure ? String() : FromSystem(path.string());
}

bool FilePlatform::ListFolder(StringView const & folder, Buffer<FolderEntry> & entries) {
    std::string system;
    if (!ToSystem(folder, system) || system.empty()) {
        return false;
    }
    DIR * listing = opendir(system.c_str());
    if (listing == nullptr) {
        return false;
    }
    int const descriptor = dirfd(listing);
    while (dirent const * entry = readdir(listing)) {
        std::string_view const name(entry->d_name);
        if (name == "." || name == "..") {
            continue;
        }
        struct statx status {};
        if (statx(descriptor, entry->d_name, 0, attribute_fields, &status) != 0 &&
            statx(descriptor, entry->d_name, AT_SYMLINK_NOFOLLOW, attribute_fields, &status) != 0) {
            continue; // removed while the folder was read
        }
        FolderEntry & added = entries.add(FolderEntry{String(entry->d_name), FileAttributes()});
        FillAttributes(status, name, added.attributes);
    }
    closedir(listing);
    return true;
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
