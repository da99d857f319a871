// The tar extractor and its two readers.
#include "Base/Files/TAR.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/FileException.h"
#include "Base/Files/Internal/ArchiveNames.h"
#include "Base/Files/Platform/ExtractionPlatform.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Internal/Translatable.h"

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char extract_title_label[] = "extract_archive_message";
constexpr char extract_title_text[] = "Extracting [file_a] into [file_b]";
constexpr char file_a_slot[] = "[file_a]";
constexpr char file_b_slot[] = "[file_b]";
constexpr char gzip_mode[] = "rbe";

// The ustar header fields: offset and length.
struct Field {
    unsigned int offset;
    unsigned int size;
};
constexpr Field name_field{0, 100};
constexpr Field mode_field{100, 8};
constexpr Field size_field{124, 12};
constexpr Field mtime_field{136, 12};
constexpr Field checksum_field{148, 8};
constexpr unsigned int type_offset = 156;
constexpr Field link_field{157, 100};
constexpr Field prefix_field{345, 155};

constexpr unsigned char gzip_magic[] = {31, 139};
// Entry data goes through a buffer of this many bytes.
constexpr unsigned long long chunk_size = 1ull << 20;

// The octal number of a field: leading blanks and tabs (and zero bytes where `skip_zero_bytes`)
// are skipped and reading ends at the first byte that isn't an octal digit or at the field's end.
// A number too large for 64 bits reads as the largest.
unsigned long long ReadOctal(char const * record, Field field, bool skip_zero_bytes) noexcept {
    char const * at = record + field.offset;
    char const * const end = at + field.size;
    while (at < end && (*at == ' ' || *at == '\t' || (skip_zero_bytes && *at == '\0'))) {
        ++at;
    }
    unsigned long long value = 0;
    for (; at < end && *at >= '0' && *at <= '7'; ++at) {
        if (value > (~0ull >> 3)) {
            return ~0ull;
        }
        value = value * 8 + static_cast<unsigned long long>(*at - '0');
    }
    return value;
}

// The text of a field up to its first zero byte.
StringView FieldText(char const * record, Field field) noexcept {
    char const * const begin = record + field.offset;
    return StringView(begin, static_cast<unsigned int>(strnlen(begin, field.size)));
}

bool IsZeroRecord(char const * record) noexcept {
    for (unsigned int i = 0; i < TAR::record_size; ++i) {
        if (record[i] != 0) {
            return false;
        }
    }
    return true;
}

// The checksum field against the sum of the bytes, the field itself counted as blanks.
bool ChecksumHolds(char const * record) noexcept {
    unsigned long long sum = 0;
    for (unsigned int i = 0; i < TAR::record_size; ++i) {
        bool const in_field = i >= checksum_field.offset && i < checksum_field.offset + checksum_field.size;
        sum += in_field ? static_cast<unsigned char>(' ') : static_cast<unsigned char>(record[i]);
    }
    return ReadOctal(record, checksum_field, false) == sum;
}

unsigned long long Padding(unsigned long long size) noexcept {
    return (TAR::record_size - size % TAR::record_size) % TAR::record_size;
}

// Takes the pax records "<length> <key>=<value>\n" of `data` with the keys "path" and "linkpath".
// A record whose length doesn't fit the data ends the reading.
void ReadPax(String const & data, std::optional<String> & path, std::optional<String> & link) {
    StringView const path_key("path=");
    StringView const link_key("linkpath=");
    unsigned int at = 0;
    while (at < data.size()) {
        unsigned long long length = 0;
        unsigned int digits = at;
        while (digits < data.size() && data[digits] >= '0' && data[digits] <= '9' && length <= data.size()) {
            length = length * 10 + static_cast<unsigned long long>(data[digits] - '0');
            ++digits;
        }
        if (digits == at || digits >= data.size() || data[digits] != ' ' || length <= digits - at + 1 ||
            length > data.size() - at) {
            return;
        }
        StringView record(data.data() + digits + 1, static_cast<unsigned int>(at + length - digits - 1));
        at += static_cast<unsigned int>(length);
        if (record.isEmpty() || record.last() != '\n') {
            return;
        }
        record.removeLast(1);
        if (record.beginsWith(path_key)) {
            path = String(StringView(record.data() + path_key.size(), record.size() - path_key.size()));
        } else if (record.beginsWith(link_key)) {
            link = String(StringView(record.data() + link_key.size(), record.size() - link_key.size()));
        }
    }
}

