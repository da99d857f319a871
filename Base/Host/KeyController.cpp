// The tree of key controllers and the tables of key options in their hotkey settings files.
#include "Base/Host/KeyController.h"

#include "Base/Files/FileResource.h"

namespace QELTA {
namespace {

constexpr char hotkeys_folder[] = "Hotkeys\\";
constexpr char settings_ending[] = ".ini";

File HotkeyFile(TranslatedString const & title) {
    File file = FileResource::PathToUserSettings();
    file.appendPath(hotkeys_folder);
    file.appendPath(title.englishTranslation());
    file.appendPath(settings_ending);
    return file;
}

bool Matches(KeyOption const & option, KeyEvent const & event) noexcept {
    return option.key_event.key == event.key && option.key_event.modifiers == event.modifiers &&
           (option.device == 0 || static_cast<std::uint32_t>(option.device) == event.device);
}

} // namespace

// KeyController

KeyController::~KeyController() = default;

KeyController & KeyController::DefaultKeyController() {
    static auto * s_controller = new KeyController();
    return *s_controller;
}

bool KeyController::processKeyEvent(KeyEvent const & event, DesignObjectLookup * lookup, Camera * camera) {
    for (unsigned int i = controllers_.size(); i-- > 0;) {
        if (controllers_[i]->processKeyEvent(event, lookup, camera)) {
            return true;
        }
    }
    return false;
}

void KeyController::addController(UUID const & id, KeyControllerBase * controller) {
    if (controller == nullptr || controller_ids_.contains(id)) {
        return;
    }
    controller_ids_.insert(id, controllers_.size());
    controllers_.add(controller);
}

void KeyController::removeController(UUID const & id) {
    auto const found = controller_ids_.find(id);
    if (found == controller_ids_.end()) {
        return;
    }
    unsigned int const index = found->value();
    controller_ids_.erase(id);
    controllers_.removeIndex(index);
    for (auto & entry : controller_ids_) {
        if (entry.value() > index) {
            --entry.value();
        }
    }
}

bool KeyController::hasController(UUID const & id) const {
    return controller_ids_.contains(id);
}

// BasicKeyController

BasicKeyController::BasicKeyController(TranslatedString const & title)
    : INIInterface(HotkeyFile(title)), title_(title) {}

BasicKeyController::~BasicKeyController() = default;

bool BasicKeyController::processKeyEvent(KeyEvent const & event, DesignObjectLookup * lookup, Camera * camera) {
    for (unsigned int i = 0; i < key_options_.size(); ++i) {
        // A copy of the id: the handler may change the table.
        if (Matches(key_options_[i], event) && handleKey(String(key_options_[i].id).view(), event, lookup, camera)) {
            return true;
        }
    }
    return false;
}

unsigned int BasicKeyController::indexOf(StringView const & id) const noexcept {
    for (unsigned int i = 0; i < key_options_.size(); ++i) {
        if (key_options_[i].id.view() == id) {
            return i;
        }
    }
    return Buffer<KeyOption>::not_found;
}

void BasicKeyController::setKeyOption(KeyOption const & option) {
    unsigned int const index = indexOf(option.id.view());
    if (index == Buffer<KeyOption>::not_found) {
        addKeyOption(option);
        return;
    }
    key_options_[index].name = option.name;
    key_options_[index].key_event = option.key_event;
    if (save_on_change_) {
        saveINIOptions(false);
    }
}

void BasicKeyController::addKeyOption(KeyOption const & option) {
    unsigned int const index = indexOf(option.id.view());
    if (index == Buffer<KeyOption>::not_found) {
        key_options_.add(option);
    } else {
        key_options_[index] = option;
    }
    if (save_on_change_) {
        saveINIOptions(false);
    }
}

void BasicKeyController::getINI(INIFactory & factory) {
    factory.setPreserveOrder(true);
    for (KeyOption & option : key_options_) {
        factory.addINIOption(option.id.view(), new INIFactory::INIObject<KeyEvent>(&option.key_event));
    }
}

bool BasicKeyController::loadKeyOptions() {
    if (key_options_.isEmpty()) {
        bool const saving = save_on_change_;
        save_on_change_ = false;
        addDefaultKeyOptions();
        save_on_change_ = saving;
    }
    return readINIOptions();
}

} // namespace QELTA
