// Translator: languages from their settings and translation files, and the ids of labels.
#include "Base/Language/Translator.h"

#include "Base/Concurrency/RWLock.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/FileResource.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/UnitDefinitions.h"

#include <mutex>
#include <shared_mutex>
#include <utility>

namespace QELTA {

namespace {

// The labels seen by DefaultFastID, by id. A std::shared_mutex guards it: ids are made while
// locks by address are being set up, and the lock table itself uses ids of its texts.
struct LabelTable {
    std::shared_mutex mutex;
    Dictionary<UUID, String> labels;
};

LabelTable & Labels() {
    static LabelTable * const s_label_table = new LabelTable(); // never freed: ids outlive every static
    return *s_label_table;
}

struct LabelReplacement {
    char const * from;
    char const * to;
};

// Applied in this order after spaces became '_'.
constexpr LabelReplacement label_replacements[] = {
    {":", "_colon_"}, {"=", "_equals_"}, {"-", "_dash_"},    {"\n", "_newline_"},
    {"\t", "_tab_"},  {".", "_dot_"},    {"\r", "_return_"},
};

constexpr char default_common_characters[] =
    "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ~`!@#$%^&*()-+=<>[]{}|?:\"'\\/.,";
constexpr char settings_extension[] = ".ini";
constexpr char translation_extension[] = ".tr";
constexpr char main_settings_name[] = "language_settings.ini";
constexpr char english_id[] = "en_US";
constexpr char english_name[] = "English";

File InTranslations(bool writable, StringView const & id, char const * extension) {
    File file = FileResource::PathToProgramTranslations(writable);
    file.appendPath(id);
    file.appendPath(extension);
    return file;
}

// The main language while it is being made on this thread: texts shown meanwhile show in English
// instead of asking for it again.
thread_local bool t_making_main_translator = false;

} // namespace

// Languages

Translator::Translator() {
    init();
}

Translator::Translator(File const & settings) : INIInterface(settings) {
    init();
}

Translator::Translator(StringView const & id) : INIInterface(InTranslations(false, id, settings_extension)) {
    translation_id_ = id;
    init();
}

Translator::Translator(Translator const & other)
    : INIInterface(other), translation_file_(other.translation_file_), language_name_(other.language_name_),
      common_characters_(other.common_characters_), translation_id_(other.translation_id_),
      translated_strings_(other.translated_strings_), number_sep_(other.number_sep_),
      decimal_sep_(other.decimal_sep_), left_to_right_(other.left_to_right_) {}

Translator::Translator(Translator && other) noexcept
    : INIInterface(other), translation_ini_(std::move(other.translation_ini_)),
      translation_file_(std::move(other.translation_file_)), language_name_(std::move(other.language_name_)),
      common_characters_(std::move(other.common_characters_)), translation_id_(std::move(other.translation_id_)),
      translated_strings_(std::move(other.translated_strings_)), is_loaded_(other.is_loaded_.load()),
      number_sep_(other.number_sep_), decimal_sep_(other.decimal_sep_), left_to_right_(other.left_to_right_) {}

Translator & Translator::operator=(Translator && other) noexcept {
    if (this != &other) {
        INIInterface::operator=(other);
        translation_ini_ = std::move(other.translation_ini_);
        translation_file_ = std::move(other.translation_file_);
        language_name_ = std::move(other.language_name_);
        common_characters_ = std::move(other.common_characters_);
        translation_id_ = std::move(other.translation_id_);
        translated_strings_ = std::move(other.translated_strings_);
        is_loaded_.store(other.is_loaded_.load());
        number_sep_ = other.number_sep_;
        decimal_sep_ = other.decimal_sep_;
        left_to_right_ = other.left_to_right_;
    }
    return *this;
}

Translator & Translator::operator=(Translator const & other) {
    if (this != &other) {
        Translator copy(other);
        *this = std::move(copy);
    }
    return *this;
}

Translator::~Translator() = default;

void Translator::init() {
    common_characters_ = StringView(default_common_characters);
    readINIOptions();
}

void Translator::setID(StringView const & id) {
    translation_id_ = id;
    default_ini_file_ = id.isEmpty() ? File() : InTranslations(false, id, settings_extension);
}

String Translator::commonCharacters() const {
    String characters = common_characters_;
    for (auto const unit : {&UnitDefinitions::Degrees, &UnitDefinitions::Gradians, &UnitDefinitions::Meters}) {
        TranslatedString const name = unit()->translatedName();
        append(characters, name.translationID(), name.englishDefine());
    }
    return characters;
}

File Translator::translatorFile(bool writable) const {
    if (!translation_file_.isEmpty()) {
        return translation_file_;
    }
    if (translation_id_.isEmpty()) {
        return File();
    }
    return InTranslations(writable, translation_id_.view(), translation_extension);
}

void Translator::setTranslationFile(File const & file) {
    WLock const loading(&is_loaded_);
    translation_file_ = file;
    is_loaded_.store(false, std::memory_order_release);
}

File Translator::activeTranslatorFile() const {
    File const writable = translatorFile(true);
    return writable.exists() ? writable : translatorFile(false);
}

Dictionary<UUID, String> const & Translator::translatedStrings() const {
    ensureLanguageLoaded();
    return translated_strings_;
}

INIFactory & Translator::translationINI() {
    ensureLanguageLoaded();
    return translation_ini_;
}

void Translator::saveTranslation(File file) {
    if (file.isEmpty()) {
        file = translatorFile(true);
    }
    translation_ini_.writeToAsciiFile(file, false);
}

void Translator::refreshIfMain() {
    Resource<Translator *> & main = MainTranslatorResource();
    if (main.value() == this) {
        main.refreshListeners();
    }
}

void Translator::copyFrom(Translator const & other, bool keep_settings_file) {
    {
        WLock const loading(&is_loaded_);
        is_loaded_.store(false);
        translation_file_ = other.translation_file_;
        language_name_ = other.language_name_;
        translation_id_ = other.translation_id_;
        translated_strings_.clear();
        translation_ini_.clear();
        if (!keep_settings_file) {
            default_ini_file_ = other.default_ini_file_;
        }
    }
    refreshIfMain();
}

void Translator::copyTranslationsFrom(Translator const & other) {
    Dictionary<UUID, String> const & texts = other.translatedStrings();
    WLock const loading(&is_loaded_);
    translation_ini_.clear();
    translated_strings_ = texts;
    for (auto const & [id, text] : texts) {
        translation_ini_.addManagedOption(DefaultReadableLabel(id).view(), text.view(), true);
    }
    // Counts as loaded, or the first lookup would read this language's own file over the copy.
    is_loaded_.store(true, std::memory_order_release);
}

void Translator::ensureLanguageLoaded() const {
    if (is_loaded_.load(std::memory_order_acquire)) {
        return;
    }
    if (translation_id_.isEmpty()) {
        is_loaded_.store(true, std::memory_order_release);
        return;
    }
    WLock const loading(&is_loaded_);
    if (is_loaded_.load(std::memory_order_relaxed)) {
        return;
    }
    File file = activeTranslatorFile();
    if (file.exists()) {
        try {
            translation_ini_.readAsciiFile(file);
        } catch (Exception const &) {
            // An unreadable file leaves what it gave; the rest shows in English.
        }
    }
    translated_strings_.clear();
    Dictionary<String, String *> const & texts = translation_ini_.extraOptionsRef();
    translated_strings_.reserve(texts.size());
    for (auto const & [label, text] : texts) {
        translated_strings_.insert(UUID::CreateUUID(label.view()), *text);
    }
    is_loaded_.store(true, std::memory_order_release);
}

void Translator::getINI(INIFactory & factory) {
    factory.addINIOption("translation_id", new INIFactory::INIObject<String>(&translation_id_));
    factory.addINIOption("translation_file", new INIFactory::INIObject<File>(&translation_file_));
    factory.addINIOption("language_name", new INIFactory::INIObject<String>(&language_name_));
    factory.addINIOption("decimal_sep", new INIFactory::INIObject<char>(&decimal_sep_));
    factory.addINIOption("number_sep", new INIFactory::INIObject<char>(&number_sep_));
    factory.addINIOption("common_characters", new INIFactory::INIObject<String>(&common_characters_));
    factory.addINIOption("left_to_right", new INIFactory::INIObject<bool>(&left_to_right_));
}

String Translator::convertNumber(String const & number, bool add_comma, unsigned int min_decimals,
                                 unsigned int max_decimals, unsigned int min_digits) const {
    String text(number);
    text.formatNumberString(add_comma, min_decimals, max_decimals, min_digits, decimal_sep_, number_sep_);
    return text;
}

void Translator::append(String & out, UUID const & id, String const & english) const {
    ensureLanguageLoaded();
    if (id.isValid()) {
        if (auto const found = translated_strings_.find(id); found != translated_strings_.end()) {
            out.append(found->value().view());
            return;
        }
    }
    out.append(english.view());
}

void Translator::append(String & out, String const & english) const {
    append(out, DefaultFastID(DefaultReadableLabel(english.view()).view()), english);
}

// The registry and the main language

Dictionary<String, Translator *> & Translator::Translators() {
    static Dictionary<String, Translator *> * const s_translators = new Dictionary<String, Translator *>();
    return *s_translators;
}

Resource<Translator *> & Translator::MainTranslatorResource() {
    static Resource<Translator *> * const s_main_translator = new Resource<Translator *>(nullptr);
    return *s_main_translator;
}

Translator * Translator::MainTranslator() {
    Resource<Translator *> & main = MainTranslatorResource();
    if (main.value() != nullptr || t_making_main_translator) {
        return main.value();
    }
    t_making_main_translator = true;
    File settings = FileResource::PathToUserSettings();
    settings.appendPath(main_settings_name);
    Translator * const made = new Translator(settings); // lives to the end of the process
    t_making_main_translator = false;
    main.set(made);
    return made;
}

Translator * Translator::MainTranslator(StringView const & id) {
    Dictionary<String, Translator *> & translators = Translators();
    String const key(id);
    WLock const registry(&translators);
    Translator *& entry = translators[key];
    if (entry == nullptr) {
        entry = new Translator(id);
    }
    return entry;
}

void Translator::SetMainTranslator(Translator * translator) {
    MainTranslatorResource().set(translator);
}

Dictionary<String, Translator> Translator::GetAvailableTranslations(File folder) {
    if (folder.isEmpty()) {
        folder = FileResource::PathToProgramTranslations(false);
    }
    Dictionary<String, Translator> available;
    if (folder.exists()) {
        for (File const & child : folder.getChildren()) {
            if (!child.view().endsWith(StringView(settings_extension))) {
                continue;
            }
            Translator language(child);
            String const id = language.id();
            available.insert(id, std::move(language));
        }
    }
    if (!available.contains(String(english_id))) {
        Translator english{StringView(english_id)};
        english.setName(StringView(english_name));
        available.insert(String(english_id), std::move(english));
    }
    return available;
}

// Ids of labels

UUID Translator::DefaultFastID(StringView const & label) {
    UUID const id = UUID::CreateUUID(label);
    if (!id.isValid()) {
        return id;
    }
    LabelTable & table = Labels();
    {
        std::shared_lock<std::shared_mutex> const read(table.mutex);
        if (table.labels.contains(id)) {
            return id;
        }
    }
    std::unique_lock<std::shared_mutex> const write(table.mutex);
    if (!table.labels.contains(id)) {
        table.labels.insert(id, String(label));
    }
    return id;
}

UUID Translator::DefaultID(StringView const & text) {
    return DefaultFastID(DefaultReadableLabel(text));
}

String Translator::DefaultReadableLabel(StringView const & text) {
    String label(text);
    label.makeLower();
    label.trimWhiteSpace();
    label.replace(StringView(" "), StringView("_"));
    for (LabelReplacement const & replacement : label_replacements) {
        label.replace(StringView(replacement.from), StringView(replacement.to));
    }
    return label;
}

String Translator::DefaultReadableLabel(UUID const & id) {
    LabelTable & table = Labels();
    {
        std::shared_lock<std::shared_mutex> const read(table.mutex);
        auto const found = table.labels.find(id);
        if (found != table.labels.end()) {
            return found->value();
        }
    }
    StringAllocatingView text;
    StringStream<UUID>::toString(id, text);
    return String(text.view());
}

} // namespace QELTA
