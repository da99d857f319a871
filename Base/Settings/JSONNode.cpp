// JSONNode: the tree, its JSON reader (a loop over an explicit stack that keeps the steps of the
// recursive grammar and their results exactly), the compact and pretty writers, and the escapes.
#include "Base/Settings/JSONNode.h"

#include "Base/Settings/Internal/JSONNodeArena.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Files/File.h"
#include "Base/Files/Scanner.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Time/Time.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <ostream>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char error_title[] = "JSON Error";
constexpr char unexpected_char_label[] = "json_unexpected_char";
constexpr char unexpected_char_text[] = "Unexpected char: [char] at [file_position]";
constexpr char duplicate_label[] = "json_unexpected_duplicate";
constexpr char duplicate_text[] = "JSON already has child of name: [child_name] at [file_position]";
constexpr char bad_child_label[] = "json_bad_child";
constexpr char bad_child_text[] = "Name could not be read in as expected at [file_position]";
constexpr char char_slot[] = "[char]";
constexpr char child_name_slot[] = "[child_name]";
constexpr char file_position_slot[] = "[file_position]";
constexpr char time_format[] = "YYYY/MM/DDTHH:mm:ss.fffZ";
constexpr char true_text[] = "true";
// The most children a node has for its names to be searched one by one, without a table.
constexpr unsigned int small_object = 16;
constexpr char false_text[] = "false";

// The escapes of the seven bytes (backslash, 0x08, 0x0C, line feed, carriage return, tab, double
// quote): the letter behind the backslash, or 0 for a byte that is written as it is.
struct EscapeTable {
    char letter[256] = {};
    char plain[256] = {};

    constexpr EscapeTable() {
        constexpr char plains[] = {'\\', '\b', '\f', '\n', '\r', '\t', '"'};
        constexpr char letters[] = {'\\', 'b', 'f', 'n', 'r', 't', '"'};
        for (unsigned int i = 0; i < 7; ++i) {
            letter[static_cast<unsigned char>(plains[i])] = letters[i];
            plain[static_cast<unsigned char>(letters[i])] = plains[i];
        }
    }
};

constexpr EscapeTable escapes;

// Appends to a String with geometric growth and without a call per piece, since the writers put
// millions of short pieces; the size is handed back to the String on growth and at the end. A
// failed allocation leaves the String empty, as the String's own growth does, and drops the rest.
class Sink {
  public:
    explicit Sink(String & out) noexcept : out_(out), size_(out.size()) {}
    ~Sink() { commit(); }
    Sink(Sink const &) = delete;
    Sink & operator=(Sink const &) = delete;

    void put(char c) {
        if (room(1)) {
            out_.data()[size_++] = c;
        }
    }
    void put(StringView const & text) {
        unsigned int const count = text.size();
        if (count != 0 && room(count)) {
            std::memcpy(out_.data() + size_, text.data(), count);
            size_ += count;
        }
    }
    void putTabs(unsigned int count) {
        if (room(count)) {
            std::memset(out_.data() + size_, '\t', count);
            size_ += count;
        }
    }
    // Replaces the last byte written; nothing when there is none.
    void replaceLast(char c) noexcept {
        if (size_ != 0) {
            out_.data()[size_ - 1] = c;
        }
    }

  private:
    bool room(unsigned int count) { return !failed_ && count <= out_.capacity() - size_ ? true : grow(count); }
    bool grow(unsigned int count) {
        if (failed_) {
            return false;
        }
        unsigned long long const needed = static_cast<unsigned long long>(size_) + count;
        unsigned long long const wanted = std::max(needed, out_.capacity() + out_.capacity() / 2ull + 64);
        unsigned long long const largest = 0xFFFFFFFEull; // the terminator needs the last index
        commit();
        if (needed > largest) {
            failed_ = true;
            return false;
        }
        out_.ensureCapacity(static_cast<unsigned int>(std::min(wanted, largest)));
        if (out_.data() == BufferDetail::empty_text || out_.capacity() < needed) {
            failed_ = true;
            size_ = out_.size();
            return false;
        }
        return true;
    }
    void commit() {
        if (!failed_ && size_ != out_.size()) {
            out_.setSize(size_);
        }
    }

    String & out_;
    unsigned int size_;
    bool failed_ = false;
};

// Appends `text` escaped. Every pattern of the table is one byte long, so the leftmost match of
// the seven is simply the next byte that has an escape.
void AppendEscaped(Sink & out, StringView const & text) {
    char const * run = text.begin();
    char const * const end = text.end();
    for (char const * p = run; p != end; ++p) {
        char const letter = escapes.letter[static_cast<unsigned char>(*p)];
        if (letter != 0) {
            out.put(StringView(run, static_cast<unsigned int>(p - run)));
            char const pair[2] = {'\\', letter};
            out.put(StringView(pair, 2));
            run = p + 1;
        }
    }
    out.put(StringView(run, static_cast<unsigned int>(end - run)));
}

// A table of the names of `count` nodes, the first node of a name winning.
std::unique_ptr<JSONNode::NameTable> NamesOf(JSONNode * const * nodes, unsigned int count) {
    auto names = std::make_unique<JSONNode::NameTable>();
    names->reserve(count);
    for (unsigned int i = 0; i < count; ++i) {
        if (!nodes[i]->nodeName().isEmpty()) {
            names->emplace(nodes[i]->nodeName().view(), nodes[i]);
        }
    }
    return names;
}

bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t';
}

bool IsArraySeparator(char c) noexcept {
    return c == '\t' || c == '\n' || c == '\r' || c == ' ' || c == ',';
}

