// qelta zip and qelta unzip: a file or folder packed into a zip archive, and zip, tar and tar.gz
// archives unpacked into a folder, with their progress and what was left out.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/Compressor.h"
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Files/TAR.h"
#include "Base/Text/PasswordString.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

// What each result of TAR::Extract means, by its negated value.
constexpr char const * tar_results[] = {
    "done",
    "the target folder can't be made",
    "the archive can't be opened",
    "the archive can't be read",
    "a header record can't be read",
    "a header's checksum is wrong",
    "the archive ends where a header should begin",
    "the data of an entry can't be passed over",
    "a long name or pax header is damaged or too long",
    "a file's mode can't be set",
    "a file's time can't be set",
    "a file can't be created",
    "a file's data ends early",
    "a folder can't be made",
    "a symbolic link can't be made",
    "a hard link can't be made",
    "a file can't be written",
    "an entry passes the size limit",
};

// A path typed for a folder, directory-shaped when it names an existing folder.
File FolderOrFile(std::string const & path) {
    File file = FromNativePath(path);
    if (!file.isDirectory() && FilePlatform::IsExistingFolder(file.view())) {
        file.append('\\');
    }
    return file;
}

struct FileTotals {
    unsigned int files = 0;
    unsigned long long bytes = 0;
};

// The files that packing takes: the file itself, or those below the folder.
FileTotals Totals(File const & source) {
    FileTotals totals;
    if (!source.isDirectory()) {
        totals.files = 1;
        totals.bytes = source.fileSize();
        return totals;
    }
    for (File const & entry : source.getChildrenMatching(StringView("*"), true, 0xFFFFFFFEu)) {
        if (!entry.isDirectory()) {
            ++totals.files;
            totals.bytes += entry.fileSize();
        }
    }
    return totals;
}

struct ZipArguments {
    std::string source;
    std::string archive;
    std::string password;
};

int RunZip(ZipArguments const & arguments) {
    File const source = FolderOrFile(arguments.source);
    File const archive = FromNativePath(arguments.archive);
    try {
        FileTotals const totals = Totals(source);
        ProgressLinePipe pipe;
        Compressor::ZLibCompressFile(source, archive, PasswordString::Encode(StringView(arguments.password.c_str())),
                                     LogPtr(&pipe));
        unsigned long long const packed = File(archive).fileSize();
        std::printf("packed %u files, %llu bytes, into %s: %llu bytes%s\n", totals.files, totals.bytes,
                    NativePath(archive).c_str(), packed, arguments.password.empty() ? "" : ", encrypted");
    } catch (Exception const & error) {
        return Failure("zip", error);
    }
    return exit_ok;
}

struct UnzipArguments {
    std::string archive;
    std::string folder;
    std::string password;
    unsigned int entry_limit_mib = 0;
    unsigned int total_limit_mib = 0;
};

int FailOn(File const & archive, std::string const & message) {
    std::fflush(stdout);
    std::fprintf(stderr, "qelta unzip: %s: %s\n", NativePath(archive).c_str(), message.c_str());
    return exit_failure;
}

int RunUnzip(UnzipArguments const & arguments) {
    File const archive = FromNativePath(arguments.archive);
    File folder = FromNativePath(arguments.folder);
    if (!folder.isDirectory()) {
        folder.append('\\');
    }
    ArchiveExtraction extraction;
    if (arguments.entry_limit_mib != 0) {
        extraction.entry_limit = static_cast<unsigned long long>(arguments.entry_limit_mib) << 20;
    }
    if (arguments.total_limit_mib != 0) {
        extraction.total_limit = static_cast<unsigned long long>(arguments.total_limit_mib) << 20;
    }
    int result = 0;
    try {
        ProgressLinePipe pipe;
        result = Compressor::ZLibDecompressFile(
            archive, folder, PasswordString::Encode(StringView(arguments.password.c_str())), extraction, LogPtr(&pipe));
    } catch (Exception const & error) {
        String text = NativeEnglish(error.message());
        // minizip's failures carry their code in the detail; a file's failure says all in its message.
        if (dynamic_cast<FileException const *>(&error) == nullptr && !error.detail().englishDefine().isEmpty()) {
            text.append(StringView(" ("));
            text.append(NativeEnglish(error.detail()).view());
            text.append(')');
        }
        return FailOn(archive, text.c_str());
    }
    bool const is_tar =
        archive.view().endsWith(StringView(".tar"), true) || archive.view().endsWith(StringView(".tar.gz"), true);
    if (result != 0 && is_tar) {
        unsigned int const index = static_cast<unsigned int>(-result);
        return FailOn(archive, "tar result " + std::to_string(result) + ": " +
                                   (index < std::size(tar_results) ? tar_results[index] : "failed"));
    }
    if (result == Compressor::not_an_archive) {
        return FailOn(archive, "not a zip archive (nor named .tar or .tar.gz)");
    }
    if (result != 0) {
        return FailOn(archive, "the archive's directory can't be read");
    }
    std::printf("extracted %u files (%llu bytes), %u folders and %u links into %s\n", extraction.files,
                extraction.bytes, extraction.folders, extraction.links, NativePath(folder).c_str());
    std::printf("skipped %u unsafe entries%s\n", extraction.skipped.size(), extraction.skipped.isEmpty() ? "" : ":");
    for (String const & name : extraction.skipped) {
        std::printf("  %s\n", name.c_str());
    }
    return exit_ok;
}

} // namespace

