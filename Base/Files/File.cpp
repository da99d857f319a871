// File: normalisation, path parts, the metadata cache, streams and temporary files.
#include "Base/Files/File.h"

#include "Base/Files/FileException.h"
#include "Base/Files/Internal/FileServices.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Internal/Translatable.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <utility>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char path_too_long_text[] = "Path is too long for the operating system.";
constexpr char no_suitable_name_text[] = "Could not find suitable file name";
constexpr char temp_files_folder[] = "files\\";
constexpr char size_suffixes[][4] = {" B", " KB", " MB", " GB", " TB", " PB", " EB"};
constexpr unsigned int max_size_divisions = 6;
constexpr unsigned int scan_chunk = 1 << 14; // on the stack of the caller's thread

// Bytes that the file system refuses in a name; a device path keeps them.
constexpr bool IsRefused(char c) noexcept {
    return c == '"' || c == '*' || c == '<' || c == '>' || c == '?' || c == '|';
}

// The length that a UTF-8 lead byte announces.
constexpr unsigned int SequenceLength(unsigned char lead) noexcept {
    return lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
}

// The row of setPath's table for each mask: the present parts kept in front of the new text,
// whether the new text goes in, and the present parts kept behind it.
struct SetPathRow {
    unsigned char before;
    bool with_text;
    unsigned char after;
};

constexpr SetPathRow set_path_rows[16] = {
    {File::DRIVE | File::DIRECTORY, false, 0},                 // 0: D P
    {0, true, File::DIRECTORY | File::NAME | File::EXTENSION}, // 1: v P N E
    {File::DRIVE, true, File::NAME | File::EXTENSION},         // 2: D v N E
    {0, true, File::NAME | File::EXTENSION},                   // 3: v N E
    {File::DRIVE | File::DIRECTORY, true, File::EXTENSION},    // 4: D P v E
    {0, true, 0},                                              // 5: v
    {File::DRIVE, true, File::EXTENSION},                      // 6: D v E
    {0, true, File::EXTENSION},                                // 7: v E
    {File::DRIVE | File::DIRECTORY | File::NAME, true, 0},     // 8: D P N v
    {0, true, 0},                                              // 9: v
    {File::DRIVE, true, 0},                                    // 10: D v
    {0, true, 0},                                              // 11: v
    {File::DRIVE | File::DIRECTORY, true, 0},                  // 12: D P v
    {0, true, 0},                                              // 13: v
    {File::DRIVE, true, 0},                                    // 14: D v
    {0, true, 0},                                              // 15: v
};

// The text without its last piece at `separator`, after dropping one trailing separator.
template <class IsSeparator>
StringView CutLastPiece(StringView text, IsSeparator is_separator) noexcept {
    if (!text.isEmpty() && is_separator(text.last())) {
        text.removeLast(1);
    }
    unsigned int cut = text.size();
    while (cut > 0 && !is_separator(text[cut - 1])) {
        --cut;
    }
    return StringView(text.data(), cut);
}

// Copies a file for a temporary open: nothing when the target exists and `overwrite` is false.
void CopyForTemporaryUse(File const & source, File const & target, bool overwrite) {
    if (!overwrite && target.exists()) {
        return;
    }
    source.throwIfNotExist();
    File parent = target.getParentDirectory();
    if (!parent.isEmpty() && !parent.exists()) {
        parent.create(true);
    }
    if (int const error = FilePlatform::CopyFileContent(source.view(), target.view()); error != 0) {
        CopyOutcome outcome;
        outcome.error = error;
        Internal::ThrowCopyError(source, Internal::CopyEngineResult(outcome));
    }
}

} // namespace

// Construction and assignment

File::File() noexcept = default;

File::File(char const * path) : String(path) {
    setInternalVars();
}

File::File(String const & path) : String(path) {
    setInternalVars();
}

File::File(StringView const & path) : String(path) {
    setInternalVars();
}

File::File(String && path) : String(std::move(path)) {
    setInternalVars();
}

File::File(String const & path, String const & id_chain) : String(path), side_path_(id_chain) {
    has_side_id_ = !id_chain.isEmpty();
    setInternalVars();
}

