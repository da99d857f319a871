// Compressor's zip archives through minizip, the hand-over of tar archives, and the description
// of zlib as a module.
#include "Base/Files/Compressor.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Files/Internal/ArchiveNames.h"
#include "Base/Files/Internal/ZipCipher.h"
#include "Base/Files/Platform/ExtractionPlatform.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Files/TAR.h"
#include "Base/Host/Module.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Text/PasswordString.h"
#include "Base/Text/StringStream.h"

#include <unzip.h>
#include <zip.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char could_not_open_text[] = "Could not open";
constexpr char add_file_failed_text[] = "Failed to add file to ZIP";
constexpr char add_data_failed_text[] = "Failed to add Data to ZIP";
constexpr char global_info_failed_text[] = "could not read file global info\n";
constexpr char file_info_failed_text[] = "Could not read file info";
constexpr char destination_failed_text[] = "Could not open destination";
constexpr char read_content_failed_text[] = "Could not Read Content";
// Spelled so in the texts that users and translations know.
constexpr char next_file_failed_text[] = "Cound not read next file";
constexpr char zip_error_title[] = "Zip Error";
constexpr char zlib_error_label[] = "zlib_error";
constexpr char error_code_text[] = "Error code [err]";
constexpr char error_code_slot[] = "[err]";
constexpr char limit_label[] = "archive_limit_exceeded";
constexpr char limit_text[] = "[name] passes the extraction limit of [limit] bytes";
constexpr char name_slot[] = "[name]";
constexpr char limit_slot[] = "[limit]";
constexpr char pack_title_label[] = "pack_archive_message";
constexpr char pack_title_text[] = "Packing [file_a] into [file_b]";
constexpr char unpack_title_label[] = "unpack_archive_message";
constexpr char unpack_title_text[] = "Extracting [file_a] into [file_b]";
constexpr char file_a_slot[] = "[file_a]";
constexpr char file_b_slot[] = "[file_b]";
constexpr char all_files_pattern[] = "*";
constexpr char tar_extension[] = ".TAR";
constexpr char tar_gz_extension[] = ".TAR.GZ";

constexpr char zlib_module_name[] = "ZLib";
constexpr char zlib_description_label[] = "zlib_module_description";
constexpr char zlib_description_text[] =
    "The functions in this module allow compression and decompression, using the zlib library";
constexpr char zlib_icon[] = "Images/zlib_logo";
constexpr char zlib_url[] = "https://zlib.net/";
constexpr char zlib_notice[] =
    "(C) 1995-2022 Jean-loup Gailly and Mark Adler\n\n"
    "This software is provided 'as-is', without any express or implied warranty. In no event will the "
    "authors be held liable for any damages arising from the use of this software.\n\n"
    "Permission is granted to anyone to use this software for any purpose, including commercial "
    "applications, and to alter it and redistribute it freely, subject to the following restrictions:\n\n"
    "1. The origin of this software must not be misrepresented; you must not claim that you wrote the "
    "original software. If you use this software in a product, an acknowledgment in the product "
    "documentation would be appreciated but is not required.\n"
    "2. Altered source versions must be plainly marked as such, and must not be misrepresented as being "
    "the original software.\n"
    "3. This notice may not be removed or altered from any source distribution.\n\n"
    "Jean-loup Gailly jloup@gzip.org\nMark Adler madler@alumni.caltech.edu";

// The name buffer of one entry; a name that doesn't fit is refused rather than cut.
constexpr unsigned int entry_name_size = 128;
// Entry data goes through a buffer of this many bytes, both ways.
constexpr unsigned long long chunk_size = 1ull << 20;
// The MS-DOS attribute of a folder, in the low byte of an entry's external attributes.
constexpr uLong folder_attribute = 0x10;
// The flags of an entry: encrypted, and sizes and check sum stored behind the data.
constexpr uLong encrypted_flag = 1;
constexpr uLong data_descriptor_flag = 8;
// The sizes from which an entry needs the 64-bit fields of the format.
constexpr unsigned long long zip64_size = 0xFFFFFFFFull;

// A failure of minizip: the step's text, the detail "Error code [err]" under the id "zlib_error".
class ZipException : public Exception {
  public:
    ZipException(char const * text, long long code)
        : Exception(Translatable(text), Translatable(zip_error_title), false) {
        detail_ = Translatable(zlib_error_label, error_code_text);
        detail_.replace(error_code_slot, TranslatedString::DirectString(StringView(std::to_string(code).c_str())));
    }
};