bool IsNumberByte(char c) noexcept {
    return StringView::IsDigit(c) || c == '+' || c == '-' || c == '.' || c == 'E' || c == 'e';
}

TranslatedString Direct(StringView const & text) {
    return TranslatedString::DirectString(text);
}

} // namespace

// The cursor of the reader over the scanner's current line, kept in registers and handed back to
// the scanner before each call that reads it. `ended` records that nextLine() failed: the line
// then counts as used up, so that no step reads the last line twice.
class JSONNode::Reader {
  public:
    // Without an arena, the nodes and texts read go on the heap.
    explicit Reader(Scanner & scanner, Arena * arena = nullptr) : scanner_(scanner), arena_(arena) { load(); }
    ~Reader() { store(); }
    Reader(Reader const &) = delete;
    Reader & operator=(Reader const &) = delete;

    // The steps of the grammar; see the header for their results.
    bool parseJSON(JSONNode & node);
    bool parseJSONContent(JSONNode & node, char c);
    void readChildrenNodes(JSONNode & node);
    void readArray(JSONNode & node);
    void readData(JSONNode & node);

  private:
    struct Disposer {
        void operator()(JSONNode * node) const noexcept { Dispose(node); }
    };
    // An owned child on its way into the tree.
    using Pending = std::unique_ptr<JSONNode, Disposer>;

    // A container being read: its body runs one member a turn. `owned` nodes are not attached yet
    // (the node of the first frame is the caller's); `separator` is set when the container's
    // value came from parseJSONContent, whose separator step runs once the body has ended. The
    // children of a fresh node in the arena are `gathered`: they wait in `siblings_` from `first`
    // on, and move into the arena, as one block of the exact size, when the container ends. Such
    // an object gets no name table (it is built when first needed); a new name is checked against
    // those of the waiting children one by one, or, beyond a small object, against `names`, a
    // table of the reader's own.
    struct Frame {
        JSONNode * node;
        NameTable * names;
        unsigned int first;
        bool array;
        bool owned;
        bool separator;
        bool gathered;
        bool named;
    };

    enum class Turn { GO_ON, ENDED };

    void load() noexcept {
        String const & line = scanner_.currentLine();
        line_ = line.data();
        size_ = line.size();
        position_ = scanner_.linePosition();
    }
    void store() noexcept { scanner_.setLinePosition(position_); }
    bool nextLine() {
        if (!ended_) {
            store();
            if (scanner_.nextLine()) {
                load();
                return true;
            }
            ended_ = true;
            load();
        }
        position_ = size_;
        return false;
    }

    // The next byte that is not a blank or tab, taken; line ends and zero bytes move to the next
    // line; 0 at the end of the input.
    char nextSignificant();
    // The next byte that is not a blank or tab, not taken, moving to the next lines as needed; 0
    // at the end of the input (`ended_` then tells it from a zero byte in the line).
    char peek();
    // Steps over tabs, blanks, line ends and commas; false at the end of the input.
    bool skipSeparators();
    [[noreturn]] void throwUnexpected(char c);

    // Runs containers until the stack is empty; the first frame's separator result.
    bool run();
    // One member of the container at the top.
    Turn objectTurn();
    Turn arrayTurn();
    // parseJSONContent: a scalar is read at once and gives true or false; a container pushes a
    // frame and gives `pushed`.
    enum class Content { OPEN, CLOSED, PUSHED };
    Content content(JSONNode & node, char c, bool owned);
    // The separator step of parseJSONContent: true when the enclosing container closed.
    bool separator();
    void readNumber(JSONNode & node, char first);
    void readWord(JSONNode & node);
    // parseJSON on a new child: Content as above, the child still held by `child` unless pushed.
    Content named(Pending & child);
    // What follows a name: ':' and the first byte `c` of the value (a '{' opens it at once), or
    // an early ',' or '}', given as `early` (OPEN or CLOSED) with a false result.
    bool valueAfterName(char & c, Content & early);
    void push(JSONNode & node, bool array, bool owned, bool separator);
    // Whether the object being read already has a child of that name.
    bool taken(StringView const & name) const;
    // Gives a read child to the container being read.
    void adopt(JSONNode * child);
    // Hands the waiting children of the ended container at the top to its node.
    void finish(Frame & frame);
    // A new child: as JSONNode(*name) (an OBJECT, whatever the name), or without one as JSONNode().
    Pending make(StringView const * name = nullptr);
    // Sets (or, with `append`, extends) the value of a node.
    void put(JSONNode & node, StringView const & text, bool append);

    Scanner & scanner_;
    Arena * const arena_;
    // Where a value is put together before it goes to its node.
    String scratch_;
    Buffer<JSONNode *> siblings_;
    char const * line_ = nullptr;
    unsigned int size_ = 0;
    unsigned int position_ = 0;
    bool ended_ = false;
    Buffer<Frame> stack_;
};

char JSONNode::Reader::nextSignificant() {
    while (true) {
        while (position_ < size_ && IsBlank(line_[position_])) {
            ++position_;
        }
        if (position_ >= size_) {
            if (!nextLine()) {
                return 0;
            }
            continue;
        }
        char const c = line_[position_++];
        if (c == '\n' || c == '\r') {
            continue;
        }
        if (c == 0) {
            if (!nextLine()) {
                return 0;
            }
            continue;
        }
        return c;
    }
}

char JSONNode::Reader::peek() {
    while (true) {
        while (position_ < size_ && IsBlank(line_[position_])) {
            ++position_;
        }
        if (position_ < size_) {
            return line_[position_];
        }
        if (!nextLine()) {
            return 0;
        }
    }
}