// One run of the extractor: the reader, the target, the limits and the one record buffer.
class Extraction {
  public:
    Extraction(TAR::Reader & reader, File const & target, ArchiveExtraction & report, unsigned long long source_size,
               ProgressInfo * progress, CancelInfo * cancel)
        : reader_(reader), root_(target), report_(report), source_size_(source_size), progress_(progress),
          cancel_(cancel) {}

    int run();

  private:
    // Reads `size` bytes into nothing; false when the reader fails.
    bool skip(unsigned long long size);
    // Counts `size` bytes of entry data against the limits; false when they would pass one.
    bool admit(unsigned long long size);
    // Reads the `size` bytes of a metadata record and its padding; false when short or too long.
    bool readMetadata(unsigned long long size, String & out);
    void report();
    void skipEntry(StringView const & name) { report_.skipped.add(String(name)); }

    int regularFile(StringView const & name, unsigned long long size, unsigned int mode, Time const & modified);
    int hardLink(StringView const & name, StringView const & link);
    int symbolicLink(StringView const & name, StringView const & link);
    int folder(StringView const & name, unsigned int mode);

    TAR::Reader & reader_;
    File const & root_;
    ArchiveExtraction & report_;
    unsigned long long source_size_;
    ProgressInfo * progress_;
    CancelInfo * cancel_;
    char record_[TAR::record_size] = {};
    std::unique_ptr<char[]> chunk_;
    unsigned long long passed_ = 0;
};

bool Extraction::admit(unsigned long long size) {
    if (size > report_.entry_limit || size > report_.total_limit - std::min(passed_, report_.total_limit)) {
        return false;
    }
    passed_ += size;
    return true;
}

void Extraction::report() {
    if (cancel_ != nullptr && cancel_->cancelRequested()) {
        throw CancelException();
    }
    if (progress_ != nullptr && source_size_ != 0) {
        progress_->setProgress(
            std::min(1.0f, static_cast<float>(reader_.consumed()) / static_cast<float>(source_size_)));
    }
}

bool Extraction::skip(unsigned long long size) {
    if (!chunk_) {
        chunk_ = std::make_unique<char[]>(chunk_size);
    }
    while (size > 0) {
        unsigned long long const part = std::min(size, chunk_size);
        if (!reader_.read(chunk_.get(), part)) {
            return false;
        }
        size -= part;
        report();
    }
    return true;
}

bool Extraction::readMetadata(unsigned long long size, String & out) {
    static_assert(TAR::metadata_limit <= chunk_size, "a metadata record fits the chunk buffer");
    if (size > TAR::metadata_limit || !admit(size)) {
        return false;
    }
    if (!chunk_) {
        chunk_ = std::make_unique<char[]>(chunk_size);
    }
    if (!reader_.read(chunk_.get(), size)) {
        return false;
    }
    out = String(chunk_.get(), static_cast<unsigned int>(size));
    return skip(Padding(size));
}

