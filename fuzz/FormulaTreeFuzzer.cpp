// Fuzz target: formula tables of any bytes, read from a file and as text, and every formula
// loaded from them solved and shown.
//
// Input: the bytes of the table.
#include "Base/Formula/FormulaTree.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

namespace {

using namespace QELTA;

// The table file, one for the process, removed at its end.
class TableFile {
  public:
    TableFile()
        : path_(std::filesystem::temp_directory_path() /
                ("qelta-formula-tree-fuzz-" + std::to_string(std::random_device()()) + ".txt")) {}
    ~TableFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    // Holds exactly these bytes afterwards, or is absent.
    std::string const & fill(std::uint8_t const * data, std::size_t size) const {
        if (std::FILE * const out = std::fopen(path_.c_str(), "wb")) {
            std::fwrite(data, 1, size, out);
            std::fclose(out);
        }
        return path_.native();
    }

  private:
    std::filesystem::path path_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > (1u << 16)) {
        return 0;
    }
    static TableFile const table;
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