bool JSONNode::Reader::skipSeparators() {
    while (true) {
        while (position_ < size_ && IsArraySeparator(line_[position_])) {
            ++position_;
        }
        if (position_ < size_) {
            return true;
        }
        if (!nextLine()) {
            return false;
        }
    }
}

void JSONNode::Reader::throwUnexpected(char c) {
    store();
    throw Exception(UnexpectedCharErrorString(c, scanner_), ErrorTitle(), false);
}

bool JSONNode::Reader::separator() {
    char const c = nextSignificant();
    switch (c) {
    case 0:
    case ']':
    case '}':
        return true;
    case ',':
        return false;
    default:
        throwUnexpected(c);
    }
}

JSONNode::Reader::Pending JSONNode::Reader::make(StringView const * name) {
    if (arena_ != nullptr) {
        return Pending(arena_->makeNode(name));
    }
    return Pending(name == nullptr ? new JSONNode() : new JSONNode(*name));
}

void JSONNode::Reader::put(JSONNode & node, StringView const & text, bool append) {
    if (arena_ != nullptr && node.in_arena_ && (!append || node.value_.isEmpty())) {
        node.value_ = arena_->text(text);
    } else if (append) {
        node.touch();
        if (Internal::IsBorrowed(node.value_)) {
            node.value_ = String(node.value_.view());
        }
        node.value_.append(text);
    } else {
        node.assignValue(text);
    }
}

void JSONNode::Reader::readNumber(JSONNode & node, char first) {
    node.type_ = NUMBER;
    bool const skip_blanks = scanner_.ignoreWhiteSpace();
    // `first` was usually taken from just before the cursor; then, while no blank is left out,
    // the number is a run of the line.
    unsigned int start = position_;
    bool const behind = start != 0 && line_[start - 1] == first;
    bool joined = !behind;
    if (joined) {
        scratch_.clear();
        scratch_.append(first);
    }
    while (position_ < size_) {
        char const c = line_[position_];
        if (IsNumberByte(c)) {
            ++position_;
        } else if (skip_blanks && IsBlank(c)) {
            if (!joined) {
                scratch_.clear();
                scratch_.append(first);
                joined = true;
            }
            scratch_.append(StringView(line_ + start, position_ - start));
            start = ++position_;
        } else {
            break;
        }
    }
    if (!joined) {
        put(node, StringView(line_ + start - 1, position_ - start + 1), true);
        return;
    }
    scratch_.append(StringView(line_ + start, position_ - start));
    put(node, scratch_.view(), true);
}

void JSONNode::Reader::readData(JSONNode & node) {
    store();
    StringView const text = scanner_.getNext();
    if ((text.isEmpty() || text.last() != '\\') && text.indexOf('\\') == StringView::not_found) {
        load();
        put(node, text, false); // nothing to join or unescape: the text goes from the line
        return;
    }
    scratch_ = text;
    while (!scratch_.isEmpty() && scratch_.last() == '\\') {
        unsigned int run = 0;
        while (run < scratch_.size() && scratch_[scratch_.size() - 1 - run] == '\\') {
            ++run;
        }
        if (run % 2 == 0) {
            break; // an escaped backslash: the quote that ended the token was real
        }
        scratch_.removeLast();
        scratch_.append('"');
        scratch_.append(scanner_.getNext());
    }
    load();
    ConvertFromJSONString(scratch_);
    put(node, scratch_.view(), false);
}

// An unquoted array member: its bytes up to a separator or ']'.
void JSONNode::Reader::readWord(JSONNode & node) {
    unsigned int const start = position_;
    while (position_ < size_ && !IsArraySeparator(line_[position_]) && line_[position_] != ']') {
        ++position_;
    }
    StringView word(line_ + start, position_ - start);
    word.trimWhiteSpace();
    if (word == StringView(true_text) || word == StringView(false_text)) {
        node.type_ = BOOLEAN;
    } else if (word.isEmpty()) {
        node.type_ = STRING;
    } else if (word.isNumeric() || word[0] == '-' || word[0] == '.') {
        node.type_ = NUMBER;
    } else {
        node.type_ = STRING; // unquoted text is accepted as a string
    }
    put(node, word, false);
}

JSONNode::Reader::Content JSONNode::Reader::content(JSONNode & node, char c, bool owned) {
    switch (c) {
    case 0:
    case ',':
    case ']':
        return Content::OPEN;
    case '}':
        return Content::CLOSED;
    case '"':
        node.type_ = STRING;
        readData(node);
        break;
    case '[':
    case '{':
        node.type_ = c == '[' ? ARRAY : OBJECT;
        push(node, c == '[', owned, true);
        return Content::PUSHED;
    // The tail of each word is taken on trust: "tree" reads as true.
    case 't':
        node.type_ = BOOLEAN;
        put(node, StringView("T"), true);
        position_ += 3;
        break;
    case 'f':
        node.type_ = BOOLEAN;
        put(node, StringView("F"), true);
        position_ += 4;
        break;
    case 'n':
        node.type_ = STRING;
        put(node, StringView(), false);
        position_ += 3;
        break;
    case 'N':
        node.type_ = NUMBER;
        put(node, StringView(), false);
        position_ += 2;
        break;
    default:
        if (StringView::IsDigit(c) || c == '-' || c == '.') {
            readNumber(node, c);
        }
        break; // any other byte leaves the node as it is
    }
    return separator() ? Content::CLOSED : Content::OPEN;
}

