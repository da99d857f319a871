// Assertions, the handling of a fault up to the host's callback, and the reading of dumps.
#include "Base/Failure/CrashManager.h"

#include "Base/Failure/Internal/DumpLayout.h"
#include "Base/Failure/Internal/SafeText.h"
#include "Base/Failure/Platform/CrashPlatform.h"
#include "Base/Files/FileResource.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <utility>

namespace QELTA {
namespace {

namespace Layout = Internal::DumpLayout;
using Internal::Translatable;

constexpr char general_error_title[] = "General Error";
constexpr char exception_message_label[] = "minidump_exception_message";
constexpr char exception_message_text[] = "[user_message]\n\n[message]\n\n[minidump_location]";
constexpr char user_message_label[] = "unhandled_exception_message";
constexpr char user_message_text[] =
    "An application bug was detected. You should save any work and restart the application to prevent data loss. "
    "We apologize for any inconvenience.";
constexpr char location_label[] = "minidump_location_message";
constexpr char location_text[] = "Dump written to: [minidump_directory]";
constexpr char location_prefix[] = "Dump written to: ";
constexpr char write_error_label[] = "minidump_write_error";
constexpr char write_error_text[] = "Could not write to dump file";
constexpr char user_message_slot[] = "[user_message]";
constexpr char message_slot[] = "[message]";
constexpr char location_slot[] = "[minidump_location]";
constexpr char directory_slot[] = "[minidump_directory]";

constexpr char report_head[] = "Exception: ";
constexpr char unknown_exception[] = "Unknown Exception...\n";
constexpr char uncaught_name[] = "uncaught exception";
constexpr char uncaught_head[] = "  Uncaught: ";
constexpr char function_head[] = "  Function: ";
constexpr char unknown_function[] = "Unknown Function";
constexpr unsigned int report_dashes = 66;
constexpr char paragraph[] = "\n\n";
constexpr char text_ending[] = ".txt";

std::atomic<CrashManager *> s_current{nullptr};

LibAssert::Callback & AssertCallback() {
    static LibAssert::Callback callback;
    return callback;
}

// The buffers of the one fault being handled.
CrashInspection s_inspection;
Internal::SafeText<64 * 1024> s_report;
Internal::SafeText<72 * 1024> s_text;
char s_stem[1024];

bool HandleFault(CrashFault const & fault) {
    CrashManager * const manager = s_current.load();
    return manager != nullptr && manager->handleException(const_cast<CrashFault *>(&fault));
}

// The report: "Exception: " and the fault's name, a line of dashes, the uncaught exception when
// there is one, and one line a frame. `put` takes zero-terminated pieces; `name` gives a frame's
// function, or null.
template <class Put, class Name>
void AppendReport(CrashFault const & fault, CrashInspection const & inspection, Put && put, Name && name) {
    char const * const fault_name = fault.signal == 0 ? uncaught_name : CrashPlatform::FaultName(fault.signal);
    if (fault_name == nullptr) {
        put(unknown_exception);
    } else {
        put(report_head);
        put(fault_name);
        put("\n");
        for (unsigned int i = 0; i < report_dashes; ++i) {
            put("-");
        }
        put("\n");
    }
    if (fault.exception != nullptr) {
        put(uncaught_head);
        put(fault.exception);
        put("\n");
    }
    for (unsigned int i = 0; i < inspection.frame_count; ++i) {
        char const * const function = name(inspection.frames[i]);
        put(function_head);
        put(function != nullptr ? function : unknown_function);
        put("\n");
    }
}

// The folder of the dump whose path without ending is `stem`, in the system's form.
StringView StemFolder(char const * stem) {
    StringView const path(stem);
    unsigned int slash = path.size();
    while (slash > 0 && path[slash - 1] != '/') {
        --slash;
    }
    return slash <= 1 ? path.substr(0, slash) : path.substr(0, slash - 1);
}

template <class T>
T ReadValue(unsigned char const * at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof(T));
    return value;
}

} // namespace

// LibAssert

void LibAssert::NAssert(char const * const a, char const * const b, char const * const c, unsigned int line) {
    if (AssertCallback()) {
        AssertCallback()(a, b, c, line);
        return;
    }
    std::perror(b);
    throw Exception(TranslatedString::DirectString(StringView(b)), TranslatedString::DirectString(StringView(c)),
                    false);
}

void LibAssert::SetAssertCallback(Callback callback) {
    AssertCallback() = std::move(callback);
}

// CrashManager

CrashManager::CrashManager() : minidump_directory_(FileResource::PathToUserSettings()) {
    minidump_directory_.append(StringView(dump_folder));
    minidump_directory_.append('\\');
}

CrashManager::CrashManager(CrashManager const & other) = default;

CrashManager & CrashManager::operator=(CrashManager const & other) = default;

CrashManager::~CrashManager() {
    CrashManager * self = this;
    s_current.compare_exchange_strong(self, nullptr);
}

void CrashManager::setCallback(std::function<void(Exception const &)> callback) {
    callback_ = std::move(callback);
}

void CrashManager::setMiniDumpDirectory(File const & folder) {
    minidump_directory_ = folder;
}

void CrashManager::setAsTopLevelExceptionHandler() {
    s_current.store(this);
    CrashPlatform::Install(HandleFault);
}

