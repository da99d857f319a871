// The settings files: options of each type, the ascii and binary readers and writers, escapes.
#include "Base/Settings/INIFactory.h"

#include "Base/Color/RGBColor.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/FileException.h"
#include "Base/Files/Scanner.h"
#include "Base/Host/KeyEvent.h"
#include "Base/Text/StringStream.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace QELTA {
namespace {

constexpr char end_mark[] = ";end_file";
constexpr char comment_mark = ';';
constexpr char read_delimiter = '=';
constexpr char time_format[] = "YYYY/MM/DD HH:mm:ss";
constexpr unsigned char title_level = 2;
constexpr char log_indent[] = "  ";
constexpr char log_separator[] = " = ";

// The escapes, written as the byte and the letter behind the backslash.
struct Escape {
    char byte;
    char letter;
};
constexpr Escape escapes[] = {{'\b', 'b'}, {'\f', 'f'}, {'\n', 'n'}, {'\t', 't'}, {'=', 'e'}};

bool IsTrimmed(char c) noexcept {
    return c == '\t' || c == '\r' || c == ' ';
}

bool IsTrue(char c) noexcept {
    return c == 'T' || c == '1' || c == 't';
}

void WriteBytes(std::FILE * file, void const * bytes, std::uint32_t size) {
    std::fwrite(&size, sizeof(size), 1, file);
    if (size != 0) {
        std::fwrite(bytes, 1, size, file);
    }
}

template <class T>
T ReadPlain(char const * bytes) noexcept {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

template <class T>
String Text(T const & value) {
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    return String(out.view());
}

// The text form, the parsing and the binary payload of each type. `Parse` gets the unescaped,
// non-empty text and the current value.
template <class T>
struct Codec;

template <>
struct Codec<char> {
    static String Format(char value) { return String(&value, 1); }
    static char Parse(StringView const & text, char) { return text[0]; }
    static void Write(std::FILE * file, char value) { WriteBytes(file, &value, 1); }
    static char Read(char const * bytes, char) { return bytes[0]; }
};

template <>
struct Codec<unsigned int> {
    static String Format(unsigned int value) { return Text(value); }
    static unsigned int Parse(StringView const & text, unsigned int) {
        unsigned int value = 0;
        StringStream<unsigned int>::fromString(text.substr(text[0] == '+' ? 1 : 0), value);
        return value;
    }
    static void Write(std::FILE * file, unsigned int value) { WriteBytes(file, &value, sizeof(value)); }
    static unsigned int Read(char const * bytes, unsigned int) { return ReadPlain<unsigned int>(bytes); }
};

template <>
struct Codec<bool> {
    static String Format(bool value) { return String(value ? "T" : "F"); }
    static bool Parse(StringView const & text, bool) { return IsTrue(text[0]); }
    static void Write(std::FILE * file, bool value) {
        unsigned char const byte = value ? 1 : 0;
        WriteBytes(file, &byte, 1);
    }
    static bool Read(char const * bytes, bool) { return bytes[0] != 0; }
};

template <>
struct Codec<String> {
    static String Format(String const & value) { return value; }
    static String Parse(StringView const & text, String const &) { return String(text); }
};

template <>
struct Codec<File> {
    static String Format(File const & value) { return String(value.view()); }
    // A path no File can hold leaves the option as it was, so one bad line can't stop a read.
    static File Parse(StringView const & text, File const & current) {
        try {
            return File(String(text));
        } catch (Exception const &) {
            return current;
        }
    }
};

template <>
struct Codec<Time> {
    static String Format(Time const & value) {
        StringAllocatingView out;
        value.appendTo(out, false, StringView(time_format));
        return String(out.view());
    }
    static Time Parse(StringView const & text, Time const &) {
        Time value;
        try {
            value.setTimeFromString(text, false, StringView(time_format));
        } catch (Exception const &) {
            value = Time();
        }
        return value;
    }
    static void Write(std::FILE * file, Time const & value) {
        unsigned long long const count = value.nanoseconds();
        WriteBytes(file, &count, sizeof(count));
    }
    static Time Read(char const * bytes, Time const &) { return Time(ReadPlain<unsigned long long>(bytes)); }
};

template <>
struct Codec<TimeSpan> {
    static String Format(TimeSpan const & value) { return Text(value); }
    static TimeSpan Parse(StringView const & text, TimeSpan const &) {
        TimeSpan value;
        try {
            StringStream<TimeSpan>::fromString(text, value);
        } catch (Exception const &) {
            value = TimeSpan();
        }
        return value;
    }
    static void Write(std::FILE * file, TimeSpan const & value) {
        unsigned long long pair[2] = {value.start.nanoseconds(), static_cast<unsigned long long>(value.duration)};
        WriteBytes(file, pair, sizeof(pair));
    }
    static TimeSpan Read(char const * bytes, TimeSpan const &) {
        return TimeSpan(Time(ReadPlain<unsigned long long>(bytes)), ReadPlain<long long>(bytes + 8));
    }
};

template <>
struct Codec<UUID> {
    static String Format(UUID const & value) { return Text(value); }
    static UUID Parse(StringView const & text, UUID const &) {
        UUID value;
        StringStream<UUID>::fromString(text, value);
        return value;
    }
    static void Write(std::FILE * file, UUID const & value) { WriteBytes(file, &value, sizeof(UUID)); }
    static UUID Read(char const * bytes, UUID const &) { return ReadPlain<UUID>(bytes); }
};

template <>
struct Codec<Vector<64, bool>> {
    using Bits = Vector<64, bool>;
    static String Format(Bits const & value) {
        String text;
        text.ensureCapacity(2 * Bits::size);
        for (unsigned int i = 0; i < Bits::size; ++i) {
            if (i != 0) {
                text.append(',');
            }
            text.append(value[i] ? 'T' : 'F');
        }
        return text;
    }
    static Bits Parse(StringView const & text, Bits const &) {
        Bits value;
        unsigned int index = 0;
        bool at_entry_start = true;
        for (char const c : text) {
            if (index >= Bits::size) {
                break;
            }
            if (c == ',') {
                ++index;
                at_entry_start = true;
                continue;
            }
            if (at_entry_start) {
                value.set(index, IsTrue(c));
                at_entry_start = false;
            }
        }
        return value;
    }
    static void Write(std::FILE * file, Bits const & value) { WriteBytes(file, value.bits, sizeof(value.bits)); }
    static Bits Read(char const * bytes, Bits const &) {
        Bits value;
        std::memcpy(value.bits, bytes, sizeof(value.bits));
        return value;
    }
};

template <>
struct Codec<RGBColor> {
    static String Format(RGBColor const & value) { return Text(value); }
    static RGBColor Parse(StringView const & text, RGBColor const &) {
        RGBColor value;
        StringStream<RGBColor>::fromString(text, value);
        return value;
    }
    static void Write(std::FILE * file, RGBColor const & value) { WriteBytes(file, &value, sizeof(RGBColor)); }
    static RGBColor Read(char const * bytes, RGBColor const &) { return ReadPlain<RGBColor>(bytes); }
};

template <>
struct Codec<KeyEvent> {
    static constexpr unsigned int payload_size = 9;
    static String Format(KeyEvent const & value) { return Text(value); }
    static KeyEvent Parse(StringView const & text, KeyEvent const & current) {
        KeyEvent value = current;
        StringStream<KeyEvent>::fromString(text, value);
        return value;
    }
    // Field by field, so that no padding byte reaches the file.
    static void Write(std::FILE * file, KeyEvent const & value) {
        unsigned char bytes[payload_size];
        std::memcpy(bytes, &value.key, 4);
        bytes[4] = value.modifiers;
        std::memcpy(bytes + 5, &value.device, 4);
        WriteBytes(file, bytes, payload_size);
    }
    static KeyEvent Read(char const * bytes, KeyEvent const &) {
        return KeyEvent(ReadPlain<std::uint32_t>(bytes), static_cast<std::uint8_t>(bytes[4]),
                        ReadPlain<std::uint32_t>(bytes + 5));
    }
};

// Types whose binary payload is their escaped text.
template <class T>
constexpr bool has_text_payload = std::is_same_v<T, String> || std::is_same_v<T, File>;

StringView Trimmed(StringView text) noexcept {
    unsigned int end = text.size();
    while (end != 0 && IsTrimmed(text[end - 1])) {
        --end;
    }
    unsigned int start = 0;
    while (start < end && IsTrimmed(text[start])) {
        ++start;
    }
    return text.substr(start, end);
}

} // namespace

INIOption::~INIOption() = default;

// INIObject

template <class T>
INIFactory::INIObject<T>::~INIObject() = default;

namespace {

// Text without a backslash or a carriage return is its own unescaped form and is parsed in place.
bool NeedsUnescaping(StringView const & text) noexcept {
    for (char const c : text) {
        if (c == '\\' || c == '\r') {
            return true;
        }
    }
    return false;
}

} // namespace

template <class T>
void INIFactory::INIObject<T>::read(Scanner & scanner) {
    StringView const field = scanner.getNext();
    if (field.isEmpty()) {
        return;
    }
    if (NeedsUnescaping(field)) {
        fromString(String(field));
    } else {
        store(Codec<T>::Parse(field, current()));
    }
}

template <class T>
void INIFactory::INIObject<T>::store(T && value) {
    if (resource_ != nullptr) {
        resource_->set(std::move(value));
    } else {
        *value_ = std::move(value);
    }
}

template <class T>
void INIFactory::INIObject<T>::fromString(String text) {
    if (text.isEmpty()) {
        return;
    }
    ConvertFromINIString(text);
    if (text.isEmpty()) {
        return;
    }
    if constexpr (std::is_same_v<T, String>) {
        store(std::move(text));
    } else {
        store(Codec<T>::Parse(text.view(), current()));
    }
}

template <class T>
String INIFactory::INIObject<T>::toString() const {
    String text = Codec<T>::Format(current());
    ConvertToINIString(text);
    return text;
}

template <class T>
void INIFactory::INIObject<T>::writeBinary(std::FILE * file) const {
    if constexpr (has_text_payload<T>) {
        String const text = toString();
        WriteBytes(file, text.data(), text.size());
    } else {
        Codec<T>::Write(file, current());
    }
}

template <class T>
void INIFactory::INIObject<T>::readBinary(char const * bytes) {
    if constexpr (has_text_payload<T>) {
        fromString(String(bytes));
    } else {
        store(Codec<T>::Read(bytes, current()));
    }
}

template <class T>
INIOption * INIFactory::INIObject<T>::clone() const {
    return resource_ != nullptr ? new INIObject(resource_) : new INIObject(value_);
}

template class INIFactory::INIObject<char>;
template class INIFactory::INIObject<unsigned int>;
template class INIFactory::INIObject<bool>;
template class INIFactory::INIObject<File>;
template class INIFactory::INIObject<String>;
template class INIFactory::INIObject<Time>;
template class INIFactory::INIObject<TimeSpan>;
template class INIFactory::INIObject<UUID>;
template class INIFactory::INIObject<Vector<64, bool>>;
template class INIFactory::INIObject<RGBColor>; // declared in Base/Color/ColorOptions.h
template class INIFactory::INIObject<KeyEvent>; // declared in Base/Host/KeyEvent.h

// INIFactory

namespace {

constexpr unsigned int label_block_size = 1u << 16;

} // namespace

INIFactory::INIFactory(INIFactory && other) noexcept
    : added_(std::move(other.added_)), label_blocks_(std::move(other.label_blocks_)),
      block_used_(std::exchange(other.block_used_, 0)), block_size_(std::exchange(other.block_size_, 0)),
      options_(std::move(other.options_)), hash_options_(std::move(other.hash_options_)),
      names_built_(std::exchange(other.names_built_, 0)), hashes_built_(std::exchange(other.hashes_built_, 0)),
      extra_options_(std::move(other.extra_options_)), order_(std::move(other.order_)), delimiter_(other.delimiter_),
      comment_(other.comment_), preserve_order_(other.preserve_order_), use_hash_labels_(false) {}

INIFactory & INIFactory::operator=(INIFactory && other) noexcept {
    if (this != &other) {
        clear();
        freeLabels();
        added_ = std::move(other.added_);
        label_blocks_ = std::move(other.label_blocks_);
        block_used_ = std::exchange(other.block_used_, 0);
        block_size_ = std::exchange(other.block_size_, 0);
        options_ = std::move(other.options_);
        hash_options_ = std::move(other.hash_options_);
        names_built_ = std::exchange(other.names_built_, 0);
        hashes_built_ = std::exchange(other.hashes_built_, 0);
        extra_options_ = std::move(other.extra_options_);
        order_ = std::move(other.order_);
        delimiter_ = other.delimiter_;
        comment_ = other.comment_;
        preserve_order_ = other.preserve_order_;
        use_hash_labels_ = false;
    }
    return *this;
}

INIFactory::~INIFactory() {
    clear();
    freeLabels();
}

StringView INIFactory::storeLabel(StringView const & label) {
    if (label.size() > block_size_ - block_used_ || label_blocks_.isEmpty()) {
        unsigned int const size = label.size() > label_block_size ? label.size() : label_block_size;
        char * const block = static_cast<char *>(std::malloc(size == 0 ? 1 : size));
        if (block == nullptr) {
            throw std::bad_alloc();
        }
        label_blocks_.add(block);
        block_used_ = 0;
        block_size_ = size;
    }
    char * const copy = label_blocks_.last() + block_used_;
    if (!label.isEmpty()) {
        std::memcpy(copy, label.data(), label.size());
    }
    block_used_ += label.size();
    return StringView(copy, label.size());
}

void INIFactory::freeLabels() noexcept {
    for (char * block : label_blocks_) {
        std::free(block);
    }
    label_blocks_.clear();
    block_used_ = 0;
    block_size_ = 0;
}

Dictionary<StringView, INIOption *> const & INIFactory::names() const {
    if (names_built_ < added_.size()) {
        options_.reserve(options_.size() + (added_.size() - names_built_));
        for (; names_built_ < added_.size(); ++names_built_) {
            Added const & added = added_[names_built_];
            options_[added.label] = added.option;
        }
    }
    return options_;
}

INIFactory::HashTable const & INIFactory::hashes() const {
    if (hashes_built_ < added_.size()) {
        hash_options_.reserve(hash_options_.size() + (added_.size() - hashes_built_));
        for (; hashes_built_ < added_.size(); ++hashes_built_) {
            Added const & added = added_[hashes_built_];
            hash_options_[LabelHash(added.label)] = added.option;
        }
    }
    return hash_options_;
}

void INIFactory::addINIOption(StringView const & label, INIOption * option) {
    added_.add({storeLabel(label), option});
    if (preserve_order_) {
        order_.add(String(label));
    }
}

bool INIFactory::addManagedOption(StringView const & label, StringView const & value, bool replace) {
    String key(label);
    auto const existing = extra_options_.find(key);
    if (existing != extra_options_.end()) {
        if (!replace) {
            return false;
        }
        *existing->value() = value;
        return true;
    }
    String * const text = new String(value);
    addINIOption(label, new INIObject<String>(text));
    extra_options_.insert(std::move(key), text);
    return true;
}

bool INIFactory::hasOption(StringView const & label) const {
    return names().contains(label) || extra_options_.contains(String(label));
}

bool INIFactory::hasOption(std::uint64_t hash) const {
    return hashes().contains(hash);
}

String INIFactory::getOption(StringView const & label, StringView const & default_value) const {
    if (!extra_options_.isEmpty()) {
        if (auto const extra = extra_options_.find(String(label)); extra != extra_options_.end()) {
            return *extra->value();
        }
    }
    Dictionary<StringView, INIOption *> const & options = names();
    if (auto const option = options.find(label); option != options.end()) {
        return option->value()->toString();
    }
    return String(default_value);
}

Dictionary<String, String> INIFactory::extraOptions() const {
    Dictionary<String, String> copy;
    copy.reserve(extra_options_.size());
    for (auto const & [label, text] : extra_options_) {
        copy.insert(label, *text);
    }
    return copy;
}

void INIFactory::clear() {
    for (Added const & added : added_) {
        delete added.option;
    }
    for (auto & [label, text] : extra_options_) {
        delete text;
    }
    added_.clear();
    options_.clear();
    hash_options_.clear();
    names_built_ = 0;
    hashes_built_ = 0;
    extra_options_.clear();
}

// Reading

// A line is "label=value": the label runs to the first '=' and is trimmed; the value is the
// field behind it up to the next '=', so "key=a=b" gives "a". Lines without a label, comment
// lines (";...") and, from ";end_file" on, the rest of the source are passed over. A label no
// option claims becomes an extra option with its text.
void INIFactory::read(Scanner & scanner) {
    while (scanner.nextLine()) {
        String const & line = scanner.currentLine();
        unsigned int start = 0;
        while (start < line.size() && (line[start] == ' ' || line[start] == '\t')) {
            ++start;
        }
        scanner.setLinePosition(start);
        unsigned int span = scanner.skip();
        if (span < 2) {
            continue;
        }
        StringView label(line.data() + start, span - 1);
        if (label[label.size() - 1] == '\n') {
            label = label.substr(0, label.size() - 1);
            if (label.isEmpty()) {
                continue;
            }
        }
        char const quote = scanner.quoteCharacter();
        if (!label.isEmpty() && label[0] == quote) {
            label = label.substr(1);
        }
        if (!label.isEmpty() && label[label.size() - 1] == quote) {
            label = label.substr(0, label.size() - 1);
        }
        label = Trimmed(label);
        if (label.isEmpty()) {
            continue;
        }
        if (label[0] == comment_mark) {
            if (label.beginsWith(StringView(end_mark))) {
                return;
            }
            continue;
        }
        Dictionary<StringView, INIOption *> const & options = names();
        if (auto const found = options.find(label); found != options.end()) {
            found->value()->read(scanner);
            continue;
        }
        String * const text = new String();
        INIOption * const option = new INIObject<String>(text);
        extra_options_.insert(String(label), text);
        addINIOption(label, option);
        option->read(scanner);
    }
}

void INIFactory::readAsciiFile(File & file) {
    try {
        Scanner scanner(file, read_delimiter, File::READ_TEXT);
        read(scanner);
    } catch (Exception const & error) {
        if (file.isOpen()) {
            file.close();
        }
        throw FileException(file, error.message(), FileException::invalid_file);
    }
}

void INIFactory::readBinaryFile(File & file) {
    bool const opened = !file.isOpen();
    std::FILE * const stream = opened ? file.open(File::READ_BINARY) : file.filePtr();
    // The rest of the stream at once; records are then cut from memory, each checked against
    // the bytes that are really there.
    File::LargeByteBuffer data;
    unsigned long long const expected = file.fileSize();
    if (expected != FileCachedData::unknown_size && expected < (1ull << 30)) {
        data.ensureCapacity(expected + 1); // one read fills it, and the next finds the end
    }
    constexpr unsigned long long block = 1 << 16;
    for (;;) {
        unsigned long long const used = data.size();
        unsigned long long const room = data.capacity() > used ? data.capacity() - used : 0;
        unsigned long long const step = room != 0 ? room : block;
        data.setSize(used + step);
        if (data.data() == nullptr) {
            data.setSize(0); // no memory for the file: it reads as empty
            break;
        }
        std::size_t const got = std::fread(data.data() + used, 1, step, stream);
        data.setSize(used + got);
        if (got < step) {
            break;
        }
    }
    if (opened) {
        file.close();
    }
    HashTable const & options = hashes();
    // A payload of up to binary_payload_limit - 1 bytes, then zeros: the terminator of a text,
    // and what a fixed-size value reads of a payload cut short.
    constexpr unsigned int zeros = 32;
    static_assert(zeros > sizeof(UUID) && zeros > sizeof(TimeSpan), "fixed payloads read within the zeros");
    char payload[binary_payload_limit + zeros];
    unsigned char const * at = data.data();
    unsigned char const * const end = at + data.size();
    std::uint32_t count = 0;
    if (end - at < 4) {
        return;
    }
    std::memcpy(&count, at, 4);
    at += 4;
    for (std::uint32_t record = 0; record < count && end - at >= 12; ++record) {
        std::uint64_t hash = 0;
        std::uint32_t size = 0;
        std::memcpy(&hash, at, 8);
        std::memcpy(&size, at + 8, 4);
        at += 12;
        if (static_cast<std::size_t>(end - at) < size) {
            break;
        }
        unsigned char const * const bytes = at;
        at += size;
        if (size >= binary_payload_limit) {
            continue;
        }
        auto const option = options.find(hash);
        if (option == options.end()) {
            continue;
        }
        if (size != 0) {
            std::memcpy(payload, bytes, size);
        }
        std::memset(payload + size, 0, zeros);
        option->value()->readBinary(payload);
    }
}

// Writing

void INIFactory::appendLine(String & out, StringView const & label, INIOption const & option) const {
    if (use_hash_labels_) {
        StringAllocatingView hash;
        StringStream<unsigned long long>::toString(LabelHash(label), hash);
        out.append(hash.view());
    } else {
        out.append(label);
    }
    out.append(delimiter_);
    out.append(option.toString().view());
    out.append('\n');
}

void INIFactory::writeToAsciiFile(File & file, bool add_end_mark) {
    String text;
    Dictionary<StringView, INIOption *> const & options = names();
    if (preserve_order_) {
        for (String const & label : order_) {
            if (auto const option = options.find(label.view()); option != options.end()) {
                appendLine(text, label.view(), *option->value());
            }
        }
    } else if (use_hash_labels_) {
        // The hash table's order, with each option's label found through the label table.
        Dictionary<std::uint64_t, StringView> labels;
        labels.reserve(options.size());
        for (auto const & [label, option] : options) {
            labels.insert(LabelHash(label), label);
        }
        for (auto const & [hash, option] : hashes()) {
            auto const label = labels.find(hash);
            if (label != labels.end()) {
                appendLine(text, label->value(), *option);
            }
        }
    } else {
        for (auto const & [label, option] : options) {
            appendLine(text, label, *option);
        }
    }
    if (add_end_mark) {
        text.append(StringView(end_mark));
        text.append('\n');
    }
    file.writeText(text.view());
}

void INIFactory::writeToBinaryFile(File & file) {
    bool const opened = !file.isOpen();
    // Through a temporary file, as the ascii form: a save cut short leaves the old settings.
    std::FILE * const stream = opened ? file.open(File::WRITE_BINARY_TEMP) : file.filePtr();
    HashTable const & options = hashes();
    std::uint32_t const count = static_cast<std::uint32_t>(options.size());
    std::fwrite(&count, sizeof(count), 1, stream);
    for (auto const & [hash, option] : options) {
        std::fwrite(&hash, sizeof(hash), 1, stream);
        option->writeBinary(stream);
    }
    if (opened) {
        file.close();
    }
}

void INIFactory::writeToLog(StringView const & title, LogPtr & log, unsigned char level) const {
    if (!log.hasPipe()) {
        return;
    }
    log.addMessage(log.index(), title, title_level);
    for (auto const & [label, option] : names()) {
        String line{StringView(log_indent)};
        line.append(label);
        line.append(StringView(log_separator));
        line.append(option->toString().view());
        log.addMessage(log.index(), line.view(), level);
    }
}

// Escapes

void INIFactory::ConvertToINIString(String & text) {
    unsigned int extra = 0;
    for (char const c : text.view()) {
        extra += c == '\\' || c == '\b' || c == '\f' || c == '\n' || c == '\t' || c == '=';
    }
    if (extra == 0) {
        return;
    }
    String escaped;
    escaped.ensureCapacity(text.size() + extra);
    for (char const c : text.view()) {
        if (c == '\\') {
            escaped.append(StringView("\\\\"));
            continue;
        }
        char letter = 0;
        for (Escape const & escape : escapes) {
            if (escape.byte == c) {
                letter = escape.letter;
            }
        }
        if (letter != 0) {
            escaped.append('\\');
            escaped.append(letter);
        } else {
            escaped.append(c);
        }
    }
    text = std::move(escaped);
}

// One pass that gives what the three stored steps give: pairs of backslashes become a carriage
// return as placeholder, the letter escapes their bytes, and every carriage return (placeholders
// and those that stood in the text alike) a backslash.
void INIFactory::ConvertFromINIString(String & text) {
    StringView const source = text.view();
    if (source.isEmpty()) {
        return;
    }
    // The first '\\' or '\r': most texts hold neither and stay as they are.
    char const * const begin = source.data();
    auto const * const slash = static_cast<char const *>(std::memchr(begin, '\\', source.size()));
    unsigned int const before_slash = slash != nullptr ? static_cast<unsigned int>(slash - begin) : source.size();
    auto const * const return_at = static_cast<char const *>(std::memchr(begin, '\r', before_slash));
    unsigned int const first = return_at != nullptr ? static_cast<unsigned int>(return_at - begin) : before_slash;
    if (first == source.size()) {
        return;
    }
    String plain(source.data(), first);
    plain.ensureCapacity(source.size());
    for (unsigned int i = first; i < source.size(); ++i) {
        char const c = source[i];
        if (c == '\r') {
            plain.append('\\');
            continue;
        }
        if (c != '\\' || i + 1 >= source.size()) {
            plain.append(c);
            continue;
        }
        char const next = source[i + 1];
        if (next == '\\') {
            plain.append('\\');
            ++i;
            continue;
        }
        char byte = 0;
        for (Escape const & escape : escapes) {
            if (escape.letter == next) {
                byte = escape.byte;
            }
        }
        if (byte != 0) {
            plain.append(byte);
            ++i;
        } else {
            plain.append(c);
        }
    }
    text = std::move(plain);
}

// INIInterface

INIInterface & INIInterface::operator=(INIInterface const & other) {
    if (this != &other) {
        default_ini_file_ = other.default_ini_file_;
    }
    return *this;
}

INIInterface::~INIInterface() = default;

void INIInterface::writeToLog(StringView const & title, LogPtr log, unsigned char level) {
    INIFactory factory;
    prepareForINI(factory);
    getINI(factory);
    factory.writeToLog(title, log, level);
}

void INIInterface::writeToLog(LogPtr log, unsigned char level) {
    writeToLog(default_ini_file_.getPath(File::NAME), log, level);
}

bool INIInterface::readINIOptions(File & file) {
    if (file.isEmpty()) {
        return false; // no settings file: "b" alone would name a file in the working folder
    }
    try {
        bool const ascii = file.exists();
        File binary;
        if (!ascii) {
            binary = file;
            binary.appendPath("b");
            if (!binary.exists()) {
                return false;
            }
        }
        INIFactory factory;
        prepareForINI(factory);
        getINI(factory);
        if (ascii) {
            factory.readAsciiFile(file);
        } else {
            factory.readBinaryFile(binary);
        }
        finishReadingINI(factory);
        return true;
    } catch (Exception const &) {
        return false;
    }
}

bool INIInterface::readINIOptions() {
    return readINIOptions(default_ini_file_);
}

void INIInterface::finishReadingINI(INIFactory &) {}

void INIInterface::prepareForINI(INIFactory &) {}

bool INIInterface::saveINIOptions(File & file, bool) {
    try {
        INIFactory factory;
        prepareForINI(factory);
        getINI(factory);
        factory.writeToAsciiFile(file, false);
        return true;
    } catch (Exception const &) {
        return false;
    }
}

bool INIInterface::saveINIOptions(bool flag) {
    if (default_ini_file_.isEmpty()) {
        return false;
    }
    return saveINIOptions(default_ini_file_, flag);
}

} // namespace QELTA