bool JSONNode::Reader::valueAfterName(char & c, Content & early) {
    c = nextSignificant();
    switch (c) {
    case ',':
        early = Content::OPEN;
        return false;
    case '}':
        early = Content::CLOSED;
        return false;
    case ':':
        c = nextSignificant();
        return true;
    case '{':
        return true;
    default:
        throwUnexpected(c);
    }
}

JSONNode::Reader::Content JSONNode::Reader::named(Pending & child) {
    char c = 0;
    Content early = Content::OPEN;
    if (!valueAfterName(c, early)) {
        return early;
    }
    Content const result = content(*child, c, true);
    if (result == Content::PUSHED) {
        child.release(); // the frame owns it now
    }
    return result;
}

JSONNode::Reader::Turn JSONNode::Reader::objectTurn() {
    char c = 0;
    while (true) {
        while (position_ < size_) {
            c = line_[position_];
            if (c == '"' || c == '{' || c == '[' || c == '}' || c == ']') {
                break;
            }
            ++position_;
        }
        if (position_ < size_) {
            ++position_;
            break;
        }
        if (!nextLine()) {
            return Turn::ENDED; // an unterminated object ends with the input
        }
    }
    Pending child;
    Content result;
    switch (c) {
    case '"': {
        scanner_.setDelimiter('"');
        store();
        StringView const name = scanner_.getNext();
        load();
        if (taken(name)) {
            store();
            throw Exception(DuplicateChildErrorString(name, scanner_), ErrorTitle(), false);
        }
        child = make(&name);
        result = named(child);
        break;
    }
    case '[':
    case '{':
        child = make();
        result = content(*child, c, true);
        if (result == Content::PUSHED) {
            child.release();
        }
        break;
    default:
        return Turn::ENDED;
    }
    if (result == Content::PUSHED) {
        return Turn::GO_ON;
    }
    adopt(child.release());
    return result == Content::CLOSED ? Turn::ENDED : Turn::GO_ON;
}

JSONNode::Reader::Turn JSONNode::Reader::arrayTurn() {
    if (!skipSeparators()) {
        return Turn::ENDED;
    }
    char const c = peek();
    if (c == 0 && ended_) {
        return Turn::ENDED;
    }
    if (c == ']') {
        ++position_;
        return Turn::ENDED;
    }
    Pending child = make();
    if (c == '{' || c == '[') {
        ++position_;
        Content const result = content(*child, c, true);
        if (result == Content::PUSHED) {
            child.release();
            return Turn::GO_ON;
        }
        adopt(child.release());
        return result == Content::CLOSED ? Turn::ENDED : Turn::GO_ON;
    }
    if (c == '"') {
        ++position_;
        child->type_ = STRING;
        scanner_.setDelimiter('"');
        readData(*child);
        scanner_.setDelimiter(0);
    } else {
        readWord(*child);
    }
    adopt(child.release());
    return Turn::GO_ON;
}

void JSONNode::Reader::push(JSONNode & node, bool array, bool owned, bool separator) {
    bool const gathered = arena_ != nullptr && node.in_arena_ && node.children_.isEmpty() &&
                          node.named_children_.load(std::memory_order_relaxed) == nullptr;
    stack_.add(Frame{&node, nullptr, siblings_.size(), array, owned, separator, gathered, false});
}

bool JSONNode::Reader::taken(StringView const & name) const {
    Frame const & frame = stack_.last();
    if (!frame.gathered) {
        return frame.node->findNamed(name) != nullptr;
    }
    if (name.isEmpty()) {
        return false; // never entered under a name
    }
    if (frame.names != nullptr) {
        return frame.names->contains(name);
    }
    for (unsigned int i = frame.first; i < siblings_.size(); ++i) {
        String const & other = siblings_[i]->name_;
        if (other.size() == name.size() && std::memcmp(other.data(), name.data(), name.size()) == 0) {
            return true;
        }
    }
    return false;
}

void JSONNode::Reader::adopt(JSONNode * child) {
    Frame & frame = stack_.last();
    if (!frame.gathered) {
        frame.node->attach(child);
        return;
    }
    siblings_.add(child);
    if (child->name_.isEmpty()) {
        return;
    }
    frame.named = true;
    if (frame.names != nullptr) {
        frame.names->emplace(child->name_.view(), child);
    } else if (siblings_.size() - frame.first > small_object) {
        frame.names = NamesOf(siblings_.data() + frame.first, siblings_.size() - frame.first).release();
    }
}

void JSONNode::Reader::finish(Frame & frame) {
    delete frame.names;
    frame.names = nullptr;
    unsigned int const count = siblings_.size() - frame.first;
    if (frame.gathered && count != 0) {
        frame.node->children_ = arena_->nodes(siblings_.data() + frame.first, count);
        frame.node->names_pending_ = frame.named;
        siblings_.setSize(frame.first);
    }
}

bool JSONNode::Reader::run() {
    try {
        while (true) {
            Turn const turn = stack_.last().array ? arrayTurn() : objectTurn();
            if (turn == Turn::GO_ON) {
                continue;
            }
            // The container at the top has ended; each that its separator closes ends too.
            while (true) {
                bool const closed = stack_.last().separator && separator();
                finish(stack_.last());
                JSONNode * const done = stack_.last().node;
                stack_.removeLast();
                if (stack_.isEmpty()) {
                    return closed;
                }
                adopt(done);
                if (!closed) {
                    break;
                }
            }
        }
    } catch (...) {
        for (JSONNode * const child : siblings_) {
            Dispose(child);
        }
        siblings_.clear();
        for (Frame const & frame : stack_) {
            delete frame.names;
            if (frame.owned) {
                Dispose(frame.node);
            }
        }
        stack_.clear();
        throw;
    }
}