[[noreturn]] void RaiseLimit(StringView const & name, unsigned long long limit) {
    TranslatedString message = Translatable(limit_label, limit_text);
    message.replace(name_slot, TranslatedString::DirectString(name));
    message.replace(limit_slot, TranslatedString::DirectString(StringView(std::to_string(limit).c_str())));
    throw Exception(message, Translatable(zip_error_title), false);
}

TranslatedString TwoPathTitle(char const * label, char const * text, File const & a, File const & b) {
    TranslatedString title = Translatable(label, text);
    title.replace(file_a_slot, TranslatedString::DirectString(a.view()));
    title.replace(file_b_slot, TranslatedString::DirectString(b.view()));
    return title;
}

// Progress and cancel of one packing or unpacking; both are absent without a pipe.
class Progress {
  public:
    Progress(TranslatedString const & title, LogPtr const & log) {
        if (log.hasPipe()) {
            progress_ = std::make_unique<ProgressInfo>(title, log, 0.0f);
            cancel_ = std::make_unique<CancelInfo>(title, log);
        }
    }
    void update(unsigned long long done, unsigned long long total) {
        if (cancel_ && cancel_->cancelRequested()) {
            throw CancelException();
        }
        if (progress_ && total != 0) {
            progress_->setProgress(std::min(1.0f, static_cast<float>(done) / static_cast<float>(total)));
        }
    }

  private:
    std::unique_ptr<ProgressInfo> progress_;
    std::unique_ptr<CancelInfo> cancel_;
};

struct StreamCloser {
    void operator()(std::FILE * stream) const noexcept { std::fclose(stream); }
};
struct DeflateEnder {
    void operator()(z_stream * stream) const noexcept { deflateEnd(stream); }
};
struct InflateEnder {
    void operator()(z_stream * stream) const noexcept { inflateEnd(stream); }
};
// Closes the entry open in an archive, unless released.
struct EntryCloser {
    unzFile zip;
    ~EntryCloser() {
        if (zip != nullptr) {
            unzCloseCurrentFile(zip);
        }
    }
    unzFile release() noexcept { return std::exchange(zip, nullptr); }
};
struct ZipCloser {
    void operator()(void * zip) const noexcept { zipClose(zip, nullptr); }
};
struct UnzipCloser {
    void operator()(void * zip) const noexcept { unzClose(zip); }
};

tm_zip ZipDate(Time const & time) {
    tm_zip date{};
    if (!time.isValid() || time.year(true) < 1980) {
        date.tm_mday = 1;
        date.tm_year = 1980;
        return date;
    }
    date.tm_sec = time.second(true);
    date.tm_min = time.minute(true);
    date.tm_hour = time.hour(true);
    date.tm_mday = time.monthDay(true);
    date.tm_mon = time.month(true) - 1u;
    date.tm_year = time.year(true);
    return date;
}

// Reads the file in chunks, handing each to `use`; raises what File raises.
template <typename Use>
void ReadChunks(File & file, std::unique_ptr<unsigned char[]> & chunk, Use use) {
    std::FILE * const stream = file.open(File::READ_BINARY);
    for (;;) {
        std::size_t const got = std::fread(chunk.get(), 1, chunk_size, stream);
        if (got > 0) {
            use(chunk.get(), got);
        }
        if (got < chunk_size) {
            break;
        }
    }
    bool const failed = std::ferror(stream) != 0;
    file.close();
    if (failed) {
        throw FileException(file, Translatable(add_data_failed_text), FileException::generic_file);
    }
}

class Packer {
  public:
    Packer(zipFile zip, String const & password, Progress & progress, unsigned long long total)
        : zip_(zip), password_(password), progress_(progress), total_(total),
          chunk_(std::make_unique<unsigned char[]>(chunk_size)) {}

    void addFile(File file, String const & name) {
        zip_fileinfo info{};
        info.tmz_date = ZipDate(file.getModifiedTime());
        unsigned long long const size = file.fileSize();
        bool const zip64 = size != FileCachedData::unknown_size && size >= zip64_size;
        if (password_.isEmpty()) {
            open(file, name, info, false, zip64);
            ReadChunks(file, chunk_, [this, &file](unsigned char const * bytes, std::size_t count) {
                write(file, bytes, count);
                done_ += count;
                progress_.update(done_, total_);
            });
            close(file);
            return;
        }
        addEncrypted(file, name, info, zip64);
    }