// The text of a File is already normalised, so the copy takes the parts over instead of
// deriving them (and never raises for its length).
File::File(File const & other)
    : String(other), cache_(other.cache_), side_path_(other.side_path_), drive_end_(other.drive_end_),
      directory_end_(other.directory_end_), name_end_(other.name_end_), has_side_id_(other.has_side_id_) {}

File::File(File && other) noexcept
    : String(std::move(other)), cache_(other.cache_), side_path_(std::move(other.side_path_)),
      file_ptr_(std::exchange(other.file_ptr_, nullptr)), open_mode_(std::exchange(other.open_mode_, NOT_OPEN)),
      drive_end_(other.drive_end_), directory_end_(other.directory_end_), name_end_(other.name_end_),
      has_side_id_(other.has_side_id_), exceptions_at_open_(other.exceptions_at_open_) {}

File::~File() {
    bool const unwinding = std::uncaught_exceptions() > exceptions_at_open_;
    if (unwinding && file_ptr_ != nullptr && (open_mode_ == WRITE_TEXT_TEMP || open_mode_ == WRITE_BINARY_TEMP)) {
        abandonTemporaryWrite(); // a save cut short by an exception must not replace the target
        return;
    }
    closeQuietly();
}

File & File::operator=(File const & other) {
    if (this != &other) {
        String::operator=(other.view());
        cache_ = other.cache_;
        side_path_ = other.side_path_;
        file_ptr_ = other.file_ptr_;
        drive_end_ = other.drive_end_;
        directory_end_ = other.directory_end_;
        name_end_ = other.name_end_;
        has_side_id_ = other.has_side_id_;
    }
    return *this;
}

File & File::operator=(File && other) noexcept {
    if (this != &other) {
        if (file_ptr_ != other.file_ptr_) {
            closeQuietly();
        }
        Buffer<char>::operator=(std::move(other));
        cache_ = other.cache_;
        side_path_ = std::move(other.side_path_);
        file_ptr_ = std::exchange(other.file_ptr_, nullptr);
        open_mode_ = std::exchange(other.open_mode_, NOT_OPEN);
        drive_end_ = other.drive_end_;
        directory_end_ = other.directory_end_;
        name_end_ = other.name_end_;
        has_side_id_ = other.has_side_id_;
        exceptions_at_open_ = other.exceptions_at_open_;
    }
    return *this;
}

File & File::operator=(String const & path) {
    assignPath(path.view());
    return *this;
}

File & File::operator=(StringView const & path) {
    assignPath(path);
    return *this;
}

File & File::operator=(char const * path) {
    assignPath(StringView(path));
    return *this;
}

void File::assignPath(StringView const & path) {
    String text(path); // `path` may point into this File
    Buffer<char>::operator=(std::move(text));
    has_side_id_ = false;
    if (size_ == 0) {
        cache_.invalidate();
        drive_end_ = directory_end_ = name_end_ = 0;
    }
    setInternalVars();
}

// Normalisation and parts

void File::removeInvalidChars() {
    if (size_ == 0) {
        return;
    }
    bool const device = data_[0] == '<';
    bool after_separator = false;
    unsigned int write = 0;
    unsigned int read = 0;
    while (read < size_) {
        char const c = data_[read];
        unsigned char const byte = static_cast<unsigned char>(c);
        if (byte >= 0x80) {
            // A sequence is stepped over as a whole. It ends early at a byte that can't continue
            // it, so a truncated sequence never hides a zero byte or a separator from the rules.
            unsigned int const length = SequenceLength(byte);
            data_[write++] = data_[read++];
            for (unsigned int i = 1;
                 i < length && read < size_ && (static_cast<unsigned char>(data_[read]) & 0xC0) == 0x80; ++i) {
                data_[write++] = data_[read++];
            }
            after_separator = false;
            continue;
        }
        ++read;
        if (c == 0) {
            data_[write++] = '_';
        } else if (IsRefused(c)) {
            data_[write++] = device ? c : '_';
            after_separator = false;
        } else if (IsPathSep(c)) {
            if (!after_separator) {
                data_[write++] = '\\';
                after_separator = true;
            }
        } else if (c == ':') {
            data_[write++] = c;
            after_separator = false;
        } else {
            data_[write++] = byte < 32 ? '_' : c;
            after_separator = false;
        }
    }
    setSizeField(write);
}

