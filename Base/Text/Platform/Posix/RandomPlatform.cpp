// Random bytes on Linux: getrandom(), with /dev/urandom when the call is not available.
#include "Base/Text/Platform/RandomPlatform.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/types.h>
#include <unistd.h>

namespace QELTA {

namespace {

// Reads what getrandom() gives; returns the number of bytes filled before a lasting failure.
std::size_t FillFromCall(unsigned char * bytes, std::size_t size) noexcept {
    std::size_t done = 0;
    while (done < size) {
        ssize_t const got = getrandom(bytes + done, size - done, 0);
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    return done;
}

void FillFromDevice(unsigned char * bytes, std::size_t size) noexcept {
    int const file = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return;
    }
    std::size_t done = 0;
    while (done < size) {
        ssize_t const got = read(file, bytes + done, size - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        done += static_cast<std::size_t>(got);
    }
    close(file);
}

} // namespace

void RandomPlatform::FillRandom(unsigned char * bytes, std::size_t size) noexcept {
    std::size_t const done = FillFromCall(bytes, size);
    if (done < size) {
        FillFromDevice(bytes + done, size - done);
    }
}

} // namespace QELTA
