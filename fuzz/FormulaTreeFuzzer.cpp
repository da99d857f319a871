// Fuzz target: formula tables of any bytes, read from a file and as text, and every formula
// loaded from them solved and shown.
//
// Input: the bytes of the table.
#include "Base/Formula/FormulaTree.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>

namespace {

using namespace QELTA;
using Fuzzing::ScratchFile;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > (1u << 16)) {
        return 0;
    }
    static ScratchFile const table("formula-tree", ".txt");
    FormulaTree tree;
    tree.readFile(File(String(table.fill(data, size).c_str())));
    tree.readText(StringView(reinterpret_cast<char const *>(data), static_cast<unsigned int>(size)));
    FormulaTree const copy = tree;
    for (auto const & [id, list] : copy.formulas) {
        for (Formula const & formula : list) {
            (void)formula.solve();
            (void)formula.displayFormula(true);
        }
    }
    return 0;
}
