// Fuzz target: the stored text of KeyEvent and the hotkey settings file. The bytes, as a view with
// nothing behind it, read as a key, which must print and read back the same and have a display
// text; they also go through a key controller's settings reader as its file, which must keep every
// action of its table. Nothing may read outside the text, loop forever or raise.
#include "Base/Host/KeyController.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

using namespace QELTA;

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

std::string SettingsPath() {
    return "/dev/shm/qelta-fuzz-keys-" + std::to_string(getpid()) + ".ini";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 4096) {
        return 0;
    }
    // An exact copy on the heap, so that a reader that looks one byte too far meets the sanitizer.
    std::unique_ptr<char[]> const bytes(new char[size == 0 ? 1 : size]);
    if (size != 0) {
        std::memcpy(bytes.get(), data, size);
    }
    StringView const text(bytes.get(), static_cast<unsigned int>(size));

    KeyEvent key(1, 2, 3);
    StringStream<KeyEvent>::fromString(text, key);
    StringAllocatingView printed;
    StringStream<KeyEvent>::toString(key, printed);
    KeyEvent again(4, 5, 6);
    StringStream<KeyEvent>::fromString(printed.view(), again);
    if (!(again == key)) {
        std::abort();
    }
    TranslatedString display;
    StringStream<KeyEvent>::toDisplayString(key, display);
    if (display.translation().isEmpty()) {
        std::abort();
    }

    static std::string const path = SettingsPath();
    if (std::FILE * out = std::fopen(path.c_str(), "wb")) {
        std::fwrite(data, 1, size, out);
        std::fclose(out);
    }
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
