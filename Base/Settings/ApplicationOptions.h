// ApplicationOptions and ApplicationOption<T>: the program's named, grouped settings, saved together.
//
// Options are global objects that enter a registry from their constructors, before the program's
// main entry; the registry does not own them. UserOptions() is made on first use and never freed,
// so options in any translation unit may register with it in any order. The registry has no lock:
// options enter it at start-up and leave it never. Values are Resources: a change tells the
// option's listeners on the changing thread. Asking for an option or group that was never
// registered is a programmer's fault and ends the process with "Couldn't find key.".
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Time/Time.h"

namespace QELTA {

class ApplicationOptions;

// The typed face of an option, for registries and editors that don't know its type.
class QELTA_BASE_EXPORT ApplicationOptionBase {
  public:
    ApplicationOptionBase(TranslatedString group, TranslatedString name);
    ApplicationOptionBase(ApplicationOptionBase const &) = delete;
    ApplicationOptionBase & operator=(ApplicationOptionBase const &) = delete;
    virtual ~ApplicationOptionBase();

    virtual String toString() const = 0;
    virtual void fromString(StringView const & text) = 0;
    virtual bool isDefault() const = 0;
    virtual void setToDefault() = 0;
    // A new option for a settings file, on this option's value.
    virtual INIOption * createINIOption() const = 0;

    TranslatedString const & group() const noexcept { return group_; }
    TranslatedString const & name() const noexcept { return name_; }

  protected:
    TranslatedString group_;
    TranslatedString name_;
};

// An option with a value and a default; defined for bool, String and Time (stored in the form
// "YYYY/MM/DD HH:mm:ss", UTC), and RGBColor (ColorOptions.h).
template <class T>
class QELTA_BASE_EXPORT ApplicationOption : public ApplicationOptionBase {
  public:
    // Starts at the default and enters `owner` under `group` and `name`.
    ApplicationOption(TranslatedString group, TranslatedString name, T default_value, ApplicationOptions * owner);
    ~ApplicationOption() override;

    String toString() const override;
    // bool: an empty text is false, else true when it begins with 'T', '1' or 't'.
    void fromString(StringView const & text) override;
    bool isDefault() const override;
    void setToDefault() override;
    INIOption * createINIOption() const override;

    T const & value() const noexcept { return resource.value(); }
    // An equal value changes nothing; another one tells the listeners.
    void set(T const & value) { resource.set(value); }
    T const & defaultValue() const noexcept { return default_value_; }

    Resource<T> resource;

  private:
    ApplicationOptions * owner_;
    T default_value_;
};

extern template class QELTA_BASE_EXPORT ApplicationOption<bool>;
extern template class QELTA_BASE_EXPORT ApplicationOption<String>;
extern template class QELTA_BASE_EXPORT ApplicationOption<Time>;

// Groups of options, each a table from name to option. Copies share the options.
class QELTA_BASE_EXPORT ApplicationOptions {
  public:
    using Group = Dictionary<TranslatedString, ApplicationOptionBase *>;

    ApplicationOptions() = default;

    // The option under the empty group.
    void addOption(TranslatedString const & name, ApplicationOptionBase * option);
    void addOption(TranslatedString const & group, TranslatedString const & name, ApplicationOptionBase * option);
    ApplicationOptionBase const * getOption(TranslatedString const & group, TranslatedString const & name) const;
    ApplicationOptionBase const * getOption(TranslatedString const & name) const;
    Group optionGroup(TranslatedString const & group) const;

    // Adds every option under the label "<group label>-<option label>", each label the readable
    // form of the text's id, or of its text when it has none: "application_settings-proper_shutdown".
    void addToINI(INIFactory & factory) const;
    // The same for one group; an unknown group adds nothing.
    void addToINI(TranslatedString const & group, INIFactory & factory) const;
    void setToDefaults();
    void setToDefaults(TranslatedString const & group);
    // Each group with something to show under a header, then "name: value" lines; with
    // `only_changed` only the options away from their defaults.
    void logOptions(LogPtr & log, bool only_changed) const;

    // The user's settings; made on first use and never freed.
    static ApplicationOptions & UserOptions();

  private:
    Dictionary<TranslatedString, Group> groups_;
};

} // namespace QELTA
