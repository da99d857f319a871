// FontEngine: font files by name, the search for the file of a font, fallback by character, and
// the application fonts with their listeners and settings file.
#include "Base/Host/FontEngine.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/FileResource.h"
#include "Base/Host/Internal/FontText.h"
#include "Base/Host/Platform/FontPlatform.h"
#include "Base/Text/Dictionary.h"

#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace QELTA {
namespace {

constexpr char fonts_folder[] = "Fonts\\";
constexpr char font_ending[] = ".ttf";
constexpr char bold_word[] = "bold";
constexpr char italic_word[] = "italic";
constexpr char bold_suffix[] = " bold";
constexpr char italic_suffix[] = " italic";
constexpr char fallback_name[] = "arial";
constexpr char embedded_mark = '<';
constexpr char line_end = '\n';
constexpr char carriage_return = '\r';

struct State {
    std::mutex lock;
    Dictionary<String, Font> application_fonts;
    Dictionary<String, String> font_files;          // lower-case name to path
    Dictionary<String, std::uint32_t> font_indices; // lower-case name to face
    Dictionary<String, Dictionary<UUID, FontEngine::Listener>> listeners;
    File settings_file;
};

// Allocated on first use and never freed: fonts may be set by static objects.
State & TheState() {
    static auto * s_state = new State();
    return *s_state;
}

String Lower(StringView const & text) {
    String lower(text);
    lower.makeLower();
    return lower;
}

bool IsEmbedded(StringView const & path) noexcept {
    return !path.isEmpty() && path[0] == embedded_mark;
}

// A name that can stand as a file name in a folder: no separator, no zero byte, not "." or "..".
bool IsPlainFileName(StringView const & name) noexcept {
    if (name.isEmpty() || name == StringView(".") || name == StringView("..")) {
        return false;
    }
    for (char const c : name) {
        if (c == '\0' || File::IsPathSep(c)) {
            return false;
        }
    }
    return true;
}

bool Found(FontEngine::FontFile const & font_file) noexcept {
    return !font_file.file.isEmpty();
}

FontEngine::FontFile ProgramFontFile(StringView const & name) {
    if (!IsPlainFileName(name)) {
        return {};
    }
    try {
        File file = FileResource::PathToConstResources();
        file.appendPath(fonts_folder);
        file.appendPath(name);
        file.appendPath(font_ending);
        if (file.exists()) {
            return {file, 0};
        }
    } catch (Exception const &) {
        // too long for a path: no such file
    }
    return {};
}

} // namespace

bool FontEngine::HasFontFile(StringView const & name) {
    State & state = TheState();
    String const key = Lower(name);
    std::lock_guard<std::mutex> const guard(state.lock);
    return state.font_files.contains(key);
}

void FontEngine::SetFontFile(StringView const & name, File const & file, std::uint32_t index) {
    State & state = TheState();
    String const key = Lower(name);
    std::lock_guard<std::mutex> const guard(state.lock);
    state.font_files[key] = String(file.view());
    state.font_indices[key] = index;
}

void FontEngine::PullFontFromFolder(File const & folder) {
    File shaped = folder;
    if (!shaped.isEmpty() && !File::IsPathSep(shaped.view().last())) {
        shaped.append('\\');
    }
    if (shaped.isEmpty() || !shaped.exists()) {
        return;
    }
    for (File const & child : shaped.getChildren()) {
        StringView const name = child.getPath(File::NAME);
        if (!child.isDirectory() && !name.isEmpty()) {
            SetFontFile(name, child, 0);
        }
    }
}

FontEngine::FontFile FontEngine::TryFontName(StringView const & name) {
    State & state = TheState();
    String const key = Lower(name);
    String known;
    std::uint32_t known_index = 0;
    {
        std::lock_guard<std::mutex> const guard(state.lock);
        if (auto const found = state.font_files.find(key); found != state.font_files.end()) {
            known = found->value();
            if (auto const index = state.font_indices.find(key); index != state.font_indices.end()) {
                known_index = index->value();
            }
        }
    }
    if (!known.isEmpty()) {
        try {
            File file(known);
            if (IsEmbedded(known.view()) || file.exists()) {
                return {file, known_index};
            }
        } catch (Exception const &) {
            // a path no File can hold: look further
        }
    }
    if (FontFile program = ProgramFontFile(key.view()); Found(program)) {
        return program;
    }
    String path;
    std::uint32_t index = 0;
    if (FontPlatform::FindFontFile(key.view(), path, index)) {
        try {
            return {File(path), index};
        } catch (Exception const &) {
            // too long for a path
        }
    }
    return {};
}

