// The three tables that turn a failed file operation into a message a user can read: errors of
// the open calls, system errors of a rename or a remove, and results of the copy engine.
//
// The tables keep the numbers of the platform the messages were first written for, so that their
// ids and stored translations stay the same everywhere; this system's error numbers reach them by
// their symbolic names ("ENOENT"), never by value.
#include "Base/Files/FileException.h"
#include "Base/Files/Internal/FileServices.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Internal/Translatable.h"

#include <cstdio>
#include <string_view>

namespace QELTA::Internal {
namespace {

struct ErrorRow {
    unsigned int number;
    char const * label; // also the translation label
    char const * text;
};

// Numbers of the old shell interface share one number space with the standard library's error
// numbers, as that interface reports them.
constexpr ErrorRow open_error_rows[] = {
    {1, "file_error_EPERM", "Operation not permitted"},
    {2, "file_error_ENOENT", "No such file or directory"},
    {3, "file_error_ESRCH", "No such process"},
    {4, "file_error_EINTR", "Interrupted function call"},
    {5, "file_error_EIO", "Input/output error"},
    {6, "file_error_ENXIO", "No such device or address"},
    {7, "file_error_E2BIG", "Argument list too long"},
    {8, "file_error_ENOEXEC", "Exec format error"},
    {9, "file_error_EBADF", "Bad file descriptor"},
    {10, "file_error_ECHILD", "No child processes"},
    {11, "file_error_EAGAIN", "No more processes, not enough memory, or maximum nesting level reached"},
    {12, "file_error_ENOMEM", "Not enough memory"},
    {13, "file_error_EACCES", "Permission Denied"},
    {14, "file_error_EFAULT", "Bad address"},
    {16, "file_error_EBUSY", "Device or resource busy"},
    {17, "file_error_EEXIST", "File exists"},
    {18, "file_error_EXDEV", "Cross-device link"},
    {19, "file_error_ENODEV", "No such device"},
    {20, "file_error_ENOTDIR", "Not a directory"},
    {21, "file_error_EISDIR", "Is a directory"},
    {22, "file_error_EINVAL", "Invalid argument"},
    {23, "file_error_ENFILE", "Too many files open in system"},
    {24, "file_error_EMFILE", "Too many open files"},
    {25, "file_error_ENOTTY", "Inappropriate I/O control operation"},
    {27, "file_error_EFBIG", "File too large"},
    {28, "file_error_ENOSPC", "No space left on device"},
    {29, "file_error_ESPIPE", "Invalid seek"},
    {30, "file_error_EROFS", "Read-only file system"},
    {31, "file_error_EMLINK", "Too many links"},
    {32, "file_error_EPIPE", "Broken pipe"},
    {33, "file_error_EDOM", "Math argument"},
    {34, "file_error_ERANGE", "Result too large"},
    {36, "file_error_EDEADLOCK", "Resource deadlock avoided"},
    {38, "file_error_ENAMETOOLONG", "Filename too long"},
    {39, "file_error_ENOLCK", "No locks available"},
    {40, "file_error_ENOSYS", "Function not supported"},
    {41, "file_error_ENOTEMPTY", "Directory not empty"},
    {42, "file_error_EILSEQ", "Illegal byte sequence"},
    {80, "file_error_STRUNCATE", "String was truncated"},
    {113, "file_error_71", "The source and destination files are the same file."},
    {114, "file_error_72", "Multiple file paths were specified in the source, but only one destination file path."},
    // The missing space after "directory." is in the stored translations; keep it.
    {115, "file_error_73",
     "Rename operation was specified but the destination path is a different directory.Use the move operation "
     "instead."},
    {116, "file_error_74", "The source is a root directory, which cannot be moved or renamed."},
    {117, "file_error_75", "The operation was cancelled by the user, or silently cancelled."},
    {118, "file_error_76", "The destination is a subfolder of the source."},
    {120, "file_error_78", "Security settings denied access to the source."},
    {121, "file_error_79", "The source or destination path exceeded or would exceed the longest path allowed."},
    {122, "file_error_7A", "The operation involved multiple destination paths, which can fail in a move."},
    {124, "file_error_7C", "The path in the source or destination or both was invalid."},
    {125, "file_error_7D", "The source and destination have the same parent folder."},
    {126, "file_error_7E", "The destination path is an existing file."},
    {128, "file_error_80", "The destination path is an existing folder."},
    {129, "file_error_81", "The name of the file exceeds the longest path allowed."},
    {130, "file_error_82", "The destination is a read-only CD-ROM, possibly unformatted."},
    {131, "file_error_83", "The destination is a read-only DVD, possibly unformatted."},
    {132, "file_error_84", "The destination is a writable CD-ROM, possibly unformatted."},
    {133, "file_error_85", "The file involved in the operation is too large for the destination media or file system."},
    {134, "file_error_86", "The source is a read-only CD-ROM, possibly unformatted."},
    {135, "file_error_87", "The source is a read-only DVD, possibly unformatted."},
    {136, "file_error_88", "The source is a writable CD-ROM, possibly unformatted."},
    {183, "file_error_B7", "The longest path allowed was exceeded during the operation."},
    {1026, "file_error_402",
     "An unknown error occurred. This is typically due to an invalid path in the source or destination. This "
     "error does not occur on Windows Vista and later."},
    {65536, "file_error_10000", "An unspecified error occurred on the destination."},
    {65652, "file_error_10074", "Destination is a root directory and cannot be renamed."},
};

constexpr std::string_view open_label_prefix = "file_error_";

struct NameToNumber {
    std::string_view name;
    unsigned int number;
};

// This system's error names without a row of their own in the open table, and the row that says
// the same; the other names find the row that carries them.
constexpr NameToNumber open_error_aliases[] = {
    {"EDEADLK", 36}, {"ETXTBSY", 16},    {"EDQUOT", 28}, {"EWOULDBLOCK", 11},
    {"ENOTSUP", 40}, {"EOPNOTSUPP", 40}, {"ELOOP", 124}, {"EOVERFLOW", 27},
};

// This system's error names and the system error numbers of the table of ThrowSystemError.
constexpr NameToNumber system_error_numbers[] = {
    {"ENOENT", 2},         {"ENOTDIR", 3}, {"EACCES", 5},   {"EPERM", 5},       {"ENOMEM", 8},   {"EBUSY", 32},
    {"ETXTBSY", 32},       {"ENOSYS", 50}, {"ENOTSUP", 50}, {"EOPNOTSUPP", 50}, {"EEXIST", 183}, {"ENOTEMPTY", 145},
    {"ENAMETOOLONG", 206}, {"EXDEV", 17},  {"EINVAL", 87},  {"EISDIR", 267},    {"ENOSPC", 112}, {"EDQUOT", 112},
    {"EROFS", 19},         {"EIO", 1117},  {"EMFILE", 4},   {"ENFILE", 4},      {"ELOOP", 1921}, {"EFBIG", 223},
};

constexpr char path_not_found_label[] = "ERROR_PATH_NOT_FOUND";
constexpr char path_not_found_text[] = "The specified path was not found.";

struct EngineRow {
    unsigned int offset; // the result minus engine_base
    char const * label;  // the engine's own name of the result, also the translation label
    char const * text;
};

constexpr unsigned int engine_base = 0x80270000u;

// The slips in a few texts ("AudioL", "Wrote", "offL") are in the stored translations; keep them.
constexpr EngineRow engine_rows[] = {
    {0x00, "COPYENGINE_E_USER_CANCELLED", "User cancelled job"},
    {0x01, "COPYENGINE_E_CANCELLED", "Job cancelled"},
    {0x02, "COPYENGINE_E_REQUIRES_ELEVATION", "Need to elevate the process to complete the operation"},
    {0x03, "COPYENGINE_E_SAME_FILE", "Source and destination file are the same"},
    {0x04, "COPYENGINE_E_DIFF_DIR", "Destination is in a different directory than the source for a rename"},
    {0x05, "COPYENGINE_E_MANY_SRC_1_DEST", "Multiple sources but only one destination"},
    {0x09, "COPYENGINE_E_DEST_SUBTREE", "Destination is a subtree of the source"},
    {0x0A, "COPYENGINE_E_DEST_SAME_TREE", "Destination is the same folder as the source"},
    {0x0B, "COPYENGINE_E_FLD_IS_FILE_DEST", "Existing destination file with the same name as the folder"},
    {0x0C, "COPYENGINE_E_FILE_IS_FLD_DEST", "Existing destination folder with the same name as the file"},
    {0x0D, "COPYENGINE_E_FILE_TOO_LARGE", "File too large for the destination file system"},
    {0x0E, "COPYENGINE_E_REMOVABLE_FULL", "Destination is a removable medium that is full"},
    {0x0F, "COPYENGINE_E_DEST_IS_RO_CD", "Destination is a Read-Only CDRom, possibly unformatted"},
    {0x10, "COPYENGINE_E_DEST_IS_RW_CD", "Destination is a Read/Write CDRom, possibly unformatted"},
    {0x11, "COPYENGINE_E_DEST_IS_R_CD", "Destination is a Recordable (AudioL) CDRom, possibly unformatted"},
    {0x12, "COPYENGINE_E_DEST_IS_RO_DVD", "Destination is a Read-Only DVD, possibly unformatted"},
    {0x13, "COPYENGINE_E_DEST_IS_RW_DVD", "Destination is a Read/Wrote DVD, possibly unformatted"},
    {0x14, "COPYENGINE_E_DEST_IS_R_DVD", "Destination is a Recordable (Audio) DVD, possibly unformatted"},
    {0x15, "COPYENGINE_E_SRC_IS_RO_CD", "Source is a Read-Only CDRom, possibly unformatted"},
    {0x16, "COPYENGINE_E_SRC_IS_RW_CD", "Source is a Read/Write CDRom, possibly unformatted"},
    {0x17, "COPYENGINE_E_SRC_IS_R_CD", "Source is a Recordable (Audio) CDRom, possibly unformatted"},
    {0x18, "COPYENGINE_E_SRC_IS_RO_DVD", "Source is a Read-Only DVD, possibly unformatted"},
    {0x19, "COPYENGINE_E_SRC_IS_RW_DVD", "Source is a Read/Write DVD, possibly unformatted"},
    {0x1A, "COPYENGINE_E_SRC_IS_R_DVD", "Source is a Recordable (Audio) DVD, possibly unformatted"},
    {0x1B, "COPYENGINE_E_INVALID_FILES_SRC", "Invalid source path"},
    {0x1C, "COPYENGINE_E_INVALID_FILES_DEST", "Invalid destination path"},
    {0x1D, "COPYENGINE_E_PATH_TOO_DEEP_SRC", "Source files are too deep in the folder tree"},
    {0x1E, "COPYENGINE_E_PATH_TOO_DEEP_DEST", "Destination files would be too deep in the folder tree"},
    {0x1F, "COPYENGINE_E_ROOT_DIR_SRC", "Source is a root directory, which cannot be moved or renamed"},
    {0x20, "COPYENGINE_E_ROOT_DIR_DEST", "Destination is a root directory, which cannot be renamed"},
    {0x21, "COPYENGINE_E_ACCESS_DENIED_SRC", "Security problem on the source"},
    {0x22, "COPYENGINE_E_ACCESS_DENIED_DEST", "Security problem on the destination"},
    {0x23, "COPYENGINE_E_PATH_NOT_FOUND_SRC", "Source does not exist, or is unavailable"},
    {0x24, "COPYENGINE_E_PATH_NOT_FOUND_DEST", "Destination does not exist, or is unavailable"},
    {0x25, "COPYENGINE_E_NET_DISCONNECT_SRC", "Source file is on a disconnected network location"},
    {0x26, "COPYENGINE_E_NET_DISCONNECT_DEST", "Destination is on a disconnected network location"},
    {0x27, "COPYENGINE_E_SHARING_VIOLATION_SRC", "Sharing violation on the source"},
    {0x28, "COPYENGINE_E_SHARING_VIOLATION_DEST", "Sharing violation on the destination"},
    {0x29, "COPYENGINE_E_ALREADY_EXISTS_NORMAL", "Destination exists, cannot replace"},
    {0x2A, "COPYENGINE_E_ALREADY_EXISTS_READONLY", "Destination with read-only attribute exists, cannot replace"},
    {0x2B, "COPYENGINE_E_ALREADY_EXISTS_SYSTEM", "Destination with system attribute exists, cannot replace"},
    {0x2C, "COPYENGINE_E_ALREADY_EXISTS_FOLDER", "Destination folder exists, cannot replace"},
    {0x2D, "COPYENGINE_E_STREAM_LOSS", "Secondary stream information would be lost"},
    {0x2E, "COPYENGINE_E_EA_LOSS", "Extended attributes would be lost"},
    {0x2F, "COPYENGINE_E_PROPERTY_LOSS", "Property would be lost"},
    {0x30, "COPYENGINE_E_PROPERTIES_LOSS", "Properties would be lost"},
    {0x31, "COPYENGINE_E_ENCRYPTION_LOSS", "Encryption would be lost"},
    {0x32, "COPYENGINE_E_DISK_FULL", "Windows is reporting that the destination disk or device is full."},
    {0x33, "COPYENGINE_E_DISK_FULL_CLEAN", "The destination is full, but cleaning up some files would make room"},
    {0x34, "COPYENGINE_E_EA_NOT_SUPPORTED", "The destination does not support extended attributes"},
    {0x35, "COPYENGINE_E_CANT_REACH_SOURCE", "The source can't be reached"},
    {0x36, "COPYENGINE_E_RECYCLE_FORCE_NUKE", "Recycling not available (usually turned offL)"},
    {0x37, "COPYENGINE_E_RECYCLE_SIZE_TOO_BIG", "The item is too large for the recycle bin"},
    {0x38, "COPYENGINE_E_RECYCLE_PATH_TOO_LONG", "The folder is too deep to be recycled"},
    {0x3A, "COPYENGINE_E_RECYCLE_BIN_NOT_FOUND", "The recycle bin could not be found or is unavailable"},
    {0x3B, "COPYENGINE_E_NEWFILE_NAME_TOO_LONG", "The name of the new file is too long"},
    {0x3C, "COPYENGINE_E_NEWFOLDER_NAME_TOO_LONG", "The name of the new folder is too long"},
    {0x3D, "COPYENGINE_E_DIR_NOT_EMPTY", "The directory is not empty"},
    {0x3E, "COPYENGINE_E_FAT_MAX_IN_ROOT", "The root of the destination holds as many entries as it can"},
    {0x3F, "COPYENGINE_E_ACCESSDENIED_READONLY", "Access denied because the item is read-only"},
    {0x40, "COPYENGINE_E_REDIRECTED_TO_WEBPAGE", "The request was redirected to a web page"},
    {0x41, "COPYENGINE_E_SERVER_BAD_FILE_TYPE", "The server refuses files of this type"},
    {0x42, "COPYENGINE_E_INTERNET_ITEM_UNAVAILABLE", "The internet item is unavailable"},
    {0x43, "COPYENGINE_E_CANNOT_MOVE_FROM_RECYCLE_BIN", "Items cannot be moved out of the recycle bin"},
    {0x44, "COPYENGINE_E_CANNOT_MOVE_SHARED_FOLDER", "A shared folder cannot be moved"},
    {0x45, "COPYENGINE_E_INTERNET_ITEM_STORAGE_PROVIDER_ERROR", "The storage provider of the item reported an error"},
    {0x46, "COPYENGINE_E_INTERNET_ITEM_STORAGE_PROVIDER_PAUSED", "The storage provider of the item is paused"},
    {0x47, "COPYENGINE_E_REQUIRES_EDP_CONSENT", "The operation needs consent under the data protection policy"},
    {0x48, "COPYENGINE_E_BLOCKED_BY_EDP_POLICY", "The data protection policy blocks the operation"},
    {0x49, "COPYENGINE_E_REQUIRES_EDP_CONSENT_FOR_REMOVABLE_DRIVE",
     "Copying to a removable drive needs consent under the data protection policy"},
    {0x4A, "COPYENGINE_E_BLOCKED_BY_EDP_FOR_REMOVABLE_DRIVE",
     "The data protection policy blocks copying to a removable drive"},
    {0x4B, "COPYENGINE_E_RMS_REQUIRES_EDP_CONSENT_FOR_REMOVABLE_DRIVE",
     "Copying protected content to a removable drive needs consent under the data protection policy"},
    {0x4C, "COPYENGINE_E_RMS_BLOCKED_BY_EDP_FOR_REMOVABLE_DRIVE",
     "The data protection policy blocks copying protected content to a removable drive"},
};

constexpr char engine_unknown_label[] = "COPYENGINE_E_UNKNOWN";
constexpr char engine_unknown_text[] = "Unknown Error Occurred while transferring file with code [error_code]";
constexpr char error_code_slot[] = "[error_code]";
// The family of results that carry a system error number in their low 16 bits.
constexpr unsigned int system_error_result_base = 0x80070000u;

// This system's error names and the engine's rows: one for a failure on the source's side and one
// on the target's side.
struct EngineAlias {
    std::string_view name;
    unsigned int source_offset;
    unsigned int target_offset;
};

constexpr EngineAlias engine_aliases[] = {
    {"EACCES", 0x21, 0x22},       {"EPERM", 0x21, 0x22},       {"ENOENT", 0x23, 0x24},       {"ENOTDIR", 0x23, 0x24},
    {"ENAMETOOLONG", 0x1D, 0x1E}, {"ELOOP", 0x1B, 0x1C},       {"EBUSY", 0x27, 0x28},        {"ETXTBSY", 0x27, 0x28},
    {"ENOSPC", 0x32, 0x32},       {"EDQUOT", 0x32, 0x32},      {"EFBIG", 0x0D, 0x0D},        {"EROFS", 0x3F, 0x3F},
    {"EISDIR", 0x0C, 0x0C},       {"ENOTEMPTY", 0x3D, 0x3D},   {"EEXIST", 0x29, 0x29},       {"ENOMEDIUM", 0x35, 0x35},
    {"ENETDOWN", 0x25, 0x26},     {"ENETUNREACH", 0x25, 0x26}, {"ENETRESET", 0x25, 0x26},    {"ECONNRESET", 0x25, 0x26},
    {"ENOTCONN", 0x25, 0x26},     {"EHOSTDOWN", 0x25, 0x26},   {"EHOSTUNREACH", 0x25, 0x26}, {"ESTALE", 0x25, 0x26},
};

constexpr char copy_failed_label[] = "can_not_copy_error";
constexpr char copy_failed_text[] = "File could not be copied: [exception]";
constexpr char exception_slot[] = "[exception]";

constexpr unsigned int not_found = 0xFFFFFFFFu;

template <class Table>
unsigned int NumberByName(Table const & table, StringView const & name) {
    std::string_view const wanted(name.data() == nullptr ? "" : name.data(), name.size());
    for (auto const & row : table) {
        if (row.name == wanted) {
            return row.number;
        }
    }
    return not_found;
}

ErrorRow const * OpenRowByNumber(unsigned int number) {
    for (ErrorRow const & row : open_error_rows) {
        if (row.number == number) {
            return &row;
        }
    }
    return nullptr;
}

// The row of the open table that says what this system's error number says, or null.
ErrorRow const * OpenRowForError(int error) {
    String const name = FilePlatform::ErrorName(error);
    if (name.isEmpty()) {
        return nullptr;
    }
    std::string_view const wanted(name.data(), name.size());
    for (ErrorRow const & row : open_error_rows) {
        std::string_view const label(row.label);
        if (label.substr(open_label_prefix.size()) == wanted) {
            return &row;
        }
    }
    return OpenRowByNumber(NumberByName(open_error_aliases, name.view()));
}

TranslatedString RowText(ErrorRow const & row) {
    return Translatable(row.label, row.text);
}

// The system's own sentence for an error that no row names, shown as it stands.
TranslatedString SystemText(int error) {
    return TranslatedString::DirectString(FilePlatform::ErrorText(error).view());
}

[[noreturn]] void ThrowGeneric(File const & file, TranslatedString const & message) {
    throw FileException(file, message, FileException::generic_file);
}

} // namespace

void ThrowOpenError(File const & file, int error) {
    if (error == 0) {
        return;
    }
    ErrorRow const * row = OpenRowForError(error);
    ThrowGeneric(file, row != nullptr ? RowText(*row) : SystemText(error));
}

// The text of the open table's row `number`; the system's own text should the row be missing.
TranslatedString OpenRowText(unsigned int number, int error) {
    ErrorRow const * const row = OpenRowByNumber(number);
    return row != nullptr ? RowText(*row) : SystemText(error);
}

void ThrowSystemError(File const & file, int error) {
    if (error == 0) {
        return;
    }
    unsigned int const number = NumberByName(system_error_numbers, FilePlatform::ErrorName(error).view());
    switch (number) {
    case 1:
    case 2:
        throw FileException(file, FileException::file_does_not_exist);
    case 3:
        ThrowGeneric(file, Translatable(path_not_found_label, path_not_found_text));
    case 5:
        ThrowGeneric(file, OpenRowText(120, error));
    case 8:
        ThrowGeneric(file, OpenRowText(12, error));
    case 32:
    case 50:
        ThrowGeneric(file, OpenRowText(1, error));
    case 80:
    case 183:
        ThrowGeneric(file, OpenRowText(17, error));
    case 145:
        ThrowGeneric(file, OpenRowText(41, error));
    case 206:
        ThrowGeneric(file, OpenRowText(38, error));
    default:
        // 0, 18, 53, 87, 122, 123, 267, 4393 and every number without a row: the system's own text.
        ThrowGeneric(file, SystemText(error));
    }
}

int CopyEngineResult(CopyOutcome const & outcome) {
    if (outcome.stopped) {
        return static_cast<int>(engine_base);
    }
    if (outcome.error == 0) {
        return 0;
    }
    String const name = FilePlatform::ErrorName(outcome.error);
    std::string_view const wanted(name.data(), name.size());
    for (EngineAlias const & alias : engine_aliases) {
        if (alias.name == wanted) {
            return static_cast<int>(engine_base + (outcome.at_target ? alias.target_offset : alias.source_offset));
        }
    }
    return static_cast<int>(system_error_result_base | (static_cast<unsigned int>(outcome.error) & 0xFFFFu));
}

TranslatedString CopyEngineError(int result) {
    unsigned int const offset = static_cast<unsigned int>(result) - engine_base;
    for (EngineRow const & row : engine_rows) {
        if (row.offset == offset) {
            return Translatable(row.label, row.text);
        }
    }
    TranslatedString message = Translatable(engine_unknown_label, engine_unknown_text);
    char code[16];
    std::snprintf(code, sizeof(code), "0x%08X", static_cast<unsigned int>(result));
    message.replace(error_code_slot, TranslatedString::DirectString(code));
    return message;
}

void ThrowCopyError(File const & source, int result) {
    TranslatedString message = Translatable(copy_failed_label, copy_failed_text);
    message.replace(exception_slot, CopyEngineError(result));
    ThrowGeneric(source, message);
}

} // namespace QELTA::Internal