void File::setInternalVars() {
    if (size_ == 0) {
        return;
    }
    cache_.invalidate();
    removeInvalidChars();
    if (size_ > max_path_size) {
        throw FileException(*this, Translatable(path_too_long_text), FileException::generic_file);
    }
    splitParts();
}

// The split of the system's path splitter: a drive is "X:", the directory runs to the last
// separator, the extension from the last '.' of the rest.
void File::splitParts() noexcept {
    unsigned int const drive = size_ >= 2 && data_[1] == ':' ? 2 : 0;
    unsigned int directory = drive;
    for (unsigned int i = drive; i < size_; ++i) {
        if (IsPathSep(data_[i])) {
            directory = i + 1;
        }
    }
    unsigned int name = size_;
    for (unsigned int i = size_; i > directory; --i) {
        if (data_[i - 1] == '.') {
            name = i - 1;
            break;
        }
    }
    // Single bytes, exact only up to 255 bytes; accepted so that a File stays small.
    drive_end_ = static_cast<unsigned char>(drive);
    directory_end_ = static_cast<unsigned char>(directory);
    name_end_ = static_cast<unsigned char>(name);
}

StringView File::getPath(unsigned char mask) const noexcept {
    unsigned int const parts = mask & whole_path;
    if (parts == 0) {
        return StringView();
    }
    unsigned int const starts[4] = {0, drive_end_, directory_end_, name_end_};
    unsigned int const ends[4] = {drive_end_, directory_end_, name_end_, size_ & 0xFFu};
    unsigned int const lowest = static_cast<unsigned int>(std::countr_zero(parts));
    unsigned int const highest = static_cast<unsigned int>(std::bit_width(parts)) - 1;
    return view().substr(std::min(starts[lowest], 254u), ends[highest]);
}

void File::setPath(StringView const & text, unsigned char mask) {
    SetPathRow const & row = set_path_rows[mask & whole_path];
    String path;
    for (unsigned char part = DRIVE; part <= EXTENSION; part = static_cast<unsigned char>(part << 1)) {
        if ((row.before & part) != 0) {
            path.append(getPath(part));
        }
    }
    if (row.with_text) {
        path.append(text);
    }
    for (unsigned char part = DRIVE; part <= EXTENSION; part = static_cast<unsigned char>(part << 1)) {
        if ((row.after & part) != 0) {
            path.append(getPath(part));
        }
    }
    assignPath(path.view());
}

File & File::append(StringView const & text) {
    String::append(text);
    has_side_id_ = false;
    setInternalVars();
    return *this;
}

File & File::append(char c) {
    String::append(c);
    has_side_id_ = false;
    setInternalVars();
    return *this;
}

StringView File::getFolderName(bool with_separator) const noexcept {
    StringViewBuffer const pieces = view().split('\\', false);
    unsigned int const needed = isDirectory() ? 1 : 2;
    if (pieces.size() < needed) {
        return StringView();
    }
    StringView const piece = pieces[pieces.size() - needed];
    if (!with_separator || piece.isEmpty()) {
        return piece;
    }
    unsigned int const remaining = static_cast<unsigned int>(end() - piece.data());
    return StringView(piece.data(), std::min(piece.size() + 1, remaining));
}

void File::setFolderName(StringView const & name) {
    String path(getParentDirectory().view());
    path.append(name);
    path.append('\\');
    assignPath(path.view());
}

File File::getParentDirectory() const {
    if (size_ == 0) {
        return File();
    }
    String const path(CutLastPiece(view(), IsPathSep));
    if (!side_path_.isEmpty() && has_side_id_) {
        return File(path, String(CutLastPiece(side_path_.view(), IsIDSep)));
    }
    return File(path);
}

String File::relativePathTo(File const & other) const {
    return FilePlatform::RelativePath(view(), other.view());
}

void File::expandEnvironmentalVars() {
    if (size_ == 0) {
        return;
    }
    if (!isMTP()) {
        String text(view());
        for (std::pair<String, String> const & variable : Internal::FileFolderVariables()) {
            String const & key = variable.first;
            if (key.isEmpty() || key.view() == variable.second.view() || key.size() > text.size()) {
                continue;
            }
            text.replace(key.view(), variable.second.view());
        }
        text = Internal::ResolveEnvironmentalVariables(std::move(text));
        String const absolute = FilePlatform::AbsolutePath(text.view());
        if (!absolute.isEmpty()) {
            assignPath(absolute.view());
        }
    }
    if (!isDirectory() && FilePlatform::IsExistingFolder(view())) {
        append('\\');
    }
}

