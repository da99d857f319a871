// TranslatedString: a text meant for people, kept as English and an id, translated when shown.
//
// A TranslatedString is a value: it owns its slot values and copies them deeply; moving leaves
// the source empty. It has no lock, and translation() writes a cache, so an object shared by
// threads follows its owner's lock. No operation raises: a text without a translation shows its
// English form, and malformed text form loses parts as the parse rules below say.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"

#include <cstddef>
#include <cstdint>
#include <functional>

namespace QELTA {

// English text, a 16-byte translation id and `[key]` slots filled with other texts when shown.
// The id is invalid (all 0xFF) for a text that is shown as it stands in every language. Slots
// are kept in the order they were first set; each key occurs once, and a key ends at its first
// zero byte. Slot values nest at most max_slot_depth levels: a deeper value is stored as its
// filled English text without id. Filling stops, leaving the remaining keys in place, before the
// text would grow beyond max_filled_size bytes or after max_fill_work bytes were searched.
//
// Text form: "{label}English~key~value~key~value", where the "{label}" part is present only with
// an id and each value is written in its own text form. Reading takes the id from the label by
// Translator::DefaultFastID, splits the rest at every '~', and makes each pair behind the first
// part a slot. A value's own slots therefore come back as slots of the outer text, a text
// beginning with '{' but with no '}' reads as an empty text, and a single '~' drops the rest.
class QELTA_BASE_EXPORT TranslatedString {
  public:
    static constexpr unsigned int max_slot_depth = 32;
    static constexpr unsigned int max_filled_size = 1u << 20;
    static constexpr unsigned long long max_fill_work = 1ull << 26;

    TranslatedString() noexcept = default;
    // Parses the text form.
    explicit TranslatedString(StringView const & text);
    // Id and English text as they are, with no parsing.
    TranslatedString(UUID const & id, StringView const & english);
    // A text without id, not parsed: shown as it stands in every language.
    static TranslatedString DirectString(StringView const & text);

    TranslatedString(TranslatedString const & other);
    TranslatedString(TranslatedString && other) noexcept;
    TranslatedString & operator=(TranslatedString const & other);
    TranslatedString & operator=(TranslatedString && other) noexcept;
    ~TranslatedString();

    bool isTranslatable() const noexcept { return id_.isValid(); }
    bool isEmpty() const noexcept { return !id_.isValid() && english_define_.isEmpty(); }
    bool hasReplacements() const noexcept { return !replacements_.isEmpty(); }

    // Sets the slot `key` to the parsed text form `value`, adding it when new; empties the cache.
    void replace(StringView const & key, StringView const & value);
    void replace(StringView const & key, TranslatedString const & value);

    // The text in the current language with the slots filled; cached until replace() or
    // retranslate(). Calls it on the slot values too, filling their caches.
    StringView translation();
    // The text in the language `language_id` ("en_US" is englishTranslation()); no cache is used.
    String translation(String const & language_id) const;
    String englishTranslation() const;
    String const & englishDefine() const noexcept { return english_define_; }
    UUID const & translationID() const noexcept { return id_; }
    // Empties the cache of this text and of its slot values.
    void retranslate() noexcept;

    // The remembered label of the id, or with no id the label derived from the English text.
    String readableID() const;
    // The text form; also StringStream<TranslatedString>::toString.
    String internalValue() const;

    // Replaces, for each slot in order, every occurrence of its key in `text` by the slot's
    // translation (case-sensitive, from byte 0), filling the slots' caches.
    void replaceVals(String & text) const;
    // Whether the translated text, before its slots are filled, contains `key`; an empty key
    // gives true.
    bool canReplaceInTranslation(StringView const & key) const;

    // Appends `text` unless it is empty or begins with '{'.
    static void AppendTranslated(StringView const & text, String & out);

    // Deliberately not the opposite of !=: a difference in the slot keys alone makes == true.
    friend QELTA_BASE_EXPORT bool operator==(TranslatedString const & left, TranslatedString const & right) noexcept;
    // Slot count, id, English text, slot keys, then each slot; the cache is never looked at.
    friend QELTA_BASE_EXPORT bool operator!=(TranslatedString const & left, TranslatedString const & right) noexcept;
    // By the translated texts, byte by byte as signed char; a prefix orders first. A missing
    // translation is computed (filling the slots' caches) but not stored in the operand.
    friend QELTA_BASE_EXPORT bool operator<(TranslatedString const & left, TranslatedString const & right);
    friend QELTA_BASE_EXPORT bool operator>(TranslatedString const & left, TranslatedString const & right);

  private:
    using SlotBuffer = Buffer<TranslatedString *, BufferAllocator<TranslatedString *, 8, 1, unsigned int, 0, 0>>;

    // The text form's reading, into a fresh object.
    void calculateEnglishString(StringView const & text);
    // The index of the slot `key` (already cut at a zero byte), or SlotBuffer::not_found.
    unsigned int slotIndex(StringView const & key) const noexcept;
    void setSlot(StringView const & key, TranslatedString && value);
    // Appends a slot whose key is known to be new; `value` is within the depth limit.
    void addSlot(StringView const & key, TranslatedString && value);
    unsigned int depth() const noexcept;
    void deleteSlots() noexcept;
    // The own text in `language_id` without the slots filled; empty language: the current one.
    void appendOwnText(StringView const & language_id, String & out) const;
    // Fills the slots; an empty language uses the slots' caches.
    void fillSlots(StringView const & language_id, String & text) const;
    // The cache when filled, otherwise the translation computed into `scratch`.
    StringView translationView(String & scratch) const;

    // The one place where translators plug in: appends the text of `id` in `language_id` (empty:
    // the main translator's) and falls back to `english`. While the application has no name, the
    // main translator is not asked and every text shows its English form.
    static void AppendResolved(StringView const & language_id, UUID const & id, String const & english, String & out);

    SlotBuffer replacements_;
    String replace_keys_; // the keys of replacements_, in order, each ended by a zero byte
    String english_define_;
    String translation_; // empty: not looked up yet
    UUID id_;
};

template <>
struct DictionaryHash<TranslatedString> {
    // The UUID fold of the id; texts without id all hash to 0 and are told apart by ==.
    std::uint64_t operator()(TranslatedString const & key) const noexcept { return key.translationID().hash(); }
    // The id and the English text, which equal texts share.
    std::uint64_t secret(TranslatedString const & key) const noexcept {
        StringView const english = key.englishDefine().view();
        return DictionarySecretHash(english.data(), english.size(),
                                    DictionarySecretHash(&key.translationID(), sizeof(UUID)));
    }
};

// The text form of the class comment, written and read as it stands.
template <>
class QELTA_BASE_EXPORT StringStream<TranslatedString> {
  public:
    static void fromString(StringView const & text, TranslatedString & value);
    static void toString(TranslatedString const & value, StringAllocatingView & out);
    static char const * getValidRegex() noexcept;
    static void toDisplayString(TranslatedString const & value, TranslatedString & out);
};

} // namespace QELTA

template <>
struct std::hash<QELTA::TranslatedString> {
    std::size_t operator()(QELTA::TranslatedString const & text) const noexcept {
        return static_cast<std::size_t>(QELTA::DictionaryHash<QELTA::TranslatedString>()(text));
    }
};
