// The reader of the token text of a Font, shared by StringStream<Font> and the font settings file.
//
// A plain function on values; reentrant apart from FontEngine's lookup of "A", which locks. Never
// raises.
#pragma once

#include "Base/Host/Font.h"
#include "Base/Text/StringView.h"

namespace QELTA::Internal {

// Applies the tokens of `text` to `font` (see StringStream<Font>) and returns how many were
// understood: 0 means that the text said nothing about a font.
unsigned int ReadFontText(StringView const & text, Font & font);

} // namespace QELTA::Internal
