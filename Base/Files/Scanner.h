// Scanner: reads delimited text one line at a time and cuts the current line into typed fields.
//
// A Scanner owns a copy of the File it reads, opened in the caller's mode and closed in the
// destructor, or holds one text given whole. It belongs to one thread and holds no lock. Opening
// fails as File::open does, and a line longer than MaxSourceSize() raises an Exception rather
// than being cut; nothing else raises. A missing or malformed field gives the empty value of its
// reader (listed in the class comment), which the caller tests for. No reader ever looks past
// the end of the current line.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Geometry/Angle.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Time/Time.h"

#include <cstdio>

namespace QELTA {

class RGBColor;

// The current line is cut from the cursor (`linePosition()`, a byte index into `currentLine()`).
// Each field reader (getNext<T>, getNextHex<T>, getNext()) works in four steps:
//   1. with ignore-white-space set, step over blanks and tabs, stopping at the delimiter even
//      when the delimiter is itself a blank or a tab;
//   2. at or past the end of the line, give the empty value and leave the cursor alone;
//   3. parse at the cursor with the library's number readers (the rules of StringStream) and
//      move the cursor behind what was read;
//   4. skip() the rest of the field and its delimiter (getNext<char> leaves this step out).
// Empty values, given also for a field that doesn't parse: char 0; signed char -128; unsigned
// char 255; short -32768; unsigned short 65535; int -2147483648; unsigned int 4294967295; long
// long its lowest value; float and double NaN; bool false; String empty; a null StringView;
// Angle as its float; Time (read as local time by the time format) Invalid; RGBColor the error
// colour (255, 255, 254, 0), the 32-bit value 0x00FEFFFF. A number too large for its type gives
// the empty value, and the cursor still moves behind its digits. Unsigned readers refuse a '-'.
//
// Quoting: inside a pair of quote characters a delimiter does not end the field. A quote
// character equal to the delimiter quotes nothing, which is the state of a new Scanner.
//
// Line ends: a line feed ends a line and one carriage return before it is dropped, so LF and
// CRLF files read alike. Read from a File, a lone carriage return ends nothing and stays inside
// the line.
class QELTA_BASE_EXPORT Scanner {
  public:
    // The time form of getNext<Time>.
    static constexpr char default_time_format[] = "YYYY_MM_DD_HH_mm_ss";

    // Copies `file` and opens the copy with `mode`; failures are File::open's. There is no
    // current line until nextLine().
    Scanner(File const & file, char delimiter, File::OpenMode mode);
    // The text is the current line at once and the whole source: nextLine() gives false.
    Scanner(StringView const & text, char delimiter);
    Scanner(String const & text, char delimiter);
    Scanner(char const * text, char delimiter);
    // The copy holds a closed copy of the File, and so no stream.
    Scanner(Scanner const & other);
    Scanner & operator=(Scanner const &) = delete;
    virtual ~Scanner();

    // Reads the next line of the stream into `line`, emptied first when `clear` is set; false at
    // the end of the stream or without one. With ignore-white-space set, blanks and tabs ahead of
    // the first other byte are dropped (and are then missing from the file position). Since the
    // end of a stream shows only after a read has hit it, a file that ends in a line feed gives
    // one more, empty, line.
    virtual bool nextLine(String & line, bool clear);
    // Makes the next line current and puts the cursor at its start. With ignore-empty-lines set,
    // empty lines are passed over; false when the source ran out before a line with text (or,
    // without the setting, before any line).
    virtual bool nextLine();
    // With a stream: seeks to the byte `position` of the source and reads the line from there
    // when `read_line` is set, or else leaves an empty current line. With a text: moves the
    // cursor to `position`.
    virtual void setFilePosition(unsigned long long position, bool read_line);
    // The address of the cursor's byte in the current line; at the line's end, its terminator.
    virtual char const * getByteArray();

    // Settings

    void setDelimiter(char delimiter) noexcept;
    char delimiter() const noexcept { return delimiter_; }
    void setQuoteCharacter(char quote) noexcept { quote_ = quote; }
    char quoteCharacter() const noexcept { return quote_; }
    // Without a delimiter, fields end where each reader stops, and skip() only steps over a line
    // feed.
    void setHasDelimiter(bool has_delimiter) noexcept { has_delimiter_ = has_delimiter; }
    void setIgnoreEmptyLines(bool ignore) noexcept { ignore_empty_lines_ = ignore; }
    void setIgnoreWhiteSpace(bool ignore) noexcept { ignore_white_space_ = ignore; }
    bool ignoreWhiteSpace() const noexcept { return ignore_white_space_; }
    void setTimeFormat(StringView const & format) { time_format_ = format; }

