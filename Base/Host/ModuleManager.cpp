// ModuleManager: the module list, loading with its diagnosis, the stages and "modules.ini".
#include "Base/Host/ModuleManager.h"

#include "Base/Files/FileResource.h"
#include "Base/Files/Scanner.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Host/Internal/ModuleGuard.h"
#include "Base/Host/Platform/ModulePlatform.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Text/StringStream.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string_view>
#include <utility>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char module_load_error_title[] = "Module load error";
constexpr char could_not_load_title[] = "Could not load library";
constexpr char could_not_load_label[] = "could_not_load_library_error_message";
constexpr char could_not_load_text[] = "Could not load library [library]. [reason]";
constexpr char dll_failed_title[] = "DLL Load Failed";
constexpr char dll_fail_label[] = "dll_fail";
constexpr char dll_fail_text[] = "Could not load dll: [dll]\n[reason]";
constexpr char no_imports_text[] = "no imports or failed to read import table\n";
constexpr char name_refused_label[] = "module_name_refused";
constexpr char name_refused_text[] = "The module name [module] does not name a file in the module folder [file].";
constexpr char library_slot[] = "[library]";
constexpr char reason_slot[] = "[reason]";
constexpr char dll_slot[] = "[dll]";
constexpr char module_slot[] = "[module]";
constexpr char file_slot[] = "[file]";
constexpr char username_label[] = "username";
constexpr char user_email_label[] = "user_email";
constexpr char toolkit_folder[] = "QELTA\\";
constexpr char modules_folder[] = "Modules\\";
constexpr char plugin_folder[] = "plugins/gstreamer/";
constexpr char list_delimiter = '|';
constexpr char comment_mark = '#';
// How deep the diagnosis follows a failed import into the libraries it names.
constexpr unsigned int max_diagnosis_depth = 8;

struct Registry {
    Dictionary<String, Module> modules;
    Buffer<String> ordered_modules;
    Dictionary<String, bool> module_active_list;
    Dictionary<String, Dictionary<String, void *>> functions;
    Buffer<String> dll_directories;
    ModuleManager::ErrorCallback error_callback;
    String main_program_module_name;
    bool initialized = false;
    QTModelManager * model_manager = nullptr;
    QTWindowManager * window_manager = nullptr;
};

// Allocated on first use and never freed: modules may be described by static objects.
Registry & TheRegistry() {
    static auto * s_registry = new Registry();
    return *s_registry;
}

String EnabledLabel(StringView const & name) {
    String label(name);
    label.append(StringView(ModuleManager::enabled_suffix));
    return label;
}

// "T", "1" or "t" as the first byte.
bool Truth(StringView const & text) {
    bool value = false;
    StringStream<bool>::fromString(text, value);
    return value;
}

TranslatedString Filled(TranslatedString text, StringView const & key, StringView const & value) {
    text.replace(key, TranslatedString::DirectString(value));
    return text;
}

void Report(Exception const & error) {
    if (ModuleManager::ErrorCallback const & callback = TheRegistry().error_callback) {
        callback(error);
    }
}

File SettingsFile() {
    File file = ModuleManager::MainModuleFolder();
    file.appendPath(ModuleManager::settings_file);
    return file;
}

void AddUserOptions(INIFactory & factory) {
    factory.addINIOption(StringView(username_label), new INIFactory::INIObject<String>(&ApplicationResource::username));
    factory.addINIOption(StringView(user_email_label),
                         new INIFactory::INIObject<String>(&ApplicationResource::user_email));
}

// A directory-shaped copy of the folder.
File AsFolder(File const & folder) {
    File shaped = folder;
    if (!shaped.isEmpty() && !File::IsPathSep(shaped.view().last())) {
        shaped.append('\\');
    }
    return shaped;
}

// Whether the name can only name a file directly inside the module folder.
bool IsPlainName(StringView const & name) {
    if (name.isEmpty() || name == StringView(".") || name == StringView("..")) {
        return false;
    }
    return std::none_of(name.begin(), name.end(), [](char c) { return c == '\0' || File::IsPathSep(c); });
}

// The file of `name` in the search folders, or an empty File.
File FindInFolders(StringView const & name) {
    for (String const & folder : TheRegistry().dll_directories) {
        try {
            File candidate(folder);
            candidate.append(name);
            if (candidate.exists() && !candidate.isDirectory()) {
                return candidate;
            }
        } catch (Exception const &) {
        }
    }
    return File();
}

