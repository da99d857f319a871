// qelta file: paths as the library keeps them, their parts and what the disk says about them.
#include "tools/qelta/Command.h"

#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace QELTA::Tool {
namespace {

void PrintField(char const * label, StringView const & text) {
    std::printf("%-10s %.*s\n", label, static_cast<int>(text.size()), text.data());
}

void PrintTime(char const * label, Time const & time) {
    if (!time.isValid()) {
        PrintField(label, "unknown");
        return;
    }
    StringAllocatingView text;
    StringStream<Time>::toString(time, text);
    std::printf("%-10s %.*s UTC\n", label, static_cast<int>(text.size()), text.data());
}

char const * Shape(File const & file) {
    if (file.isMTP()) {
        return "device";
    }
    if (file.isDrive()) {
        return "drive";
    }
    return file.isDirectory() ? "directory" : "file";
}

// How PrintParts shows the paths among the parts: as the user of this system writes them, or as
// the library keeps them.
enum class PathForm { NATIVE, STORED };

void PrintParts(File const & file, PathForm form) {
    auto const path = [form](StringView const & text) {
        return form == PathForm::NATIVE ? NativePath(text) : String(text);
    };
    PrintField("path", path(file.view()));
    PrintField("drive", path(file.getPath(File::DRIVE)));
    PrintField("directory", path(file.getPath(File::DIRECTORY)));
    PrintField("name", file.getPath(File::NAME));
    PrintField("extension", file.getPath(File::EXTENSION));
    PrintField("folder", file.getFolderName(false));
    PrintField("parent", path(file.getParentDirectory().view()));
    PrintField("shape", Shape(file));
}

void PrintDisk(File const & file) {
    PrintField("exists", file.exists() ? "yes" : "no");
    unsigned long long const size = file.fileSize();
    if (size == FileCachedData::unknown_size) {
        PrintField("size", "unknown");
    } else {
        std::printf("%-10s %llu bytes (%s)\n", "size", size, File::FileSizeToString(size).c_str());
    }
    Time modified, created, accessed;
    file.getFileTimes(modified, created, accessed);
    PrintTime("modified", modified);
    PrintTime("accessed", accessed);
    PrintTime("created", created);
    PrintField("hidden", file.isHidden() ? "yes" : "no");
    StringAllocatingView cache;
    StringStream<FileCachedData>::toString(file.currentCache(), cache);
    PrintField("cache", cache.view());
}

// The arguments of the verbs; one invocation runs one verb, so they share them.
struct FileArguments {
    std::string path;   // PATH, SRC or FOLDER
    std::string target; // DST
    std::string pattern;
    std::string sort = "name";
    bool recursive = false;
    bool keep = false;
};

int RunInfo(FileArguments const & arguments) {
    try {
        File const file = FromNativePath(arguments.path);
        PrintParts(file, PathForm::NATIVE);
        PrintDisk(file);
    } catch (FileException const & failure) {
        return Failure("file", failure);
    }
    return exit_ok;
}

// The orders of `find`: the library's name, type and access orders, and the largest file first.
struct FindOrder {
    std::string_view name;
    bool (*less)(File const &, File const &);
};

bool LargestFirst(File const & a, File const & b) {
    unsigned long long const a_size = a.isDirectory() ? 0 : a.fileSize();
    unsigned long long const b_size = b.isDirectory() ? 0 : b.fileSize();
    return a_size != b_size ? a_size > b_size : File::nameSort(a, b);
}

constexpr FindOrder find_orders[] = {
    {"name", File::nameSort},
    {"date", File::accessSort},
    {"size", LargestFirst},
    {"type", File::typeSort},
};

int RunFind(FileArguments const & arguments) {
    try {
        File folder = FromNativePath(arguments.path);
        folder.expandEnvironmentalVars();
        FileBuffer found = folder.getChildrenMatching(StringView(arguments.pattern), arguments.recursive);
        for (FindOrder const & order : find_orders) {
            if (order.name == arguments.sort) {
                found.sort(order.less);
            }
        }
        for (File const & entry : found) {
            String const size = entry.isDirectory() ? String("folder") : File::FileSizeToString(entry.fileSize());
            String const relative = NativePath(entry.view().substr(folder.size()));
            std::printf("%8s  %s\n", size.c_str(), relative.c_str());
        }
        std::printf("%u found in %s\n", found.size(), NativePath(folder).c_str());
    } catch (FileException const & failure) {
        return Failure("file", failure);
    }
    return exit_ok;
}

// Copies or moves SRC to DST with the progress shown; `--keep` leaves an existing target alone.
int RunTransfer(FileArguments const & arguments, bool move) {
    ProgressLinePipe pipe;
    try {
        File source = FromNativePath(arguments.path);
        File target = FromNativePath(arguments.target);
        if (move) {
            source.moveTo(target, !arguments.keep, LogPtr(&pipe), false);
        } else {
            source.copyTo(target, !arguments.keep, LogPtr(&pipe));
        }
    } catch (FileException const & failure) {
        return Failure("file", failure);
    }
    return exit_ok;
}

} // namespace

