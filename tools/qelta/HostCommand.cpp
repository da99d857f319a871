// qelta run, env, registry and sysinfo: programs started with streamed output, environment
// variables, the registry store and the machine's description.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Host/LocalApplicationLauncher.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Settings/EnvironmentalVariable.h"
#include "Base/Settings/RegistryEntry.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace QELTA::Tool {
namespace {

// Prints each line it is sent as it comes, errors to standard error, and keeps nothing.
class ConsolePipe : public MemoryInfoPipe {
  public:
    using MemoryInfoPipe::addMessage;
    void addMessage(unsigned int, StringView const & text, unsigned char level) override {
        std::FILE * out = level == LocalApplicationLauncher::error_level ? stderr : stdout;
        std::fwrite(text.data(), 1, text.size(), out);
        std::fputc('\n', out);
        std::fflush(out);
    }
};

int RunProgram(std::vector<std::string> const & command) {
    if (command.empty()) {
        std::fprintf(stderr, "qelta run: no program given\n");
        return exit_usage;
    }
    ConsolePipe console;
    LocalApplicationLauncher launcher(StringView(command.front()));
    Buffer<String> arguments;
    for (std::size_t i = 1; i < command.size(); ++i) {
        arguments.add(String(command[i]));
    }
    launcher.arguments = LocalApplicationLauncher::JoinCommandLine(arguments);
    launcher.log = LogPtr(&console);
    try {
        launcher.execute();
    } catch (Exception const & error) {
        return Failure("run", error);
    }
    return launcher.exit_code < 0 ? exit_failure : launcher.exit_code;
}

void PrintTable(char const * title, Dictionary<String, String> const & table) {
    std::printf("%s variables (%llu)\n", title, static_cast<unsigned long long>(table.size()));
    for (auto const & [name, value] : table) {
        std::printf("  %s = %s\n", name.c_str(), value.c_str());
    }
}

int RunEnv(std::string const & name, std::vector<std::string> const & program_values, std::string const & expand) {
    for (std::string const & assignment : program_values) {
        std::size_t const equals = assignment.find('=');
        if (equals == std::string::npos || equals == 0) {
            std::fprintf(stderr, "qelta env: --program wants NAME=VALUE, not '%s'\n", assignment.c_str());
            return exit_usage;
        }
        EnvironmentalVariable::SetProgramEnvironmentalVariable(StringView(assignment).substr(0, equals),
                                                               StringView(assignment).substr(equals + 1));
    }
    PrintTable("user", EnvironmentalVariable::UserVariables());
    PrintTable("system", EnvironmentalVariable::SystemVariables());
    PrintTable("program", EnvironmentalVariable::ProgramVariables());
    if (!name.empty()) {
        std::printf("%s resolves to: %s\n", name.c_str(),
                    NativePath(EnvironmentalVariable::GetEnvironmentalVariable(StringView(name)).view()).c_str());
    }
    if (!expand.empty()) {
        std::printf("%s\n", EnvironmentalVariable::ResolveEnvironmentalVariables(StringView(expand)).c_str());
    }
    return exit_ok;
}

int RunRegistryGet(std::string const & path) {
    RegistryEntry entry{StringView(path)};
    String const value = entry.getValue();
    StringAllocatingView type;
    StringStream<RegistyEntryType>::toString(entry.type, type);
    std::printf("%s (%.*s)\n", value.c_str(), static_cast<int>(type.size()), type.data());
    return exit_ok;
}

int RunRegistrySet(std::string const & path, std::string const & value, std::string const & type_label) {
    RegistryEntry entry{StringView(path)};
    RegistyEntryType type = static_cast<RegistyEntryType>(~0u);
    StringStream<RegistyEntryType>::fromString(StringView(type_label), type);
    if (static_cast<unsigned int>(type) > REG_QWORD) {
        std::fprintf(stderr, "qelta registry set: unknown type '%s'\n", type_label.c_str());
        return exit_usage;
    }
    entry.type = type;
    try {
        entry.setValue(StringView(value));
    } catch (Exception const & error) {
        return Failure("registry set", error);
    }
    std::printf("%s = %s:%s\n", path.c_str(), type_label.c_str(), value.c_str());
    return exit_ok;
}

int RunRegistryList(std::string const & key) {
    Dictionary<String, String> const values = RegistryEntry::ListValues(StringView(key));
    std::vector<std::string> lines;
    for (auto const & [label, value] : values) {
        lines.push_back(std::string(label.c_str()) + " = " + value.c_str());
    }
    std::sort(lines.begin(), lines.end());
    std::printf("%s: %zu values\n", key.c_str(), lines.size());
    for (std::string const & line : lines) {
        std::printf("  %s\n", line.c_str());
    }
    return exit_ok;
}

// Prints what a log would get, one line a record.
class PrintingPipe : public MemoryInfoPipe {
  public:
    using MemoryInfoPipe::addMessage;
    void addMessage(unsigned int, StringView const & text, unsigned char) override {
        std::printf("%.*s\n", static_cast<int>(text.size()), text.data());
    }
};

int RunSysinfo() {
    PrintingPipe printer;
    LogPtr const log(&printer);
    ApplicationResource::LogOSInformation(log);
    ApplicationResource::LogComputerInformation(log);
    std::printf("Processors recommended for threads: %u\nUser: %s\nPlatform: %.*s\n",
                ApplicationResource::RecommendedThreadCount(), ApplicationResource::OSUserName().c_str(),
                static_cast<int>(ApplicationResource::OSType().size()), ApplicationResource::OSType().data());
    return exit_ok;
}

} // namespace

