// The console on Linux: isatty on the stream's descriptor.
#include "Base/Logging/Platform/ConsolePlatform.h"

#include <unistd.h>

namespace QELTA {

bool ConsolePlatform::IsTerminal(std::FILE * stream) noexcept {
    if (stream == nullptr) {
        return false;
    }
    int const descriptor = fileno(stream);
    return descriptor >= 0 && isatty(descriptor) == 1;
}

} // namespace QELTA
