// Translator: the ids of translatable texts, made from readable labels, and the table of labels seen.
//
// Only the static id functions exist so far; they own no object of the caller. They may be
// called from any thread: the label table is guarded by its own lock. Nothing raises, and the
// table, which only grows, is allocated on first use and never freed.
#pragma once

#include "Base/Export.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"

namespace QELTA {

// One language will be one Translator object: its table of texts by id, its number conventions
// and text direction, and the main translator that TranslatedString asks. That instance side
// comes with the settings files; the statics below are needed by every text before any language
// is loaded.
class QELTA_BASE_EXPORT Translator {
  public:
    // The id of a label: the label's bytes XORed cyclically into the invalid UUID, as
    // UUID::CreateUUID(StringView) does. The first label seen for an id is remembered for
    // DefaultReadableLabel(UUID); a later label with the same id does not replace it. An empty
    // label gives the invalid id, which names no text and is not remembered.
    static UUID DefaultFastID(StringView const & label);

    // The id of an English text: DefaultFastID(DefaultReadableLabel(text)).
    static UUID DefaultID(StringView const & text);

    // The label derived from an English text: ASCII lower case, trimmed of tabs, carriage
    // returns and spaces at both ends, each space as '_', then ':' "_colon_", '=' "_equals_",
    // '-' "_dash_", line feed "_newline_", tab "_tab_", '.' "_dot_", carriage return "_return_".
    static String DefaultReadableLabel(StringView const & text);

    // The label remembered for `id`, or the UUID's text form when no label was seen for it.
    static String DefaultReadableLabel(UUID const & id);
};

} // namespace QELTA
