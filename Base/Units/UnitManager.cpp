// The unit manager: units in force, option lists, custom units, defaults and settings.
#include "Base/Units/UnitManager.h"

#include "Base/Files/FileResource.h"
#include "Base/Language/Translator.h"
#include "Base/Units/AngleUnit.h"
#include "Base/Units/UnitDefinitions.h"

namespace QELTA {

using Units = UnitDefinitions;

// The settings keys and the resources they keep, in the order of the file and of reading.
struct UnitManager::Setting {
    char const * key;
    Resource<ConstPointer<Unit>> UnitManager::*resource;
};

UnitManager::Setting const UnitManager::settings_[9] = {
    {"angle_unit", &UnitManager::angle_},
    {"lat_lon_unit", &UnitManager::lat_lon_},
    {"orientation_space_unit", &UnitManager::orientation_},
    {"coordinate_space_unit", &UnitManager::coordinate_},
    {"distance_space_unit", &UnitManager::distance_},
    {"surface_area_unit", &UnitManager::area_},
    {"volume_unit", &UnitManager::volume_},
    {"temperature_unit", &UnitManager::temperature_},
    {"weight_unit", &UnitManager::weight_},
};

// Keeps a copy of the manager tied to, and brings its owner to that copy's units on any change.
class UnitManager::TieListener final : public ResourceListener {
  public:
    TieListener(UnitManager & owner, UnitManager const & other) : owner_(owner), copy_(other) {}
    TieListener(TieListener const &) = delete;
    TieListener & operator=(TieListener const &) = delete;
    ~TieListener() override {
        if (owner_.tie_listener_ == this) {
            owner_.tie_listener_ = nullptr;
        }
    }

    void onValueChanged() override { owner_.assignUnits(copy_, true); }