File FontEngine::FindBestFitFontFile(Font & font, bool use_fallback) {
    String const lower = Lower(font.name_.view());
    font.has_bold_family_ = lower.hasSubString(StringView(bold_word));
    font.has_italic_family_ = lower.hasSubString(StringView(italic_word));
    FontFile found;
    String face = lower;
    if (font.bold_ && !font.has_bold_family_) {
        String const bold = face + StringView(bold_suffix);
        if (FontFile candidate = TryFontName(bold.view()); Found(candidate)) {
            found = std::move(candidate);
            face = bold;
            font.has_bold_family_ = true;
        }
    }
    if (font.italic_ && !font.has_italic_family_) {
        String const italic = face + StringView(italic_suffix);
        if (FontFile candidate = TryFontName(italic.view()); Found(candidate)) {
            found = std::move(candidate);
            font.has_italic_family_ = true;
        }
    }
    if (!Found(found)) {
        found = TryFontName(lower.view());
    }
    if (!Found(found) && use_fallback) {
        found = TryFontName(StringView(fallback_name));
    }
    font.file_index_ = found.index;
    return found.file;
}

Font FontEngine::FindFallbackFont(Font font, wchar_t character) {
    String const family = FontPlatform::FindFamilyWithCharacter(font.name().view(), font.isBold(), font.isItalic(),
                                                                static_cast<char32_t>(character));
    if (!family.isEmpty() && !family.isSameNoCase(font.name().view())) {
        font.setName(family.view());
    }
    return font;
}

Font FontEngine::ApplicationFont(StringView const & name) {
    State & state = TheState();
    String const key(name);
    std::lock_guard<std::mutex> const guard(state.lock);
    auto const found = state.application_fonts.find(key);
    return found != state.application_fonts.end() ? found->value() : Font();
}

bool FontEngine::HasApplicationFont(StringView const & name) {
    State & state = TheState();
    String const key(name);
    std::lock_guard<std::mutex> const guard(state.lock);
    return state.application_fonts.contains(key);
}

void FontEngine::SetApplicationFont(StringView const & name, Font const & font) {
    State & state = TheState();
    String const key(name);
    std::vector<Listener> listeners;
    {
        std::lock_guard<std::mutex> const guard(state.lock);
        state.application_fonts[key] = font;
        if (auto const found = state.listeners.find(key); found != state.listeners.end()) {
            for (auto const & entry : found->value()) {
                listeners.push_back(entry.value());
            }
        }
    }
    for (Listener const & listener : listeners) {
        listener(key.view());
    }
}

void FontEngine::AddFontListener(StringView const & name, UUID const & id, Listener listener) {
    State & state = TheState();
    String const key(name);
    std::lock_guard<std::mutex> const guard(state.lock);
    (void)state.application_fonts.at(key);
    state.listeners[key][id] = std::move(listener);
}

void FontEngine::RemoveFontListener(StringView const & name, UUID const & id) {
    State & state = TheState();
    String const key(name);
    std::lock_guard<std::mutex> const guard(state.lock);
    (void)state.application_fonts.at(key);
    if (auto const found = state.listeners.find(key); found != state.listeners.end()) {
        found->value().erase(id);
    }
}

void FontEngine::SetSettingsFile(File const & file) {
    State & state = TheState();
    std::lock_guard<std::mutex> const guard(state.lock);
    state.settings_file = file;
}

File FontEngine::SettingsFile() {
    State & state = TheState();
    std::lock_guard<std::mutex> const guard(state.lock);
    return state.settings_file;
}

void FontEngine::ReadFontSettings() {
    File file = SettingsFile();
    File::ByteBuffer bytes;
    try {
        if (file.isEmpty() || IsEmbedded(file.view()) || !file.exists()) {
            return;
        }
        bytes = file.getData();
    } catch (Exception const &) {
        return; // a file that can't be read changes no font
    }
    StringView const text(reinterpret_cast<char const *>(bytes.data()), bytes.size());
    for (StringView line : text.split(line_end, false)) {
        if (!line.isEmpty() && line.last() == carriage_return) {
            line.removeLast(1);
        }
        unsigned int const separator = line.indexOf(settings_separator);
        if (separator == StringView::not_found || separator == 0) {
            continue;
        }
        Font font;
        if (Internal::ReadFontText(line.substr(separator + 1), font) != 0) {
            SetApplicationFont(line.substr(0, separator), font);
        }
    }
}

void FontEngine::SaveFontSettings() {
    File file;
    Buffer<std::pair<String, Font>> fonts;
    {
        State & state = TheState();
        std::lock_guard<std::mutex> const guard(state.lock);
        file = state.settings_file;
        for (auto const & [name, font] : state.application_fonts) {
            fonts.add({name, font});
        }
    }
    if (file.isEmpty() || IsEmbedded(file.view())) {
        return;
    }
    fonts.sort([](auto const & a, auto const & b) {
        return std::string_view(a.first.view()) < std::string_view(b.first.view());
    });
    String text;
    for (auto const & [name, font] : fonts) {
        text.append(name.view());
        text.append(settings_separator);
        StringAllocatingView font_text;
        StringStream<Font>::toString(font, font_text);
        text.append(font_text.view());
        text.append(line_end);
    }
    file.writeText(text.view());
}

void FontEngine::ResetForTesting() {
    State & state = TheState();
    std::lock_guard<std::mutex> const guard(state.lock);
    state.application_fonts.clear();
    state.font_files.clear();
    state.font_indices.clear();
    state.listeners.clear();
    state.settings_file = File();
}

} // namespace QELTA
