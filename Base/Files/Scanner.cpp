// Scanner: the line reader over a stream or a text, and the field readers shared with
// BufferedScanner.
#include "Base/Files/Scanner.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/FileException.h"
#include "Base/Files/Internal/ByteSearch.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/Internal/NumberReading.h"

#include <bit>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char debug_position_label[] = "scanner_debug_position";
constexpr char debug_position_text[] = "[file] line: [line_number] position: [position]";
constexpr char file_slot[] = "[file]";
constexpr char line_number_slot[] = "[line_number]";
constexpr char position_slot[] = "[position]";
constexpr char too_large_title[] = "Source Too Large";
constexpr char too_large_label[] = "scanner_source_too_large";
constexpr char too_large_text[] =
    "The source has [size] bytes, but at most [limit] bytes can be read at once. Split it into smaller "
    "files, or read it line by line with Scanner instead of BufferedScanner.";
constexpr char line_too_long_label[] = "scanner_line_too_long";
constexpr char line_too_long_text[] =
    "A line of the file has [size] bytes, but a line may have at most [limit] bytes. Check that the file "
    "is text with line feeds between its lines.";
constexpr char size_slot[] = "[size]";
constexpr char limit_slot[] = "[limit]";

// The bytes read from the stream at a time.
constexpr unsigned int read_block_size = 1u << 16;

bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t';
}

bool SameByte(char a, char b, bool ignore_case) noexcept {
    if (!ignore_case) {
        return a == b;
    }
    return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
}

// Appends to `line` the bytes of [begin, end) ahead of the first line feed and returns where it
// stopped: on the line feed, or at `end`. Eight bytes at a time are copied into room reserved
// ahead and tested in the same pass; bytes copied behind the line feed are cut off again.
char const * AppendUpToLineFeed(String & line, char const * begin, char const * end) {
    if constexpr (std::endian::native == std::endian::little) {
        constexpr unsigned int chunk = 256;
        constexpr std::uint64_t ones = 0x0101010101010101ull;
        constexpr std::uint64_t feeds = ones * static_cast<unsigned char>('\n');
        while (end - begin >= 8) {
            unsigned int const size = line.size();
            unsigned int const words = (end - begin < chunk ? static_cast<unsigned int>(end - begin) : chunk) / 8;
            unsigned int const room = size + words * 8;
            if (line.capacity() < room) {
                line.ensureCapacity(room > line.capacity() * 2u ? room : line.capacity() * 2u);
            }
            if (line.capacity() < room || line.data() == String().data()) {
                break;
            }
            char * const out = line.data() + size;
            for (unsigned int i = 0; i < words; ++i) {
                std::uint64_t word = 0;
                std::memcpy(&word, begin + 8 * i, sizeof word);
                std::memcpy(out + 8 * i, &word, sizeof word);
                word ^= feeds;
                std::uint64_t const marks = (word - ones) & ~word & (ones << 7);
                if (marks != 0) {
                    unsigned int const taken = 8 * i + static_cast<unsigned int>(std::countr_zero(marks) >> 3);
                    line.setSize(size + taken);
                    return begin + taken;
                }
            }
            line.setSize(room);
            begin += words * 8;
        }
    }
    char const * const stop = Internal::FindByte(begin, end, '\n');
    line.append(begin, static_cast<unsigned int>(stop - begin));
    return stop;
}

unsigned int HexDigit(char c) noexcept {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned int>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned int>(c - 'a' + 10);
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<unsigned int>(c - 'A' + 10);
    }
    return 16;
}

TranslatedString Decimal(unsigned long long value) {
    StringAllocatingView text;
    StringStream<unsigned long long>::toString(value, text);
    return TranslatedString::DirectString(text.view());
}

unsigned long long & MaxSourceSizeSetting() noexcept {
    static unsigned long long s_max_source_size = Scanner::max_source_size;
    return s_max_source_size;
}

TranslatedString SizeMessage(char const * label, char const * english, unsigned long long size) {
    TranslatedString message = Translatable(label, english);
    message.replace(size_slot, Decimal(size));
    message.replace(limit_slot, Decimal(Scanner::MaxSourceSize()));
    return message;
}

} // namespace

unsigned long long Scanner::MaxSourceSize() noexcept {
    return MaxSourceSizeSetting();
}

void Scanner::SetMaxSourceSizeForTesting(unsigned long long bytes) noexcept {
    MaxSourceSizeSetting() = bytes == 0 || bytes > max_source_size ? max_source_size : bytes;
}

void Scanner::ThrowTooLarge(File const * file, unsigned long long size) {
    TranslatedString const message = SizeMessage(too_large_label, too_large_text, size);
    if (file != nullptr) {
        throw FileException(*file, message, FileException::generic_file);
    }
    throw Exception(message, Translatable(too_large_title), false);
}

