// The commands of the qelta program and what they share.
//
// Each capability of the library adds one command and one step of the demo tour. To add one,
// write <Name>Command.cpp beside this file with `void Add<Name>Command(CLI::App & qelta)`, declare
// it below and list it in main.cpp's `add_commands` and in CMakeLists.txt. That function calls
// AddCommand for the command and for each of its verbs, and declares their options and
// positionals with CLI11 (AddCount and AddNumber for numbers). An action runs only after the
// whole command line was read and checked; it prints to standard output and returns the exit
// code. A command line that CLI11 refuses is a usage error, which main prints with the command's
// name before exiting with exit_usage: an action never reports one itself.
//
// Paths cross the program's edge in the system's form ("/etc/hostname") and are kept inside in
// the library's form, with "\" as the separator: every path read from the command line becomes a
// File through FromNativePath, and every path printed goes out through NativePath.
#pragma once

#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"
#include "Base/Units/Unit.h"
#include "Base/Units/UnitDefinitions.h"
#include "Base/Units/UnitManager.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace QELTA::Tool {

// Exit codes shared by all commands.
inline constexpr int exit_ok = 0;
inline constexpr int exit_failure = 1;
inline constexpr int exit_usage = 2;

// What a command or verb does once its arguments are read; returns the exit code.
using Action = std::function<int()>;

// Adds the command or verb `name` to `parent` and returns it for its options. `summary` is its
// line in the parent's help and heads its own; `help` is shown below its options. Without an
// `action` the command needs one of its verbs.
CLI::App & AddCommand(CLI::App & parent, std::string const & name, std::string const & summary,
                      std::string const & help, Action action = {});

// Prints "qelta <command>: <message>" to standard error, with the failure's message in English
// and its slots filled (its title when it has no message), after what standard output holds;
// returns exit_failure.
int Failure(std::string_view command, Exception const & error);

// The English text of a library message with its slots filled, the paths among them in the
// system's form.
String NativeEnglish(TranslatedString text);

// A path typed on the command line, as a File (relative paths stay relative to the current folder).
File FromNativePath(std::string_view path);
// A path in the library's form, or a part of one, in the system's form: "/" for "\".
String NativePath(StringView const & path);
String NativePath(File const & file);

// Adds to `command` the option or positional `name` that reads into `value` a whole number from
// `min` to `max` in plain digits (at most 9 of them); anything else is a usage error.
CLI::Option * AddCount(CLI::App & command, std::string const & name, unsigned int & value, unsigned int min,
                       unsigned int max, std::string const & description);
// The same for a number as the library reads numbers: the leading number of the text ("90deg"
// reads 90).
CLI::Option * AddNumber(CLI::App & command, std::string const & name, double & value, std::string const & description);

// The text of a double as the library stores it.
String NumberText(double value);

// The catalogue unit that a person names by `text` (qelta units says how), or null with `error`
// set to the reason.
UnitDefinitions::Entry const * FindCatalogueUnit(std::string const & text, std::string & error);
// The manager of the units in force: the metric defaults, then the user's application_units.ini.
UnitManager & CurrentUnits();
// The English abbreviations of every part of `unit`, separated by blanks: "' \"" for feet and
// inches, "°" for degrees.
std::string UnitAbbreviations(Unit const & unit);

