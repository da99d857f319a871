// Replays fuzz inputs without libFuzzer: every file named on the command line, or found in a
// folder named there, goes once through LLVMFuzzerTestOneInput. A crash or sanitizer report fails.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size);

namespace {

int Replay(std::filesystem::path const & file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", file.c_str());
        return 1;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const *>(bytes.data()), bytes.size());
    return 0;
}

} // namespace

int main(int argc, char ** argv) {
    int failures = 0;
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        std::filesystem::path const path(argv[i]);
        if (std::filesystem::is_directory(path)) {
            for (auto const & entry : std::filesystem::recursive_directory_iterator(path)) {
                if (entry.is_regular_file()) {
                    failures += Replay(entry.path());
                    ++count;
                }
            }
        } else {
            failures += Replay(path);
            ++count;
        }
    }
    std::printf("replayed %zu inputs\n", count);
    return failures == 0 && count != 0 ? 0 : 1;
}
