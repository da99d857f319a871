// Translator: one language, its texts by id and its number conventions; the ids of labels.
//
// A Translator owns its tables. It reads its settings file ("<id>.ini": name, separators,
// direction) on construction and its translation file ("<id>.tr": readable label = text) on the
// first lookup, once, under the write lock keyed by its loaded flag; after that, lookups read
// without a lock. The registry of languages and the main translator are created on first use and
// live to the end of the process; MainTranslator() must first be called on one thread (the
// library's start-up does so). The static id functions may be called from any thread: the label
// table has its own lock. A missing or unreadable file leaves a language empty, and every text
// then shows in English; nothing here raises.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"

#include <atomic>

namespace QELTA {

class QELTA_BASE_EXPORT Translator : public INIInterface {
  public:
    // No settings file.
    Translator();
    explicit Translator(File const & settings);
    // The settings file "<id>.ini" among the program's translations, with `id` as the language.
    explicit Translator(StringView const & id);
    // Files, texts, names and separators; not loaded.
    Translator(Translator const & other);
    Translator(Translator && other) noexcept;
    Translator & operator=(Translator && other) noexcept;
    Translator & operator=(Translator const & other);
    ~Translator() override;

    // Sets the default characters, then reads the settings file.
    void init();

    String const & id() const noexcept { return translation_id_; }
    // Also points the settings file at "<id>.ini" among the program's translations; an empty id
    // leaves no settings file.
    void setID(StringView const & id);
    String const & name() const noexcept { return language_name_; }
    void setName(StringView const & name) { language_name_ = name; }
    bool isLeftToRight() const noexcept { return left_to_right_; }
    char decimalSeparator() const noexcept { return decimal_sep_; }
    char numberSeparator() const noexcept { return number_sep_; }
    // The characters a font for this language needs: the common characters, then this language's
    // names of the units degrees, gradians and metres.
    String commonCharacters() const;

    // The explicit translation file, else "<id>.tr" in the writable or the shipped folder of
    // translations; empty without an id.
    File translatorFile(bool writable) const;
    // Names the translation file outright, e.g. one beside the settings file; read on the next load.
    void setTranslationFile(File const & file);
    // The writable file when it exists, else the shipped one.
    File activeTranslatorFile() const;
    // Both load first.
    Dictionary<UUID, String> const & translatedStrings() const;
    INIFactory & translationINI();
    // Writes the raw labels and texts, to translatorFile(true) when `file` is empty. Raises as
    // the ascii writer does.
    void saveTranslation(File file);

    void copyFrom(Translator const & other, bool keep_settings_file);
    void copyTranslationsFrom(Translator const & other);
    void ensureLanguageLoaded() const;

    void getINI(INIFactory & factory) override;

    // `number` in the text form of numbers, grouped and cut with this language's separators.
    virtual String convertNumber(String const & number, bool add_comma, unsigned int min_decimals,
                                 unsigned int max_decimals, unsigned int min_digits) const;
    // Appends the text of `id` in this language, or `english` when there is none.
    virtual void append(String & out, UUID const & id, String const & english) const;
    // The same, with the id derived from the English text.
    virtual void append(String & out, String const & english) const;

    // The registry of languages by id, made by MainTranslator(id).
    static Dictionary<String, Translator *> & Translators();
    // The language of the user; its listeners hear when it is replaced.
    static Resource<Translator *> & MainTranslatorResource();
    // The main language, made at the first call from "language_settings.ini" in the user's
    // settings folder. Null only while that first language is being made (a text shown meanwhile
    // shows in English).
    static Translator * MainTranslator();
    // The language `id` from the registry, made when missing.
    static Translator * MainTranslator(StringView const & id);
    // Replaces the main language; the listeners hear of a different one.
    static void SetMainTranslator(Translator * translator);
    // One language for each "*.ini" of `folder` (the shipped translations when empty), by id;
    // "en_US" is always there.
    static Dictionary<String, Translator> GetAvailableTranslations(File folder);

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

  private:
    // Tells the listeners of the main language when this is it.
    void refreshIfMain();

    mutable INIFactory translation_ini_;
    File translation_file_;
    String language_name_;
    String common_characters_;
    String translation_id_;
    mutable Dictionary<UUID, String> translated_strings_;
    mutable std::atomic<bool> is_loaded_{false};
    char number_sep_ = ',';
    char decimal_sep_ = '.';
    bool left_to_right_ = true;
};

} // namespace QELTA
