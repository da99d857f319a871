// The application's identity, the record of its last run, its single instance, closing and
// resetting, the machine's description in the log, and the hand-overs to the desktop.
#include "Base/Host/ApplicationResource.h"

#include "Base/Concurrency/ThreadFunctions.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/FileException.h"
#include "Base/Files/FileResource.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Host/Internal/SystemText.h"
#include "Base/Host/LocalApplicationLauncher.h"
#include "Base/Host/ModuleManager.h"
#include "Base/Host/Platform/ProcessPlatform.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Settings/EnvironmentalVariable.h"
#include "Base/Settings/INIFactory.h"
#include "Base/Text/StringStream.h"

#include <cerrno>
#include <mutex>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char settings_group[] = "Application Settings";
constexpr char initial_setup_name[] = "Has Finished Initial Setup";
constexpr char proper_shutdown_name[] = "Proper Shutdown";
constexpr char run_time_name[] = "Run Time";
constexpr char last_version_name[] = "Last Application Version";
constexpr char name_and_version_label[] = "app_name_and_version";
constexpr char name_and_version_text[] = "[app_name] [app_version]";
constexpr char windows_key[] = "windows";
constexpr char windows_prefix[] = "QELTA.";
constexpr char other_prefix[] = "org.qelta.";
constexpr char build_time_format[] = "YYYY MMM DD HH:mm:ss";
constexpr char build_date_format[] = "YYYY/MM/DD HH:mm:ss";
constexpr char no_desktop_name[] = "-Win9x";
constexpr char user_domain_text[] = "%USERDOMAIN%";
constexpr char session_variable[] = "XDG_SESSION_ID";
constexpr char desktop_variable[] = "XDG_CURRENT_DESKTOP";
constexpr char application_settings_folder[] = "application_settings";
constexpr char factory_reset_stage[] = "FactoryResetQELTA";
constexpr char no_association_label[] = "SE_ERR_NOASSOC";
constexpr char no_association_text[] = "There is no application that set to open the given file name extension.";
constexpr char http_prefix[] = "http";
constexpr char language_variables[][12] = {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"};
constexpr char wifi_page[] = "ms-availablenetworks:";
constexpr char bluetooth_page[] = "ms-settings:bluetooth";
constexpr char clock_page[] = "ms-settings:dateandtime";
constexpr char location_page[] = "ms-settings:privacy-location";
constexpr char printer_page[] = "ms-settings:printers";
constexpr char language_page[] = "ms-settings:regionlanguage";
constexpr unsigned char information_level = 2;

struct ReleaseRow {
    char const * label;
    char const * suffix;
};

constexpr ReleaseRow release_rows[] = {
    {"ALPHA", " (Alpha Version)"},
    {"BETA", " (Beta Version)"},
    {"RELEASE", ""},
    {"LTS_RELEASE", ""},
};

ReleaseRow const & Release() {
    unsigned int const index = ApplicationResource::release_type.value();
    return release_rows[index < 4 ? index : 2];
}

// The lock name that SetupAsConsole takes again.
String & StoredLockName() {
    static String s_lock_name;
    return s_lock_name;
}

File UserSettingsFile() {
    File file = FileResource::PathToUserSettings();
    file.appendPath(ApplicationResource::user_settings_file);
    return file;
}

void DeleteIfExists(File folder) {
    if (folder.exists()) {
        folder.deleteFile(LogPtr());
    }
}

String Number(unsigned long long value) {
    StringAllocatingView text;
    StringStream<unsigned long long>::toString(value, text);
    return String(text.view());
}

void Line(LogPtr & log, StringView const & label, StringView const & value) {
    String line(label);
    line.append(value);
    log.addMessage(log.index(), line.view(), information_level);
}

void OpenPage(char const * page) {
    ProcessPlatform::OpenWithDefaultHandler(StringView(page));
}

} // namespace

