// The texts of file failures.
#include "Base/Files/FileException.h"

#include "Base/Language/Internal/Translatable.h"

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char file_exception_title[] = "File Exception";
constexpr char file_error_text[] = "File Error";
constexpr char file_name_slot[] = "[file_name]";
constexpr char message_label[] = "file_exception_message";
constexpr char message_text[] = "File Error:\n[message]\nFile:\n[file]";
constexpr char message_slot[] = "[message]";
constexpr char file_slot[] = "[file]";

struct KindText {
    char const * label; // null: the kind has no message
    char const * english;
};

// By ExceptionType; the label "file_does_not_exit_exception" is spelled so in stored translations.
constexpr KindText kind_texts[] = {
    {"generic_file_exception", "Generic file message for file:\n[file_name]"},
    {"file_not_open_exception", "File not open:\n[file_name]"},
    {"file_already_open_exception", "File already open:\n[file_name]"},
    {"file_does_not_exit_exception", "File does not exist:\n[file_name]"},
    {"file_exists_exception", "File exists:\n[file_name]"},
    {"invalid_file_exception", "Invalid File:\n[file_name]"},
    {nullptr, nullptr},
    {"file_not_supported_exception", "File not supported:\n[file_name]"},
    {"could_not_create_file_exception", "Could not create file:\n[file_name]"},
};

TranslatedString KindMessage(File const & file, FileException::ExceptionType type) {
    unsigned int const index = type;
    if (index >= sizeof(kind_texts) / sizeof(kind_texts[0]) || kind_texts[index].label == nullptr) {
        return TranslatedString();
    }
    TranslatedString message = Translatable(kind_texts[index].label, kind_texts[index].english);
    message.replace(file_name_slot, TranslatedString::DirectString(file.view()));
    return message;
}

TranslatedString WrappedMessage(File const & file, TranslatedString const & text) {
    TranslatedString message = Translatable(message_label, message_text);
    message.replace(message_slot, text);
    message.replace(file_slot, TranslatedString::DirectString(file.view()));
    return message;
}

} // namespace

FileException::FileException(File const & file, ExceptionType type)
    : Exception(KindMessage(file, type), Translatable(file_exception_title), false), file_(file), type_(type) {
    detail_ = Translatable(file_error_text);
}

FileException::FileException(File const & file, TranslatedString const & message, ExceptionType type)
    : Exception(WrappedMessage(file, message), Translatable(file_error_text), false), file_(file), type_(type) {
    detail_ = Translatable(file_error_text);
}

FileException::~FileException() = default;

} // namespace QELTA
