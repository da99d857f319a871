// EnvironmentalVariable: named environment values on three levels (the program's, the user's and
// the system's), their lookup and expansion in texts, and one variable as a Resource<String>.
//
// The three tables hold what this process wrote; each is guarded by the read/write lock of its own
// address, and a lookup holds one of them at a time, so a lookup can't deadlock against a writer.
// An EnvironmentalVariable object belongs to one thread. Nothing here raises: writing a user's or
// the system's variable that can't be kept reports to the log only.
#pragma once

#include "Base/Export.h"
#include "Base/Logging/InfoPipe.h"
#include "Base/Settings/ResourceBase.h"
#include "Base/Text/Dictionary.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class QELTA_BASE_EXPORT EnvironmentalVariable : private ResourceListener {
  public:
    // The most replacements one ResolveEnvironmentalVariables makes, and the longest text it makes:
    // values that name themselves stop there instead of growing for ever.
    static constexpr unsigned int max_replacements = 1024;
    static constexpr unsigned int max_resolved_bytes = 1u << 20;
    // The level of the log lines of a variable that couldn't be kept.
    static constexpr unsigned char error_level = 50;

    explicit EnvironmentalVariable(StringView const & name);
    ~EnvironmentalVariable() override;

    // The variable's value as a Resource, read on first use; a change of it is written through to
    // the user's variables.
    Resource<String> & resource();
    String const & get() { return resource().value(); }
    // Reads the variable again into the resource, without writing it through.
    void fetchResource();
    String const & name() const noexcept { return name_; }

    // The first of: the user's table, the system's table, the program's table, the built-in names
    // "temp", "appdata", "documents", "downloads" and "programdata" (any case), the process's
    // environment; empty when none has it.
    static String GetEnvironmentalVariable(StringView const & name);
    // Replaces "$(NAME)" and "%NAME%" by GetEnvironmentalVariable (every occurrence, and again in
    // what a value brings), then "${NAME}" and "$NAME" by the process's environment.
    static String ResolveEnvironmentalVariables(StringView const & text);
    // Keeps the variable for the user's future sessions (and this process's lookups at once).
    static void SetUserEnvironmentalVariable(StringView const & name, StringView const & value, bool wait, LogPtr log);
    // The same for every user of the machine.
    static void SetSystemEnvironmentalVariable(StringView const & name, StringView const & value, bool wait,
                                               LogPtr log);
    // Sets the variable for this process and the programs it starts.
    static void SetProgramEnvironmentalVariable(StringView const & name, StringView const & value);

    // The tables, for listing: copies taken under their locks.
    static Dictionary<String, String> UserVariables();
    static Dictionary<String, String> SystemVariables();
    static Dictionary<String, String> ProgramVariables();

  private:
    void onValueChanged() override;

    Resource<String> value_;
    String name_;
    bool is_connected_ = false;
    bool is_fetching_ = false;
};

} // namespace QELTA