void DemoFile() {
    std::puts("\n== File");
    std::puts("A path is kept normalised: backslash separators, no doubled ones, refused characters as '_':");
    File const file("C:/Projects//survey?/points.2021.csv");
    PrintParts(file, PathForm::STORED);
    std::puts("Sizes are shown in whole units:");
    for (unsigned long long const bytes : {1023ull, 1024ull, 1536ull, 5ull << 30}) {
        std::printf("%llu bytes -> %s\n", bytes, File::FileSizeToString(bytes).c_str());
    }
}

void AddFileCommand(CLI::App & qelta) {
    CLI::App & file = AddCommand(qelta, "file", "paths as the library keeps them, their parts and metadata",
                                 "A path of 324 bytes or more after normalisation is refused with exit code 1.");
    auto const arguments = std::make_shared<FileArguments>();

    AddCommand(file, "info", "normalises PATH, prints its parts and what the disk says about it",
               "Normalises PATH as every File does (doubled separators collapse, the characters\n"
               "\" * < > ? | and control bytes become '_', except in a device path that begins with '<'),\n"
               "then prints the path and its parts: drive, directory, name and extension, the folder\n"
               "name, the parent folder and the shape (file, directory, drive or device). Then it asks\n"
               "the disk: whether the path exists, its size in bytes and in whole units, the\n"
               "modification, access and creation times in UTC (\"unknown\" where the disk has none),\n"
               "whether it is hidden (its name begins with '.'), and the cache record in its stored form\n"
               "\"flags*size*modified*accessed*created\". Inside the library the separator is '\\'.",
               [arguments] { return RunInfo(*arguments); })
        .add_option("PATH", arguments->path, "the path")
        ->required();

    std::string const transfer_help =
        "An existing DST is replaced unless --keep is given, which leaves it alone and still\n"
        "succeeds. A failure prints the reason (\"File could not be copied: ...\", \"Permission\n"
        "Denied\", ...) and the file it concerns, and exits with code 1.";
    CLI::App & copy =
        AddCommand(file, "copy", "copies the file or folder SRC to DST",
                   "A DST that ends in a separator is a folder: a file goes into it under its own name, a\n"
                   "folder's content is copied into it, tree and all. A file is written to a temporary file\n"
                   "beside DST and renamed into place only when complete, with the mode and times of SRC, so\n"
                   "DST is either whole or as it was. The progress of each file is shown on one line,\n"
                   "\"Copying SRC to DST 42%\", rewritten as it grows.\n" +
                       transfer_help,
                   [arguments] { return RunTransfer(*arguments, false); });
    CLI::App & move =
        AddCommand(file, "move", "moves SRC to DST and says so",
                   "Prints \"Moving SRC to DST\". On one file system this is a rename; to another one it is a\n"
                   "copy and then a delete of SRC. A DST that ends in a separator receives the content of the\n"
                   "folder SRC.\n" +
                       transfer_help,
                   [arguments] { return RunTransfer(*arguments, true); });
    for (CLI::App * transfer : {&copy, &move}) {
        transfer->add_option("SRC", arguments->path, "the file or folder")->required();
        transfer->add_option("DST", arguments->target, "the target; a folder when it ends in '/'")->required();
        transfer->add_flag("--keep", arguments->keep, "leaves an existing DST alone");
    }

    std::vector<std::string> order_names;
    for (FindOrder const & order : find_orders) {
        order_names.emplace_back(order.name);
    }
    CLI::App & find =
        AddCommand(file, "find", "lists the entries of FOLDER that match PATTERN",
                   "Lists the entries of FOLDER whose whole path, in the library's form with '\\' for '/',\n"
                   "matches one of the wildcard PATTERNs separated by ',' ('*' any run, '?' one byte, with\n"
                   "case; so \"*.txt\" and not \"txt\"). FOLDER is made absolute first and may be given\n"
                   "without its trailing separator. Names beginning with '.' are never listed, folders are\n"
                   "listed like files, and --recursive descends into every subfolder, breadth-first. Each\n"
                   "line shows the size in whole units (\"folder\" for a folder) and the path relative to\n"
                   "FOLDER; sizes and times come from the listing itself. --sort orders by name (then the\n"
                   "whole path; the default), date (the latest access first), size (the largest first) or\n"
                   "type (extension, then name). A last line counts the entries. A missing FOLDER, or one\n"
                   "that is a file, ends with exit code 1.",
                   [arguments] { return RunFind(*arguments); });
    find.add_option("FOLDER", arguments->path, "the folder to list")->required();
    find.add_option("PATTERN", arguments->pattern, "wildcards separated by ','")->required();
    find.add_flag("--recursive", arguments->recursive, "descends into every subfolder");
    find.add_option("--sort", arguments->sort, "the order (default name)")->check(CLI::IsMember(order_names));
}

} // namespace QELTA::Tool
