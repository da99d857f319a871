// JSONNode::ParseYAML: the YAML subset of simple configuration files, read line by line with a
// stack of the blocks being filled instead of recursion, so that no input can exhaust the stack.
#include "Base/Files/Scanner.h"
#include "Base/Settings/JSONNode.h"

#include "Base/Settings/Internal/JSONNodeArena.h"

namespace QELTA {
namespace {

constexpr char true_text[] = "true";
constexpr char false_text[] = "false";

// The blanks at the start of a line; a tab ends them and counts for nothing.
unsigned int Lead(StringView const & line) noexcept {
    unsigned int lead = 0;
    while (lead < line.size() && line[lead] == ' ') {
        ++lead;
    }
    return lead;
}

StringView Trimmed(StringView text) noexcept {
    return text.trimWhiteSpace();
}

// "- value": a dash, at least three bytes, and no second dash (so "---" is a key).
bool IsListItem(StringView const & text) noexcept {
    return text.size() >= 3 && text[0] == '-' && text[1] != '-';
}

// Digits, '-' and '.' make a number, the empty text too; the two words make a boolean.
JSONNode::NodeType ScalarType(StringView const & text) noexcept {
    bool numeric = true;
    for (char const c : text) {
        if (!StringView::IsDigit(c) && c != '-' && c != '.') {
            numeric = false;
            break;
        }
    }
    if (numeric) {
        return JSONNode::NUMBER;
    }
    if (text == StringView(true_text) || text == StringView(false_text)) {
        return JSONNode::BOOLEAN;
    }
    return JSONNode::STRING;
}

} // namespace

// Without an arena, the nodes and texts read go on the heap; with one, the nodes this reader makes
// and their texts and children's arrays live there.
class JSONNode::YAMLReader {
  public:
    YAMLReader(Scanner * scanner, Arena * arena) : scanner_(scanner), arena_(arena) {}

    void read(JSONNode & node, unsigned int indent);
    // Sets `node` from the text behind a colon (or a list dash).
    void scalar(JSONNode & node, StringView value);

  private:
    // A block being filled: lines belong to it while their lead is at least `indent`. A list at
    // the depth of its key (`list_lead` set) takes only items of exactly that lead.
    struct Frame {
        JSONNode * node;
        unsigned int indent;
        bool same_depth_list;
        unsigned int list_lead;
    };

    bool advance() {
        if (!scanner_->nextLine()) {
            ended_ = true;
        }
        return !ended_;
    }

    // "key: value" (or a line without a colon, all key) as a child of `node`.
    JSONNode & keyChild(JSONNode & node, StringView const & text);
    // A new last child of `parent`, named unless `name` is empty.
    JSONNode & child(JSONNode & parent, StringView const & name, NodeType type);
    void set(JSONNode & node, StringView const & text);

