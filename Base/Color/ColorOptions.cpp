// The application's colour options and their start values.
#include "Base/Color/ColorOptions.h"

#include "Base/Color/ColorPalettes.h"
#include "Base/Language/Internal/Translatable.h"

namespace QELTA {
namespace {

constexpr char group[] = "Color Settings";
constexpr char error_name[] = "Error Color";
constexpr char warning_name[] = "Warning Color";
constexpr char selection_name[] = "Selection Color";
constexpr char valid_name[] = "Valid Color";

} // namespace

ApplicationOption<RGBColor> ColorOptions::error_color(Internal::Translatable(group), Internal::Translatable(error_name),
                                                      RGBColor(220, 40, 40), &ApplicationOptions::UserOptions());
ApplicationOption<RGBColor> ColorOptions::warning_color(Internal::Translatable(group),
                                                        Internal::Translatable(warning_name), RGBColor(240, 170, 0),
                                                        &ApplicationOptions::UserOptions());
ApplicationOption<RGBColor> ColorOptions::selection_color(Internal::Translatable(group),
                                                          Internal::Translatable(selection_name),
                                                          RGBColor(40, 120, 220), &ApplicationOptions::UserOptions());
ApplicationOption<RGBColor> ColorOptions::valid_color(Internal::Translatable(group), Internal::Translatable(valid_name),
                                                      RGBColor(40, 160, 70), &ApplicationOptions::UserOptions());
Resource<Buffer<RGBColor>> ColorOptions::default_palette(ColorPalettes::StrataPalette());

} // namespace QELTA
