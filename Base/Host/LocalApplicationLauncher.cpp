// Starting programs: the command line's rules, the start, and the streaming of output into a log.
#include "Base/Host/LocalApplicationLauncher.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Host/Platform/ProcessPlatform.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Settings/EnvironmentalVariable.h"

#include <limits>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char msi_ending[] = ".msi";
constexpr char msi_program[] = "msiexec";
constexpr char msi_install[] = "/i";
constexpr char shell_program[] = "/bin/sh";
constexpr char shell_command[] = "-c";
constexpr char startup_error_title[] = "Startup Error";
constexpr char start_error_label[] = "start_app_error";
constexpr char start_error_text[] = "Unable to start program [application] with args [arguments]. Error: [error_msg]";
constexpr char pipe_error_text[] = "Failed to create pipe.";
constexpr char running_label[] = "app_launcher_process_name";
constexpr char running_text[] = "Running [x]";
constexpr char cancel_text[] = "Cancel Requested";
// What one pass reads of a stream at most, so that the other stream and the log's cancel flag
// get their turn while a program writes without pause.
constexpr unsigned long long pass_limit = 1ull << 20;
// What is read after the program ended, at most: a descendant that keeps the pipe open and writing
// must not hold execute() for ever.
constexpr unsigned long long drain_limit = 16ull << 20;
constexpr unsigned char output_level = 0;

TranslatedString StartError(StringView const & application, StringView const & arguments, int error) {
    TranslatedString message = Translatable(start_error_label, start_error_text);
    message.replace("[application]", TranslatedString::DirectString(application));
    message.replace("[arguments]", TranslatedString::DirectString(arguments));
    message.replace("[error_msg]", ApplicationResource::GetErrorString(error));
    return message;
}

// Sends the complete lines at the front of `pending` to `log` and keeps the rest; with `flush`,
// the rest too. "\r\n" ends a line as "\n" does.
void SendLines(String & pending, LogPtr & log, unsigned char level, bool flush) {
    StringView const text = pending.view();
    unsigned int start = 0;
    while (start < text.size()) {
        unsigned int end = text.indexOf('\n', start);
        bool const complete = end != StringView::not_found;
        if (!complete) {
            if (text.size() - start < LocalApplicationLauncher::max_line_bytes && !flush) {
                break;
            }
            end = text.size() - start < LocalApplicationLauncher::max_line_bytes
                      ? text.size()
                      : start + LocalApplicationLauncher::max_line_bytes;
        }
        unsigned int line_end = end;
        if (complete && line_end > start && text[line_end - 1] == '\r') {
            --line_end;
        }
        log.addMessage(log.index(), text.substr(start, line_end), level);
        start = complete ? end + 1 : end;
    }
    if (start != 0) {
        pending = String(text.substr(start));
    }
}

} // namespace

LocalApplicationLauncher::LocalApplicationLauncher(StringView const & application_path)
    : application(application_path) {}

LocalApplicationLauncher::LocalApplicationLauncher(LocalApplicationLauncher const & other)
    : application(other.application), arguments(other.arguments), path_addition(other.path_addition), log(other.log),
      hide_window(other.hide_window), wait_for_exit(other.wait_for_exit), inherit_handles(other.inherit_handles),
      on_finished(other.on_finished), use_shell(other.use_shell) {}

LocalApplicationLauncher & LocalApplicationLauncher::operator=(LocalApplicationLauncher const & other) {
    if (this != &other) {
        application = other.application;
        arguments = other.arguments;
        path_addition = other.path_addition;
        log = other.log;
        hide_window = other.hide_window;
        wait_for_exit = other.wait_for_exit;
        inherit_handles = other.inherit_handles;
        on_finished = other.on_finished;
        use_shell = other.use_shell;
    }
    return *this;
}

LocalApplicationLauncher::~LocalApplicationLauncher() {
    killProcess();
}

