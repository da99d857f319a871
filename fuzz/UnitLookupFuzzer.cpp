// Fuzz target: units read from text: stored names and composed names (unit), the suffixes of a
// value (parseUnit) and column labels (determineUnit), for every category. A unit found by its
// text reads back from its own name; the name of a bearing's inclination holds a number that
// need not come back to the last digit, so only names without one must read back the same.
//
// Input: byte 0 picks the category; the rest is the text.
#include "Base/Units/UnitManager.h"

#include <cstdint>
#include <cstdlib>

namespace {

using namespace QELTA;

UnitManager & Manager() {
    static UnitManager * const manager = [] {
        auto * made = new UnitManager(File());
        made->setToDefaultMetric(false);
        made->setUnit(UnitCategory::COORDINATE, made->unit("NEH:feet"));
        return made;
    }();
    return *manager;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size < 1 || size > (1u << 16)) {
        return 0;
    }
    UnitManager const & manager = Manager();
    auto const category = static_cast<UnitCategory>(data[0] % 16);
    StringView const text(reinterpret_cast<char const *>(data + 1), static_cast<unsigned int>(size - 1));

    ConstPointer<Unit> const found = manager.unit(text);
    if (found != nullptr) {
        ConstPointer<Unit> const again = manager.unit(found->name());
        if (again == nullptr || (found->name().count(':') < 4 && again->name() != found->name())) {
            std::abort();
        }
        (void)found->convertToString(1.5, false, 0, 4, 0, true, 0);
    }
    (void)manager.parseUnit(text, category);
    Buffer<String> labels;
    for (StringView const label : text.split('\n', false)) {
        labels.add(String(label));
    }
    (void)manager.determineUnit(labels, category);
    if (!labels.isEmpty()) {
        (void)manager.determineUnit(Buffer<String>{labels[0]}, category);
    }
    return 0;
}
