// Key events: the characters and labels of keys, the stored form and the display text.
#include "Base/Host/KeyEvent.h"

#include "Base/Language/Internal/Translatable.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/StringView.h"

namespace QELTA {
namespace {

struct KeyLabelRow {
    std::uint32_t key;
    char const * label;
};

// The labels of keys without a plain character, beside the function keys below.
constexpr KeyLabelRow key_labels[] = {
    {16, "SHIFT"},  {18, "ALT"},   {32, "SPACE"}, {43, "EXE"},    {46, "DEL"},     {162, "LCTRL"},
    {163, "RCTRL"}, {164, "META"}, {256, "ESC"},  {257, "ENTER"}, {304, "A"},      {305, "B"},
    {307, "X"},     {308, "Y"},    {310, "L1"},   {311, "R1"},    {314, "SELECT"}, {315, "START"},
    {316, "MODE"},  {317, "TL"},   {318, "TR"},   {512, "VOL+"},  {513, "VOL-"},
};

// F1 to F24 are the codes 112 to 135.
constexpr std::uint32_t first_function_key = 112;
constexpr std::uint32_t function_key_count = 24;
constexpr char function_key_prefix = 'F';

// The modifier labels of the display text, in the order they are written.
struct ModifierRow {
    KeyEvent::Modifier bit;
    char const * label;
    // Keys that are this modifier themselves and so don't repeat its label.
    std::uint32_t own_keys[2];
};
constexpr ModifierRow modifier_labels[] = {
    {KeyEvent::SHIFT, "SHIFT", {KeyEvent::shift_key, KeyEvent::shift_key}},
    {KeyEvent::CONTROL, "CTRL", {KeyEvent::left_control_key, KeyEvent::right_control_key}},
    {KeyEvent::FUNCTION, "FUNCTION", {0xFFFFFFFFu, 0xFFFFFFFFu}},
    {KeyEvent::ALT, "ALT", {KeyEvent::alt_key, KeyEvent::alt_key}},
};
constexpr char modifier_joiner = '+';

constexpr char blank = ' ';
constexpr char line_feed = '\n';

void AppendTranslated(StringView const & english, String & out) {
    TranslatedString text = Internal::Translatable(english);
    out.append(text.translation());
}

} // namespace

char KeyEvent::toChar() const noexcept {
    if (key >= '0' && key <= '9') {
        return static_cast<char>(key);
    }
    if (key >= 'A' && key <= 'Z') {
        return static_cast<char>(hasModifier(SHIFT) ? key : key + ('a' - 'A'));
    }
    switch (key) {
    case 96: // the keypad's 0; its other digits stay blanks, as stored tables expect
        return static_cast<char>(key - 48);
    case ',':
    case '=':
    case '\\':
        return static_cast<char>(key);
    case 109:
    case 189:
        return '-';
    case 110:
    case 190:
        return '.';
    case 111:
        return '/';
    case 187:
        return '+';
    case enter_key:
        return line_feed;
    case tab_key:
        return '\t';
    default:
        return blank;
    }
}

String KeyEvent::KeyLabel(std::uint32_t key) {
    if (key >= first_function_key && key < first_function_key + function_key_count) {
        String label;
        label.append(function_key_prefix);
        StringAllocatingView number;
        StringStream<unsigned int>::toString(key - first_function_key + 1, number);
        label.append(number.view());
        return label;
    }
    for (KeyLabelRow const & row : key_labels) {
        if (row.key == key) {
            return String(row.label);
        }
    }
    return String();
}

void StringStream<KeyEvent>::fromString(StringView const & text, KeyEvent & value) {
    if (text.isEmpty()) {
        value = KeyEvent();
        return;
    }
    // The number readers stop only at a byte that ends a number: read from a terminated copy.
    String const copy(text);
    StringViewBuffer const fields = copy.split(field_separator, true);
    if (fields.size() != 3) {
        return;
    }
    unsigned int key = 0;
    unsigned char modifiers = 0;
    unsigned int device = 0;
    StringStream<unsigned int>::fromString(fields[0], key);
    StringStream<unsigned char>::fromString(fields[1], modifiers);
    StringStream<unsigned int>::fromString(fields[2], device);
    value = KeyEvent(key, modifiers, device);
}

void StringStream<KeyEvent>::toString(KeyEvent const & value, StringAllocatingView & out) {
    StringStream<unsigned int>::toString(value.key, out);
    out.append(field_separator);
    StringStream<unsigned char>::toString(value.modifiers, out);
    out.append(field_separator);
    StringStream<unsigned int>::toString(value.device, out);
}

void StringStream<KeyEvent>::toDisplayString(KeyEvent const & value, TranslatedString & out) {
    String text;
    for (ModifierRow const & row : modifier_labels) {
        if (value.hasModifier(row.bit) && value.key != row.own_keys[0] && value.key != row.own_keys[1]) {
            AppendTranslated(StringView(row.label), text);
            text.append(modifier_joiner);
        }
    }
    char const c = value.toChar();
    if (c == line_feed || c == blank) {
        String const label = KeyEvent::KeyLabel(value.key);
        if (!label.isEmpty()) {
            AppendTranslated(label.view(), text);
        } else {
            text.append('(');
            StringAllocatingView number;
            StringStream<unsigned int>::toString(value.key, number);
            text.append(number.view());
            text.append(')');
        }
    } else {
        // The tab key shows as a tab character: it has a character and so no label.
        text.append(StringView::ToUpperASCII(c));
    }
    out = TranslatedString(text.view());
}

} // namespace QELTA
