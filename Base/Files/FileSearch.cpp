// Folder listings with filled caches, wildcard matching, FileSearch and the sort orders.
#include "Base/Files/FileSearch.h"

#include "Base/Files/FileException.h"
#include "Base/Files/Internal/FileServices.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Internal/Translatable.h"

#include <compare>
#include <utility>

namespace QELTA {
namespace {

constexpr char not_a_folder_text[] = "Tried to get children from non-directory file";

// The library's text order (bytes as signed char, the shorter text first when one begins with
// the other), as three-way result.
std::strong_ordering CompareBytes(StringView const & a, StringView const & b) noexcept {
    if (a < b) {
        return std::strong_ordering::less;
    }
    return b < a ? std::strong_ordering::greater : std::strong_ordering::equal;
}

bool MatchesAny(File const & file, Buffer<StringView> const & patterns) {
    for (StringView const & pattern : patterns) {
        if (file.matchesWildcard(pattern)) {
            return true;
        }
    }
    return false;
}

Buffer<StringView> Views(Buffer<String> const & texts) {
    Buffer<StringView> views;
    views.ensureCapacity(texts.size());
    for (String const & text : texts) {
        views.add(text.view());
    }
    return views;
}

// The time a time order reads, from the cache while it knows it.
template <Time FileCachedData::*field, Time (File::*query)() const>
Time CachedTime(File const & file) {
    Time const cached = file.currentCache().*field;
    return cached.isValid() ? cached : (file.*query)();
}

// Existing files first, then the later time first; an unknown time counts as the earliest.
template <Time FileCachedData::*field, Time (File::*query)() const>
bool LatestFirst(File const & a, File const & b) {
    bool const a_exists = a.cachedExist();
    bool const b_exists = b.cachedExist();
    if (a_exists != b_exists) {
        return a_exists;
    }
    if (!a_exists) {
        return false;
    }
    Time const a_time = CachedTime<field, query>(a);
    Time const b_time = CachedTime<field, query>(b);
    if (a_time.isValid() != b_time.isValid()) {
        return a_time.isValid();
    }
    return a_time > b_time;
}

} // namespace

FileBuffer File::getChildren() const {
    throwIfNotExist();
    if (!isDirectory()) {
        throw FileException(*this, Internal::Translatable(not_a_folder_text), FileException::generic_file);
    }
    FileBuffer children;
    if (isMTP()) {
        return children;
    }
    Buffer<FolderEntry> entries;
    FilePlatform::ListFolder(view(), entries);
    children.ensureCapacity(entries.size());
    for (FolderEntry const & entry : entries) {
        if (entry.name.isEmpty() || entry.name[0] == '.') {
            continue;
        }
        String path(view());
        path.append(entry.name.view());
        if (entry.attributes.directory) {
            path.append('\\');
        }
        // A path too long for a File raises here, as it would anywhere: an entry never vanishes
        // from a listing, a search or an archive of the folder without a word.
        // Filled before it is added: a failed growth of the list leaves no element to fill.
        File child(std::move(path));
        child.updateCache(Internal::CachedDataOf(entry.attributes));
        children.add(std::move(child));
    }
    return children;
}

FileBuffer File::getChildrenMatching(Buffer<StringView> const & include, Buffer<StringView> const & exclude,
                                     bool recursive, unsigned int max_count) const {
    FileBuffer work = getChildren();
    FileBuffer results;
    // `work` grows behind the walk, so the walk goes on breadth-first.
    for (unsigned int index = 0; index < work.size(); ++index) {
        if (recursive && work[index].isDirectory()) {
            FileBuffer const below = work[index].getChildren();
            work.addAll(below);
        }
        File const & entry = work[index];
        if (!include.isEmpty() && !MatchesAny(entry, include)) {
            continue;
        }
        if (MatchesAny(entry, exclude)) {
            continue;
        }
        results.add(entry);
        if (results.size() >= max_count) {
            break;
        }
    }
    return results;
}

FileBuffer File::getChildrenMatching(Buffer<String> const & include, Buffer<String> const & exclude, bool recursive,
                                     unsigned int max_count) const {
    return getChildrenMatching(Views(include), Views(exclude), recursive, max_count);
}

FileBuffer File::getChildrenMatching(Buffer<String> const & include, bool recursive, unsigned int max_count) const {
    return getChildrenMatching(Views(include), Buffer<StringView>(), recursive, max_count);
}

FileBuffer File::getChildrenMatching(StringView const & patterns, bool recursive, unsigned int max_count) const {
    return getChildrenMatching(patterns.split(',', false), Buffer<StringView>(), recursive, max_count);
}

bool File::nameSort(File const & a, File const & b) {
    std::strong_ordering const names = CompareBytes(a.getPath(NAME | EXTENSION), b.getPath(NAME | EXTENSION));
    return names != 0 ? names < 0 : CompareBytes(a.view(), b.view()) < 0;
}

bool File::typeSort(File const & a, File const & b) {
    std::strong_ordering order = CompareBytes(a.getPath(EXTENSION), b.getPath(EXTENSION));
    if (order == 0) {
        order = CompareBytes(a.getPath(NAME), b.getPath(NAME));
    }
    if (order == 0) {
        order = CompareBytes(a.view(), b.view());
    }
    return order < 0;
}

bool File::accessSort(File const & a, File const & b) {
    return LatestFirst<&FileCachedData::accessed, &File::getAccessTime>(a, b);
}

bool File::createSort(File const & a, File const & b) {
    return LatestFirst<&FileCachedData::created, &File::getCreationTime>(a, b);
}

FileBuffer FileSearch::performSearch() const {
    FileBuffer results;
    for (File const & root : roots) {
        performSearch(root, results, depth);
    }
    return results;
}

void FileSearch::performSearch(File const & start, FileBuffer & results, unsigned int depth_left) const {
    for (File const & skipped : excluded) {
        if (skipped.view() == start.view()) {
            return;
        }
    }
    if (start.isDirectory()) {
        if (depth_left == 0 || !start.exists()) {
            return;
        }
        for (File const & child : start.getChildren()) {
            performSearch(child, results, depth_left - 1);
        }
        return;
    }
    if (extensions.isEmpty()) {
        results.add(start);
        return;
    }
    StringView const extension = start.getPath(File::EXTENSION);
    for (String const & accepted : extensions) {
        if (accepted.view().isSameNoCase(extension)) {
            results.add(start);
            return;
        }
    }
}

} // namespace QELTA
