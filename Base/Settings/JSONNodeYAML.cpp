// JSONNode::ParseYAML: the YAML subset of simple configuration files, read line by line with a
// stack of the blocks being filled instead of recursion, so that no input can exhaust the stack.
#include "Base/Files/Scanner.h"
#include "Base/Settings/JSONNode.h"

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

class JSONNode::YAMLReader {
  public:
    explicit YAMLReader(Scanner & scanner) : scanner_(scanner) {}

    void read(JSONNode & node, unsigned int indent);

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
        if (!scanner_.nextLine()) {
            ended_ = true;
        }
        return !ended_;
    }

    // "key: value" (or a line without a colon, all key) as a child of `node`.
    static JSONNode & KeyChild(JSONNode & node, StringView const & text);

    Scanner & scanner_;
    bool ended_ = false;
    Buffer<Frame> stack_;
};

JSONNode & JSONNode::YAMLReader::KeyChild(JSONNode & node, StringView const & text) {
    unsigned int const colon = text.indexOf(':');
    StringView const key = Trimmed(colon == StringView::not_found ? text : text.substr(0, colon));
    JSONNode & child = node.createChildNode(key, OBJECT);
    if (colon != StringView::not_found) {
        StringView const value = Trimmed(text.substr(colon + 1));
        if (!value.isEmpty()) {
            child.parseYAMLContent(value);
        }
    }
    return child;
}

void JSONNode::YAMLReader::read(JSONNode & top, unsigned int indent) {
    stack_.add(Frame{&top, indent, false, 0});
    // Each turn consumes a line or leaves a block, and a block is entered only behind a consumed
    // line, so the loop ends.
    while (!stack_.isEmpty() && !ended_) {
        Frame const frame = stack_.last();
        StringView const line = scanner_.currentLine().view();
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
            JSONNode & entry = node.createChildNode(OBJECT);
            if (rest.indexOf(':') != StringView::not_found) {
                // The first key of a mapping inside the item; its other keys follow at the key's
                // column, and a block or a list under the key belongs to the key itself.
                JSONNode & key = KeyChild(entry, rest);
                unsigned int const column = static_cast<unsigned int>(rest.data() - line.data());
                if (!advance()) {
                    break;
                }
                stack_.add(Frame{&entry, frame.indent + 2, false, 0});
                StringView const next = scanner_.currentLine().view();
                unsigned int const next_lead = Lead(next);
                if (next_lead > column) {
                    stack_.add(Frame{&key, frame.indent + 4, false, 0});
                } else if (next_lead == column && IsListItem(Trimmed(next))) {
                    stack_.add(Frame{&key, frame.indent + 2, true, column});
                }
            } else {
                entry.parseYAMLContent(rest);
                advance();
            }
            continue;
        }
        JSONNode & child = KeyChild(node, text);
        if (!advance()) {
            break;
        }
        StringView const next = scanner_.currentLine().view();
        unsigned int const next_lead = Lead(next);
        if (next_lead > lead) {
            stack_.add(Frame{&child, frame.indent + 2, false, 0});
        } else if (next_lead == lead && IsListItem(Trimmed(next))) {
            stack_.add(Frame{&child, frame.indent, true, lead}); // a list at the depth of its key
        }
    }
    stack_.clear();
}

JSONNode JSONNode::ParseYAML(Scanner & scanner) {
    JSONNode node;
    if (scanner.nextLine()) {
        node.parseYAMLContent(0, scanner);
    }
    return node;
}

bool JSONNode::parseYAMLContent(unsigned int indent, Scanner & scanner) {
    YAMLReader reader(scanner);
    reader.read(*this, indent);
    return true;
}

void JSONNode::parseYAMLContent(StringView value) {
    value.trimWhiteSpace();
    if (!value.isEmpty() && value[0] == '"') {
        type_ = STRING; // not unescaped
        assignValue(value.substr(1, value.size() >= 2 ? value.size() - 1 : 1));
        return;
    }
    if (!value.isEmpty() && value[0] == '[') {
        type_ = ARRAY;
        StringView const inner = Trimmed(value.substr(1, value.size() >= 2 ? value.size() - 1 : 1));
        if (inner.isEmpty()) {
            return;
        }
        for (StringView part : inner.split(',', true)) {
            part.trimWhiteSpace();
            JSONNode & child = createChildNode(ScalarType(part));
            child.assignValue(part);
        }
        return;
    }
    type_ = ScalarType(value);
    assignValue(value);
}

} // namespace QELTA
