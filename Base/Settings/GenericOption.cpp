// GenericOption and GenericOptionGroup: the options, their JSON forms and their INI exposure.
#include "Base/Settings/GenericOption.h"

#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Units/UnitManager.h"

#include <cmath>

namespace QELTA {
namespace {

// The keys of the JSON forms.
constexpr char name_key[] = "name";
constexpr char id_key[] = "id";
constexpr char options_key[] = "options";
constexpr char value_key[] = "value";
constexpr char type_key[] = "type";
constexpr char description_key[] = "description";
constexpr char default_value_key[] = "default_value";
constexpr char icon_key[] = "icon";
constexpr char regex_key[] = "regex";
constexpr char min_key[] = "min";
constexpr char max_key[] = "max";
constexpr char available_options_key[] = "available_options";
constexpr char unit_key[] = "unit";
constexpr char is_editable_key[] = "is_editable";
constexpr char is_viewable_key[] = "is_viewable";
constexpr char allow_custom_option_key[] = "allow_custom_option";

// The choices of a delimiter option: the label, then the character.
constexpr char const * delimiter_choices[][2] = {
    {"Space", " "},  {"Tab", "\t"},      {"New Line", "\n"}, {"Comma", ","},
    {"Period", "."}, {"Semicolon", ";"}, {"Colon", ":"},
};
constexpr char one_character_regex[] = "^.$";
constexpr char folder_pattern[] = "\\";

// The text a person sees; the copy keeps the translation cache of the original untouched.
String Shown(TranslatedString text) {
    return String(text.translation());
}

void AddString(JSONNode & node, StringView const & key, StringView const & text) {
    node.createChildNode(key, JSONNode::STRING).setValue(text);
}

// The number text of the library's display form, with at most the node's decimals.
void AddNumber(JSONNode & node, StringView const & key, double value) {
    String const text = String::NumberString(value, false, 0, JSONNode::s_number_of_decimals, 0, '.', ',');
    node.createChildNode(key, JSONNode::NUMBER).setValue(text.view());
}

void AddFlag(JSONNode & node, StringView const & key, bool value) {
    node.createChildNode(key, JSONNode::BOOLEAN).setValue(value ? StringView("T") : StringView("F"));
}

// The first byte decides: 'T', 't' or '1' is true.
bool Truth(StringView const & text) noexcept {
    char const first = text.isEmpty() ? 0 : text[0];
    return first == 'T' || first == 't' || first == '1';
}

void ReadFlag(JSONNode const & node, StringView const & key, bool & flag) {
    if (node.hasNode(key)) {
        flag = Truth(node[key].value().view());
    }
}

double ReadNumber(String const & text) {
    double value = std::numeric_limits<double>::quiet_NaN();
    StringStream<double>::fromString(text, value);
    return value;
}

JSONNode OptionNode(GenericOption const & option) {
    JSONNode node;
    AddString(node, name_key, Shown(option.name));
    AddString(node, value_key, option.value.value());
    StringAllocatingView type;
    StringStream<TypeInfo>::toString(option.type, type);
    AddString(node, type_key, type.view());
    AddString(node, description_key, Shown(option.description));
    if (!option.default_value.isEmpty()) {
        AddString(node, default_value_key, option.default_value);
    }
    if (!option.icon.isEmpty()) {
        AddString(node, icon_key, option.icon);
    }
    if (!option.regex.isEmpty()) {
        AddString(node, regex_key, option.regex);
    }
    if (!std::isnan(option.min)) {
        AddNumber(node, min_key, option.min);
    }
    if (!std::isnan(option.max)) {
        AddNumber(node, max_key, option.max);
    }
    if (!option.available_options.isEmpty()) {
        JSONNode & choices = node.createChildNode(available_options_key, JSONNode::OBJECT);
        for (GenericOption::Choice const & choice : option.available_options) {
            AddString(choices, choice.second, Shown(choice.first));
        }
    }
    if (option.unit) {
        AddString(node, unit_key, option.unit->name());
    }
    if (!option.is_editable) {
        AddFlag(node, is_editable_key, false);
    }
    if (!option.is_viewable) {
        AddFlag(node, is_viewable_key, false);
    }
    if (option.allow_custom_option) {
        AddFlag(node, allow_custom_option_key, true);
    }
    return node;
}

GenericOption OptionFromNode(StringView const & key, JSONNode const & member, String const & text) {
    GenericOption option;
    option.id = key;
    option.value.set(text);
    option.name = TranslatedString::DirectString(member.hasNode(name_key) ? member[name_key].value().view() : key);
    if (member.hasNode(type_key)) {
        StringStream<TypeInfo>::fromString(member[type_key].value(), option.type);
    }
    if (member.hasNode(description_key)) {
        option.description = TranslatedString::DirectString(member[description_key].value());
    }
    if (member.hasNode(default_value_key)) {
        option.default_value = member[default_value_key].value();
    }
    if (member.hasNode(regex_key)) {
        option.regex = member[regex_key].value();
    }
    if (member.hasNode(icon_key)) {
        option.icon = member[icon_key].value();
    }
    if (member.hasNode(min_key)) {
        option.min = ReadNumber(member[min_key].value());
    }
    if (member.hasNode(max_key)) {
        option.max = ReadNumber(member[max_key].value());
    }
    if (member.hasNode(available_options_key)) {
        for (JSONNode const * choice : member[available_options_key].children()) {
            option.available_options.add(
                GenericOption::Choice(TranslatedString::DirectString(choice->value()), choice->nodeName()));
        }
    }
    if (member.hasNode(unit_key)) {
        option.unit = UnitManager::DefaultManager().unit(member[unit_key].value().view());
    }
    ReadFlag(member, is_editable_key, option.is_editable);
    ReadFlag(member, is_viewable_key, option.is_viewable);
    ReadFlag(member, allow_custom_option_key, option.allow_custom_option);
    return option;
}

} // namespace

// GenericOption

GenericOption::GenericOption(StringView const & option_id, TranslatedString const & label, StringView const & text)
    : name(label), id(option_id), value(String(text)), default_value(text) {}

void GenericOption::set(StringView const & text) {
    value.set(String(text));
}

void GenericOption::setupForFolder() {
    file_pattern = folder_pattern;
    is_file_option = true;
}

void GenericOption::setupForFile(StringView const & pattern) {
    file_pattern = pattern;
    is_file_option = true;
}

void GenericOption::setupForDelimiter() {
    allow_custom_option = true;
    for (auto const & [label, character] : delimiter_choices) {
        available_options.add(Choice(Internal::Translatable(label), String(character)));
    }
    regex = one_character_regex;
}

TypeInfo GenericOption::StringTypeInfo() noexcept {
    TypeInfo info;
    info.vector_size = 1;
    info.is_string = true;
    return info;
}

bool operator==(GenericOption const & a, GenericOption const & b) noexcept {
    return a.value.value().view() == b.value.value().view();
}

bool operator!=(GenericOption const & a, GenericOption const & b) noexcept {
    return !(a == b);
}

// GenericOptionGroup

GenericOptionGroup::GenericOptionGroup(TranslatedString const & name, StringView const & id)
    : name_(name), id_(id.isEmpty() ? name.readableID() : String(id)) {}

GenericOptionGroup::~GenericOptionGroup() = default;

void GenericOptionGroup::addOption(GenericOption const & option) {
    options_.emplace(option.id, option);
    order_.add(option.id);
}

void GenericOptionGroup::setOption(GenericOption const & option) {
    auto const found = options_.find(option.id);
    if (found == options_.end()) {
        order_.add(option.id);
        options_.emplace(option.id, option);
    } else {
        found->value() = option;
    }
}

bool GenericOptionGroup::hasOption(StringView const & id) const {
    return options_.contains(String(id));
}

bool GenericOptionGroup::hasOption(TranslatedString const & name) const {
    return options_.contains(name.readableID());
}

GenericOption & GenericOptionGroup::getOption(TranslatedString const & name) {
    return options_.at(name.readableID());
}

GenericOption const & GenericOptionGroup::getOption(TranslatedString const & name) const {
    return options_.at(name.readableID());
}

GenericOption & GenericOptionGroup::getOption(StringView const & id) {
    return options_.at(String(id));
}

GenericOption const & GenericOptionGroup::getOption(StringView const & id) const {
    return options_.at(String(id));
}

void GenericOptionGroup::clear() {
    options_.clear();
    order_.clear();
}

INIFactory GenericOptionGroup::ini() {
    INIFactory factory;
    addOptionsToINI(factory);
    return factory;
}

void GenericOptionGroup::addOptionsToINI(INIFactory & factory) {
    if (factory.preserveOrder()) {
        for (String const & id : order_) {
            GenericOption & option = options_.at(id);
            factory.addINIOption(option.id, new INIFactory::INIObject<String>(&option.value));
        }
        return;
    }
    for (auto & [id, option] : options_) {
        factory.addINIOption(id, new INIFactory::INIObject<String>(&option.value));
    }
}

JSONNode GenericOptionGroup::toJSONNode(bool values_only) const {
    JSONNode node;
    AddString(node, name_key, Shown(name_));
    AddString(node, id_key, id_);
    if (options_.isEmpty()) {
        return node;
    }
    JSONNode & members = node.createChildNode(options_key, JSONNode::OBJECT);
    for (String const & id : order_) {
        if (members.hasNode(id)) {
            continue; // an id added twice is written once, so that the text reads back
        }
        GenericOption const & option = options_.at(id);
        if (values_only) {
            AddString(members, id, option.value.value());
        } else {
            JSONNode & member = members.createChildNode(id, JSONNode::OBJECT);
            member = OptionNode(option);
        }
    }
    return node;
}

void GenericOptionGroup::fromJSONNode(JSONNode const & node) {
    if (node.hasNode(name_key)) {
        name_ = TranslatedString::DirectString(node[name_key].value());
    }
    if (node.hasNode(id_key)) {
        id_ = node[id_key].value();
    }
    if (!node.hasNode(options_key)) {
        return;
    }
    for (auto const & [key, member] : node[options_key]) {
        String const & text = member->hasNode(value_key) ? (*member)[value_key].value() : member->value();
        auto const found = options_.find(String(key));
        if (found != options_.end()) {
            found->value().set(text); // nothing else of a known option is taken from outside
            continue;
        }
        options_.emplace(String(key), OptionFromNode(key, *member, text));
        order_.add(String(key));
    }
}

bool operator==(GenericOptionGroup const & a, GenericOptionGroup const & b) {
    if (a.options().size() != b.options().size()) {
        return false;
    }
    for (auto const & [id, option] : a.options()) {
        auto const found = b.options().find(id);
        if (found == b.options().end() || found->value() != option) {
            return false;
        }
    }
    return true;
}

bool operator!=(GenericOptionGroup const & a, GenericOptionGroup const & b) {
    return !(a == b);
}

} // namespace QELTA
