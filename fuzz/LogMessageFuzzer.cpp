// Fuzz target: the text rules of a log record on arbitrary bytes. The bytes are the record's text;
// it goes through message() with each choice of flags, ansiiEscapeBlocks() and the stored form,
// which is read back. Nothing may read outside the text, run out of stack or take more than
// linear time, and the checks below hold for every text. A short text is also cleaned by the
// removal rule written the obvious, quadratic way, and the two must agree.
#include "Base/Logging/LogMessage.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Time/Time.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

using namespace QELTA;

using Fuzzing::Check;

bool IsCodeByte(char c) {
    return (c >= '0' && c <= '9') || c == ';';
}

bool IsAsciiLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// One pass: every sequence from the first byte on goes.
std::string WithoutSequences(std::string const & text) {
    std::string kept;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == '\x1b' && at + 1 < text.size() && text[at + 1] == '[') {
            std::size_t end = at + 2;
            while (end < text.size() && IsCodeByte(text[end])) {
                ++end;
            }
            if (end < text.size() && IsAsciiLetter(text[end])) {
                at = end + 1;
                continue;
            }
        }
        kept += text[at++];
    }
    return kept;
}

// A pass from each byte 27 in turn, the next one searched behind where the last one started.
std::string Cleaned(std::string text) {
    for (std::size_t at = text.find('\x1b'); at != std::string::npos; at = text.find('\x1b', at + 1)) {
        text = text.substr(0, at) + WithoutSequences(text.substr(at));
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 1 << 20) {
        return 0;
    }
    // An owned copy, so that a rule that looks one byte too far meets the sanitizer.
    String const raw(StringView(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size)));
    LogMessage const message(Time(2021, 2, 3, 4, 5, 6, false), raw.view(), 7, 321);

    for (int flags = 0; flags < 8; ++flags) {
        bool const keep_new_lines = (flags & 1) != 0;
        bool const keep_tabs = (flags & 2) != 0;
        bool const keep_formatting = (flags & 4) != 0;
        StringAllocatingView const text = message.message(keep_new_lines, keep_tabs, keep_formatting);
        if (flags == 7) {
            Check(text.view() == raw.view());
        }
        Check(keep_new_lines || (text.view().indexOf('\n') == StringView::not_found &&
                                 text.view().indexOf('\r') == StringView::not_found));
        Check(keep_tabs || text.view().indexOf('\t') == StringView::not_found);
    }
    if (size <= 512) {
        StringAllocatingView const cleaned = message.message(true, true, false);
        Check(std::string(cleaned.data(), cleaned.size()) == Cleaned(std::string(raw.data(), raw.size())));
    }
    (void)message.ansiiEscapeBlocks();

    StringAllocatingView stored;
    StringStream<LogMessage>::toString(message, stored);
    LogMessage read;
    StringStream<LogMessage>::fromString(stored.view(), read);
    Check(read.rawMessage().view() == message.message(false, false, false).view());
    Check(read.logRecordLevel() == 7 && read.sessionNumber() == 321);
    return 0;
}
