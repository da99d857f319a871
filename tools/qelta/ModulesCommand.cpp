// qelta modules: the plug-in modules of a folder, listed with their state or driven through their
// stages as a host drives them.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/FileResource.h"
#include "Base/Host/Module.h"
#include "Base/Host/ModuleManager.h"
#include "Base/Host/ModuleResourceManager.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

constexpr char default_program[] = "qelta";
// The folder beside the qelta program that holds the sample module and its list.
constexpr char sample_folder[] = "modules/";

struct ModulesArguments {
    std::string folder;
    std::string program = default_program;
};

// The reports of the module registry's error callback, as "title: message" in English.
std::vector<std::string> & Reports() {
    static std::vector<std::string> s_reports;
    return s_reports;
}

void CollectReports() {
    ModuleManager::SetErrorCallback([](Exception const & error) {
        Reports().push_back(std::string(NativeEnglish(error.title()).view()) + ": " +
                            std::string(NativeEnglish(error.message()).view()));
    });
}

// The module folder named on the command line, which must hold a module list; false after saying so.
bool ModuleFolder(char const * verb, std::string const & path, File & folder, File & list) {
    folder = FromNativePath(path.empty() || path.back() == '/' ? path : path + "/");
    list = folder;
    list.appendPath(ModuleManager::module_list_file);
    if (list.exists()) {
        return true;
    }
    std::fprintf(stderr, "qelta modules %s: %s: no such file\n", verb, NativePath(list).c_str());
    return false;
}

std::string TypeLabel(Module const & module) {
    StringAllocatingView label;
    StringStream<Module::ModuleType>::toString(module.type, label);
    return std::string(label.view());
}

char const * EnabledText(bool enabled) {
    return enabled ? "enabled" : "disabled";
}

// Each stage the host calls after loading, in its order, with the modules that take it; the
// registry's error callback takes what a stage raises.
void DriveStages(QTModelManager * model_manager, QTWindowManager * window_manager) {
    auto const call = [&](char const * stage) {
        for (String const & name : ModuleManager::ordered_modules()) {
            Module const & module = ModuleManager::modules().at(name);
            if (!module.active || module.stageAddress(StringView(stage)) == nullptr) {
                continue;
            }
            std::printf("  %s%s\n", name.c_str(), stage);
            std::fflush(stdout);
            if (StringView(stage) == StringView(ModuleStage::setup_ui)) {
                module.callModuleFunction(StringView(stage), model_manager, window_manager);
            } else {
                module.callModuleFunction(StringView(stage));
            }
        }
    };
    for (char const * stage : ModuleStage::startup) {
        call(stage);
    }
    ModuleManager::SetInitialized(model_manager, window_manager);
    call(ModuleStage::on_exit);
}

void PrintReports(char const * indent) {
    for (std::string const & report : Reports()) {
        std::printf("%s%s\n", indent, report.c_str());
    }
}

void PrintSettingsFile() {
    File settings = ModuleManager::MainModuleFolder();
    settings.appendPath(ModuleManager::settings_file);
    std::printf("enabled state in %s%s\n", NativePath(settings).c_str(), settings.exists() ? "" : " (not written yet)");
}

int RunList(ModulesArguments const & arguments) {
    try {
        File folder;
        File list;
        if (!ModuleFolder("list", arguments.folder, folder, list)) {
            return exit_failure;
        }
        ModuleManager::SetMainProgramModuleName(StringView(arguments.program));
        ModuleManager::ReadModuleSettings();
        CollectReports();
        Buffer<String> const names = ModuleManager::ReadModuleList(list);
        std::printf("%s names %u modules\n", NativePath(list).c_str(), names.size());
        PrintSettingsFile();
        bool failed = false;
        for (String const & name : names) {
            Reports().clear();
            bool const known = ModuleManager::modules().contains(name);
            Buffer<String> one;
            one.add(name);
            // The loader's own notes go to standard error: what was printed comes first.
            std::fflush(stdout);
            ModuleManager::FindModules(one, folder);
            auto const found = ModuleManager::modules().find(name);
            if (known) {
                std::printf("  %-16s listed again\n", name.c_str());
            } else if (found != ModuleManager::modules().end()) {
                Module const & module = found->value();
                std::printf("  %-16s loaded    %-8s %s %s %s\n", name.c_str(), EnabledText(module.active),
                            TypeLabel(module).c_str(), module.version.isEmpty() ? "-" : module.version.c_str(),
                            NativePath(module.file).c_str());
            } else if (Reports().empty()) {
                File const file = ModuleManager::ModuleFile(name.view(), folder);
                std::printf("  %-16s no library %s\n", name.c_str(), NativePath(file).c_str());
            } else {
                failed = true;
                std::printf("  %-16s failed    %s\n", name.c_str(),
                            EnabledText(ModuleManager::IsModuleActive(name.view())));
                PrintReports("      ");
            }
        }
        return failed ? exit_failure : exit_ok;
    } catch (Exception const & error) {
        return Failure("modules list", error);
    }
}

