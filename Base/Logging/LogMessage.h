// LogMessage: one log record (text, time, session, level) and its tab-separated text form.
//
// A LogMessage is a small value that owns its text and is copied freely, into logs and into the
// queues of streams; like any value it has no lock. CurrentLogSession() is thread-safe. Nothing
// here raises: a text form that cannot be read leaves the record as it was or its fields Invalid.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"
#include "Base/Time/Time.h"

#include <utility>

namespace QELTA {

class Font;
class TranslatedString;
struct TextBlock;

// Buffer<TextBlock> spelled out, since its default allocator needs the complete type (Font.h
// checks that it is the default one).
using TextBlockBuffer = Buffer<TextBlock, BufferAllocator<TextBlock, 64, 0, unsigned int, 0, 0>>;

// The number of this run of the program: the clock's count at the first call, modulo 65534.
// Worked out once; the same on every thread until the process ends. 65534 and 65535 never occur,
// so 65535 can mark records that were not made by this run.
QELTA_BASE_EXPORT unsigned short CurrentLogSession() noexcept;

// The texts of the records that open and close a stretch of a log: a backslash (start) or a
// slash (end), 98 hyphens and a bar.
QELTA_BASE_EXPORT StringView LogSessionStart() noexcept;
QELTA_BASE_EXPORT StringView LogSessionEnd() noexcept;

// Fields, in this order: the text (UTF-8, may hold ANSI escape sequences), the moment it was
// made, the run that made it and the level. The level is a plain number with no table of names;
// a higher number is a more important record. The library uses 0 for a default record, 2 for
// session headers and informative lines and 10 for the title of a progress source.
class QELTA_BASE_EXPORT LogMessage {
  public:
    // The code of the text that no escape sequence precedes, in ansiiEscapeBlocks().
    static constexpr char plain_code[] = "0";

    // Empty text, Invalid time, the current session, level 0.
    LogMessage();
    // Time now, the current session.
    LogMessage(StringView const & text, unsigned char level);
    // The text form of `text` (its English text, id and slot values); time now, current session.
    LogMessage(TranslatedString const & text, unsigned char level);
    LogMessage(Time const & time, StringView const & text, unsigned char level);
    LogMessage(Time const & time, StringView const & text, unsigned char level, unsigned short session);

    String & rawMessage() noexcept { return raw_message_; }
    String const & rawMessage() const noexcept { return raw_message_; }
    Time const & recordTime() const noexcept { return record_time_; }
    void setRecordTime(Time const & time) noexcept { record_time_ = time; }
    unsigned short sessionNumber() const noexcept { return session_number_; }
    void setSessionNumber(unsigned short session) noexcept { session_number_ = session; }
    unsigned char logRecordLevel() const noexcept { return log_record_level_; }
    void setErrorLevel(unsigned char level) noexcept { log_record_level_ = level; }

    // The text equals LogSessionStart() exactly.
    bool isSessionStart() const noexcept;
    // Compares against the start mark too, so it is true on a start mark and false on an end
    // mark; this is deliberate, kept as it always was, and the readers of session marks compare
    // against the two texts instead.
    bool isSessionEnd() const noexcept;
    bool isFromCurrentSession() const noexcept;

    // The text holds the byte 27, so it may hold escape sequences.
    bool hasFormatting() const noexcept;
    // An empty needle is found; a needle longer than the text is not.
    bool hasSubString(StringView const & needle, bool ignore_case) const noexcept;

    // The text, borrowed when all three flags are set. Without keep_new_lines a line feed shows as
    // backslash and n and a carriage return as backslash and r; without keep_tabs a tab shows as
    // backslash and t; without keep_formatting the ANSI sequences (byte 27, '[', digits and ';',
    // a letter) are removed. Time is linear in the size of the text and the stack stays flat, for
    // any bytes the text holds.
    StringAllocatingView message(bool keep_new_lines, bool keep_tabs, bool keep_formatting) const;
    // The same, appended to `out`; the rules touch only the appended part.
    void appendMessage(StringAllocatingView & out, bool keep_new_lines, bool keep_tabs, bool keep_formatting) const;

    // The text cut at its ANSI sequences, as pairs of the sequence's code list ("1;31") and the
    // text it applies to, which runs to the next byte 27 or the end. Text before the first
    // sequence, or behind a run that stopped at a stray byte 27, gets the code "0". An empty
    // text gives no block; a text ending in a sequence gives a last block with an empty text.
    Buffer<std::pair<String, String>> ansiiEscapeBlocks() const;
    // The blocks of ansiiEscapeBlocks() with the fonts they are drawn in: each code of a block
    // applies in turn to a working copy of `font` through Font::executeAnsiiCode, `font` being the
    // one a reset returns to, and carries on into the following blocks. A code that isn't a number
    // counts as all ones and changes nothing. Blocks with an empty text are left out.
    TextBlockBuffer messageBlocks(Font const & font) const;

  private:
    String raw_message_;
    Time record_time_;
    unsigned short session_number_;
    unsigned char log_record_level_;
};

// Four fields separated by tabs: the time as "YY-MM-DD HH:mm:ss:ffffff" in UTC, the text as
// message(false, false, false) gives it, the level and the session in decimal. So a record is
// one line, and the first tab always ends the time.
//
// Reading splits at every tab and leaves the record alone for fewer than three fields. Four or
// more are time, text, level, session. Exactly three are time, level, text, and the session is
// the number that the text begins with, or 0: older files were written in that order, and
// stored files depend on the rule. Escapes in the text are not turned back, and a time that
// cannot be read is Invalid.
template <>
class QELTA_BASE_EXPORT StringStream<LogMessage> {
  public:
    static constexpr char time_format[] = "YY-MM-DD HH:mm:ss:ffffff";

    static void fromString(StringView const & text, LogMessage & value);
    static void toString(LogMessage const & value, StringAllocatingView & out);

    StringStream & operator=(StringStream const &) noexcept { return *this; }
};

} // namespace QELTA