bool JSONNode::Reader::parseJSON(JSONNode & node) {
    char c = 0;
    Content early = Content::OPEN;
    if (!valueAfterName(c, early)) {
        return early == Content::CLOSED;
    }
    return parseJSONContent(node, c);
}

bool JSONNode::Reader::parseJSONContent(JSONNode & node, char c) {
    Content const result = content(node, c, false);
    if (result == Content::PUSHED) {
        return run();
    }
    return result == Content::CLOSED;
}

void JSONNode::Reader::readChildrenNodes(JSONNode & node) {
    push(node, false, false, false);
    run();
}

void JSONNode::Reader::readArray(JSONNode & node) {
    push(node, true, false, false);
    run();
}

// Construction and the tree

JSONNode::JSONNode(StringView const & name) : name_(name), type_(OBJECT) {}

void JSONNode::CloneChildren(JSONNode const & from, JSONNode & to) {
    struct Pair {
        JSONNode const * from;
        JSONNode * to;
    };
    Buffer<Pair> work;
    work.add(Pair{&from, &to});
    while (!work.isEmpty()) {
        Pair const pair = work.last();
        work.removeLast();
        for (JSONNode const * child : pair.from->children_) {
            auto * const copy = new JSONNode(child->name_.view());
            copy->type_ = child->type_;
            copy->value_ = child->value_;
            pair.to->attach(copy);
            work.add(Pair{child, copy});
        }
    }
}

// The constructors that read or copy delegate first, so that a node left by a fault or a failed
// allocation is complete and its destructor frees the children read so far.

JSONNode::JSONNode(JSONNode const & other) : JSONNode(other.name_.view()) {
    value_ = other.value_;
    type_ = other.type_;
    CloneChildren(other, *this);
}

JSONNode::JSONNode(JSONNode && other) noexcept
    : children_(std::move(other.children_)),
      named_children_(other.named_children_.exchange(nullptr, std::memory_order_relaxed)), name_(other.name_),
      value_(std::move(other.value_)), type_(other.type_), names_pending_(other.names_pending_), arena_(other.arena_) {
    other.names_pending_ = false;
    if (other.in_arena_) {
        if (arena_ != nullptr) {
            arena_->retain(); // what was taken may live in the arena of the tree it came from
        }
    } else {
        other.arena_ = nullptr; // the share passes to this node
    }
    other.type_ = ROOT;
}

JSONNode & JSONNode::operator=(JSONNode const & other) {
    // Everything is copied before this node's children go, since `other` may be one of them.
    JSONNode copy;
    CloneChildren(other, copy);
    copy.value_ = other.value_;
    copy.type_ = other.type_ == ROOT ? OBJECT : other.type_;
    touch();
    deleteChildren();
    children_ = std::move(copy.children_);
    named_children_.store(copy.named_children_.exchange(nullptr, std::memory_order_relaxed), std::memory_order_relaxed);
    names_pending_ = copy.names_pending_;
    value_ = std::move(copy.value_);
    type_ = copy.type_;
    if (arena_ != nullptr && !in_arena_) {
        Arena::Release(arena_); // nothing of this node lives there any more
        arena_ = nullptr;
    }
    return *this;
}

JSONNode::~JSONNode() {
    if (!children_.isEmpty()) {
        deleteChildren();
    }
    delete named_children_.load(std::memory_order_relaxed); // left by remove() with no child
    if (arena_ != nullptr && !in_arena_) {
        Arena::Release(arena_);
    }
}

void JSONNode::Dispose(JSONNode * node) noexcept {
    if (node->in_arena_) {
        node->~JSONNode();
    } else {
        delete node;
    }
}

void JSONNode::assignValue(StringView const & text) {
    touch();
    if (value_.capacity() == 0) {
        value_ = String(text); // a borrowed text is replaced, never written into
    } else {
        value_ = text;
    }
}

void JSONNode::deleteChildren() noexcept {
    delete named_children_.exchange(nullptr, std::memory_order_relaxed);
    names_pending_ = false;
    // Depth first, in document order: a node is deleted once its children are, so no destructor
    // recurses, and the stack holds one node per level rather than the whole tree. Freeing in the
    // order of allocation keeps the allocator's work low.
    struct Frame {
        JSONNode * node;
        unsigned int next;
    };
    Buffer<Frame> stack;
    stack.add(Frame{this, 0});
    while (!stack.isEmpty()) {
        Frame & frame = stack.last();
        JSONNode * const node = frame.node;
        if (frame.next == node->children_.size()) {
            node->children_.clear();
            stack.removeLast();
            if (node != this) {
                Dispose(node);
            }
            continue;
        }
        JSONNode * const child = node->children_[frame.next++];
        if (child->in_arena_ && !child->arena_->isTouched()) {
            continue; // read and never changed: nothing of it lives on the heap
        }
        if (frame.next < node->children_.size()) {
            __builtin_prefetch(node->children_[frame.next]);
        }
        if (child->children_.isEmpty()) {
            Dispose(child);
        } else {
            stack.add(Frame{child, 0});
        }
    }
}

void JSONNode::attach(JSONNode * child) {
    addChild(child);
    if (!child->name_.isEmpty()) {
        if (NameTable * const names = named_children_.load(std::memory_order_relaxed)) {
            names->emplace(child->name_.view(), child);
        } else {
            names_pending_ = true;
        }
    }
}

void JSONNode::addChild(JSONNode * child) {
    touch();
    if (Internal::IsBorrowed(children_)) {
        children_ = Buffer<JSONNode *>(children_.data(), children_.size()); // never grown in place
    }
    children_.add(child);
}