    // Cursor

    String const & currentLine() const noexcept { return current_line_; }
    unsigned int linePosition() const noexcept { return line_position_; }
    void setLinePosition(unsigned int position) noexcept { line_position_ = position; }
    void moveForward(unsigned int count) noexcept { line_position_ += count; }
    void resetLinePosition() noexcept { line_position_ = 0; }
    // The cursor's byte; at or past the line's end, the line's terminator.
    char const * getCurrent() const noexcept;
    unsigned int getLineLength() const noexcept { return current_line_.size(); }
    // Whether the cursor stands before the end of the line; a cursor moved past the end (by
    // moveForward or a seek) has no next field either.
    bool hasNext() const noexcept { return line_position_ < current_line_.size(); }
    // Whether the cursor's byte is `mark`; the Scanner has no comment logic of its own.
    bool isComment(char mark) const noexcept {
        return line_position_ < current_line_.size() && current_line_[line_position_] == mark;
    }
    // Unquoted delimiters stepped over since the line began.
    unsigned int delimitersPassed() const noexcept { return delimiters_passed_; }

    // Position in the source

    // Lines read so far.
    unsigned long long getCurrentLineNumber() const noexcept { return line_number_; }
    // Bytes consumed, line ends included.
    unsigned long long getCurrentFilePosition() const noexcept { return file_position_; }
    // The file position over dataSize(): a fraction from 0 to 1, not a percentage, whatever the
    // name says.
    float getFilePercent() const;
    // The size of the text or file in bytes; a file is asked once, when first needed.
    unsigned long long dataSize() const;
    // "[file] line: [line_number] position: [position]" with the path, the lines read and the
    // cursor put in, under the id "scanner_debug_position".
    TranslatedString getDebugPosition() const;
    File const & file() const noexcept { return file_; }

    // Field readers (see the class comment); defined for char, signed char, unsigned char, short,
    // unsigned short, int, unsigned int, long long, float, double, bool, String, Time, Angle<int>,
    // Angle<double> and RGBColor.
    template <class T>
    T getNext();
    // Hexadecimal digits of either case up to the first other byte; digits beyond the type's
    // width shift out at the top. Empty value (all bits set) only at the end of the line; a field
    // without digits gives 0. Defined for unsigned char and unsigned int.
    template <class T>
    T getNextHex();
    // The field as a view into the current line, valid until the line changes: a null view at
    // the end of the line, an empty one for an empty field. A final line feed is dropped, and a
    // quote character at its start and one at its end are each cut off on their own; quotes
    // inside stay.
    StringView getNext();
    // Appends the field with every quote character removed, wherever it stands. Without a
    // delimiter but with ignore-white-space, the field ends at an unquoted blank, tab or carriage
    // return, which stays ahead of the cursor; with neither, nothing is appended and only a line
    // feed at the cursor is stepped over. At the end of the line `out` is left alone.
    void getNext(String & out);

    // Skipping

    // Steps past the rest of the field and its delimiter, counting it; returns the bytes gone
    // over plus one (1 at the end of the line). Without a delimiter, steps over a line feed at
    // the cursor and returns 0.
    unsigned int skip();
    // Step 1 of the field readers on its own (nothing without ignore-white-space); returns the
    // new cursor.
    unsigned int skipWhiteSpace();
    // Move the cursor forward onto the next byte equal to `c`, onto any byte of `any_of`, or onto
    // the start of `text`, counting the unquoted delimiters passed; a byte inside quotes matches
    // too. False, with the cursor at the end of the line, when nothing matches; false at once
    // when the cursor is at the end. `ignore_case` compares through the C library's tolower. An
    // empty text answers whether the cursor is not 0, without moving.
    bool skipTo(char c, bool ignore_case = false);
    bool skipTo(Buffer<char> const & any_of, bool ignore_case = false);
    bool skipTo(char const * text, bool ignore_case = false);