// Whether the import opens, from a search folder first and then by the system's search; the
// loader's reason when it doesn't.
bool ImportOpens(StringView const & import, String & reason) {
    String folder_reason;
    for (String const & folder : TheRegistry().dll_directories) {
        try {
            File candidate(folder);
            candidate.append(import);
            if (!candidate.exists() || candidate.isDirectory()) {
                continue;
            }
            String candidate_reason;
            if (void * handle =
                    ModulePlatform::OpenLibrary(candidate.view(), TheRegistry().dll_directories, candidate_reason)) {
                ModulePlatform::CloseLibrary(handle);
                return true;
            }
            if (folder_reason.isEmpty()) {
                folder_reason = candidate_reason;
            }
        } catch (Exception const &) {
        }
    }
    if (void * handle = ModulePlatform::OpenLibrary(import, Buffer<String>(), reason)) {
        ModulePlatform::CloseLibrary(handle);
        return true;
    }
    if (!folder_reason.isEmpty()) {
        reason = folder_reason;
    }
    return false;
}

// The libraries the file names, and those that each of them names when it lies in a search
// folder: two levels, sorted, each once.
Buffer<String> TwoLevelImports(StringView const & path) {
    Buffer<String> imports = ModulePlatform::ListDirectDependencies(path);
    unsigned int const direct = imports.size();
    for (unsigned int i = 0; i < direct; ++i) {
        File const found = FindInFolders(imports[i].view());
        if (!found.isEmpty()) {
            imports.addAll(ModulePlatform::ListDirectDependencies(found.view()));
        }
    }
    auto const less = [](String const & a, String const & b) {
        return std::string_view(a.view()) < std::string_view(b.view());
    };
    std::sort(imports.begin(), imports.end(), less);
    Buffer<String> unique;
    for (String const & import : imports) {
        if (unique.isEmpty() || unique.last().view() != import.view()) {
            unique.add(import);
        }
    }
    return unique;
}

// Names the import that keeps the library from loading, following it into the search folders,
// and reports each failed import, the innermost first. `visited` holds the files diagnosed.
void Diagnose(StringView const & path, unsigned int depth, Buffer<String> & visited) {
    visited.add(String(path));
    Buffer<String> const imports = TwoLevelImports(path);
    if (imports.isEmpty()) {
        std::fputs(no_imports_text, stderr);
        return;
    }
    String failed;
    String reason;
    for (String const & import : imports) {
        if (!ImportOpens(import.view(), reason)) {
            failed = import;
            break;
        }
    }
    // Every import opens: the library fails on its own account, which the loader's reason for it
    // already tells, so there is no import to name.
    if (failed.isEmpty()) {
        return;
    }
    if (depth + 1 < max_diagnosis_depth) {
        for (unsigned int i = 0; i < TheRegistry().dll_directories.size(); ++i) {
            try {
                File candidate(TheRegistry().dll_directories[i]);
                candidate.append(failed.view());
                bool const seen = std::any_of(visited.begin(), visited.end(),
                                              [&](String const & done) { return done.view() == candidate.view(); });
                if (!seen && candidate.exists() && !candidate.isDirectory()) {
                    Diagnose(candidate.view(), depth + 1, visited);
                }
            } catch (Exception const &) {
            }
        }
    }
    TranslatedString message = Filled(Translatable(dll_fail_label, dll_fail_text), dll_slot, failed.view());
    Report(Exception(Filled(std::move(message), reason_slot, reason.view()), Translatable(dll_failed_title), false));
}

} // namespace

namespace Internal {

void RunModuleGuarded(std::function<void()> const & call) {
    ModuleManager::ErrorCallback const & callback = TheRegistry().error_callback;
    if (!callback) {
        call();
        return;
    }
    try {
        call();
    } catch (Exception const & error) {
        callback(error);
    } catch (std::exception const & error) {
        callback(Exception(TranslatedString::DirectString(StringView(error.what())),
                           Translatable(module_load_error_title), false));
    }
}

} // namespace Internal

Dictionary<String, Module> & ModuleManager::modules() {
    return TheRegistry().modules;
}

Buffer<String> & ModuleManager::ordered_modules() {
    return TheRegistry().ordered_modules;
}

