// Font: its setters, ANSI attributes, comparison and token text.
#include "Base/Host/Font.h"

#include "Base/Failure/Exception.h"
#include "Base/Host/FontEngine.h"
#include "Base/Host/Internal/FontText.h"

#include <cmath>
#include <limits>

namespace QELTA {
namespace {

// Two sizes closer than this are the same size.
constexpr double size_tolerance = 0.001;
// A size read from text is no size unless it is smaller than this: larger ones mean nothing, and
// from about 1.8e19 on their text doesn't read back as the same number.
constexpr double largest_size = 1e9;
constexpr char embedded_mark = '<';

// The colours of the ANSI foreground codes; each background code, 10 higher, sets the same.
struct AnsiColorRow {
    std::uint32_t code;
    RGBColor color;
    bool understood;
};
constexpr AnsiColorRow ansi_colors[] = {
    {30, RGBColor(0, 0, 0, 255), true},       {31, RGBColor(255, 0, 0, 255), true},
    {32, RGBColor(0, 255, 0, 255), true},     {33, RGBColor(255, 255, 0, 255), true},
    {34, RGBColor(0, 0, 255, 255), true},     {35, RGBColor(255, 0, 255, 255), true},
    {36, RGBColor(0, 255, 255, 255), true},   {37, RGBColor(170, 170, 170, 255), false},
    {97, RGBColor(255, 255, 255, 255), true},
};
constexpr std::uint32_t background_offset = 10;
constexpr std::uint32_t reset_code = 0;
constexpr std::uint32_t bold_on_code = 1;
constexpr std::uint32_t bold_off_code = 2;
constexpr std::uint32_t italic_on_code = 3;

// The letters of the token text.
constexpr char application_letter = 'A';
constexpr char bold_letter = 'B';
constexpr char italic_letter = 'I';
constexpr char name_letter = 'N';
constexpr char path_letter = 'F';
constexpr char file_letter = 'L';
constexpr char color_letter = 'C';
constexpr char size_letters[Font::size_count] = {'P', 'X', 'W', 'T'};
constexpr char quality_letter = 'Q';
constexpr char underline_letter = 'U';
constexpr char overline_letter = 'O';
constexpr char strike_letter = 'S';
constexpr char flag_off = 'F';
constexpr unsigned int color_components = 4;

bool SameSize(double a, double b) noexcept {
    return (std::isnan(a) && std::isnan(b)) || std::fabs(a - b) < size_tolerance;
}

unsigned char & Component(RGBColor & color, unsigned int index) noexcept {
    switch (index) {
    case 0:
        return color.red;
    case 1:
        return color.green;
    case 2:
        return color.blue;
    default:
        return color.alpha;
    }
}

// A flag's value: on when empty, else by the first byte as booleans read.
bool FlagValue(StringView const & value) noexcept {
    bool on = true;
    if (!value.isEmpty()) {
        StringStream<bool>::fromString(value, on);
    }
    return on;
}

// The tokens of the written text, separated as they come.
class TokenWriter {
  public:
    explicit TokenWriter(StringAllocatingView & out) : out_(out) {}

    void add(char letter, bool differs, StringView const & value) {
        if (!first_) {
            out_.append(StringStream<Font>::token_separator);
        }
        first_ = false;
        out_.append(differs ? letter : StringView::ToLowerASCII(letter));
        out_.append(value);
    }

    void addFlag(char letter, bool value, bool reference) {
        if (value || value != reference) {
            char const off[] = {flag_off, 0};
            add(letter, value != reference, StringView(value ? "" : off));
        }
    }

