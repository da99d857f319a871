// JSONNode: the library's tree for structured text, and the lenient reader and the writers of its
// JSON and YAML forms.
//
// A node owns its children, deeply: the destructor, copies, comparison and both writers walk the
// tree with a stack of their own, so a tree of any depth (a million nested arrays) is safe to
// build, copy, write and drop. A tree belongs to one thread; reading a tree shared by threads is
// safe while nothing writes, but operator[] on a non-const node may add a child.
//
// A tree that a constructor or ParseText reads keeps the nodes it read, with their names and
// values, in blocks of its own instead of one heap block per node and text; the blocks go with
// the last node that needs them. So a node may be moved out of such a tree and outlive it, and
// nodes added later are ordinary heap nodes. The protected reading steps, called on a node that
// already exists, put what they read on the heap. A tree none of whose read nodes has changed is
// dropped without a walk over its nodes. A node's name table is built when a search first needs
// it (a small object is searched without one); building it from a const node is safe while other
// threads read the same tree.
//
// The JSON reader is lenient by design (see the class comment) and walks its input with an
// explicit stack, never recursing on depth. It raises an Exception titled "JSON Error" for three
// faults only: an unexpected byte where a value or a separator must stand, a name given twice in
// one object, and (for callers) a name that could not be read; the message names the byte or
// the name and the scanner's position. The node under construction keeps what was read until
// the fault; a child that failed is dropped. Scanner failures (a line too long, opening a file)
// pass through. The YAML reader reports nothing: lines of a shape it doesn't know become keys or
// strings.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <atomic>
#include <cstdint>
#include <iosfwd>

namespace QELTA {

class File;
class Scanner;
class Time;

// A node has a type, a name (its key in its parent; empty for array elements and roots) and a
// value, which is text for every type: numbers keep the digits as read, so that they survive a
// read and write unchanged. Children are kept in document order; those with a non-empty name are
// also found by name, the first of a name winning (a name is never renamed while its node is
// attached, since the table keys by the child's own name).
//
// What the JSON reader accepts, deliberately: trailing and repeated commas; `true`, `false`,
// `null` and `NaN` judged by their first byte only ("tree" reads as true); `null` as an empty
// string and `NaN` as an empty number (written back as nothing); unquoted words in arrays as
// strings, and array words beginning with '-' or '.' as numbers; numbers as any run of digits,
// signs, points and exponent letters; containers and strings cut short by the end of the input;
// and text before the first '{' of a file. A file whose first non-empty line holds no '{' has
// that line skipped, so a document that starts with '[' on its own line reads as empty. Names
// are taken as they stand, without unescaping, while the writers escape them; "\u" escapes stay
// as they are in both directions.
class QELTA_BASE_EXPORT JSONNode {
  public:
    enum NodeType : std::uint32_t {
        NUMBER = 0,
        ARRAY = 1,   // value: raw text written before the children, usually empty
        BOOLEAN = 2, // value: "T", "F", "true" or "false"; the first byte decides
        STRING = 3,  // value: the text, unescaped
        OBJECT = 4,
        ROOT = 5, // an object written without a name; below the top it acts as an OBJECT
    };

    // The decimals of numbers that callers write into nodes; no operation here reads it.
    static constexpr unsigned int s_number_of_decimals = 10;
    // The deepest level whose children the pretty form indents further.
    static constexpr unsigned int max_pretty_depth = 64;

    // An empty ROOT.
    JSONNode() noexcept = default;
    // A deep copy, name included.
    JSONNode(JSONNode const & other);
    // Takes the children, value and type; the name is copied, and `other` is left an empty ROOT
    // with its name, so a table that keys by that name stays sound.
    JSONNode(JSONNode && other) noexcept;
    // Keeps this node's name; takes the value, the type (ROOT becoming OBJECT) and a deep copy of
    // the children, which replace this node's own. `other` may be a descendant of this node.
    JSONNode & operator=(JSONNode const & other);
    ~JSONNode();

    // Reads the rest of the scanner as the body of an object; the caller has set the delimiter
    // (to the double quote). A scanner with nothing left on its line gives an empty ROOT.
    explicit JSONNode(Scanner & scanner);
    // Reads a whole file (opened as text; failures are File::open's).
    explicit JSONNode(File & file);
    // The value of the first member `"name":` of `text`, as an OBJECT node named `name`; empty
    // when `text` has no such member.
    JSONNode(String const & name, StringView const & text);

