// Fuzz target: path text from anywhere. The bytes are split at the first NUL into a path and a
// piece; the path is normalised, cut into its parts by every mask, given the piece as each part
// and as a folder name, appended to and walked up to its root. Every part must lie inside the
// path's text, every walk must end, and the only failure allowed is the FileException of a path
// that grew too long. Nothing here touches the disk.
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstring>

namespace {

using QELTA::File;
using QELTA::FileException;
using QELTA::String;
using QELTA::StringView;
using QELTA::Fuzzing::Check;

void CheckInside(File const & file, StringView const & part) {
    if (part.size() == 0) {
        return;
    }
    char const * const begin = file.view().data();
    Check(part.data() >= begin && part.data() + part.size() <= begin + file.view().size());
}

void CheckParts(File const & file) {
    for (unsigned char mask = 1; mask <= File::whole_path; ++mask) {
        CheckInside(file, file.getPath(mask));
    }
    CheckInside(file, file.getFolderName(false));
    CheckInside(file, file.getFolderName(true));
    Check(file.view().size() <= File::max_path_size);
}

// Each step up must shorten the text, so the walk ends.
void WalkUp(File const & file) {
    File current = file;
    for (unsigned int steps = 0; current.view().size() != 0; ++steps) {
        File parent = current.getParentDirectory();
        CheckParts(parent);
        if (parent.view().size() >= current.view().size()) {
            break; // a root is its own parent
        }
        Check(steps <= File::max_path_size);
        current = parent;
    }
}

// Runs one change of `file`; a path that would grow too long raises and is then left alone.
template <class Change>
void Try(File const & file, Change const & change) {
    File changed = file;
    try {
        change(changed);
    } catch (FileException const &) {
        return;
    }
    CheckParts(changed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 2048) {
        return 0;
    }
    auto const * bytes = reinterpret_cast<char const *>(data);
    auto const * const split = static_cast<char const *>(std::memchr(bytes, 0, size));
    std::size_t const path_size = split == nullptr ? size : static_cast<std::size_t>(split - bytes);
    std::size_t const piece_start = split == nullptr ? size : path_size + 1;
    // Owned copies, so that a read one byte too far meets the sanitizer.
    String const path(StringView(bytes, static_cast<unsigned int>(path_size)));
    String const piece(StringView(bytes + piece_start, static_cast<unsigned int>(size - piece_start)));

    File file;
    try {
        file = File(path);
    } catch (FileException const &) {
        return 0;
    }
    CheckParts(file);
    WalkUp(file);
    for (unsigned char mask = 1; mask <= File::whole_path; ++mask) {
        Try(file, [&](File & changed) { changed.setPath(piece.view(), mask); });
    }
    Try(file, [&](File & changed) { changed.setFolderName(piece.view()); });
    Try(file, [&](File & changed) { changed.appendPath(piece.view()); });
    Try(file, [&](File & changed) { changed.setFromDisplayString(piece.view()); });
    Try(file, [&](File & changed) {
        changed.append(piece.view());
        changed.removeInvalidChars();
        changed.setInternalVars();
    });
    return 0;
}
