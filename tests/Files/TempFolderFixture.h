// TempFolderTest: every file test runs inside its own folder made by mkdtemp, with HOME, the XDG
// folders and TMPDIR pointing into it and the machine-wide data folder of FileResource at its
// "machine" folder, so that no test touches the real home, temporary or machine folders.
//
// Not thread-safe: the environment is the process's; set up before a test starts threads.
#pragma once

#include "Base/Files/File.h"
#include "Base/Files/FileResource.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace QELTA::Testing {

// The system's form of a library path.
inline std::string SystemPath(StringView const & path) {
    std::string out(path.data() == nullptr ? "" : path.data(), path.size());
    for (char & c : out) {
        if (c == '\\') {
            c = '/';
        }
    }
    return out;
}

inline std::string ReadAll(std::string const & path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteAll(std::string const & path, std::string const & content) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
}

// Sets an environment variable for its lifetime.
class ScopedVariable {
  public:
    ScopedVariable(char const * name, std::string const & value) : name_(name) {
        if (char const * previous = std::getenv(name)) {
            previous_ = previous;
        }
        setenv(name, value.c_str(), 1);
    }
    ~ScopedVariable() {
        if (previous_) {
            setenv(name_, previous_->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }
    ScopedVariable(ScopedVariable const &) = delete;
    ScopedVariable & operator=(ScopedVariable const &) = delete;

  private:
    char const * name_;
    std::optional<std::string> previous_;
};

class TempFolderTest : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/qelta-files-XXXXXX";
        char const * made = mkdtemp(pattern);
        ASSERT_NE(made, nullptr);
        root_ = made;
        for (char const * folder : {"/home", "/data", "/config", "/cache", "/tmp"}) {
            std::filesystem::create_directory(root_ + folder);
        }
        variables_.emplace_back(std::make_unique<ScopedVariable>("HOME", root_ + "/home"));
        variables_.emplace_back(std::make_unique<ScopedVariable>("XDG_DATA_HOME", root_ + "/data"));
        variables_.emplace_back(std::make_unique<ScopedVariable>("XDG_CONFIG_HOME", root_ + "/config"));
        variables_.emplace_back(std::make_unique<ScopedVariable>("XDG_CACHE_HOME", root_ + "/cache"));
        variables_.emplace_back(std::make_unique<ScopedVariable>("TMPDIR", root_ + "/tmp"));
        FileResource::ResetForTesting(Path("machine/"));
    }

    void TearDown() override {
        FileResource::ResetForTesting(File());
        variables_.clear();
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }

    // A path inside the test folder in the library's form, e.g. Path("a/b.txt").
    File Path(std::string const & relative) const { return File(String(root_ + "/" + relative)); }
    std::string SystemPath(std::string const & relative) const { return root_ + "/" + relative; }
    std::string const & root() const { return root_; }

  private:
    std::string root_;
    std::vector<std::unique_ptr<ScopedVariable>> variables_;
};

} // namespace QELTA::Testing
