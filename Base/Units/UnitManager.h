// UnitManager: the unit in force for each kind of quantity, the lists a person picks units from,
// the custom units of modules, and the reading of units from text.
//
// The manager owns its resources, lists and custom units; units and options are shared. Its
// resources tell their listeners on the writing thread, as every Resource does; the option lists,
// the option map and the custom units have no lock, so they are set up at start and changed on
// one thread. DefaultManager() is built on first use, once even when threads ask at the same
// time, and never freed. Nothing here raises: a text that names no unit gives null, and a
// setting that names no unit leaves the unit as it was. Settings are kept in
// "application_units.ini" in the user's settings folder, written whole through a temporary file.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Settings/SoftwareService.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/ConstPointer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Units/Unit.h"
#include "Base/Units/UnitCategory.h"
#include "Base/Units/UnitOption.h"

namespace QELTA {

// Categories with a resource: ANGLE, ORIENTATION, DISTANCE, COORDINATE, SURFACE_AREA, VOLUME,
// WEIGHT, TIME and LATLON; the temperature has a resource but no category. Every resource but
// time holds null until setToDefaultMetric, setToDefaultImperial or a read of the settings file.
class QELTA_BASE_EXPORT UnitManager : public INIInterface, public SoftwareServiceManager {
  public:
    static constexpr char settings_file_name[] = "application_units.ini";

    // With "application_units.ini" in FileResource::PathToUserSettings() as its settings file.
    UnitManager();
    explicit UnitManager(File const & settings);
    // Units, lists and custom units; the settings file is worked out anew, not copied.
    UnitManager(UnitManager const & other);
    // Sets each unit with the usual change test and notification, then copies the lists, the
    // option map and the custom units.
    UnitManager & operator=(UnitManager const & other);
    ~UnitManager() override;

    static UnitManager & DefaultManager();
    // Units that setToDefaultMetric and setToDefaultImperial take for the angle and the
    // orientation in place of their own choice while they are not null.
    static Resource<ConstPointer<Unit>> & DefaultAngleUnit();
    static Resource<ConstPointer<Unit>> & DefaultOrientationSpaceUnit();

    // Null for a category without a resource.
    ConstPointer<Unit> unit(UnitCategory category) const;
    // The unit an option id, a spelling or a composed name gives ("ENH:feet",
    // "N:CW:decimal degrees:90:UP"); null when nothing fits.
    ConstPointer<Unit> unit(StringView const & text) const;
    // A category without a resource answers with the distance resource, deliberately.
    Resource<ConstPointer<Unit>> & unitResource(UnitCategory category);
    Resource<ConstPointer<Unit>> const & temperatureResource() const noexcept { return temperature_; }
    // Stores `unit` and tells the listeners when it is another object; a category without a
    // resource is ignored.
    void setUnit(UnitCategory category, ConstPointer<Unit> const & unit);

    // The unit that the suffixes of a value were written in: "5'6\"" feet and inches, "12.5 kg"
    // kilograms, "12° 30' 15\"" degrees, minutes and seconds. Null when they say nothing.
    ConstPointer<Unit> parseUnit(StringView const & text, UnitCategory category) const;
    // The unit that one, two or three suffixes (or one column label: "Easting (ft)", "Dist [m]",
    // "Angle DMS") name; null when nothing fits.
    ConstPointer<Unit> determineUnit(Buffer<String> const & parts, UnitCategory category) const;

    // Option lists. Copies, empty for a category without a list; ORIENTATION shares ANGLE's.
    UnitOptionList unitOptions(UnitCategory category) const;
    UnitOptionList const & angleUnitOptions() const noexcept { return angle_options_; }
    UnitOptionList const & latLonUnitOptions() const noexcept { return lat_lon_options_; }
    UnitOptionList const & distanceUnitOptions() const noexcept { return distance_options_; }
    UnitOptionList const & areaUnitOptions() const noexcept { return area_options_; }
    UnitOptionList const & volumeUnitOptions() const noexcept { return volume_options_; }
    UnitOptionList const & weightUnitOptions() const noexcept { return weight_options_; }
    UnitOptionList const & coordinateSpaceFormatOptions() const noexcept { return coordinate_options_; }
    // Enters the option in the option map under its id and appends it to the category's list.
    void addFormatOption(UnitCategory category, ConstPointer<UnitOption> const & option);
    void removeFormatOption(UnitCategory category, ConstPointer<UnitOption> const & option);
    void clearUnitOptions(UnitCategory category);
    void setUnitOptions(UnitCategory category, UnitOptionList const & options);
    // One BasicUnitOption for each unit.
    void setUnitOptions(UnitCategory category, Buffer<ConstPointer<Unit>> const & units);
    void setUnitOptionsToDefault(UnitCategory category);
    // The first option of which hasMemberUnit(unit) holds, or null.
    static ConstPointer<UnitOption> ActiveOption(UnitOptionList const & options, ConstPointer<Unit> const & unit);

