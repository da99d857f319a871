// Fuzz target: text log files read back. The bytes are the file; ReadLogFile reads it through a
// temporary copy into an in-memory pipe, and every line also goes through the record's stored
// form reader. A truncated, binary or hostile file keeps what parses: no read outside the file,
// no failure but the documented ones, and at most one record for each line with text.
#include "Base/Failure/Exception.h"
#include "Base/Files/File.h"
#include "Base/Logging/AsciiFileOutputStream.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Logging/MemoryInfoPipe.h"
#include "Base/Text/String.h"
#include "fuzz/Support/FuzzInput.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace {

using namespace QELTA;

using Fuzzing::Check;
using Fuzzing::ScratchFile;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    static ScratchFile const file("log", ".txt");
    std::string const & path = file.fill(data, size);
    std::string const bytes(reinterpret_cast<char const *>(data), size);
    std::size_t lines_with_text = 0;
    std::size_t start = 0;
    while (start < bytes.size()) {
        std::size_t end = bytes.find('\n', start);
        if (end == std::string::npos) {
            end = bytes.size();
        }
        std::string_view line(bytes.data() + start, end - start);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (!line.empty()) {
            ++lines_with_text;
        }
        LogMessage record;
        StringStream<LogMessage>::fromString(StringView(line.data(), static_cast<unsigned int>(line.size())), record);
        start = end + 1;
    }

    MemoryInfoPipe pipe;
    try {
        AsciiFileOutputStream::ReadLogFile(LogPtr(&pipe), File(String(path.c_str())));
    } catch (Exception const &) {
        // A file the scanner refuses (too large for its line table) is refused whole.
        return 0;
    }
    Check(pipe.messages().size() <= lines_with_text);
    return 0;
}
