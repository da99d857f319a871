// File: a normalised path text with the ends of its parts, a cache of what the disk last said
// about it, and at most one open stream.
//
// A File owns its stream and closes it in its destructor (swallowing what close raises). It has
// no lock and is not shared between threads while open; the reading operations that refresh the
// cache change it even on a const object. Separate File objects for one path are independent.
// Failures raise FileException (Base/Files/FileException.h); the metadata reads never raise and
// answer their Invalid values (all-ones size, Invalid Time).
#pragma once

#include "Base/Export.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"
#include "Base/Time/Time.h"

#include <cstdio>
#include <type_traits>

namespace QELTA {

class File;

// Buffer<File> spelled out, since its default allocator needs the complete type; the end of this
// file checks that it is the default one.
using FileBuffer = Buffer<File, BufferAllocator<File, 64, 0, unsigned int, 0, 0>>;

// What the disk last said about a path. Invalidated, the size and the three times are all ones
// (unknown) and the flags 0.
struct QELTA_BASE_EXPORT FileCachedData {
    enum Flag : unsigned char {
        TRUSTED = 1, // came from a successful query
        EXISTS = 2,
        HIDDEN = 4,
        DIRECTORY = 8,
    };
    static constexpr unsigned long long unknown_size = ~0ull;

    unsigned long long size = unknown_size; // bytes
    Time modified;
    Time accessed;
    Time created;
    unsigned char flags = 0;

    void invalidate() noexcept { *this = FileCachedData(); }
};

class QELTA_BASE_EXPORT File : public String {
  public:
    enum OpenMode : unsigned char {
        READ_BINARY = 0,
        WRITE_BINARY = 1,
        READ_TEXT = 2,
        WRITE_TEXT = 3,
        READ_TEXT_TEMP_COPY = 4,
        READ_BINARY_TEMP_COPY = 5,
        WRITE_TEXT_TEMP = 6,
        WRITE_BINARY_TEMP = 7,
        NOT_OPEN = 8,
    };
    // Bits of a part mask; all four (15) are the whole path.
    enum PathPart : unsigned char {
        DRIVE = 1,
        DIRECTORY = 2,
        NAME = 4,
        EXTENSION = 8,
    };
    static constexpr unsigned char whole_path = DRIVE | DIRECTORY | NAME | EXTENSION;
    // The longest path accepted, in bytes after normalisation; one byte more raises.
    static constexpr unsigned int max_path_size = 323;

    using ByteBuffer = Buffer<unsigned char>;
    using LargeByteBuffer = Buffer<unsigned char, DefaultBufferAllocator<unsigned char, unsigned long long>>;

    // Every constructor normalises a non-empty path and raises FileException when it is longer
    // than max_path_size; the normalised text stays in the object that is left behind.
    File() noexcept;
    File(char const * path);
    File(String const & path);
    File(StringView const & path);
    File(String && path);
    // A device path and its chain of object ids separated by '|'.
    File(String const & path, String const & id_chain);
    // The copy is closed; text, parts and cache are taken over.
    File(File const & other);
    // Carries the stream and the open mode across.
    File(File && other) noexcept;
    ~File();

    // Copies the stream pointer too and keeps this object's open mode: a holder that hands a
    // stream on this way calls removeOpenOwnership() on the side that must not close it. The
    // asymmetry with the copy constructor is deliberate; holders rely on it.
    File & operator=(File const & other);
    // Carries the stream and the mode across; a stream this object had open is closed first.
    File & operator=(File && other) noexcept;
    // A new path: normalised, parts derived, cache invalidated, device id chain dropped.
    File & operator=(String const & path);
    File & operator=(StringView const & path);
    File & operator=(char const * path);

    static bool IsPathSep(char c) noexcept { return c == '/' || c == '\\'; }
    static bool IsIDSep(char c) noexcept { return c == '|'; }

    // Path parts

    // From the start of the lowest selected part to the end of the highest, gaps included. The
    // start is clamped to 254 and the extension ends at the low byte of the size, so paths over
    // 255 bytes give shortened views. The mask must not be 0.
    StringView getPath(unsigned char mask) const noexcept;
    // Replaces parts by the fixed table of the mask (see File.cpp); some masks drop the parts
    // between the selected ones, on purpose.
    void setPath(StringView const & text, unsigned char mask);
    // Adds to the end of the text; no separator is put in between.
    File & append(StringView const & text);
    File & append(char c);
    File & appendPath(StringView const & text) { return append(text); }
    File & appendPath(String const & text) { return append(text.view()); }
    // A null text adds nothing.
    File & appendPath(char const * text) { return append(StringView(text)); }

    // The last folder name (directory-shaped path) or the one before the name, empty when the
    // text has too few pieces; `with_separator` takes in the separator behind it.
    StringView getFolderName(bool with_separator) const noexcept;
    // The parent directory, then `name`, then a separator.
    void setFolderName(StringView const & name);
    // The text without its last piece: C:\a\b\ and C:\a\b both give C:\a\. A device path's id
    // chain is cut the same way at '|'.
    File getParentDirectory() const;
    // This path relative to `other`, both made weakly canonical first; empty when there is none.
    String relativePathTo(File const & other) const;

