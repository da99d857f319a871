// FontPlatform: the named operations by which fonts installed on the system are found.
//
// All-static and thread-safe. Paths come out in the library's form (backslash separators). Nothing
// raises: a system without a font service, or a family it doesn't have, gives false or an empty
// name.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

#include <cstdint>

namespace QELTA {

class QELTA_BASE_EXPORT FontPlatform {
  public:
    FontPlatform() = delete;

    // The installed font of the family `name`, compared without case. The last words of `name`
    // may be "bold" and "italic" (or "oblique"), which ask for that face: a family without a bold
    // (italic) face is refused then. The system's substitute for another family is refused too.
    static bool FindFontFile(StringView const & name, String & path, std::uint32_t & index);

    // The family of the installed font that suits `family`, `bold` and `italic` best among those
    // that can draw `character`: `family` itself when it can. Empty when no font can.
    static String FindFamilyWithCharacter(StringView const & family, bool bold, bool italic, char32_t character);
};

} // namespace QELTA
