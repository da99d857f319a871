// The services File needs from later subsystems, in their present form.
#include "Base/Files/Internal/FileServices.h"

#include "Base/Files/FileResource.h"
#include "Base/Files/Platform/FilePlatform.h"

namespace QELTA::Internal {

FolderVariables FileFolderVariables() {
    FolderVariables variables;
    for (auto const & [key, value] : FileResource::FileEnvVariables()) {
        variables.add(std::pair<String, String>(key, value));
    }
    return variables;
}

String ResolveEnvironmentalVariables(String text) {
    return text;
}

File ProgramTempPath() {
    return FileResource::ProgramTempPath();
}

FileCachedData CachedDataOf(FileAttributes const & attributes) noexcept {
    FileCachedData cache;
    cache.size = attributes.size;
    cache.modified = attributes.modified;
    cache.accessed = attributes.accessed;
    cache.created = attributes.created;
    cache.flags = static_cast<unsigned char>(FileCachedData::TRUSTED | FileCachedData::EXISTS |
                                             (attributes.directory ? FileCachedData::DIRECTORY : 0) |
                                             (attributes.hidden ? FileCachedData::HIDDEN : 0));
    return cache;
}

} // namespace QELTA::Internal