Dictionary<String, bool> & ModuleManager::module_active_list() {
    return TheRegistry().module_active_list;
}

Dictionary<String, Dictionary<String, void *>> & ModuleManager::functions() {
    return TheRegistry().functions;
}

Buffer<String> & ModuleManager::dll_directories() {
    return TheRegistry().dll_directories;
}

ModuleManager::ErrorCallback & ModuleManager::error_callback() {
    return TheRegistry().error_callback;
}

void ModuleManager::SetMainProgramModuleName(StringView const & name) {
    TheRegistry().main_program_module_name = String(name);
}

String const & ModuleManager::MainProgramModuleName() {
    return TheRegistry().main_program_module_name;
}

File ModuleManager::MainModuleFolder() {
    File folder = FileResource::OSUserDataFolder();
    folder.appendPath(toolkit_folder);
    folder.appendPath(modules_folder);
    folder.appendPath(TheRegistry().main_program_module_name);
    return AsFolder(folder);
}

void ModuleManager::FindModules(File const & module_folder) {
    File list_file = AsFolder(module_folder);
    list_file.appendPath(module_list_file);
    FindModules(list_file, module_folder);
}

Buffer<String> ModuleManager::ReadModuleList(File const & list_file) {
    Buffer<String> names;
    if (!list_file.exists()) {
        return names;
    }
    Scanner scanner(list_file, list_delimiter, File::READ_TEXT);
    while (scanner.nextLine()) {
        StringView const name = scanner.getNext();
        if (name.data() == nullptr || name.isEmpty() || name[0] == comment_mark) {
            continue;
        }
        names.add(String(name));
    }
    return names;
}

File ModuleManager::ModuleFile(StringView const & name, File const & module_folder) {
    if (!IsPlainName(name)) {
        return File();
    }
    File const folder = AsFolder(module_folder);
    File file = folder;
    file.appendPath(name);
    file.appendPath(ModulePlatform::LibraryEnding());
    // Whatever the path rules make of the name, the file must lie directly in the folder.
    if (file.getParentDirectory().view() != folder.view()) {
        return File();
    }
    return file;
}

void ModuleManager::FindModules(File const & list_file, File const & module_folder) {
    if (!list_file.exists()) {
        return;
    }
    FindModules(ReadModuleList(list_file), module_folder);
}

void ModuleManager::FindModules(Buffer<String> const & names, File const & module_folder) {
    File const folder = AsFolder(module_folder);
    Registry & registry = TheRegistry();
    File const parent = folder.getParentDirectory();
    File plugins = parent;
    plugins.appendPath(plugin_folder);
    registry.dll_directories.add(folder);
    registry.dll_directories.add(parent);
    registry.dll_directories.add(plugins);
    // The search folders reach the loader with each library it opens, so there is nothing to
    // register with the system here.
    for (String const & name : names) {
        if (registry.modules.contains(name)) {
            continue;
        }
        File file;
        bool built = false;
        // A name too long for a path raises here, as every path does.
        Internal::RunModuleGuarded([&] {
            file = ModuleFile(name.view(), folder);
            built = true;
        });
        if (!built) {
            continue;
        }
        if (file.isEmpty()) {
            TranslatedString message =
                Filled(Translatable(name_refused_label, name_refused_text), module_slot, name.view());
            Report(Exception(Filled(std::move(message), file_slot, folder.view()),
                             Translatable(module_load_error_title), false));
            continue;
        }
        if (!file.exists()) {
            continue;
        }
        Module module;
        Internal::RunModuleGuarded([&] { module = Module(name.view(), file); });
        if (module.isValid()) {
            AddModule(module);
        }
    }
}

void ModuleManager::AddModule(File const & library_file) {
    if (!library_file.exists()) {
        return;
    }
    Module const module(library_file.getPath(File::NAME), library_file);
    if (module.isValid()) {
        AddModule(module);
    }
}

void ModuleManager::AddModule(Module const & module) {
    Registry & registry = TheRegistry();
    registry.ordered_modules.add(module.name);
    Module & entered = registry.modules[module.name];
    entered = module;
    if (!registry.initialized) {
        return;
    }
    constexpr unsigned int stage_count = sizeof(ModuleStage::startup) / sizeof(ModuleStage::startup[0]);
    for (unsigned int i = 0; i + 1 < stage_count; ++i) {
        entered.callModuleFunction(StringView(ModuleStage::startup[i]));
    }
    entered.callModuleFunction(StringView(ModuleStage::setup_ui), registry.model_manager, registry.window_manager);
}