void Scanner::ThrowLineTooLong(File const & file, unsigned long long size) {
    throw FileException(file, SizeMessage(line_too_long_label, line_too_long_text, size), FileException::generic_file);
}

Scanner::Scanner(File const & file, char delimiter, File::OpenMode mode)
    : file_(file), time_format_(default_time_format), delimiter_(delimiter), quote_(delimiter) {
    file_.open(mode);
}

Scanner::Scanner(StringView const & text, char delimiter)
    : current_line_(text), time_format_(default_time_format), data_size_(text.size()), delimiter_(delimiter),
      quote_(delimiter) {}

Scanner::Scanner(String const & text, char delimiter) : Scanner(text.view(), delimiter) {}

Scanner::Scanner(char const * text, char delimiter) : Scanner(StringView(text), delimiter) {}

Scanner::Scanner(Scanner const & other)
    : current_line_(other.current_line_), file_(other.file_), time_format_(other.time_format_),
      line_number_(other.line_number_), file_position_(other.file_position_), data_size_(other.data_size_),
      line_position_(other.line_position_), delimiters_passed_(other.delimiters_passed_), delimiter_(other.delimiter_),
      quote_(other.quote_), ignore_empty_lines_(other.ignore_empty_lines_),
      ignore_white_space_(other.ignore_white_space_), has_delimiter_(other.has_delimiter_) {}

Scanner::~Scanner() = default;

void Scanner::setDelimiter(char delimiter) noexcept {
    if (quote_ == delimiter_) {
        quote_ = delimiter;
    }
    delimiter_ = delimiter;
}

// Lines

bool Scanner::refill() {
    if (stream_ended_) {
        return false;
    }
    read_ahead_.setSize(read_block_size);
    std::size_t got = 0;
    if (read_ahead_.capacity() >= read_block_size) {
        got = std::fread(read_ahead_.data(), 1, read_block_size, file_.filePtr());
    }
    read_ahead_.setSize(static_cast<unsigned int>(got));
    read_index_ = 0;
    stream_ended_ = got == 0;
    return !stream_ended_;
}

void Scanner::dropReadAhead() noexcept {
    read_ahead_.clear();
    read_index_ = 0;
    stream_ended_ = false;
}

bool Scanner::nextLine(String & line, bool clear) {
    if (clear) {
        line.clear();
    }
    if (!hasStream() || streamEnded()) {
        return false;
    }
    unsigned long long const max_line = MaxSourceSizeSetting();
    bool leading = ignore_white_space_;
    while (read_index_ < read_ahead_.size() || refill()) {
        char const * const data = read_ahead_.data();
        char const * begin = data + read_index_;
        char const * const end = data + read_ahead_.size();
        if (leading) {
            while (begin < end && IsBlank(*begin)) {
                ++begin;
            }
            read_index_ = static_cast<unsigned int>(begin - data);
            if (begin == end) {
                continue;
            }
            leading = false;
        }
        char const * stop = nullptr;
        if (line.size() + static_cast<unsigned long long>(end - begin) <= max_line) {
            stop = AppendUpToLineFeed(line, begin, end);
        } else {
            stop = Internal::FindByte(begin, end, '\n');
            if (line.size() + static_cast<unsigned long long>(stop - begin) > max_line) {
                ThrowLineTooLong(file_, line.size() + static_cast<unsigned long long>(stop - begin));
            }
            line.append(begin, static_cast<unsigned int>(stop - begin));
        }
        bool const found = stop != end;
        if (found) {
            read_index_ = static_cast<unsigned int>(stop - data) + 1;
            break;
        }
        read_index_ = read_ahead_.size();
    }
    // The length of `line` as it stands, a text it held before included and the dropped blanks
    // not: the position is exact only for a cleared line without ignore-white-space, and callers
    // that count on it keep to that.
    file_position_ += line.size() + 1ull;
    if (!line.isEmpty() && line.last() == '\r') {
        line.removeLast();
    }
    ++line_number_;
    return true;
}

bool Scanner::nextLine() {
    if (!hasStream() || streamEnded()) {
        return false;
    }
    line_position_ = 0;
    delimiters_passed_ = 0;
    bool read = nextLine(current_line_, true);
    if (!ignore_empty_lines_) {
        return read;
    }
    while (read && current_line_.isEmpty()) {
        read = nextLine(current_line_, false);
    }
    return !current_line_.isEmpty();
}

void Scanner::setFilePosition(unsigned long long position, bool read_line) {
    if (!hasStream()) {
        line_position_ = static_cast<unsigned int>(position);
        return;
    }
    file_position_ = position;
    unsigned long long const largest = static_cast<unsigned long long>(std::numeric_limits<long>::max());
    std::fseek(file_.filePtr(), static_cast<long>(position < largest ? position : largest), SEEK_SET);
    dropReadAhead();
    if (read_line) {
        nextLine();
        return;
    }
    current_line_.clear();
    line_position_ = 0;
    delimiters_passed_ = 0;
}