    void addFolder(File const & folder, String const & name) {
        zip_fileinfo info{};
        info.tmz_date = ZipDate(folder.getModifiedTime());
        info.external_fa = folder_attribute;
        open(folder, name, info, false, false);
        close(folder);
    }

  private:
    // The classic encryption wants the check sum in its header, so the file is read twice: once
    // for the check sum, once to deflate, encrypt and write. minizip gets the bytes raw, as the
    // system's build may lack the cipher.
    void addEncrypted(File & file, String const & name, zip_fileinfo const & info, bool zip64) {
        uLong crc = crc32(0, nullptr, 0);
        unsigned long long size = 0;
        ReadChunks(file, chunk_, [&crc, &size](unsigned char const * bytes, std::size_t count) {
            crc = crc32_z(crc, bytes, count);
            size += count;
        });
        open(file, name, info, true, zip64);
        Internal::ZipCipher cipher(password_.view());
        unsigned char header[Internal::ZipCipher::header_size];
        cipher.makeHeader(header, static_cast<std::uint32_t>(crc));
        write(file, header, sizeof header);
        z_stream deflater{};
        if (deflateInit2(&deflater, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
            throw FileException(file, Translatable(add_file_failed_text), FileException::generic_file);
        }
        std::unique_ptr<z_stream, DeflateEnder> guard(&deflater);
        if (!deflated_) {
            deflated_ = std::make_unique<unsigned char[]>(chunk_size);
        }
        auto const pump = [this, &file, &deflater, &cipher](int flush) {
            do {
                deflater.next_out = deflated_.get();
                deflater.avail_out = static_cast<uInt>(chunk_size);
                deflate(&deflater, flush);
                std::size_t const produced = chunk_size - deflater.avail_out;
                cipher.encrypt(deflated_.get(), produced);
                write(file, deflated_.get(), produced);
            } while (deflater.avail_out == 0);
        };
        ReadChunks(file, chunk_, [this, &deflater, &pump](unsigned char const * bytes, std::size_t count) {
            deflater.next_in = const_cast<unsigned char *>(bytes);
            deflater.avail_in = static_cast<uInt>(count);
            pump(Z_NO_FLUSH);
            done_ += count;
            progress_.update(done_, total_);
        });
        pump(Z_FINISH);
        if (zipCloseFileInZipRaw64(zip_, size, crc) != ZIP_OK) {
            throw FileException(file, Translatable(add_data_failed_text), FileException::generic_file);
        }
    }

    void open(File const & file, String const & name, zip_fileinfo const & info, bool encrypted, bool zip64) {
        int const result =
            zipOpenNewFileInZip4_64(zip_, name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                                    Z_DEFAULT_COMPRESSION, encrypted ? 1 : 0, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY,
                                    nullptr, 0, 0, encrypted ? encrypted_flag : 0, zip64 ? 1 : 0);
        if (result != ZIP_OK) {
            throw FileException(file, Translatable(add_file_failed_text), FileException::generic_file);
        }
    }

    void write(File const & file, unsigned char const * bytes, std::size_t count) {
        if (count != 0 && zipWriteInFileInZip(zip_, bytes, static_cast<unsigned int>(count)) != ZIP_OK) {
            throw FileException(file, Translatable(add_data_failed_text), FileException::generic_file);
        }
    }

    void close(File const & file) {
        if (zipCloseFileInZip(zip_) != ZIP_OK) {
            throw FileException(file, Translatable(add_data_failed_text), FileException::generic_file);
        }
    }

    zipFile zip_;
    String const & password_;
    Progress & progress_;
    unsigned long long total_;
    unsigned long long done_ = 0;
    std::unique_ptr<unsigned char[]> chunk_;
    std::unique_ptr<unsigned char[]> deflated_;
};

// The name of an entry below `folder`: the rest of its path, with "/" between the pieces as the
// format wants. Taken from the text, never from a resolved path, so that a link inside the folder
// can't give a name that climbs out of it.
String EntryName(File const & entry, File const & folder) {
    String name(entry.view().substr(folder.size()));
    for (unsigned int i = 0; i < name.size(); ++i) {
        if (name[i] == '\\') {
            name[i] = '/';
        }
    }
    return name;
}

File AsFolder(File const & file) {
    if (file.isDirectory()) {
        return file;
    }
    File folder(file);
    folder.append('\\');
    return folder;
}

void ResetReport(ArchiveExtraction & extraction) {
    extraction.bytes = 0;
    extraction.files = 0;
    extraction.folders = 0;
    extraction.links = 0;
    extraction.skipped.clear();
}

class Unpacker {
  public:
    Unpacker(unzFile zip, File const & root, String const & password, ArchiveExtraction & report, Progress & progress)
        : zip_(zip), root_(root), password_(password), report_(report), progress_(progress) {}

