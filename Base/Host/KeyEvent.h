// KeyEvent: a key press with its modifiers, its stored text form and the text shown for it.
//
// A KeyEvent is a plain value of three numbers with no heap and no lock. Nothing raises: text
// that is not a stored key leaves the value as it was. The display text reads translated labels
// and so follows the Translator's rules for threads (see TranslatedString.h).
#pragma once

#include "Base/Export.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA {

class TranslatedString;

// Key codes follow the platform's virtual key numbers up to 255 (letters are their upper-case
// ASCII codes, digits theirs); a platform with other codes maps its own onto them. The codes
// above are the library's: see the constants.
class QELTA_BASE_EXPORT KeyEvent {
  public:
    // Bits of `modifiers`.
    enum Modifier : std::uint8_t {
        SHIFT = 1,
        CONTROL = 2,
        FUNCTION = 4,
        ALT = 8,
    };

    static constexpr std::uint32_t shift_key = 16;
    static constexpr std::uint32_t alt_key = 18;
    static constexpr std::uint32_t left_control_key = 162;
    static constexpr std::uint32_t right_control_key = 163;
    static constexpr std::uint32_t escape_key = 256;
    static constexpr std::uint32_t enter_key = 257;
    static constexpr std::uint32_t tab_key = 258;
    // Game-pad buttons.
    static constexpr std::uint32_t first_pad_button = 304;
    static constexpr std::uint32_t last_pad_button = 318;
    static constexpr std::uint32_t volume_up_key = 512;
    static constexpr std::uint32_t volume_down_key = 513;

    std::uint32_t key = 0;
    std::uint8_t modifiers = 0;
    // The keyboard or pad that sent the event; 0 when it is not told apart.
    std::uint32_t device = 0;

    constexpr KeyEvent() noexcept = default;
    constexpr KeyEvent(std::uint32_t key_code, std::uint8_t modifier_bits, std::uint32_t device_id = 0) noexcept
        : key(key_code), modifiers(modifier_bits), device(device_id) {}

    constexpr bool hasModifier(Modifier modifier) const noexcept { return (modifiers & modifier) != 0; }

    // The character the key types: digits, letters (upper case with SHIFT), a few punctuation
    // keys, a line feed for enter and a tab for tab; a blank for every other key.
    char toChar() const noexcept;

    // The English label of a key without a plain character ("ESC", "F5", "VOL+"); empty when the
    // key has none.
    static String KeyLabel(std::uint32_t key);

    friend constexpr bool operator==(KeyEvent const &, KeyEvent const &) noexcept = default;
};

// Defined with the other instances in INIFactory.cpp: the text form is StringStream<KeyEvent>'s,
// the binary payload nine bytes, the key, the modifiers and the device, little-endian.
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<KeyEvent>;

// Stored form: the key, the modifiers and the device in decimal, separated by the byte 29. Reading
// changes nothing unless the text has exactly three fields; each field reads by its number type
// (Invalid where it holds no number). An empty text gives the all-zero event.
//
// Display form: the translated labels of the modifiers that apply, each followed by "+" (SHIFT,
// CTRL, FUNCTION, ALT, in this order, leaving out the one the key itself is), then the key's
// character in upper case, or its translated label, or its code in brackets: "CTRL+SHIFT+A" is
// written "SHIFT+CTRL+A", and key 300 "(300)".
template <>
class QELTA_BASE_EXPORT StringStream<KeyEvent> {
  public:
    static constexpr char field_separator = 29;

    static void fromString(StringView const & text, KeyEvent & value);
    static void toString(KeyEvent const & value, StringAllocatingView & out);
    static void toDisplayString(KeyEvent const & value, TranslatedString & out);
};

} // namespace QELTA
