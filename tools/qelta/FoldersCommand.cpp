// qelta folders: where the library finds the system's folders and keeps its own, and the folder
// variables that stored paths may hold.
#include "tools/qelta/Command.h"

#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Files/FileResource.h"

#include <cstdio>
#include <span>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "folders";
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
        std::printf("  %-17s %s\n", named.label, folder.isEmpty() ? not_found_text : folder.c_str());
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
        std::printf("  %s = %s\n", key.c_str(), value.c_str());
    }
}

// Takes the value behind the option at `index` and steps over it; false when there is none.
bool ReadValue(Arguments arguments, std::size_t & index, char const *& value) {
    if (index + 1 >= arguments.size()) {
        return false;
    }
    value = arguments[++index];
    return true;
}

int RunFolders(Arguments arguments) {
    char const * context = nullptr;
    char const * project = nullptr;
    char const * expand = nullptr;
    bool system_only = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view const argument(arguments[i]);
        if (argument == "--system") {
            system_only = true;
            continue;
        }
        char const ** target = argument == "--context"   ? &context
                               : argument == "--project" ? &project
                               : argument == "--expand"  ? &expand
                                                         : nullptr;
        if (target == nullptr) {
            return UsageError(command_name, "takes only --system, --context NAME, --project FOLDER and --expand PATH");
        }
        if (!ReadValue(arguments, i, *target)) {
            return UsageError(command_name, "an option needs its value");
        }
    }
    try {
        if (context != nullptr) {
            FileResource::SetAppContextName(String(context));
        }
        if (project != nullptr) {
            File folder(project);
            folder.expandEnvironmentalVars();
            FileResource::FileEnvVariables()[ProjectKey()] = String(folder.view());
        }
        if (expand != nullptr) {
            File path(expand);
            path.expandEnvironmentalVars();
            std::printf("%s\n", path.c_str());
            return exit_ok;
        }
    } catch (FileException const & failure) {
        return Failure("folders", failure);
    }
    std::printf("context name        %s\n", FileResource::AppContextName().c_str());
    PrintFolders("system folders", system_folders);
    if (!system_only) {
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

Command const folders_command = {
    "folders",
    "the system's folders, the library's own folders and the folder variables",
    "usage: qelta folders [--system] [--context NAME] [--project FOLDER] [--expand PATH]\n\n"
    "Lists where the library finds the system's folders: the running program, the folder for\n"
    "installed programs (/opt), the machine-wide data folder (/var/lib when it is writable,\n"
    "else the user data folder), the user data folder ($XDG_DATA_HOME, else\n"
    "~/.local/share), the documents and downloads folders (as ~/.config/user-dirs.dirs names\n"
    "them, else ~/Documents and ~/Downloads) and the temporary folder ($TMPDIR, else /tmp).\n"
    "\"(not found)\" marks a folder the system can't name, for instance without HOME.\n\n"
    "Then the library's own folders, built on them: the resources beside the program, the\n"
    "program's, the toolkit's and the user's data folders (QELTA\\NAME\\ inside the machine and\n"
    "user data folders), and the settings, library, models, translations, temporary and sync\n"
    "folders inside those. The four first are made when missing; one that can't be made is\n"
    "replaced by the same folder inside the temporary folder. Last the folder variables: texts\n"
    "that a path may hold and that are replaced by their value when the path is expanded.\n\n"
    "--system         lists the system's folders and the variables only, and so makes nothing\n"
    "--context NAME   the application's context name that the program and user folders are\n"
    "                 named after (\"Unnamed\" when not given; an empty NAME names the user\n"
    "                 folder \"Unnamed\" and leaves the program folder without a name)\n"
    "--project FOLDER sets the variable ${QELTA_PROJECT_FOLDER} to FOLDER made absolute\n"
    "--expand PATH    prints PATH expanded as every stored path is (variables replaced, made\n"
    "                 absolute, a separator added when it names an existing folder) and\n"
    "                 nothing else\n\n"
    "Paths are shown in the library's form, with backslashes.\n",
    RunFolders,
};

} // namespace QELTA::Tool
