// Installed fonts on Linux through fontconfig: a family is matched and taken only when the match is
// that family, and the fonts sorted by fitness are searched for one whose charset holds a character.
#include "Base/Host/Platform/FontPlatform.h"

#include <fontconfig/fontconfig.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <strings.h>

namespace QELTA {
namespace {

// The last words of a name that ask for a face rather than name the family.
constexpr std::string_view bold_word = "bold";
constexpr std::string_view italic_words[] = {"italic", "oblique"};

struct Request {
    std::string family;
    bool bold = false;
    bool italic = false;
};

// The library's own configuration of fontconfig, so that nothing the host does with fontconfig's
// global state touches it, and every call is made under one lock. Never freed: a call after the
// end of the process was announced finds no configuration instead of a freed one.
struct Fonts {
    std::mutex lock;
    FcConfig * config = nullptr;
    bool loaded = false;
};

Fonts & TheFonts() {
    static auto * s_fonts = new Fonts();
    return *s_fonts;
}

// Gives the configuration back when the process ends, so that no part of it is left behind.
struct Release {
    Release() = default;
    Release(Release const &) = delete;
    Release & operator=(Release const &) = delete;
    ~Release() {
        Fonts & fonts = TheFonts();
        std::lock_guard<std::mutex> const guard(fonts.lock);
        if (fonts.config != nullptr) {
            FcConfigDestroy(fonts.config);
            fonts.config = nullptr;
        }
    }
};

// The configuration, loaded on first use; null when there is none. Call with the lock held.
FcConfig * Configuration(Fonts & fonts) {
    if (!fonts.loaded) {
        fonts.loaded = true;
        fonts.config = FcInitLoadConfigAndFonts();
        static Release s_release;
    }
    return fonts.config;
}

// Takes `word` off the end of `text` when it is the last word there, in any case.
bool TakeLastWord(std::string & text, std::string_view word) {
    if (text.size() <= word.size() || text[text.size() - word.size() - 1] != ' ' ||
        strncasecmp(text.c_str() + text.size() - word.size(), word.data(), word.size()) != 0) {
        return false;
    }
    text.resize(text.size() - word.size() - 1);
    while (!text.empty() && text.back() == ' ') {
        text.pop_back();
    }
    return true;
}

// False for a name that holds a zero byte, which no family has.
bool ReadRequest(StringView const & name, Request & request) {
    request.family.assign(name.data() == nullptr ? "" : name.data(), name.size());
    if (request.family.find('\0') != std::string::npos) {
        return false;
    }
    while (!request.family.empty() && request.family.back() == ' ') {
        request.family.pop_back();
    }
    for (bool taken = true; taken;) {
        taken = false;
        if (TakeLastWord(request.family, bold_word)) {
            request.bold = taken = true;
        }
        for (std::string_view const word : italic_words) {
            if (TakeLastWord(request.family, word)) {
                request.italic = taken = true;
            }
        }
    }
    return !request.family.empty();
}

class Pattern {
  public:
    Pattern(std::string const & family, bool bold, bool italic) : pattern_(FcPatternCreate()) {
        if (pattern_ == nullptr) {
            return;
        }
        if (!family.empty()) {
            FcPatternAddString(pattern_, FC_FAMILY, reinterpret_cast<FcChar8 const *>(family.c_str()));
        }
        FcPatternAddInteger(pattern_, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
        FcPatternAddInteger(pattern_, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    }
    ~Pattern() {
        if (pattern_ != nullptr) {
            FcPatternDestroy(pattern_);
        }
    }
    Pattern(Pattern const &) = delete;
    Pattern & operator=(Pattern const &) = delete;

    FcPattern * get() const noexcept { return pattern_; }
    // The system's defaults and substitutions, once everything is added.
    void complete(FcConfig * config) const {
        FcConfigSubstitute(config, pattern_, FcMatchPattern);
        FcDefaultSubstitute(pattern_);
    }

  private:
    FcPattern * pattern_;
};

bool HasFamily(FcPattern * font, std::string const & family) {
    FcChar8 * value = nullptr;
    for (int i = 0; FcPatternGetString(font, FC_FAMILY, i, &value) == FcResultMatch; ++i) {
        if (strcasecmp(reinterpret_cast<char const *>(value), family.c_str()) == 0) {
            return true;
        }
    }
    return false;
}

bool IsFace(FcPattern * font, bool bold, bool italic) {
    int weight = FC_WEIGHT_REGULAR;
    int slant = FC_SLANT_ROMAN;
    FcPatternGetInteger(font, FC_WEIGHT, 0, &weight);
    FcPatternGetInteger(font, FC_SLANT, 0, &slant);
    return (!bold || weight >= FC_WEIGHT_DEMIBOLD) && (!italic || slant != FC_SLANT_ROMAN);
}

} // namespace

bool FontPlatform::FindFontFile(StringView const & name, String & path, std::uint32_t & index) {
    Request request;
    if (!ReadRequest(name, request)) {
        return false;
    }
    Fonts & fonts = TheFonts();
    std::lock_guard<std::mutex> const guard(fonts.lock);
    FcConfig * const config = Configuration(fonts);
    Pattern const pattern(request.family, request.bold, request.italic);
    if (config == nullptr || pattern.get() == nullptr) {
        return false;
    }
    pattern.complete(config);
    FcResult result = FcResultNoMatch;
    FcPattern * const match = FcFontMatch(config, pattern.get(), &result);
    if (match == nullptr) {
        return false;
    }
    FcChar8 * file = nullptr;
    int face = 0;
    bool const found = HasFamily(match, request.family) && IsFace(match, request.bold, request.italic) &&
                       FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch;
    if (found) {
        std::string system_path(reinterpret_cast<char const *>(file));
        std::replace(system_path.begin(), system_path.end(), '/', '\\');
        path = String(system_path);
        FcPatternGetInteger(match, FC_INDEX, 0, &face);
        index = static_cast<std::uint32_t>(face);
    }
    FcPatternDestroy(match);
    return found;
}

String FontPlatform::FindFamilyWithCharacter(StringView const & family, bool bold, bool italic, char32_t character) {
    Request request;
    ReadRequest(family, request);
    if (request.family.find('\0') != std::string::npos) {
        return String();
    }
    Fonts & fonts = TheFonts();
    std::lock_guard<std::mutex> const guard(fonts.lock);
    FcConfig * const config = Configuration(fonts);
    Pattern const pattern(request.family, bold || request.bold, italic || request.italic);
    FcCharSet * const wanted = FcCharSetCreate();
    if (config == nullptr || pattern.get() == nullptr || wanted == nullptr) {
        if (wanted != nullptr) {
            FcCharSetDestroy(wanted);
        }
        return String();
    }
    FcCharSetAddChar(wanted, character);
    FcPatternAddCharSet(pattern.get(), FC_CHARSET, wanted);
    FcCharSetDestroy(wanted);
    pattern.complete(config);
    FcResult result = FcResultNoMatch;
    FcFontSet * const sorted = FcFontSort(config, pattern.get(), FcTrue, nullptr, &result);
    if (sorted == nullptr) {
        return String();
    }
    String found;
    for (int i = 0; i < sorted->nfont && found.isEmpty(); ++i) {
        FcCharSet * charset = nullptr;
        FcChar8 * name = nullptr;
        if (FcPatternGetCharSet(sorted->fonts[i], FC_CHARSET, 0, &charset) == FcResultMatch &&
            FcCharSetHasChar(charset, character) == FcTrue &&
            FcPatternGetString(sorted->fonts[i], FC_FAMILY, 0, &name) == FcResultMatch) {
            found = String(reinterpret_cast<char const *>(name));
        }
    }
    FcFontSetDestroy(sorted);
    return found;
}

} // namespace QELTA