  private:
    StringAllocatingView & out_;
    bool first_ = true;
};

template <class T>
String Text(T const & value) {
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    return String(out.view());
}

} // namespace

Font::Font() noexcept : sizes_(Vector<size_count, double>::Filled(std::numeric_limits<double>::quiet_NaN())) {}

void Font::setName(StringView const & name) {
    if (name_.view() != name) {
        name_ = name;
        file_ = File();
    }
}

void Font::setIsBold(bool bold) {
    if (bold_ != bold) {
        bold_ = bold;
        file_ = File();
    }
}

void Font::setIsItalic(bool italic) {
    if (italic_ != italic) {
        italic_ = italic;
        file_ = File();
    }
}

void Font::setFile(File const & file, std::uint32_t index) {
    file_ = file;
    file_index_ = index;
}

bool Font::findBestFileIfNeeded(bool use_fallback) {
    if (file_.isEmpty() && !name_.isEmpty()) {
        file_ = FontEngine::FindBestFitFontFile(*this, use_fallback);
    }
    return !file_.isEmpty() && (file_.view()[0] == embedded_mark || file_.exists());
}

bool Font::executeAnsiiCode(std::uint32_t code, Font const & default_font) {
    switch (code) {
    case reset_code:
    case reset_code + background_offset:
        *this = default_font;
        return true;
    case bold_on_code:
        setIsBold(true);
        return true;
    case bold_off_code:
        setIsBold(false);
        return true;
    case italic_on_code:
        setIsItalic(true);
        return true;
    default:
        break;
    }
    for (AnsiColorRow const & row : ansi_colors) {
        if (code == row.code || code == row.code + background_offset) {
            color_ = row.color;
            return row.understood;
        }
    }
    return false;
}

bool operator==(Font const & left, Font const & right) noexcept {
    for (unsigned int i = 0; i < Font::size_count; ++i) {
        if (!SameSize(left.sizes_[i], right.sizes_[i])) {
            return false;
        }
    }
    return left.name_.view() == right.name_.view() && left.bold_ == right.bold_ && left.italic_ == right.italic_ &&
           left.overline_ == right.overline_ && left.strike_ == right.strike_ && left.underline_ == right.underline_ &&
           left.color_ == right.color_;
}

unsigned int Internal::ReadFontText(StringView const & text, Font & font) {
    // The number readers stop only at a byte that ends a number: the tokens are read in a copy
    // that ends in a zero byte, where each token ends in ',' or that byte.
    String const copy(text);
    StringViewBuffer const tokens = copy.split(StringStream<Font>::token_separator, false);
    unsigned int understood = 0;
    for (StringView const & token : tokens) {
        if (token[0] == application_letter) {
            StringView const name = token.substr(1);
            font = FontEngine::ApplicationFont(name);
            font.setApplicationFont(name);
            ++understood;
            break;
        }
    }
    unsigned int component = 0;
    for (StringView const & token : tokens) {
        StringView const value = token.substr(1);
        char const letter = token[0] == application_letter ? 0 : StringView::ToUpperASCII(token[0]);
        bool known = true;
        switch (letter) {
        case bold_letter:
            font.setIsBold(FlagValue(value));
            break;
        case italic_letter:
            font.setIsItalic(FlagValue(value));
            break;
        case underline_letter:
            font.setUnderline(FlagValue(value));
            break;
        case overline_letter:
            font.setOverline(FlagValue(value));
            break;
        case strike_letter:
            font.setStrike(FlagValue(value));
            break;
        case name_letter:
            font.setName(value);
            break;
        case path_letter:
        case file_letter:
            try {
                font.setFile(File(value), 0);
            } catch (Exception const &) {
                known = false; // a path no File can hold
            }
            break;
        case quality_letter: {
            unsigned int quality = 0;
            StringStream<unsigned int>::fromString(value, quality);
            known = quality != IntegerStringStream<unsigned int>::invalid;
            if (known) {
                font.setQuality(quality);
            }
            break;
        }
        case color_letter: {
            unsigned int byte = 0;
            StringStream<unsigned int>::fromString(value, byte);
            known = byte <= 255 && component < color_components;
            if (known) {
                RGBColor color = font.color();
                Component(color, component) = static_cast<unsigned char>(byte);
                font.setColor(color);
            }
            ++component;
            break;
        }
        default:
            known = false;
            for (unsigned int i = 0; i < Font::size_count; ++i) {
                if (letter == size_letters[i]) {
                    double size = 0.0;
                    StringStream<double>::fromString(value, size);
                    font.setSize(static_cast<Font::Size>(i),
                                 std::fabs(size) < largest_size ? size : std::numeric_limits<double>::quiet_NaN());
                    known = true;
                }
            }
            break;
        }
        understood += known ? 1 : 0;
    }
    return understood;
}

void StringStream<Font>::fromString(StringView const & text, Font & value) {
    Font font;
    Internal::ReadFontText(text, font);
    value = font;
}

void StringStream<Font>::toString(Font const & value, StringAllocatingView & out) {
    Font const reference =
        value.applicationFont().isEmpty() ? Font() : FontEngine::ApplicationFont(value.applicationFont().view());
    TokenWriter writer(out);
    if (!value.applicationFont().isEmpty()) {
        writer.add(application_letter, true, value.applicationFont().view());
    }
    if (!value.name().isEmpty() || value.name().view() != reference.name().view()) {
        writer.add(name_letter, value.name().view() != reference.name().view(), value.name().view());
    }
    writer.addFlag(bold_letter, value.isBold(), reference.isBold());
    writer.addFlag(italic_letter, value.isItalic(), reference.isItalic());
    // After the name and the faces, whose setters clear the file as the text is read.
    if (!value.file().isEmpty() || value.file().view() != reference.file().view()) {
        writer.add(file_letter, value.file().view() != reference.file().view(), value.file().view());
    }
    for (unsigned int i = 0; i < Font::size_count; ++i) {
        double const size = value.size(static_cast<Font::Size>(i));
        bool const same = SameSize(size, reference.size(static_cast<Font::Size>(i)));
        if (!std::isnan(size) || !same) {
            writer.add(size_letters[i], !same, Text(size).view());
        }
    }
    if (value.quality() != 0 || value.quality() != reference.quality()) {
        writer.add(quality_letter, value.quality() != reference.quality(), Text(value.quality()).view());
    }
    if (!(value.color() == RGBColor::ErrorColor()) || !(value.color() == reference.color())) {
        RGBColor color = value.color();
        for (unsigned int i = 0; i < color_components; ++i) {
            writer.add(color_letter, !(value.color() == reference.color()),
                       Text(static_cast<unsigned int>(Component(color, i))).view());
        }
    }
    writer.addFlag(underline_letter, value.isUnderline(), reference.isUnderline());
    writer.addFlag(overline_letter, value.isOverline(), reference.isOverline());
    writer.addFlag(strike_letter, value.isStrike(), reference.isStrike());
}

} // namespace QELTA
