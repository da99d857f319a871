// DBFParser: the records of a dBASE table written out as plain text lines, each field's bytes as
// they stand.
//
// A DBFParser owns its input stream; it can be moved, not copied, and belongs to one thread. It
// knows a field's name and width and nothing of types. Failures raise std::logic_error, never
// Exception: "Cannot open file", "Field not found: <name>", and "Record count exceeds the file"
// when DumpFields is asked for more records than the file can hold. An output file that can't be
// opened is not reported.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Text/Buffer.h"

#include <cstddef>
#include <fstream>

namespace QELTA {

class QELTA_BASE_EXPORT DBFParser {
  public:
    static constexpr unsigned int header_size = 32;
    static constexpr unsigned int descriptor_size = 32;
    // A field's name is compared over at most this many bytes; a name that long has no terminator.
    static constexpr unsigned int name_size = 11;
    static constexpr unsigned int width_offset = 16;
    // The byte that ends the descriptors, the flag of a deleted record and the end of the data.
    static constexpr char descriptors_end = 13;
    static constexpr char deleted_flag = '*';
    static constexpr char data_end = 26;

    // One field descriptor as it stands in the file.
    struct FieldDescriptor {
        unsigned char bytes[descriptor_size] = {};
    };

    // Opens the table and reads the header and the descriptors. The descriptors are read until
    // the end byte, but never more of them than the header counts records: that bound is
    // deliberate, so a table with fewer records than fields keeps only its first descriptors and
    // its dumps start inside the descriptor list.
    explicit DBFParser(File const & file);
    DBFParser(DBFParser && other) noexcept;
    DBFParser & operator=(DBFParser && other) noexcept;
    DBFParser(DBFParser const &) = delete;
    DBFParser & operator=(DBFParser const &) = delete;
    ~DBFParser();

    // The header's record count, deleted records included.
    unsigned int recordCount() const;

    // Writes every field of every live record to the text file at `path`, one line a record with
    // nothing between the fields, and stops at the end byte or the end of the file. Goes on from
    // where the stream stands and never seeks back: one object serves one dump.
    void DumpAll(char const * path);
    // Writes the named fields of every live record, one line a record, and prints "Created <n>,
    // records <bytes> bytes." on the standard output. `names` must stand in the file's field order:
    // a name out of order counts as missing. It counts records written against the header's count
    // and tests neither the end of the file nor the end byte, unlike DumpAll; that asymmetry is
    // deliberate. Past the end of the data the last field bytes are written again for each record
    // still missing; after a deleted record there it stops, since it would find nothing more.
    void DumpFields(char const * path, char const ** names, std::size_t count);

  private:
    std::ifstream stream;
    unsigned char header[header_size] = {};
    Buffer<FieldDescriptor> fields;
    // Stored for the host; nothing reads it.
    unsigned int data_start = 0;
    // The sum of the field widths, without the flag byte.
    unsigned int record_size = 0;
    unsigned int largest_field = 0;
    // The bytes of the file when it was opened, which bound the records that DumpFields asks for.
    unsigned long long file_size_ = 0;
};

} // namespace QELTA
