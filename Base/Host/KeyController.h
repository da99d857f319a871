// KeyController, BasicKeyController and KeyOption: key presses mapped to named actions, through a
// tree of controllers and tables kept in hotkey settings files.
//
// Key events arrive on the interface thread and everything here belongs to it: no lock is taken.
// A KeyController does not own the controllers it lists; each stays alive while listed. A
// BasicKeyController owns its table. Nothing here raises but a handler and the settings file's
// writer: a hotkey file that can't be read, or holds lines that aren't keys, leaves the table as it
// was for what it can't give (see INIFactory.h).
#pragma once

#include "Base/Export.h"
#include "Base/Host/KeyEvent.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/SoftwareService.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"

#include <cstdint>

namespace QELTA {

// Types of the host that pass through key handling untouched.
class DesignObjectLookup;
class Camera;

// A named action and the key that triggers it. `device` 0 takes the key from any device; another
// value only from the device of that number.
struct QELTA_BASE_EXPORT KeyOption {
    String id;
    TranslatedString name;
    KeyEvent key_event;
    std::int32_t device = 0;
};

class QELTA_BASE_EXPORT KeyControllerBase : public virtual SoftwareService {
  public:
    // True when the event was taken; it then goes no further.
    virtual bool processKeyEvent(KeyEvent const & event, DesignObjectLookup * lookup, Camera * camera) = 0;
};

// The root of a tree of controllers: a KeyController may list other KeyControllers. Events go to
// the newest controller first.
class QELTA_BASE_EXPORT KeyController : public KeyControllerBase, public SoftwareServiceManager {
  public:
    KeyController() = default;
    // Asks the listed controllers from the last added to the first; false when none takes it.
    bool processKeyEvent(KeyEvent const & event, DesignObjectLookup * lookup, Camera * camera) override;
    ~KeyController() override;

    // The application's root controller, made on first use and never destroyed.
    static KeyController & DefaultKeyController();

    // Lists `controller` (not owned, never null) as the newest; an id already listed changes nothing.
    void addController(UUID const & id, KeyControllerBase * controller);
    // An id not listed changes nothing.
    void removeController(UUID const & id);
    bool hasController(UUID const & id) const;
    // In the order of addition.
    Buffer<KeyControllerBase *> controllers() const { return controllers_; }

  private:
    Buffer<KeyControllerBase *> controllers_;
    Dictionary<UUID, unsigned int> controller_ids_; // index into controllers_
};

// A table of key options kept in a hotkey settings file, one line for each option under its id,
// handing each key that matches to handleKey. A subclass gives the actions and their default keys.
class QELTA_BASE_EXPORT BasicKeyController : public KeyControllerBase, public INIInterface {
  public:
    // The settings file is "Hotkeys/<English title>.ini" in FileResource::PathToUserSettings().
    explicit BasicKeyController(TranslatedString const & title);
    ~BasicKeyController() override;

    // Hands the event to handleKey for each option in table order whose key and modifiers are the
    // event's and whose device is the event's or 0, until handleKey takes it.
    bool processKeyEvent(KeyEvent const & event, DesignObjectLookup * lookup, Camera * camera) override;
    // The action `id` for `event`; true when it was taken.
    virtual bool handleKey(StringView const & id, KeyEvent const & event, DesignObjectLookup * lookup,
                           Camera * camera) = 0;
    // Adds the actions with their default keys through addKeyOption.
    virtual void addDefaultKeyOptions() = 0;
    // Gives the option of `option.id` the name and key of `option` (its device stays), or adds it
    // when the table has none of that id; saves when saveOnChange().
    virtual void setKeyOption(KeyOption const & option);
    // Appends `option`, or replaces the option of the same id in its place; saves when
    // saveOnChange().
    virtual void addKeyOption(KeyOption const & option);

    // Each option's key under the option's id, in table order.
    void getINI(INIFactory & factory) override;

    // Fills the table with its defaults when it is empty, then reads the settings file over them.
    // False when there is no settings file yet.
    bool loadKeyOptions();

    TranslatedString const & keyControllerTitle() const noexcept { return title_; }
    Buffer<KeyOption> const & currentKeyMaps() const noexcept { return key_options_; }
    // Off at construction.
    void setSaveOnChange(bool save) noexcept { save_on_change_ = save; }
    bool saveOnChange() const noexcept { return save_on_change_; }

  private:
    // The index of the option `id`, or Buffer::not_found.
    unsigned int indexOf(StringView const & id) const noexcept;

    bool save_on_change_ = false;
    Buffer<KeyOption> key_options_;
    TranslatedString title_;
};

} // namespace QELTA