void JSONNode::touch() noexcept {
    if (in_arena_) {
        arena_->touch();
    }
}

JSONNode::NameTable * JSONNode::table() const {
    NameTable * names = named_children_.load(std::memory_order_acquire);
    if (names != nullptr || !names_pending_) {
        return names;
    }
    // Readers in other threads may build it at the same time; the first one stored is kept. The
    // first child of a name wins, as it does when the table is kept up to date.
    std::unique_ptr<NameTable> built = NamesOf(children_.data(), children_.size());
    const_cast<JSONNode *>(this)->touch();
    if (named_children_.compare_exchange_strong(names, built.get(), std::memory_order_acq_rel,
                                                std::memory_order_acquire)) {
        return built.release();
    }
    return names;
}

bool JSONNode::searchedOneByOne() const noexcept {
    return names_pending_ && children_.size() <= small_object &&
           named_children_.load(std::memory_order_acquire) == nullptr;
}

bool JSONNode::hasNames() const noexcept {
    NameTable const * const names = named_children_.load(std::memory_order_acquire);
    return names != nullptr ? names->size() != 0 : names_pending_;
}

unsigned int JSONNode::size() const {
    if (searchedOneByOne()) {
        unsigned int count = 0;
        for (unsigned int i = 0; i < children_.size(); ++i) {
            StringView const name = children_[i]->name_.view();
            if (!name.isEmpty() && std::none_of(children_.begin(), children_.begin() + i,
                                                [&](JSONNode const * other) { return other->name_.view() == name; })) {
                ++count;
            }
        }
        return count;
    }
    NameTable const * const names = table();
    return names == nullptr ? 0 : static_cast<unsigned int>(names->size());
}

JSONNode * JSONNode::findNamed(StringView const & name) const {
    if (searchedOneByOne()) {
        if (!name.isEmpty()) {
            for (JSONNode * const child : children_) {
                if (child->name_.view() == name) {
                    return child;
                }
            }
        }
        return nullptr;
    }
    NameTable const * const names = table();
    if (names == nullptr) {
        return nullptr;
    }
    auto const found = names->find(name);
    return found == names->end() ? nullptr : found->value();
}

JSONNode::NameTable const & JSONNode::names() const {
    static NameTable const empty;
    NameTable const * const names = table();
    return names != nullptr ? *names : empty;
}

JSONNode::JSONNode(Scanner & scanner) : JSONNode() {
    scanner.setIgnoreEmptyLines(true);
    if (!scanner.hasNext()) {
        return;
    }
    unsigned int const brace = scanner.currentLine().indexOf('{', scanner.linePosition());
    scanner.setLinePosition(brace == String::not_found ? scanner.getLineLength() : brace + 1);
    readOwnChildren(scanner);
}

JSONNode::JSONNode(File & file) : JSONNode() {
    Scanner scanner(file, '|', File::READ_TEXT);
    scanner.setIgnoreEmptyLines(true);
    while (scanner.nextLine()) {
        if (!scanner.currentLine().isEmpty()) {
            unsigned int const brace = scanner.currentLine().indexOf('{');
            scanner.setLinePosition(brace == String::not_found ? scanner.getLineLength() : brace + 1);
            scanner.setDelimiter('"');
            readOwnChildren(scanner);
            return;
        }
    }
}

JSONNode::JSONNode(String const & name, StringView const & text) : JSONNode(name.view()) {
    if (text.isEmpty()) {
        return;
    }
    String pattern;
    pattern.append('"').append(name.view()).append('"').append(':');
    unsigned int const found = text.indexOf(pattern.view());
    if (found == StringView::not_found) {
        return;
    }
    Scanner scanner(text, '|');
    scanner.setLinePosition(found + pattern.size() - 1);
    scanner.setDelimiter('"');
    arena_ = new Arena();
    Reader reader(scanner, arena_);
    reader.parseJSON(*this);
}

void JSONNode::readOwnChildren(Scanner & scanner) {
    arena_ = new Arena();
    {
        Reader reader(scanner, arena_);
        reader.readChildrenNodes(*this);
    }
    if (arena_->isEmpty()) {
        Arena::Release(arena_);
        arena_ = nullptr;
    }
}

JSONNode JSONNode::ParseText(StringView const & text) {
    BufferedScanner scanner(text, '|');
    scanner.setIgnoreEmptyLines(true);
    JSONNode node;
    while (scanner.nextLine()) {
        if (!scanner.currentLine().isEmpty()) {
            unsigned int const brace = scanner.currentLine().indexOf('{');
            scanner.setLinePosition(brace == String::not_found ? scanner.getLineLength() : brace + 1);
            scanner.setDelimiter('"');
            node.readOwnChildren(scanner);
            break;
        }
    }
    return node;
}

bool JSONNode::parseJSON(Scanner & scanner) {
    Reader reader(scanner);
    return reader.parseJSON(*this);
}

bool JSONNode::parseJSONContent(char c, Scanner & scanner) {
    Reader reader(scanner);
    return reader.parseJSONContent(*this, c);
}

void JSONNode::readChildrenNodes(Scanner & scanner) {
    Reader reader(scanner);
    reader.readChildrenNodes(*this);
}

void JSONNode::readData(Scanner & scanner) {
    Reader reader(scanner);
    reader.readData(*this);
}

void JSONNode::readArray(Scanner & scanner) {
    Reader reader(scanner);
    reader.readArray(*this);
}

// Access

JSONNode & JSONNode::operator[](StringView const & name) {
    if (JSONNode * const found = findNamed(name)) {
        return *found;
    }
    return createChildNode(name, OBJECT);
}