    // The most bytes a source may have: BufferedScanner indexes lines by 32-bit offsets with a
    // closing entry of the size plus one, and a line of Scanner is a String. Larger files and
    // longer lines are refused with an Exception rather than read wrongly.
    static constexpr unsigned long long max_source_size = 0xFFFFFFFEull;
    // The limit in force: max_source_size, or what a test set; 0 restores max_source_size. Not
    // thread-safe: set it before scanners are used.
    static unsigned long long MaxSourceSize() noexcept;
    static void SetMaxSourceSizeForTesting(unsigned long long bytes) noexcept;

  protected:
    // The unsigned 64-bit "unknown" of data_size_: ask the File.
    static constexpr unsigned long long unknown_size = ~0ull;

    // Raises the failure for a source of `size` bytes over MaxSourceSize(): a FileException
    // naming `file`, or for a text (null `file`) an Exception.
    [[noreturn]] static void ThrowTooLarge(File const * file, unsigned long long size);
    // The same for one line of a stream.
    [[noreturn]] static void ThrowLineTooLong(File const & file, unsigned long long size);

    bool hasStream() const noexcept { return file_.isOpen(); }
    template <class T>
    T readInteger() noexcept;
    template <class T>
    T readFloating() noexcept;
    template <class T>
    T readHex() noexcept;
    // Moves the cursor onto the first byte from it on where `match(index)` holds, counting the
    // unquoted delimiters passed; false with the cursor at the end of the line when none does.
    template <class Match>
    bool walkTo(Match const & match);

    String current_line_;
    File file_;
    String time_format_;
    unsigned long long line_number_ = 0;
    unsigned long long file_position_ = 0;
    mutable unsigned long long data_size_ = unknown_size;
    unsigned int line_position_ = 0;
    unsigned int delimiters_passed_ = 0;
    char delimiter_;
    char quote_;
    bool ignore_empty_lines_ = false;
    bool ignore_white_space_ = false;
    bool has_delimiter_ = true;

  private:
    // The inline forms behind the field readers, so that calls inside the library stay direct.
    // Steps 1 and 2 of the field readers: false at or past the end of the line.
    inline bool beginField() noexcept;
    inline void stepOverBlanks() noexcept;
    inline unsigned int skipField() noexcept;

    // The stream is read in blocks into `read_ahead_`; `stream_ended_` records that a read hit
    // the end, which is when the stream counts as ended, as for a byte-wise reader.
    bool streamEnded() const noexcept { return stream_ended_ && read_index_ >= read_ahead_.size(); }
    // Refills the block; false when the stream gave nothing more.
    bool refill();
    void dropReadAhead() noexcept;

    String read_ahead_;
    unsigned int read_index_ = 0;
    bool stream_ended_ = false;
};

// clang-format off
template <> char Scanner::getNext<char>();
template <> signed char Scanner::getNext<signed char>();
template <> unsigned char Scanner::getNext<unsigned char>();
template <> short Scanner::getNext<short>();
template <> unsigned short Scanner::getNext<unsigned short>();
template <> int Scanner::getNext<int>();
template <> unsigned int Scanner::getNext<unsigned int>();
template <> long long Scanner::getNext<long long>();
template <> float Scanner::getNext<float>();
template <> double Scanner::getNext<double>();
template <> bool Scanner::getNext<bool>();
template <> String Scanner::getNext<String>();
template <> Time Scanner::getNext<Time>();
// "#" and hexadecimal digits: the colour whose bytes in memory, read as a little-endian word, are
// the value (so alpha and blue come first). Else up to three digits: the row of the ACIColor
// palette. Anything else, and an index from 256 on, is the error colour. Defined with the colour
// types in Base/Color/RGBColor.cpp, so that the files subsystem needs no colour header.
template <> RGBColor Scanner::getNext<RGBColor>();
template <> unsigned char Scanner::getNextHex<unsigned char>();
template <> unsigned int Scanner::getNextHex<unsigned int>();
// clang-format on

// The float reader's value as the index, cut to an integer; a value out of int range, NaN
// included, is the invalid angle, as StringStream<Angle<int>> reads it.
template <>
inline Angle<int> Scanner::getNext<Angle<int>>() {
    float const index = getNext<float>();
    return index >= -2147483648.0f && index < 2147483648.0f ? Angle<int>(static_cast<int>(index))
                                                            : Angle<int>::Invalid();
}

// Read through the float reader and so rounded to float: stored angle files were read so, and
// this stays.
template <>
inline Angle<double> Scanner::getNext<Angle<double>>() {
    return Angle<double>(static_cast<double>(getNext<float>()));
}

} // namespace QELTA
