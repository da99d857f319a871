// qelta folders: where the library finds the system's folders and keeps its own, and the folder
// variables that stored paths may hold.
#include "tools/qelta/Command.h"

#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Files/FileResource.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace QELTA::Tool {
namespace {

constexpr char not_found_text[] = "(not found)";

struct NamedFolder {
    char const * label;
    File (*folder)();
};

File ProgramsFolder() {
    return FileResource::OSProgramsFolder(true);
}

File AppTranslations() {
    return FileResource::PathToProgramTranslations(true);
}

File Translations() {
    return FileResource::PathToProgramTranslations(false);
}

constexpr NamedFolder system_folders[] = {
    {"program", FileResource::ExePath},
    {"programs", ProgramsFolder},
    {"machine data", FileResource::OSProgramDataFolder},
    {"user data", FileResource::OSUserDataFolder},
    {"documents", FileResource::OSDocumentsFolder},
    {"downloads", FileResource::OSDownloadsFolder},
    {"temp", FileResource::OSTempFolder},
};

constexpr NamedFolder toolkit_folders[] = {
    {"const resources", FileResource::PathToConstResources},
    {"program data", FileResource::PathToProgramDynamicResources},
    {"QELTA data", FileResource::PathToQELTADynamicResources},
    {"user data", FileResource::PathToUserDynamicResources},
    {"program settings", FileResource::PathToProgramSettings},
    {"QELTA settings", FileResource::PathToQELTASettings},
    {"user settings", FileResource::PathToUserSettings},
    {"user library", FileResource::PathToUserLibrary},
    {"models", FileResource::PathToProgramModels},
    {"translations", Translations},
    {"app translations", AppTranslations},
    {"program temp", FileResource::ProgramTempPath},
    {"sync settings", FileResource::SyncSettingsFolder},
};

void PrintFolders(char const * heading, std::span<NamedFolder const> folders) {
    std::printf("%s\n", heading);
    for (NamedFolder const & named : folders) {
        File const folder = named.folder();
        std::printf("  %-17s %s\n", named.label, folder.isEmpty() ? not_found_text : NativePath(folder).c_str());
    }
}

String ProjectKey() {
    StringAllocatingView key;
    StringStream<FileResource::ProgramFileVars>::toString(FileResource::QELTA_PROJECT_FOLDER, key);
    return String(key.view());
}

void PrintVariables() {
    std::puts("folder variables");
    if (FileResource::FileEnvVariables().isEmpty()) {
        std::puts("  (none)");
    }
    for (auto const & [key, value] : FileResource::FileEnvVariables()) {
        std::printf("  %s = %s\n", key.c_str(), NativePath(value.view()).c_str());
    }
}

struct FoldersArguments {
    std::optional<std::string> context;
    std::optional<std::string> project;
    std::optional<std::string> expand;
    bool system_only = false;
};

int RunFolders(FoldersArguments const & arguments) {
    try {
        if (arguments.context) {
            FileResource::SetAppContextName(String(*arguments.context));
        }
        if (arguments.project) {
            File folder = FromNativePath(*arguments.project);
            folder.expandEnvironmentalVars();
            FileResource::FileEnvVariables()[ProjectKey()] = String(folder.view());
        }
        if (arguments.expand) {
            File path = FromNativePath(*arguments.expand);
            path.expandEnvironmentalVars();
            std::printf("%s\n", NativePath(path).c_str());
            return exit_ok;
        }
    } catch (FileException const & failure) {
        return Failure("folders", failure);
    }
    std::printf("context name        %s\n", FileResource::AppContextName().c_str());
    PrintFolders("system folders", system_folders);
    if (!arguments.system_only) {
        PrintFolders("toolkit folders (made when missing)", toolkit_folders);
    }
    PrintVariables();
    return exit_ok;
}

} // namespace

void DemoFolders() {
    std::puts("\n== Folders");
    std::puts("The system's folders, found without making anything:");
    PrintFolders("system folders", system_folders);
    String const key = ProjectKey();
    std::printf("A stored path may begin with %s; a host sets its value:\n", key.c_str());
    FileResource::FileEnvVariables()[key] = String("\\srv\\projects\\bridge\\");
    File path(String(key.view()).append(StringView("\\survey\\points.csv")));
    std::printf("%s -> ", path.c_str());
    path.expandEnvironmentalVars();
    std::printf("%s\n", path.c_str());
    FileResource::FileEnvVariables().erase(key);
}

void AddFoldersCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<FoldersArguments>();
    CLI::App & folders =
        AddCommand(qelta, "folders", "the system's folders, the library's own folders and the folder variables",
                   "Lists where the library finds the system's folders: the running program, the folder for\n"
                   "installed programs (/opt), the machine-wide data folder (/var/lib when it is writable,\n"
                   "else the user data folder), the user data folder ($XDG_DATA_HOME, else\n"
                   "~/.local/share), the documents and downloads folders (as ~/.config/user-dirs.dirs names\n"
                   "them, else ~/Documents and ~/Downloads) and the temporary folder ($TMPDIR, else /tmp).\n"
                   "\"(not found)\" marks a folder the system can't name, for instance without HOME.\n\n"
                   "Then the library's own folders, built on them: the resources beside the program, the\n"
                   "program's, the toolkit's and the user's data folders (QELTA/NAME/ inside the machine and\n"
                   "user data folders), and the settings, library, models, translations, temporary and sync\n"
                   "folders inside those. The four first are made when missing; one that can't be made is\n"
                   "replaced by the same folder inside the temporary folder. Last the folder variables: texts\n"
                   "that a path may hold and that are replaced by their value when the path is expanded.\n\n"
                   "The context NAME is \"Unnamed\" when not given; an empty NAME names the user folder\n"
                   "\"Unnamed\" and leaves the program folder without a name. --expand replaces the variables,\n"
                   "makes PATH absolute and adds a separator when it names an existing folder.",
                   [arguments] { return RunFolders(*arguments); });
    folders.add_flag("--system", arguments->system_only, "lists the system's folders and the variables only");
    folders
        .add_option("--context", arguments->context, "the context name the program and user folders are named after")
        ->type_name("NAME");
    folders.add_option("--project", arguments->project, "sets ${QELTA_PROJECT_FOLDER} to FOLDER made absolute")
        ->type_name("FOLDER");
    folders.add_option("--expand", arguments->expand, "prints PATH expanded as every stored path is, and nothing else")
        ->type_name("PATH");
}

} // namespace QELTA::Tool