void ModuleManager::CallModuleFunction(StringView const & stage) {
    Registry & registry = TheRegistry();
    for (unsigned int i = 0; i < registry.ordered_modules.size(); ++i) {
        registry.modules.at(registry.ordered_modules[i]).callModuleFunction(stage);
    }
}

void ModuleManager::CallModuleFunction(StringView const & stage, QTModelManager * model_manager,
                                       QTWindowManager * window_manager) {
    Registry & registry = TheRegistry();
    for (unsigned int i = 0; i < registry.ordered_modules.size(); ++i) {
        registry.modules.at(registry.ordered_modules[i]).callModuleFunction(stage, model_manager, window_manager);
    }
}

void ModuleManager::DefineModuleResources(StringView const & module_name, ModuleResourceManager * manager) {
    Dictionary<String, Module> & modules = TheRegistry().modules;
    if (auto const found = modules.find(String(module_name)); found != modules.end()) {
        found->value().defineModuleResources(manager);
    }
}

bool ModuleManager::HasActiveModule(StringView const & name) {
    Dictionary<String, Module> const & modules = TheRegistry().modules;
    auto const found = modules.find(String(name));
    return found != modules.end() && found->value().active;
}

bool ModuleManager::IsModuleActive(StringView const & name) {
    Dictionary<String, bool> const & states = TheRegistry().module_active_list;
    auto const found = states.find(EnabledLabel(name));
    return found == states.end() || found->value();
}

void ModuleManager::ReadModuleSettings() {
    File file = SettingsFile();
    if (!file.exists()) {
        return;
    }
    INIFactory factory;
    AddUserOptions(factory);
    factory.readAsciiFile(file);
    Registry & registry = TheRegistry();
    for (auto const & entry : factory.extraOptions()) {
        registry.module_active_list[entry.key()] = Truth(entry.value().view());
    }
    for (auto & entry : registry.modules) {
        String const label = EnabledLabel(entry.value().name.view());
        if (factory.hasOption(label.view())) {
            entry.value().active = Truth(factory.getOption(label.view(), StringView()).view());
        }
    }
}

void ModuleManager::SaveModuleSettings() {
    INIFactory factory;
    AddUserOptions(factory);
    for (auto const & entry : TheRegistry().modules) {
        factory.addManagedOption(EnabledLabel(entry.value().name.view()).view(),
                                 StringView(entry.value().active ? "T" : "F"), true);
    }
    File file = SettingsFile();
    File folder = file.getParentDirectory();
    if (!folder.exists()) {
        folder.create(false);
    }
    factory.writeToAsciiFile(file, false);
}

void ModuleManager::SetErrorCallback(ErrorCallback const & callback) {
    TheRegistry().error_callback = callback;
}

void ModuleManager::SetInitialized(QTModelManager * model_manager, QTWindowManager * window_manager) {
    Registry & registry = TheRegistry();
    registry.model_manager = model_manager;
    registry.window_manager = window_manager;
    registry.initialized = true;
}

bool ModuleManager::IsInitialized() {
    return TheRegistry().initialized;
}

void ModuleManager::OnExit() {
    CallModuleFunction(StringView(ModuleStage::on_exit));
    SaveModuleSettings();
}

void * ModuleManager::LoadDynamicLibrary(StringView const & path) {
    String reason;
    if (void * handle = ModulePlatform::OpenLibrary(path, TheRegistry().dll_directories, reason)) {
        return handle;
    }
    Buffer<String> visited;
    Diagnose(path, 0, visited);
    TranslatedString message = Filled(Translatable(could_not_load_label, could_not_load_text), library_slot, path);
    throw Exception(Filled(std::move(message), reason_slot, reason.view()), Translatable(could_not_load_title), false);
}

void * ModuleManager::LoadFromDynamicLibrary(void * library, StringView const & symbol) {
    return ModulePlatform::FindSymbol(library, symbol);
}

void * ModuleManager::LoadFromDynamicLibrary(StringView const & path, StringView const & symbol) {
    return ModulePlatform::FindSymbol(LoadDynamicLibrary(path), symbol);
}

void ModuleManager::ResetForTesting() {
    Registry & registry = TheRegistry();
    registry = Registry();
}

} // namespace QELTA
