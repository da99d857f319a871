// qelta file: paths as the library keeps them, their parts and what the disk says about them.
#include "tools/qelta/Command.h"

#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
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

int RunFind(Arguments arguments) {
    char const * positional[2] = {nullptr, nullptr};
    unsigned int positional_count = 0;
    bool recursive = false;
    FindOrder const * order = &find_orders[0];
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        std::string_view const argument(arguments[i]);
        if (argument == "--recursive") {
            recursive = true;
        } else if (argument == "--sort") {
            if (++i == arguments.size()) {
                return UsageError(command_name, "'--sort' needs name, date, size or type");
            }
            order = nullptr;
            for (FindOrder const & candidate : find_orders) {
                if (candidate.name == arguments[i]) {
                    order = &candidate;
                }
            }
            if (order == nullptr) {
                return UsageError(command_name, "'--sort' takes name, date, size or type");
            }
        } else if (argument.starts_with("--") || positional_count == 2) {
            return UsageError(command_name, "'find' takes FOLDER PATTERN [--recursive] [--sort ORDER]");
        } else {
            positional[positional_count++] = arguments[i];
        }
    }
    if (positional_count != 2) {
        return UsageError(command_name, "'find' needs a FOLDER and a PATTERN");
    }
    try {
        File folder(positional[0]);
        folder.expandEnvironmentalVars();
        FileBuffer found = folder.getChildrenMatching(StringView(positional[1]), recursive);
        found.sort(order->less);
        for (File const & entry : found) {
            String const size = entry.isDirectory() ? String("folder") : File::FileSizeToString(entry.fileSize());
            StringView const relative = entry.view().substr(folder.size());
            std::printf("%8s  %.*s\n", size.c_str(), static_cast<int>(relative.size()), relative.data());
        }
        std::printf("%u found in %s\n", found.size(), folder.c_str());
    } catch (FileException const & failure) {
        return Failure("file", failure);
    }
    return exit_ok;
}

String English(TranslatedString const & text) {
    String english = text.englishDefine();
    text.replaceVals(english);
    return english;
}

// Shows each progress source as one line that is rewritten in place, "\r<title> 42%", ended by a
// line feed when the source goes. Messages are printed as lines, except those of a source shown
// as a progress line. Cancel and input are not asked for here. Used on the main thread only.
class ProgressLinePipe : public InfoPipe {
  public:
    void addMessage(unsigned int index, TranslatedString const & text, unsigned char) override {
        if (titles_.count(index) == 0) {
            endLine();
            std::printf("%s\n", English(text).c_str());
        }
    }
    void addMessage(unsigned int index, StringView const & text, unsigned char) override {
        if (titles_.count(index) == 0) {
            endLine();
            std::printf("%.*s\n", static_cast<int>(text.size()), text.data());
        }
    }
    void addMessage(unsigned int, LogMessage const &) override {}
    void addMessages(unsigned int, Buffer<LogMessage> const &) override {}
    bool cancelRequested() const override { return false; }
    void requestCancel(unsigned int) override {}
    void requestCancel() override {}
    void addInput(StringView const &) override {}
    void addInput(StringView const &, unsigned int) override {}
    void addProgressSource(TranslatedString const & title, unsigned int index, float) override {
        titles_[index] = English(title);
    }
    unsigned int addProgressSource(TranslatedString const & title, float progress) override {
        unsigned int const index = NewId();
        addProgressSource(title, index, progress);
        return index;
    }
    void removeProgressSource(unsigned int index) override {
        if (index == shown_) {
            endLine();
        }
        titles_.erase(index);
    }
    void setProgressIdx(unsigned int index, float progress) override {
        auto const found = titles_.find(index);
        if (found == titles_.end() || !(progress >= 0.0f)) {
            return;
        }
        int const percent = static_cast<int>(std::floor(progress * 100.0f));
        if (index == shown_ && percent == percent_) {
            return;
        }
        if (index != shown_) {
            endLine();
        }
        shown_ = index;
        percent_ = percent;
        std::printf("\r%s %d%%", found->second.c_str(), percent);
        std::fflush(stdout);
    }
    void addCancelGuard(TranslatedString const &, unsigned int) override {}
    unsigned int addCancelGuard(TranslatedString const &) override { return NewId(); }
    void removeCancelGuard(unsigned int) override {}
    bool cancelRequestedIdx(unsigned int) const override { return false; }
    void addInputGuard(TranslatedString const &, unsigned int) override {}
    unsigned int addInputGuard(TranslatedString const &) override { return NewId(); }
    void removeInputGuard(unsigned int) override {}
    void clearInputIdx(unsigned int) override {}