int Extraction::regularFile(StringView const & name, unsigned long long size, unsigned int mode,
                            Time const & modified) {
    String relative;
    bool safe = Internal::ResolveEntryName(name, relative) && !relative.isEmpty();
    if (!admit(size)) {
        return TAR::LIMIT_EXCEEDED;
    }
    std::FILE * stream = nullptr;
    if (safe) {
        unsigned int const split = relative.lastIndexOf('\\');
        StringView const parent = split == 0xFFFFFFFFu ? StringView() : StringView(relative.data(), split);
        int error = ExtractionPlatform::MakeFoldersBelow(root_.view(), parent);
        if (error == 0) {
            stream = ExtractionPlatform::CreateFileBelow(root_.view(), relative.view(), error);
        }
        if (error == ELOOP) {
            safe = false;
        } else if (error != 0) {
            return TAR::FILE_CREATE_FAILED;
        }
    }
    if (!safe) {
        skipEntry(name);
        return skip(size + Padding(size)) ? TAR::OK : TAR::FILE_DATA_FAILED;
    }
    if (!chunk_) {
        chunk_ = std::make_unique<char[]>(chunk_size);
    }
    unsigned long long left = size;
    while (left > 0) {
        unsigned long long const part = std::min(left, chunk_size);
        if (!reader_.read(chunk_.get(), part)) {
            std::fclose(stream);
            return TAR::FILE_DATA_FAILED;
        }
        if (std::fwrite(chunk_.get(), 1, part, stream) != part) {
            std::fclose(stream);
            return TAR::FILE_WRITE_FAILED;
        }
        left -= part;
        report_.bytes += part;
        report();
    }
    bool const flushed = std::fflush(stream) == 0 && std::ferror(stream) == 0;
    if (std::fclose(stream) != 0 || !flushed) {
        return TAR::FILE_WRITE_FAILED;
    }
    ++report_.files;
    if (!skip(Padding(size))) {
        return TAR::FILE_DATA_FAILED;
    }
    if (ExtractionPlatform::SetModeBelow(root_.view(), relative.view(), mode) != 0) {
        return TAR::MODE_FAILED;
    }
    if (modified.isValid() && ExtractionPlatform::SetModifiedTimeBelow(root_.view(), relative.view(), modified) != 0) {
        return TAR::TIME_FAILED;
    }
    return TAR::OK;
}

int Extraction::hardLink(StringView const & name, StringView const & link) {
    String relative;
    String existing;
    // The link name is read from the entry's folder, as for a symbolic link; archives that name
    // it from their root link correctly only for entries at the top.
    if (!Internal::ResolveEntryName(name, relative) || relative.isEmpty() ||
        !Internal::ResolveLinkTarget(relative.view(), link, existing) || existing.isEmpty()) {
        skipEntry(name);
        return TAR::OK;
    }
    int const error = ExtractionPlatform::MakeHardLinkBelow(root_.view(), existing.view(), relative.view());
    if (error == ELOOP) {
        skipEntry(name);
        return TAR::OK;
    }
    if (error != 0) {
        return TAR::HARD_LINK_FAILED;
    }
    ++report_.links;
    return TAR::OK;
}

int Extraction::symbolicLink(StringView const & name, StringView const & link) {
    String relative;
    String leads_to;
    if (!Internal::ResolveEntryName(name, relative) || relative.isEmpty() ||
        !Internal::ResolveLinkTarget(relative.view(), link, leads_to)) {
        skipEntry(name);
        return TAR::OK;
    }
    int const error = ExtractionPlatform::MakeSymbolicLinkBelow(root_.view(), relative.view(), link);
    if (error == ELOOP) {
        skipEntry(name);
        return TAR::OK;
    }
    if (error != 0) {
        return TAR::SYMBOLIC_LINK_FAILED;
    }
    ++report_.links;
    return TAR::OK;
}

int Extraction::folder(StringView const & name, unsigned int mode) {
    String relative;
    if (!Internal::ResolveEntryName(name, relative)) {
        skipEntry(name);
        return TAR::OK;
    }
    int error = ExtractionPlatform::MakeFoldersBelow(root_.view(), relative.view());
    if (error == 0) {
        error = ExtractionPlatform::SetWritableBelow(root_.view(), relative.view(), (mode & 0222) != 0);
    }
    if (error == ELOOP) {
        skipEntry(name);
        return TAR::OK;
    }
    if (error != 0) {
        return TAR::FOLDER_FAILED;
    }
    ++report_.folders;
    return TAR::OK;
}

