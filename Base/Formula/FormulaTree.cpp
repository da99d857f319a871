// Formula tables.
#include "Base/Formula/FormulaTree.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/UnitManager.h"

namespace QELTA {
namespace {

constexpr char column_delimiter = '\t';

// Category words of formula tables that name another category.
struct CategoryAlias {
    char const * word;
    char const * category;
};
constexpr CategoryAlias category_aliases[] = {
    {"gravity", "ACCELERATION"}, {"rotation", "ORIENTATION"}, {"mass", "WEIGHT"}};

// Unit texts of formula tables that name no catalogue unit.
constexpr char const * no_unit_texts[] = {"32 fps^2", "lbs-fps", "lbs-mph", "ft-lbs", "fps^2"};

// The next column, empty at the end of the line.
StringView NextColumn(Scanner & scanner) {
    return scanner.getNext();
}

String WithoutQuotes(StringView const & text) {
    String out;
    for (char const c : text) {
        if (c != '"') {
            out.append(c);
        }
    }
    return out;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

StringView SkipLeadingBlanks(StringView text) {
    unsigned int start = 0;
    while (start < text.size() && (text[start] == ' ' || text[start] == '\t')) {
        ++start;
    }
    return text.substr(start);
}

// `text` without blanks, tabs, carriage returns and quotes at either end.
StringView Trimmed(StringView text) {
    unsigned int start = 0;
    unsigned int end = text.size();
    while (start < end && (IsBlank(text[start]) || text[start] == '"')) {
        ++start;
    }
    while (end > start && (IsBlank(text[end - 1]) || text[end - 1] == '"')) {
        --end;
    }
    return text.substr(start, end);
}

UnitCategory CategoryOf(StringView const & text) {
    StringView name = text;
    for (CategoryAlias const & alias : category_aliases) {
        if (text.isSameNoCase(StringView(alias.word))) {
            name = StringView(alias.category);
        }
    }
    String upper(name);
    upper.makeUpper();
    UnitCategory category = UnitCategory::UNDEFINED;
    StringStream<UnitCategory>::fromString(upper, category);
    return category;
}

ConstPointer<Unit> UnitOf(StringView const & text) {
    for (char const * none : no_unit_texts) {
        if (text == StringView(none)) {
            return nullptr;
        }
    }
    return UnitManager::DefaultManager().unit(text);
}

} // namespace

bool FormulaTree::readFile(File const & file) {
    if (file.isEmpty() || !file.exists()) {
        return false;
    }
    try {
        BufferedScanner scanner(file, column_delimiter, File::READ_TEXT);
        read(scanner);
        return true;
    } catch (Exception const &) {
        return false;
    }
}

void FormulaTree::readText(StringView const & text) {
    BufferedScanner scanner(text, column_delimiter);
    read(scanner);
}

void FormulaTree::read(Scanner & scanner) {
    if (!scanner.nextLine()) {
        return; // not even a header
    }
    while (scanner.nextLine()) {
        Formula formula;
        formula.translated_name = TranslatedString(WithoutQuotes(NextColumn(scanner)));
        formula.id = NextColumn(scanner);
        formula.formula = NextColumn(scanner);
        formula.description = WithoutQuotes(NextColumn(scanner));
        formula.source.append(NextColumn(scanner));
        StringView const flag = SkipLeadingBlanks(NextColumn(scanner));
        bool const offered = !flag.isEmpty() && StringView("1TtYy").indexOf(flag[0]) != StringView::not_found;
        formula.category = CategoryOf(Trimmed(SkipLeadingBlanks(NextColumn(scanner))));
        formula.unit = UnitOf(Trimmed(NextColumn(scanner)));
        if (offered) {
            groups[formula.translated_name.englishDefine()].add(formula.id);
        }
        formulas[formula.id].add(std::move(formula));
    }
}

} // namespace QELTA