Resource<TranslatedString> ApplicationResource::application_name;
Resource<String> ApplicationResource::application_version;
Resource<String> ApplicationResource::username;
Resource<String> ApplicationResource::user_email;
Resource<PasswordString> ApplicationResource::password;
Resource<Buffer<String>> ApplicationResource::startup_options;
Resource<ApplicationResource::ReleaseType> ApplicationResource::release_type(ApplicationResource::RELEASE);
Resource<ApplicationResource::UIMode> ApplicationResource::ui_mode(ApplicationResource::DESKTOP_UI);
bool ApplicationResource::last_proper_shutdown = true;
Time ApplicationResource::last_run_time;
ApplicationOption<bool> ApplicationResource::has_finished_initial_setup(Translatable(settings_group),
                                                                        Translatable(initial_setup_name), false,
                                                                        &ApplicationOptions::UserOptions());
ApplicationOption<bool> ApplicationResource::proper_shutdown(Translatable(settings_group),
                                                             Translatable(proper_shutdown_name), true,
                                                             &ApplicationOptions::UserOptions());
ApplicationOption<Time> ApplicationResource::current_run_time(Translatable(settings_group), Translatable(run_time_name),
                                                              Time(), &ApplicationOptions::UserOptions());
ApplicationOption<String> ApplicationResource::last_application_version(Translatable(settings_group),
                                                                        Translatable(last_version_name), String(),
                                                                        &ApplicationOptions::UserOptions());

String ApplicationResource::AppContextName(bool lower) {
    String name = application_name.value().englishTranslation();
    name.replace(" ", "_");
    if (lower) {
        name.makeLower();
    }
    return name;
}

String ApplicationResource::ApplicationSystemID(StringView const & os) {
    String name = application_name.value().englishTranslation();
    if (os == StringView(windows_key)) {
        name.replace(" ", "").replace("_", "");
        return String(windows_prefix) + name.view();
    }
    name.replace(" ", "_").makeLower();
    return String(other_prefix) + name.view();
}

String ApplicationResource::ApplicationSystemID() {
    return ApplicationSystemID(StringView(windows_key));
}

String ApplicationResource::ApplicationDisplayName() {
    TranslatedString name = application_name.value();
    String text(name.translation());
    text.append(StringView(Release().suffix));
    return text;
}

TranslatedString ApplicationResource::ApplicationNameAndVersion() {
    TranslatedString text = Translatable(name_and_version_label, name_and_version_text);
    text.replace("[app_name]", application_name.value());
    text.replace("[app_version]", TranslatedString::DirectString(application_version.value().view()));
    return text;
}

String ApplicationResource::OSUserName() {
    String name = ProcessPlatform::UserName();
    return name.size() > 256 ? String(name.substr(0, 256)) : name;
}

UUID ApplicationResource::SessionID() {
    static UUID const s_session = UUID::CreateUUID();
    return s_session;
}

Time ApplicationResource::SessionStartTime() {
    static Time const s_start = Time::SystemTime();
    return s_start;
}

Time ApplicationResource::BuildTime() {
    // "May  4 2026" and "12:47:56" become "2026 May  4 12:47:56".
    String const date(__DATE__);
    String text(date.substr(7));
    text.append(' ').append(date.substr(0, 6)).append(' ').append(StringView(__TIME__));
    return Time(text.view(), false, StringView(build_time_format));
}

unsigned int ApplicationResource::RecommendedThreadCount() {
    return ProcessPlatform::ProcessorCount();
}

bool ApplicationResource::IsFirstTimeRunning() {
    return !last_run_time.isValid();
}

StringView ApplicationResource::OSType() noexcept {
    return StringView(os_type);
}

void ApplicationResource::ReadUserOptions() {
    File file = UserSettingsFile();
    if (!file.exists()) {
        return;
    }
    INIFactory factory;
    ApplicationOptions::UserOptions().addToINI(factory);
    factory.readAsciiFile(file);
    last_proper_shutdown = last_proper_shutdown && proper_shutdown.value();
    if (current_run_time.value() < last_run_time) {
        last_run_time = current_run_time.value();
    }
}

void ApplicationResource::SaveUserOptions(bool proper_shutdown_flag) {
    if (last_application_version.value() != application_version.value()) {
        last_application_version.set(application_version.value());
    }
    current_run_time.set(Time::SystemTime());
    proper_shutdown.set(proper_shutdown_flag);
    INIFactory factory;
    ApplicationOptions::UserOptions().addToINI(factory);
    File file = UserSettingsFile();
    factory.writeToAsciiFile(file, false);
}