    Scanner * const scanner_;
    Arena * const arena_;
    bool ended_ = false;
    Buffer<Frame> stack_;
};

JSONNode & JSONNode::YAMLReader::child(JSONNode & parent, StringView const & name, NodeType type) {
    if (arena_ == nullptr) {
        return name.isEmpty() ? parent.createChildNode(type) : parent.createChildNode(name, type);
    }
    JSONNode * const node = arena_->makeNode(&name);
    node->type_ = type;
    if (parent.in_arena_) {
        // Made by this reader, so its children only ever grew here.
        arena_->append(parent.children_, node);
        parent.names_pending_ = parent.names_pending_ || !name.isEmpty();
    } else {
        parent.attach(node);
    }
    return *node;
}

void JSONNode::YAMLReader::set(JSONNode & node, StringView const & text) {
    if (arena_ != nullptr && node.in_arena_) {
        node.value_ = arena_->text(text);
    } else {
        node.assignValue(text);
    }
}

JSONNode & JSONNode::YAMLReader::keyChild(JSONNode & node, StringView const & text) {
    unsigned int const colon = text.indexOf(':');
    StringView const key = Trimmed(colon == StringView::not_found ? text : text.substr(0, colon));
    JSONNode & made = child(node, key, OBJECT);
    if (colon != StringView::not_found) {
        StringView const value = Trimmed(text.substr(colon + 1));
        if (!value.isEmpty()) {
            scalar(made, value);
        }
    }
    return made;
}

void JSONNode::YAMLReader::read(JSONNode & top, unsigned int indent) {
    stack_.add(Frame{&top, indent, false, 0});
    // Each turn consumes a line or leaves a block, and a block is entered only behind a consumed
    // line, so the loop ends.
    while (!stack_.isEmpty() && !ended_) {
        Frame const frame = stack_.last();
        StringView const line = scanner_->currentLine().view();
        unsigned int const lead = Lead(line);
        StringView const text = Trimmed(line);
        if (text.isEmpty() || text[0] == '#') {
            advance();
            continue;
        }
        bool const item = IsListItem(text);
        if (frame.same_depth_list ? !item || lead != frame.list_lead : lead < frame.indent) {
            stack_.removeLast(); // the line belongs to an enclosing block
            continue;
        }
        JSONNode & node = *frame.node;
        if (item) {
            node.type_ = ARRAY;
            StringView const rest = Trimmed(text.substr(1));
            JSONNode & entry = child(node, StringView(), OBJECT);
            if (rest.indexOf(':') != StringView::not_found) {
                // The first key of a mapping inside the item; its other keys follow at the key's
                // column, and a block or a list under the key belongs to the key itself.
                JSONNode & key = keyChild(entry, rest);
                unsigned int const column = static_cast<unsigned int>(rest.data() - line.data());
                if (!advance()) {
                    break;
                }
                stack_.add(Frame{&entry, frame.indent + 2, false, 0});
                StringView const next = scanner_->currentLine().view();
                unsigned int const next_lead = Lead(next);
                if (next_lead > column) {
                    stack_.add(Frame{&key, frame.indent + 4, false, 0});
                } else if (next_lead == column && IsListItem(Trimmed(next))) {
                    stack_.add(Frame{&key, frame.indent + 2, true, column});
                }
            } else {
                scalar(entry, rest);
                advance();
            }
            continue;
        }
        JSONNode & added = keyChild(node, text);
        if (!advance()) {
            break;
        }
        StringView const next = scanner_->currentLine().view();
        unsigned int const next_lead = Lead(next);
        if (next_lead > lead) {
            stack_.add(Frame{&added, frame.indent + 2, false, 0});
        } else if (next_lead == lead && IsListItem(Trimmed(next))) {
            stack_.add(Frame{&added, frame.indent, true, lead}); // a list at the depth of its key
        }
    }
    stack_.clear();
}

void JSONNode::YAMLReader::scalar(JSONNode & node, StringView value) {
    value.trimWhiteSpace();
    if (!value.isEmpty() && value[0] == '"') {
        node.type_ = STRING; // not unescaped
        set(node, value.substr(1, value.size() >= 2 ? value.size() - 1 : 1));
        return;
    }
    if (!value.isEmpty() && value[0] == '[') {
        node.type_ = ARRAY;
        StringView const inner = Trimmed(value.substr(1, value.size() >= 2 ? value.size() - 1 : 1));
        if (inner.isEmpty()) {
            return;
        }
        for (StringView part : inner.split(',', true)) {
            part.trimWhiteSpace();
            set(child(node, StringView(), ScalarType(part)), part);
        }
        return;
    }
    node.type_ = ScalarType(value);
    set(node, value);
}

JSONNode JSONNode::ParseYAML(Scanner & scanner) {
    JSONNode node;
    if (scanner.nextLine()) {
        node.arena_ = new Arena();
        YAMLReader reader(&scanner, node.arena_);
        reader.read(node, 0);
        if (node.arena_->isEmpty()) {
            Arena::Release(node.arena_);
            node.arena_ = nullptr;
        }
    }
    return node;
}

bool JSONNode::parseYAMLContent(unsigned int indent, Scanner & scanner) {
    YAMLReader reader(&scanner, nullptr);
    reader.read(*this, indent);
    return true;
}

void JSONNode::parseYAMLContent(StringView value) {
    YAMLReader(nullptr, nullptr).scalar(*this, value);
}

} // namespace QELTA
