// FontEngine: the font files of the machine and of the program, the application's named fonts,
// their settings file and the listeners of each.
//
// All-static. The tables live until the process ends and are guarded by one lock, so any thread
// may call; listeners run on the thread that sets the font, after the lock is let go, and may call
// back into the engine. Nothing raises but the settings file's writer (FileException). Adding or
// removing a listener of a name that is no application font is a programmer's fault and ends the
// process with "Couldn't find key." (see Dictionary.h).
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Host/Font.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"

#include <cstdint>
#include <functional>

namespace QELTA {

class QELTA_BASE_EXPORT FontEngine {
  public:
    FontEngine() = delete;

    // A font file and the face inside it; an empty file when nothing was found.
    struct FontFile {
        File file;
        std::uint32_t index = 0;
    };

    using Listener = std::function<void(StringView const &)>;

    // The settings file holds a line for each application font: its name, "~" and its text form.
    static constexpr char settings_separator = '~';

    // Font files known by name, in any case ("dejavu sans bold" for the bold face).
    static bool HasFontFile(StringView const & name);
    static void SetFontFile(StringView const & name, File const & file, std::uint32_t index);
    // Knows each file of an existing folder by its name without the extension, face 0.
    static void PullFontFromFolder(File const & folder);

    // The file that fits `font` best, and sets its face index and family flags (see Font). The name
    // in lower case, with " bold" and then " italic" appended when `font` asks for them and its
    // name doesn't say so already, goes to TryFontName; then the plain name; then, with
    // `use_fallback`, "arial". An empty file when none of them is found.
    static File FindBestFitFontFile(Font & font, bool use_fallback);
    // The file of a font name: a file set for it that exists (or is embedded, "<..."), else
    // "<name>.ttf" in the folder "Fonts" of FileResource::PathToConstResources(), else the installed
    // font of that family (the name's last words "bold" and "italic" ask for the face); the
    // system's substitute for a family it doesn't have is refused.
    static FontFile TryFontName(StringView const & name);
    // `font` under the name of an installed family that can draw `character`, the family of `font`
    // first when it can; `font` as it is when no family can.
    static Font FindFallbackFont(Font font, wchar_t character);

    // The named fonts of the application. An unknown name gives a default Font.
    static Font ApplicationFont(StringView const & name);
    static bool HasApplicationFont(StringView const & name);
    // Sets the font and calls the listeners of `name`, in no fixed order.
    static void SetApplicationFont(StringView const & name, Font const & font);
    static void AddFontListener(StringView const & name, UUID const & id, Listener listener);
    static void RemoveFontListener(StringView const & name, UUID const & id);

    static void SetSettingsFile(File const & file);
    static File SettingsFile();
    // Sets each application font of the settings file. Nothing is read when the file doesn't exist
    // or is embedded ("<..."). A line without "~", with an empty name or without a token that
    // reads leaves that font as it was.
    static void ReadFontSettings();
    // Writes every application font, in the order of their names.
    static void SaveFontSettings();

    // Forgets every font, file, listener and the settings file.
    static void ResetForTesting();
};

} // namespace QELTA