char const * Scanner::getByteArray() {
    return getCurrent();
}

char const * Scanner::getCurrent() const noexcept {
    unsigned int const length = current_line_.size();
    return current_line_.data() + (line_position_ < length ? line_position_ : length);
}

// Position

unsigned long long Scanner::dataSize() const {
    if (data_size_ == unknown_size) {
        data_size_ = file_.fileSize();
    }
    return data_size_;
}

float Scanner::getFilePercent() const {
    return static_cast<float>(file_position_) / static_cast<float>(dataSize());
}

TranslatedString Scanner::getDebugPosition() const {
    TranslatedString text = Translatable(debug_position_label, debug_position_text);
    text.replace(file_slot, TranslatedString::DirectString(file_.view()));
    text.replace(line_number_slot, Decimal(line_number_));
    text.replace(position_slot, Decimal(line_position_));
    return text;
}

// Skipping

inline void Scanner::stepOverBlanks() noexcept {
    if (ignore_white_space_) {
        unsigned int const length = current_line_.size();
        char const * const data = current_line_.data();
        while (line_position_ < length && IsBlank(data[line_position_]) && data[line_position_] != delimiter_) {
            ++line_position_;
        }
    }
}

inline bool Scanner::beginField() noexcept {
    stepOverBlanks();
    return line_position_ < current_line_.size();
}

inline unsigned int Scanner::skipField() noexcept {
    unsigned int const length = current_line_.size();
    char const * const data = current_line_.data();
    if (!has_delimiter_) {
        if (line_position_ < length && data[line_position_] == '\n') {
            ++line_position_;
        }
        return 0;
    }
    if (line_position_ >= length) {
        return 1;
    }
    unsigned int position = line_position_;
    if (data[position] != delimiter_) {
        if (quote_ == delimiter_) {
            // The delimiter test wins over the quote test, so nothing is quoted.
            position = static_cast<unsigned int>(Internal::FindByte(data + position, data + length, delimiter_) - data);
        } else {
            while (position < length) {
                char const c = data[position];
                if (c == delimiter_) {
                    break;
                }
                if (c == quote_) {
                    // Inside quotes only the closing quote matters.
                    auto const * const close =
                        static_cast<char const *>(std::memchr(data + position + 1, quote_, length - position - 1));
                    position = close == nullptr ? length : static_cast<unsigned int>(close - data) + 1;
                    continue;
                }
                ++position;
            }
        }
    }
    unsigned int const walked = position - line_position_;
    if (position < length) {
        ++delimiters_passed_;
        line_position_ = position + 1;
    } else {
        line_position_ = length;
    }
    return walked + 1;
}

unsigned int Scanner::skipWhiteSpace() {
    stepOverBlanks();
    return line_position_;
}

unsigned int Scanner::skip() {
    return skipField();
}

template <class Match>
bool Scanner::walkTo(Match const & match) {
    unsigned int const length = current_line_.size();
    char const * const data = current_line_.data();
    bool in_quote = false;
    for (; line_position_ < length; ++line_position_) {
        if (match(line_position_)) {
            return true;
        }
        char const c = data[line_position_];
        if (!in_quote && c == delimiter_) {
            ++delimiters_passed_;
        } else if (c == quote_) {
            in_quote = !in_quote;
        }
    }
    return false;
}

bool Scanner::skipTo(char c, bool ignore_case) {
    char const * const data = current_line_.data();
    return walkTo([&](unsigned int position) { return SameByte(data[position], c, ignore_case); });
}

bool Scanner::skipTo(Buffer<char> const & any_of, bool ignore_case) {
    char const * const data = current_line_.data();
    return walkTo([&](unsigned int position) {
        for (char const c : any_of) {
            if (SameByte(data[position], c, ignore_case)) {
                return true;
            }
        }
        return false;
    });
}

bool Scanner::skipTo(char const * text, bool ignore_case) {
    if (line_position_ >= current_line_.size()) {
        return false;
    }
    if (text == nullptr || *text == 0) {
        return line_position_ != 0;
    }
    unsigned int const length = current_line_.size();
    char const * const data = current_line_.data();
    return walkTo([&](unsigned int position) {
        for (unsigned int i = 0; text[i] != 0; ++i) {
            if (position + i >= length || !SameByte(data[position + i], text[i], ignore_case)) {
                return false;
            }
        }
        return true;
    });
}

// Field readers