void LocalApplicationLauncher::execute() {
    running = true;
    exit_code = no_exit_code;
    String const program = EnvironmentalVariable::ResolveEnvironmentalVariables(application.view());
    bool const msi = program.endsWith(StringView(msi_ending), true);

    String command_line;
    SpawnRequest request;
    if (msi) {
        command_line.append(StringView(msi_program)).append(' ').append(StringView(msi_install)).append(' ');
    }
    command_line.append(ApplicationResource::MakeSafeForCommandLine(application.view()).view());
    if (!arguments.isEmpty()) {
        command_line.append(' ').append(arguments.view());
    }
    if (use_shell) {
        request.program = shell_program;
        request.arguments = {String(shell_program), String(shell_command),
                             String(program) + StringView(" ") + arguments.view()};
    } else {
        request.program = msi ? String(msi_program) : program;
        request.arguments.add(request.program);
        if (msi) {
            request.arguments.add(String(msi_install));
            request.arguments.add(program);
        }
        request.arguments.addAll(SplitCommandLine(arguments.view()));
    }
    // A program given as a file starts in its own folder, by its absolute path.
    if (!msi && !use_shell &&
        (program.indexOf('/') != String::not_found || program.indexOf('\\') != String::not_found)) {
        File file(program);
        if (file.exists() && !file.isDirectory()) {
            request.program = String(file.view());
            request.working_folder = String(file.getParentDirectory().view());
        }
    }
    request.path_addition = EnvironmentalVariable::ResolveEnvironmentalVariables(path_addition.view());
    request.redirect = log.hasPipe();
    request.inherit_descriptors = inherit_handles;

    SpawnedProcess child;
    int const error = ProcessPlatform::Spawn(request, child);
    if (error != 0) {
        running = false;
        if (error == ProcessPlatform::pipe_failure) {
            throw Exception(Translatable(pipe_error_text), Translatable(startup_error_title), false);
        }
        throw Exception(StartError(program.view(), arguments.view(), error), Translatable(startup_error_title), false);
    }
    {
        std::lock_guard<std::mutex> guard(process_mutex_);
        process_ = child.handle;
    }
    process_id = child.id;

    if (!log.hasPipe()) {
        if (wait_for_exit) {
            while (!ProcessPlatform::WaitForExit(child.handle, -1) && child.handle >= 0) {
            }
            finish();
            exit_code = ProcessPlatform::Reap(child);
        } else {
            finish();
            ProcessPlatform::ReapInBackground(child);
        }
    } else {
        try {
            stream(child, command_line);
        } catch (...) {
            finish();
            ProcessPlatform::Signal(child.handle, true);
            ProcessPlatform::Reap(child);
            running = false;
            throw;
        }
        finish();
        exit_code = ProcessPlatform::Reap(child);
    }
    running = false;
    if (on_finished) {
        // May delete this launcher: nothing of it is touched after the call.
        std::function<void()> const finished = on_finished;
        finished();
    }
}

void LocalApplicationLauncher::stream(SpawnedProcess & child, String const & command_line) {
    TranslatedString title = Translatable(running_label, running_text);
    title.replace("[x]", TranslatedString::DirectString(command_line.view()));
    ProgressInfo progress(title, log, std::numeric_limits<float>::quiet_NaN());
    CancelInfo cancel(title, log);
    InputInfoPipe input(title, log);
    standard_output = String();
    standard_error = String();
    String pending_input;

    auto read = [&](int & stream, String & pending, unsigned char level, unsigned long long limit) {
        if (ProcessPlatform::ReadAvailable(stream, pending, limit) == ProcessPlatform::end_of_stream) {
            ProcessPlatform::Close(stream);
        }
        SendLines(pending, log, level, false);
    };
    while (true) {
        ProcessEvents const events = ProcessPlatform::Wait(child, poll_milliseconds);
        log.getInputIdx(pending_input, input.inputIndex(), true);
        if (!pending_input.isEmpty() && !events.exited) {
            unsigned int const written = ProcessPlatform::WriteAvailable(child.input, pending_input.view());
            pending_input = String(pending_input.substr(written));
        }
        read(child.output, standard_output, output_level, pass_limit);
        read(child.error, standard_error, error_level, pass_limit);
        if (events.exited) {
            break;
        }
        if (cancel.cancelRequested()) {
            killProcess();
            log.addMessage(log.index(), StringView(cancel_text), output_level);
            break;
        }
    }
    read(child.output, standard_output, output_level, drain_limit);
    read(child.error, standard_error, error_level, drain_limit);
    SendLines(standard_output, log, output_level, true);
    SendLines(standard_error, log, error_level, true);
    standard_output = String();
    standard_error = String();
}