    // Reads `text` as JSONNode(File &) reads a file with the same bytes, carriage returns apart
    // (they are dropped everywhere).
    static JSONNode ParseText(StringView const & text);
    // Reads the YAML subset: mappings by indentation of blanks (two more a level, whatever the
    // file uses; tabs count for nothing), lists of "- " items, also at the depth of their key,
    // items that open a mapping ("- key: value", its further keys at the column of the first),
    // inline lists "[a, b]", quoted values (not unescaped), "#" comment lines. Anchors, tags,
    // multi-line scalars and flow mappings are not read; such lines become keys or strings.
    // Scalars are numbers when made of digits, '-' and '.', booleans when exactly "true" or
    // "false", else strings.
    static JSONNode ParseYAML(Scanner & scanner);

    // Access

    // The child of that name, created as an empty OBJECT at the end when there is none.
    JSONNode & operator[](StringView const & name);
    // The child of that name; a missing one writes "Couldn't find key." to standard error and
    // ends the process.
    JSONNode const & operator[](StringView const & name) const;
    JSONNode const & get(StringView const & name) const { return (*this)[name]; }
    // The child at `index` in document order, unchecked.
    JSONNode & operator[](unsigned int index) noexcept { return *children_[index]; }
    JSONNode const & operator[](unsigned int index) const noexcept { return *children_[index]; }
    bool hasNode(StringView const & name) const;

    // All children.
    unsigned int childCount() const noexcept { return children_.size(); }
    // The named children only: an array has a childCount and a size of 0.
    unsigned int size() const;
    // No value and no named child: an array of unnamed children counts as empty.
    bool isEmpty() const noexcept { return value_.isEmpty() && !hasNames(); }

    using NameTable = Dictionary<StringView, JSONNode *>;
    // The named children in table order (not document order); entries are (name, child).
    NameTable::const_iterator begin() const { return names().begin(); }
    NameTable::const_iterator end() const { return names().end(); }
    Buffer<JSONNode *> const & children() const noexcept { return children_; }

    String const & nodeName() const noexcept { return name_; }
    NodeType type() const noexcept { return type_; }
    void setType(NodeType type) noexcept { type_ = type; }
    String const & value() const noexcept { return value_; }
    // The text as it is written: a number's digits, a string unescaped. The type stays.
    void setValue(StringView const & text) { assignValue(text); }
    // A BOOLEAN's truth: the first byte is 'T', 't' or '1'.
    bool isTrue() const noexcept;

    // Appends a child. A non-empty name also enters the name table, where an existing child of
    // that name stays the one found.
    JSONNode & createChildNode(NodeType type);
    JSONNode & createChildNode(StringView const & name, NodeType type);
    // Deletes every child of that name; an empty name, or one not in the table, does nothing.
    void remove(StringView const & name);

    // Make this node a STRING of `text`, or of the time as "YYYY/MM/DDTHH:mm:ss.fffZ" in UTC.
    JSONNode & operator=(StringView const & text);
    JSONNode & operator=(char const * text) { return *this = StringView(text); }
    JSONNode & operator=(Time const & time);

    // Same types, names and values (booleans by their truth), and equal children in order.
    friend QELTA_BASE_EXPORT bool operator==(JSONNode const & a, JSONNode const & b);

    // Writing. The compact form has no white space; the pretty form puts each child on a line of
    // its own, indented by tabs, one more a level down to max_pretty_depth levels below the node
    // written; deeper levels keep that indentation, so that hostile nesting cannot make the text
    // grow with the square of its depth. A file that is open is written at its current place and left
    // open; otherwise it is written through a temporary file that replaces it once complete.

    // The name (unless this is a ROOT or the name is empty) and the value.
    void write(String & out) const;
    void write(File & file) const;
    void write(std::ostream & out) const;
    void writePretty(String & out, unsigned int tabs) const;
    void writePretty(File & file) const;
    void writePretty(std::ostream & out) const;
    // The value alone, compact; an array's children are written without their names. An ARRAY
    // with raw value text and no children loses the last byte of that text to its "]": raw text
    // must end in a separator.
    void writeValue(String & out) const;

