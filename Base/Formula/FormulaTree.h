// FormulaTree: a library of formulas loaded from a tab-separated table, grouped under their ids,
// with the formulas offered at the top listed under their titles.
//
// A FormulaTree is a plain value: copies are deep and it has no lock. Reading never raises: an
// absent or unreadable file leaves the tree as it was, a line with missing columns gives empty
// fields, and an unknown category or unit leaves the default. Units are resolved by the
// UnitManager::DefaultManager(), which is built on the first read if it wasn't.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Formula/Formula.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class Scanner;

// The table: a header line, then one formula a line in the columns title, id, expression,
// description, source, offered flag, category and unit. Columns are read by position.
class QELTA_BASE_EXPORT FormulaTree {
  public:
    // Title text to the ids of the formulas offered at the top under it, in file order.
    Dictionary<String, Buffer<String>> groups;
    // Id to its formulas, in file order: one id may have several.
    Dictionary<String, Buffer<Formula>> formulas;

    // Adds the formulas of the table file; false when it could not be opened.
    bool readFile(File const & file);
    // Adds the formulas of a table given as text, by the same rules.
    void readText(StringView const & text);

  private:
    void read(Scanner & scanner);
};

} // namespace QELTA
