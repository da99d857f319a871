// FuzzInput: what the fuzz targets share to hand their bytes to a reader and check its answer.
//
// Each object belongs to the one target that made it; nothing here is thread-safe, as a fuzz
// target runs one input at a time. A failed check, and a scratch file or folder that cannot be
// written or made, end the process with std::abort, which both libFuzzer and the corpus replay
// report as a fault.
#pragma once

#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"
#include "Base/Text/StringView.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

namespace QELTA::Fuzzing {

inline void Check(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// The bytes copied into a heap block of exactly their size, so that a reader that looks one byte
// too far meets the sanitizer. The view has nothing behind it, not even a terminating NUL.
class ExactCopy {
  public:
    ExactCopy(std::uint8_t const * data, std::size_t size)
        : bytes_(new char[size == 0 ? 1 : size]), size_(static_cast<unsigned int>(size)) {
        if (size != 0) {
            std::memcpy(bytes_.get(), data, size);
        }
    }
    StringView view() const { return StringView(bytes_.get(), size_); }

  private:
    std::unique_ptr<char[]> bytes_;
    unsigned int size_;
};

// Reads `text` into `value`, prints `value` and reads the print into `again`, which must then be
// `same(value, again)`. `again` starts as the caller gives it, apart from `value`, so that a
// reader that leaves its target untouched cannot pass for one that read the print.
template <class T, class Same>
void CheckReadsBack(StringView const & text, T & value, T again, Same const & same) {
    StringStream<T>::fromString(text, value);
    StringAllocatingView printed;
    StringStream<T>::toString(value, printed);
    StringStream<T>::fromString(printed.view(), again);
    Check(same(value, again));
}

// Makes the file at `path` hold exactly these bytes.
inline void WriteFile(std::string const & path, std::uint8_t const * data, std::size_t size) {
    std::FILE * const out = std::fopen(path.c_str(), "wb");
    Check(out != nullptr);
    Check(size == 0 || std::fwrite(data, 1, size, out) == size);
    Check(std::fclose(out) == 0);
}

// A fresh name "qelta-<name>-fuzz-<random><extension>", so that parallel runs keep apart, in the
// memory-backed folder where there is one: rewriting a file on a disk for every input makes the
// targets several times slower.
inline std::filesystem::path ScratchPath(std::string_view name, std::string_view extension) {
    std::error_code ignored;
    std::filesystem::path const folder =
        std::filesystem::is_directory("/dev/shm", ignored) ? "/dev/shm" : std::filesystem::temp_directory_path();
    return folder /
           ("qelta-" + std::string(name) + "-fuzz-" + std::to_string(std::random_device()()) + std::string(extension));
}

// A file for the inputs of one process, at a ScratchPath and removed when the process ends; make
// it a function-local static.
class ScratchFile {
  public:
    ScratchFile(std::string_view name, std::string_view extension) : path_(ScratchPath(name, extension)) {}
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
    ScratchFile(ScratchFile const &) = delete;
    ScratchFile & operator=(ScratchFile const &) = delete;

    std::string const & path() const { return path_.native(); }

    // Holds exactly these bytes afterwards.
    std::string const & fill(std::uint8_t const * data, std::size_t size) const {
        WriteFile(path(), data, size);
        return path();
    }

  private:
    std::filesystem::path path_;
};

// A folder for the files of one process, made at a ScratchPath without an extension and removed
// with all it holds when the process ends; make it a function-local static.
class ScratchFolder {
  public:
    explicit ScratchFolder(std::string_view name) : path_(ScratchPath(name, "")) {
        std::error_code failed;
        Check(std::filesystem::create_directory(path_, failed));
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(ScratchFolder const &) = delete;
    ScratchFolder & operator=(ScratchFolder const &) = delete;

    // Without a trailing "/".
    std::string const & path() const { return path_.native(); }

    // The path of the file `name` in the folder, which holds exactly these bytes afterwards.
    std::string fill(std::string_view name, std::uint8_t const * data, std::size_t size) const {
        std::string file = (path_ / name).native();
        WriteFile(file, data, size);
        return file;
    }

  private:
    std::filesystem::path path_;
};

} // namespace QELTA::Fuzzing