String ApplicationResource::GlobalLockName(StringView const & name, InstanceType type) {
    String text(name);
    String value;
    switch (type) {
    case MACHINE:
        break;
    case DESKTOP:
        value = EnvironmentalVariable::GetEnvironmentalVariable(desktop_variable);
        if (!value.isEmpty()) {
            text.append('-').append(value.view());
        } else {
            text.append(StringView(no_desktop_name));
        }
        break;
    case SESSION: {
        // The session's number, as 16 upper-case hexadecimal digits.
        value = EnvironmentalVariable::GetEnvironmentalVariable(session_variable);
        std::uint64_t const session = Internal::LeadingNumber(value.view());
        static constexpr char hex[] = "0123456789ABCDEF";
        for (int shift = 60; shift >= 0; shift -= 4) {
            text.append(hex[(session >> shift) & 15]);
        }
        break;
    }
    case USER:
        text.append(EnvironmentalVariable::ResolveEnvironmentalVariables(user_domain_text).view());
        text.append(OSUserName().view());
        break;
    }
    return text;
}

bool ApplicationResource::GlobalLock(StringView const & name, InstanceType type) {
    StoredLockName() = String(name);
    return ProcessPlatform::TakeInstanceLock(GlobalLockName(name, type).view());
}

bool ApplicationResource::SetupAsConsole(bool attach) {
    if (attach) {
        ProcessPlatform::ReleaseInstanceLocks();
        return true;
    }
    if (!StoredLockName().isEmpty() && !GlobalLock(StoredLockName().view(), MACHINE)) {
        return false;
    }
    return true;
}

void ApplicationResource::CloseApp(bool relaunch, StringView const & arguments) {
    try {
        DeleteIfExists(FileResource::ProgramTempPath());
    } catch (Exception const &) {
    }
    if (relaunch) {
        try {
            LocalApplicationLauncher launcher(FileResource::ExePath().view());
            launcher.arguments = String(arguments);
            launcher.wait_for_exit = false;
            launcher.execute();
            ThreadFunctions::RequestSleep(relaunch_wait_ms);
        } catch (Exception const &) {
        }
    }
    ProcessPlatform::EndProcessNow(0);
}

void ApplicationResource::FactoryResetApp() {
    ModuleManager::CallModuleFunction(factory_reset_stage);
    DeleteIfExists(FileResource::PathToUserSettings());
    File settings = FileResource::PathToProgramDynamicResources();
    settings.appendPath(application_settings_folder);
    DeleteIfExists(settings);
    DeleteIfExists(FileResource::PathToUserDynamicResources());
    DeleteIfExists(FileResource::PathToProgramDynamicResources());
    CloseApp(true, relaunch_argument);
}

OSInformation ApplicationResource::GetOSInformation() {
    return Internal::CachedOSInformation();
}

HardwareInformation ApplicationResource::GetHardwareInformation() {
    return Internal::CachedHardwareInformation();
}

Buffer<VideoCardInformation> ApplicationResource::GetVideoCardInfo() {
    return Internal::CachedHardwareInformation().video_cards;
}

void ApplicationResource::LogApplicationInformation(LogPtr log) {
    Line(log, "Application Name: ", application_name.value().englishTranslation().view());
    Line(log, "Application Version: ", application_version.value().view());
    Line(log, "Development Version: ", StringView(Release().label));
    Line(log, "Build Date: ", BuildTime().getAsString(false, StringView(build_date_format)).view());
}

void ApplicationResource::LogComputerInformation(LogPtr log) {
    HardwareInformation const info = GetHardwareInformation();
    Line(log, "Computer Manufacturer: ", info.manufacturer.view());
    Line(log, "Computer Model: ", info.model.view());
    Line(log, "Hardware information: ", StringView());
    Line(log, "  OEM ID: ", info.oem_id.view());
    Line(log, "  Number of processors: ", Number(info.number_of_processors).view());
    Line(log, "  Page size: ", Number(info.page_size).view());
    Line(log, "  Processor type: ", info.processor_type.view());
    Line(log, "  Active processor mask: ", info.active_processor_mask.view());
    Line(log, "  Installed memory: ", (Number(info.installed_memory) + StringView(" kB")).view());
    for (VideoCardInformation const & card : info.video_cards) {
        Line(log, "Video Card Information: ", StringView());
        for (String const * text :
             {&card.name, &card.device_id, &card.driver_version, &card.video_processor, &card.video_mode_description,
              &card.adapter_dac_type, &card.video_architecture, &card.status}) {
            if (!text->isEmpty()) {
                Line(log, "  ", text->view());
            }
        }
        Line(log, "Video Memory: ",
             card.video_memory == ~std::uint64_t(0) ? StringView(system_value_not_set)
                                                    : Number(card.video_memory >> 20).view());
    }
}

