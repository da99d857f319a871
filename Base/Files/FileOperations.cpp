// File's operations on other files: copy, move and delete, whole trees by recursion, and the
// read-only flag.
#include "Base/Files/File.h"

#include "Base/Files/FileException.h"
#include "Base/Files/Internal/FileServices.h"
#include "Base/Files/Platform/FilePlatform.h"
#include "Base/Language/Internal/Translatable.h"
#include "Base/Logging/InfoPipe.h"

#include <algorithm>
#include <optional>

namespace QELTA {
namespace {

using Internal::Translatable;

constexpr char copy_title_label[] = "copy_file_message";
constexpr char copy_title_text[] = "Copying [file_a] to [file_b]";
constexpr char move_label[] = "move_file_message";
constexpr char move_text[] = "Moving [file_a] to [file_b]";
constexpr char temp_move_label[] = "move_temp_file_message";
constexpr char temp_move_text[] = "Writing data to [file_b]";
constexpr char file_a_slot[] = "[file_a]";
constexpr char file_b_slot[] = "[file_b]";
constexpr char copy_operation_text[] = "Copying File Item";
constexpr char no_drive_label[] = "can_not_move_error_no_exist";
constexpr char no_drive_text[] = "File could not be moved: Drive does not exist";
constexpr char other_file_system_error[] = "EXDEV";
constexpr unsigned char operation_message_level = 10;
// The copy engine's results for a cancel by the user and for a target inside the source.
constexpr unsigned int user_cancelled_result = 0x80270000u;
constexpr unsigned int destination_subtree_result = 0x80270009u;

TranslatedString TwoPathText(char const * label, char const * text, File const & a, File const & b) {
    TranslatedString message = Translatable(label, text);
    message.replace(file_a_slot, TranslatedString::DirectString(a.view()));
    message.replace(file_b_slot, TranslatedString::DirectString(b.view()));
    return message;
}

// The path as a folder: with a separator at the end.
File AsFolder(File const & file) {
    if (file.isDirectory()) {
        return file;
    }
    File folder(file);
    folder.append('\\');
    return folder;
}

// A folder's path without its closing separator, which names a link rather than what it points at.
StringView WithoutSeparator(File const & folder) {
    StringView text = folder.view();
    if (text.size() > 1 && File::IsPathSep(text.last())) {
        text.removeLast(1);
    }
    return text;
}

void MakeParent(File const & target) {
    if (target.isDrive()) {
        return;
    }
    File parent = target.getParentDirectory();
    if (!parent.isEmpty() && !parent.exists()) {
        parent.create(true);
    }
}

// A child of `folder` (directory-shaped): a folder child gets a separator. `follow_links` treats a
// link to a folder as the folder; otherwise it is a file, so that nothing outside the tree is
// moved or deleted through it.
File ChildOf(File const & folder, FolderEntry const & entry, bool follow_links) {
    File child(folder);
    child.append(entry.name.view());
    if (entry.attributes.directory && (follow_links || !FilePlatform::IsLink(child.view()))) {
        child.append('\\');
    }
    return child;
}

Buffer<FolderEntry> Entries(File const & folder) {
    Buffer<FolderEntry> entries;
    FilePlatform::ListFolder(folder.view(), entries);
    std::sort(entries.begin(), entries.end(),
              [](FolderEntry const & a, FolderEntry const & b) { return a.name.view() < b.name.view(); });
    return entries;
}

bool IsOtherFileSystem(int error) {
    return error != 0 && FilePlatform::ErrorName(error).view() == StringView(other_file_system_error);
}

// What the shell's progress view would report for a copy, reported by the copy itself: the
// progress of each chunk on the source, and the guard asked after each.
struct CopyProgressView {
    ProgressInfo & progress;
    CancelInfo & cancel;
};

bool ReportChunk(void * context, unsigned long long copied, unsigned long long total) {
    CopyProgressView & view = *static_cast<CopyProgressView *>(context);
    if (total != 0) {
        view.progress.setProgress(std::min(1.0f, static_cast<float>(copied) / static_cast<float>(total)));
    }
    return !view.cancel.cancelRequested();
}

} // namespace

bool File::copyTo(File const & target, bool overwrite, LogPtr log) const {
    if (!overwrite && target.exists()) {
        return true;
    }
    throwIfNotExist();
    MakeParent(target);
    std::optional<ProgressInfo> progress;
    std::optional<CancelInfo> cancel;
    if (log.hasPipe()) {
        TranslatedString const title = TwoPathText(copy_title_label, copy_title_text, *this, target);
        progress.emplace(title, log, 0.0f);
        cancel.emplace(title, log);
    }
    bool const source_is_folder = isDirectory() || FilePlatform::IsExistingFolder(view());
    int result = 0;
    if (source_is_folder) {
        File destination = AsFolder(target);
        if (!destination.isDrive() && !destination.exists()) {
            destination.create(false);
        }
        File const folder = AsFolder(*this);
        if (destination.view() != folder.view() && destination.view().beginsWith(folder.view())) {
            // A copy into its own subtree would never end.
            Internal::ThrowCopyError(*this, static_cast<int>(destination_subtree_result));
        }
        for (FolderEntry const & entry : Entries(folder)) {
            if (cancel && cancel->cancelRequested()) {
                result = static_cast<int>(user_cancelled_result);
                break;
            }
            File const child = ChildOf(folder, entry, true);
            File child_target(destination);
            child_target.append(child.isDirectory() ? child.getFolderName(true) : child.getPath(NAME | EXTENSION));
            child.copyTo(child_target, overwrite, log);
        }
    } else {
        File destination(target);
        if (destination.isDirectory()) {
            // A file copied into a folder keeps its own name.
            if (!destination.isDrive() && !destination.exists()) {
                destination.create(false);
            }
            destination.append(getPath(NAME | EXTENSION));
        }
        CopyOutcome outcome;
        if (progress) {
            progress->addMessage(progress->index(), Translatable(copy_operation_text), operation_message_level);
            progress->setProgress(0.0f);
            CopyProgressView view_of_copy{*progress, *cancel};
            outcome = FilePlatform::CopyFileThroughTemporary(view(), destination.view(), ReportChunk, &view_of_copy);
        } else {
            outcome = FilePlatform::CopyFileThroughTemporary(view(), destination.view(), nullptr, nullptr);
        }
        result = Internal::CopyEngineResult(outcome);
        destination.invalidateCache();
    }
    target.invalidateCache();
    cancel.reset();
    progress.reset();
    if (result < 0) {
        Internal::ThrowCopyError(*this, result);
    }
    return true;
}

bool File::moveTo(File & target, bool overwrite, LogPtr log, bool is_temp_move) {
    if (view() == target.view()) {
        return true;
    }
    if (!overwrite && target.exists()) {
        return true;
    }
    throwIfNotExist();
    MakeParent(target);
    if (log.hasPipe()) {
        // A temporary write put in place reads to a user as writing, not as a move.
        TranslatedString const message = is_temp_move ? TwoPathText(temp_move_label, temp_move_text, *this, target)
                                                      : TwoPathText(move_label, move_text, *this, target);
        log.addMessage(log.index(), message, operation_message_level);
    }
    // The copy and the delete of a move to another volume report nothing of their own.
    auto copy_then_delete = [&] {
        bool const copied = copyTo(target, overwrite, LogPtr());
        File source(*this);
        if (!isDirectory() && FilePlatform::IsExistingFolder(view()) && !FilePlatform::IsLink(view())) {
            source = AsFolder(*this);
        }
        source.deleteFile(LogPtr());
        invalidateCache();
        target.invalidateCache();
        return copied;
    };
    if (getPath(DRIVE) != target.getPath(DRIVE)) {
        return copy_then_delete();
    }
    if (!target.isDirectory()) {
        // A rename replaces a file target in one step, so only a folder in the way is removed first.
        if (FilePlatform::IsExistingFolder(target.view()) && !FilePlatform::IsLink(target.view())) {
            target.deleteFile(LogPtr());
        }
        int const error = FilePlatform::RenamePath(view(), target.view());
        if (IsOtherFileSystem(error)) {
            return copy_then_delete();
        }
        invalidateCache();
        target.invalidateCache();
        Internal::ThrowSystemError(*this, error);
        return true;
    }
    if (!target.exists()) {
        if (target.isDrive()) {
            throw FileException(target, Translatable(no_drive_label, no_drive_text), FileException::generic_file);
        }
        target.create(false);
    }
    File const folder = AsFolder(*this);
    for (FolderEntry const & entry : Entries(folder)) {
        File child = ChildOf(folder, entry, false);
        File child_target(target);
        child_target.append(child.isDirectory() ? child.getFolderName(true) : child.getPath(NAME | EXTENSION));
        child.moveTo(child_target, overwrite, log, is_temp_move);
    }
    int const error = FilePlatform::RemovePath(folder.view());
    invalidateCache();
    target.invalidateCache();
    Internal::ThrowSystemError(*this, error);
    return true;
}

void File::deleteFile(LogPtr log) {
    if (isDrive()) {
        // Emptying a whole volume is never what a caller of this means.
        throw FileException(*this, FileException::invalid_file);
    }
    int error = 0;
    if (isDirectory() && FilePlatform::IsLink(WithoutSeparator(*this))) {
        error = FilePlatform::RemovePath(WithoutSeparator(*this));
    } else {
        if (isDirectory()) {
            for (FolderEntry const & entry : Entries(*this)) {
                ChildOf(*this, entry, false).deleteFile(log);
            }
        }
        error = FilePlatform::RemovePath(view());
    }
    invalidateCache();
    Internal::ThrowSystemError(*this, error);
}

void File::makeReadOnly(bool read_only) {
    FilePlatform::SetReadOnly(view(), read_only);
    invalidateCache();
}

} // namespace QELTA
