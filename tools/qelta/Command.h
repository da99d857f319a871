// The subcommands of the qelta program: one entry each, with its help text.
//
// Each capability of the library adds one subcommand (a <Name>Command.cpp beside this file and a
// row in the table of main.cpp) and one step of the demo tour. A command reads its arguments,
// prints to standard output, reports usage errors on standard error and returns the exit code.
#pragma once

#include "Base/Failure/Exception.h"
#include "Base/Text/String.h"

#include <span>
#include <string_view>

namespace QELTA::Tool {

using Arguments = std::span<char const * const>;

struct Command {
    std::string_view name;
    std::string_view summary; // one line for `qelta --help`
    std::string_view help;    // the full text for `qelta <name> --help`
    int (*run)(Arguments arguments);
};

// Exit codes shared by all commands.
inline constexpr int exit_ok = 0;
inline constexpr int exit_failure = 1;
inline constexpr int exit_usage = 2;

// Prints "qelta <command>: <message>" and a hint to standard error; returns exit_usage.
int UsageError(std::string_view command, std::string_view message);

// Prints "qelta <command>: <message>" to standard error, with the failure's message in English
// and its slots filled (its title when it has no message), after what standard output holds;
// returns exit_failure.
int Failure(std::string_view command, Exception const & error);

// True when the arguments ask for help ("--help" or "-h" anywhere).
bool WantsHelp(Arguments arguments);

// A verb of a command that has several ("qelta text hash ...").
struct Verb {
    std::string_view name;
    int (*run)(Arguments arguments);
};

// Runs the verb named by the first argument with the rest; usage errors name `command`.
int RunVerb(std::string_view command, Arguments arguments, std::span<Verb const> verbs);

// A whole number from `min` to `max` in plain digits (at most 9); false for anything else.
bool ReadCount(char const * text, unsigned int min, unsigned int max, unsigned int & count);

// The leading number of an argument, read as the library reads numbers; false when there is none.
bool ReadNumber(char const * text, double & value);

// The text of a double as the library stores it.
String NumberText(double value);

// The commands, each defined in its own file.
extern Command const demo_command;
extern Command const text_command;
extern Command const uuid_command;
extern Command const number_command;
extern Command const time_command;
extern Command const queue_command;
extern Command const base64_command;
extern Command const password_command;
extern Command const log_command;
extern Command const angle_command;
extern Command const convert_command;
extern Command const resource_command;
extern Command const file_command;
extern Command const folders_command;
extern Command const csv_command;

// One step of the demo tour per capability, in the order they are shown.
void DemoText();
void DemoUuid();
void DemoNumber();
void DemoTime();
void DemoQueue();
void DemoPassword();
void DemoLog();
void DemoAngle();
void DemoConvert();
void DemoResource();
void DemoFile();
void DemoFolders();
void DemoCsv();

} // namespace QELTA::Tool