void ApplicationResource::LogOSInformation(LogPtr log) {
    OSInformation const info = GetOSInformation();
    String line(info.os_name);
    line.append(' ').append(info.versionText().view());
    log.addMessage(log.index(), line.view(), information_level);
}

void ApplicationResource::LogUserSettings(LogPtr log, bool only_changed) {
    ApplicationOptions::UserOptions().logOptions(log, only_changed);
}

void ApplicationResource::OpenFile(File const & file) {
    file.throwIfNotExist();
    if (!ProcessPlatform::OpenWithDefaultHandler(file.view())) {
        throw FileException(file, Translatable(no_association_label, no_association_text), FileException::generic_file);
    }
}

void ApplicationResource::SendFile(File const & file) {
    OpenFile(file);
}

void ApplicationResource::OpenExplorerWindow(StringView const & location) {
    if (location.isEmpty()) {
        return;
    }
    if (location.beginsWith(StringView(http_prefix))) {
        ProcessPlatform::OpenWithDefaultHandler(location);
        return;
    }
    File const file(location);
    if (file.getPath(File::NAME | File::EXTENSION).isEmpty()) {
        OpenFile(file);
        return;
    }
    ProcessPlatform::ShowInFileManager(file.view());
}

void ApplicationResource::SetFolderIcon(File const &, File const &) {}

File ApplicationResource::GetDefaultOSApplicationForExtension(StringView const &) {
    return File();
}

Buffer<std::uint8_t> ApplicationResource::GetAppBundledResource(void *, StringView const &, StringView const &) {
    return Buffer<std::uint8_t>();
}

bool ApplicationResource::IsOSLanguageInstalled(String language) {
    language.replace("-", "_");
    for (char const * variable : language_variables) {
        String value = EnvironmentalVariable::GetEnvironmentalVariable(variable);
        for (StringView const & entry : value.split(':', false)) {
            unsigned int const dot = entry.indexOf('.');
            StringView const code = dot == StringView::not_found ? entry : entry.substr(0, dot);
            if (code.isSameNoCase(language.view())) {
                return true;
            }
        }
    }
    return false;
}

void ApplicationResource::OpenOSFileSystemDialog() {}

void ApplicationResource::ShareFileWithMediaServer(File const &) {}

void ApplicationResource::OpenOSWifiDialog() {
    OpenPage(wifi_page);
}

void ApplicationResource::OpenOSBluetoothDialog() {
    OpenPage(bluetooth_page);
}

void ApplicationResource::OpenOSClockDialog() {
    OpenPage(clock_page);
}

void ApplicationResource::OpenOSLocationDialog() {
    OpenPage(location_page);
}

void ApplicationResource::OpenOSPrinterDialog() {
    OpenPage(printer_page);
}

void ApplicationResource::OpenOSLanguageDialog() {
    OpenPage(language_page);
}

TranslatedString ApplicationResource::GetErrorString(long long code) {
    return TranslatedString::DirectString(FilePlatform::ErrorText(static_cast<int>(code)).view());
}

TranslatedString ApplicationResource::GetLastErrorString() {
    return GetErrorString(errno);
}

String ApplicationResource::MakeSafeForCommandLine(StringView const & text) {
    if (text.indexOf(' ') == StringView::not_found || text.indexOf('"') != StringView::not_found) {
        return String(text);
    }
    unsigned int backslashes = 0;
    while (backslashes < text.size() && text[text.size() - 1 - backslashes] == '\\') {
        ++backslashes;
    }
    String out("\"");
    out.append(text);
    out.append(StringView(backslashes % 2 == 1 ? "\\\"" : "\""));
    return out;
}

} // namespace QELTA
