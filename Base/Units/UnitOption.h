// UnitOption and CustomUnit: the entries of the lists a person picks units from, and the
// quantities that modules register with the UnitManager under names of their own.
//
// Options are immutable once their lists are built and are shared by ConstPointer; a custom unit
// owns its resource (BasicCustomUnit) or follows the manager's (ReferenceCustomUnit). Nothing
// here holds a lock: option lists are built at start and changed on one thread, and a custom
// unit's resource guards its listeners as every Resource does. Nothing raises: an option or a
// custom unit that can give no unit gives null.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/ConstPointer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Units/Unit.h"
#include "Base/Units/UnitCategory.h"

namespace QELTA {

class UnitManager;
class UnitOption;

using UnitOptionList = Buffer<ConstPointer<UnitOption>>;

// One entry of a list: a title, an id (the key of the manager's option map) and the unit it
// stands for. The virtual functions are declared in the order of their slots, which modules
// built against this library depend on.
class QELTA_BASE_EXPORT UnitOption {
  public:
    UnitOption(StringView const & id, TranslatedString const & title);
    UnitOption(UnitOption const &) = delete;
    UnitOption & operator=(UnitOption const &) = delete;

    virtual ~UnitOption();
    virtual TranslatedString title() const;
    // The unit of this option over `base`; here `base` is ignored and unit() answers.
    virtual ConstPointer<Unit> unit(ConstPointer<Unit> const & base) const;
    virtual ConstPointer<Unit> unit() const = 0;
    // Whether choosing `unit` means choosing this option; false for null.
    virtual bool hasMemberUnit(ConstPointer<Unit> const & unit) const = 0;
    virtual UnitOptionList subOptions() const;

    String const & id() const noexcept { return id_; }

  protected:
    TranslatedString title_text_;
    String id_;
};

// An option on one unit: its id is the unit's name and its title the unit's translated name,
// with an optional title of its own and sub-options (feet: decimal feet, feet and inches).
class QELTA_BASE_EXPORT BasicUnitOption : public UnitOption {
  public:
    // `unit` is never null. `title` may be empty.
    BasicUnitOption(ConstPointer<Unit> const & unit, TranslatedString const & title);

    using UnitOption::subOptions;
    using UnitOption::unit;

    // The own title when its translation has text; otherwise, when the unit has an abbreviation
    // on axis 0, the translated name in title case followed by " (abbreviation)": "Meters (m)";
    // otherwise the own title as it stands.
    TranslatedString title() const override;
    ConstPointer<Unit> unit() const override;
    // The same object, the same name byte for byte, or a member of a sub-option, in order.
    bool hasMemberUnit(ConstPointer<Unit> const & unit) const override;
    UnitOptionList subOptions() const override;
    // The list the builders of the manager's option lists append to.
    virtual UnitOptionList & subOptions();

  private:
    ConstPointer<Unit> option_unit_;
    TranslatedString custom_title_;
    UnitOptionList sub_options_;
};

// An axis order of coordinates ("ENH", "NEH", "WSH", "XYZ", "YXZ") over whatever length unit is
// in force.
class QELTA_BASE_EXPORT CoordinateUnitOption : public UnitOption {
  public:
    CoordinateUnitOption(StringView const & id, TranslatedString const & title);

    // The coordinate unit of this order on `base`; null for a null base or an unknown id.
    ConstPointer<Unit> unit(ConstPointer<Unit> const & base) const override;
    // unit(base) on the distance unit of UnitManager::DefaultManager().
    ConstPointer<Unit> unit() const override;
    // True when the id is empty or the unit's name contains it: "ENH" holds for "ENH:feet".
    bool hasMemberUnit(ConstPointer<Unit> const & unit) const override;
};

// A quantity of a module's own, kept by the manager under `name` with a setting of its own in
// the manager's settings file. The virtual functions are declared in the order of their slots.
class QELTA_BASE_EXPORT CustomUnit {
  public:
    CustomUnit(StringView const & name, TranslatedString const & title, UnitCategory category);
    CustomUnit(CustomUnit const &) = delete;
    CustomUnit & operator=(CustomUnit const &) = delete;

    virtual ~CustomUnit();
    virtual TranslatedString title() const;
    virtual Resource<ConstPointer<Unit>> & unitResource(UnitManager & manager) = 0;
    virtual UnitOptionList options(UnitManager & manager) = 0;
    // Brings the stored text up to the unit in force before a save; nothing here.
    virtual void prepareForINI(UnitManager const & manager);
    virtual void setupINI(INIFactory & factory) = 0;
    // Stores defaultUnit(manager), telling the listeners when the unit changes.
    virtual void resetToDefault(UnitManager & manager);
    // Takes the unit named by the stored text after a read; nothing here.
    virtual void finishReadingINI(UnitManager & manager);
    // The unit in unitResource(manager), or defaultUnit(manager) while that is null.
    virtual ConstPointer<Unit> currentUnit(UnitManager & manager);
    // currentUnit(UnitManager::DefaultManager()).
    virtual ConstPointer<Unit> currentUnit();
    virtual ConstPointer<Unit> defaultUnit(UnitManager & manager) = 0;

    String const & name() const noexcept { return name_; }
    UnitCategory category() const noexcept { return category_; }

  protected:
    TranslatedString custom_title_;
    String name_;
    UnitCategory category_;
};

// A custom unit with a resource and an option list of its own; the setting `name` keeps the
// chosen unit's name.
class QELTA_BASE_EXPORT BasicCustomUnit : public CustomUnit {
  public:
    BasicCustomUnit(StringView const & name, TranslatedString const & title, UnitCategory category,
                    UnitOptionList options);

    using CustomUnit::currentUnit;

    TranslatedString title() const override;
    // Its own resource, whatever the manager.
    Resource<ConstPointer<Unit>> & unitResource(UnitManager & manager) override;
    UnitOptionList options(UnitManager & manager) override;
    void prepareForINI(UnitManager const & manager) override;
    void setupINI(INIFactory & factory) override;
    // A non-empty stored text resolved by manager.unit(text); a text that names no unit leaves
    // the unit as it was.
    void finishReadingINI(UnitManager & manager) override;
    // The unit of the first option; null without options.
    ConstPointer<Unit> defaultUnit(UnitManager & manager) override;

  private:
    TranslatedString label_;
    String stored_name_;
    Resource<ConstPointer<Unit>> resource_;
    UnitOptionList option_list_;
};

// A custom unit that follows the manager's unit of its category: its resource, value, default
// and options are the manager's. It has no setting of its own.
class QELTA_BASE_EXPORT ReferenceCustomUnit : public CustomUnit {
  public:
    ReferenceCustomUnit(StringView const & name, TranslatedString const & title, UnitCategory category);

    using CustomUnit::currentUnit;

    Resource<ConstPointer<Unit>> & unitResource(UnitManager & manager) override;
    UnitOptionList options(UnitManager & manager) override;
    void setupINI(INIFactory & factory) override;
    void resetToDefault(UnitManager & manager) override;
    ConstPointer<Unit> currentUnit(UnitManager & manager) override;
    // The manager's unit of the category.
    ConstPointer<Unit> defaultUnit(UnitManager & manager) override;
};

} // namespace QELTA