// Shows each progress source as one line that is rewritten in place, "\r<title> 42%", ended by a
// line feed when the source goes. Messages are printed as lines, except those of a source shown
// as a progress line. Cancel and input are not asked for here. Used on the main thread only.
class ProgressLinePipe : public InfoPipe {
  public:
    void addMessage(unsigned int index, TranslatedString const & text, unsigned char) override {
        if (titles_.count(index) == 0) {
            endLine();
            std::printf("%s\n", NativeEnglish(text).c_str());
        }
    }
    void addMessage(unsigned int index, StringView const & text, unsigned char) override {
        if (titles_.count(index) == 0) {
            endLine();
            std::printf("%.*s\n", static_cast<int>(text.size()), text.data());
        }
    }
    void addMessage(unsigned int, LogMessage const &) override {}
    void addMessages(unsigned int, Buffer<LogMessage> const &) override {}
    bool cancelRequested() const override { return false; }
    void requestCancel(unsigned int) override {}
    void requestCancel() override {}
    void addInput(StringView const &) override {}
    void addInput(StringView const &, unsigned int) override {}
    void addProgressSource(TranslatedString const & title, unsigned int index, float) override {
        titles_[index] = NativeEnglish(title);
    }
    unsigned int addProgressSource(TranslatedString const & title, float progress) override {
        unsigned int const index = NewId();
        addProgressSource(title, index, progress);
        return index;
    }
    void removeProgressSource(unsigned int index) override {
        if (index == shown_) {
            endLine();
        }
        titles_.erase(index);
    }
    void setProgressIdx(unsigned int index, float progress) override {
        auto const found = titles_.find(index);
        if (found == titles_.end() || !(progress >= 0.0f)) {
            return;
        }
        int const percent = static_cast<int>(std::floor(progress * 100.0f));
        if (index == shown_ && percent == percent_) {
            return;
        }
        if (index != shown_) {
            endLine();
        }
        shown_ = index;
        percent_ = percent;
        std::printf("\r%s %d%%", found->second.c_str(), percent);
        std::fflush(stdout);
    }
    void addCancelGuard(TranslatedString const &, unsigned int) override {}
    unsigned int addCancelGuard(TranslatedString const &) override { return NewId(); }
    void removeCancelGuard(unsigned int) override {}
    bool cancelRequestedIdx(unsigned int) const override { return false; }
    void addInputGuard(TranslatedString const &, unsigned int) override {}
    unsigned int addInputGuard(TranslatedString const &) override { return NewId(); }
    void removeInputGuard(unsigned int) override {}
    void clearInputIdx(unsigned int) override {}

  private:
    void endLine() {
        if (shown_ != no_id) {
            std::printf("\n");
            shown_ = no_id;
        }
    }

    std::map<unsigned int, String> titles_;
    unsigned int shown_ = no_id; // the source whose line is open
    int percent_ = -1;
};

// The commands, each defined in its own file.
void AddDemoCommand(CLI::App & qelta);
void AddTextCommand(CLI::App & qelta);
void AddUuidCommand(CLI::App & qelta);
void AddNumberCommand(CLI::App & qelta);
void AddTimeCommand(CLI::App & qelta);
void AddLogCommand(CLI::App & qelta);
void AddAngleCommand(CLI::App & qelta);
void AddConvertCommand(CLI::App & qelta);
void AddResourceCommand(CLI::App & qelta);
void AddFileCommand(CLI::App & qelta);
void AddFoldersCommand(CLI::App & qelta);
void AddQueueCommand(CLI::App & qelta);
void AddBase64Command(CLI::App & qelta);
void AddPasswordCommand(CLI::App & qelta);
void AddCsvCommand(CLI::App & qelta);
void AddIniCommand(CLI::App & qelta);
void AddTranslateCommand(CLI::App & qelta);
void AddCalcCommand(CLI::App & qelta);
void AddBinaryCommand(CLI::App & qelta);
void AddModulesCommand(CLI::App & qelta);
void AddColourCommand(CLI::App & qelta);
void AddUnitsCommand(CLI::App & qelta);
void AddCrashReportCommand(CLI::App & qelta);
void AddFormulasCommand(CLI::App & qelta);
void AddKeyCommand(CLI::App & qelta);
void AddFontCommand(CLI::App & qelta);
void AddFitCommand(CLI::App & qelta);
void AddJsonCommand(CLI::App & qelta);
void AddYamlCommand(CLI::App & qelta);
void AddValidateCommand(CLI::App & qelta);
// zip and unzip.
void AddArchiveCommands(CLI::App & qelta);
void AddDbfCommand(CLI::App & qelta);
// run, env, registry and sysinfo.
void AddHostCommands(CLI::App & qelta);

// The folder of this tour's files, made on first use and removed when the tour ends: each run has
// its own, so that tours may run side by side.
File DemoFolder();

// One step of the demo tour per capability, in the order they are shown.
void DemoText();
void DemoUuid();
void DemoNumber();
void DemoTime();
void DemoQueue();
void DemoPassword();
void DemoLog();
void DemoLogFile();
void DemoAngle();
void DemoConvert();
void DemoCalc();
void DemoUnitManager();
void DemoFormulas();
void DemoResource();
void DemoFile();
void DemoFolders();
void DemoCsv();
void DemoIni();
void DemoTranslate();
void DemoBinary();
void DemoArchives();
void DemoModules();
void DemoColour();
void DemoKey();
void DemoFont();
void DemoFit();
void DemoJson();
void DemoValidate();
void DemoHost();

} // namespace QELTA::Tool