    // Rewrites the text by the normalisation rules (see File.cpp).
    void removeInvalidChars();
    // Normalises, checks the length and derives the part ends; invalidates the cache.
    void setInternalVars();
    // Replaces the folder variables, then the environment's variables, makes the path absolute
    // and adds a separator when it names an existing folder.
    void expandEnvironmentalVars();

    String toDisplayString() const { return String(view()); }
    void setFromDisplayString(StringView const & text);

    // Metadata, answered from the cache while the field is known

    unsigned long long fileSize() const;
    bool cachedExist() const;
    bool isHidden() const;
    Time getModifiedTime() const;
    Time getCreationTime() const;
    Time getAccessTime() const;
    void getFileTimes(Time & modified, Time & created, Time & accessed) const;

    // Always asks the disk (a device path: whether its id chain is resolved).
    bool exists() const;
    static bool DoesFileExist(String const & path);
    bool isDrive() const noexcept;
    // Name and extension are empty, so the text ends in a separator (or is a bare drive such as
    // "C:"); the disk is not asked.
    bool isDirectory() const noexcept {
        return size_ != 0 && directory_end_ == name_end_ && name_end_ == static_cast<unsigned char>(size_);
    }
    bool isMTP() const noexcept { return size_ != 0 && data_[0] == '<'; }
    bool isOpen() const noexcept { return file_ptr_ != nullptr; }
    std::FILE * filePtr() const noexcept { return file_ptr_; }
    OpenMode openMode() const noexcept { return open_mode_; }
    // Device access is not provided at this level: a device path exists only with an id chain.
    bool resolveMTPPath();
    bool resolveNameFromMTPPath() { return false; }
    static FileBuffer MTPDevices() { return FileBuffer(); }
    bool parentDirectoryExists() const { return getParentDirectory().exists(); }
    void throwIfNotExist() const;

    FileCachedData const & currentCache() const noexcept { return cache_; }
    void updateCache() const;
    void updateCache(FileCachedData const & cache) const noexcept { cache_ = cache; }
    void invalidateCache() const noexcept { cache_.invalidate(); }

    // Bytes on the volume of this folder, or of the parent of a file; all ones on failure.
    unsigned long long availableDiskSpace(bool free_bytes) const;
    String getDriveDescription() const;
    static FileBuffer SystemDrives();
    // The file system's stable identity of the file; Invalid on failure.
    UUID getUUID() const;
    // An Invalid time means now. Raises when the file is missing; other failures give false.
    bool updateAccessedTime(Time const & accessed = Time());

    // Content

    // Opens the stream by the mode's rules (see File.cpp) and returns it.
    std::FILE * open(OpenMode mode, bool append = false);
    // Closes the stream; a temporary write replaces the target here, in one step.
    void close();
    // Writes `text` at the current place of an open stream and leaves it open; a closed file
    // gets `text` as its whole content, through a temporary file that replaces it once complete.
    void writeText(StringView const & text);
    void flush();
    // Makes the folder or an empty file, and the missing parents; `force` opens an existing file
    // too.
    void create(bool force = false);
    // Forgets the stream without closing it.
    void removeOpenOwnership() noexcept;
    ByteBuffer getData();
    LargeByteBuffer getDataExtended();
    bool hasNullBytes(unsigned long long limit);

    // Whether all bytes were written.
    bool operator<<(StringView const & text);
    bool operator<<(ByteBuffer const & bytes);
    bool operator<<(LargeByteBuffer const & bytes);
    // Writes one item of 4 or 8 bytes and compares the item count with 4 or 8, so the result is
    // false even after a good write; callers ignore it and it stays so.
    bool operator<<(float value);
    bool operator<<(double value);

    // Children of a folder (Base/Files/FileSearch.cpp)

    // The entries of this folder in the file system's order, each with its cache filled from the
    // listing; names beginning with '.' are left out. Raises when the folder is missing or the
    // path is not directory-shaped; a folder that can't be read gives an empty list.
    FileBuffer getChildren() const;
    // The children whose whole path matches a pattern of `include` (all when it is empty) and
    // none of `exclude`, folders included; `recursive` walks the subfolders breadth-first. At
    // most `max_count` entries, and at least one when any passes.
    FileBuffer getChildrenMatching(Buffer<StringView> const & include, Buffer<StringView> const & exclude,
                                   bool recursive = false, unsigned int max_count = 0xFFFFFFFFu) const;
    FileBuffer getChildrenMatching(Buffer<String> const & include, Buffer<String> const & exclude,
                                   bool recursive = false, unsigned int max_count = 0xFFFFFFFFu) const;
    FileBuffer getChildrenMatching(Buffer<String> const & include, bool recursive = false,
                                   unsigned int max_count = 0xFFFFFFFFu) const;
    // `patterns` separated by ',', empty pieces dropped.
    FileBuffer getChildrenMatching(StringView const & patterns, bool recursive = false,
                                   unsigned int max_count = 0xFFFFFFFFu) const;

