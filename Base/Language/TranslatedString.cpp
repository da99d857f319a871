// TranslatedString: the text form, slots, lookup and comparison.
#include "Base/Language/TranslatedString.h"

#include "Base/Host/ApplicationResource.h"
#include "Base/Language/Translator.h"
#include "Base/Text/TypeInfo.h"

#include <cstring>
#include <utility>

namespace QELTA {

namespace {

// The language whose text is the English source itself.
constexpr char english_language_id[] = "en_US";

constexpr char label_open = '{';
constexpr char label_close = '}';
constexpr char slot_separator = '~';

// A key ends at its first zero byte, since the stored keys are zero-terminated one after another.
StringView CutAtZero(StringView const & key) noexcept {
    unsigned int const zero = key.indexOf('\0');
    return zero == StringView::not_found ? key : StringView(key.data(), zero);
}

// Replaces every occurrence of `key` in `text` by `value` unless the text would grow beyond the
// fill limit; `work` counts the bytes searched. False when filling has to stop. The limits are
// ours, not the stored rule's: nested slots could otherwise grow a text without bound.
bool FillKey(String & text, StringView const & key, StringView const & value, unsigned long long & work) {
    if (key.isEmpty()) {
        return true;
    }
    unsigned long long count = 0;
    for (unsigned int at = text.indexOf(key); at != String::not_found; at = text.indexOf(key, false, at + key.size())) {
        ++count;
    }
    work += text.size();
    if (count != 0) {
        unsigned long long const filled_size = text.size() - count * key.size() + count * value.size();
        unsigned long long const limit =
            text.size() > TranslatedString::max_filled_size ? text.size() : TranslatedString::max_filled_size;
        if (filled_size > limit) {
            return false;
        }
        text.replace(key, value);
        work += filled_size;
    }
    return work <= TranslatedString::max_fill_work;
}

} // namespace

TranslatedString::TranslatedString(StringView const & text) {
    calculateEnglishString(text);
}

TranslatedString::TranslatedString(UUID const & id, StringView const & english) : english_define_(english), id_(id) {}

TranslatedString TranslatedString::DirectString(StringView const & text) {
    return TranslatedString(UUID::Invalid(), text);
}

TranslatedString::TranslatedString(TranslatedString const & other)
    : replace_keys_(other.replace_keys_), english_define_(other.english_define_), translation_(other.translation_),
      id_(other.id_) {
    for (TranslatedString const * slot : other.replacements_) {
        TranslatedString * const copy = new TranslatedString(*slot);
        unsigned int const before = replacements_.size();
        replacements_.add(copy);
        if (replacements_.size() == before) {
            delete copy; // the buffer could not grow; the slot is lost as the Buffer rules say
        }
    }
}

TranslatedString::TranslatedString(TranslatedString && other) noexcept
    : replacements_(std::move(other.replacements_)), replace_keys_(std::move(other.replace_keys_)),
      english_define_(std::move(other.english_define_)), translation_(std::move(other.translation_)), id_(other.id_) {
    other.id_ = UUID::Invalid();
}

TranslatedString & TranslatedString::operator=(TranslatedString const & other) {
    if (this != &other) {
        TranslatedString copy(other);
        *this = std::move(copy);
    }
    return *this;
}

TranslatedString & TranslatedString::operator=(TranslatedString && other) noexcept {
    if (this != &other) {
        deleteSlots();
        replacements_ = std::move(other.replacements_);
        replace_keys_ = std::move(other.replace_keys_);
        english_define_ = std::move(other.english_define_);
        translation_ = std::move(other.translation_);
        id_ = other.id_;
        other.id_ = UUID::Invalid();
    }
    return *this;
}

TranslatedString::~TranslatedString() {
    deleteSlots();
}

void TranslatedString::deleteSlots() noexcept {
    for (TranslatedString * slot : replacements_) {
        delete slot;
    }
    replacements_.clear();
}

void TranslatedString::calculateEnglishString(StringView const & text) {
    if (text.isEmpty()) {
        return;
    }
    StringView body = text;
    if (text[0] == label_open) {
        unsigned int const close = text.indexOf(label_close, 1);
        if (close == StringView::not_found) {
            english_define_ = String(); // an unclosed label loses the whole text; this rule stands
            return;
        }
        id_ = Translator::DefaultFastID(text.substr(1, close));
        body = text.substr(close + 1);
    }
    if (body.indexOf(slot_separator) == StringView::not_found) {
        english_define_ = String(body);
        return;
    }
    StringViewBuffer const parts = body.split(slot_separator, true);
    english_define_ = String(parts[0]);
    // Keys seen in this text, to keep the parse linear for texts with very many slots.
    Dictionary<StringView, unsigned int> slot_of_key;
    for (unsigned int i = 1; i + 1 < parts.size(); i += 2) {
        StringView const key = CutAtZero(parts[i]);
        TranslatedString value(parts[i + 1]);
        auto const found = slot_of_key.find(key);
        if (found != slot_of_key.end()) {
            *replacements_[found->value()] = std::move(value);
            continue;
        }
        unsigned int const before = replacements_.size();
        addSlot(key, std::move(value));
        if (replacements_.size() != before) {
            slot_of_key.insert(key, before);
        }
    }
}

unsigned int TranslatedString::slotIndex(StringView const & key) const noexcept {
    unsigned int offset = 0;
    for (unsigned int i = 0; i < replacements_.size() && offset < replace_keys_.size(); ++i) {
        StringView const stored(replace_keys_.c_str() + offset);
        if (stored == key) {
            return i;
        }
        offset += stored.size() + 1;
    }
    return SlotBuffer::not_found;
}

unsigned int TranslatedString::depth() const noexcept {
    unsigned int deepest = 0;
    for (TranslatedString const * slot : replacements_) {
        unsigned int const slot_depth = slot->depth();
        deepest = slot_depth > deepest ? slot_depth : deepest;
    }
    return deepest + 1;
}

void TranslatedString::setSlot(StringView const & key, TranslatedString && value) {
    translation_ = String();
    if (value.depth() >= max_slot_depth) {
        value = DirectString(value.englishTranslation());
    }
    unsigned int const index = slotIndex(key);
    if (index != SlotBuffer::not_found) {
        *replacements_[index] = std::move(value);
        return;
    }
    addSlot(key, std::move(value));
}

void TranslatedString::addSlot(StringView const & key, TranslatedString && value) {
    TranslatedString * const slot = new TranslatedString(std::move(value));
    unsigned int const before = replacements_.size();
    replacements_.add(slot);
    if (replacements_.size() == before) {
        delete slot; // the buffer could not grow; the slot is lost as the Buffer rules say
        return;
    }
    replace_keys_.append(key);
    replace_keys_.append('\0');
}

void TranslatedString::replace(StringView const & key, StringView const & value) {
    setSlot(CutAtZero(key), TranslatedString(value));
}

void TranslatedString::replace(StringView const & key, TranslatedString const & value) {
    TranslatedString copy(value); // `value` may be this text itself
    setSlot(CutAtZero(key), std::move(copy));
}

void TranslatedString::AppendResolved(StringView const & language_id, UUID const & id, String const & english,
                                      String & out) {
    Translator const * translator = nullptr;
    if (!language_id.isEmpty()) {
        translator = Translator::MainTranslator(language_id);
    } else if (!ApplicationResource::application_name.value().isEmpty()) {
        translator = Translator::MainTranslator();
    }
    if (translator == nullptr) {
        out.append(english);
        return;
    }
    translator->append(out, id, english);
}

void TranslatedString::appendOwnText(StringView const & language_id, String & out) const {
    if (!isTranslatable() || language_id == StringView(english_language_id)) {
        out.append(english_define_);
        return;
    }
    AppendResolved(language_id, id_, english_define_, out);
}

void TranslatedString::fillSlots(StringView const & language_id, String & text) const {
    unsigned long long work = 0;
    unsigned int offset = 0;
    for (unsigned int i = 0; i < replacements_.size() && offset < replace_keys_.size(); ++i) {
        StringView const key(replace_keys_.c_str() + offset);
        offset += key.size() + 1;
        TranslatedString & slot = *replacements_[i];
        String in_language;
        StringView value;
        if (language_id.isEmpty()) {
            value = slot.translation();
        } else {
            slot.appendOwnText(language_id, in_language);
            slot.fillSlots(language_id, in_language);
            value = in_language;
        }
        if (!FillKey(text, key, value, work)) {
            return;
        }
    }
}

StringView TranslatedString::translation() {
    if (translation_.isEmpty()) {
        appendOwnText(StringView(), translation_);
        fillSlots(StringView(), translation_);
    }
    return translation_.view();
}

String TranslatedString::translation(String const & language_id) const {
    String text;
    appendOwnText(language_id, text);
    fillSlots(language_id, text);
    return text;
}

String TranslatedString::englishTranslation() const {
    return translation(String(english_language_id));
}

void TranslatedString::retranslate() noexcept {
    translation_ = String();
    for (TranslatedString * slot : replacements_) {
        slot->retranslate();
    }
}

StringView TranslatedString::translationView(String & scratch) const {
    if (!translation_.isEmpty()) {
        return translation_.view();
    }
    appendOwnText(StringView(), scratch);
    fillSlots(StringView(), scratch);
    return scratch.view();
}

String TranslatedString::readableID() const {
    return isTranslatable() ? Translator::DefaultReadableLabel(id_)
                            : Translator::DefaultReadableLabel(english_define_.view());
}

String TranslatedString::internalValue() const {
    String text;
    if (isTranslatable()) {
        text.append(label_open);
        text.append(readableID());
        // Also with no English text, deliberately: the stored rule drops the brace then, and the id is lost on reading back.
        text.append(label_close);
    }
    text.append(english_define_);
    unsigned int offset = 0;
    for (unsigned int i = 0; i < replacements_.size() && offset < replace_keys_.size(); ++i) {
        StringView const key(replace_keys_.c_str() + offset);
        offset += key.size() + 1;
        text.append(slot_separator);
        text.append(key);
        text.append(slot_separator);
        text.append(replacements_[i]->internalValue());
    }
    return text;
}

void TranslatedString::replaceVals(String & text) const {
    fillSlots(StringView(), text);
}

bool TranslatedString::canReplaceInTranslation(StringView const & key) const {
    if (key.isEmpty()) {
        return true;
    }
    String own;
    appendOwnText(StringView(), own);
    return own.hasSubString(key);
}

void TranslatedString::AppendTranslated(StringView const & text, String & out) {
    if (!text.isEmpty() && text[0] != label_open) {
        out.append(text);
    }
}

bool operator==(TranslatedString const & left, TranslatedString const & right) noexcept {
    if (left.replacements_.size() != right.replacements_.size() || left.id_ != right.id_ ||
        left.english_define_.view() != right.english_define_.view()) {
        return false;
    }
    if (left.replace_keys_.view() != right.replace_keys_.view()) {
        return true; // deliberate: differing keys compare equal, though != calls them different
    }
    for (unsigned int i = 0; i < left.replacements_.size(); ++i) {
        if (!(*left.replacements_[i] == *right.replacements_[i])) {
            return false;
        }
    }
    return true;
}

bool operator!=(TranslatedString const & left, TranslatedString const & right) noexcept {
    if (left.replacements_.size() != right.replacements_.size() || left.id_ != right.id_ ||
        left.english_define_.view() != right.english_define_.view() ||
        left.replace_keys_.view() != right.replace_keys_.view()) {
        return true;
    }
    for (unsigned int i = 0; i < left.replacements_.size(); ++i) {
        if (*left.replacements_[i] != *right.replacements_[i]) {
            return true;
        }
    }
    return false;
}

bool operator<(TranslatedString const & left, TranslatedString const & right) {
    String left_scratch;
    String right_scratch;
    return left.translationView(left_scratch) < right.translationView(right_scratch);
}

bool operator>(TranslatedString const & left, TranslatedString const & right) {
    return right < left;
}

void StringStream<TranslatedString>::fromString(StringView const & text, TranslatedString & value) {
    value = TranslatedString(text);
}

void StringStream<TranslatedString>::toString(TranslatedString const & value, StringAllocatingView & out) {
    out.append(value.internalValue());
}

char const * StringStream<TranslatedString>::getValidRegex() noexcept {
    return TypeInfoRegex::any_regex;
}

void StringStream<TranslatedString>::toDisplayString(TranslatedString const & value, TranslatedString & out) {
    out = value;
}

} // namespace QELTA
