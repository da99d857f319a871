// The loader's platform operations: dependency names read from ELF files, whole, cut short and
// damaged, and opening with the loader's reason.
#include "Base/Host/Platform/ModulePlatform.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace QELTA {
namespace {

constexpr char module_root[] = QELTA_TEST_MODULE_ROOT;

std::vector<std::string> Names(Buffer<String> const & names) {
    std::vector<std::string> out;
    for (String const & name : names) {
        out.emplace_back(name.view());
    }
    return out;
}

std::vector<std::string> NamesOf(std::string const & bytes) {
    return Names(
        ModulePlatform::ListDirectDependencies(reinterpret_cast<unsigned char const *>(bytes.data()), bytes.size()));
}

std::string Companion() {
    return Testing::ReadAll(std::string(module_root) + "/Modules/Companion.so");
}

TEST(ModulePlatformTest, ListsTheLibrariesAModuleNames) {
    std::vector<std::string> const names =
        Names(ModulePlatform::ListDirectDependencies(StringView(std::string(module_root) + "/Modules/Companion.so")));
    for (char const * expected : {"libCompanionHelper.so", "libQeltaModuleTestLog.so", "libQELTABase.so.0.1"}) {
        EXPECT_EQ(std::count(names.begin(), names.end(), expected), 1) << expected;
    }
    EXPECT_EQ(NamesOf(Companion()), names);
}

// The names `readelf -d` prints as shared libraries; nullopt without readelf.
std::optional<std::vector<std::string>> ReadelfNames(std::string const & path) {
    std::string const command = "readelf -d '" + path + "' 2>/dev/null";
    std::FILE * pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return std::nullopt;
    }
    std::string output;
    char chunk[4096];
    for (std::size_t got; (got = std::fread(chunk, 1, sizeof chunk, pipe)) != 0;) {
        output.append(chunk, got);
    }
    if (pclose(pipe) != 0) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    std::string const marker = "Shared library: [";
    for (std::size_t at = output.find(marker); at != std::string::npos; at = output.find(marker, at)) {
        at += marker.size();
        names.push_back(output.substr(at, output.find(']', at) - at));
    }
    return names;
}

TEST(ModulePlatformTest, NamesAgreeWithReadelf) {
    std::string const modules = std::string(module_root) + "/Modules/";
    std::string const corpus = std::string(QELTA_TEST_SOURCE_ROOT) + "/fuzz/corpus/ModuleDependencies/";
    for (std::string const & path : {modules + "Recorder.so", modules + "Companion.so", modules + "Thrower.so",
                                     corpus + "elf64-two-names", corpus + "elf32-one-name"}) {
        SCOPED_TRACE(path);
        std::optional<std::vector<std::string>> const expected = ReadelfNames(path);
        if (!expected) {
            GTEST_SKIP() << "readelf is not installed";
        }
        ASSERT_FALSE(expected->empty());
        EXPECT_EQ(Names(ModulePlatform::ListDirectDependencies(StringView(path))), *expected);
    }
}

TEST(ModulePlatformTest, FilesThatAreNoLibrariesListNothing) {
    struct Row {
        char const * label;
        std::string bytes;
    };
    std::string wrong_class = Companion().substr(0, 64);
    wrong_class[4] = 7;
    Row const rows[] = {
        {"empty", ""},
        {"text", "#!/bin/sh\necho not a library\n"},
        {"magic only", "\x7f"
                       "ELF"},
        {"unknown class", wrong_class},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.label);
        EXPECT_TRUE(NamesOf(row.bytes).empty());
    }
    EXPECT_TRUE(ModulePlatform::ListDirectDependencies(StringView("/no/such/library.so")).isEmpty());
    EXPECT_TRUE(ModulePlatform::ListDirectDependencies(StringView("/")).isEmpty());
}

TEST(ModulePlatformTest, OpeningFailsWithTheLoadersReason) {
    String reason;
    EXPECT_EQ(ModulePlatform::OpenLibrary(StringView("\\no\\such\\library.so"), Buffer<String>(), reason), nullptr);
    EXPECT_EQ(reason.view(),
              StringView("/no/such/library.so: cannot open shared object file: No such file or directory"));
    EXPECT_EQ(ModulePlatform::FindSymbol(nullptr, StringView("malloc")), nullptr);
}

TEST(ModulePlatformTest, OpenedLibraryGivesItsSymbolsOnly) {
    String reason;
    void * library = ModulePlatform::OpenLibrary(StringView(std::string(module_root) + "/Modules/Partial.so"),
                                                 Buffer<String>(), reason);
    ASSERT_NE(library, nullptr) << reason.c_str();
    EXPECT_NE(ModulePlatform::FindSymbol(library, StringView("PartialOnQELTAExit")), nullptr);
    EXPECT_EQ(ModulePlatform::FindSymbol(library, StringView("PartialSetupUIForQELTA")), nullptr);
    EXPECT_EQ(ModulePlatform::FindSymbol(library, StringView("Partial\0OnQELTAExit", 19)), nullptr);
    ModulePlatform::CloseLibrary(library);
}

} // namespace
} // namespace QELTA
