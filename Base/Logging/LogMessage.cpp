// LogMessage: the record, its session marks, its text rules and its stored text form.
#include "Base/Logging/LogMessage.h"

#include "Base/Failure/Exception.h"
#include "Base/Language/TranslatedString.h"

#include <regex>
#include <string>

namespace QELTA {
namespace {

constexpr char escape_byte = 27;
constexpr char field_separator = '\t';
// The time of the stored form is written and read in UTC, so that a line reads back the same
// in every time zone and across a change of daylight saving time.
constexpr bool stored_time_is_local = false;
constexpr unsigned short session_modulus = 65534;

constexpr char session_start_text[] =
    "\\--------------------------------------------------------------------------------------------------|";
constexpr char session_end_text[] =
    "/--------------------------------------------------------------------------------------------------|";
static_assert(sizeof(session_start_text) == 1 + 98 + 1 + 1, "a backslash, 98 hyphens, a bar");
static_assert(sizeof(session_end_text) == sizeof(session_start_text), "a slash, 98 hyphens, a bar");

// Both patterns begin with the byte 27, which std::regex takes as a literal character.
std::regex const & FormattingExpression() {
    static std::regex const expression(std::string(1, escape_byte) + "\\[[0-9;]*[A-Za-z]");
    return expression;
}

std::regex const & BlockExpression() {
    static std::regex const expression(std::string(1, escape_byte) + "\\[([0-9;]*)[A-Za-z]");
    return expression;
}

// Removes the sequences from the first byte 27 at or after `start` on, then steps past that
// byte and repeats while another byte 27 follows: a removal can join a stray byte 27 with the
// text behind the removed sequence into a new sequence further on.
void RemoveFormatting(StringAllocatingView & out, unsigned int start) {
    unsigned int position = out.view().indexOf(escape_byte, start);
    while (position != StringView::not_found) {
        StringView const text = out.view();
        std::string const tail =
            std::regex_replace(std::string(text.data() + position, text.size() - position), FormattingExpression(), "");
        if (tail.size() != text.size() - position) {
            String changed(text.data(), position);
            changed.append(StringView(tail));
            out = StringAllocatingView(std::move(changed));
        }
        position = out.view().indexOf(escape_byte, position + 1);
    }
}

} // namespace

unsigned short CurrentLogSession() noexcept {
    static unsigned short const session =
        static_cast<unsigned short>(Time::SystemTime().nanoseconds() % session_modulus);
    return session;
}

StringView LogSessionStart() noexcept {
    return StringView(session_start_text, sizeof(session_start_text) - 1);
}

StringView LogSessionEnd() noexcept {
    return StringView(session_end_text, sizeof(session_end_text) - 1);
}

LogMessage::LogMessage() : session_number_(CurrentLogSession()), log_record_level_(0) {}

LogMessage::LogMessage(StringView const & text, unsigned char level)
    : LogMessage(Time::SystemTime(), text, level, CurrentLogSession()) {}

LogMessage::LogMessage(TranslatedString const & text, unsigned char level)
    : raw_message_(text.internalValue()), record_time_(Time::SystemTime()), session_number_(CurrentLogSession()),
      log_record_level_(level) {}

LogMessage::LogMessage(Time const & time, StringView const & text, unsigned char level)
    : LogMessage(time, text, level, CurrentLogSession()) {}

LogMessage::LogMessage(Time const & time, StringView const & text, unsigned char level, unsigned short session)
    : raw_message_(text), record_time_(time), session_number_(session), log_record_level_(level) {}

bool LogMessage::isSessionStart() const noexcept {
    return raw_message_.view() == LogSessionStart();
}

bool LogMessage::isSessionEnd() const noexcept {
    return raw_message_.view() == LogSessionStart();
}

bool LogMessage::isFromCurrentSession() const noexcept {
    return session_number_ == CurrentLogSession();
}

bool LogMessage::hasFormatting() const noexcept {
    return raw_message_.indexOf(escape_byte) != String::not_found;
}

bool LogMessage::hasSubString(StringView const & needle, bool ignore_case) const noexcept {
    if (needle.isEmpty()) {
        return true;
    }
    if (needle.size() > raw_message_.size()) {
        return false;
    }
    return raw_message_.hasSubString(needle, ignore_case);
}

StringAllocatingView LogMessage::message(bool keep_new_lines, bool keep_tabs, bool keep_formatting) const {
    StringAllocatingView out;
    appendMessage(out, keep_new_lines, keep_tabs, keep_formatting);
    return out;
}

void LogMessage::appendMessage(StringAllocatingView & out, bool keep_new_lines, bool keep_tabs,
                               bool keep_formatting) const {
    unsigned int const start = out.size();
    out.borrow(raw_message_.view());
    if (!keep_new_lines) {
        out.replace("\n", "\\n", false, start);
        out.replace("\r", "\\r", false, start);
    }
    if (!keep_tabs) {
        out.replace("\t", "\\t", false, start);
    }
    if (!keep_formatting) {
        RemoveFormatting(out, start);
    }
}

Buffer<std::pair<String, String>> LogMessage::ansiiEscapeBlocks() const {
    Buffer<std::pair<String, String>> blocks;
    StringView const text = raw_message_.view();
    char const * const begin = text.data();
    unsigned int offset = 0;
    for (std::cregex_iterator match(begin, begin + text.size(), BlockExpression()), end; match != end; ++match) {
        unsigned int const match_start = static_cast<unsigned int>(match->position(0));
        if (match_start > offset) {
            blocks.add({String(plain_code), String(text.substr(offset, match_start))});
        }
        unsigned int const text_start = match_start + static_cast<unsigned int>(match->length(0));
        unsigned int text_end = text.indexOf(escape_byte, text_start);
        if (text_end == StringView::not_found) {
            text_end = text.size();
        }
        std::csub_match const & code = (*match)[1];
        blocks.add(
            {String(code.first, static_cast<unsigned int>(code.length())), String(text.substr(text_start, text_end))});
        offset = text_end;
    }
    if (offset < text.size()) {
        blocks.add({String(plain_code), String(text.substr(offset))});
    }
    return blocks;
}

void StringStream<LogMessage>::toString(LogMessage const & value, StringAllocatingView & out) {
    value.recordTime().appendTo(out, stored_time_is_local, time_format);
    out.append(field_separator);
    value.appendMessage(out, false, false, false);
    out.append(field_separator);
    StringStream<unsigned int>::toString(value.logRecordLevel(), out);
    out.append(field_separator);
    // Through unsigned int, so that 65535 (records not of this run) is written as its digits.
    StringStream<unsigned int>::toString(value.sessionNumber(), out);
}

void StringStream<LogMessage>::fromString(StringView const & text, LogMessage & value) {
    StringViewBuffer const fields = text.split(field_separator, true);
    if (fields.size() < 3) {
        return;
    }
    // The number readers stop at the first byte that cannot continue a number, and a field may
    // end at a tab of the text, so each field is read from its own zero-terminated copy.
    Time time;
    try {
        time.setTimeFromString(fields[0], stored_time_is_local, time_format);
    } catch (Exception const &) {
        time = Time();
    }
    StringView message;
    String level_text;
    String session_text;
    if (fields.size() == 3) {
        level_text = String(fields[1]);
        message = fields[2];
        session_text = String(message);
    } else {
        message = fields[1];
        level_text = String(fields[2]);
        session_text = String(fields[3]);
    }
    unsigned char level = 0;
    StringStream<unsigned char>::fromString(level_text, level);
    unsigned short session = 0;
    StringStream<unsigned short>::fromString(session_text, session);
    if (fields.size() == 3 && session == IntegerStringStream<unsigned short>::invalid) {
        session = 0;
    }
    value = LogMessage(time, message, level, session);
}

} // namespace QELTA
