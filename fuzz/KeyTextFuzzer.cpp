// Fuzz target: the stored text of KeyEvent and the hotkey settings file. The bytes, as a view with
// nothing behind it, read as a key, which must print and read back the same and have a display
// text; they also go through a key controller's settings reader as its file, which must keep every
// action of its table. Nothing may read outside the text, loop forever or raise.
#include "Base/Host/KeyController.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

using namespace QELTA;
using Fuzzing::CheckReadsBack;
using Fuzzing::ExactCopy;
using Fuzzing::ScratchFile;

class FuzzKeys : public BasicKeyController {
  public:
    FuzzKeys() : BasicKeyController(TranslatedString::DirectString("Fuzz Keys")) {}
    void addDefaultKeyOptions() override {
        addKeyOption({String("zoom"), TranslatedString::DirectString("Zoom"), KeyEvent(187, 0), 0});
        addKeyOption({String("pan"), TranslatedString::DirectString("Pan"), KeyEvent(80, KeyEvent::SHIFT), 0});
        addKeyOption({String("a"), TranslatedString::DirectString("A"), KeyEvent(65, 0), 1});
    }
    bool handleKey(StringView const &, KeyEvent const &, DesignObjectLookup *, Camera *) override { return true; }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 4096) {
        return 0;
    }
    ExactCopy const bytes(data, size);
    StringView const text = bytes.view();

    KeyEvent key(1, 2, 3);
    CheckReadsBack(text, key, KeyEvent(4, 5, 6),
                   [](KeyEvent const & value, KeyEvent const & again) { return again == value; });
    TranslatedString display;
    StringStream<KeyEvent>::toDisplayString(key, display);
    if (display.translation().isEmpty()) {
        std::abort();
    }

    static ScratchFile const settings("keys", ".ini");
    std::string const & path = settings.fill(data, size);
    FuzzKeys keys;
    keys.setDefaultINIFile(File(String(path)));
    try {
        keys.loadKeyOptions();
    } catch (...) {
        std::abort();
    }
    if (keys.currentKeyMaps().size() != 3 || keys.currentKeyMaps()[1].id.view() != StringView("pan")) {
        std::abort();
    }
    (void)keys.processKeyEvent(key, nullptr, nullptr);
    return 0;
}