void File::setFromDisplayString(StringView const & text) {
    *this = File(text);
}

// Metadata

unsigned long long File::fileSize() const {
    if (cache_.size == FileCachedData::unknown_size) {
        updateCache();
    }
    return cache_.size;
}

bool File::cachedExist() const {
    if ((cache_.flags & FileCachedData::TRUSTED) == 0) {
        updateCache();
    }
    return (cache_.flags & FileCachedData::EXISTS) != 0;
}

bool File::isHidden() const {
    if ((cache_.flags & FileCachedData::TRUSTED) == 0) {
        updateCache();
    }
    return (cache_.flags & FileCachedData::HIDDEN) != 0;
}

void File::getFileTimes(Time & modified, Time & created, Time & accessed) const {
    if (!cache_.modified.isValid() || !cache_.accessed.isValid() || !cache_.created.isValid()) {
        updateCache();
    }
    modified = cache_.modified;
    created = cache_.created;
    accessed = cache_.accessed;
}

Time File::getModifiedTime() const {
    Time modified, created, accessed;
    getFileTimes(modified, created, accessed);
    return modified;
}

Time File::getCreationTime() const {
    Time modified, created, accessed;
    getFileTimes(modified, created, accessed);
    return created;
}

Time File::getAccessTime() const {
    Time modified, created, accessed;
    getFileTimes(modified, created, accessed);
    return accessed;
}

bool File::exists() const {
    if (isMTP()) {
        return has_side_id_; // resolveMTPPath() without forgetting the unresolved chain
    }
    return DoesFileExist(*this);
}

bool File::DoesFileExist(String const & path) {
    if (path.isEmpty()) {
        return false;
    }
    if (IsPathSep(path.view().last())) {
        FileAttributes attributes;
        return FilePlatform::ReadAttributes(path.view(), attributes) && attributes.directory;
    }
    return FilePlatform::PathExists(path.view());
}

bool File::isDrive() const noexcept {
    if (isMTP()) {
        return side_path_.count('|') < 2;
    }
    return size_ != 0 && isDirectory() && static_cast<int>(directory_end_) - static_cast<int>(drive_end_) < 2;
}

bool File::resolveMTPPath() {
    if (has_side_id_) {
        return true;
    }
    side_path_ = String();
    return false;
}

void File::throwIfNotExist() const {
    if (!exists()) {
        throw FileException(*this, FileException::file_does_not_exist);
    }
}

void File::updateCache() const {
    if (isDrive()) {
        cache_.invalidate();
        cache_.flags = FileCachedData::EXISTS | FileCachedData::DIRECTORY; // not trusted: asked again
        return;
    }
    FileAttributes attributes;
    if (!FilePlatform::ReadAttributes(view(), attributes)) {
        cache_.invalidate();
        return;
    }
    cache_ = Internal::CachedDataOf(attributes);
}

unsigned long long File::availableDiskSpace(bool free_bytes) const {
    if (isDirectory()) {
        return FilePlatform::AvailableSpace(view(), free_bytes);
    }
    return FilePlatform::AvailableSpace(getParentDirectory().view(), free_bytes);
}

String File::getDriveDescription() const {
    if (size_ == 0) {
        return String();
    }
    String root(getPath(DRIVE));
    root.append('\\');
    return FilePlatform::VolumeLabel(root.view());
}

FileBuffer File::SystemDrives() {
    FileBuffer drives;
    for (String const & drive : FilePlatform::SystemDrives()) {
        drives.add(File(drive));
    }
    return drives;
}

UUID File::getUUID() const {
    UUID identity;
    if (!FilePlatform::ReadFileIdentity(view(), identity)) {
        return UUID();
    }
    return identity;
}

bool File::updateAccessedTime(Time const & accessed) {
    throwIfNotExist();
    Time const time = accessed.isValid() ? accessed : Time::SystemTime();
    if (!FilePlatform::SetAccessTime(view(), time)) {
        return false;
    }
    cache_.accessed = time;
    return true;
}

// Content

