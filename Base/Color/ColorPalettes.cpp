// The design palettes as constant tables of 0xRRGGBB.
#include "Base/Color/ColorPalettes.h"

#include <cstddef>
#include <cstdint>

namespace QELTA {
namespace {

template <std::size_t N>
Buffer<RGBColor> Palette(std::uint32_t const (&colors)[N]) {
    Buffer<RGBColor> palette;
    palette.ensureCapacity(static_cast<unsigned int>(N));
    for (std::uint32_t const rgb : colors) {
        palette.add(RGBColor(rgb >> 16, (rgb >> 8) & 0xFF, rgb & 0xFF, RGBColor::opaque));
    }
    return palette;
}

// clang-format off
constexpr std::uint32_t rainbow[] = {0xFF00FF, 0x2502FE, 0x002DBB, 0x00886E, 0x00E422, 0x2BFF00, 0x83FF00, 0xDAFF00, 0xFFD500, 0xFF8800, 0xFE3B00, 0xFF0200};
constexpr std::uint32_t strata[] = {0x2F486D, 0x7C383B, 0x607435, 0xC97F1C, 0x7A8D84, 0xA21C34, 0x928FCF, 0xC7C182, 0x8C5430, 0x8392A7, 0x496C66, 0x95874C};
constexpr std::uint32_t rainbow_contrast[] = {0x8931EF, 0xF2CA19, 0xFF00BD, 0x0057E9, 0x87E911, 0xE11845};
constexpr std::uint32_t earth_mineral[] = {0x20120C, 0x522F18, 0x784B23, 0xA2682E, 0xC4893A, 0xD9A848, 0x9D9166, 0x627A84, 0x446594, 0x388170, 0xD47844, 0xEBC976};
constexpr std::uint32_t blueprint[] = {0x0A1830, 0x0E2C5A, 0x124687, 0x1660B2, 0x2E7ECC, 0x589CDC, 0x8CB6E6, 0xBCCEEE, 0xEAF0F8, 0xE8C43D, 0xE8683D, 0x40E0A3};
constexpr std::uint32_t midnight_signal[] = {0x0A1026, 0x102048, 0x163776, 0x1C54A4, 0x2274D2, 0x2896F5, 0xFACE18, 0xE85018, 0xF0F0F0, 0xA0C8FF, 0x78F0B4, 0xFF6E96};
constexpr std::uint32_t tactical_field[] = {0x121C16, 0x202C24, 0x324230, 0x4E5C41, 0x6E7A56, 0x909A6D, 0xB0B287, 0xCCC6A0, 0x60707C, 0x3A4E5C, 0xD2543E, 0xE8D280};
constexpr std::uint32_t monochrome_accent[] = {0x121212, 0xF0BE50, 0x2A2A2A, 0x50C8A0, 0x484848, 0x686868, 0x3C8CE6, 0x909090, 0xE63C3C, 0xB6B6B6, 0xF8F8F8, 0xDCDCDC};
constexpr std::uint32_t sediment_layer[] = {0x213658, 0x345C70, 0x4A8278, 0x6A9C6E, 0x9AB060, 0xC0A856, 0xCE8C58, 0xB66C56, 0x925654, 0x744E64, 0x62467E, 0xDECC98};
constexpr std::uint32_t safety_glow[] = {0x1C1C1C, 0x363636, 0xFF8200, 0xFFB400, 0xFFDC00, 0xD42420, 0x24A048, 0x2C7CE8, 0xF8F8F8, 0x6E6E6E, 0xB4B4B4, 0xFFEAAA};
constexpr std::uint32_t energy_flow[] = {0x061E38, 0x004A77, 0x007AA3, 0x00A2C6, 0x00C4B0, 0x28D680, 0x78E05C, 0xBCEA54, 0xF4EA54, 0xF8BE3C, 0xF8843C, 0xF05656};
constexpr std::uint32_t ocean_beacon[] = {0x081E50, 0x12468C, 0x1C6EC8, 0x2A96F6, 0x18CCDC, 0x1CE2A0, 0x28DE5C, 0xECCE18, 0xF6921C, 0xEC4628, 0xF6F6F6, 0x181818};
constexpr std::uint32_t aero_system[] = {0x080A10, 0x6EF6D2, 0x142848, 0xF66EAA, 0x26568E, 0xF6AA6E, 0x428AC8, 0x66B0E2, 0xF6F66E, 0xACCCEC, 0x6EF66E, 0xF8F8F8};
constexpr std::uint32_t vital_scan[] = {0x08181C, 0x0A4652, 0x107884, 0x18A4AA, 0x30C6C4, 0x68DCCE, 0xA8EAD6, 0xE0F4F0, 0xFCDE6E, 0xFCA064, 0xEC6078, 0x7878E0};
constexpr std::uint32_t urban_structure[] = {0x24282C, 0x405460, 0x5C8280, 0x7AA890, 0xA4C494, 0xCED69C, 0xE6E4AA, 0xF8F0BC, 0xF0C460, 0xEC8854, 0x4494E8, 0x9060C4};
// clang-format on

} // namespace

Buffer<RGBColor> ColorPalettes::RainbowPalette() {
    return Palette(rainbow);
}

Buffer<RGBColor> ColorPalettes::StrataPalette() {
    return Palette(strata);
}

Buffer<RGBColor> ColorPalettes::RainbowContrastPalette() {
    return Palette(rainbow_contrast);
}

Buffer<RGBColor> ColorPalettes::EarthMineralPalette() {
    return Palette(earth_mineral);
}

Buffer<RGBColor> ColorPalettes::BlueprintPalette() {
    return Palette(blueprint);
}

Buffer<RGBColor> ColorPalettes::MidnightSignalPalette() {
    return Palette(midnight_signal);
}

Buffer<RGBColor> ColorPalettes::TacticalFieldPalette() {
    return Palette(tactical_field);
}

Buffer<RGBColor> ColorPalettes::MonochromeAccentPalette() {
    return Palette(monochrome_accent);
}

Buffer<RGBColor> ColorPalettes::SedimentLayerPalette() {
    return Palette(sediment_layer);
}

Buffer<RGBColor> ColorPalettes::SafetyGlowPalette() {
    return Palette(safety_glow);
}

Buffer<RGBColor> ColorPalettes::EnergyFlowPalette() {
    return Palette(energy_flow);
}

Buffer<RGBColor> ColorPalettes::OceanBeaconPalette() {
    return Palette(ocean_beacon);
}

Buffer<RGBColor> ColorPalettes::AeroSystemPalette() {
    return Palette(aero_system);
}

Buffer<RGBColor> ColorPalettes::VitalScanPalette() {
    return Palette(vital_scan);
}

Buffer<RGBColor> ColorPalettes::UrbanStructurePalette() {
    return Palette(urban_structure);
}

} // namespace QELTA
