// Reading a dBASE table's header and descriptors, and dumping its records as text.
#include "Base/Files/DBFParser.h"

#include "Base/Files/Platform/FilePlatform.h"

#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

constexpr char cannot_open_text[] = "Cannot open file";
constexpr char field_not_found_text[] = "Field not found: ";
constexpr char count_too_large_text[] = "Record count exceeds the file";
constexpr char created_text[] = "Created ";
constexpr char records_text[] = ", records ";
constexpr char bytes_text[] = " bytes.";
constexpr unsigned int record_count_offset = 4;

unsigned int Width(DBFParser::FieldDescriptor const & field) noexcept {
    return field.bytes[DBFParser::width_offset];
}

void OpenOutput(char const * path, std::ofstream & out) {
    String const system = FilePlatform::SystemPath(StringView(path));
    if (!system.isEmpty()) {
        out.open(system.c_str(), std::ios::out | std::ios::trunc);
    }
}

// A field to write and the bytes to pass over in front of it.
struct KeptField {
    unsigned int width;
    unsigned int skip;
};

} // namespace

DBFParser::DBFParser(File const & file) {
    String const path = FilePlatform::SystemPath(file.view());
    if (!path.isEmpty()) {
        stream.open(path.c_str(), std::ios::in | std::ios::binary);
    }
    if (!stream.good()) {
        throw std::logic_error(cannot_open_text);
    }
    FileAttributes attributes;
    if (FilePlatform::ReadAttributes(file.view(), attributes)) {
        file_size_ = attributes.size;
    }
    stream.read(reinterpret_cast<char *>(header), header_size);
    record_size = 0;
    largest_field = 0;
    unsigned int const records = recordCount();
    while (records != 0 && fields.size() < records) {
        char first = 0;
        stream.read(&first, 1);
        // A failed read would give the same byte again and again: the list ends with the file.
        if (!stream || first == descriptors_end) {
            break;
        }
        FieldDescriptor & field = fields.add(FieldDescriptor());
        field.bytes[0] = static_cast<unsigned char>(first);
        stream.read(reinterpret_cast<char *>(field.bytes + 1), descriptor_size - 1);
        record_size += Width(field);
        largest_field = std::max(largest_field, Width(field));
    }
    data_start = static_cast<unsigned int>(stream.tellg());
}

DBFParser::DBFParser(DBFParser && other) noexcept
    : stream(std::move(other.stream)), fields(std::move(other.fields)), data_start(other.data_start),
      record_size(other.record_size), largest_field(other.largest_field), file_size_(other.file_size_) {
    std::memcpy(header, other.header, header_size);
}

DBFParser & DBFParser::operator=(DBFParser && other) noexcept {
    stream = std::move(other.stream);
    fields = std::move(other.fields);
    std::memcpy(header, other.header, header_size);
    data_start = other.data_start;
    record_size = other.record_size;
    largest_field = other.largest_field;
    file_size_ = other.file_size_;
    return *this;
}

DBFParser::~DBFParser() = default;

unsigned int DBFParser::recordCount() const {
    unsigned int count = 0;
    for (unsigned int i = 0; i < 4; ++i) {
        count |= static_cast<unsigned int>(header[record_count_offset + i]) << (8 * i);
    }
    return count;
}

void DBFParser::DumpAll(char const * path) {
    std::ofstream out;
    OpenOutput(path, out);
    std::unique_ptr<char[]> buffer = std::make_unique<char[]>(std::max(largest_field, 1u));
    char flag = 0;
    while (!stream.eof()) {
        stream.read(&flag, 1);
        if (flag == deleted_flag) {
            stream.seekg(record_size, std::ios::cur);
            // A seek clears the end state; on a failed stream the loop would never see it again.
            if (stream.fail()) {
                break;
            }
            continue;
        }
        if (stream.fail() || flag == data_end) {
            break;
        }
        for (FieldDescriptor const & field : fields) {
            stream.read(buffer.get(), Width(field));
            out.write(buffer.get(), Width(field));
        }
        out << std::endl;
    }
}

void DBFParser::DumpFields(char const * path, char const ** names, std::size_t count) {
    std::vector<KeptField> kept;
    std::size_t cursor = 0;
    unsigned int skipped = 0;
    for (FieldDescriptor const & field : fields) {
        if (cursor < count &&
            std::strncmp(reinterpret_cast<char const *>(field.bytes), names[cursor], name_size) == 0) {
            kept.push_back(KeptField{Width(field), skipped});
            skipped = 0;
            ++cursor;
        } else {
            skipped += Width(field);
        }
    }
    if (cursor < count) {
        throw std::logic_error(std::string(field_not_found_text) + names[cursor]);
    }
    unsigned int used = 0;
    for (KeptField const & field : kept) {
        used += field.width + field.skip;
    }
    unsigned int const trailing = record_size - used;
    unsigned int const records_wanted = recordCount();
    // Each record wanted is a pass that writes a line, even past the end of the data; a header
    // that counts more records than the file holds would write lines without end.
    unsigned long long const capacity = file_size_ / (static_cast<unsigned long long>(record_size) + 1);
    if (records_wanted > capacity) {
        throw std::logic_error(count_too_large_text);
    }

    std::ofstream out;
    OpenOutput(path, out);
    std::unique_ptr<char[]> buffer = std::make_unique<char[]>(std::max(largest_field, 1u));
    unsigned int records = 0;
    unsigned long long bytes = 0;
    char flag = 0;
    while (records < records_wanted) {
        stream.read(&flag, 1);
        if (flag == deleted_flag) {
            stream.seekg(record_size, std::ios::cur);
            // Past the end the flag stays as it was and no record could ever be counted again.
            if (stream.fail()) {
                break;
            }
            continue;
        }
        for (KeptField const & field : kept) {
            if (field.skip != 0) {
                stream.seekg(field.skip, std::ios::cur);
            }
            stream.read(buffer.get(), field.width);
            out.write(buffer.get(), field.width);
            bytes += field.width;
        }
        if (trailing != 0) {
            stream.seekg(trailing, std::ios::cur);
        }
        out << std::endl;
        ++records;
        ++bytes;
    }
    std::cout << created_text << records << records_text << bytes << bytes_text << std::endl;
}

} // namespace QELTA