std::FILE * File::open(OpenMode mode, bool append) {
    if (mode == WRITE_BINARY || mode == WRITE_TEXT) {
        // A bare name lives in the current folder, which exists; only a named parent is made.
        File parent = getParentDirectory();
        if (!parent.isEmpty() && !parent.exists()) {
            parent.create(false);
        }
    } else if (mode == WRITE_TEXT_TEMP || mode == WRITE_BINARY_TEMP) {
        File folder = TempFileFolder();
        if (!folder.exists()) {
            folder.create(false);
        }
    }
    if (file_ptr_ != nullptr) {
        throw FileException(*this, FileException::file_already_open);
    }
    if ((mode == READ_BINARY || mode == READ_TEXT) && !exists()) {
        throw FileException(*this, FileException::file_does_not_exist);
    }

    int error = 0;
    std::FILE * stream = nullptr;
    switch (mode) {
    case READ_BINARY:
    case READ_TEXT:
        if (!append) {
            stream = FilePlatform::OpenStream(view(), mode == READ_BINARY ? "rb" : "r", error);
        }
        break;
    case WRITE_BINARY:
        stream = FilePlatform::OpenStream(view(), append ? "ab+" : "wb", error);
        break;
    case WRITE_TEXT:
        stream = FilePlatform::OpenStream(view(), append ? "a+" : "w", error);
        break;
    case READ_TEXT_TEMP_COPY:
    case READ_BINARY_TEMP_COPY:
        if (!append) {
            side_path_ = generateTempFile();
            CopyForTemporaryUse(*this, File(side_path_), false);
            stream = FilePlatform::OpenStream(side_path_.view(), mode == READ_TEXT_TEMP_COPY ? "r" : "rb", error);
        }
        break;
    case WRITE_TEXT_TEMP:
    case WRITE_BINARY_TEMP: {
        bool const text = mode == WRITE_TEXT_TEMP;
        side_path_ = generateTempFile();
        if (!append) {
            stream = FilePlatform::OpenStream(side_path_.view(), text ? "w" : "wb", error);
        } else {
            // Appending opens the target itself, and close() then puts the copy back over what
            // was appended. Strange as it reads, this is the required behaviour; keep it.
            CopyForTemporaryUse(*this, File(side_path_), true);
            stream = FilePlatform::OpenStream(view(), text ? "a+" : "ab+", error);
        }
        break;
    }
    default:
        break;
    }
    open_mode_ = mode;
    file_ptr_ = stream;
    exceptions_at_open_ = std::uncaught_exceptions();
    Internal::ThrowOpenError(*this, error);
    if (stream == nullptr) {
        throw FileException(*this, FileException::could_not_create_file);
    }
    return stream;
}

void File::writeText(StringView const & text) {
    bool const opened = !isOpen();
    if (opened) {
        open(WRITE_TEXT_TEMP);
    }
    *this << text;
    if (opened) {
        close();
    }
}

void File::close() {
    if (file_ptr_ == nullptr) {
        return;
    }
    std::FILE * const stream = std::exchange(file_ptr_, nullptr);
    switch (open_mode_) {
    case READ_TEXT_TEMP_COPY:
    case READ_BINARY_TEMP_COPY: {
        std::fclose(stream);
        int const error = FilePlatform::RemovePath(side_path_.view());
        cache_.accessed = Time::SystemTime();
        Internal::ThrowSystemError(File(side_path_), error);
        break;
    }
    case WRITE_TEXT_TEMP:
    case WRITE_BINARY_TEMP:
        commitTemporaryWrite(stream);
        break;
    case WRITE_BINARY:
    case WRITE_TEXT: {
        // Deliberately reported, though the plain close ignores it: data lost on close is a lost write.
        int error = std::ferror(stream) != 0 ? EIO : 0;
        if (std::fclose(stream) != 0 && error == 0) {
            error = errno == 0 ? EIO : errno;
        }
        Internal::ThrowOpenError(*this, error);
        break;
    }
    default:
        std::fclose(stream);
        break;
    }
}