JSONNode const & JSONNode::operator[](StringView const & name) const {
    return *names().at(name);
}

bool JSONNode::hasNode(StringView const & name) const {
    return findNamed(name) != nullptr;
}

bool JSONNode::isTrue() const noexcept {
    char const first = value_.isEmpty() ? 0 : value_[0];
    return first == 'T' || first == 't' || first == '1';
}

JSONNode & JSONNode::createChildNode(NodeType type) {
    auto * const child = new JSONNode();
    child->type_ = type;
    addChild(child);
    return *child;
}

JSONNode & JSONNode::createChildNode(StringView const & name, NodeType type) {
    auto * const child = new JSONNode(name);
    child->type_ = type;
    attach(child);
    return *child;
}

void JSONNode::remove(StringView const & name) {
    if (name.isEmpty()) {
        return;
    }
    NameTable * const names = table();
    if (names == nullptr || names->erase(name) == 0) {
        return;
    }
    touch();
    for (unsigned int i = children_.size(); i-- > 0;) {
        if (children_[i]->name_.view() == name) {
            JSONNode * const child = children_[i];
            children_.removeIndex(i);
            Dispose(child);
        }
    }
}

JSONNode & JSONNode::operator=(StringView const & text) {
    type_ = STRING;
    assignValue(text);
    return *this;
}

JSONNode & JSONNode::operator=(Time const & time) {
    type_ = STRING;
    StringAllocatingView text;
    time.appendTo(text, false, time_format);
    assignValue(text.view());
    return *this;
}

bool operator==(JSONNode const & a, JSONNode const & b) {
    struct Pair {
        JSONNode const * a;
        JSONNode const * b;
    };
    Buffer<Pair> work;
    work.add(Pair{&a, &b});
    while (!work.isEmpty()) {
        Pair const pair = work.last();
        work.removeLast();
        JSONNode const & x = *pair.a;
        JSONNode const & y = *pair.b;
        if (x.type_ != y.type_ || x.name_.view() != y.name_.view() || x.children_.size() != y.children_.size()) {
            return false;
        }
        if (x.type_ == JSONNode::BOOLEAN ? x.isTrue() != y.isTrue() : x.value_.view() != y.value_.view()) {
            return false;
        }
        for (unsigned int i = 0; i < x.children_.size(); ++i) {
            work.add(Pair{x.children_[i], y.children_[i]});
        }
    }
    return true;
}

// Writing

namespace {

// Appends a scalar's text; false for a container.
bool AppendScalar(Sink & out, JSONNode const & node) {
    switch (node.type()) {
    case JSONNode::NUMBER:
        out.put(node.value().view());
        return true;
    case JSONNode::BOOLEAN:
        out.put(node.isTrue() ? StringView(true_text) : StringView(false_text));
        return true;
    case JSONNode::STRING:
        out.put('"');
        AppendEscaped(out, node.value().view());
        out.put('"');
        return true;
    default:
        return false;
    }
}

void AppendName(Sink & out, JSONNode const & node, bool pretty) {
    if (node.type() != JSONNode::ROOT && !node.nodeName().isEmpty()) {
        out.put('"');
        AppendEscaped(out, node.nodeName().view());
        out.put(pretty ? StringView("\": ") : StringView("\":"));
    }
}

// The walk's time goes mostly into waiting for nodes and their texts, so while the child at
// `index` is written, the node a few places ahead and the texts of the one nearer are asked for.
constexpr unsigned int prefetch_nodes = 8;
constexpr unsigned int prefetch_texts = 4;

void Prefetch(JSONNode const & node, unsigned int index) noexcept {
    unsigned int const count = node.childCount();
    if (index + prefetch_nodes < count) {
        __builtin_prefetch(node.children()[index + prefetch_nodes]);
    }
    if (index + prefetch_texts < count) {
        JSONNode const & near = *node.children()[index + prefetch_texts];
        __builtin_prefetch(near.nodeName().data());
        __builtin_prefetch(near.value().data());
    }
}

// Asks for the first children of a container that is about to be walked.
void PrefetchFirst(JSONNode const & node) noexcept {
    unsigned int const count = std::min(node.childCount(), prefetch_nodes + 1);
    for (unsigned int i = 0; i < count; ++i) {
        __builtin_prefetch(node.children()[i]);
    }
}

// A container being written and the next of its children.
struct WriteFrame {
    JSONNode const * node;
    unsigned int next;
    unsigned int tabs;
};

void OpenCompact(Sink & out, JSONNode const & node, Buffer<WriteFrame> & stack) {
    if (node.type() == JSONNode::ARRAY) {
        out.put('[');
        if (!node.value().isEmpty()) {
            out.put(node.value().view());
            if (node.childCount() != 0) {
                out.put(',');
            }
        }
    } else {
        out.put('{');
    }
    PrefetchFirst(node);
    stack.add(WriteFrame{&node, 0, 0});
}

void CloseCompact(Sink & out, JSONNode const & node) {
    bool const array = node.type() == JSONNode::ARRAY;
    bool const bare = array ? node.value().isEmpty() && node.childCount() == 0 : node.childCount() == 0;
    if (bare) {
        out.put(array ? ']' : '}');
    } else {
        out.replaceLast(array ? ']' : '}');
    }
}

void WriteCompact(Sink & out, JSONNode const & top, bool with_name) {
    if (with_name) {
        AppendName(out, top, false);
    }
    if (AppendScalar(out, top)) {
        return;
    }
    Buffer<WriteFrame> stack;
    OpenCompact(out, top, stack);
    while (!stack.isEmpty()) {
        WriteFrame & frame = stack.last();
        JSONNode const & node = *frame.node;
        if (frame.next == node.childCount()) {
            CloseCompact(out, node);
            stack.removeLast();
            if (!stack.isEmpty()) {
                out.put(',');
            }
            continue;
        }
        JSONNode const & child = node[frame.next++];
        Prefetch(node, frame.next);
        if (node.type() != JSONNode::ARRAY) {
            AppendName(out, child, false); // array members are written without names
        }
        if (AppendScalar(out, child)) {
            out.put(',');
        } else {
            OpenCompact(out, child, stack);
        }
    }
}

void OpenPretty(Sink & out, JSONNode const & node, unsigned int tabs, Buffer<WriteFrame> & stack) {
    out.putTabs(tabs);
    AppendName(out, node, true);
    if (AppendScalar(out, node)) {
        return;
    }
    if (node.type() == JSONNode::ARRAY) {
        out.put('[');
        out.put(node.value().view());
        if (!node.value().isEmpty() && node.childCount() != 0) {
            out.put(',');
        }
    } else {
        out.put('{');
    }
    PrefetchFirst(node);
    stack.add(WriteFrame{&node, 0, tabs});
}

void ClosePretty(Sink & out, JSONNode const & node, unsigned int tabs) {
    bool const array = node.type() == JSONNode::ARRAY;
    if (node.childCount() != 0) {
        out.replaceLast('\n');
        out.putTabs(tabs);
    } else if (!array) {
        out.put('\n'); // an empty object takes two lines
        out.putTabs(tabs);
    }
    out.put(array ? ']' : '}');
}

void WritePretty(Sink & out, JSONNode const & top, unsigned int tabs) {
    Buffer<WriteFrame> stack;
    OpenPretty(out, top, tabs, stack);
    while (!stack.isEmpty()) {
        WriteFrame & frame = stack.last();
        JSONNode const & node = *frame.node;
        if (frame.next == node.childCount()) {
            unsigned int const node_tabs = frame.tabs;
            stack.removeLast();
            ClosePretty(out, node, node_tabs);
            if (!stack.isEmpty()) {
                out.put(',');
            }
            continue;
        }
        JSONNode const & child = node[frame.next++];
        Prefetch(node, frame.next);
        unsigned int const child_tabs = stack.size() <= JSONNode::max_pretty_depth ? frame.tabs + 1 : frame.tabs;
        out.put('\n');
        unsigned int const depth = stack.size();
        OpenPretty(out, child, child_tabs, stack);
        if (stack.size() == depth) {
            out.put(','); // a scalar
        }
    }
}

} // namespace

