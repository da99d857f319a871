// ApplicationResource: the all-static face of the running application: its identity, whether its
// last run ended properly, the user's options, its single instance, how it closes, relaunches and
// resets, the description of the machine, and the hand-overs to the desktop.
//
// Nothing here is an instance: the state is a set of static Resources and options that any part
// may watch, made before the program's main entry. They are set by the host at start-up, on its
// primary thread, and read from anywhere; the values have no lock of their own (see Resource).
// ReadUserOptions, SaveUserOptions, CloseApp and FactoryResetApp belong to the host's main thread;
// SessionID, SessionStartTime and the system information are made once, safely, on first use.
// Reading and writing "user_settings.ini" raise what INIFactory raises; OpenFile raises a
// FileException; GlobalLock answers by its result. CloseApp never returns.
#pragma once

#include "Base/Export.h"
#include "Base/Files/File.h"
#include "Base/Host/SystemInformation.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Settings/ApplicationOptions.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/PasswordString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Text/UUID.h"
#include "Base/Time/Time.h"

#include <cstdint>

namespace QELTA {

class QELTA_BASE_EXPORT ApplicationResource {
  public:
    ApplicationResource() = delete;

    // The maturity of the build; ALPHA and BETA add a suffix to the display name.
    enum ReleaseType : unsigned char { ALPHA = 0, BETA = 1, RELEASE = 2, LTS_RELEASE = 3 };
    // The kind of interface in use; stored for the host, never looked at here.
    enum UIMode : unsigned char { DESKTOP_UI = 0, TOUCH_UI = 1, CONSOLE_UI = 2 };
    // The scope of a GlobalLock.
    enum InstanceType : unsigned char { MACHINE = 0, DESKTOP = 1, SESSION = 2, USER = 3 };

    // The file of the user's options in FileResource::PathToUserSettings().
    static constexpr char user_settings_file[] = "user_settings.ini";
    // The one argument a relaunched process gets from FactoryResetApp.
    static constexpr char relaunch_argument[] = "--relaunch";
    // The platform key of this system.
    static constexpr char os_type[] = "linux";
    // How long CloseApp lets a relaunched process get under way, in milliseconds.
    static constexpr unsigned long long relaunch_wait_ms = 1000;

    // The application's name; while it is empty no translator is asked, and every text shows in
    // English.
    static Resource<TranslatedString> application_name;
    static Resource<String> application_version;
    // Who uses the application, as "modules.ini" keeps it.
    static Resource<String> username;
    static Resource<String> user_email;
    static Resource<PasswordString> password;
    // The arguments the process was started with.
    static Resource<Buffer<String>> startup_options;
    static Resource<ReleaseType> release_type;
    static Resource<UIMode> ui_mode;

    // Whether the run before this one ended properly; one improper end is remembered for the
    // whole session.
    static bool last_proper_shutdown;
    // When the run before this one saved last; Invalid on a first run.
    static Time last_run_time;

    // The options of the group "Application Settings" of ApplicationOptions::UserOptions().
    static ApplicationOption<bool> has_finished_initial_setup;
    static ApplicationOption<bool> proper_shutdown;
    static ApplicationOption<Time> current_run_time;
    static ApplicationOption<String> last_application_version;

    // Identity.
    // The English name with each blank made "_", lower-case when `lower` is set.
    static String AppContextName(bool lower);
    // "QELTA." and the English name without blanks and "_" for "windows"; "org.qelta." and the
    // lower-case name with blanks made "_" for any other platform.
    static String ApplicationSystemID(StringView const & os);
    static String ApplicationSystemID();
    // The name in the current language, and the suffix of release_type.
    static String ApplicationDisplayName();
    // "[app_name] [app_version]" filled in.
    static TranslatedString ApplicationNameAndVersion();
    static String OSUserName();
    // Made on first use and kept for the process.
    static UUID SessionID();
    static Time SessionStartTime();
    // When this library was built, from the compiler's date and time.
    static Time BuildTime();
    static unsigned int RecommendedThreadCount();
    static bool IsFirstTimeRunning();
    // The platform key of the running system: "linux" here.
    static StringView OSType() noexcept;

    // Start and end.
    // Reads "user_settings.ini" when it exists, and takes in what it says of the last run.
    static void ReadUserOptions();
    // Records the version and the time, and `proper_shutdown_flag`, and writes "user_settings.ini".
    static void SaveUserOptions(bool proper_shutdown_flag);
    // True when this process now holds the instance lock of `name` in the scope of `type`; false
    // when another running process holds it. The lock ends with the process, however it ends.
    static bool GlobalLock(StringView const & name, InstanceType type);
    // The lock's text for `name` and `type`, as GlobalLock names it.
    static String GlobalLockName(StringView const & name, InstanceType type);
    // This system starts every program with its console: `attach` lets go of the instance lock
    // (the console program runs beside the instance) and succeeds; without it, the lock is taken
    // again, and false is given when that fails.
    static bool SetupAsConsole(bool attach);
    // Deletes the program's temporary folder, starts the program again with `arguments` when
    // `relaunch` is set, and ends this process with exit code 0 without running destructors.
    [[noreturn]] static void CloseApp(bool relaunch, StringView const & arguments);
    // Calls "FactoryResetQELTA" on the modules, deletes the settings and the dynamic resources, and
    // relaunches with "--relaunch".
    [[noreturn]] static void FactoryResetApp();

    // The machine's description (SystemInformation.h), read once.
    static OSInformation GetOSInformation();
    static HardwareInformation GetHardwareInformation();
    static Buffer<VideoCardInformation> GetVideoCardInfo();
    // Labelled lines into `log`.
    static void LogApplicationInformation(LogPtr log);
    static void LogComputerInformation(LogPtr log);
    static void LogOSInformation(LogPtr log);
    static void LogUserSettings(LogPtr log, bool only_changed);

    // Hand-overs to the desktop.
    // Opens the file with its default program; a missing file or no program to open it raises.
    static void OpenFile(File const & file);
    static void SendFile(File const & file);
    // An address or a folder opens; a file is shown selected in the file manager.
    static void OpenExplorerWindow(StringView const & location);
    // Folders have no icons of their own here: nothing happens.
    static void SetFolderIcon(File const & folder, File const & icon);
    // This system keeps no single program per ending that a path names: an empty File.
    static File GetDefaultOSApplicationForExtension(StringView const & extension);
    // Libraries carry no linked resources here: empty.
    static Buffer<std::uint8_t> GetAppBundledResource(void * module, StringView const & name, StringView const & type);
    // Whether `language` ("de_DE" or "de-DE") is among the user's languages of the environment.
    static bool IsOSLanguageInstalled(String language);
    static void OpenOSFileSystemDialog();
    static void ShareFileWithMediaServer(File const & file);
    // The settings pages of the desktop, handed to its default handler; where it has none,
    // nothing happens.
    static void OpenOSWifiDialog();
    static void OpenOSBluetoothDialog();
    static void OpenOSClockDialog();
    static void OpenOSLocationDialog();
    static void OpenOSPrinterDialog();
    static void OpenOSLanguageDialog();

    // The system's text of the error number `code`.
    static TranslatedString GetErrorString(long long code);
    // The same for the calling thread's last error.
    static TranslatedString GetLastErrorString();
    // Quotes a text with blanks and no double quote, so that a command line keeps it whole.
    static String MakeSafeForCommandLine(StringView const & text);
};

} // namespace QELTA