    // Custom units, in the order they were added; a later unit of the same name hides the first.
    void addSpecialUnit(DynamicPointer<CustomUnit> const & unit);
    bool hasSpecialUnit(StringView const & name) const;
    Buffer<DynamicPointer<CustomUnit>> const & specialUnits() const noexcept { return special_units_; }
    // The custom unit's current unit; null for a name that is not registered.
    ConstPointer<Unit> specialUnit(StringView const & name);
    // The custom unit's resource. The name must be registered: a lookup that misses ends the
    // process, as every Dictionary lookup that must hit does.
    Resource<ConstPointer<Unit>> & specialUnitResource(StringView const & name);

    // The metric or imperial units (metres or feet, ...), then each custom unit's default. With
    // `keep_coordinate_order` the coordinate unit keeps its axis order over the new length.
    void setToDefaultMetric(bool keep_coordinate_order);
    void setToDefaultImperial(bool keep_coordinate_order);
    // Keeps the axis order of the coordinate unit and puts `unit` under it.
    void updateCoordinateBase(ConstPointer<Unit> const & unit);
    // A new copy of the orientation unit named "orientation_offset" that is wrapped on no axis,
    // so that an offset isn't folded into the compass range; null without an orientation.
    ConstPointer<Unit> orientationOffsetUnit() const;
    // By the unit's name alone, case-sensitively: no "feet", "inch", "yard", ... for metric, no
    // "meter", "liter", "metric ton" for imperial. False for null.
    static bool canBeMetric(ConstPointer<Unit> const & unit);
    static bool canBeImperial(ConstPointer<Unit> const & unit);

    // From now on, any change in `other` brings this manager to the units `other` holds now,
    // deliberately: the listener keeps a copy, not a reference. `other` must outlive this
    // manager's tie, or be tied again or destroyed after this manager.
    void tieToManager(UnitManager const & other);

    void getINI(INIFactory & factory) override;
    void prepareForINI(INIFactory & factory) override;
    void finishReadingINI(INIFactory & factory) override;

  private:
    struct Setting;
    static Setting const settings_[9];

    // The resource of a category, null for one without.
    Resource<ConstPointer<Unit>> * resourceOf(UnitCategory category) noexcept;
    UnitOptionList * optionsOf(UnitCategory category) noexcept;
    UnitOptionList const * optionsOf(UnitCategory category) const noexcept;
    void assignUnits(UnitManager const & other, bool coordinate_before_orientation);
    void setupDefaultAngleUnitOptions();
    void setupDefaultLatLonOptions();
    void setupDefaultCoordinateSpaceOptions();
    void setupDefaultDistanceOptions();
    void setupDefaultAreaOptions();
    void setupDefaultVolumeOptions();
    void setupDefaultWeightOptions();
    void setToDefault(bool imperial, bool keep_coordinate_order);
    ConstPointer<Unit> spelledUnit(StringView const & text) const;
    ConstPointer<Unit> singlePartUnit(StringView const & part, UnitCategory category) const;
    static ConstPointer<Unit> Matching(UnitOptionList const & options, StringView const & part);

    Resource<ConstPointer<Unit>> angle_;
    Resource<ConstPointer<Unit>> orientation_;
    Resource<ConstPointer<Unit>> distance_;
    Resource<ConstPointer<Unit>> coordinate_;
    Resource<ConstPointer<Unit>> area_;
    Resource<ConstPointer<Unit>> volume_;
    Resource<ConstPointer<Unit>> weight_;
    Resource<ConstPointer<Unit>> temperature_;
    Resource<ConstPointer<Unit>> lat_lon_;
    Resource<ConstPointer<Unit>> time_;

    UnitOptionList angle_options_;
    UnitOptionList lat_lon_options_;
    UnitOptionList distance_options_;
    UnitOptionList area_options_;
    UnitOptionList volume_options_;
    UnitOptionList weight_options_;
    UnitOptionList coordinate_options_;

    // Keyed by views of the options' own ids, which live as long as the options the map holds.
    Dictionary<StringView, ConstPointer<UnitOption>> option_map_;
    Buffer<DynamicPointer<CustomUnit>> special_units_;
    Dictionary<String, unsigned int> special_unit_index_;

    // The units' names between the resources and the file, one for each settings key.
    String stored_names_[9];

    // Owned jointly with the resources of the manager tied to, whichever goes first; it clears
    // this pointer when they delete it.
    class TieListener;
    TieListener * tie_listener_ = nullptr;
};

} // namespace QELTA
