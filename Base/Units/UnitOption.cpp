// Unit options and custom units.
#include "Base/Units/UnitOption.h"

#include "Base/Units/Internal/UnitNames.h"
#include "Base/Units/UnitDefinitions.h"
#include "Base/Units/UnitManager.h"

namespace QELTA {

// UnitOption

UnitOption::UnitOption(StringView const & id, TranslatedString const & title) : title_text_(title), id_(id) {}

UnitOption::~UnitOption() = default;

TranslatedString UnitOption::title() const {
    return title_text_;
}

ConstPointer<Unit> UnitOption::unit(ConstPointer<Unit> const &) const {
    return unit();
}

UnitOptionList UnitOption::subOptions() const {
    return UnitOptionList();
}

// BasicUnitOption

BasicUnitOption::BasicUnitOption(ConstPointer<Unit> const & unit, TranslatedString const & title)
    : UnitOption(unit->name(), unit->translatedName()), option_unit_(unit), custom_title_(title) {}

TranslatedString BasicUnitOption::title() const {
    TranslatedString custom = custom_title_;
    if (!custom.translation().isEmpty()) {
        return custom;
    }
    TranslatedString abbreviation = option_unit_->abbreviation(0);
    StringView const shown = abbreviation.translation();
    if (shown.isEmpty()) {
        return custom_title_;
    }
    TranslatedString name = option_unit_->translatedName();
    String text = name.translation().toTitleString();
    text.append(StringView(" ("));
    text.append(shown);
    text.append(')');
    return TranslatedString::DirectString(text);
}

ConstPointer<Unit> BasicUnitOption::unit() const {
    return option_unit_;
}

bool BasicUnitOption::hasMemberUnit(ConstPointer<Unit> const & unit) const {
    if (unit == nullptr) {
        return false;
    }
    if (unit == option_unit_ || unit->name() == option_unit_->name()) {
        return true;
    }
    for (ConstPointer<UnitOption> const & option : sub_options_) {
        if (option->hasMemberUnit(unit)) {
            return true;
        }
    }
    return false;
}

UnitOptionList BasicUnitOption::subOptions() const {
    return sub_options_;
}

UnitOptionList & BasicUnitOption::subOptions() {
    return sub_options_;
}

// CoordinateUnitOption

CoordinateUnitOption::CoordinateUnitOption(StringView const & id, TranslatedString const & title)
    : UnitOption(id, title) {}

ConstPointer<Unit> CoordinateUnitOption::unit(ConstPointer<Unit> const & base) const {
    if (base == nullptr) {
        return nullptr;
    }
    switch (id_.hashUpper()) {
    case UnitNames::Hash("ENH"):
        return UnitDefinitions::EastingNorthingElevation(base);
    case UnitNames::Hash("NEH"):
        return UnitDefinitions::NorthingEastingElevation(base);
    case UnitNames::Hash("WSH"):
        return UnitDefinitions::WestingSouthingElevation(base);
    case UnitNames::Hash("XYZ"):
        return UnitDefinitions::XYZ(base);
    case UnitNames::Hash("YXZ"):
        return UnitDefinitions::YXZ(base);
    default:
        return nullptr;
    }
}

ConstPointer<Unit> CoordinateUnitOption::unit() const {
    return unit(UnitManager::DefaultManager().unit(UnitCategory::DISTANCE));
}

bool CoordinateUnitOption::hasMemberUnit(ConstPointer<Unit> const & unit) const {
    return unit != nullptr && (id_.isEmpty() || unit->name().hasSubString(id_));
}

// CustomUnit

CustomUnit::CustomUnit(StringView const & name, TranslatedString const & title, UnitCategory category)
    : custom_title_(title), name_(name), category_(category) {}

CustomUnit::~CustomUnit() = default;

TranslatedString CustomUnit::title() const {
    return custom_title_;
}

void CustomUnit::prepareForINI(UnitManager const &) {}

void CustomUnit::resetToDefault(UnitManager & manager) {
    unitResource(manager).set(defaultUnit(manager));
}

void CustomUnit::finishReadingINI(UnitManager &) {}

ConstPointer<Unit> CustomUnit::currentUnit(UnitManager & manager) {
    ConstPointer<Unit> unit = unitResource(manager).value();
    return unit != nullptr ? unit : defaultUnit(manager);
}

ConstPointer<Unit> CustomUnit::currentUnit() {
    return currentUnit(UnitManager::DefaultManager());
}

// BasicCustomUnit

BasicCustomUnit::BasicCustomUnit(StringView const & name, TranslatedString const & title, UnitCategory category,
                                 UnitOptionList options)
    : CustomUnit(name, title, category), label_(title), option_list_(std::move(options)) {}

TranslatedString BasicCustomUnit::title() const {
    return label_;
}

Resource<ConstPointer<Unit>> & BasicCustomUnit::unitResource(UnitManager &) {
    return resource_;
}

UnitOptionList BasicCustomUnit::options(UnitManager &) {
    return option_list_;
}

void BasicCustomUnit::prepareForINI(UnitManager const &) {
    ConstPointer<Unit> const & unit = resource_.value();
    stored_name_ = unit != nullptr ? unit->name() : String();
}

void BasicCustomUnit::setupINI(INIFactory & factory) {
    factory.addINIOption(name_, new INIFactory::INIObject<String>(&stored_name_));
}

void BasicCustomUnit::finishReadingINI(UnitManager & manager) {
    if (stored_name_.isEmpty()) {
        return;
    }
    ConstPointer<Unit> unit = manager.unit(stored_name_.view());
    if (unit != nullptr) {
        resource_.set(std::move(unit));
    }
}

ConstPointer<Unit> BasicCustomUnit::defaultUnit(UnitManager &) {
    return option_list_.isEmpty() ? nullptr : option_list_[0]->unit();
}

// ReferenceCustomUnit

ReferenceCustomUnit::ReferenceCustomUnit(StringView const & name, TranslatedString const & title, UnitCategory category)
    : CustomUnit(name, title, category) {}

Resource<ConstPointer<Unit>> & ReferenceCustomUnit::unitResource(UnitManager & manager) {
    return manager.unitResource(category_);
}

UnitOptionList ReferenceCustomUnit::options(UnitManager & manager) {
    return manager.unitOptions(category_);
}

void ReferenceCustomUnit::setupINI(INIFactory &) {}

void ReferenceCustomUnit::resetToDefault(UnitManager & manager) {
    manager.setUnit(category_, manager.unit(category_));
}

ConstPointer<Unit> ReferenceCustomUnit::currentUnit(UnitManager & manager) {
    return manager.unit(category_);
}

ConstPointer<Unit> ReferenceCustomUnit::defaultUnit(UnitManager & manager) {
    return manager.unit(category_);
}

} // namespace QELTA
