// Fuzz target: the readers of typed text that other modules feed with user and file input. The
// bytes are split at the first NUL into a format and a text; the time reader and writer run on
// that pair, and the text alone goes through the span, UUID, angle, unit, log record, file cache,
// path, translated text and password readers, whose results are printed again. Nothing may read
// outside its text, loop forever or raise anything but the time reader's format error and the
// path reader's FileException.
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Files/FileException.h"
#include "Base/Files/FileResource.h"
#include "Base/Geometry/Angle.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/PasswordString.h"
#include "Base/Text/String.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/UUID.h"
#include "Base/Time/Time.h"
#include "Base/Time/TimeSpan.h"
#include "Base/Units/Unit.h"

#include <cstdint>
#include <cstring>

namespace {

using namespace QELTA;

TranslatedString Plain(char const * text) {
    return TranslatedString::DirectString(text);
}

template <class T>
void ReadAndPrint(StringView const & text) {
    T value{};
    StringStream<T>::fromString(text, value);
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
}

void Units(StringView const & text) {
    static ScaledUnit const foot{"foot", Plain("Foot"), Plain("ft"), 3.280839895013123};
    static ScaledOffsetUnit const fahrenheit{"fahrenheit", Plain("Fahrenheit"), Plain("F"), 1.8, 32.0};
    for (Unit const * unit : {static_cast<Unit const *>(&foot), static_cast<Unit const *>(&fahrenheit)}) {
        for (std::uint8_t axis = 0; axis < 3; ++axis) {
            double const value = unit->convertFromString(text, axis);
            (void)unit->convertToString(value, true, 2, 6, 3, true, axis);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    if (size > 4096) {
        return 0;
    }
    auto const * bytes = reinterpret_cast<char const *>(data);
    auto const * const split = static_cast<char const *>(std::memchr(bytes, 0, size));
    std::size_t const format_size = split == nullptr ? 0 : static_cast<std::size_t>(split - bytes);
    std::size_t const text_start = split == nullptr ? 0 : format_size + 1;
    // Owned copies, so that a reader that looks one byte too far meets the sanitizer.
    String const format(StringView(bytes, static_cast<unsigned int>(format_size)));
    String const text(StringView(bytes + text_start, static_cast<unsigned int>(size - text_start)));

    for (bool local : {false, true}) {
        Time time;
        try {
            time.setTimeFromString(text.view(), local, format.view());
        } catch (Exception const &) {
            // The format error is the reader's answer to bad text.
        }
        StringAllocatingView const written = time.getAsString(local, format.view());
        (void)written;
    }
    TimeSpan span(1234567890123ll);
    (void)span.getTimeString(format.view());

    // A stored time, and the start of a stored span, raise the time reader's format error.
    try {
        ReadAndPrint<Time>(text.view());
    } catch (Exception const &) {
    }
    try {
        ReadAndPrint<TimeSpan>(text.view());
    } catch (Exception const &) {
    }
    ReadAndPrint<UUID>(text.view());
    ReadAndPrint<Angle<int>>(text.view());
    ReadAndPrint<Angle<double>>(text.view());
    Units(text.view());
    ReadAndPrint<LogMessage>(text.view());
    ReadAndPrint<FileCachedData>(text.view());
    ReadAndPrint<FileResource::ProgramFileVars>(text.view());
    ReadAndPrint<TranslatedString>(text.view());
    ReadAndPrint<PasswordString::Strength>(text.view());
    try {
        ReadAndPrint<File>(text.view());
    } catch (FileException const &) {
        // A text too long for a path.
    }
    ReadAndPrint<PasswordString>(text.view());
    PasswordString const password = PasswordString::Encode(text.view(), format.view());
    (void)password.passwordStrength(format.view());
    return 0;
}
