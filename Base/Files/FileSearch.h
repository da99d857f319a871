// FileSearch: the files beneath a set of folders, filtered by extension and cut off at a depth.
//
// A FileSearch is a plain value: it owns its lists and shares nothing, and a search runs on the
// caller's thread. A root that is missing gives nothing rather than an error; a folder that
// vanishes while it is being walked raises FileException from File::getChildren. The listing
// members of File itself (getChildren, getChildrenMatching and the sort orders) are declared in
// File.h and defined beside this class.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"

namespace QELTA {

class QELTA_BASE_EXPORT FileSearch {
  public:
    // Deep enough for any folder tree in practice, and still one level short of "no limit".
    static constexpr unsigned int default_depth = 0xFFFFFFFEu;

    FileBuffer roots;
    // Accepted extensions with their dot (".csv"), compared without case; an empty entry accepts
    // the files without an extension. No entry at all accepts every file.
    Buffer<String> extensions;
    // Paths, by their exact text, that are skipped with everything beneath them.
    FileBuffer excluded;
    // Folder levels to descend: 1 lists the roots' own files only.
    unsigned int depth = default_depth;

    // The files beneath each root, root by root, in each folder's listing order. Folders never
    // enter the result; a root that is a file is taken when its extension passes.
    FileBuffer performSearch() const;
    // Adds what lies at `start`, down to `depth_left` folder levels, to `results`.
    void performSearch(File const & start, FileBuffer & results, unsigned int depth_left) const;
};

} // namespace QELTA