int Extraction::run() {
    if (!reader_.read(record_, TAR::record_size)) {
        return TAR::RECORD_READ_FAILED;
    }
    std::optional<String> long_name;
    std::optional<String> long_link;
    for (;;) {
        report();
        if (IsZeroRecord(record_)) {
            if (!reader_.read(record_, TAR::record_size) || IsZeroRecord(record_)) {
                return TAR::OK;
            }
        }
        if (!ChecksumHolds(record_)) {
            return TAR::CHECKSUM_FAILED;
        }
        unsigned int const mode = static_cast<unsigned int>(ReadOctal(record_, mode_field, false));
        unsigned long long const size = ReadOctal(record_, size_field, true);
        unsigned long long const seconds = ReadOctal(record_, mtime_field, true);
        Time const modified =
            seconds <= ~0ull / Time::nanoseconds_per_second - 1 ? Time(seconds * Time::nanoseconds_per_second) : Time();

        String name;
        if (record_[prefix_field.offset] != 0) {
            name.append(FieldText(record_, prefix_field));
            name.append('/');
        }
        name.append(FieldText(record_, name_field));
        String link(FieldText(record_, link_field));

        char const type = record_[type_offset] == 0 ? '0' : record_[type_offset];
        bool const names_entry = type != 'L' && type != 'K' && type != 'x' && type != 'g';
        if (names_entry) {
            if (long_name) {
                name = std::move(*long_name);
                long_name.reset();
            }
            if (long_link) {
                link = std::move(*long_link);
                long_link.reset();
            }
        }

        int result = TAR::OK;
        switch (type) {
        case 'L':
        case 'K': {
            String text;
            if (!readMetadata(size, text)) {
                return TAR::METADATA_FAILED;
            }
            unsigned int length = text.size();
            while (length > 0 && text[length - 1] == '\0') {
                --length;
            }
            text.setSize(length);
            (type == 'L' ? long_name : long_link) = std::move(text);
            break;
        }
        case 'x':
        case 'g': {
            String text;
            if (!readMetadata(size, text)) {
                return TAR::METADATA_FAILED;
            }
            if (type == 'x') {
                ReadPax(text, long_name, long_link);
            }
            break;
        }
        case '0':
        case '7':
            result = regularFile(name.view(), size, mode, modified);
            break;
        case '1':
        case '2':
        case '5':
            // These carry no data in a sound archive; whatever one says it has is passed over.
            if (!admit(size)) {
                return TAR::LIMIT_EXCEEDED;
            }
            if (!skip(size + Padding(size))) {
                return TAR::SKIP_FAILED;
            }
            result = type == '1' ? hardLink(name.view(), link.view())
                                 : (type == '2' ? symbolicLink(name.view(), link.view()) : folder(name.view(), mode));
            break;
        default:
            if (!admit(size)) {
                return TAR::LIMIT_EXCEEDED;
            }
            if (!skip(size + Padding(size))) {
                return TAR::SKIP_FAILED;
            }
            break;
        }
        if (result != TAR::OK) {
            return result;
        }
        if (!reader_.read(record_, TAR::record_size)) {
            return reader_.eof() ? TAR::ENDED_EARLY : TAR::RECORD_READ_FAILED;
        }
    }
}

TranslatedString ExtractTitle(File const & source, File const & target) {
    TranslatedString title = Translatable(extract_title_label, extract_title_text);
    title.replace(file_a_slot, TranslatedString::DirectString(source.view()));
    title.replace(file_b_slot, TranslatedString::DirectString(target.view()));
    return title;
}

} // namespace

TAR::Reader::~Reader() = default;

TAR::FileReader::FileReader(File const & file) {
    String const path = FilePlatform::SystemPath(file.view());
    if (!path.isEmpty()) {
        stream_.open(path.c_str(), std::ios::in | std::ios::binary);
    }
}

TAR::FileReader::~FileReader() = default;

bool TAR::FileReader::read(char * buffer, unsigned long long size) {
    stream_.read(buffer, static_cast<std::streamsize>(size));
    return stream_.good();
}

