// Module: one plug-in library of the host, or the description of a library that isn't loaded,
// and the names of the stages at which the host calls its modules.
//
// A Module is a value: copies share the library handle and are as valid as their source, and no
// Module ever frees its library, which stays loaded until the process ends. A Module belongs to
// the thread that runs the host's start-up and shutdown and takes no lock. Loading raises the
// Exception of ModuleManager::LoadDynamicLibrary; a stage raises what the module raises, unless
// the error callback of ModuleManager takes it (see callModuleFunction).
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"

#include <cstdint>

namespace QELTA {

// The host's model and window managers: handed through to modules and never looked into.
class QTModelManager;
class QTWindowManager;
class ModuleResourceManager;

// The stages of a module's life. A module called `Survey` exports a stage as the C symbol
// `Survey` followed by the stage's name ("SurveySetupFactoriesForQELTA").
struct ModuleStage {
    // void(Module *): called at load with the module itself, which it may describe.
    static constexpr char initialize[] = "InitializeForQELTA";
    // void(ModuleResourceManager *): the module lists what it needs outside itself.
    static constexpr char define_module_resources[] = "DefineModuleResourcesForQELTA";
    // void(): the start-up stages, in this order up to setup_ui.
    static constexpr char setup_metatypes[] = "SetupMetatypesForQELTA";
    static constexpr char register_user_settings[] = "RegisterUserSettingsForQELTA";
    static constexpr char setup_file_structure[] = "SetupFileStructureForQELTA";
    static constexpr char setup_factories[] = "SetupFactoriesForQELTA";
    static constexpr char set_update_checker[] = "SetUpdateCheckerForQELTA";
    static constexpr char setup_manuals[] = "SetupManualsForQELTA";
    static constexpr char setup_ui_themes[] = "SetupUIThemesForQELTA";
    // void(QTModelManager *, QTWindowManager *): the last start-up stage.
    static constexpr char setup_ui[] = "SetupUIForQELTA";
    // void(): a factory reset of the application, and its shutdown.
    static constexpr char factory_reset[] = "FactoryResetQELTA";
    static constexpr char on_exit[] = "OnQELTAExit";

    // The start-up stages in the order the host calls them; the last takes the two managers.
    static constexpr char const * startup[] = {
        setup_metatypes,    register_user_settings, setup_file_structure, setup_factories,
        set_update_checker, setup_manuals,          setup_ui_themes,      setup_ui};
};

// A loaded module has a handle; a description has none and is never called. `functions` keeps
// the address found for each stage looked up, null included, so that a library is asked for a
// stage at most once.
struct QELTA_BASE_EXPORT Module {
    enum ModuleType : std::uint32_t {
        APPLICATIONS = 0,
        UTILITIES = 1,
        LIBRARIES = 2,
        GENERAL = 3,
    };

    // Empty, active, GENERAL, without a library.
    Module();
    // A library that isn't loaded: its name, that name as its display name, and the enabled state
    // that ModuleManager::IsModuleActive gives for it.
    explicit Module(StringView const & name);
    // The same, then loads `file` (ModuleManager::LoadDynamicLibrary, which raises on failure)
    // and calls initialize(). An inactive module is loaded and initialised all the same; only
    // its stages are withheld.
    Module(StringView const & name, File const & file);
    Module(Module const &) = default;
    Module & operator=(Module const &) = default;
    ~Module();

    // Whether a library is loaded.
    bool isValid() const noexcept { return handle != nullptr; }
    // Calls "InitializeForQELTA" with this module, whether active or not.
    void initialize();
    // Calls a stage taking no argument when the module is active and exports it. Under the error
    // callback of ModuleManager, what the stage raises goes to the callback instead.
    void callModuleFunction(StringView const & stage) const;
    // The same for a stage taking the two managers, without the callback: exceptions always pass.
    void callModuleFunction(StringView const & stage, QTModelManager * model_manager,
                            QTWindowManager * window_manager) const;
    // Calls "DefineModuleResourcesForQELTA", whether active or not.
    void defineModuleResources(ModuleResourceManager * manager) const;
    // The address of `name` + `stage` in the library, looked up once; null without a library or
    // when the library doesn't export it.
    void * stageAddress(StringView const & stage) const;

    mutable Dictionary<String, void *> functions;
    // Also the prefix of the module's exported symbols.
    String name;
    String version;
    File file;
    TranslatedString display_name;
    // The name of an image resource, for example "Images/zlib_logo".
    String icon;
    TranslatedString description;
    // The notice of the code the module wraps, shown as it stands.
    String notice_text;
    String url;
    // Kept and copied for the host; nothing in this library reads these four.
    String extra_text;
    UUID id;
    bool first_flag = false;
    bool second_flag = false;
    bool active = true;
    ModuleType type = GENERAL;
    // The loaded library, never freed; null for a description.
    void * handle = nullptr;
};

// The labels "Applications", "Utilities", "Libraries" and "General". Reading compares the hash of
// the text with those of the labels and leaves the value alone for any other text.
template <>
class QELTA_BASE_EXPORT StringStream<Module::ModuleType> {
  public:
    static void fromString(StringView const & text, Module::ModuleType & value) noexcept;
    static void toString(Module::ModuleType const & value, StringAllocatingView & out);
    static void toDisplayString(Module::ModuleType const & value, TranslatedString & out);
};

} // namespace QELTA
