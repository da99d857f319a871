// ColorPalettes: the fifteen design palettes of the application, each a list of opaque colours.
//
// All-static and reentrant; the colours are constant tables and each call returns a new Buffer
// that the caller owns. Nothing raises beyond a failed allocation of the Buffer.
#pragma once

#include "Base/Color/RGBColor.h"
#include "Base/Export.h"
#include "Base/Text/Buffer.h"

namespace QELTA {

// RainbowContrastPalette has six colours, every other palette twelve.
class QELTA_BASE_EXPORT ColorPalettes {
  public:
    ColorPalettes() = delete;

    static Buffer<RGBColor> RainbowPalette();
    static Buffer<RGBColor> StrataPalette();
    static Buffer<RGBColor> RainbowContrastPalette();
    static Buffer<RGBColor> EarthMineralPalette();
    static Buffer<RGBColor> BlueprintPalette();
    static Buffer<RGBColor> MidnightSignalPalette();
    static Buffer<RGBColor> TacticalFieldPalette();
    static Buffer<RGBColor> MonochromeAccentPalette();
    static Buffer<RGBColor> SedimentLayerPalette();
    static Buffer<RGBColor> SafetyGlowPalette();
    static Buffer<RGBColor> EnergyFlowPalette();
    static Buffer<RGBColor> OceanBeaconPalette();
    static Buffer<RGBColor> AeroSystemPalette();
    static Buffer<RGBColor> VitalScanPalette();
    static Buffer<RGBColor> UrbanStructurePalette();
};

} // namespace QELTA
