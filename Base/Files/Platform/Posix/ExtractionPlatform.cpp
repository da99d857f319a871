// Writing below one folder on Linux: every piece is opened with openat and O_NOFOLLOW from a
// descriptor of the root, so no link and no rename of a folder on the way leads outside it.
#include "Base/Files/Platform/ExtractionPlatform.h"

#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Text/String.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

// Closes its descriptor when it goes.
class Descriptor {
  public:
    Descriptor() noexcept = default;
    explicit Descriptor(int descriptor) noexcept : descriptor_(descriptor) {}
    Descriptor(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor const &) = delete;
    Descriptor & operator=(Descriptor && other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor() {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    int get() const noexcept { return descriptor_; }
    int release() noexcept { return std::exchange(descriptor_, -1); }

  private:
    int descriptor_ = -1;
};

using Pieces = std::vector<std::string>;

// The pieces of a relative path; EINVAL for an empty, "." or ".." piece or a zero byte.
int Split(StringView const & relative, Pieces & pieces) {
    if (relative.size() > ExtractionPlatform::max_relative_size) {
        return ENAMETOOLONG;
    }
    std::string_view const text(relative.data() == nullptr ? "" : relative.data(), relative.size());
    if (text.find('\0') != std::string_view::npos) {
        return EINVAL;
    }
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find_first_of("/\\", start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        std::string_view const piece = text.substr(start, end - start);
        if (piece.empty() || piece == "." || piece == "..") {
            return EINVAL;
        }
        pieces.emplace_back(piece);
        start = end + 1;
        if (end + 1 == text.size()) {
            return EINVAL; // a trailing separator is an empty last piece
        }
    }
    return 0;
}

int OpenRoot(StringView const & root, Descriptor & folder) {
    String const system = FilePlatform::SystemPath(root);
    if (system.isEmpty()) {
        return ENOENT;
    }
    int const descriptor = open(system.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return errno;
    }
    folder = Descriptor(descriptor);
    return 0;
}

// ELOOP for a link, else the error of the failed open.
int OpenFailure(int parent, std::string const & piece) {
    int const error = errno;
    struct stat status {};
    if (fstatat(parent, piece.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode)) {
        return ELOOP;
    }
    return error;
}

// Opens the folder of the first `count` pieces below the root, making missing ones with `make`.
int Walk(StringView const & root, Pieces const & pieces, std::size_t count, bool make, Descriptor & folder) {
    if (int const error = OpenRoot(root, folder); error != 0) {
        return error;
    }
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    for (std::size_t i = 0; i < count; ++i) {
        char const * const piece = pieces[i].c_str();
        int next = openat(folder.get(), piece, flags);
        if (next < 0 && errno == ENOENT && make) {
            if (mkdirat(folder.get(), piece, 0777) != 0 && errno != EEXIST) {
                return errno;
            }
            next = openat(folder.get(), piece, flags);
        }
        if (next < 0) {
            return OpenFailure(folder.get(), pieces[i]);
        }
        folder = Descriptor(next);
    }
    return 0;
}

// The folder holding the last piece, and that piece; an empty path gives EINVAL.
int WalkToParent(StringView const & root, StringView const & relative, Descriptor & folder, std::string & name) {
    Pieces pieces;
    if (int const error = Split(relative, pieces); error != 0) {
        return error;
    }
    if (pieces.empty()) {
        return EINVAL;
    }
    name = pieces.back();
    return Walk(root, pieces, pieces.size() - 1, false, folder);
}

// Removes a file or link standing at `name`; a folder gives EISDIR, nothing there success.
int RemoveNonFolder(int folder, std::string const & name) {
    struct stat status {};
    if (fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? 0 : errno;
    }
    if (S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    return unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT ? 0 : errno;
}

// Runs `change(folder, name)` on the entry, or `change_root(descriptor)` for the root itself.
template <typename Change, typename ChangeRoot>
int ChangeEntry(StringView const & root, StringView const & relative, Change change, ChangeRoot change_root) {
    Pieces pieces;
    if (int const error = Split(relative, pieces); error != 0) {
        return error;
    }
    Descriptor folder;
    if (pieces.empty()) {
        if (int const error = OpenRoot(root, folder); error != 0) {
            return error;
        }
        return change_root(folder.get()) == 0 ? 0 : errno;
    }
    if (int const error = Walk(root, pieces, pieces.size() - 1, false, folder); error != 0) {
        return error;
    }
    struct stat status {};
    if (fstatat(folder.get(), pieces.back().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    if (S_ISLNK(status.st_mode)) {
        return ELOOP;
    }
    return change(folder.get(), pieces.back().c_str(), status) == 0 ? 0 : errno;
}

void ModifiedOnly(Time const & time, timespec times[2]) {
    times[0].tv_sec = 0;
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_sec = static_cast<time_t>(time.nanoseconds() / Time::nanoseconds_per_second);
    times[1].tv_nsec = static_cast<long>(time.nanoseconds() % Time::nanoseconds_per_second);
}

} // namespace

int ExtractionPlatform::MakeFoldersBelow(StringView const & root, StringView const & relative) noexcept {
    try {
        Pieces pieces;
        if (int const error = Split(relative, pieces); error != 0) {
            return error;
        }
        Descriptor folder;
        return Walk(root, pieces, pieces.size(), true, folder);
    } catch (...) {
        return ENOMEM;
    }
}

std::FILE * ExtractionPlatform::CreateFileBelow(StringView const & root, StringView const & relative,
                                                int & error) noexcept {
    try {
        Descriptor folder;
        std::string name;
        error = WalkToParent(root, relative, folder, name);
        if (error != 0) {
            return nullptr;
        }
        error = RemoveNonFolder(folder.get(), name);
        if (error != 0) {
            return nullptr;
        }
        Descriptor file(openat(folder.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (file.get() < 0) {
            error = OpenFailure(folder.get(), name);
            return nullptr;
        }
        std::FILE * const stream = fdopen(file.get(), "wb");
        if (stream == nullptr) {
            error = errno;
            return nullptr;
        }
        file.release();
        return stream;
    } catch (...) {
        error = ENOMEM;
        return nullptr;
    }
}

int ExtractionPlatform::MakeSymbolicLinkBelow(StringView const & root, StringView const & relative,
                                              StringView const & target) noexcept {
    try {
        Descriptor folder;
        std::string name;
        if (int const error = WalkToParent(root, relative, folder, name); error != 0) {
            return error;
        }
        String const system = FilePlatform::SystemPath(target);
        if (system.isEmpty()) {
            return EINVAL;
        }
        return symlinkat(system.c_str(), folder.get(), name.c_str()) == 0 ? 0 : errno;
    } catch (...) {
        return ENOMEM;
    }
}

int ExtractionPlatform::MakeHardLinkBelow(StringView const & root, StringView const & existing,
                                          StringView const & relative) noexcept {
    try {
        Descriptor from_folder;
        std::string from_name;
        if (int const error = WalkToParent(root, existing, from_folder, from_name); error != 0) {
            return error;
        }
        Descriptor to_folder;
        std::string to_name;
        if (int const error = WalkToParent(root, relative, to_folder, to_name); error != 0) {
            return error;
        }
        struct stat from {};
        if (fstatat(from_folder.get(), from_name.c_str(), &from, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno;
        }
        if (S_ISDIR(from.st_mode)) {
            return EPERM;
        }
        struct stat to {};
        if (fstatat(to_folder.get(), to_name.c_str(), &to, AT_SYMLINK_NOFOLLOW) == 0 && to.st_dev == from.st_dev &&
            to.st_ino == from.st_ino) {
            return 0;
        }
        if (int const error = RemoveNonFolder(to_folder.get(), to_name); error != 0) {
            return error;
        }
        return linkat(from_folder.get(), from_name.c_str(), to_folder.get(), to_name.c_str(), 0) == 0 ? 0 : errno;
    } catch (...) {
        return ENOMEM;
    }
}

int ExtractionPlatform::SetModeBelow(StringView const & root, StringView const & relative, unsigned int mode) noexcept {
    try {
        mode_t const bits = static_cast<mode_t>(mode & 0777);
        return ChangeEntry(
            root, relative,
            [bits](int folder, char const * name, struct stat const &) {
                return fchmodat(folder, name, bits, AT_SYMLINK_NOFOLLOW);
            },
            [bits](int descriptor) { return fchmod(descriptor, bits); });
    } catch (...) {
        return ENOMEM;
    }
}

int ExtractionPlatform::SetWritableBelow(StringView const & root, StringView const & relative, bool writable) noexcept {
    auto const changed = [writable](mode_t mode) {
        return static_cast<mode_t>((writable ? (mode | S_IWUSR) : (mode & ~static_cast<mode_t>(0222))) & 07777);
    };
    try {
        return ChangeEntry(
            root, relative,
            [&changed](int folder, char const * name, struct stat const & status) {
                return fchmodat(folder, name, changed(status.st_mode), AT_SYMLINK_NOFOLLOW);
            },
            [&changed](int descriptor) {
                struct stat status {};
                return fstat(descriptor, &status) != 0 ? -1 : fchmod(descriptor, changed(status.st_mode));
            });
    } catch (...) {
        return ENOMEM;
    }
}

int ExtractionPlatform::SetModifiedTimeBelow(StringView const & root, StringView const & relative,
                                             Time const & time) noexcept {
    if (!time.isValid()) {
        return EINVAL;
    }
    try {
        timespec times[2]{};
        ModifiedOnly(time, times);
        return ChangeEntry(
            root, relative,
            [&times](int folder, char const * name, struct stat const &) {
                return utimensat(folder, name, times, AT_SYMLINK_NOFOLLOW);
            },
            [&times](int descriptor) { return futimens(descriptor, times); });
    } catch (...) {
        return ENOMEM;
    }
}

} // namespace QELTA
