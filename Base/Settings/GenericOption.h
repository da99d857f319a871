// GenericOption and GenericOptionGroup: self-describing settings whose value is text, in ordered
// groups that turn into and come from JSON trees and expose their values through an INIFactory.
//
// An option owns its texts and choices and holds its value in a Resource<String>, whose listeners
// hear each change on the changing thread. A group owns its options; a factory filled by a group
// points at the group's values, so the group must outlive it. Options and groups belong to one
// thread. Nothing raises: text that does not parse gives not-a-number limits or default flags;
// getOption of a missing name ends the process with "Couldn't find key.", as a Dictionary lookup
// that must hit does.
#pragma once

#include "Base/Export.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Settings/JSONNode.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/ConstPointer.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/TypeInfo.h"
#include "Base/Units/Unit.h"

#include <limits>
#include <utility>

namespace QELTA {

// One setting: its label and description, the type and limits of its text value, its choices.
// `regex` is for an editor to apply; this library does not. Copies are member-wise; the value's
// Resource copies as Resource does (the copy lists the same listeners).
struct QELTA_BASE_EXPORT GenericOption {
    using Choice = std::pair<TranslatedString, String>; // the label shown, the value stored

    TranslatedString name;
    TranslatedString description;
    String id; // the stable key within a group
    Resource<String> value;
    String default_value;
    String file_pattern; // the file selection pattern of a file or folder option
    String icon;         // an image resource name
    String regex;
    String extra; // kept and copied; nothing here reads it
    TypeInfo type = StringTypeInfo();
    Buffer<Choice> available_options;
    double min = std::numeric_limits<double>::quiet_NaN(); // not-a-number: no limit
    double max = std::numeric_limits<double>::quiet_NaN();
    ConstPointer<Unit> unit;          // null: the value has no unit
    bool allow_custom_option = false; // a value outside available_options is accepted
    bool is_editable = true;
    bool is_viewable = true;
    bool is_file_option = false;
    // Kept and copied; nothing here reads them.
    bool spare_flag_1 = false;
    bool spare_flag_2 = false;
    bool spare_flag_3 = false;

    GenericOption() = default;
    // `value` is both the value and the default.
    GenericOption(StringView const & id, TranslatedString const & name, StringView const & value);

    // Through the resource: an equal value changes nothing, another tells the listeners.
    void set(StringView const & text);
    void set(String const & text) { value.set(text); }
    void setToDefault() { value.set(default_value); }

    // A folder: the pattern is a backslash.
    void setupForFolder();
    void setupForFile(StringView const & pattern);
    // One character, custom ones allowed, with the choices Space, Tab, New Line, Comma, Period,
    // Semicolon and Colon.
    void setupForDelimiter();

    // The type of a plain text value: a string of one component.
    static TypeInfo StringTypeInfo() noexcept;
};

// Compare the values only, not ids or labels.
QELTA_BASE_EXPORT bool operator==(GenericOption const & a, GenericOption const & b) noexcept;
QELTA_BASE_EXPORT bool operator!=(GenericOption const & a, GenericOption const & b) noexcept;

// Options by id, kept in the order of addition. Its JSON form: "name" (the display text), "id",
// and "options" when there are any, one member per option in order: the value's text alone
// (values_only), or an object of "name", "value", "type", "description" and, when they differ from
// their defaults, "default_value", "icon", "regex", "min", "max", "available_options" (value to
// label), "unit" (the unit's name), "is_editable", "is_viewable" and "allow_custom_option".
class QELTA_BASE_EXPORT GenericOptionGroup {
  public:
    GenericOptionGroup() = default;
    // An empty `id` takes the readable label of the name.
    GenericOptionGroup(TranslatedString const & name, StringView const & id);
    GenericOptionGroup(GenericOptionGroup const &) = default;
    GenericOptionGroup & operator=(GenericOptionGroup const &) = default;
    virtual ~GenericOptionGroup();

    virtual JSONNode toJSONNode(bool values_only) const;
    // Sets the values of known options (nothing else of theirs) and adds unknown ones whole, in
    // the order of the node's name table.
    virtual void fromJSONNode(JSONNode const & node);

    // Enters the option under its id unless one of that id is there already, and appends the id
    // to the order in any case: the order then names it twice (it is written once).
    void addOption(GenericOption const & option);
    // Inserts or overwrites; a new id is appended to the order.
    void setOption(GenericOption const & option);
    bool hasOption(StringView const & id) const;
    // By the readable label of the name, as the id of an option made from a label.
    bool hasOption(TranslatedString const & name) const;
    GenericOption & getOption(TranslatedString const & name);
    GenericOption const & getOption(TranslatedString const & name) const;
    GenericOption & getOption(StringView const & id);
    GenericOption const & getOption(StringView const & id) const;
    void clear();

    // A new factory with an INIObject<String> on each option's value, under its id.
    INIFactory ini();
    // In the order of addition when the factory preserves order, else in table order.
    void addOptionsToINI(INIFactory & factory);

    Dictionary<String, GenericOption> const & options() const noexcept { return options_; }
    Buffer<String> const & order() const noexcept { return order_; }
    TranslatedString const & name() const noexcept { return name_; }
    String const & id() const noexcept { return id_; }

  protected:
    Dictionary<String, GenericOption> options_;
    Buffer<String> order_;
    TranslatedString name_;
    String id_;
};

// The same number of options, and for each an option of the same id with an equal value.
QELTA_BASE_EXPORT bool operator==(GenericOptionGroup const & a, GenericOptionGroup const & b);
QELTA_BASE_EXPORT bool operator!=(GenericOptionGroup const & a, GenericOptionGroup const & b);

} // namespace QELTA
