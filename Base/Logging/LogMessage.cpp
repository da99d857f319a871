// LogMessage: the record, its session marks, its text rules and its stored text form.
#include "Base/Logging/LogMessage.h"

#include "Base/Failure/Exception.h"
#include "Base/Host/Font.h"
#include "Base/Language/TranslatedString.h"

#include <utility>
#include <vector>

namespace QELTA {
namespace {

constexpr char escape_byte = 27;
constexpr char field_separator = '\t';
constexpr char code_separator = ';';
// The time of the stored form is written and read in UTC, so that a line reads back the same
// in every time zone and across a change of daylight saving time.
constexpr bool stored_time_is_local = false;
constexpr unsigned short session_modulus = 65534;
// The sub-second digits that end the stored time format.
constexpr unsigned int microsecond_digits = 6;

constexpr char session_start_text[] =
    "\\--------------------------------------------------------------------------------------------------|";
constexpr char session_end_text[] =
    "/--------------------------------------------------------------------------------------------------|";
static_assert(sizeof(session_start_text) == 1 + 98 + 1 + 1, "a backslash, 98 hyphens, a bar");
static_assert(sizeof(session_end_text) == sizeof(session_start_text), "a slash, 98 hyphens, a bar");

bool IsCodeByte(char c) noexcept {
    return (c >= '0' && c <= '9') || c == ';';
}

bool IsAsciiLetter(char c) noexcept {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// An ANSI sequence: the byte 27, '[', a code of digits and ';', and one ASCII letter. Its code is
// [start + 2, end - 1).
struct Sequence {
    unsigned int start; // StringView::not_found when there is none
    unsigned int end;   // one past the letter
};

// The leftmost sequence at or after byte `from`. The code takes every digit and ';' there is, so a
// run followed by anything but a letter is no sequence, and the search goes on at the next byte 27.
Sequence FindSequence(StringView const & text, unsigned int from) noexcept {
    unsigned int const size = text.size();
    for (unsigned int at = text.indexOf(escape_byte, from); at != StringView::not_found;
         at = text.indexOf(escape_byte, at + 1)) {
        if (at + 1 < size && text[at + 1] == '[') {
            unsigned int end = at + 2;
            while (end < size && IsCodeByte(text[end])) {
                ++end;
            }
            if (end < size && IsAsciiLetter(text[end])) {
                return {at, end + 1};
            }
        }
    }
    return {StringView::not_found, StringView::not_found};
}

// `text` ends in an unfinished sequence: the byte 27, perhaps followed by '[' and code bytes.
bool EndsInOpenSequence(StringView const & text) noexcept {
    unsigned int at = text.size();
    while (at > 0 && IsCodeByte(text[at - 1])) {
        --at;
    }
    if (at == text.size() && at > 0 && text[at - 1] == escape_byte) {
        return true;
    }
    return at >= 2 && text[at - 1] == '[' && text[at - 2] == escape_byte;
}

// Appends `text` without the sequences found in one pass, beginning with `first`. False, with
// `out` partly written, when a removal leaves an unfinished sequence in front of the text behind
// it, which may join into a new one.
bool AppendWithoutSequences(StringView const & text, Sequence first, String & out) {
    unsigned int kept_from = 0;
    for (Sequence sequence = first; sequence.start != StringView::not_found;
         sequence = FindSequence(text, sequence.end)) {
        StringView const kept = text.substr(kept_from, sequence.start);
        if (EndsInOpenSequence(kept)) {
            return false;
        }
        out.append(kept);
        kept_from = sequence.end;
    }
    out.append(text.substr(kept_from));
    return true;
}

// Appends `text`, which begins with the byte 27, after the passes of RemoveFormatting. A pass
// starts at a byte 27 and removes every sequence from there on; the next pass starts at the next
// byte 27 behind the position where this one started. A removal can join the bytes on its two
// sides into a new sequence: the next pass removes it when it begins behind that position, and
// one that begins at or before it stays. The passes are replayed on a list of the bytes that is
// only touched where a removal joins two parts, so the work is linear in the size of the text.
void AppendWithoutJoinedSequences(StringView const & text, String & out) {
    // Byte i of the text is node i + 1; nodes 0 and size + 1 are the ends of the list. For a byte
    // 27, `link` is the last node of its open sequence (itself, its '[' or its last code byte); for
    // any other byte, the byte 27 whose open sequence holds it, or 0.
    unsigned int const size = text.size();
    unsigned int const head = 0;
    unsigned int const tail = size + 1;
    std::vector<unsigned int> next(size + 2);
    std::vector<unsigned int> previous(size + 2);
    std::vector<unsigned int> link(size + 2, 0);
    auto const byte = [&text](unsigned int node) { return text[node - 1]; };
    for (unsigned int node = head; node < tail; ++node) {
        next[node] = node + 1;
        previous[node + 1] = node;
    }
    unsigned int opener = 0;
    for (unsigned int node = 1; node < tail; ++node) {
        char const c = byte(node);
        if (c == escape_byte) {
            opener = node;
            link[node] = node;
        } else if (opener != 0 && (link[opener] == opener ? c == '[' : IsCodeByte(c))) {
            link[node] = opener;
            link[opener] = node;
        } else {
            opener = 0;
        }
    }
    auto const extend = [&](unsigned int escape) {
        unsigned int last = link[escape];
        for (unsigned int node = next[last]; node != tail; node = next[node]) {
            if (last == escape ? byte(node) != '[' : !IsCodeByte(byte(node))) {
                break;
            }
            link[node] = escape;
            last = node;
        }
        link[escape] = last;
    };
    auto const is_sequence = [&](unsigned int escape) {
        unsigned int const letter = next[link[escape]];
        return link[escape] != escape && letter != tail && IsAsciiLetter(byte(letter));
    };

    // The byte 27 of each sequence the coming pass removes, in order.
    std::vector<unsigned int> removals;
    for (unsigned int node = 1; node < tail; ++node) {
        if (byte(node) == escape_byte && is_sequence(node)) {
            removals.push_back(node);
        }
    }
    std::vector<unsigned int> joins;
    unsigned int before_pass = head;
    while (!removals.empty()) {
        joins.clear();
        for (unsigned int const escape : removals) {
            unsigned int const left = previous[escape];
            unsigned int const right = next[next[link[escape]]];
            next[left] = right;
            previous[right] = left;
            joins.push_back(left);
        }
        // The node now at the position where the pass started; it and all before it are final.
        unsigned int const pass_start = next[before_pass];
        removals.clear();
        unsigned int checked = 0;
        for (unsigned int const left : joins) {
            unsigned int const escape = left == head ? 0 : byte(left) == escape_byte ? left : link[left];
            if (escape <= pass_start || escape == checked) {
                continue;
            }
            checked = escape;
            extend(escape);
            if (is_sequence(escape)) {
                removals.push_back(escape);
            }
        }
        // The next pass starts at the first byte 27 behind pass_start; each of the removals is one.
        if (!removals.empty()) {
            unsigned int start = next[pass_start];
            while (byte(start) != escape_byte) {
                start = next[start];
            }
            before_pass = previous[start];
        }
    }
    for (unsigned int node = next[head]; node != tail;) {
        unsigned int last = node;
        while (last < size && next[last] == last + 1) {
            ++last;
        }
        out.append(text.data() + node - 1, last - node + 1);
        node = next[last];
    }
}

// Removes the sequences from the first byte 27 at or after `start` on, then steps past that
// byte and repeats while another byte 27 follows: a removal can join a stray byte 27 with the
// text behind the removed sequence into a new sequence further on. The rule is kept exactly, joins
// and all, so that every version cleans a text alike.
void RemoveFormatting(StringAllocatingView & out, unsigned int start) {
    StringView const text = out.view();
    unsigned int const position = text.indexOf(escape_byte, start);
    if (position == StringView::not_found) {
        return;
    }
    StringView const rest = text.substr(position);
    Sequence const first = FindSequence(rest, 0);
    if (first.start == StringView::not_found) {
        return;
    }
    String changed(text.data(), position);
    if (!AppendWithoutSequences(rest, first, changed)) {
        changed = String(text.data(), position);
        AppendWithoutJoinedSequences(rest, changed);
    }
    out = StringAllocatingView(std::move(changed));
}

// The stored time: the general time writer's text of the whole second, "YY-MM-DD HH:mm:ss:", and
// the six digits of the microseconds, as the writer cuts them. A file stream writes many records
// a second, so each thread keeps the text of its last second.
void AppendStoredTime(Time const & time, StringAllocatingView & out) {
    if (!time.isValid()) {
        time.appendTo(out, stored_time_is_local, StringStream<LogMessage>::time_format);
        return;
    }
    struct Second {
        unsigned long long number = Time::invalid;
        String text;
    };
    thread_local Second last;
    unsigned long long const second = time.nanoseconds() / Time::nanoseconds_per_second;
    if (second != last.number) {
        StringAllocatingView text;
        // The stored format without its microseconds: "YY-MM-DD HH:mm:ss:".
        constexpr auto & format = StringStream<LogMessage>::time_format;
        static_assert(format[sizeof(format) - 2] == 'f' && format[sizeof(format) - 2 - microsecond_digits] == ':');
        Time(second * Time::nanoseconds_per_second)
            .appendTo(text, stored_time_is_local, StringView(format, sizeof(format) - 1 - microsecond_digits));
        last.text = String(text.view());
        last.number = second;
    }
    out.append(last.text.view());
    unsigned long long microseconds = time.nanoseconds() % Time::nanoseconds_per_second / 1000;
    char digits[microsecond_digits];
    for (unsigned int i = microsecond_digits; i > 0; --i) {
        digits[i - 1] = static_cast<char>('0' + microseconds % 10);
        microseconds /= 10;
    }
    out.append(StringView(digits, microsecond_digits));
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
    unsigned int offset = 0;
    for (Sequence sequence = FindSequence(text, 0); sequence.start != StringView::not_found;
         sequence = FindSequence(text, offset)) {
        if (sequence.start > offset) {
            blocks.add({String(plain_code), String(text.substr(offset, sequence.start))});
        }
        unsigned int text_end = text.indexOf(escape_byte, sequence.end);
        if (text_end == StringView::not_found) {
            text_end = text.size();
        }
        blocks.add(
            {String(text.substr(sequence.start + 2, sequence.end - 1)), String(text.substr(sequence.end, text_end))});
        offset = text_end;
    }
    if (offset < text.size()) {
        blocks.add({String(plain_code), String(text.substr(offset))});
    }
    return blocks;
}

TextBlockBuffer LogMessage::messageBlocks(Font const & font) const {
    TextBlockBuffer blocks;
    Font working = font;
    for (auto const & [codes, text] : ansiiEscapeBlocks()) {
        for (StringView const & piece : codes.split(code_separator, true)) {
            // The codes hold digits and ';' only and end in the text's zero byte, so each piece reads
            // in place; an empty piece reads as Invalid, which is all ones.
            unsigned int code = 0;
            StringStream<unsigned int>::fromString(piece, code);
            working.executeAnsiiCode(code, font);
        }
        if (!text.isEmpty()) {
            blocks.add(TextBlock{text, working});
        }
    }
    return blocks;
}

void StringStream<LogMessage>::toString(LogMessage const & value, StringAllocatingView & out) {
    AppendStoredTime(value.recordTime(), out);
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