void LocalApplicationLauncher::finish() {
    std::lock_guard<std::mutex> guard(process_mutex_);
    process_ = -1;
}

void LocalApplicationLauncher::killProcess() {
    std::lock_guard<std::mutex> guard(process_mutex_);
    if (process_ < 0) {
        return;
    }
    if (ProcessPlatform::Signal(process_, false) && !ProcessPlatform::WaitForExit(process_, kill_grace_milliseconds)) {
        ProcessPlatform::Signal(process_, true);
    }
}

bool LocalApplicationLauncher::applicationFileExists() const {
    String found;
    return ProcessPlatform::FindProgram(EnvironmentalVariable::ResolveEnvironmentalVariables(application.view()).view(),
                                        found);
}

Buffer<std::uint64_t> LocalApplicationLauncher::findWindowIDs() {
    return Buffer<std::uint64_t>();
}

void LocalApplicationLauncher::bringToFront() {}

void LocalApplicationLauncher::CallApplication(StringView const & application, StringView const & arguments,
                                               bool wait_for_exit, bool hide_window, LogPtr log) {
    auto * launcher = new LocalApplicationLauncher(application);
    launcher->arguments = String(arguments);
    launcher->wait_for_exit = wait_for_exit;
    launcher->hide_window = hide_window;
    launcher->log = log;
    launcher->on_finished = [launcher] { delete launcher; };
    try {
        launcher->execute();
    } catch (...) {
        delete launcher;
        throw;
    }
}

Buffer<String> LocalApplicationLauncher::SplitCommandLine(StringView const & text) {
    Buffer<String> out;
    String current;
    bool in_argument = false;
    bool quoted = false;
    unsigned int i = 0;
    unsigned int const size = text.size();
    while (i < size) {
        char const c = text[i];
        if (c == '\\') {
            unsigned int run = 0;
            while (i + run < size && text[i + run] == '\\') {
                ++run;
            }
            bool const before_quote = i + run < size && text[i + run] == '"';
            for (unsigned int k = 0; k < (before_quote ? run / 2 : run); ++k) {
                current.append('\\');
            }
            i += run;
            if (before_quote && run % 2 == 1) {
                current.append('"');
                ++i;
            }
            in_argument = true;
        } else if (c == '"') {
            if (quoted && i + 1 < size && text[i + 1] == '"') {
                current.append('"');
                i += 2;
            } else {
                quoted = !quoted;
                ++i;
            }
            in_argument = true;
        } else if ((c == ' ' || c == '\t') && !quoted) {
            if (in_argument) {
                out.add(std::move(current));
                current = String();
                in_argument = false;
            }
            ++i;
        } else {
            current.append(c);
            in_argument = true;
            ++i;
        }
    }
    if (in_argument) {
        out.add(std::move(current));
    }
    return out;
}

String LocalApplicationLauncher::JoinCommandLine(Buffer<String> const & arguments) {
    String out;
    for (String const & argument : arguments) {
        if (&argument != arguments.begin()) {
            out.append(' ');
        }
        StringView const text = argument.view();
        bool plain = !text.isEmpty();
        for (unsigned int i = 0; plain && i < text.size(); ++i) {
            plain = text[i] != ' ' && text[i] != '\t' && text[i] != '"';
        }
        if (plain) {
            out.append(text);
            continue;
        }
        out.append('"');
        unsigned int i = 0;
        while (i < text.size()) {
            unsigned int run = 0;
            while (i + run < text.size() && text[i + run] == '\\') {
                ++run;
            }
            bool const at_end = i + run == text.size();
            bool const before_quote = !at_end && text[i + run] == '"';
            unsigned int const written = at_end || before_quote ? run * 2 : run;
            for (unsigned int k = 0; k < written; ++k) {
                out.append('\\');
            }
            i += run;
            if (before_quote) {
                out.append(StringView("\\\""));
                ++i;
            } else if (!at_end) {
                out.append(text[i]);
                ++i;
            }
        }
        out.append('"');
    }
    return out;
}

} // namespace QELTA
