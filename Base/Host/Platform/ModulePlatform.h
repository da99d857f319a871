// ModulePlatform: the named operations on dynamic libraries that plug-in modules are loaded with.
//
// Paths come in in the library's text form (backslash separators); a path without a separator
// is a bare library name, found by the system's own search. Handles are opaque pointers owned by
// the caller, who may keep them for the whole run. Opening runs the library's initialisers on the
// calling thread; the other operations are thread-safe as the loader is. Nothing raises: failure
// is a null handle with the loader's own reason, or an empty list.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstddef>

namespace QELTA {

class QELTA_BASE_EXPORT ModulePlatform {
  public:
    ModulePlatform() = delete;

    // The most dependency names one library is read for; a file that names more is cut there.
    static constexpr unsigned int max_dependencies = 4096;
    // The longest dependency name that is read; a longer one is passed over.
    static constexpr unsigned int max_dependency_name = 4096;

    // The ending of a library file on this system, ".so": a module `name` lives in `name` + ending.
    static StringView LibraryEnding() noexcept;

    // Opens the library with every symbol bound at once and kept to itself. The direct
    // dependencies it names that exist in one of `search_folders` are opened from there first, by
    // their full path (theirs before them, a few levels deep), so that a library finds its
    // companions in folders the system doesn't search. Null on failure, with `reason` set to the
    // loader's text.
    static void * OpenLibrary(StringView const & path, Buffer<String> const & search_folders, String & reason);
    // The address of an exported symbol; null for a null library or a symbol it doesn't export.
    static void * FindSymbol(void * library, StringView const & symbol) noexcept;
    // Gives back a handle of OpenLibrary; a null handle does nothing.
    static void CloseLibrary(void * library) noexcept;

    // The names of the libraries that the library file names directly, in its own order. Empty
    // when the file can't be read or isn't a shared library of this system's format; a name that
    // runs past the file, past its string table or past max_dependency_name is passed over.
    static Buffer<String> ListDirectDependencies(StringView const & path);
    // The same for the bytes of a library file held in memory.
    static Buffer<String> ListDirectDependencies(unsigned char const * image, std::size_t size);
};

} // namespace QELTA