    // Orderings for sorting lists of files: true when `a` comes first. Texts compare by bytes,
    // the shorter first when one begins with the other. The time orders take the latest first,
    // existing files before missing ones, and read the cache, asking the disk only when it
    // doesn't know.
    static bool nameSort(File const & a, File const & b);   // name and extension, then path
    static bool typeSort(File const & a, File const & b);   // extension, name, then path
    static bool accessSort(File const & a, File const & b); // last access
    static bool createSort(File const & a, File const & b); // creation

    // Operations on the file system (Base/Files/FileOperations.cpp)

    // Copies this file or folder to `target`; a directory-shaped target, or a folder source,
    // copies the tree. An existing target with `overwrite` false is left alone and counts as
    // success. A file goes through a temporary file in the target's folder and appears complete
    // or not at all. With a pipe, progress goes to a source titled "Copying [file_a] to [file_b]"
    // whose cancel guard stops the copy between chunks. Raises FileException, "User cancelled
    // job" for a cancel; a tree that fails half way keeps what was copied.
    bool copyTo(File const & target, bool overwrite, LogPtr log) const;
    // Renames within a file system; across file systems copies, then deletes. `is_temp_move`
    // words the message for a temporary write put in place ("Writing data to [file_b]"). Equal
    // paths, or an existing target with `overwrite` false, count as success. Raises FileException.
    bool moveTo(File & target, bool overwrite, LogPtr log, bool is_temp_move = false);
    // Removes the file, or the folder with everything in it when the path is directory-shaped.
    // A missing path raises file_does_not_exist; other failures FileException.
    void deleteFile(LogPtr log);
    // Sets or clears the read-only flag; failures are ignored.
    void makeReadOnly(bool read_only);

    // Names and temporary files

    // Whole units only: 1536 gives "1 KB".
    static String FileSizeToString(unsigned long long bytes);
    static File TempFileFolder();
    // A random name with this path's extension inside TempFileFolder().
    File generateTempFile() const;
    // This path when it doesn't exist, else the first free "name(2).ext", "name(3).ext", ...
    File findNonExistingSuitableName() const;

    String const & sidePath() const noexcept { return side_path_; }
    bool hasSideID() const noexcept { return has_side_id_; }

  private:
    // String's changing operations would break the invariants; the path changes only through
    // the operations above.
    using String::addUTF16AsUTF8;
    using String::addWhiteSpace;
    using String::formatNumberString;
    using String::insert;
    using String::makeLower;
    using String::makeUpper;
    using String::removeNonAlphaNumeric;
    using String::removeNonNumeric;
    using String::replace;
    using String::trimWhiteSpace;
    using String::operator+=;
    using Buffer<char>::add;
    using Buffer<char>::addAll;
    using Buffer<char>::clear;
    using Buffer<char>::removeIndex;
    using Buffer<char>::removeLast;
    using Buffer<char>::setSize;
    using Buffer<char>::sort;

    // The text becomes `path`, the device chain is dropped and the parts derived again.
    void assignPath(StringView const & path);
    // Derives the three part ends from the text.
    void splitParts() noexcept;
    // Closes without raising, for the destructor and assignments.
    void closeQuietly() noexcept;
    // Closes a temporary write without putting it in place: the target keeps its old content.
    void abandonTemporaryWrite() noexcept;
    // The end of the temporary write modes: flush, sync and put the new content in place.
    void commitTemporaryWrite(std::FILE * stream);

    mutable FileCachedData cache_;
    String side_path_;
    std::FILE * file_ptr_ = nullptr;
    OpenMode open_mode_ = NOT_OPEN;
    unsigned char drive_end_ = 0;
    unsigned char directory_end_ = 0;
    unsigned char name_end_ = 0;
    bool has_side_id_ = false;
    // Exceptions in flight when the stream was opened: more of them at destruction means the
    // writer is being unwound, and a temporary write is then abandoned instead of committed.
    int exceptions_at_open_ = 0;
};

static_assert(std::is_same_v<FileBuffer, Buffer<File>>, "FileBuffer is the default Buffer");

// The path text as it stands; reading builds a fresh File and assigns it, closing nothing. A text
// too long for a path raises FileException, as the constructor does.
template <>
class QELTA_BASE_EXPORT StringStream<File> {
  public:
    static void fromString(StringView const & text, File & value);
    static void toString(File const & value, StringAllocatingView & out);
};

// "flags*size*modified*accessed*created", the numbers in decimal and the times in the storage
// form "YYYY/MM/DD HH:mm:ss" ("NaN" when unknown). Reading changes nothing unless the text has
// exactly five fields; a time field that can't be read gives an unknown time. Nothing raises.
template <>
class QELTA_BASE_EXPORT StringStream<FileCachedData> {
  public:
    static void fromString(StringView const & text, FileCachedData & value);
    static void toString(FileCachedData const & value, StringAllocatingView & out);
};

} // namespace QELTA
