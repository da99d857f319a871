// TAR: the extraction of tar archives, plain or gzip-compressed, into a folder, and the two
// sources it reads them from.
//
// Extract reports by its result code alone: 0, or one of the negative codes of Result. It raises
// only FileException for a source path too long for a File and CancelException when its cancel
// guard is asked to stop. Entries done before a failure stay on disk. Nothing is ever written
// outside the target folder: an entry whose name or link leads there, or whose path passes through
// a link, is skipped and named in the ArchiveExtraction. A reader belongs to one thread; separate
// extractions are independent.
#pragma once

#include "Base/Export.h"
#include "Base/Files/ArchiveExtraction.h"
#include "Base/Files/File.h"
#include "Base/Logging/InfoPipe.h"

#include <fstream>

struct gzFile_s;

namespace QELTA {

class QELTA_BASE_EXPORT TAR {
  public:
    TAR() = delete;

    // A source of archive bytes, read front to back.
    class QELTA_BASE_EXPORT Reader {
      public:
        virtual ~Reader();
        // Reads exactly `size` bytes; false when fewer came.
        virtual bool read(char * buffer, unsigned long long size) = 0;
        virtual bool eof() = 0;
        // The bytes of the source file consumed so far (compressed bytes for gzip), for progress.
        virtual unsigned long long consumed() = 0;

      protected:
        Reader() = default;
        Reader(Reader const &) = default;
        Reader & operator=(Reader const &) = default;
    };

    // A plain file through a standard input file stream in binary mode.
    class QELTA_BASE_EXPORT FileReader : public Reader {
      public:
        explicit FileReader(File const & file);
        ~FileReader() override;
        bool isOpen() const { return stream_.is_open(); }
        // The stream's good state after the read.
        bool read(char * buffer, unsigned long long size) override;
        bool eof() override;
        unsigned long long consumed() override;

      private:
        std::ifstream stream_;
    };

    // A gzip file through zlib, with a buffer of gzip_buffer_size bytes.
    class QELTA_BASE_EXPORT GzReader : public Reader {
      public:
        static constexpr unsigned int gzip_buffer_size = 1048576;

        explicit GzReader(File const & file);
        ~GzReader() override;
        GzReader(GzReader const &) = delete;
        GzReader & operator=(GzReader const &) = delete;
        bool isOpen() const noexcept { return handle_ != nullptr; }
        // A size of 0 is true; otherwise reads until all bytes came, false when a read gives
        // nothing or fails.
        bool read(char * buffer, unsigned long long size) override;
        bool eof() override;
        unsigned long long consumed() override;

      private:
        gzFile_s * handle_ = nullptr;
    };

    // The results of Extract. Callers test for zero; the split of the failures is a help for
    // reading reports.
    enum Result : int {
        OK = 0,
        TARGET_FOLDER_FAILED = -1,
        SOURCE_OPEN_FAILED = -2,
        READER_OPEN_FAILED = -3,
        RECORD_READ_FAILED = -4,
        CHECKSUM_FAILED = -5,
        // The data ended where a header record should have begun.
        ENDED_EARLY = -6,
        SKIP_FAILED = -7,
        // A long name, long link name or pax header cut short, or longer than metadata_limit.
        METADATA_FAILED = -8,
        MODE_FAILED = -9,
        TIME_FAILED = -10,
        FILE_CREATE_FAILED = -11,
        FILE_DATA_FAILED = -12,
        FOLDER_FAILED = -13,
        SYMBOLIC_LINK_FAILED = -14,
        HARD_LINK_FAILED = -15,
        FILE_WRITE_FAILED = -16,
        // An entry passes a limit of the ArchiveExtraction.
        LIMIT_EXCEEDED = -17,
    };

    // The size of a header record and the unit that data is padded to.
    static constexpr unsigned int record_size = 512;
    // The largest long name, long link name or pax header read.
    static constexpr unsigned long long metadata_limit = 1ull << 20;

    // Extracts `source` into the folder `target`, made with its parents when missing. A source
    // that begins with the bytes 31 and 139 is read as gzip, whatever its name. Progress goes to a
    // source titled "Extracting [file_a] into [file_b]" with a cancel guard of the same title.
    static int Extract(File const & source, File const & target, LogPtr log = LogPtr());
    static int Extract(File const & source, File const & target, ArchiveExtraction & extraction, LogPtr log = LogPtr());
};

} // namespace QELTA
