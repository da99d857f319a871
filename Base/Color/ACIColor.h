// ACIColor: a colour as an index into the 256 rows of the AutoCAD Color Index palette.
//
// A plain value of one byte with no heap and no lock; the palette is a constant table. Nothing
// raises: text that cannot be read gives the index 255.
#pragma once

#include "Base/Color/RGBColor.h"
#include "Base/Export.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class HSBColor;
class HSLColor;
class LABColor;
class TranslatedString;
class XYZColor;

// Rows: 0 black; 1 to 7 red, yellow, green, cyan, blue, magenta, white; 8 and 9 greys; 10 to
// 249 in blocks of ten, one for each 15 degrees of hue from red, each block going through the
// value levels 255, 189, 129, 104 and 79, the full colour on the even row and a paler one on the
// odd row; 250 to 255 greys up to white. Every row is opaque.
class QELTA_BASE_EXPORT ACIColor {
  public:
    unsigned char index = 0;

    constexpr ACIColor() noexcept = default;
    constexpr explicit ACIColor(unsigned char palette_index) noexcept : index(palette_index) {}
    // An absent hue gives the greys 250 to 255 by brightness. Otherwise the block of the hue
    // (ten rows to each 15 degrees, from row 10), then 8, 6, 4, 2 or 0 more as the brightness is
    // below 0.3, 0.5, 0.6, 0.8 or not, and 1 more for a saturation below 0.5. A grey RGBColor
    // has the hue 0 and so lands in the red block, deliberately.
    explicit ACIColor(HSBColor const & color) noexcept;
    // Through HSBColor.
    explicit ACIColor(RGBColor const & color) noexcept;
    explicit ACIColor(HSLColor const & color) noexcept;
    explicit ACIColor(XYZColor const & color) noexcept;
    explicit ACIColor(LABColor const & color) noexcept;

    // The palette row; the name is spelled so in every caller.
    RGBColor getRBGAColor() const noexcept;
    // The name of the palette row, as RGBColor::getName().
    TranslatedString getName() const;

    friend constexpr bool operator==(ACIColor const &, ACIColor const &) noexcept = default;
};

// The index as an unsigned char.
template <>
class QELTA_BASE_EXPORT StringStream<ACIColor> {
  public:
    static void fromString(StringView const & text, ACIColor & value) noexcept;
    static void toString(ACIColor const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
};

} // namespace QELTA
