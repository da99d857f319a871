// qelta ini: read, change, list and convert settings files.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/FileResource.h"
#include "Base/Settings/INIFactory.h"

#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

struct IniArguments {
    std::string file;
    std::string key;
    std::string value;
    std::string other; // the binary twin, or the file whose labels a binary file is read with
};

// The binary twin of a settings file: its path with "b" added.
File Twin(File file) {
    file.appendPath("b");
    return file;
}

// The settings file named on the command line, which must exist; false after saying so.
bool Existing(char const * command, std::string const & path, File & file) {
    file = FromNativePath(path);
    if (file.exists()) {
        return true;
    }
    std::fprintf(stderr, "qelta ini %s: %s: no such file\n", command, NativePath(file).c_str());
    return false;
}

// Reads `file` with every line kept as an extra option, in the order of the file.
void ReadKeepingOrder(File & file, INIFactory & factory) {
    factory.setPreserveOrder(true);
    if (file.exists()) {
        factory.readAsciiFile(file);
    }
}

int RunGet(IniArguments const & arguments) {
    try {
        File file;
        if (!Existing("get", arguments.file, file)) {
            return exit_failure;
        }
        INIFactory factory;
        factory.readAsciiFile(file);
        if (!factory.hasOption(StringView(arguments.key))) {
            std::fprintf(stderr, "qelta ini get: %s has no setting '%s'\n", NativePath(file).c_str(),
                         arguments.key.c_str());
            return exit_failure;
        }
        std::printf("%s\n", factory.getOption(StringView(arguments.key), StringView()).c_str());
    } catch (Exception const & error) {
        return Failure("ini get", error);
    }
    return exit_ok;
}

int RunSet(IniArguments const & arguments) {
    try {
        File file = FromNativePath(arguments.file);
        INIFactory factory;
        ReadKeepingOrder(file, factory);
        factory.addManagedOption(StringView(arguments.key), StringView(arguments.value), true);
        factory.writeToAsciiFile(file, false);
        std::printf("%s: %s=%s\n", NativePath(file).c_str(), arguments.key.c_str(), arguments.value.c_str());
    } catch (Exception const & error) {
        return Failure("ini set", error);
    }
    return exit_ok;
}

int RunList(IniArguments const & arguments) {
    try {
        File file;
        if (!Existing("list", arguments.file, file)) {
            return exit_failure;
        }
        INIFactory factory;
        factory.setPreserveOrder(true);
        factory.readAsciiFile(file);
        std::printf("%s: %u settings\n", NativePath(file).c_str(), factory.order().size());
        for (String const & label : factory.order()) {
            std::printf("  %s = %s\n", label.c_str(), factory.getOption(label.view(), StringView()).c_str());
        }
    } catch (Exception const & error) {
        return Failure("ini list", error);
    }
    return exit_ok;
}

int RunToBinary(IniArguments const & arguments) {
    try {
        File file;
        if (!Existing("to-binary", arguments.file, file)) {
            return exit_failure;
        }
        File binary = arguments.other.empty() ? Twin(file) : FromNativePath(arguments.other);
        INIFactory factory;
        factory.readAsciiFile(file);
        factory.writeToBinaryFile(binary);
        std::printf("%s: %llu settings written to %s (%llu bytes)\n", NativePath(file).c_str(),
                    static_cast<unsigned long long>(factory.extraOptions().size()), NativePath(binary).c_str(),
                    binary.fileSize());
    } catch (Exception const & error) {
        return Failure("ini to-binary", error);
    }
    return exit_ok;
}

