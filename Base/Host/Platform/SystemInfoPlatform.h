// SystemInfoPlatform: the named operations that read what the system says about the machine.
//
// Paths come in the library's form. Thread-safe as the system calls behind them are; nothing
// raises: what can't be read gives the empty text or 0.
#pragma once

#include "Base/Export.h"
#include "Base/Text/Buffer.h"
#include "Base/Text/String.h"
#include "Base/Text/StringView.h"

namespace QELTA {

class QELTA_BASE_EXPORT SystemInfoPlatform {
  public:
    SystemInfoPlatform() = delete;

    // The first `limit` bytes of a file, read to its end: the system's own files report no size.
    static String ReadSmallFile(StringView const & path, unsigned int limit);
    // The last part of the path a link points at; empty for no link.
    static String LinkTargetName(StringView const & path);
    // The names in a folder, unsorted; empty when it can't be read.
    static Buffer<String> FolderNames(StringView const & path);
    // The machine's architecture as the kernel names it ("x86_64").
    static String MachineArchitecture();
    // Bytes of a memory page.
    static unsigned int PageSize() noexcept;
    // The processors that are online.
    static unsigned int OnlineProcessors() noexcept;
};

} // namespace QELTA
