// Font: how a piece of text is to look, as a plain value with a compact token text; TextBlock, a
// piece of text with its font.
//
// A Font is a value that owns its texts and copies them deeply; it has no lock. Nothing raises:
// text that is not a font reads as far as its tokens go, and a font whose file can't be found
// keeps an empty file. Finding the file and reading the token "A" ask FontEngine, which has its
// own lock (see FontEngine.h).
#pragma once

#include "Base/Color/RGBColor.h"
#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Geometry/Vector.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cstdint>
#include <type_traits>

namespace QELTA {

class FontEngine;

// The invariant: `file` is empty or was found for the present name, bold and italic; changing any
// of the three through its setter clears it. The family flags say whether the file found is
// itself the bold or italic face, so that a renderer doesn't embolden it again. The colour
// RGBColor::ErrorColor() means that no colour is set; a size of NaN that the size is not set.
class QELTA_BASE_EXPORT Font {
  public:
    // The four sizes, by the token that sets each.
    enum Size : unsigned int {
        POINT_SIZE = 0,    // "P": the size in points
        PIXEL_SIZE = 1,    // "X": the size in pixels, for screens that count in pixels
        WIDTH = 2,         // "W": the width of the glyphs as a share of their normal width
        LETTER_SPACING = 3 // "T": extra room between letters, in points
    };
    static constexpr unsigned int size_count = 4;

    Font() noexcept;

    // The application font (see FontEngine) that this font follows; may be empty.
    String const & applicationFont() const noexcept { return application_font_; }
    void setApplicationFont(StringView const & name) { application_font_ = name; }

    double size(Size which) const noexcept { return sizes_[which]; }
    void setSize(Size which, double value) noexcept { sizes_[which] = value; }
    std::uint32_t quality() const noexcept { return quality_; }
    void setQuality(std::uint32_t quality) noexcept { quality_ = quality; }
    RGBColor const & color() const noexcept { return color_; }
    void setColor(RGBColor const & color) noexcept { color_ = color; }
    bool isUnderline() const noexcept { return underline_; }
    void setUnderline(bool on) noexcept { underline_ = on; }
    bool isOverline() const noexcept { return overline_; }
    void setOverline(bool on) noexcept { overline_ = on; }
    bool isStrike() const noexcept { return strike_; }
    void setStrike(bool on) noexcept { strike_ = on; }

    // The family.
    String const & name() const noexcept { return name_; }
    // These three clear the file when they change anything.
    void setName(StringView const & name);
    bool isBold() const noexcept { return bold_; }
    void setIsBold(bool bold);
    bool isItalic() const noexcept { return italic_; }
    void setIsItalic(bool italic);
    bool hasBoldFamily() const noexcept { return has_bold_family_; }
    bool hasItalicFamily() const noexcept { return has_italic_family_; }

    // A path beginning with "<" names a resource embedded in the program, not a file on disk.
    File const & file() const noexcept { return file_; }
    // The face inside the file.
    std::uint32_t fileIndex() const noexcept { return file_index_; }
    void setFile(File const & file, std::uint32_t index);
    // With no file and a name, looks the file up (FontEngine::FindBestFitFontFile). Whether the
    // file now exists on disk, or is an embedded resource.
    bool findBestFileIfNeeded(bool use_fallback);

    // Applies an ANSI text attribute: 0 and 10 go back to `default_font`; 1 and 2 set and clear
    // bold, 3 sets italic; 30 to 37, 97 and their background twins 40 to 47, 107 set the colour.
    // False for a code it doesn't know, which changes nothing, and for 37 and 47, which set the
    // grey all the same: stored formatted texts depend on that result.
    bool executeAnsiiCode(std::uint32_t code, Font const & default_font);

    // The sizes within 0.001 (NaN equal to NaN), the name byte for byte, bold, italic, overline,
    // strike, underline and the colour; not the application font, quality, file or family flags.
    friend QELTA_BASE_EXPORT bool operator==(Font const & left, Font const & right) noexcept;
    friend bool operator!=(Font const & left, Font const & right) noexcept { return !(left == right); }

  private:
    friend class FontEngine;

    String application_font_;
    Vector<size_count, double> sizes_;
    std::uint32_t quality_ = 0;
    RGBColor color_ = RGBColor::ErrorColor();
    bool underline_ = false;
    bool overline_ = false;
    bool strike_ = false;
    String name_;
    bool bold_ = false;
    bool italic_ = false;
    bool has_bold_family_ = false;
    bool has_italic_family_ = false;
    File file_;
    std::uint32_t file_index_ = 0;
};

// A piece of a formatted text with the font it is drawn in (LogMessage::messageBlocks). `flags`
// are the renderer's own; 255 leaves them all to it.
struct QELTA_BASE_EXPORT TextBlock {
    String text;
    Font font;
    unsigned char flags = 255;
};

static_assert(std::is_same_v<TextBlockBuffer, Buffer<TextBlock>>, "LogMessage.h spells out the default allocator");

// Tokens separated by ",", each a letter and its value:
//   A<name>  the application font to start from (written first, read first wherever it stands)
//   N<name>  the family               L<path>, F<path>  the file (L: the library's path text)
//   P, X, W, T<number>  the four sizes (see Font::Size); one of 1e9 or more, or no number, is no size
//   Q<number>  the quality (a "+" may lead)
//   C<number>  one colour byte, 0 to 255 (a "+" may lead): red, green, blue, alpha in turn
//   B, I, U, O, S  bold, italic, underline, overline, strike: on alone, off with "F" behind
// Writing compares each field with the application font that the font follows (or a default
// Font): a field that is set or differs from it is written, in upper case where it differs and in
// lower case where it is the same; reading takes either case. Unknown tokens and values out of
// range are passed over; a family or path cannot hold ",".
template <>
class QELTA_BASE_EXPORT StringStream<Font> {
  public:
    static constexpr char token_separator = ',';

    static void fromString(StringView const & text, Font & value);
    static void toString(Font const & value, StringAllocatingView & out);
};

} // namespace QELTA
