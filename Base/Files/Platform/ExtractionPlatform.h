// ExtractionPlatform: the named operations that write the entries of an archive below one folder
// and never outside it.
//
// Every operation takes the folder `root`, a path in the library's form that is followed like any
// path, and a path `relative` below it, whose pieces are separated by "/" or "\". Each piece must
// be a plain name: an empty piece, "." or ".." fails with EINVAL, so names are resolved before
// they come here (Base/Files/Internal/ArchiveNames.h). No link below `root` is followed, neither
// one the archive made nor one that stood there before: a piece that is a link fails with ELOOP,
// and so nothing outside `root` is ever touched through one. A `relative` of more than 4095 bytes
// fails with ENAMETOOLONG. All functions are thread-safe as the system calls behind them are,
// raise nothing and return the error number, 0 for success.
#pragma once

#include "Base/Export.h"
#include "Base/Text/StringView.h"
#include "Base/Time/Time.h"

#include <cstdio>

namespace QELTA {

class QELTA_BASE_EXPORT ExtractionPlatform {
  public:
    ExtractionPlatform() = delete;

    // The longest `relative` accepted, in bytes.
    static constexpr unsigned int max_relative_size = 4095;

    // Makes the folders of `relative` that are missing (mode 0777 less the process's mask); an
    // empty `relative` is the root itself, which must exist.
    static int MakeFoldersBelow(StringView const & root, StringView const & relative) noexcept;
    // Creates the file `relative` in its existing folder and opens it for binary writing. A file or
    // link standing there is removed first, so that a second name of it elsewhere keeps its
    // content; a folder there fails with EISDIR. Null on failure, with the error in `error`.
    static std::FILE * CreateFileBelow(StringView const & root, StringView const & relative, int & error) noexcept;
    // Makes `relative` a symbolic link that holds `target`, with "\" written as "/". Anything
    // already standing there fails with EEXIST.
    static int MakeSymbolicLinkBelow(StringView const & root, StringView const & relative,
                                     StringView const & target) noexcept;
    // Makes `relative` another name of `existing` (a link there is linked as the link itself),
    // replacing a file or link standing at `relative`. The same file under both names is success.
    static int MakeHardLinkBelow(StringView const & root, StringView const & existing,
                                 StringView const & relative) noexcept;
    // The permission bits (the low nine of `mode`) of the file or folder, an empty `relative`
    // being the root.
    static int SetModeBelow(StringView const & root, StringView const & relative, unsigned int mode) noexcept;
    // Writable gives the owner's write permission back; read-only takes every write permission
    // away. An empty `relative` is the root.
    static int SetWritableBelow(StringView const & root, StringView const & relative, bool writable) noexcept;
    // The modification time, leaving the access time alone. An empty `relative` is the root.
    static int SetModifiedTimeBelow(StringView const & root, StringView const & relative, Time const & time) noexcept;
};

} // namespace QELTA
