// ModuleManager: the registry of plug-in modules: finds them from a list file, loads them, keeps
// their order of arrival and enabled state, and calls each stage on all of them.
//
// All static. The registry is allocated on first use and never freed, and it has no lock: every
// call comes from the thread that runs the host's start-up and shutdown. Libraries are never
// unloaded. Failures: a missing list file or a listed library that doesn't exist are silent; a
// library that fails to load or a stage that raises goes to the error callback when one is set,
// and the other modules go on; without a callback the Exception reaches the caller.
#pragma once

#include "Base/Export.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Host/Module.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <functional>

namespace QELTA {

class QELTA_BASE_EXPORT ModuleManager {
  public:
    ModuleManager() = delete;

    using ErrorCallback = std::function<void(Exception const &)>;

    // The file in the module folder that names the modules, one a line.
    static constexpr char module_list_file[] = "ModuleList";
    // The settings file in MainModuleFolder() with the user and each module's enabled state.
    static constexpr char settings_file[] = "modules.ini";
    // Behind a module's name, the label of its enabled state ("Survey_enabled").
    static constexpr char enabled_suffix[] = "_enabled";

    // The registry

    static Dictionary<String, Module> & modules();
    // The names in order of arrival; every stage call walks this list.
    static Buffer<String> & ordered_modules();
    // A module's label ("Survey_enabled") to its enabled state, as "modules.ini" gave it.
    static Dictionary<String, bool> & module_active_list();
    // Kept for clients; nothing in this library fills it.
    static Dictionary<String, Dictionary<String, void *>> & functions();
    // The folders searched for a module's companion libraries; each FindModules adds three,
    // repeats included.
    static Buffer<String> & dll_directories();
    static ErrorCallback & error_callback();

    static void SetMainProgramModuleName(StringView const & name);
    static String const & MainProgramModuleName();
    // The user's local data folder, then "QELTA", "Modules" and the main program module name.
    static File MainModuleFolder();

    // Finding and adding

    // The names of a module list: one a line, up to the first "|", without a line's enclosing
    // quotes; blank lines and lines beginning with "#" are skipped. Empty when the file doesn't
    // exist.
    static Buffer<String> ReadModuleList(File const & list_file);
    // The library file that `name` stands for in the folder (`name` + ".so"), or an empty File for
    // a name that isn't a plain file name: a separator or a zero byte in it, "." or "..". A name
    // too long for a path raises the file layer's FileException.
    static File ModuleFile(StringView const & name, File const & module_folder);
    // Reads "ModuleList" in the folder.
    static void FindModules(File const & module_folder);
    // FindModules on the names of ReadModuleList; a missing list file does nothing.
    static void FindModules(File const & list_file, File const & module_folder);
    // Loads each name not known yet whose library (ModuleFile) exists in the folder, in the order
    // given. A name that ModuleFile refuses is reported as a "Module load error": nothing outside
    // the folder is ever loaded.
    static void FindModules(Buffer<String> const & names, File const & module_folder);
    // A library file that exists, named after its name part, when it loads.
    static void AddModule(File const & library_file);
    // Enters the module; after SetInitialized it is brought through the start-up stages at once.
    static void AddModule(Module const & module);

    // Stages

    // Calls the stage on every module in order of arrival.
    static void CallModuleFunction(StringView const & stage);
    static void CallModuleFunction(StringView const & stage, QTModelManager * model_manager,
                                   QTWindowManager * window_manager);
    // Calls "DefineModuleResourcesForQELTA" on one module; an unknown name does nothing.
    static void DefineModuleResources(StringView const & module_name, ModuleResourceManager * manager);

    // False for an unknown name, else the module's own state.
    static bool HasActiveModule(StringView const & name);
    // The state "modules.ini" gave the name, true when it gave none: it answers for modules never
    // seen.
    static bool IsModuleActive(StringView const & name);

    // Settings

    // Reads "modules.ini" when it exists: the user's name and e-mail into ApplicationResource,
    // every module label into module_active_list, and the state of each module known.
    static void ReadModuleSettings();
    // Writes the user and every module's state to "modules.ini", without the end mark.
    static void SaveModuleSettings();
    static void SetErrorCallback(ErrorCallback const & callback);

    // Lifecycle

    // Stores the managers for late arrivals and marks the start-up stages as done.
    static void SetInitialized(QTModelManager * model_manager, QTWindowManager * window_manager);
    static bool IsInitialized();
    // "OnQELTAExit" on every module, then SaveModuleSettings().
    static void OnExit();

    // Libraries

    // Opens the library; on failure diagnoses which dependency is missing (reported through the
    // error callback as "DLL Load Failed") and raises "Could not load library" with the path and
    // the loader's reason.
    static void * LoadDynamicLibrary(StringView const & path);
    // Null for a null library or a symbol it doesn't export.
    static void * LoadFromDynamicLibrary(void * library, StringView const & symbol);
    static void * LoadFromDynamicLibrary(StringView const & path, StringView const & symbol);

    // Forgets every module, setting, folder, callback and the initialised state; the libraries stay
    // loaded.
    static void ResetForTesting();
};

} // namespace QELTA