void File::commitTemporaryWrite(std::FILE * stream) {
    // A write that failed earlier left the error flag; the reason itself is gone by now.
    int error = std::ferror(stream) != 0 ? EIO : 0;
    if (error == 0) {
        error = FilePlatform::SyncFile(stream);
    }
    if (std::fclose(stream) != 0 && error == 0) {
        error = errno == 0 ? EIO : errno;
    }
    if (error != 0) {
        FilePlatform::RemovePath(side_path_.view());
        side_path_ = String();
        Internal::ThrowOpenError(*this, error);
    }
    File parent = getParentDirectory();
    if (!parent.isEmpty() && !parent.exists()) {
        parent.create(true);
    }
    error = FilePlatform::ReplaceFileAtomically(side_path_.view(), view());
    Internal::ThrowSystemError(*this, error);
    // The new content is in place; a folder that can't be synced only delays its durability, so
    // the save is not reported as failed for it.
    FilePlatform::SyncFolder(parent.view());
    side_path_ = String();
    cache_.invalidate();
    cache_.modified = cache_.accessed = Time::SystemTime();
}

void File::closeQuietly() noexcept {
    try {
        close();
    } catch (...) {
        // The destructor and the assignments can't report; a raised close is dropped here.
    }
}

void File::abandonTemporaryWrite() noexcept {
    std::fclose(std::exchange(file_ptr_, nullptr));
    FilePlatform::RemovePath(side_path_.view());
    side_path_ = String();
}

void File::flush() {
    if (file_ptr_ != nullptr && std::fflush(file_ptr_) != 0) {
        Internal::ThrowOpenError(*this, errno == 0 ? EIO : errno);
    }
}

void File::create(bool force) {
    if (isDrive()) {
        if (!exists()) {
            throw FileException(*this, FileException::could_not_create_file);
        }
        return;
    }
    File parent = getParentDirectory();
    if (!parent.exists()) {
        if (parent.isEmpty()) {
            throw FileException(*this, FileException::could_not_create_file);
        }
        parent.create(false);
    }
    if (isMTP()) {
        return;
    }
    if (isDirectory()) {
        // Another thread may win the race to make the folder; only a folder still missing fails.
        if (!exists() && FilePlatform::MakeFolder(view()) != 0 && !exists()) {
            throw FileException(*this, FileException::could_not_create_file);
        }
        return;
    }
    if (!force && exists()) {
        return;
    }
    int error = 0;
    std::FILE * const stream = FilePlatform::OpenStream(view(), "ab+", error);
    if (stream == nullptr) {
        throw FileException(*this, FileException::could_not_create_file);
    }
    std::fclose(stream);
}

void File::removeOpenOwnership() noexcept {
    file_ptr_ = nullptr;
}

namespace {

// Reads up to `size` bytes of an open file into `bytes`, then keeps what was read.
template <class Bytes>
void ReadInto(std::FILE * stream, unsigned long long size, Bytes & bytes) {
    using Index = typename Bytes::Index;
    Index const count = static_cast<Index>(std::min<unsigned long long>(size, static_cast<Index>(~Index(0)) - 1));
    bytes.setSize(count);
    if (bytes.data() == nullptr) {
        bytes = Bytes();
        return;
    }
    std::size_t const read = std::fread(bytes.data(), 1, count, stream);
    bytes.setSize(static_cast<Index>(read));
}

} // namespace

File::ByteBuffer File::getData() {
    open(READ_BINARY);
    ByteBuffer bytes;
    ReadInto(file_ptr_, fileSize(), bytes);
    close();
    return bytes;
}

File::LargeByteBuffer File::getDataExtended() {
    open(READ_BINARY);
    LargeByteBuffer bytes;
    ReadInto(file_ptr_, fileSize(), bytes);
    close();
    return bytes;
}

bool File::hasNullBytes(unsigned long long limit) {
    open(READ_BINARY);
    unsigned long long remaining = std::min(limit, fileSize());
    bool found = false;
    unsigned char chunk[scan_chunk];
    while (remaining > 0 && !found) {
        std::size_t const wanted = static_cast<std::size_t>(std::min<unsigned long long>(remaining, sizeof(chunk)));
        std::size_t const read = std::fread(chunk, 1, wanted, file_ptr_);
        found = std::find(chunk, chunk + read, 0) != chunk + read;
        if (read < wanted) {
            break;
        }
        remaining -= read;
    }
    close();
    return found;
}

bool File::operator<<(StringView const & text) {
    return file_ptr_ != nullptr && std::fwrite(text.data(), 1, text.size(), file_ptr_) == text.size();
}