void JSONNode::write(String & out) const {
    Sink sink(out);
    WriteCompact(sink, *this, true);
}

void JSONNode::write(File & file) const {
    String text;
    write(text);
    file.writeText(text.view());
}

void JSONNode::write(std::ostream & out) const {
    String text;
    write(text);
    out.write(text.data(), text.size());
}

void JSONNode::writePretty(String & out, unsigned int tabs) const {
    Sink sink(out);
    WritePretty(sink, *this, tabs);
}

void JSONNode::writePretty(File & file) const {
    String text;
    writePretty(text, 0);
    file.writeText(text.view());
}

void JSONNode::writePretty(std::ostream & out) const {
    String text;
    writePretty(text, 0);
    out.write(text.data(), text.size());
}

void JSONNode::writeValue(String & out) const {
    Sink sink(out);
    WriteCompact(sink, *this, false);
}

void JSONNode::WriteTabs(String & out, unsigned int tabs) {
    for (unsigned int i = 0; i < tabs; ++i) {
        out.append('\t');
    }
}

void JSONNode::ConvertToJSONString(String & text) {
    String escaped;
    {
        Sink sink(escaped);
        AppendEscaped(sink, text.view());
    }
    text = std::move(escaped);
}

void JSONNode::ConvertFromJSONString(String & text) {
    char * const data = text.data();
    unsigned int const size = text.size();
    auto const * const first = static_cast<char *>(std::memchr(data, '\\', size));
    if (first == nullptr) {
        return;
    }
    // Each escape is a backslash and a letter, so the leftmost match of the seven is the next
    // backslash that a letter of the table follows; a lone backslash stays.
    unsigned int write = static_cast<unsigned int>(first - data);
    unsigned int read = write;
    while (read < size) {
        char const c = data[read];
        if (c == '\\' && read + 1 < size) {
            char const plain = escapes.plain[static_cast<unsigned char>(data[read + 1])];
            if (plain != 0) {
                data[write++] = plain;
                read += 2;
                continue;
            }
        }
        data[write++] = c;
        ++read;
    }
    text.setSize(write);
}

TranslatedString JSONNode::UnexpectedCharErrorString(char c, Scanner const & scanner) {
    TranslatedString text = Translatable(unexpected_char_label, unexpected_char_text);
    text.replace(char_slot, Direct(StringView(&c, 1)));
    text.replace(file_position_slot, scanner.getDebugPosition());
    return text;
}

TranslatedString JSONNode::DuplicateChildErrorString(StringView const & name, Scanner const & scanner) {
    TranslatedString text = Translatable(duplicate_label, duplicate_text);
    text.replace(child_name_slot, Direct(name));
    text.replace(file_position_slot, scanner.getDebugPosition());
    return text;
}

TranslatedString JSONNode::BadChildErrorString(Scanner const & scanner) {
    TranslatedString text = Translatable(bad_child_label, bad_child_text);
    text.replace(file_position_slot, scanner.getDebugPosition());
    return text;
}

TranslatedString JSONNode::ErrorTitle() {
    return Translatable(error_title);
}

} // namespace QELTA
