// Fuzz target: the token text of Font and the font settings file. The bytes, as a view with
// nothing behind it, read as a Font, which must print and read back the same; they also go through
// the settings reader as a file, and through the blocks of a formatted log message, whose codes
// change fonts. Nothing may read outside the text, loop forever or raise.
#include "Base/Host/Font.h"
#include "Base/Host/FontEngine.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace QELTA;
using Fuzzing::CheckReadsBack;
using Fuzzing::ExactCopy;
using Fuzzing::ScratchFile;

bool SameSize(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) {
        return std::isnan(a) && std::isnan(b);
    }
    return std::fabs(a - b) <= 1e-9 * std::fmax(std::fabs(a), std::fabs(b)) + 1e-300;
}

bool Same(Font const & a, Font const & b) {
    for (unsigned int i = 0; i < Font::size_count; ++i) {
        if (!SameSize(a.size(static_cast<Font::Size>(i)), b.size(static_cast<Font::Size>(i)))) {
            return false;
        }
    }
    return a.name().view() == b.name().view() && a.applicationFont().view() == b.applicationFont().view() &&
           a.file().view() == b.file().view() && a.quality() == b.quality() && a.color() == b.color() &&
           a.isBold() == b.isBold() && a.isItalic() == b.isItalic() && a.isUnderline() == b.isUnderline() &&
           a.isOverline() == b.isOverline() && a.isStrike() == b.isStrike();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 4096) {
        return 0;
    }
    ExactCopy const bytes(data, size);
    StringView const text = bytes.view();

    FontEngine::ResetForTesting();
    Font body;
    body.setName("DejaVu Sans");
    body.setIsBold(true);
    FontEngine::SetApplicationFont("Body", body);

    Font font;
    CheckReadsBack(text, font, Font(), Same);

    Font working = font;
    for (unsigned int code : {0u, 1u, 3u, 37u, 97u, 108u}) {
        working.executeAnsiiCode(code, font);
    }
    (void)LogMessage(text, 0).messageBlocks(font);

    static ScratchFile const settings("fonts", ".txt");
    std::string const & path = settings.fill(data, size);
    try {
        FontEngine::SetSettingsFile(File(String(path)));
        FontEngine::ReadFontSettings();
    } catch (...) {
        std::abort();
    }
    return 0;
}
