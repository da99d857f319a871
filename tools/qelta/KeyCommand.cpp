// qelta key: a key press in its stored form, its display text and the character it types.
#include "tools/qelta/Command.h"

#include "Base/Host/KeyController.h"
#include "Base/Host/KeyEvent.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/StringStream.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <strings.h>

namespace QELTA::Tool {
namespace {

// The modifier words TEXT may hold, in any case.
struct ModifierWord {
    char const * word;
    KeyEvent::Modifier bit;
};
constexpr ModifierWord modifier_words[] = {
    {"shift", KeyEvent::SHIFT}, {"ctrl", KeyEvent::CONTROL},      {"control", KeyEvent::CONTROL},
    {"fn", KeyEvent::FUNCTION}, {"function", KeyEvent::FUNCTION}, {"alt", KeyEvent::ALT},
};

// The keys of punctuation that type a character, beside letters and digits.
struct CharacterKey {
    char character;
    std::uint32_t key;
};
constexpr CharacterKey character_keys[] = {{',', 44},  {'=', 61},  {'\\', 92}, {'-', 189},
                                           {'.', 190}, {'/', 111}, {'+', 187}};

// Keys that have no label of their own, by the names people give them.
struct KeyAlias {
    char const * word;
    std::uint32_t key;
};
constexpr KeyAlias key_aliases[] = {{"tab", KeyEvent::tab_key}};

// The highest code whose label is looked for.
constexpr std::uint32_t last_labelled_key = 1023;

constexpr char key_forms[] = "give modifiers and a key joined by '+': a character (A, 7, ','), a label (ESC, F5, "
                             "SPACE) or a code in brackets, (300)";

bool SameWord(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// "(300)" as the code 300.
bool ReadCode(std::string_view text, std::uint32_t & key) {
    if (text.size() < 3 || text.size() > 12 || text.front() != '(' || text.back() != ')') {
        return false;
    }
    std::string const digits(text.substr(1, text.size() - 2));
    if (digits.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    unsigned long long const value = std::stoull(digits);
    key = static_cast<std::uint32_t>(value);
    return value <= 0xFFFFFFFFull;
}

bool ReadKeyName(std::string_view text, std::uint32_t & key) {
    if (text.size() == 1) {
        char const c = text[0];
        if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z')) {
            key = static_cast<std::uint32_t>(c);
            return true;
        }
        if (c >= 'a' && c <= 'z') {
            key = static_cast<std::uint32_t>(c - 'a' + 'A');
            return true;
        }
        for (CharacterKey const & entry : character_keys) {
            if (entry.character == c) {
                key = entry.key;
                return true;
            }
        }
        return false;
    }
    if (ReadCode(text, key)) {
        return true;
    }
    for (KeyAlias const & alias : key_aliases) {
        if (SameWord(alias.word, text)) {
            key = alias.key;
            return true;
        }
    }
    for (std::uint32_t code = 0; code <= last_labelled_key; ++code) {
        String const label = KeyEvent::KeyLabel(code);
        if (!label.isEmpty() && SameWord(std::string_view(label.view()), text)) {
            key = code;
            return true;
        }
    }
    return false;
}

// Modifiers and a key joined by '+', as the display text shows them; "SHIFT++" is shift and '+'.
bool ReadKey(std::string_view text, KeyEvent & event) {
    std::string_view key_part = text;
    std::string_view modifiers;
    if (text.size() >= 2 && text.substr(text.size() - 2) == "++") {
        key_part = "+";
        modifiers = text.substr(0, text.size() - 2);
    } else if (std::size_t const last = text.rfind('+'); last != std::string_view::npos && text != "+") {
        key_part = text.substr(last + 1);
        modifiers = text.substr(0, last);
    }
    event = KeyEvent();
    while (!modifiers.empty()) {
        std::size_t const end = modifiers.find('+');
        std::string_view const word = modifiers.substr(0, end);
        bool known = false;
        for (ModifierWord const & entry : modifier_words) {
            if (SameWord(word, entry.word)) {
                event.modifiers = static_cast<std::uint8_t>(event.modifiers | entry.bit);
                known = true;
            }
        }
        if (!known) {
            return false;
        }
        modifiers = end == std::string_view::npos ? std::string_view() : modifiers.substr(end + 1);
    }
    return ReadKeyName(key_part, event.key);
}

std::string Display(KeyEvent const & event) {
    TranslatedString text;
    StringStream<KeyEvent>::toDisplayString(event, text);
    return std::string(text.translation());
}

// The display text with a tab shown as "\t": the tab key has a character, so no label.
std::string Visible(std::string const & text) {
    std::string shown;
    for (char const c : text) {
        shown += c == '\t' ? std::string("\\t") : std::string(1, c);
    }
    return shown;
}

// The stored form with the byte 29 shown as "\x1d".
std::string Stored(KeyEvent const & event) {
    StringAllocatingView out;
    StringStream<KeyEvent>::toString(event, out);
    std::string shown;
    for (char const c : out.view()) {
        shown += c == StringStream<KeyEvent>::field_separator ? std::string("\\x1d") : std::string(1, c);
    }
    return shown;
}

std::string CharacterText(char c) {
    switch (c) {
    case ' ':
        return "none";
    case '\n':
        return "line feed";
    case '\t':
        return "tab";
    default:
        return "'" + std::string(1, c) + "'";
    }
}

struct KeyArguments {
    std::string text;
    unsigned int device = 0;
};

int RunKey(KeyArguments const & arguments) {
    KeyEvent event;
    ReadKey(arguments.text, event);
    event.device = arguments.device;
    std::printf("stored     %s  (key %u, modifiers %u, device %u)\n", Stored(event).c_str(), event.key,
                static_cast<unsigned int>(event.modifiers), event.device);
    std::printf("display    %s\n", Visible(Display(event)).c_str());
    std::printf("character  %s\n", CharacterText(event.toChar()).c_str());
    return exit_ok;
}

// Two actions of a survey program, for the demo.
class DemoKeys : public BasicKeyController {
  public:
    DemoKeys() : BasicKeyController(TranslatedString::DirectString("Demo Keys")) {}
    void addDefaultKeyOptions() override {
        addKeyOption(
            {String("measure"), TranslatedString::DirectString("Measure"), KeyEvent(77, KeyEvent::CONTROL), 0});
        addKeyOption({String("undo"), TranslatedString::DirectString("Undo"), KeyEvent(90, KeyEvent::CONTROL), 0});
    }
    bool handleKey(StringView const & id, KeyEvent const & event, DesignObjectLookup *, Camera *) override {
        std::printf("  %s -> %.*s\n", Display(event).c_str(), static_cast<int>(id.size()), id.data());
        return true;
    }
};

} // namespace

void DemoKey() {
    std::puts("\n== Keys");
    DemoKeys keys;
    keys.addDefaultKeyOptions();
    KeyController root;
    root.addController(UUID::CreateUUID(), &keys);
    std::puts("A controller maps keys to named actions; the newest controller in the tree is asked first:");
    root.processKeyEvent(KeyEvent(90, KeyEvent::CONTROL), nullptr, nullptr);
    keys.setKeyOption(
        {String("undo"), TranslatedString::DirectString("Undo"), KeyEvent(KeyEvent::escape_key, KeyEvent::SHIFT), 0});
    root.processKeyEvent(KeyEvent(KeyEvent::escape_key, KeyEvent::SHIFT), nullptr, nullptr);
    bool const taken = root.processKeyEvent(KeyEvent(90, KeyEvent::CONTROL), nullptr, nullptr);
    std::printf("  %s %s\n", Display(KeyEvent(90, KeyEvent::CONTROL)).c_str(), taken ? "-> ?" : "is no longer mapped");
    std::printf("Key F5 with ALT is stored as %s.\n", Stored(KeyEvent(116, KeyEvent::ALT)).c_str());
}

void AddKeyCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<KeyArguments>();
    CLI::App & key =
        AddCommand(qelta, "key", "a key press in its stored form, its display text and the character it types",
                   "Reads TEXT as the display text shows keys: modifiers (shift, ctrl, fn, alt, in any case) and the\n"
                   "key, joined by '+'. The key is one character (a letter, a digit or one of , = \\ - . / +), a\n"
                   "label such as ESC, ENTER, SPACE, DEL, F1 to F24, VOL+ or START (and TAB), or any code in\n"
                   "brackets: (300).\n"
                   "Codes up to 255 follow the platform's virtual key numbers; from 256 on: 256 escape, 257 enter,\n"
                   "258 tab, 304 to 318 game-pad buttons, 512 and 513 the volume keys.\n\n"
                   "Prints the stored form, three numbers joined by the byte 29 (shown as \\x1d), the display text\n"
                   "in the present language and the character the key types. A key that types a character displays\n"
                   "as that character: the tab key as a tab, shown as \\t.",
                   [arguments] { return RunKey(*arguments); });
    key.add_option("TEXT", arguments->text, "the key, such as ctrl+shift+a, F5 or alt+(300)")
        ->required()
        ->check(CLI::Validator(
            [](std::string const & text) {
                KeyEvent event;
                return ReadKey(text, event) ? std::string() : "'" + text + "' is no key: " + key_forms;
            },
            "TEXT"));
    AddCount(key, "--device", arguments->device, 0, 999999999, "the device that sent the key (default 0, any)");
}

} // namespace QELTA::Tool
