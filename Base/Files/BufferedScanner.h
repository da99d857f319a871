// BufferedScanner: the Scanner over a whole file or text read at once, with a table of line
// starts that makes each line a copy and lets a caller seek by byte.
//
// It owns all the bytes and its line table; the File's stream stays open until the scanner is
// destroyed. One thread uses it; it holds no lock. Construction raises what File::open raises,
// and an Exception for a source larger than Scanner::MaxSourceSize(), whose line offsets would
// not fit in 32 bits; reading raises nothing, and nothing reads outside the buffer.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Files/Scanner.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

// `lineStarts()` holds 0, then the offset behind each line feed, then one closing entry of the
// byte count plus one; entry i is where line i begins. The line number of the Scanner is the
// index of the next line to deliver. Unlike Scanner's stream, the source doesn't end in an extra
// empty line behind a final line feed, and with ignore-white-space each line is trimmed at both
// ends (blanks, tabs and carriage returns).
class QELTA_BASE_EXPORT BufferedScanner : public Scanner {
  public:
    // Reads the whole file opened with `mode`; carriage returns stay in the bytes, and the one
    // before a line feed is dropped from each line.
    BufferedScanner(File const & file, char delimiter, File::OpenMode mode);
    // Copies `text` without any of its carriage returns.
    BufferedScanner(StringView const & text, char delimiter);
    ~BufferedScanner() override;

    // Puts the next line in `line`, replacing what it held whether or not `clear` is set; false
    // after the last line.
    bool nextLine(String & line, bool clear) override;
    // Makes the next line current, passing over empty lines with ignore-empty-lines set; false
    // when the bytes ran out before a line with text, or the line table is used up.
    bool nextLine() override;
    // Stores `position` as the file position. With `read_line`, finds the line to read from the
    // line at hand: going forward, the last line that starts at or before `position`; going
    // back, the last that starts before it. It reads that line and sets the cursor to the line's
    // start minus `position`, as a 32-bit value, so a seek inside a line leaves the cursor past
    // its end; stored callers seek to line starts and depend on this, so it stays. A search that
    // finds no line keeps the line at hand. Without `read_line` the current line is emptied.
    void setFilePosition(unsigned long long position, bool read_line) override;
    // The address in the buffer at the file position, for raw reading from where the line reader
    // stands; the end of the buffer when the position lies past it.
    char const * getByteArray() override;

    String const & buffer() const noexcept { return buffer_; }
    Buffer<unsigned int> const & lineStarts() const noexcept { return line_starts_; }

  private:
    // The line at line_number_ into `line`, by the rules of nextLine(line, clear); kept inline
    // so that nextLine() calls it directly.
    inline bool takeLine(String & line);
    // Reads the rest of a stream whose size can't be asked, in blocks.
    void readUnknownSize(std::FILE * stream);
    void indexLines();

    String buffer_;
    Buffer<unsigned int> line_starts_;
};

} // namespace QELTA
