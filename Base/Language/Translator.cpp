// Translator: label ids and the growing table of labels.
#include "Base/Language/Translator.h"

#include "Base/Text/Dictionary.h"

#include <mutex>
#include <shared_mutex>

namespace QELTA {

namespace {

// The labels seen by DefaultFastID, by id. A std::shared_mutex guards it until the lock table,
// keyed by address, exists.
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

} // namespace

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
