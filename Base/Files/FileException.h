// FileException: a failure about one file, with a fixed table of kinds.
//
// A plain value like every Exception: it holds a closed copy of the File it names and is copied
// when thrown. Constructors raise nothing; the report on construction is Exception's.
#pragma once

#include "Base/Export.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Language/TranslatedString.h"

namespace QELTA {

// The message of each kind holds the slot "[file_name]", filled with the path as it stands. The
// title "File Exception" and the detail "File Error" are the same for every kind, so failures
// about files share one id() whatever the file or the kind.
class QELTA_BASE_EXPORT FileException : public Exception {
  public:
    enum ExceptionType : unsigned char {
        generic_file = 0,
        file_not_open = 1,
        file_already_open = 2,
        file_does_not_exist = 3,
        file_exists = 4,
        invalid_file = 5,
        // 6 has no name and no message; it is kept so that stored kinds keep their numbers.
        file_not_supported = 7,
        could_not_create_file = 8,
    };

    // The message is the row of the kind's table with the path put in.
    FileException(File const & file, ExceptionType type);
    // Title "File Error"; the message is "File Error:\n[message]\nFile:\n[file]" with the given
    // text and the path put in.
    FileException(File const & file, TranslatedString const & message, ExceptionType type);
    ~FileException() override;

    FileException(FileException const &) = default;
    FileException(FileException &&) noexcept = default;
    FileException & operator=(FileException const &) = default;
    FileException & operator=(FileException &&) noexcept = default;

    File const & file() const noexcept { return file_; }
    ExceptionType type() const noexcept { return type_; }

  private:
    File file_;
    ExceptionType type_;
};

} // namespace QELTA
