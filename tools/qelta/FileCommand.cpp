// qelta file: paths as the library keeps them, their parts and what the disk says about them.
#include "tools/qelta/Command.h"

#include "Base/Files/File.h"
#include "Base/Files/FileException.h"

#include <cstdio>
#include <string_view>

namespace QELTA::Tool {
namespace {

constexpr std::string_view command_name = "file";

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

void PrintParts(File const & file) {
    PrintField("path", file.view());
    PrintField("drive", file.getPath(File::DRIVE));
    PrintField("directory", file.getPath(File::DIRECTORY));
    PrintField("name", file.getPath(File::NAME));
    PrintField("extension", file.getPath(File::EXTENSION));
    PrintField("folder", file.getFolderName(false));
    PrintField("parent", file.getParentDirectory().view());
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

int RunInfo(Arguments arguments) {
    if (arguments.size() != 1) {
        return UsageError(command_name, "'info' needs one PATH");
    }
    try {
        File const file(arguments[0]);
        PrintParts(file);
        PrintDisk(file);
    } catch (FileException const & failure) {
        String message = failure.message().englishDefine();
        failure.message().replaceVals(message);
        std::fprintf(stderr, "qelta file: %s\n", message.c_str());
        return exit_failure;
    }
    return exit_ok;
}

constexpr Verb verbs[] = {
    {"info", RunInfo},
};

int RunFile(Arguments arguments) {
    return RunVerb(command_name, arguments, verbs);
}

} // namespace

void DemoFile() {
    std::puts("\n== File");
    std::puts("A path is kept normalised: backslash separators, no doubled ones, refused characters as '_':");
    File const file("C:/Projects//survey?/points.2021.csv");
    PrintParts(file);
    std::puts("Sizes are shown in whole units:");
    for (unsigned long long const bytes : {1023ull, 1024ull, 1536ull, 5ull << 30}) {
        std::printf("%llu bytes -> %s\n", bytes, File::FileSizeToString(bytes).c_str());
    }
}

Command const file_command = {
    "file",
    "paths as the library keeps them, their parts and metadata",
    "usage: qelta file info PATH\n\n"
    "info  normalises PATH as every File does (separators become backslashes, doubled ones\n"
    "      collapse, the characters \" * < > ? | and control bytes become '_', except in a\n"
    "      device path that begins with '<'), then prints the text and its parts: drive,\n"
    "      directory, name and extension, the folder name, the parent folder and the shape\n"
    "      (file, directory, drive or device). Then it asks the disk: whether the path exists,\n"
    "      its size in bytes and in whole units, the modification, access and creation times\n"
    "      in UTC (\"unknown\" where the disk has none), whether it is hidden (its name begins\n"
    "      with '.'), and the cache record in its stored form\n"
    "      \"flags*size*modified*accessed*created\". The disk is reached through the system's\n"
    "      own form of the path, with '/' for '\\'.\n\n"
    "A path of 324 bytes or more after normalisation is refused with exit code 1.\n",
    RunFile,
};

} // namespace QELTA::Tool
