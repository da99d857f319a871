// ArchiveNames: the names an archive gives its entries and links, resolved below the folder it is
// extracted into.
//
// Plain functions on text; they look at no disk, so links standing on the way are the business of
// ExtractionPlatform, which never follows them. Thread-safe; raise nothing but a failed
// allocation.
#pragma once

#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA::Internal {

// The pieces of `name`, separated by "/" or "\", resolved lexically: empty pieces and "." are
// dropped and ".." takes back the piece before it. The result goes to `relative`, its pieces
// joined by "\", empty for the target folder itself. False, and `relative` unspecified, for a name
// that starts at a root ("/", "\" or a drive such as "C:"), climbs above the target, or holds a
// zero byte.
bool ResolveEntryName(StringView const & name, String & relative);

// Where a link at the resolved entry `entry` leads when its text `link` is read from the entry's
// folder, resolved as above. False for a link text that starts at a root or leads above the target.
bool ResolveLinkTarget(StringView const & entry, StringView const & link, String & relative);

} // namespace QELTA::Internal
