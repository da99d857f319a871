// ColorOptions: the application's colours for errors, warnings, selections and valid input,
// kept as user options, and its default palette.
//
// All-static. The four colours are ApplicationOptions registered in ApplicationOptions::
// UserOptions() under "Color Settings" when the library is loaded, and are saved with the user's
// settings in their text form "red,green,blue,alpha"; the palette is a Resource only, since a
// settings file has no form for a list of colours. Values are Resources: any thread may set them
// and their listeners run on that thread (see ResourceBase.h). Nothing raises.
#pragma once

#include "Base/Color/RGBColor.h"
#include "Base/Export.h"
#include "Base/Settings/ApplicationOptions.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Buffer.h"

namespace QELTA {

// Defined with the other instances in INIFactory.cpp and ApplicationOptions.cpp: the text form is
// StringStream<RGBColor>'s, the binary payload the four bytes red, green, blue, alpha.
extern template class QELTA_BASE_EXPORT INIFactory::INIObject<RGBColor>;
extern template class QELTA_BASE_EXPORT ApplicationOption<RGBColor>;

// The start values are the application's own choice; users change them through their settings.
class QELTA_BASE_EXPORT ColorOptions {
  public:
    ColorOptions() = delete;

    static ApplicationOption<RGBColor> error_color;
    static ApplicationOption<RGBColor> warning_color;
    static ApplicationOption<RGBColor> selection_color;
    static ApplicationOption<RGBColor> valid_color;
    // Starts as ColorPalettes::StrataPalette().
    static Resource<Buffer<RGBColor>> default_palette;
};

} // namespace QELTA