  private:
    UnitManager & owner_;
    UnitManager const copy_;
};

namespace {

constexpr char orientation_offset_name[] = "orientation_offset";
constexpr char orientation_offset_label[] = "Orientation Offset";
constexpr char decimal_feet_title[] = "Decimal Feet";
constexpr char feet_inches_title[] = "Feet' Inches\"";
constexpr char decimal_degrees_title[] = "Decimal Degrees";
constexpr char degrees_minutes_key[] = "decimal_degrees_minutes_label";
constexpr char degrees_minutes_title[] = "DDD[degrees_abreviation]MM[minutes_abreviation]";
constexpr char degrees_minutes_seconds_key[] = "decimal_degrees_minutes_seconds_label";
constexpr char degrees_minutes_seconds_title[] =
    "DDD[degrees_abreviation]MM[minutes_abreviation]SS[seconds_abreviation]";
constexpr char dddmmss_key[] = "decimal_DDDMMSS_label";
constexpr char dddmmss_title[] = "DDD.MMSS";
constexpr char degrees_slot[] = "[degrees_abreviation]";
constexpr char minutes_slot[] = "[minutes_abreviation]";
constexpr char seconds_slot[] = "[seconds_abreviation]";
constexpr char const * coordinate_orders[] = {"ENH", "NEH", "WSH", "XYZ", "YXZ"};
constexpr char const * not_metric[] = {"feet",      "inch",     "yard",  "gallon", "mile",
                                       "short ton", "long ton", "pound", "ounce"};
constexpr char const * not_imperial[] = {"meter", "liter", "metric ton"};

// A quarter turn upward, in index units: the inclination of a name without one.
constexpr double quarter_turn = 16384.0;

TranslatedString Title(StringView const & text) {
    return TranslatedString(Translator::DefaultID(text), text);
}

TranslatedString KeyedTitle(char const * key, char const * text) {
    return TranslatedString(Translator::DefaultFastID(key), text);
}

ConstPointer<UnitOption> Option(ConstPointer<Unit> const & unit, TranslatedString const & title = {}) {
    return ConstPointer<UnitOption>(new BasicUnitOption(unit, title));
}

// An option whose sub-options are `subs`.
ConstPointer<UnitOption> OptionWith(ConstPointer<Unit> const & unit,
                                    std::initializer_list<ConstPointer<UnitOption>> subs) {
    auto * option = new BasicUnitOption(unit, TranslatedString());
    ConstPointer<UnitOption> const kept(option);
    for (ConstPointer<UnitOption> const & sub : subs) {
        option->subOptions().add(sub);
    }
    return kept;
}

// The units that the defaults build on others, built once so that setting them again is no change.
ConstPointer<Unit> const & KeptUnit(ConstPointer<Unit> (*build)()) {
    return *new ConstPointer<Unit>(build());
}

ConstPointer<Unit> const & DefaultLatLon() {
    static ConstPointer<Unit> const & unit = KeptUnit([] { return Units::LatLonAlt(*Units::DegreesMinutesSeconds()); });
    return unit;
}

ConstPointer<Unit> const & DefaultOrientation() {
    static ConstPointer<Unit> const & unit = KeptUnit([] {
        return Units::AppendInclinationOrientation(*Units::NorthOrientation(*Units::Degrees(), true),
                                                   Angle<double>(quarter_turn), true);
    });
    return unit;
}

ConstPointer<Unit> const & DefaultCoordinate(bool imperial) {
    static ConstPointer<Unit> const & metric =
        KeptUnit([] { return Units::EastingNorthingElevation(Units::Meters()); });
    static ConstPointer<Unit> const & feet = KeptUnit([] { return Units::EastingNorthingElevation(Units::Feet()); });
    return imperial ? feet : metric;
}

} // namespace

// Construction and copies

UnitManager::UnitManager() : UnitManager(File()) {
    File settings = FileResource::PathToUserSettings();
    settings.appendPath(StringView(settings_file_name));
    default_ini_file_ = settings;
}

UnitManager::UnitManager(File const & settings) : INIInterface(settings), time_(Units::Seconds()) {
    setupDefaultAngleUnitOptions();
    setupDefaultLatLonOptions();
    setupDefaultCoordinateSpaceOptions();
    setupDefaultDistanceOptions();
    setupDefaultAreaOptions();
    setupDefaultWeightOptions();
    setupDefaultVolumeOptions();
}

// The resources are built fresh rather than copied: a copied Resource would list the other's
// listeners, and a copy of a manager tells nobody of its changes.
UnitManager::UnitManager(UnitManager const & other)
    : SoftwareService(), INIInterface(), SoftwareServiceManager(), angle_(other.angle_.value()),
      orientation_(other.orientation_.value()), distance_(other.distance_.value()),
      coordinate_(other.coordinate_.value()), area_(other.area_.value()), volume_(other.volume_.value()),
      weight_(other.weight_.value()), temperature_(other.temperature_.value()), lat_lon_(other.lat_lon_.value()),
      time_(other.time_.value()), angle_options_(other.angle_options_), lat_lon_options_(other.lat_lon_options_),
      distance_options_(other.distance_options_), area_options_(other.area_options_),
      volume_options_(other.volume_options_), weight_options_(other.weight_options_),
      coordinate_options_(other.coordinate_options_), option_map_(other.option_map_),
      special_units_(other.special_units_), special_unit_index_(other.special_unit_index_) {
    if (!other.default_ini_file_.isEmpty()) {
        File settings = FileResource::PathToUserSettings();
        settings.appendPath(StringView(settings_file_name));
        default_ini_file_ = settings;
    }
}

UnitManager & UnitManager::operator=(UnitManager const & other) {
    if (this == &other) {
        return *this;
    }
    assignUnits(other, false);
    angle_options_ = other.angle_options_;
    lat_lon_options_ = other.lat_lon_options_;
    distance_options_ = other.distance_options_;
    area_options_ = other.area_options_;
    volume_options_ = other.volume_options_;
    weight_options_ = other.weight_options_;
    coordinate_options_ = other.coordinate_options_;
    option_map_ = other.option_map_;
    special_units_ = other.special_units_;
    special_unit_index_ = other.special_unit_index_;
    return *this;
}

UnitManager::~UnitManager() {
    if (tie_listener_ != nullptr) {
        tie_listener_->disconnectListener();
        delete tie_listener_;
    }
}

void UnitManager::assignUnits(UnitManager const & other, bool coordinate_before_orientation) {
    angle_.set(other.angle_.value());
    lat_lon_.set(other.lat_lon_.value());
    if (coordinate_before_orientation) {
        coordinate_.set(other.coordinate_.value());
        orientation_.set(other.orientation_.value());
        distance_.set(other.distance_.value());
    } else {
        orientation_.set(other.orientation_.value());
        distance_.set(other.distance_.value());
        coordinate_.set(other.coordinate_.value());
    }
    area_.set(other.area_.value());
    volume_.set(other.volume_.value());
    weight_.set(other.weight_.value());
    temperature_.set(other.temperature_.value());
}

UnitManager & UnitManager::DefaultManager() {
    static UnitManager * const manager = new UnitManager();
    return *manager;
}

Resource<ConstPointer<Unit>> & UnitManager::DefaultAngleUnit() {
    static auto * const resource = new Resource<ConstPointer<Unit>>();
    return *resource;
}

Resource<ConstPointer<Unit>> & UnitManager::DefaultOrientationSpaceUnit() {
    static auto * const resource = new Resource<ConstPointer<Unit>>();
    return *resource;
}

// Units by category

Resource<ConstPointer<Unit>> * UnitManager::resourceOf(UnitCategory category) noexcept {
    switch (category) {
    case UnitCategory::ANGLE:
        return &angle_;
    case UnitCategory::ORIENTATION:
        return &orientation_;
    case UnitCategory::DISTANCE:
        return &distance_;
    case UnitCategory::COORDINATE:
        return &coordinate_;
    case UnitCategory::SURFACE_AREA:
        return &area_;
    case UnitCategory::VOLUME:
        return &volume_;
    case UnitCategory::WEIGHT:
        return &weight_;
    case UnitCategory::TIME:
        return &time_;
    case UnitCategory::LATLON:
        return &lat_lon_;
    default:
        return nullptr;
    }
}

ConstPointer<Unit> UnitManager::unit(UnitCategory category) const {
    Resource<ConstPointer<Unit>> const * resource = const_cast<UnitManager *>(this)->resourceOf(category);
    return resource != nullptr ? resource->value() : nullptr;
}

Resource<ConstPointer<Unit>> & UnitManager::unitResource(UnitCategory category) {
    Resource<ConstPointer<Unit>> * resource = resourceOf(category);
    return resource != nullptr ? *resource : distance_;
}

void UnitManager::setUnit(UnitCategory category, ConstPointer<Unit> const & unit) {
    if (Resource<ConstPointer<Unit>> * resource = resourceOf(category)) {
        resource->set(unit);
    }
}

// Option lists

UnitOptionList * UnitManager::optionsOf(UnitCategory category) noexcept {
    switch (category) {
    case UnitCategory::ANGLE:
    case UnitCategory::ORIENTATION:
        return &angle_options_;
    case UnitCategory::LATLON:
        return &lat_lon_options_;
    case UnitCategory::DISTANCE:
        return &distance_options_;
    case UnitCategory::SURFACE_AREA:
        return &area_options_;
    case UnitCategory::VOLUME:
        return &volume_options_;
    case UnitCategory::WEIGHT:
        return &weight_options_;
    case UnitCategory::COORDINATE:
        return &coordinate_options_;
    default:
        return nullptr;
    }
}

UnitOptionList const * UnitManager::optionsOf(UnitCategory category) const noexcept {
    return const_cast<UnitManager *>(this)->optionsOf(category);
}

UnitOptionList UnitManager::unitOptions(UnitCategory category) const {
    UnitOptionList const * options = optionsOf(category);
    return options != nullptr ? *options : UnitOptionList();
}

void UnitManager::addFormatOption(UnitCategory category, ConstPointer<UnitOption> const & option) {
    if (option == nullptr) {
        return;
    }
    // The key is a view of the option's id: an entry of the same id goes first, so that no key
    // outlives the option it points into.
    option_map_.erase(option->id().view());
    option_map_.insert(option->id().view(), option);
    if (UnitOptionList * options = optionsOf(category)) {
        options->add(option);
    }
}

void UnitManager::removeFormatOption(UnitCategory category, ConstPointer<UnitOption> const & option) {
    if (option == nullptr) {
        return;
    }
    auto const found = option_map_.find(option->id().view());
    if (found != option_map_.end() && found->value() == option) {
        option_map_.erase(found);
    }
    if (UnitOptionList * options = optionsOf(category)) {
        for (unsigned int i = 0; i < options->size(); ++i) {
            if ((*options)[i] == option) {
                options->removeIndex(i);
                break;
            }
        }
    }
}

void UnitManager::clearUnitOptions(UnitCategory category) {
    if (UnitOptionList * options = optionsOf(category)) {
        options->clear();
    }
}

void UnitManager::setUnitOptions(UnitCategory category, UnitOptionList const & options) {
    if (UnitOptionList * list = optionsOf(category)) {
        *list = options;
    }
}

void UnitManager::setUnitOptions(UnitCategory category, Buffer<ConstPointer<Unit>> const & units) {
    UnitOptionList options;
    for (ConstPointer<Unit> const & unit : units) {
        if (unit != nullptr) {
            options.add(Option(unit));
        }
    }
    setUnitOptions(category, options);
}

void UnitManager::setUnitOptionsToDefault(UnitCategory category) {
    switch (category) {
    case UnitCategory::ANGLE:
    case UnitCategory::ORIENTATION:
        setupDefaultAngleUnitOptions();
        break;
    case UnitCategory::LATLON:
        setupDefaultLatLonOptions();
        break;
    case UnitCategory::DISTANCE:
        setupDefaultDistanceOptions();
        break;
    case UnitCategory::SURFACE_AREA:
        setupDefaultAreaOptions();
        break;
    case UnitCategory::VOLUME:
        setupDefaultVolumeOptions();
        break;
    case UnitCategory::WEIGHT:
        setupDefaultWeightOptions();
        break;
    case UnitCategory::COORDINATE:
        setupDefaultCoordinateSpaceOptions();
        break;
    default:
        break;
    }
}

ConstPointer<UnitOption> UnitManager::ActiveOption(UnitOptionList const & options, ConstPointer<Unit> const & unit) {
    for (ConstPointer<UnitOption> const & option : options) {
        if (option->hasMemberUnit(unit)) {
            return option;
        }
    }
    return nullptr;
}

void UnitManager::setupDefaultDistanceOptions() {
    clearUnitOptions(UnitCategory::DISTANCE);
    TranslatedString const decimal_feet = Title(decimal_feet_title);
    TranslatedString const feet_inches = Title(feet_inches_title);
    for (ConstPointer<UnitOption> const & option :
         {Option(Units::Meters()),
          OptionWith(Units::Feet(), {Option(Units::Feet(), decimal_feet), Option(Units::FeetInches(), feet_inches)}),
          OptionWith(Units::USSurveyFeet(),
                     {Option(Units::USSurveyFeet(), decimal_feet), Option(Units::USSurveyFeetInches(), feet_inches)}),
          Option(Units::Inches()), Option(Units::Centimeters())}) {
        addFormatOption(UnitCategory::DISTANCE, option);
    }
}

void UnitManager::setupDefaultAngleUnitOptions() {
    clearUnitOptions(UnitCategory::ANGLE);
    auto const & dms = static_cast<ThreePartAngleUnit const &>(*Units::DegreesMinutesSeconds());
    auto const slotted = [&](char const * key, char const * text) {
        TranslatedString title = KeyedTitle(key, text);
        title.replace(degrees_slot, Units::Degrees()->abbreviation(0));
        title.replace(minutes_slot, dms.middleAbbreviation());
        title.replace(seconds_slot, dms.minorAbbreviation());
        return title;
    };
    for (ConstPointer<UnitOption> const & option :
         {OptionWith(Units::Degrees(),
                     {Option(Units::Degrees(), Title(decimal_degrees_title)),
                      Option(Units::DegreesMinutes(), slotted(degrees_minutes_key, degrees_minutes_title)),
                      Option(Units::DegreesMinutesSeconds(),
                             slotted(degrees_minutes_seconds_key, degrees_minutes_seconds_title)),
                      Option(Units::DDDMMSS(), slotted(dddmmss_key, dddmmss_title))}),
          Option(Units::Radians()), Option(Units::Gradians())}) {
        addFormatOption(UnitCategory::ANGLE, option);
    }
}

void UnitManager::setupDefaultLatLonOptions() {
    clearUnitOptions(UnitCategory::LATLON);
    for (ConstPointer<UnitOption> const & angle : angle_options_) {
        ConstPointer<Unit> const unit = angle->unit();
        if (unit == nullptr) {
            continue;
        }
        auto * option = new BasicUnitOption(Units::LatLonAlt(*unit), angle->title());
        ConstPointer<UnitOption> const kept(option);
        for (ConstPointer<UnitOption> const & sub : angle->subOptions()) {
            ConstPointer<Unit> const sub_unit = sub->unit();
            if (sub_unit != nullptr) {
                option->subOptions().add(Option(Units::LatLonAlt(*sub_unit), sub->title()));
            }
        }
        addFormatOption(UnitCategory::LATLON, kept);
    }
}

void UnitManager::setupDefaultCoordinateSpaceOptions() {
    clearUnitOptions(UnitCategory::COORDINATE);
    for (char const * order : coordinate_orders) {
        addFormatOption(UnitCategory::COORDINATE,
                        ConstPointer<UnitOption>(new CoordinateUnitOption(order, Title(order))));
    }
}

void UnitManager::setupDefaultAreaOptions() {
    clearUnitOptions(UnitCategory::SURFACE_AREA);
    for (auto unit : {Units::SqrMeters, Units::SqrFeet, Units::SqrYards, Units::SqrInches, Units::SqrKilometers}) {
        addFormatOption(UnitCategory::SURFACE_AREA, Option(unit()));
    }
}

void UnitManager::setupDefaultVolumeOptions() {
    clearUnitOptions(UnitCategory::VOLUME);
    for (auto unit :
         {Units::CubicMeters, Units::CubicFeet, Units::CubicYards, Units::CubicInches, Units::Liters, Units::Gallon}) {
        addFormatOption(UnitCategory::VOLUME, Option(unit()));
    }
}

void UnitManager::setupDefaultWeightOptions() {
    clearUnitOptions(UnitCategory::WEIGHT);
    for (auto unit : {Units::Grams, Units::Kilograms, Units::Pounds, Units::MetricTons, Units::Ounces, Units::LongTons,
                      Units::ShortTons}) {
        addFormatOption(UnitCategory::WEIGHT, Option(unit()));
    }
}

// Custom units

void UnitManager::addSpecialUnit(DynamicPointer<CustomUnit> const & unit) {
    if (unit == nullptr) {
        return;
    }
    special_unit_index_[unit->name()] = special_units_.size();
    special_units_.add(unit);
}

bool UnitManager::hasSpecialUnit(StringView const & name) const {
    return special_unit_index_.contains(String(name));
}

ConstPointer<Unit> UnitManager::specialUnit(StringView const & name) {
    auto const found = special_unit_index_.find(String(name));
    if (found == special_unit_index_.end()) {
        return nullptr;
    }
    return special_units_[found->value()]->currentUnit(*this);
}

Resource<ConstPointer<Unit>> & UnitManager::specialUnitResource(StringView const & name) {
    return special_units_[special_unit_index_.at(String(name))]->unitResource(*this);
}

// Defaults

void UnitManager::setToDefaultMetric(bool keep_coordinate_order) {
    setToDefault(false, keep_coordinate_order);
}

void UnitManager::setToDefaultImperial(bool keep_coordinate_order) {
    setToDefault(true, keep_coordinate_order);
}

void UnitManager::setToDefault(bool imperial, bool keep_coordinate_order) {
    ConstPointer<Unit> const & default_angle = DefaultAngleUnit().value();
    angle_.set(default_angle != nullptr ? default_angle : Units::Degrees());
    lat_lon_.set(DefaultLatLon());
    ConstPointer<Unit> const & default_orientation = DefaultOrientationSpaceUnit().value();
    orientation_.set(default_orientation != nullptr ? default_orientation : DefaultOrientation());
    distance_.set(imperial ? Units::Feet() : Units::Meters());
    if (keep_coordinate_order) {
        updateCoordinateBase(imperial ? Units::Feet() : Units::Meters());
    } else {
        coordinate_.set(DefaultCoordinate(imperial));
    }
    area_.set(imperial ? Units::SqrFeet() : Units::SqrMeters());
    volume_.set(imperial ? Units::CubicFeet() : Units::CubicMeters());
    temperature_.set(imperial ? Units::Fahrenheit() : Units::Celsius());
    weight_.set(imperial ? Units::Pounds() : Units::Kilograms());
    for (DynamicPointer<CustomUnit> const & special : special_units_) {
        special->resetToDefault(*this);
    }
}

void UnitManager::updateCoordinateBase(ConstPointer<Unit> const & unit) {
    if (unit == nullptr) {
        return;
    }
    ConstPointer<Unit> const present = coordinate_.value();
    ConstPointer<UnitOption> const option = ActiveOption(coordinate_options_, present);
    if (option == nullptr) {
        coordinate_.set(Units::EastingNorthingElevation(unit));
        return;
    }
    // A coordinate unit is built anew on each call: an equal one is no change.
    ConstPointer<Unit> made = option->unit(unit);
    if (made != nullptr && (present == nullptr || *made != *present)) {
        coordinate_.set(std::move(made));
    }
}

ConstPointer<Unit> UnitManager::orientationOffsetUnit() const {
    ConstPointer<Unit> const & orientation = orientation_.value();
    if (orientation == nullptr) {
        return nullptr;
    }
    return Units::Unwrapped(*orientation, orientation_offset_name, Title(orientation_offset_label));
}

bool UnitManager::canBeMetric(ConstPointer<Unit> const & unit) {
    if (unit == nullptr) {
        return false;
    }
    for (char const * word : not_metric) {
        if (unit->name().hasSubString(word)) {
            return false;
        }
    }
    return true;
}

bool UnitManager::canBeImperial(ConstPointer<Unit> const & unit) {
    if (unit == nullptr) {
        return false;
    }
    for (char const * word : not_imperial) {
        if (unit->name().hasSubString(word)) {
            return false;
        }
    }
    return true;
}

// Ties

void UnitManager::tieToManager(UnitManager const & other) {
    if (tie_listener_ != nullptr) {
        tie_listener_->disconnectListener();
        delete tie_listener_;
    }
    tie_listener_ = new TieListener(*this, other);
    for (Resource<ConstPointer<Unit>> const * resource :
         {&other.angle_, &other.lat_lon_, &other.coordinate_, &other.orientation_, &other.distance_, &other.area_,
          &other.volume_, &other.weight_, &other.temperature_, &other.time_}) {
        resource->addListener(tie_listener_, true);
    }
}

// Settings

void UnitManager::getINI(INIFactory & factory) {
    for (unsigned int i = 0; i < 9; ++i) {
        factory.addINIOption(settings_[i].key, new INIFactory::INIObject<String>(&stored_names_[i]));
    }
    for (DynamicPointer<CustomUnit> const & special : special_units_) {
        special->setupINI(factory);
    }
}

void UnitManager::prepareForINI(INIFactory &) {
    for (unsigned int i = 0; i < 9; ++i) {
        ConstPointer<Unit> const & unit = (this->*settings_[i].resource).value();
        stored_names_[i] = unit != nullptr ? unit->name() : String();
    }
    for (DynamicPointer<CustomUnit> const & special : special_units_) {
        special->prepareForINI(*this);
    }
}

void UnitManager::finishReadingINI(INIFactory &) {
    for (unsigned int i = 0; i < 9; ++i) {
        if (stored_names_[i].isEmpty()) {
            continue;
        }
        ConstPointer<Unit> found = unit(stored_names_[i].view());
        if (found != nullptr) {
            (this->*settings_[i].resource).set(std::move(found));
        }
    }
    for (DynamicPointer<CustomUnit> const & special : special_units_) {
        special->finishReadingINI(*this);
    }
}

} // namespace QELTA
