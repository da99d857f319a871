// Application options: typed options with defaults, and the registry of their groups.
#include "Base/Settings/ApplicationOptions.h"

#include "Base/Color/RGBColor.h"
#include "Base/Failure/Exception.h"

#include <utility>

namespace QELTA {
namespace {

constexpr char time_format[] = "YYYY/MM/DD HH:mm:ss";
constexpr char label_separator[] = "-";
constexpr char value_separator[] = ": ";
constexpr unsigned char option_log_level = 2;
constexpr unsigned int group_header_size = 32;
constexpr unsigned int group_header_front = 16;
constexpr unsigned int option_name_size = 24;

String Text(bool value) {
    return String(value ? "T" : "F");
}

String Text(String const & value) {
    return value;
}

String Text(Time const & value) {
    StringAllocatingView out;
    value.appendTo(out, false, StringView(time_format));
    return String(out.view());
}

String Text(RGBColor const & value) {
    StringAllocatingView out;
    StringStream<RGBColor>::toString(value, out);
    return String(out.view());
}

void Parse(StringView const & text, bool & value) {
    value = !text.isEmpty() && (text[0] == 'T' || text[0] == '1' || text[0] == 't');
}

void Parse(StringView const & text, String & value) {
    value = text;
}

void Parse(StringView const & text, Time & value) {
    value = Time();
    try {
        value.setTimeFromString(text, false, StringView(time_format));
    } catch (Exception const &) {
        value = Time();
    }
}

void Parse(StringView const & text, RGBColor & value) {
    StringStream<RGBColor>::fromString(text, value);
}

// "<group label>-<option label>".
String INILabel(TranslatedString const & group, TranslatedString const & name) {
    String label = group.readableID();
    label.append(StringView(label_separator));
    label.append(name.readableID().view());
    return label;
}

void AddGroupToINI(ApplicationOptions::Group const & options, TranslatedString const & group, INIFactory & factory) {
    for (auto const & [name, option] : options) {
        factory.addINIOption(INILabel(group, name).view(), option->createINIOption());
    }
}

} // namespace

ApplicationOptionBase::ApplicationOptionBase(TranslatedString group, TranslatedString name)
    : group_(std::move(group)), name_(std::move(name)) {}

ApplicationOptionBase::~ApplicationOptionBase() = default;

template <class T>
ApplicationOption<T>::ApplicationOption(TranslatedString group, TranslatedString name, T default_value,
                                       ApplicationOptions * owner)
    : ApplicationOptionBase(std::move(group), std::move(name)), resource(default_value), owner_(owner),
      default_value_(std::move(default_value)) {
    if (owner_ != nullptr) {
        owner_->addOption(group_, name_, this);
    }
}

template <class T>
ApplicationOption<T>::~ApplicationOption() = default;

template <class T>
String ApplicationOption<T>::toString() const {
    return Text(resource.value());
}

template <class T>
void ApplicationOption<T>::fromString(StringView const & text) {
    T value{};
    Parse(text, value);
    resource.set(value);
}

template <class T>
bool ApplicationOption<T>::isDefault() const {
    return resource.value() == default_value_;
}

template <class T>
void ApplicationOption<T>::setToDefault() {
    resource.set(default_value_);
}

template <class T>
INIOption * ApplicationOption<T>::createINIOption() const {
    return new INIFactory::INIObject<T>(const_cast<Resource<T> *>(&resource));
}

template class ApplicationOption<bool>;
template class ApplicationOption<String>;
template class ApplicationOption<Time>;
template class ApplicationOption<RGBColor>; // declared in Base/Color/ColorOptions.h

void ApplicationOptions::addOption(TranslatedString const & name, ApplicationOptionBase * option) {
    addOption(TranslatedString(), name, option);
}

void ApplicationOptions::addOption(TranslatedString const & group, TranslatedString const & name,
                                   ApplicationOptionBase * option) {
    groups_[group][name] = option;
}

ApplicationOptionBase const * ApplicationOptions::getOption(TranslatedString const & group,
                                                            TranslatedString const & name) const {
    return groups_.at(group).at(name);
}

ApplicationOptionBase const * ApplicationOptions::getOption(TranslatedString const & name) const {
    return getOption(TranslatedString(), name);
}

ApplicationOptions::Group ApplicationOptions::optionGroup(TranslatedString const & group) const {
    return groups_.at(group);
}

void ApplicationOptions::addToINI(INIFactory & factory) const {
    for (auto const & [group, options] : groups_) {
        AddGroupToINI(options, group, factory);
    }
}

void ApplicationOptions::addToINI(TranslatedString const & group, INIFactory & factory) const {
    if (auto const found = groups_.find(group); found != groups_.end()) {
        AddGroupToINI(found->value(), group, factory);
    }
}

void ApplicationOptions::setToDefaults() {
    for (auto & [group, options] : groups_) {
        for (auto & [name, option] : options) {
            option->setToDefault();
        }
    }
}

void ApplicationOptions::setToDefaults(TranslatedString const & group) {
    if (auto found = groups_.find(group); found != groups_.end()) {
        for (auto & [name, option] : found->value()) {
            option->setToDefault();
        }
    }
}

void ApplicationOptions::logOptions(LogPtr & log, bool only_changed) const {
    for (auto & [group, options] : groups_) {
        bool header_written = false;
        for (auto & [name, option] : options) {
            if (only_changed && option->isDefault()) {
                continue;
            }
            if (!header_written) {
                String header(TranslatedString(group).translation());
                header.addWhiteSpace(group_header_size, group_header_front, '-');
                log.addMessage(log.index(), header.view(), option_log_level);
                header_written = true;
            }
            String line(TranslatedString(name).translation());
            line.addWhiteSpace(option_name_size, option_name_size, ' ');
            line.append(StringView(value_separator));
            line.append(option->toString().view());
            log.addMessage(log.index(), line.view(), option_log_level);
        }
    }
}

ApplicationOptions & ApplicationOptions::UserOptions() {
    static ApplicationOptions * const s_user_options = new ApplicationOptions(); // never freed: global options outlive statics
    return *s_user_options;
}

} // namespace QELTA