void DemoHost() {
    std::printf("\n== The machine and other programs\n");
    RunSysinfo();
    std::printf("A short program, its output streamed line by line:\n");
    RunProgram({"/bin/sh", "-c", "for step in 1 2 3; do echo \"step $step of 3\"; sleep 0.1; done"});
}

void AddHostCommands(CLI::App & qelta) {
    static std::vector<std::string> command;
    CLI::App & run = AddCommand(qelta, "run", "Run a program with its output streamed through a log",
                                "Everything after -- is the program and its arguments, passed unchanged (no shell).\n"
                                "Standard output and error are shown line by line while it runs; the exit code is "
                                "the program's.",
                                [] { return RunProgram(command); });
    run.add_option("command", command, "PROGRAM ARGS...")->required();
    run.allow_extras(false);

    static std::string name;
    static std::vector<std::string> program_values;
    static std::string expand;
    CLI::App & env = AddCommand(qelta, "env", "Show the user, system and program variables and a resolved value",
                                "NAME is looked up in the user, system and program tables, the built-in folder names "
                                "(temp, appdata, documents, downloads, programdata) and the process's environment.",
                                [] { return RunEnv(name, program_values, expand); });
    env.add_option("name", name, "NAME");
    env.add_option("--program", program_values, "NAME=VALUE set in the program's table first");
    env.add_option("--expand", expand, "a text whose $(NAME), %NAME%, ${NAME} and $NAME are replaced");

    CLI::App & registry = AddCommand(qelta, "registry", "Read and write the registry store",
                                     "Paths are KEY\\PATH\\NAME or KEY/PATH/NAME, KEY one of HKEY_CURRENT_USER, "
                                     "HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS, HKEY_CURRENT_CONFIG.");
    static std::string path;
    static std::string value;
    static std::string type = "REG_SZ";
    CLI::App & get = AddCommand(registry, "get", "Show a value and its type", "", [] { return RunRegistryGet(path); });
    get.add_option("path", path, "KEY/PATH/NAME")->required();
    CLI::App & set =
        AddCommand(registry, "set", "Store a value", "Numbers of REG_DWORD, REG_QWORD and REG_BINARY are decimal.",
                   [] { return RunRegistrySet(path, value, type); });
    set.add_option("path", path, "KEY/PATH/NAME")->required();
    set.add_option("value", value, "VALUE")->required();
    set.add_option("--type", type, "REG_SZ (default), REG_DWORD, REG_QWORD, ...");
    static std::string key = "HKEY_CURRENT_USER";
    CLI::App & list =
        AddCommand(registry, "list", "List the values under a root key", "", [] { return RunRegistryList(key); });
    list.add_option("key", key, "KEY (default HKEY_CURRENT_USER)");

    AddCommand(qelta, "sysinfo", "Describe the machine: system, hardware and video cards",
               "Read from /etc/os-release, /proc, /sys/class/dmi/id and /sys/bus/pci/devices; what the system "
               "doesn't say shows as \"Not set\".",
               [] { return RunSysinfo(); });
}

} // namespace QELTA::Tool
