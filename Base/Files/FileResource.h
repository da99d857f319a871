// FileResource: where things live (the system's folders, the toolkit's folders for resources and
// settings) and the folder variables a stored path may hold; FileOptions: the file-access flags
// a host sets for its platform.
//
// Everything is static. The four cached folders are built, expanded and made on first use, and
// later calls return copies; a folder that can't be made falls back on the system's temporary
// folder. A mutex guards the cached folders, so a first use from two threads builds them once;
// the variable table has no lock and belongs to the host's start-up, like the redirect setters.
// No folder operation raises: a system folder that can't be found gives an empty File, and what
// is built on it is a relative path.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <functional>

namespace QELTA {

class QELTA_BASE_EXPORT FileResource {
  public:
    FileResource() = delete;

    // The variables a host defines for stored paths; see StringStream<ProgramFileVars>.
    enum ProgramFileVars : unsigned char {
        QELTA_PROJECT_FOLDER = 0,
    };

    // Key text to value text, replaced wherever the key occurs in a path that
    // File::expandEnvironmentalVars expands. Empty until the host fills it.
    static Dictionary<String, String> & FileEnvVariables();

    // System folders, directory-shaped unless noted

    // The running program's file, not a folder.
    static File ExePath();
    static File ExeFolder();
    // Both flags name the one folder for installed programs on this system.
    static File OSProgramsFolder(bool native);
    static File OSProgramDataFolder();
    static File OSUserDataFolder();
    static File OSDocumentsFolder();
    static File OSDownloadsFolder();
    static File OSTempFolder();

    // Toolkit folders. The four first are cached and made when missing.

    static File PathToConstResources();
    static File PathToProgramDynamicResources();
    static File PathToQELTADynamicResources();
    static File PathToUserDynamicResources();
    static File PathToProgramSettings();
    static File PathToQELTASettings();
    static File PathToUserSettings();
    static File PathToUserLibrary();
    static File PathToProgramModels();
    // With `per_application` the translations inside the toolkit's settings folder, else beside it.
    static File PathToProgramTranslations(bool per_application);
    static File ProgramTempPath();
    static File SyncSettingsFolder();

    // Set a cached folder outright, as a host on a read-only install or a portable setup does;
    // the folder is taken as given, neither expanded nor made. The lower-case first letter of the
    // first one is the name hosts already call, and it stays.
    static void setPathToConstResources(File const & folder);
    static void SetPathToProgramDynamicResources(File const & folder);
    static void SetPathToUserDynamicResources(File const & folder);

    // The application's context name that the program and user folders are named after;
    // "Unnamed" until the host sets it. Set it before the first folder is asked for: the folders
    // already built keep the name they were built with.
    static void SetAppContextName(String const & name);
    static String AppContextName();

    // A data resource that may not be on disk yet: true at once when `file` exists; otherwise the
    // resolvers of ResourceResolver are asked to fetch or unpack it by its path (with their flag
    // set, as CheckAndUnzipResource does) and their answer is the result.
    static bool RequestResource(File const & file, std::function<void(bool, StringView const &)> const & callback);

    // The removable drives among File::SystemDrives(): none on a system whose one root is "\".
    static FileBuffer USBDrives();
    // Device access is not provided at this level.
    static FileBuffer getMTPDevices() { return FileBuffer(); }

    // Forgets the cached folders, the context name and the variables, and takes
    // `machine_data_folder` in place of the system's machine-wide data folder (empty: the
    // system's own), so that a test never writes into the machine's folders.
    static void ResetForTesting(File const & machine_data_folder);
};

// Flags that tell the library and its host what the platform allows with files. Nothing in this
// library reads them; a host on a restricted platform lowers them and its parts listen.
class QELTA_BASE_EXPORT FileOptions {
  public:
    static Resource<bool> has_directory_read_access;
    static Resource<bool> has_directory_write_access;
    static Resource<bool> has_file_create_access;
    static Resource<bool> has_file_read_access;
    static Resource<bool> has_file_stats_access;
    static Resource<bool> has_file_write_access;
    static Resource<bool> has_mtp_support;
    static Resource<bool> has_persistant_storage;
    static Resource<bool> is_virtual_storage;
    static Resource<bool> remote_resource_fetch;
};

// "${QELTA_PROJECT_FOLDER}" for QELTA_PROJECT_FOLDER. Reading compares the hash of the text,
// without case, with that of the name; any other text leaves the value unchanged.
template <>
class QELTA_BASE_EXPORT StringStream<FileResource::ProgramFileVars> {
  public:
    static void fromString(StringView const & text, FileResource::ProgramFileVars & value) noexcept;
    static void toString(FileResource::ProgramFileVars const & value, StringAllocatingView & out);
};

} // namespace QELTA