bool CrashManager::handleException(void * fault_record) {
    if (!callback_ || fault_record == nullptr) {
        return false;
    }
    CrashFault const & fault = *static_cast<CrashFault const *>(fault_record);

    // Signal-safe: the stack, the dump and the report, in fixed buffers.
    CrashPlatform::Inspect(fault, s_inspection);
    s_report.clear();
    AppendReport(
        fault, s_inspection, [](char const * piece) { s_report.append(piece); },
        [](CrashFrame const & frame) -> char const * { return frame.symbol[0] != 0 ? frame.symbol : nullptr; });
    s_stem[0] = 0;
    bool const written =
        !minidump_directory_.isEmpty() &&
        CrashPlatform::WriteDump(fault, s_inspection, minidump_directory_.view(), s_stem, sizeof(s_stem));
    if (written) {
        s_text.clear();
        s_text.append(user_message_text).append(paragraph).append(s_report.data(), s_report.size()).append(paragraph);
        StringView const folder = StemFolder(s_stem);
        s_text.append(location_prefix).append(folder.data(), folder.size()).append('\n');
        Internal::SafeText<1024> path;
        path.append(s_stem).append(text_ending);
        CrashPlatform::WriteTextFile(path.data(), s_text.data(), s_text.size());
    }

    // The last effort: an Exception for the host, with readable function names.
    try {
        String report;
        String readable;
        AppendReport(
            fault, s_inspection, [&report](char const * piece) { report.append(StringView(piece)); },
            [&readable](CrashFrame const & frame) -> char const * {
                if (frame.symbol[0] == 0) {
                    return nullptr;
                }
                readable = CrashPlatform::Demangle(StringView(frame.symbol));
                return readable.c_str();
            });
        TranslatedString message = Translatable(exception_message_label, exception_message_text);
        message.replace(StringView(user_message_slot), Translatable(user_message_label, user_message_text));
        message.replace(StringView(message_slot), TranslatedString::DirectString(report.view()));
        if (written) {
            TranslatedString location = Translatable(location_label, location_text);
            location.replace(StringView(directory_slot), TranslatedString::DirectString(StemFolder(s_stem)));
            message.replace(StringView(location_slot), location);
        } else if (!minidump_directory_.isEmpty()) {
            message.replace(StringView(location_slot), Translatable(write_error_label, write_error_text));
        } else {
            message.replace(StringView(location_slot), TranslatedString::DirectString(StringView()));
        }
        callback_(Exception(message, Translatable(general_error_title), false));
    } catch (...) {
        // Nothing may leave a fault handler; the dump and the report are written already.
    }
    return true;
}

bool CrashManager::recordAllExceptions() const {
    return false;
}

CrashManager * CrashManager::CurrentCrashManager() noexcept {
    return s_current.load();
}

// CrashDump

String CrashDump::Frame::function() const {
    return symbol.isEmpty() ? String(unknown_function) : CrashPlatform::Demangle(symbol.view());
}

String CrashDump::signalName() const {
    if (signal == 0) {
        return String(uncaught_name);
    }
    if (char const * name = CrashPlatform::FaultName(signal)) {
        return String(name);
    }
    StringAllocatingView text(StringView("signal "));
    StringStream<int>::toString(signal, text);
    return String(text.view());
}

bool CrashDump::read(unsigned char const * data, std::size_t size) {
    *this = CrashDump();
    if (data == nullptr || size < Layout::header_size || std::memcmp(data, Layout::magic, sizeof(Layout::magic)) != 0) {
        return false;
    }
    std::size_t at = Layout::header_size;
    while (size - at >= Layout::record_head) {
        unsigned int const kind = ReadValue<unsigned int>(data + at);
        std::size_t const length = ReadValue<unsigned int>(data + at + 4);
        at += Layout::record_head;
        if (length > size - at) {
            break;
        }
        unsigned char const * const payload = data + at;
        auto const text = [payload](std::size_t from, std::size_t count) {
            return String(reinterpret_cast<char const *>(payload) + from, static_cast<unsigned int>(count));
        };
        switch (kind) {
        case Layout::FAULT:
            if (length >= Layout::fault_size) {
                signal = ReadValue<int>(payload);
                code = ReadValue<int>(payload + 4);
                fault_address = ReadValue<unsigned long long>(payload + 8);
                instruction = ReadValue<unsigned long long>(payload + 16);
                process = ReadValue<unsigned int>(payload + 24);
                thread = ReadValue<unsigned int>(payload + 28);
                time = Time(ReadValue<unsigned long long>(payload + 32));
            }
            break;
        case Layout::THREAD:
            thread_name = text(0, length);
            break;
        case Layout::EXCEPTION:
            exception = text(0, length);
            break;
        case Layout::MAPS:
            maps = text(0, length);
            break;
        case Layout::REGISTERS:
            for (std::size_t entry = 0; entry + Layout::register_entry <= length; entry += Layout::register_entry) {
                std::size_t name_size = 0;
                while (name_size < Layout::register_name && payload[entry + name_size] != 0) {
                    ++name_size;
                }
                registers.add(Register{text(entry, name_size),
                                       ReadValue<unsigned long long>(payload + entry + Layout::register_name)});
            }
            break;
        case Layout::FRAME: {
            if (length < 20) {
                break;
            }
            Frame frame;
            frame.address = ReadValue<unsigned long long>(payload);
            frame.offset = ReadValue<unsigned long long>(payload + 8);
            std::size_t const module_size = ReadValue<unsigned int>(payload + 16);
            if (module_size > length - 20) {
                break;
            }
            frame.module = text(20, module_size);
            std::size_t const rest = length - 20 - module_size;
            if (rest >= 4) {
                std::size_t const symbol_size = ReadValue<unsigned int>(payload + 20 + module_size);
                if (symbol_size <= rest - 4) {
                    frame.symbol = text(24 + module_size, symbol_size);
                }
            }
            frames.add(std::move(frame));
            break;
        }
        default:
            break;
        }
        at += length;
    }
    return true;
}

bool CrashDump::read(File const & file) {
    File source(file);
    File::LargeByteBuffer const bytes = source.getDataExtended();
    return read(bytes.data(), static_cast<std::size_t>(bytes.size()));
}

} // namespace QELTA