int RunStages(ModulesArguments const & arguments) {
    try {
        File folder;
        File list;
        if (!ModuleFolder("run", arguments.folder, folder, list)) {
            return exit_failure;
        }
        ModuleManager::SetMainProgramModuleName(StringView(arguments.program));
        ModuleManager::ReadModuleSettings();
        CollectReports();
        ModuleManager::FindModules(folder);
        std::printf("loaded %u of the %u modules %s names\n", ModuleManager::ordered_modules().size(),
                    ModuleManager::ReadModuleList(list).size(), NativePath(list).c_str());
        PrintReports("  ");
        bool const load_failed = !Reports().empty();
        Reports().clear();
        DriveStages(nullptr, nullptr);
        PrintReports("  ");
        ModuleManager::SaveModuleSettings();
        PrintSettingsFile();
        return load_failed || !Reports().empty() ? exit_failure : exit_ok;
    } catch (Exception const & error) {
        return Failure("modules run", error);
    }
}

} // namespace

void DemoModules() {
    std::puts("\n== Plug-in modules");
    File folder = FileResource::ExeFolder();
    folder.appendPath(sample_folder);
    File list = folder;
    list.appendPath(ModuleManager::module_list_file);
    if (!list.exists()) {
        std::printf("No sample module beside qelta (%s is missing).\n", NativePath(list).c_str());
        return;
    }
    CollectReports();
    ModuleManager::FindModules(folder);
    PrintReports("  ");
    for (String const & name : ModuleManager::ordered_modules()) {
        Module const & module = ModuleManager::modules().at(name);
        std::printf("Loaded %s %s (%s): %s\n", name.c_str(), module.version.c_str(), TypeLabel(module).c_str(),
                    NativeEnglish(module.description).c_str());
        ModuleResourceManager needs;
        ModuleManager::DefineModuleResources(name.view(), &needs);
        for (ModuleDependency const & need : needs.dependencies) {
            std::printf("  needs %s %s on %s\n", need.type == MODULE_DEPENDENCY ? "module" : "file", need.name.c_str(),
                        need.os.c_str());
        }
    }
    std::puts("The host's stages, in order, on every module that exports them:");
    DriveStages(nullptr, nullptr);
    Reports().clear();
    ModuleManager::SetErrorCallback({});
}

void AddModulesCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<ModulesArguments>();
    CLI::App & modules = AddCommand(qelta, "modules", "list plug-in modules and drive them through their stages",
                                    "A module folder holds a file 'ModuleList' that names one module a line (up to a\n"
                                    "'|'; blank lines and lines beginning with '#' are skipped); module NAME is the\n"
                                    "library NAME.so in that folder and exports each stage as NAME<stage>. Libraries\n"
                                    "that a module needs are found in the folder and its parent too. Whether a module\n"
                                    "is enabled is kept in 'modules.ini' in the user data folder, under\n"
                                    "QELTA/Modules/PROGRAM/.");
    CLI::App & list = AddCommand(modules, "list", "shows what ModuleList names, what loads, and why not",
                                 "For each name: 'loaded' with its state, type, version and file; 'no library'\n"
                                 "when its file isn't there; or 'failed' with the loader's reason and the library\n"
                                 "that is really missing. Exits with 1 when a module fails to load.",
                                 [arguments] { return RunList(*arguments); });
    CLI::App & run = AddCommand(modules, "run", "loads the modules and drives every stage in order",
                                "Loads the modules as a host does, then calls the start-up stages in order on\n"
                                "every enabled module that exports them, printing each call, marks the start-up\n"
                                "as done, calls OnQELTAExit and saves modules.ini. Disabled modules are loaded\n"
                                "but never called. What a module raises is printed and the others go on; the\n"
                                "exit code is then 1.",
                                [arguments] { return RunStages(*arguments); });
    for (CLI::App * command : {&list, &run}) {
        command->add_option("FOLDER", arguments->folder, "the module folder")->required();
        command
            ->add_option("--program", arguments->program,
                         "the main program module name, which names the folder of modules.ini")
            ->default_str(default_program)
            ->type_name("NAME");
    }
}

} // namespace QELTA::Tool
