// Lexical resolution of archive names below the target folder.
#include "Base/Files/Internal/ArchiveNames.h"

#include "Base/Text/Buffer.h"

namespace QELTA::Internal {
namespace {

bool IsSeparator(char c) noexcept {
    return c == '/' || c == '\\';
}

// A first piece such as "C:", which names a drive on the systems that have them.
bool IsDrive(StringView const & piece) noexcept {
    if (piece.size() < 2 || piece[1] != ':') {
        return false;
    }
    char const letter = piece[0];
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

// Adds the pieces of `text` to `pieces`, resolving "." and ".."; false when ".." finds no piece.
bool AddPieces(StringView const & text, Buffer<StringView> & pieces) {
    unsigned int start = 0;
    while (start <= text.size()) {
        unsigned int end = start;
        while (end < text.size() && !IsSeparator(text[end])) {
            ++end;
        }
        StringView const piece(text.data() + start, end - start);
        if (piece.size() == 2 && piece[0] == '.' && piece[1] == '.') {
            if (pieces.isEmpty()) {
                return false;
            }
            pieces.removeLast();
        } else if (!piece.isEmpty() && !(piece.size() == 1 && piece[0] == '.')) {
            pieces.add(piece);
        }
        start = end + 1;
    }
    return true;
}

bool IsRooted(StringView const & text) noexcept {
    if (text.isEmpty()) {
        return false;
    }
    if (IsSeparator(text[0])) {
        return true;
    }
    unsigned int end = 0;
    while (end < text.size() && !IsSeparator(text[end])) {
        ++end;
    }
    return IsDrive(StringView(text.data(), end));
}

bool HasZeroByte(StringView const & text) noexcept {
    for (unsigned int i = 0; i < text.size(); ++i) {
        if (text[i] == '\0') {
            return true;
        }
    }
    return false;
}

void Join(Buffer<StringView> const & pieces, String & out) {
    out = String();
    for (unsigned int i = 0; i < pieces.size(); ++i) {
        if (i != 0) {
            out.append('\\');
        }
        out.append(pieces[i]);
    }
}

} // namespace

bool ResolveEntryName(StringView const & name, String & relative) {
    if (IsRooted(name) || HasZeroByte(name)) {
        return false;
    }
    Buffer<StringView> pieces;
    if (!AddPieces(name, pieces)) {
        return false;
    }
    Join(pieces, relative);
    return true;
}

bool ResolveLinkTarget(StringView const & entry, StringView const & link, String & relative) {
    if (link.isEmpty() || IsRooted(link) || HasZeroByte(link)) {
        return false;
    }
    Buffer<StringView> pieces;
    if (!AddPieces(entry, pieces)) {
        return false;
    }
    if (!pieces.isEmpty()) {
        pieces.removeLast(); // the entry's own name: the link is read from its folder
    }
    if (!AddPieces(link, pieces)) {
        return false;
    }
    Join(pieces, relative);
    return true;
}

} // namespace QELTA::Internal