template <class T>
T Scanner::readInteger() noexcept {
    if (!beginField()) {
        return std::is_signed_v<T> ? std::numeric_limits<T>::lowest() : std::numeric_limits<T>::max();
    }
    char const * const data = current_line_.data();
    char const * text = data + line_position_;
    T const value = NumberReading::ReadBoundedAt<T>(text);
    line_position_ = static_cast<unsigned int>(text - data);
    skipField();
    return value;
}

template <class T>
T Scanner::readFloating() noexcept {
    if (!beginField()) {
        return std::numeric_limits<T>::quiet_NaN();
    }
    char const * const data = current_line_.data();
    char const * text = data + line_position_;
    T value;
    if constexpr (std::is_same_v<T, float>) {
        value = NumberReading::ReadFloatAt(text);
    } else {
        value = NumberReading::ReadDoubleAt(text);
    }
    line_position_ = static_cast<unsigned int>(text - data);
    skipField();
    return value;
}

template <class T>
T Scanner::readHex() noexcept {
    if (!beginField()) {
        return std::numeric_limits<T>::max();
    }
    unsigned int const length = current_line_.size();
    char const * const data = current_line_.data();
    T value = 0;
    for (; line_position_ < length; ++line_position_) {
        unsigned int const digit = HexDigit(data[line_position_]);
        if (digit > 15) {
            break;
        }
        value = static_cast<T>((value << 4) | digit);
    }
    skipField();
    return value;
}

template <>
char Scanner::getNext<char>() {
    if (!beginField()) {
        return 0;
    }
    return current_line_[line_position_++];
}

template <>
signed char Scanner::getNext<signed char>() {
    return readInteger<signed char>();
}

template <>
unsigned char Scanner::getNext<unsigned char>() {
    return readInteger<unsigned char>();
}

template <>
short Scanner::getNext<short>() {
    return readInteger<short>();
}

template <>
unsigned short Scanner::getNext<unsigned short>() {
    return readInteger<unsigned short>();
}

template <>
int Scanner::getNext<int>() {
    return readInteger<int>();
}

template <>
unsigned int Scanner::getNext<unsigned int>() {
    return readInteger<unsigned int>();
}

template <>
long long Scanner::getNext<long long>() {
    return readInteger<long long>();
}

template <>
float Scanner::getNext<float>() {
    return readFloating<float>();
}

template <>
double Scanner::getNext<double>() {
    return readFloating<double>();
}

template <>
bool Scanner::getNext<bool>() {
    if (!beginField()) {
        return false;
    }
    char const c = current_line_[line_position_++];
    skipField();
    return c == 'T' || c == 't' || c == 'Y' || c == 'y' || c == '1';
}

template <>
String Scanner::getNext<String>() {
    return String(getNext());
}

template <>
Time Scanner::getNext<Time>() {
    if (!beginField()) {
        return Time();
    }
    StringView const field = getNext();
    Time time;
    try {
        time.setTimeFromString(field, true, time_format_);
    } catch (Exception const &) {
        time = Time();
    }
    // A second skip, which drops the field behind the time: files written for this reader
    // expect it, so it stays.
    skipField();
    return time;
}

template <>
unsigned char Scanner::getNextHex<unsigned char>() {
    return readHex<unsigned char>();
}

template <>
unsigned int Scanner::getNextHex<unsigned int>() {
    return readHex<unsigned int>();
}

StringView Scanner::getNext() {
    if (!beginField()) {
        return StringView();
    }
    char const * const begin = current_line_.data() + line_position_;
    unsigned int const walked = skipField();
    if (walked <= 1) {
        return StringView(begin, 0);
    }
    unsigned int size = walked - 1;
    if (begin[size - 1] == '\n') {
        --size;
    }
    char const * first = begin;
    if (size > 0 && *first == quote_) {
        ++first;
        --size;
    }
    if (size > 0 && first[size - 1] == quote_) {
        --size;
    }
    return StringView(first, size);
}

void Scanner::getNext(String & out) {
    if (!beginField()) {
        return;
    }
    unsigned int const length = current_line_.size();
    char const * const data = current_line_.data();
    if (!has_delimiter_ && !ignore_white_space_) {
        if (data[line_position_] == '\n') {
            ++line_position_;
        }
        return;
    }
    bool in_quote = false;
    unsigned int run = line_position_;
    unsigned int position = line_position_;
    bool stepped_delimiter = false;
    for (; position < length; ++position) {
        char const c = data[position];
        if (!in_quote) {
            if (has_delimiter_ ? c == delimiter_ : (c == '\t' || c == '\r' || c == ' ')) {
                stepped_delimiter = has_delimiter_;
                break;
            }
        }
        if (c == quote_) {
            out.append(data + run, position - run);
            run = position + 1;
            in_quote = !in_quote;
        }
    }
    out.append(data + run, position - run);
    line_position_ = position;
    if (stepped_delimiter) {
        ++delimiters_passed_;
        ++line_position_;
    }
}

} // namespace QELTA