bool TAR::FileReader::eof() {
    return stream_.eof();
}

unsigned long long TAR::FileReader::consumed() {
    std::streamoff const at = stream_.good() ? static_cast<std::streamoff>(stream_.tellg()) : -1;
    return at < 0 ? 0 : static_cast<unsigned long long>(at);
}

TAR::GzReader::GzReader(File const & file) {
    String const path = FilePlatform::SystemPath(file.view());
    if (path.isEmpty()) {
        return;
    }
    handle_ = gzopen(path.c_str(), gzip_mode);
    if (handle_ != nullptr) {
        gzbuffer(handle_, gzip_buffer_size);
    }
}

TAR::GzReader::~GzReader() {
    if (handle_ != nullptr) {
        gzclose(handle_);
    }
}

bool TAR::GzReader::read(char * buffer, unsigned long long size) {
    if (size == 0) {
        return true;
    }
    if (handle_ == nullptr) {
        return false;
    }
    while (size > 0) {
        unsigned int const part = static_cast<unsigned int>(std::min<unsigned long long>(size, INT_MAX));
        int const got = gzread(handle_, buffer, part);
        if (got < 1) {
            return false;
        }
        buffer += got;
        size -= static_cast<unsigned long long>(got);
    }
    return true;
}

bool TAR::GzReader::eof() {
    return handle_ == nullptr || gzeof(handle_) != 0;
}

unsigned long long TAR::GzReader::consumed() {
    z_off_t const at = handle_ == nullptr ? -1 : gzoffset(handle_);
    return at < 0 ? 0 : static_cast<unsigned long long>(at);
}

int TAR::Extract(File const & source, File const & target, LogPtr log) {
    ArchiveExtraction extraction;
    return Extract(source, target, extraction, log);
}

int TAR::Extract(File const & source, File const & target, ArchiveExtraction & extraction, LogPtr log) {
    extraction.bytes = 0;
    extraction.files = 0;
    extraction.folders = 0;
    extraction.links = 0;
    extraction.skipped.clear();

    File root(target);
    if (!root.isDirectory()) {
        root.append('\\');
    }
    try {
        if (!root.exists()) {
            root.create(false);
        }
    } catch (FileException const &) {
        return TARGET_FOLDER_FAILED;
    }
    if (!FilePlatform::IsExistingFolder(root.view())) {
        return TARGET_FOLDER_FAILED;
    }

    int error = 0;
    std::FILE * probe = FilePlatform::OpenStream(source.view(), "rb", error);
    if (probe == nullptr) {
        return SOURCE_OPEN_FAILED;
    }
    unsigned char magic[2] = {};
    bool const gzip = std::fread(magic, 1, 2, probe) == 2 && magic[0] == gzip_magic[0] && magic[1] == gzip_magic[1];
    std::fclose(probe);

    std::optional<FileReader> plain;
    std::optional<GzReader> compressed;
    Reader * reader = nullptr;
    if (gzip) {
        compressed.emplace(source);
        if (!compressed->isOpen()) {
            return READER_OPEN_FAILED;
        }
        reader = &*compressed;
    } else {
        plain.emplace(source);
        if (!plain->isOpen()) {
            return READER_OPEN_FAILED;
        }
        reader = &*plain;
    }

    std::optional<ProgressInfo> progress;
    std::optional<CancelInfo> cancel;
    if (log.hasPipe()) {
        TranslatedString const title = ExtractTitle(source, root);
        progress.emplace(title, log, 0.0f);
        cancel.emplace(title, log);
    }
    FileAttributes attributes;
    unsigned long long const source_size =
        FilePlatform::ReadAttributes(source.view(), attributes) ? attributes.size : 0;
    Extraction run(*reader, root, extraction, source_size, progress ? &*progress : nullptr,
                   cancel ? &*cancel : nullptr);
    int const result = run.run();
    if (result == OK && progress) {
        progress->setProgress(1.0f);
    }
    return result;
}

} // namespace QELTA