    void entry(unsigned long long index, unsigned long long count) {
        char name[entry_name_size] = {};
        unz_file_info64 info{};
        int const result = unzGetCurrentFileInfo64(zip_, &info, name, sizeof name, nullptr, 0, nullptr, 0);
        if (result != UNZ_OK) {
            throw ZipException(file_info_failed_text, result);
        }
        // A longer name, or one with a zero byte in it, would be cut into another path.
        if (info.size_filename >= entry_name_size || std::strlen(name) != info.size_filename) {
            throw ZipException(file_info_failed_text, UNZ_PARAMERROR);
        }
        StringView const entry_name(name, static_cast<unsigned int>(info.size_filename));
        String relative;
        bool const safe = Internal::ResolveEntryName(entry_name, relative);
        if (!entry_name.isEmpty() && File::IsPathSep(entry_name.last())) {
            folder(entry_name, relative, safe);
        } else if (!safe || relative.isEmpty()) {
            report_.skipped.add(String(entry_name));
        } else {
            file(entry_name, relative, info);
        }
        progress_.update(index + 1, count);
    }

  private:
    void folder(StringView const & name, String const & relative, bool safe) {
        int const error = safe ? ExtractionPlatform::MakeFoldersBelow(root_.view(), relative.view()) : ELOOP;
        if (error == ELOOP) {
            report_.skipped.add(String(name));
            return;
        }
        if (error != 0) {
            File path(root_);
            path.append(relative.view());
            throw FileException(path, FileException::could_not_create_file);
        }
        ++report_.folders;
    }

    void file(StringView const & name, String const & relative, unz_file_info64 const & info) {
        unsigned long long const size = info.uncompressed_size;
        if (size > report_.entry_limit) {
            RaiseLimit(name, report_.entry_limit);
        }
        if (size > report_.total_limit - std::min(passed_, report_.total_limit)) {
            RaiseLimit(name, report_.total_limit);
        }
        // The system's minizip may be built without the cipher: an encrypted entry is read raw and
        // decrypted here; every other entry goes through minizip as it is.
        bool const decrypt = (info.flag & encrypted_flag) != 0 && !password_.isEmpty();
        int method = 0;
        int level = 0;
        int const result = decrypt ? unzOpenCurrentFile2(zip_, &method, &level, 1) : unzOpenCurrentFile(zip_);
        if (result != UNZ_OK) {
            throw ZipException(read_content_failed_text, result);
        }
        EntryCloser entry_closer{zip_};
        unsigned int const split = relative.lastIndexOf('\\');
        StringView const parent = split == String::not_found ? StringView() : StringView(relative.data(), split);
        int error = ExtractionPlatform::MakeFoldersBelow(root_.view(), parent);
        std::unique_ptr<std::FILE, StreamCloser> stream;
        if (error == 0) {
            stream.reset(ExtractionPlatform::CreateFileBelow(root_.view(), relative.view(), error));
        }
        if (error == ELOOP) {
            report_.skipped.add(String(name));
            return;
        }
        if (error != 0) {
            throw ZipException(destination_failed_text, error);
        }
        if (!chunk_) {
            chunk_ = std::make_unique<unsigned char[]>(chunk_size);
            inflated_ = std::make_unique<unsigned char[]>(chunk_size);
        }
        // An entry that holds more than it declares stops at whichever limit it reaches first.
        unsigned long long const total_left = report_.total_limit - std::min(passed_, report_.total_limit);
        Writer writer{stream.get(), name, std::min(report_.entry_limit, total_left),
                      report_.entry_limit <= total_left ? report_.entry_limit : report_.total_limit, size};
        if (decrypt) {
            readEncrypted(info, method, writer);
        } else {
            readPlain(writer);
        }
        bool const flushed = std::fflush(stream.get()) == 0 && std::ferror(stream.get()) == 0;
        if (std::fclose(stream.release()) != 0 || !flushed) {
            throw ZipException(destination_failed_text, errno);
        }
        passed_ += writer.written;
        report_.bytes += writer.written;
        ++report_.files;
        // A damaged entry shows here, once all of it was read: its check sum doesn't match.
        int const closed = unzCloseCurrentFile(entry_closer.release());
        if (closed != UNZ_OK) {
            throw ZipException(read_content_failed_text, closed);
        }
    }