  private:
    void endLine() {
        if (shown_ != no_id) {
            std::printf("\n");
            shown_ = no_id;
        }
    }

    std::map<unsigned int, String> titles_;
    unsigned int shown_ = no_id; // the source whose line is open
    int percent_ = -1;
};

// Copies or moves SRC to DST with the progress shown; `--keep` leaves an existing target alone.
int RunTransfer(Arguments arguments, bool move) {
    bool overwrite = true;
    char const * paths[2] = {};
    unsigned int count = 0;
    for (char const * argument : arguments) {
        if (std::strcmp(argument, "--keep") == 0) {
            overwrite = false;
        } else if (count < 2) {
            paths[count++] = argument;
        } else {
            count = 3;
        }
    }
    if (count != 2) {
        return UsageError(command_name, move ? "'move' needs SRC and DST" : "'copy' needs SRC and DST");
    }
    ProgressLinePipe pipe;
    try {
        File source(paths[0]);
        File target(paths[1]);
        if (move) {
            source.moveTo(target, overwrite, LogPtr(&pipe), false);
        } else {
            source.copyTo(target, overwrite, LogPtr(&pipe));
        }
    } catch (FileException const & failure) {
        return Failure("file", failure);
    }
    return exit_ok;
}

int RunCopy(Arguments arguments) {
    return RunTransfer(arguments, false);
}

int RunMove(Arguments arguments) {
    return RunTransfer(arguments, true);
}

constexpr Verb verbs[] = {
    {"info", RunInfo},
    {"copy", RunCopy},
    {"move", RunMove},
    {"find", RunFind},
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
    "usage: qelta file info PATH\n"
    "       qelta file copy SRC DST [--keep]\n"
    "       qelta file move SRC DST [--keep]\n"
    "       qelta file find FOLDER PATTERN [--recursive] [--sort name|date|size|type]\n\n"
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
    "find  lists the entries of FOLDER whose whole path, in the library's form with backslashes,\n"
    "      matches one of the wildcard PATTERNs separated by ',' ('*' any run, '?' one byte, with\n"
    "      case; so \"*.txt\" and not \"txt\"). FOLDER is made absolute first and may be given\n"
    "      without its trailing separator. Names beginning with '.' are never listed, folders are\n"
    "      listed like files, and --recursive descends into every subfolder, breadth-first. Each\n"
    "      line shows the size in whole units (\"folder\" for a folder) and the path relative to\n"
    "      FOLDER; sizes and times come from the listing itself. --sort orders by name (then the\n"
    "      whole path; the default), date (the latest access first), size (the largest first) or\n"
    "      type (extension, then name). A last line counts the entries. A missing FOLDER, or one\n"
    "      that is a file, ends with exit code 1.\n\n"
    "copy  copies the file or folder SRC to DST. A DST that ends in a separator is a folder:\n"
    "      a file goes into it under its own name, a folder's content is copied into it, tree\n"
    "      and all. A file is written to a temporary file beside DST and renamed into place\n"
    "      only when complete, with the mode and times of SRC, so DST is either whole or as it\n"
    "      was. The progress of each file is shown on one line, \"Copying SRC to DST 42%\",\n"
    "      rewritten as it grows.\n"
    "move  moves SRC to DST and says so (\"Moving SRC to DST\"). On one file system this is a\n"
    "      rename; to another one it is a copy and then a delete of SRC. A DST that ends in a\n"
    "      separator receives the content of the folder SRC.\n"
    "      Both replace an existing DST unless --keep is given, which leaves it alone and\n"
    "      still succeeds. A failure prints the reason (\"File could not be copied: ...\",\n"
    "      \"Permission Denied\", ...) and the file it concerns, and exits with code 1.\n\n"
    "A path of 324 bytes or more after normalisation is refused with exit code 1.\n",
    RunFile,
};

} // namespace QELTA::Tool
