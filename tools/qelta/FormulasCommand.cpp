// qelta formulas: a tab-separated table of formulas, listed, or one key of it evaluated.
#include "tools/qelta/Command.h"

#include "Base/Formula/FormulaTree.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

namespace QELTA::Tool {
namespace {

constexpr char command_name[] = "formulas";

struct FormulasArguments {
    std::string file;
    std::string key;
};

std::string CategoryText(UnitCategory category) {
    StringAllocatingView text;
    StringStream<UnitCategory>::toString(category, text);
    return std::string(text.view());
}

// One formula: its title, expression, what it measures and its value in its unit.
void PrintFormula(Formula const & formula, bool details) {
    double const value = formula.solve();
    std::string shown = NumberText(value).c_str();
    if (formula.unit != nullptr && !std::isnan(value)) {
        shown += " (" + std::string(formula.unit->toString(value, false, 0, 4, 0, true, 0).c_str()) + ", " +
                 formula.unit->name().c_str() + ")";
    }
    std::printf("  %-16s %-28s %-14s = %s\n", formula.id.c_str(), formula.translated_name.englishDefine().c_str(),
                CategoryText(formula.category).c_str(), shown.c_str());
    if (details) {
        std::printf("    formula      %s\n", formula.formula.c_str());
        std::printf("    expanded     %s\n", formula.simplifiedFormula().c_str());
        std::printf("    shown        %s\n", formula.displayFormula(false).c_str());
        if (!formula.description.isEmpty()) {
            std::printf("    description  %s\n", formula.description.c_str());
        }
        if (!formula.source.isEmpty()) {
            std::printf("    source       %s\n", formula.source.c_str());
        }
        StringBuffer const inputs = formula.dependentVariables();
        for (String const & input : inputs) {
            std::printf("    input        [%s]%s\n", input.c_str(),
                        formula.variables.contains(input) ? "" : " (open: the value is NaN)");
        }
    }
}

int RunFormulas(FormulasArguments const & arguments) {
    File const file = FromNativePath(arguments.file);
    FormulaTree tree;
    if (!tree.readFile(file)) {
        std::fflush(stdout);
        std::fprintf(stderr, "qelta %s: %s: no such file or not readable\n", command_name, NativePath(file).c_str());
        return exit_failure;
    }
    if (!arguments.key.empty()) {
        auto const found = tree.formulas.find(String(arguments.key));
        if (found == tree.formulas.end()) {
            std::fflush(stdout);
            std::fprintf(stderr, "qelta %s: %s has no formula '%s'\n", command_name, NativePath(file).c_str(),
                         arguments.key.c_str());
            return exit_failure;
        }
        for (Formula const & formula : found->value()) {
            PrintFormula(formula, true);
        }
        return exit_ok;
    }
    unsigned int count = 0;
    for (auto const & [id, list] : tree.formulas) {
        count += list.size();
    }
    std::printf("%u formulas under %zu keys in %s\n", count, static_cast<std::size_t>(tree.formulas.size()),
                NativePath(file).c_str());
    std::puts("Offered at the top:");
    for (auto const & [title, ids] : tree.groups) {
        std::string listed;
        for (String const & id : ids) {
            listed += (listed.empty() ? "" : ", ") + std::string(id.c_str());
        }
        std::printf("  %-28s %s\n", title.c_str(), listed.c_str());
    }
    std::puts("All:");
    for (auto const & [id, list] : tree.formulas) {
        for (Formula const & formula : list) {
            PrintFormula(formula, false);
        }
    }
    return exit_ok;
}

} // namespace

void DemoFormulas() {
    std::puts("\n== Formula tables");
    std::puts("A tab-separated table holds formulas by key, with the titles offered at the top:");
    File file = DemoFolder();
    file.appendPath("formulas.txt");
    {
        File out = file;
        String const table("Title\tId\tFormula\tDescription\tSource\tTop\tCategory\tUnit\n"
                           "Slope length\tslope\tsqrt(3*3+(4*4))\trun 3, rise 4\tPythagoras\tY\tDISTANCE\tmeters\n"
                           "Load\tload\t2*[m]*9.80665\ttwice a mass\t\tN\tmass\tkilograms\n");
        out.open(File::WRITE_TEXT);
        out << table.view();
        out.close();
    }
    FormulaTree tree;
    tree.readFile(file);
    for (auto const & [id, list] : tree.formulas) {
        for (Formula const & formula : list) {
            PrintFormula(formula, false);
        }
    }
}

void AddFormulasCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<FormulasArguments>();
    CLI::App & formulas =
        AddCommand(qelta, "formulas", "a tab-separated table of formulas, listed or evaluated",
                   "Reads FILE: a header line, then one formula a line in the tab-separated columns title, id,\n"
                   "formula, description, source, offered (1, T, t, Y or y), category and unit. Columns are\n"
                   "read by position; missing ones are empty, extra ones ignored. The category is a name such as\n"
                   "DISTANCE or WEIGHT (or mass, gravity, rotation); the unit a name as 'qelta units set' reads it.\n"
                   "Without KEY, lists the titles offered at the top with their keys, then every formula with its\n"
                   "key, title, category and value (in its unit when it has one). With KEY, shows each formula of\n"
                   "that key with its expression, the expression expanded and shown as markup, and its inputs.\n"
                   "A formula whose inputs the table leaves open is NaN.\n"
                   "Example: qelta formulas table.txt slope",
                   [arguments] { return RunFormulas(*arguments); });
    formulas.add_option("FILE", arguments->file, "the table")->required();
    formulas.add_option("KEY", arguments->key, "the key of the formulas to show");
}

} // namespace QELTA::Tool