    // Where the bytes of one entry go, and the limits they keep to.
    struct Writer {
        std::FILE * stream;
        StringView name;
        // The bytes this entry may write, and the limit named when it passes them.
        unsigned long long room;
        unsigned long long limit;
        unsigned long long declared;
        unsigned long long written = 0;
        uLong crc = crc32(0, nullptr, 0);

        void write(unsigned char const * bytes, std::size_t count) {
            written += count;
            if (written > room) {
                RaiseLimit(name, limit);
            }
            crc = crc32_z(crc, bytes, count);
            if (std::fwrite(bytes, 1, count, stream) != count) {
                throw ZipException(destination_failed_text, errno);
            }
        }
    };

    void readPlain(Writer & writer) {
        for (;;) {
            int const got = unzReadCurrentFile(zip_, chunk_.get(), static_cast<unsigned int>(chunk_size));
            if (got < 0) {
                throw ZipException(read_content_failed_text, got);
            }
            if (got == 0) {
                return;
            }
            writer.write(chunk_.get(), static_cast<std::size_t>(got));
        }
    }

    // Reads the raw bytes of the entry, decrypts them, inflates or copies them by the method and
    // checks the check sum, as minizip would with decryption built in.
    void readEncrypted(unz_file_info64 const & info, int method, Writer & writer) {
        if (method != 0 && method != Z_DEFLATED) {
            throw ZipException(read_content_failed_text, UNZ_BADZIPFILE);
        }
        Internal::ZipCipher keys(password_.view());
        unsigned char header[Internal::ZipCipher::header_size];
        if (unzReadCurrentFile(zip_, header, sizeof header) != static_cast<int>(sizeof header)) {
            throw ZipException(read_content_failed_text, UNZ_BADZIPFILE);
        }
        keys.decrypt(header, sizeof header);
        // The last byte repeats the top of the check sum, or of the time when sizes come behind
        // the data: a wrong password shows here, most of the time.
        unsigned long const check = (info.flag & data_descriptor_flag) != 0 ? (info.dosDate >> 8) : (info.crc >> 24);
        if (header[sizeof header - 1] != (check & 0xFF)) {
            throw ZipException(read_content_failed_text, Z_DATA_ERROR);
        }
        z_stream inflater{};
        if (method == Z_DEFLATED && inflateInit2(&inflater, -MAX_WBITS) != Z_OK) {
            throw ZipException(read_content_failed_text, Z_MEM_ERROR);
        }
        std::unique_ptr<z_stream, InflateEnder> inflate_guard(method == Z_DEFLATED ? &inflater : nullptr);
        bool ended = method != Z_DEFLATED;
        for (;;) {
            int const got = unzReadCurrentFile(zip_, chunk_.get(), static_cast<unsigned int>(chunk_size));
            if (got < 0) {
                throw ZipException(read_content_failed_text, got);
            }
            if (got == 0) {
                break;
            }
            keys.decrypt(chunk_.get(), static_cast<std::size_t>(got));
            if (method != Z_DEFLATED) {
                writer.write(chunk_.get(), static_cast<std::size_t>(got));
                continue;
            }
            inflater.next_in = chunk_.get();
            inflater.avail_in = static_cast<uInt>(got);
            while (inflater.avail_in > 0 && !ended) {
                inflater.next_out = inflated_.get();
                inflater.avail_out = static_cast<uInt>(chunk_size);
                int const status = inflate(&inflater, Z_NO_FLUSH);
                if (status != Z_OK && status != Z_STREAM_END) {
                    throw ZipException(read_content_failed_text, status == Z_BUF_ERROR ? Z_DATA_ERROR : status);
                }
                writer.write(inflated_.get(), chunk_size - inflater.avail_out);
                ended = status == Z_STREAM_END;
            }
        }
        if (!ended || writer.written != writer.declared || writer.crc != info.crc) {
            throw ZipException(read_content_failed_text, ended ? UNZ_CRCERROR : Z_DATA_ERROR);
        }
    }

