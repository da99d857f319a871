// FilePlatform: the named operations on the file system that File is built on.
//
// Paths come in and go out in the library's text form, UTF-8 with backslash separators; the
// translation to the system's own form happens here and nowhere else. A path that holds a zero
// byte is refused as a path that does not exist. All functions are thread-safe as the system
// calls behind them are; they never throw (the String results may fail to allocate, as String
// does) and report failure as false, an error number (0 for success) or the documented value.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"
#include "Base/Time/Time.h"

#include <cstdio>

namespace QELTA {

// What the file system says about one path.
struct FileAttributes {
    unsigned long long size = ~0ull; // bytes
    Time modified;
    Time accessed;
    Time created; // Invalid where the file system keeps no creation time
    bool directory = false;
    bool hidden = false;
};

// One entry of a folder listing: its name and what the file system says about it.
struct FolderEntry {
    String name;
    FileAttributes attributes;
};

// How a copy through a temporary file ended: `error` is the error number (0 for success),
// `stopped` that the progress callback asked to stop, `at_target` that the failing call was on
// the target's side (the temporary file, its folder or the rename).
struct CopyOutcome {
    int error = 0;
    bool stopped = false;
    bool at_target = false;
};

class QELTA_BASE_EXPORT FilePlatform {
  public:
    FilePlatform() = delete;

    // The folders the system keeps for programs, data and the user's files.
    enum KnownFolder : unsigned char {
        PROGRAMS = 0,     // installed programs
        MACHINE_DATA = 1, // data shared by all users of the machine
        USER_DATA = 2,    // the user's local application data
        DOCUMENTS = 3,
        DOWNLOADS = 4,
    };

    // Attributes and times of the path itself (links are followed); false when it can't be read.
    // A name beginning with '.' is hidden.
    static bool ReadAttributes(StringView const & path, FileAttributes & attributes) noexcept;
    // Whether anything exists under the path.
    static bool PathExists(StringView const & path) noexcept;
    // Whether the path names an existing folder, following links.
    static bool IsExistingFolder(StringView const & path) noexcept;
    // Makes one folder; the parent must exist. A folder that exists already, for instance after a
    // lost race, is success. Returns the error number.
    static int MakeFolder(StringView const & path) noexcept;

    // The absolute form: the current folder in front of a relative path, then "." and ".."
    // resolved lexically (links are not followed). Empty when the current folder can't be read.
    static String AbsolutePath(StringView const & path);
    // `path` relative to `base`, both made weakly canonical first (existing leading parts
    // resolved, the rest kept lexically). Empty when no relative path exists.
    static String RelativePath(StringView const & path, StringView const & base);

    // 16 bytes that stay the same for the file across renames: the device and the inode number.
    static bool ReadFileIdentity(StringView const & path, UUID & identity) noexcept;
    // The bytes free on the volume of the path, or with `free_bytes` false those the caller may
    // use; all ones on failure.
    static unsigned long long AvailableSpace(StringView const & path, bool free_bytes) noexcept;
    // The label of the volume that holds the path, from the system's table of labelled disks;
    // empty when there is none.
    static String VolumeLabel(StringView const & path);
    // Whether the volume that holds the path sits on a removable device (USB, memory card).
    static bool IsRemovableVolume(StringView const & path) noexcept;
    // The roots of the file system in text form; on this system the single root "\".
    static StringBuffer SystemDrives();
    // Sets the last access time and leaves the modification time alone.
    static bool SetAccessTime(StringView const & path, Time const & accessed) noexcept;

    // The path in the system's own form, for the libraries and standard streams that open files
    // by name themselves (zlib's gzip files, minizip, file streams). Empty for a path that holds a
    // zero byte, so that opening it fails.
    static String SystemPath(StringView const & path);
    // Opens a stream in the C library's mode ("rb", "w", "ab+", ...), not inherited by child
    // processes. Null on failure, with the error number in `error`.
    static std::FILE * OpenStream(StringView const & path, char const * mode, int & error) noexcept;
    // Writes the stream's buffer out and waits until the device holds the file's content.
    static int SyncFile(std::FILE * stream) noexcept;
    // Waits until the device holds the folder's entries (a rename inside it, for instance).
    static int SyncFolder(StringView const & folder) noexcept;
    // Puts `source` in the place of `target` so that a reader sees either the old target or all
    // of the new content, never a mix. When `source` lies on another file system it is first
    // copied to a temporary name in the target's folder and synced; `source` is gone afterwards.
    // The target's folder is not synced here.
    static int ReplaceFileAtomically(StringView const & source, StringView const & target) noexcept;
    // Copies the bytes of `source` into `target`, replacing it.
    static int CopyFileContent(StringView const & source, StringView const & target) noexcept;
    // Removes a file, read-only ones too, or an empty folder.
    static int RemovePath(StringView const & path) noexcept;

    // Told after each chunk of a copy the bytes copied so far and the size of the source;
    // returning false stops the copy.
    using CopyProgress = bool (*)(void * context, unsigned long long copied, unsigned long long total);
    // Copies `source` chunk by chunk into a new temporary file in `target`'s folder, gives it
    // the source's mode and times, syncs it when it replaces a file, and renames it over `target`. A copy that fails or
    // is stopped removes the temporary file, so `target` keeps what it had. `progress` may be null.
    static CopyOutcome CopyFileThroughTemporary(StringView const & source, StringView const & target,
                                                CopyProgress progress, void * context) noexcept;
    // The bytes of one chunk of CopyFileThroughTemporary; 0 restores the default of 8 MiB.
    static void SetCopyChunkSizeForTesting(unsigned long long bytes) noexcept;
    // Renames within one file system; a target of another file system fails with that error
    // (EXDEV) and nothing is copied. A file target is replaced.
    static int RenamePath(StringView const & source, StringView const & target) noexcept;
    // Whether the path itself is a symbolic link, not followed.
    static bool IsLink(StringView const & path) noexcept;
    // Read-only takes every write permission away; writable gives the owner's back. False when
    // the path can't be read or changed.
    static bool SetReadOnly(StringView const & path, bool read_only) noexcept;

    // The system's temporary folder, directory-shaped: $TMPDIR, else /tmp.
    static String TemporaryFolder();
    // A known folder, directory-shaped; empty when the system can't say where it is.
    static String KnownFolderPath(KnownFolder folder);
    // The path of the running program's executable file; empty when it can't be read.
    static String ExecutablePath();

    // Adds the entries of a folder other than "." and ".." to `entries`, each with its
    // attributes (links followed; a link whose target is missing with its own), in the file
    // system's order. False when the folder can't be read.
    static bool ListFolder(StringView const & folder, Buffer<FolderEntry> & entries);

    // The error number's symbol ("ENOENT"), empty for an unknown number.
    static String ErrorName(int error);
    // The system's sentence for the error number.
    static String ErrorText(int error);
};

} // namespace QELTA