    static void WriteTabs(String & out, unsigned int tabs);
    // Backslash, 0x08, 0x0C, line feed, carriage return, tab and the double quote, to and from
    // their escapes, in one pass from the left, so that "\\n" reads as a backslash and an 'n'.
    static void ConvertToJSONString(String & text);
    static void ConvertFromJSONString(String & text);

    // The messages of the three faults, with the scanner's position filled in:
    // "json_unexpected_char" "Unexpected char: [char] at [file_position]",
    // "json_unexpected_duplicate" "JSON already has child of name: [child_name] at [file_position]",
    // "json_bad_child" "Name could not be read in as expected at [file_position]" (raised by
    // callers only).
    static TranslatedString UnexpectedCharErrorString(char c, Scanner const & scanner);
    static TranslatedString DuplicateChildErrorString(StringView const & name, Scanner const & scanner);
    static TranslatedString BadChildErrorString(Scanner const & scanner);
    // The title of the faults, "JSON Error".
    static TranslatedString ErrorTitle();

  protected:
    // A named, empty OBJECT.
    explicit JSONNode(StringView const & name);

    // The reader's steps, each reading from the scanner's cursor. The bool results tell whether
    // the enclosing container was closed.
    // What follows a name: ':' and a value, or an early ',' (false) or '}' (true).
    bool parseJSON(Scanner & scanner);
    // A value that begins with `c`, and the separator behind it.
    bool parseJSONContent(char c, Scanner & scanner);
    // The body of an object up to its '}' or the end of the input.
    void readChildrenNodes(Scanner & scanner);
    // A string behind its opening quote; the scanner's delimiter is the double quote.
    void readData(Scanner & scanner);
    // The body of an array up to its ']' or the end of the input.
    void readArray(Scanner & scanner);

    // Reads lines into this node while their indentation is at least `indent`; always true.
    bool parseYAMLContent(unsigned int indent, Scanner & scanner);
    // Sets this node from the text behind a colon (or a list dash).
    void parseYAMLContent(StringView value);

  private:
    class Reader;
    class YAMLReader;
    // The blocks that hold the nodes and texts of one read, shared by the nodes that refer to it.
    class Arena;

    // Deletes the children, deep, without recursion.
    void deleteChildren() noexcept;
    // Frees a node that its parent gave up: deletes it, or destroys it in its arena.
    static void Dispose(JSONNode * node) noexcept;
    // Reads the body of an object into this new node, its nodes kept in an arena of its own.
    void readOwnChildren(Scanner & scanner);
    // Sets the value, which may show the bytes of an arena.
    void assignValue(StringView const & text);
    // Appends deep copies of the children of `from` to `to`, without recursion.
    static void CloneChildren(JSONNode const & from, JSONNode & to);
    // Appends `child`, owned from now on, and enters its name unless it is empty or taken.
    void attach(JSONNode * child);
    // Appends `child` to the children alone.
    void addChild(JSONNode * child);
    // The child of that name, or null.
    JSONNode * findNamed(StringView const & name) const;
    // The name table; a shared empty one while no child has a name.
    NameTable const & names() const;
    // The name table, built first if there is none yet; null while no child has a name.
    NameTable * table() const;
    bool hasNames() const noexcept;
    // A small object without a table yet, whose names are searched one by one.
    bool searchedOneByOne() const noexcept;
    // Records that this node, if it lives in an arena, now holds memory of the heap.
    void touch() noexcept;

    // Shows a block of an arena, not owning it (capacity 0), while it is as the reader left it.
    Buffer<JSONNode *> children_;
    // Owned; keyed by views of the children's own names. Built when a search first needs it, so
    // that small objects and the many scalar nodes of a document do without; kept up to date
    // from then on.
    mutable std::atomic<NameTable *> named_children_{nullptr};
    String name_;
    // Shows bytes of an arena, not owning them (capacity 0), while it is as the reader left it.
    String value_;
    NodeType type_ = ROOT;
    // This node and the bytes of its name live in `arena_`.
    bool in_arena_ = false;
    // Some child has a name, whether or not the table is built yet.
    bool names_pending_ = false;
    // For a node in an arena, the arena it lives in; for any other node, an arena it holds a
    // share of (its children or value may live there), or null.
    Arena * arena_ = nullptr;
};

} // namespace QELTA