    unzFile zip_;
    File const & root_;
    String const & password_;
    ArchiveExtraction & report_;
    Progress & progress_;
    unsigned long long passed_ = 0;
    std::unique_ptr<unsigned char[]> chunk_;
    std::unique_ptr<unsigned char[]> inflated_;
};

} // namespace

int Compressor::ZLibCompressFile(File source, File target, PasswordString const & password, LogPtr log) {
    File parent = target.getParentDirectory();
    if (!parent.isEmpty() && !parent.exists()) {
        parent.create(false);
    }
    std::unique_ptr<void, ZipCloser> zip(
        zipOpen64(FilePlatform::SystemPath(target.view()).c_str(), APPEND_STATUS_CREATE));
    if (!zip) {
        throw FileException(target, Translatable(could_not_open_text), FileException::generic_file);
    }
    String const clear = password.decode();
    Progress progress(TwoPathTitle(pack_title_label, pack_title_text, source, target), log);
    if (!source.isDirectory()) {
        Packer packer(zip.get(), clear, progress, source.fileSize());
        packer.addFile(source, String(source.getPath(File::NAME | File::EXTENSION)));
    } else {
        FileBuffer const entries = source.getChildrenMatching(StringView(all_files_pattern), true, 0xFFFFFFFEu);
        unsigned long long total = 0;
        for (File const & entry : entries) {
            if (!entry.isDirectory()) {
                unsigned long long const size = entry.fileSize();
                total += size == FileCachedData::unknown_size ? 0 : size;
            }
        }
        Packer packer(zip.get(), clear, progress, total);
        for (File const & entry : entries) {
            if (!entry.isDirectory()) {
                packer.addFile(entry, EntryName(entry, source));
            } else if (entry.getChildren().isEmpty()) {
                // An empty folder has no file to carry its name: it gets an entry of its own.
                packer.addFolder(entry, EntryName(entry, source));
            }
        }
    }
    if (zipClose(zip.release(), nullptr) != ZIP_OK) {
        throw FileException(target, Translatable(add_data_failed_text), FileException::generic_file);
    }
    return 0;
}

int Compressor::ZLibDecompressFile(File source, File target, PasswordString const & password, LogPtr log) {
    ArchiveExtraction extraction;
    return ZLibDecompressFile(std::move(source), std::move(target), password, extraction, log);
}

int Compressor::ZLibDecompressFile(File source, File target, PasswordString const & password,
                                   ArchiveExtraction & extraction, LogPtr log) {
    if (source.view().endsWith(StringView(tar_extension), true) ||
        source.view().endsWith(StringView(tar_gz_extension), true)) {
        return TAR::Extract(source, target, extraction, log);
    }
    ResetReport(extraction);
    std::unique_ptr<void, UnzipCloser> zip(unzOpen64(FilePlatform::SystemPath(source.view()).c_str()));
    if (!zip) {
        return not_an_archive;
    }
    unz_global_info64 global{};
    if (unzGetGlobalInfo64(zip.get(), &global) != UNZ_OK) {
        std::fputs(global_info_failed_text, stdout);
        return unreadable_archive;
    }
    String const clear = password.decode();
    File const root = AsFolder(target);
    if (!root.exists()) {
        File(root).create(false);
    }
    Progress progress(TwoPathTitle(unpack_title_label, unpack_title_text, source, root), log);
    Unpacker unpacker(zip.get(), root, clear, extraction, progress);
    for (unsigned long long index = 0; index < global.number_entry; ++index) {
        unpacker.entry(index, global.number_entry);
        if (index + 1 < global.number_entry) {
            int const result = unzGoToNextFile(zip.get());
            if (result != UNZ_OK) {
                throw ZipException(next_file_failed_text, result);
            }
        }
    }
    return 0;
}

Module Compressor::ZLibModule() {
    Module module{StringView(zlib_module_name)};
    module.version = String(zlibVersion());
    module.description = Translatable(zlib_description_label, zlib_description_text);
    module.icon = String(zlib_icon);
    module.url = String(zlib_url);
    module.notice_text = String(zlib_notice);
    module.type = Module::LIBRARIES;
    return module;
}

} // namespace QELTA
