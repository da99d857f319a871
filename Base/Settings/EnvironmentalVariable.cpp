// Environment values: the three tables, the lookup order, expansion, and the files that keep a
// user's or the system's variables.
#include "Base/Settings/EnvironmentalVariable.h"

#include "Base/Concurrency/RWLock.h"
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Files/FileResource.h"
#include "Base/Settings/Platform/EnvironmentPlatform.h"

namespace QELTA {
namespace {

constexpr char kept_text[] = "Environment variable [name] kept in [file]";
constexpr char not_kept_text[] = "Environment variable [name] could not be kept in [file]: [error]";
constexpr unsigned char kept_level = 2;

// Each table is made on first use and never freed: variables may be read from static objects.
Dictionary<String, String> & UserTable() {
    static auto * s_user_environment_variables = new Dictionary<String, String>();
    return *s_user_environment_variables;
}

Dictionary<String, String> & SystemTable() {
    static auto * s_system_environment_variables = new Dictionary<String, String>();
    return *s_system_environment_variables;
}

Dictionary<String, String> & ProgramTable() {
    static auto * s_program_environment_variables = new Dictionary<String, String>();
    return *s_program_environment_variables;
}

bool Lookup(Dictionary<String, String> & table, StringView const & name, String & value) {
    RLock lock(&table);
    auto const found = table.find(String(name));
    if (found == table.end()) {
        return false;
    }
    value = found->value();
    return true;
}

void Store(Dictionary<String, String> & table, StringView const & name, StringView const & value) {
    WLock lock(&table);
    table[String(name)] = String(value);
}

Dictionary<String, String> Copy(Dictionary<String, String> & table) {
    RLock lock(&table);
    return table;
}

// The built-in folder names, compared by the hash of the lower-case text.
bool BuiltIn(StringView const & name, String & value) {
    struct Known {
        char const * name;
        File (*folder)();
    };
    static constexpr Known known[] = {
        {"temp", &FileResource::OSTempFolder},
        {"appdata", &FileResource::OSUserDataFolder},
        {"documents", &FileResource::OSDocumentsFolder},
        {"downloads", &FileResource::OSDownloadsFolder},
        {"programdata", &FileResource::OSProgramDataFolder},
    };
    unsigned long long const hash = name.hashLower();
    File folder;
    bool found = false;
    for (Known const & row : known) {
        if (StringView(row.name).hash() == hash) {
            folder = row.folder();
            found = true;
        }
    }
    if (!found) {
        return false;
    }
    value = String(folder.view());
    return true;
}

String Filled(char const * text, StringView const & name, StringView const & file, StringView const & error) {
    String out(text);
    out.replace("[name]", name).replace("[file]", file).replace("[error]", error);
    return out;
}

// Replaces or adds the line "NAME=value" of a variables file, written through a temporary file.
void Persist(StringView const & name, StringView const & value, bool system, LogPtr & log) {
    File file(EnvironmentPlatform::PersistentVariablesFile(system));
    String prefix(name);
    prefix.append('=');
    // A line break would start a line of its own in the file: it is kept as a blank.
    String line = prefix + value;
    line.replace("\n", " ").replace("\r", " ");
    try {
        String text;
        bool replaced = false;
        if (file.exists()) {
            File::ByteBuffer const bytes = file.getData();
            String const old(reinterpret_cast<char const *>(bytes.data()), bytes.size());
            for (StringView const & existing : old.split('\n', false)) {
                if (existing.beginsWith(prefix.view())) {
                    if (!replaced) {
                        text.append(line.view()).append('\n');
                    }
                    replaced = true;
                } else {
                    text.append(existing).append('\n');
                }
            }
        } else {
            File folder = file.getParentDirectory();
            if (!folder.exists()) {
                folder.create(true);
            }
        }
        if (!replaced) {
            text.append(line.view()).append('\n');
        }
        file.writeText(text.view());
        log.addMessage(log.index(), Filled(kept_text, name, file.view(), StringView()).view(), kept_level);
    } catch (Exception const & error) {
        log.addMessage(log.index(),
                       Filled(not_kept_text, name, file.view(), error.message().englishTranslation().view()).view(),
                       EnvironmentalVariable::error_level);
    }
}

} // namespace

EnvironmentalVariable::EnvironmentalVariable(StringView const & name) : name_(name) {}

EnvironmentalVariable::~EnvironmentalVariable() = default;

Resource<String> & EnvironmentalVariable::resource() {
    if (!is_connected_) {
        is_connected_ = true;
        fetchResource();
        value_.addListener(this, true);
    }
    return value_;
}

void EnvironmentalVariable::fetchResource() {
    is_fetching_ = true;
    value_.set(GetEnvironmentalVariable(name_.view()));
    is_fetching_ = false;
}

void EnvironmentalVariable::onValueChanged() {
    if (is_fetching_) {
        return;
    }
    try {
        SetUserEnvironmentalVariable(name_.view(), value_.value().view(), false, LogPtr());
    } catch (Exception const &) {
    }
}

String EnvironmentalVariable::GetEnvironmentalVariable(StringView const & name) {
    String value;
    if (Lookup(UserTable(), name, value) || Lookup(SystemTable(), name, value) || Lookup(ProgramTable(), name, value) ||
        BuiltIn(name, value) || EnvironmentPlatform::GetVariable(name, value)) {
        return value;
    }
    return String();
}

String EnvironmentalVariable::ResolveEnvironmentalVariables(StringView const & text) {
    String out(text);
    unsigned int replacements = 0;
    unsigned int paren_start = String::not_found;
    unsigned int percent_start = String::not_found;
    unsigned int i = 0;
    while (i < out.size()) {
        unsigned int start = String::not_found;
        unsigned int name_start = 0;
        if (out[i] == '$' && i + 1 < out.size() && out[i + 1] == '(') {
            paren_start = i;
            i += 2;
            continue;
        }
        if (out[i] == ')' && paren_start != String::not_found) {
            start = paren_start;
            name_start = paren_start + 2;
        } else if (out[i] == '%') {
            if (percent_start == String::not_found) {
                percent_start = i++;
                continue;
            }
            start = percent_start;
            name_start = percent_start + 1;
        } else {
            ++i;
            continue;
        }
        String const marked(out.substr(start, i + 1));
        String const value = GetEnvironmentalVariable(out.substr(name_start, i));
        if (++replacements > max_replacements || out.size() + value.size() > max_resolved_bytes) {
            break;
        }
        out.replace(marked.view(), value.view());
        paren_start = percent_start = String::not_found;
        i = start;
    }
    return EnvironmentPlatform::ExpandVariables(out.view());
}

void EnvironmentalVariable::SetUserEnvironmentalVariable(StringView const & name, StringView const & value, bool,
                                                         LogPtr log) {
    Persist(name, value, false, log);
    Store(UserTable(), name, value);
}

void EnvironmentalVariable::SetSystemEnvironmentalVariable(StringView const & name, StringView const & value, bool,
                                                           LogPtr log) {
    Persist(name, value, true, log);
    Store(SystemTable(), name, value);
}

void EnvironmentalVariable::SetProgramEnvironmentalVariable(StringView const & name, StringView const & value) {
    EnvironmentPlatform::SetVariable(name, value);
    Store(ProgramTable(), name, value);
}

Dictionary<String, String> EnvironmentalVariable::UserVariables() {
    return Copy(UserTable());
}

Dictionary<String, String> EnvironmentalVariable::SystemVariables() {
    return Copy(SystemTable());
}

Dictionary<String, String> EnvironmentalVariable::ProgramVariables() {
    return Copy(ProgramTable());
}

} // namespace QELTA