bool File::operator<<(ByteBuffer const & bytes) {
    return file_ptr_ != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file_ptr_) == bytes.size();
}

bool File::operator<<(LargeByteBuffer const & bytes) {
    return file_ptr_ != nullptr && std::fwrite(bytes.data(), 1, bytes.size(), file_ptr_) == bytes.size();
}

bool File::operator<<(float value) {
    return file_ptr_ != nullptr && std::fwrite(&value, sizeof(value), 1, file_ptr_) == sizeof(value);
}

bool File::operator<<(double value) {
    return file_ptr_ != nullptr && std::fwrite(&value, sizeof(value), 1, file_ptr_) == sizeof(value);
}

// Names and temporary files

String File::FileSizeToString(unsigned long long bytes) {
    double value = static_cast<double>(bytes);
    unsigned int divisions = 0;
    while (value >= 1024.0 && divisions < max_size_divisions) {
        value *= 1.0 / 1024.0;
        ++divisions;
    }
    StringAllocatingView text;
    StringStream<unsigned long long>::toString(static_cast<unsigned long long>(value), text);
    text.append(StringView(size_suffixes[divisions]));
    return String(text.view());
}

File File::TempFileFolder() {
    File folder = Internal::ProgramTempPath();
    folder.append(StringView(temp_files_folder));
    return folder;
}

File File::generateTempFile() const {
    File temp = TempFileFolder();
    StringAllocatingView name;
    StringStream<UUID>::toString(UUID::CreateUUID(), name);
    name.append(getPath(EXTENSION));
    temp.append(name.view());
    return temp;
}

File File::findNonExistingSuitableName() const {
    if (!exists()) {
        return *this;
    }
    String const parent(getParentDirectory().view());
    String const name(getPath(NAME));
    String const extension(getPath(EXTENSION));
    for (unsigned int counter = 2; counter != 0; ++counter) {
        StringAllocatingView number;
        StringStream<unsigned int>::toString(counter, number);
        String candidate_path(parent);
        candidate_path.append(name.view()).append('(').append(number.view()).append(')').append(extension.view());
        File candidate(std::move(candidate_path));
        if (!candidate.exists()) {
            return candidate;
        }
    }
    throw FileException(*this, Translatable(no_suitable_name_text), FileException::generic_file);
}

// Text forms

void StringStream<File>::fromString(StringView const & text, File & value) {
    File const fresh(text);
    value = fresh; // copy assignment, as stored holders expect: the old stream is not closed
}

void StringStream<File>::toString(File const & value, StringAllocatingView & out) {
    out.borrow(value.view());
}

void StringStream<FileCachedData>::toString(FileCachedData const & value, StringAllocatingView & out) {
    StringAllocatingView field;
    StringStream<unsigned int>::toString(value.flags, field);
    out.append(field.view());
    out.append('*');
    field.clear();
    StringStream<unsigned long long>::toString(value.size, field);
    out.append(field.view());
    for (Time const * time : {&value.modified, &value.accessed, &value.created}) {
        out.append('*');
        field.clear();
        StringStream<Time>::toString(*time, field);
        out.append(field.view());
    }
}

namespace {

// An unknown time is written "NaN", which the time reader refuses; it and any other text that is
// no time read as unknown, since a cache record is only a hint.
void ReadCachedTime(StringView const & text, Time & time) {
    time = Time();
    if (text.isEmpty() || !StringView::IsDigit(text[0])) {
        return;
    }
    try {
        StringStream<Time>::fromString(text, time);
    } catch (Exception const &) {
        time = Time();
    }
}

} // namespace

void StringStream<FileCachedData>::fromString(StringView const & text, FileCachedData & value) {
    StringViewBuffer const fields = text.split('*', true);
    if (fields.size() != 5) {
        return;
    }
    // The number readers stop at the first byte that isn't a digit, and fields are copied so
    // that each ends in a zero byte.
    FileCachedData read;
    unsigned int flags = 0;
    StringStream<unsigned int>::fromString(String(fields[0]), flags);
    read.flags = static_cast<unsigned char>(flags);
    StringStream<unsigned long long>::fromString(String(fields[1]), read.size);
    ReadCachedTime(fields[2], read.modified);
    ReadCachedTime(fields[3], read.accessed);
    ReadCachedTime(fields[4], read.created);
    value = read;
}

} // namespace QELTA
