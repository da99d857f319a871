// The system's folders, the toolkit's cached folders with their fallback, the folder variables
// and the file-access flags.
#include "Base/Files/FileResource.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Settings/ResourceResolver.h"

#include <mutex>

namespace QELTA {
namespace {

constexpr char toolkit_folder[] = "QELTA\\";
constexpr char unnamed_context[] = "Unnamed";
constexpr char resources_folder[] = "Resources\\";
constexpr char settings_folder[] = "application_settings\\";
constexpr char user_settings_folder[] = "user_settings\\";
constexpr char library_folder[] = "Library\\";
constexpr char models_folder[] = "Models\\";
constexpr char translations_folder[] = "Translations\\";
constexpr char temp_folder[] = "temp\\";
constexpr char sync_settings_folder[] = "QELTA Settings\\";
constexpr char project_folder_name[] = "${QELTA_PROJECT_FOLDER}";

// The cached folders and what they are built from. Recursive, since building one folder asks
// for the system folders, which read the test override under the same mutex.
struct FolderState {
    std::recursive_mutex mutex;
    File const_resources;
    File program_dynamic;
    File qelta_dynamic;
    File user_dynamic;
    String context_name = String(unnamed_context);
    File machine_data_override;
};

FolderState & State() {
    static FolderState s_state;
    return s_state;
}

// A path text as a File; a text too long for a path gives an empty File, as no folder raises.
File QuietFile(String const & path) {
    if (path.isEmpty()) {
        return File();
    }
    try {
        return File(path);
    } catch (Exception const &) {
        return File();
    }
}

File KnownFolder(FilePlatform::KnownFolder folder) {
    return QuietFile(FilePlatform::KnownFolderPath(folder));
}

// `base` with `tail`, or an empty File when the joined text can't be a path.
File Joined(File const & base, StringView const & tail) {
    String path(base.view());
    path.append(tail);
    return QuietFile(path);
}

// The first use of a cached folder: build, expand and make it. When it can't be made, the same
// tail inside the system's temporary folder stands in; a failure there too is swallowed.
File MadeFolder(File const & base, StringView const & tail, StringView const & fallback_tail) {
    try {
        File folder = base;
        folder.appendPath(tail);
        folder.expandEnvironmentalVars();
        if (!folder.exists()) {
            folder.create(false);
        }
        return folder;
    } catch (Exception const &) {
    }
    File fallback = Joined(FileResource::OSTempFolder(), fallback_tail);
    try {
        fallback.expandEnvironmentalVars();
        if (!fallback.exists()) {
            fallback.create(false);
        }
    } catch (Exception const &) {
    }
    return fallback;
}

// The cached folder in `slot`, built by `build` on first use; a copy, its cache included.
template <class Build>
File Cached(File FolderState::*slot, Build build) {
    FolderState & state = State();
    std::lock_guard<std::recursive_mutex> const lock(state.mutex);
    File & folder = state.*slot;
    if (folder.isEmpty()) {
        folder = build(state);
    }
    return folder;
}

void Store(File FolderState::*slot, File const & folder) {
    FolderState & state = State();
    std::lock_guard<std::recursive_mutex> const lock(state.mutex);
    state.*slot = folder;
}

// "QELTA\<context>\", with "Unnamed" for an empty context when `name_empty_context` is set.
String ContextTail(FolderState const & state, bool name_empty_context) {
    String tail(toolkit_folder);
    tail.append(state.context_name.isEmpty() && name_empty_context ? StringView(unnamed_context)
                                                                   : state.context_name.view());
    tail.append('\\');
    return tail;
}

} // namespace

Dictionary<String, String> & FileResource::FileEnvVariables() {
    static Dictionary<String, String> s_variables;
    return s_variables;
}

// System folders

File FileResource::ExePath() {
    return QuietFile(FilePlatform::ExecutablePath());
}

File FileResource::ExeFolder() {
    return ExePath().getParentDirectory();
}

File FileResource::OSProgramsFolder(bool /*native*/) {
    return KnownFolder(FilePlatform::PROGRAMS);
}

File FileResource::OSProgramDataFolder() {
    FolderState & state = State();
    std::lock_guard<std::recursive_mutex> const lock(state.mutex);
    if (!state.machine_data_override.isEmpty()) {
        return state.machine_data_override;
    }
    return KnownFolder(FilePlatform::MACHINE_DATA);
}

File FileResource::OSUserDataFolder() {
    return KnownFolder(FilePlatform::USER_DATA);
}

File FileResource::OSDocumentsFolder() {
    return KnownFolder(FilePlatform::DOCUMENTS);
}

File FileResource::OSDownloadsFolder() {
    return KnownFolder(FilePlatform::DOWNLOADS);
}

File FileResource::OSTempFolder() {
    File folder = QuietFile(FilePlatform::TemporaryFolder());
    try {
        folder.expandEnvironmentalVars();
    } catch (Exception const &) {
    }
    return folder;
}

// Toolkit folders

File FileResource::PathToConstResources() {
    return Cached(&FolderState::const_resources,
                  [](FolderState &) { return MadeFolder(ExeFolder(), resources_folder, StringView()); });
}

File FileResource::PathToProgramDynamicResources() {
    return Cached(&FolderState::program_dynamic, [](FolderState & state) {
        // Unlike the user folder, an empty context name is kept: the program folder is then the
        // toolkit's own, where hosts without a name have always kept their data.
        String const tail = ContextTail(state, false);
        return MadeFolder(OSProgramDataFolder(), tail.view(), tail.view());
    });
}

File FileResource::PathToQELTADynamicResources() {
    return Cached(&FolderState::qelta_dynamic,
                  [](FolderState &) { return MadeFolder(OSProgramDataFolder(), toolkit_folder, toolkit_folder); });
}

File FileResource::PathToUserDynamicResources() {
    return Cached(&FolderState::user_dynamic, [](FolderState & state) {
        String const tail = ContextTail(state, true);
        return MadeFolder(OSUserDataFolder(), tail.view(), tail.view());
    });
}

File FileResource::PathToProgramSettings() {
    return Joined(PathToProgramDynamicResources(), settings_folder);
}

File FileResource::PathToQELTASettings() {
    return Joined(PathToQELTADynamicResources(), settings_folder);
}

File FileResource::PathToUserSettings() {
    return Joined(PathToUserDynamicResources(), user_settings_folder);
}

File FileResource::PathToUserLibrary() {
    String tail(toolkit_folder);
    tail.append(StringView(library_folder));
    return Joined(OSDocumentsFolder(), tail.view());
}

File FileResource::PathToProgramModels() {
    return Joined(PathToProgramDynamicResources(), models_folder);
}

File FileResource::PathToProgramTranslations(bool per_application) {
    String tail;
    if (per_application) {
        tail.append(StringView(settings_folder));
    }
    tail.append(StringView(translations_folder));
    return Joined(PathToQELTADynamicResources(), tail.view());
}

File FileResource::ProgramTempPath() {
    return Joined(PathToProgramDynamicResources(), temp_folder);
}

File FileResource::SyncSettingsFolder() {
    return Joined(OSDocumentsFolder(), sync_settings_folder);
}

void FileResource::setPathToConstResources(File const & folder) {
    Store(&FolderState::const_resources, folder);
}

void FileResource::SetPathToProgramDynamicResources(File const & folder) {
    Store(&FolderState::program_dynamic, folder);
}

void FileResource::SetPathToUserDynamicResources(File const & folder) {
    Store(&FolderState::user_dynamic, folder);
}

void FileResource::SetAppContextName(String const & name) {
    FolderState & state = State();
    std::lock_guard<std::recursive_mutex> const lock(state.mutex);
    state.context_name = name;
}

String FileResource::AppContextName() {
    FolderState & state = State();
    std::lock_guard<std::recursive_mutex> const lock(state.mutex);
    return state.context_name;
}

bool FileResource::RequestResource(File const & file, std::function<void(bool, StringView const &)> const & callback) {
    if (file.exists()) {
        return true;
    }
    return ResourceResolver::CheckAndUnzipResource(file.view(), callback);
}

FileBuffer FileResource::USBDrives() {
    FileBuffer drives;
    for (File const & drive : File::SystemDrives()) {
        if (FilePlatform::IsRemovableVolume(drive.view())) {
            drives.add(drive);
        }
    }
    return drives;
}

void FileResource::ResetForTesting(File const & machine_data_folder) {
    FolderState & state = State();
    std::lock_guard<std::recursive_mutex> const lock(state.mutex);
    state.const_resources = File();
    state.program_dynamic = File();
    state.qelta_dynamic = File();
    state.user_dynamic = File();
    state.context_name = String(unnamed_context);
    state.machine_data_override = machine_data_folder;
    FileEnvVariables().clear();
}

// A desktop system: every access, persistent storage, no devices, nothing fetched remotely.
Resource<bool> FileOptions::has_directory_read_access(true);
Resource<bool> FileOptions::has_directory_write_access(true);
Resource<bool> FileOptions::has_file_create_access(true);
Resource<bool> FileOptions::has_file_read_access(true);
Resource<bool> FileOptions::has_file_stats_access(true);
Resource<bool> FileOptions::has_file_write_access(true);
Resource<bool> FileOptions::has_mtp_support(false);
Resource<bool> FileOptions::has_persistant_storage(true);
Resource<bool> FileOptions::is_virtual_storage(false);
Resource<bool> FileOptions::remote_resource_fetch(false);

void StringStream<FileResource::ProgramFileVars>::fromString(StringView const & text,
                                                             FileResource::ProgramFileVars & value) noexcept {
    // By hash only, as every enumeration reads its names.
    if (text.hashUpper() == StringView(project_folder_name).hashUpper()) {
        value = FileResource::QELTA_PROJECT_FOLDER;
    }
}

void StringStream<FileResource::ProgramFileVars>::toString(FileResource::ProgramFileVars const & value,
                                                           StringAllocatingView & out) {
    if (value == FileResource::QELTA_PROJECT_FOLDER) {
        out.borrow(StringView(project_folder_name));
    }
}

} // namespace QELTA