int RunFromBinary(IniArguments const & arguments) {
    try {
        File file;
        if (!Existing("from-binary", arguments.file, file)) {
            return exit_failure;
        }
        File binary = arguments.other.empty() ? Twin(file) : FromNativePath(arguments.other);
        // The labels come from FILE: the binary form keeps only their hashes.
        INIFactory ordered;
        ReadKeepingOrder(file, ordered);
        ordered.readBinaryFile(binary);
        ordered.writeToAsciiFile(file, false);
        std::printf("%s: %llu settings read from %s\n", NativePath(file).c_str(),
                    static_cast<unsigned long long>(ordered.extraOptions().size()), NativePath(binary).c_str());
    } catch (Exception const & error) {
        return Failure("ini from-binary", error);
    }
    return exit_ok;
}

} // namespace

void DemoIni() {
    std::puts("\n== Settings files");
    File file = DemoFolder();
    file.appendPath("settings.ini");
    INIFactory first;
    first.setPreserveOrder(true);
    first.addManagedOption("units", "metric", true);
    first.addManagedOption("recent_file", "/data/run 7.csv", true);
    first.addManagedOption("formula", "a=b+c", true);
    first.writeToAsciiFile(file, false);
    std::printf("Saved %s; a '=' in a value is written as \\e:\n", NativePath(file).c_str());
    File::ByteBuffer const saved = file.getData();
    std::fwrite(saved.data(), 1, saved.size(), stdout);
    INIFactory second;
    second.setPreserveOrder(true);
    second.readAsciiFile(file);
    second.addManagedOption("units", "imperial", true);
    second.writeToAsciiFile(file, false);
    INIFactory third;
    third.readAsciiFile(file);
    std::printf("Changed units and read back: units=%s, formula=%s\n", third.getOption("units", "").c_str(),
                third.getOption("formula", "").c_str());
    file.deleteFile(LogPtr());
}

void AddIniCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<IniArguments>();
    CLI::App & ini = AddCommand(qelta, "ini", "read, change, list and convert settings files",
                                "Settings files hold one 'label=value' line each; '=', tabs, line feeds and\n"
                                "backslashes in a value are written as \\e, \\t, \\n and \\\\. Lines beginning with\n"
                                "';' are comments, and ';end_file' ends the file. The binary twin of FILE is\n"
                                "FILE with 'b' added; it keeps the hashes of the labels, not the labels.");
    CLI::App & get = AddCommand(ini, "get", "prints the value of KEY in FILE", "Exits with 1 when FILE has no KEY.",
                                [arguments] { return RunGet(*arguments); });
    CLI::App & set = AddCommand(ini, "set", "sets KEY to VALUE in FILE and saves it",
                                "Saves through a temporary file that replaces FILE only once it is complete, so\n"
                                "an interrupted save leaves the old file. Every other setting stays, in its\n"
                                "order; comment lines and what follows ';end_file' are not kept.",
                                [arguments] { return RunSet(*arguments); });
    CLI::App & list = AddCommand(ini, "list", "lists the settings of FILE", "",
                                 [arguments] { return RunList(*arguments); });
    CLI::App & to_binary = AddCommand(ini, "to-binary", "writes the binary twin of FILE",
                                      "Writes every setting of FILE to BINARY (default: FILE with 'b' added).",
                                      [arguments] { return RunToBinary(*arguments); });
    CLI::App & from_binary = AddCommand(ini, "from-binary", "sets the settings of FILE from its binary twin",
                                        "Reads BINARY (default: FILE with 'b' added) with the labels of FILE and\n"
                                        "saves the values into FILE. Records of labels FILE doesn't have are passed\n"
                                        "over, since the binary form keeps only their hashes.",
                                        [arguments] { return RunFromBinary(*arguments); });
    for (CLI::App * command : {&get, &set, &list, &to_binary, &from_binary}) {
        command->add_option("FILE", arguments->file, "the settings file")->required();
    }
    for (CLI::App * command : {&get, &set}) {
        command->add_option("KEY", arguments->key, "the label of the setting")->required();
    }
    set.add_option("VALUE", arguments->value, "the new value")->required();
    for (CLI::App * command : {&to_binary, &from_binary}) {
        command->add_option("BINARY", arguments->other, "the binary file");
    }
}

} // namespace QELTA::Tool
