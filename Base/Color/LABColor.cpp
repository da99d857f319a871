// LABColor: the conversion from XYZ, the named colours and the text form.
#include "Base/Color/LABColor.h"

#include "Base/Color/ACIColor.h"
#include "Base/Color/HSBColor.h"
#include "Base/Color/Internal/ColorText.h"
#include "Base/Color/Internal/NamedColorTable.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/XYZColor.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/TypeInfo.h"

#include <cmath>
#include <limits>

namespace QELTA {
namespace {

constexpr double white_x = 0.9505;
constexpr double f_threshold = 0.008856;
constexpr double f_slope = 7.787;
constexpr double f_offset = 0.13793103448275862;
// getName: channels all below this are "Jet Black".
constexpr unsigned char black_limit = 14;
constexpr unsigned int jet_black_row = 0;
constexpr unsigned int pure_white_row = 1;
constexpr unsigned int first_searched_row = 2;

double F(double t) noexcept {
    return t > f_threshold ? std::cbrt(t) : f_slope * t + f_offset;
}

// The rows, and their l, a and b again in arrays of their own, so that the distances to all
// rows are worked in one loop the compiler can vectorise.
struct NameTable {
    Buffer<std::pair<LABColor, TranslatedString>> rows;
    alignas(32) float l[NamedColors::count];
    alignas(32) float a[NamedColors::count];
    alignas(32) float b[NamedColors::count];
};

NameTable * BuildNameTable() {
    auto * const table = new NameTable();
    table->rows.ensureCapacity(NamedColors::count);
    for (unsigned int i = 0; i < NamedColors::count; ++i) {
        NamedColors::Row const & row = NamedColors::rows[i];
        LABColor const lab{XYZColor(RGBColor(row.red, row.green, row.blue, RGBColor::opaque))};
        table->rows.add(std::pair<LABColor, TranslatedString>(lab, Internal::Translatable(row.name)));
        table->l[i] = lab.l;
        table->a[i] = lab.a;
        table->b[i] = lab.b;
    }
    return table;
}

NameTable const & Names() {
    static NameTable const * const s_table = BuildNameTable(); // never freed: names are handed out by reference
    return *s_table;
}

} // namespace

LABColor::LABColor(XYZColor const & color) noexcept {
    double const fx = F(static_cast<double>(color.x) / white_x);
    double const fy = F(static_cast<double>(color.y));
    double const fz = F(static_cast<double>(color.z));
    l = static_cast<float>(116.0 * fy - 16.0);
    a = static_cast<float>(500.0 * (fx - fy));
    b = static_cast<float>(200.0 * (fy - fz));
    alpha = color.alpha;
}

LABColor::LABColor(RGBColor const & color) noexcept : LABColor(XYZColor(color)) {}

LABColor::LABColor(ACIColor const & color) noexcept : LABColor(XYZColor(color)) {}

LABColor::LABColor(HSBColor const & color) noexcept : LABColor(XYZColor(color)) {}

TranslatedString const & LABColor::getName() const {
    NameTable const & table = Names();
    RGBColor const rgb{XYZColor(*this)};
    if (rgb.red < black_limit && rgb.green < black_limit && rgb.blue < black_limit) {
        return table.rows[jet_black_row].second;
    }
    if (rgb.red == 255 && rgb.green == 255 && rgb.blue == 255) {
        return table.rows[pure_white_row].second;
    }
    alignas(32) float distances[NamedColors::count];
    for (unsigned int i = 0; i < NamedColors::count; ++i) {
        float const dl = l - table.l[i];
        float const da = a - table.a[i];
        float const db = b - table.b[i];
        distances[i] = dl * dl + da * da + db * db;
    }
    // The least distance of rows 3 to 212, kept in lanes that do not wait for each other, then
    // the first row at that distance: the first of equal distances, as a walk in order finds it.
    constexpr unsigned int lanes = 8;
    float least[lanes];
    for (float & lane : least) {
        lane = std::numeric_limits<float>::infinity();
    }
    unsigned int i = first_searched_row + 1;
    for (; i + lanes <= NamedColors::count; i += lanes) {
        for (unsigned int j = 0; j < lanes; ++j) {
            least[j] = distances[i + j] < least[j] ? distances[i + j] : least[j];
        }
    }
    for (; i < NamedColors::count; ++i) {
        least[0] = distances[i] < least[0] ? distances[i] : least[0];
    }
    float smallest = least[0];
    for (float const lane : least) {
        smallest = lane < smallest ? lane : smallest;
    }
    // The search starts from row 2 with the index of row 0, deliberately (see the header): a row
    // must be strictly nearer than row 2 to be named. NaN distances name no row.
    if (!(smallest < distances[first_searched_row])) {
        return table.rows[jet_black_row].second;
    }
    unsigned int best_index = first_searched_row + 1;
    while (best_index + 1 < NamedColors::count && distances[best_index] != smallest) {
        ++best_index;
    }
    return table.rows[best_index].second;
}

template <>
Buffer<std::pair<LABColor, TranslatedString>> const & LABColor::RALClassicColors<LABColor>() {
    return Names().rows;
}

void StringStream<LABColor>::fromString(StringView const & text, LABColor & value) noexcept {
    float fields[4] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::quiet_NaN()};
    ColorText::ReadFields(
        text, 4, [&](unsigned int index, StringView const & field) { ColorText::ReadField(field, fields[index]); });
    value = LABColor(fields[0], fields[1], fields[2], fields[3]);
}

void StringStream<LABColor>::toString(LABColor const & value, StringAllocatingView & out) {
    ColorText::WriteFields(out, value.l, value.a, value.b, value.alpha);
}

char const * StringStream<LABColor>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

} // namespace QELTA