void DemoArchives() {
    std::puts("\n== Zip and tar archives");
    File source = DemoFolder();
    source.appendPath("survey\\");
    File points(source);
    points.appendPath("points.csv");
    File notes(source);
    notes.appendPath("notes\\day1.txt");
    File empty(source);
    empty.appendPath("empty\\");
    empty.create(false);
    points.open(File::WRITE_TEXT);
    for (int row = 0; row < 500; ++row) {
        std::fprintf(points.filePtr(), "P%d,%d.25,%d.75\n", row, row * 3, row * 7);
    }
    points.close();
    notes.open(File::WRITE_TEXT);
    std::fputs("Levelled the pier at noon.\n", notes.filePtr());
    notes.close();

    File archive = DemoFolder();
    archive.appendPath("survey.zip");
    Compressor::ZLibCompressFile(source, archive, PasswordString());
    File target = DemoFolder();
    target.appendPath("unpacked\\");
    ArchiveExtraction extraction;
    Compressor::ZLibDecompressFile(archive, target, PasswordString(), extraction);
    std::printf("packed a folder of 2 files and an empty folder into %llu bytes, unpacked %u files and %u folder\n",
                File(archive).fileSize(), extraction.files, extraction.folders);

    bool same = true;
    for (File const & entry : source.getChildrenMatching(StringView("*"), true)) {
        File copy(target);
        copy.appendPath(entry.view().substr(source.size()));
        if (entry.isDirectory()) {
            same = same && copy.exists();
            continue;
        }
        File original(entry);
        File::ByteBuffer const a = original.getData();
        File::ByteBuffer const b = copy.getData();
        same = same && a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
    }
    std::printf("the unpacked tree equals the original: %s\n", same ? "yes" : "no");
}

void AddArchiveCommands(CLI::App & qelta) {
    auto const zip = std::make_shared<ZipArguments>();
    CLI::App & zip_command =
        AddCommand(qelta, "zip", "packs a file or a folder into a zip archive",
                   "Writes ARCHIVE, replacing it: a file becomes one entry, a folder one entry for each file\n"
                   "below it (named by its path below the folder) and one for each empty folder. Hidden files\n"
                   "(names starting with '.') are left out. Entries are deflated at zlib's default level; with\n"
                   "--password they are encrypted by the classic zip scheme, which is weak. Shows the progress\n"
                   "and prints the files, bytes and the archive's size.",
                   [zip] { return RunZip(*zip); });
    zip_command.add_option("SOURCE", zip->source, "the file or folder to pack")->required();
    zip_command.add_option("ARCHIVE", zip->archive, "the zip archive to write")->required();
    zip_command.add_option("--password", zip->password, "encrypt the entries with this password");

    auto const unzip = std::make_shared<UnzipArguments>();
    CLI::App & unzip_command =
        AddCommand(qelta, "unzip", "unpacks a zip, tar or tar.gz archive into a folder",
                   "Unpacks ARCHIVE into FOLDER, made when missing. Names ending in .tar or .tar.gz (any case)\n"
                   "are read as tar archives, gzip-compressed or not by their first bytes; anything else as zip.\n"
                   "Entries whose names or links lead outside FOLDER, or that would be written through a link,\n"
                   "are skipped and listed. An entry or a total beyond the limits stops the extraction (by\n"
                   "default 16384 MiB an entry, 65536 MiB in all). A damaged archive ends with exit code 1 and\n"
                   "the reason; what was unpacked before it stays.",
                   [unzip] { return RunUnzip(*unzip); });
    unzip_command.add_option("ARCHIVE", unzip->archive, "the archive to unpack")->required();
    unzip_command.add_option("FOLDER", unzip->folder, "the folder to unpack into")->required();
    unzip_command.add_option("--password", unzip->password, "the password of encrypted zip entries");
    AddCount(unzip_command, "--entry-limit", unzip->entry_limit_mib, 1, 1u << 24, "the most MiB of one entry");
    AddCount(unzip_command, "--total-limit", unzip->total_limit_mib, 1, 1u << 26, "the most MiB in all");
}

} // namespace QELTA::Tool
