// The module registry on modules built with the tests: the host's stage order, the catch-up of a
// late module, stages that raise, "modules.ini" across a save and a read, the module list's
// lines, and the reports for libraries that don't load.
#include "Base/Host/ModuleManager.h"
#include "Base/Failure/Exception.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Host/ModuleResourceManager.h"
#include "Base/Host/Platform/ModulePlatform.h"
#include "tests/Data/Host/ModuleTestLog.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace QELTA {
namespace {

using Testing::ReadAll;
using Testing::TempFolderTest;
using Testing::WriteAll;

constexpr char module_root[] = QELTA_TEST_MODULE_ROOT;

struct Report {
    std::string title;
    std::string message;
};

class ModuleManagerTest : public TempFolderTest {
  protected:
    void SetUp() override {
        TempFolderTest::SetUp();
        ModuleManager::ResetForTesting();
        ModuleManager::SetMainProgramModuleName("HostTest");
        ApplicationResource::username.set(String());
        ApplicationResource::user_email.set(String());
        ModuleTestLogClear();
    }
    void TearDown() override {
        ModuleManager::ResetForTesting();
        TempFolderTest::TearDown();
    }

    static File ModuleFolder() { return File(String(std::string(module_root) + "/Modules/")); }
    static std::string BuiltModule(std::string const & name) {
        return std::string(module_root) + "/Modules/" + name + ".so";
    }
    static std::string Log() { return ModuleTestLogText(); }
    static std::string Arrivals() {
        std::string names;
        for (String const & name : ModuleManager::ordered_modules()) {
            names += (names.empty() ? "" : ",") + std::string(name.view());
        }
        return names;
    }
    static void Find(std::vector<std::string> const & names, File const & folder) {
        Buffer<String> list;
        for (std::string const & name : names) {
            list.add(String(name));
        }
        ModuleManager::FindModules(list, folder);
    }
    void CollectReports() {
        ModuleManager::SetErrorCallback([this](Exception const & error) {
            reports_.push_back({std::string(error.title().englishTranslation().view()),
                                std::string(error.message().englishTranslation().view())});
        });
    }

    std::vector<Report> reports_;
};

std::vector<std::string> SortedLines(std::string const & text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST_F(ModuleManagerTest, HostDrivesEveryStageInOrderOfStagesThenArrival) {
    ModuleManager::FindModules(ModuleFolder());
    ASSERT_EQ(Arrivals(), "Recorder,Partial,Companion");
    // Only the initialisation runs at load; Partial exports none.
    EXPECT_EQ(Log(), "Recorder:InitializeForQELTA\n");
    ModuleTestLogClear();

    int model_token = 0;
    int window_token = 0;
    auto * model = reinterpret_cast<QTModelManager *>(&model_token);
    auto * window = reinterpret_cast<QTWindowManager *>(&window_token);
    for (char const * stage : ModuleStage::startup) {
        if (StringView(stage) == StringView(ModuleStage::setup_ui)) {
            ModuleManager::CallModuleFunction(stage, model, window);
        } else {
            ModuleManager::CallModuleFunction(stage);
        }
    }
    ModuleManager::SetInitialized(model, window);
    ModuleManager::OnExit();

    EXPECT_EQ(Log(), "Recorder:SetupMetatypesForQELTA\n"
                     "Partial:SetupMetatypesForQELTA\n"
                     "Companion:SetupMetatypesForQELTA with its companion\n"
                     "Recorder:RegisterUserSettingsForQELTA\n"
                     "Recorder:SetupFileStructureForQELTA\n"
                     "Recorder:SetupFactoriesForQELTA\n"
                     "Recorder:SetUpdateCheckerForQELTA\n"
                     "Recorder:SetupManualsForQELTA\n"
                     "Recorder:SetupUIThemesForQELTA\n"
                     "Partial:SetupUIThemesForQELTA\n"
                     "Recorder:SetupUIForQELTA\n"
                     "Recorder:OnQELTAExit\n"
                     "Partial:OnQELTAExit\n");
    EXPECT_EQ(ModuleTestLogModelManager(), &model_token);
    EXPECT_EQ(ModuleTestLogWindowManager(), &window_token);
    Module const & recorder = ModuleManager::modules().at(String("Recorder"));
    EXPECT_EQ(recorder.version.view(), StringView("1.2"));
    EXPECT_EQ(recorder.type, Module::UTILITIES);
    EXPECT_TRUE(std::filesystem::exists(SystemPath("data/QELTA/Modules/HostTest/modules.ini")));
}

TEST_F(ModuleManagerTest, ModuleAddedAfterInitialisationCatchesUpAtOnce) {
    Find({"Partial"}, ModuleFolder());
    EXPECT_EQ(Log(), "");
    int model_token = 0;
    int window_token = 0;
    ModuleManager::SetInitialized(reinterpret_cast<QTModelManager *>(&model_token),
                                  reinterpret_cast<QTWindowManager *>(&window_token));

    ModuleManager::AddModule(File(String(BuiltModule("Recorder"))));

    EXPECT_EQ(Log(), "Recorder:InitializeForQELTA\n"
                     "Recorder:SetupMetatypesForQELTA\n"
                     "Recorder:RegisterUserSettingsForQELTA\n"
                     "Recorder:SetupFileStructureForQELTA\n"
                     "Recorder:SetupFactoriesForQELTA\n"
                     "Recorder:SetUpdateCheckerForQELTA\n"
                     "Recorder:SetupManualsForQELTA\n"
                     "Recorder:SetupUIThemesForQELTA\n"
                     "Recorder:SetupUIForQELTA\n");
    EXPECT_EQ(ModuleTestLogModelManager(), &model_token);
    EXPECT_EQ(ModuleTestLogWindowManager(), &window_token);
    EXPECT_EQ(Arrivals(), "Partial,Recorder");
}

TEST_F(ModuleManagerTest, StageThatRaisesGoesToTheCallbackAndTheOthersStillRun) {
    CollectReports();
    Find({"Thrower", "Recorder"}, ModuleFolder());

    ModuleManager::CallModuleFunction(ModuleStage::setup_factories);
    ModuleManager::CallModuleFunction(ModuleStage::setup_manuals);

    EXPECT_EQ(Log(), "Recorder:InitializeForQELTA\n"
                     "Thrower:SetupFactoriesForQELTA\n"
                     "Recorder:SetupFactoriesForQELTA\n"
                     "Thrower:SetupManualsForQELTA\n"
                     "Recorder:SetupManualsForQELTA\n");
    ASSERT_EQ(reports_.size(), 2u);
    EXPECT_EQ(reports_[0].title, "Module load error");
    EXPECT_EQ(reports_[0].message, "factories failed");
    EXPECT_EQ(reports_[1].title, "Manuals");
    EXPECT_EQ(reports_[1].message, "manuals failed");

    // Without a callback the failure reaches the host and stops the stage there.
    ModuleManager::SetErrorCallback({});
    ModuleTestLogClear();
    EXPECT_THROW(ModuleManager::CallModuleFunction(ModuleStage::setup_factories), std::runtime_error);
    EXPECT_EQ(Log(), "Thrower:SetupFactoriesForQELTA\n");
}

TEST_F(ModuleManagerTest, EnabledStateAndUserSurviveSaveAndRead) {
    Find({"Recorder", "Partial"}, ModuleFolder());
    ModuleManager::modules().at(String("Partial")).active = false;
    ApplicationResource::username.set(String("Ann Smith"));
    ApplicationResource::user_email.set(String("ann@example.org"));
    ModuleManager::SaveModuleSettings();

    std::string const settings = SystemPath("data/QELTA/Modules/HostTest/modules.ini");
    std::vector<std::string> const written = {"Partial_enabled=F", "Recorder_enabled=T", "user_email=ann@example.org",
                                              "username=Ann Smith"};
    EXPECT_EQ(SortedLines(ReadAll(settings)), written);

    ModuleManager::ResetForTesting();
    ModuleManager::SetMainProgramModuleName("HostTest");
    ApplicationResource::username.set(String());
    ApplicationResource::user_email.set(String());
    ModuleManager::ReadModuleSettings();
    EXPECT_EQ(ApplicationResource::username.value().view(), StringView("Ann Smith"));
    EXPECT_EQ(ApplicationResource::user_email.value().view(), StringView("ann@example.org"));
    EXPECT_FALSE(ModuleManager::IsModuleActive("Partial"));
    EXPECT_TRUE(ModuleManager::IsModuleActive("Recorder"));
    EXPECT_TRUE(ModuleManager::IsModuleActive("Survey"));
    EXPECT_FALSE(ModuleManager::HasActiveModule("Survey"));

    // The disabled module is loaded and initialised, but no stage of it runs.
    ModuleTestLogClear();
    Find({"Recorder", "Partial"}, ModuleFolder());
    EXPECT_EQ(Arrivals(), "Recorder,Partial");
    EXPECT_FALSE(ModuleManager::HasActiveModule("Partial"));
    EXPECT_TRUE(ModuleManager::HasActiveModule("Recorder"));
    ModuleManager::CallModuleFunction(ModuleStage::setup_metatypes);
    ModuleManager::OnExit();
    EXPECT_EQ(Log(), "Recorder:InitializeForQELTA\n"
                     "Recorder:SetupMetatypesForQELTA\n"
                     "Recorder:OnQELTAExit\n");
    EXPECT_EQ(SortedLines(ReadAll(settings)), written);
}

TEST_F(ModuleManagerTest, SettingsReadAfterLoadingSetTheLoadedModules) {
    Find({"Recorder", "Partial"}, ModuleFolder());
    std::filesystem::create_directories(SystemPath("data/QELTA/Modules/HostTest"));
    WriteAll(SystemPath("data/QELTA/Modules/HostTest/modules.ini"), "Recorder_enabled=f\nPartial_enabled=1\n");
    ModuleManager::ReadModuleSettings();
    EXPECT_FALSE(ModuleManager::HasActiveModule("Recorder"));
    EXPECT_TRUE(ModuleManager::HasActiveModule("Partial"));
}

TEST_F(ModuleManagerTest, ModuleListLoadsOnlyPlainNamesInTheFolder) {
    struct Row {
        std::string list;
        std::string arrivals;
        std::size_t reports;
        char const * title;
    };
    std::string const long_name(5000, 'a');
    Row const rows[] = {
        {"#Recorder\nPartial|anything\n", "Partial", 0, ""},
        {"\"Recorder\"\n\nRecorder\n", "Recorder", 0, ""},
        {"Recorder\r\nPartial\r\n", "Recorder,Partial", 0, ""},
        {"Missing\nPartial", "Partial", 0, ""},
        {"../Modules/Recorder\n/etc/passwd\n..\n.\nsub\\Recorder\n", "", 5, "Module load error"},
        // A path too long for the system raises the file layer's own failure.
        {long_name + "\nPartial\n", "Partial", 1, "File Error"},
        {"\x01\xfe\x7f\xff\nPartial\n", "Partial", 0, ""},
        {"", "", 0, ""},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.list.substr(0, 40));
        ModuleManager::ResetForTesting();
        reports_.clear();
        CollectReports();
        WriteAll(SystemPath("ModuleList"), row.list);
        ModuleManager::FindModules(Path("ModuleList"), ModuleFolder());
        EXPECT_EQ(Arrivals(), row.arrivals);
        EXPECT_EQ(reports_.size(), row.reports);
        for (Report const & report : reports_) {
            EXPECT_EQ(report.title, row.title);
        }
    }
}

TEST_F(ModuleManagerTest, NameWithAZeroByteIsRefused) {
    CollectReports();
    Buffer<String> names;
    names.add(String("Partial\0/../Recorder", 20));
    ModuleManager::FindModules(names, ModuleFolder());
    EXPECT_EQ(Arrivals(), "");
    EXPECT_EQ(reports_.size(), 1u);
}

TEST_F(ModuleManagerTest, FindingTwiceAddsTheFoldersTwiceAndSkipsKnownModules) {
    Find({"Recorder"}, ModuleFolder());
    Find({"Recorder", "Partial"}, ModuleFolder());
    EXPECT_EQ(Arrivals(), "Recorder,Partial");
    EXPECT_EQ(Log(), "Recorder:InitializeForQELTA\n");
    std::string const parent = std::string(module_root) + "/";
    std::vector<std::string> const expected = {parent + "Modules/", parent, parent + "plugins/gstreamer/"};
    ASSERT_EQ(ModuleManager::dll_directories().size(), 6u);
    for (unsigned int i = 0; i < 6; ++i) {
        EXPECT_EQ(Testing::SystemPath(ModuleManager::dll_directories()[i].view()), expected[i % 3]);
    }
}

TEST_F(ModuleManagerTest, MissingLibraryNamesTheFileAndTheLoadersReason) {
    File const ghost = Path("Modules/Ghost.so");
    testing::internal::CaptureStderr();
    try {
        ModuleManager::LoadDynamicLibrary(ghost.view());
        ADD_FAILURE() << "a missing library loaded";
    } catch (Exception const & error) {
        EXPECT_EQ(std::string(error.title().englishTranslation().view()), "Could not load library");
        EXPECT_EQ(std::string(error.message().englishTranslation().view()),
                  "Could not load library " + std::string(ghost.view()) + ". " + SystemPath("Modules/Ghost.so") +
                      ": cannot open shared object file: No such file or directory");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "no imports or failed to read import table\n");
}

TEST_F(ModuleManagerTest, BrokenLibrariesAreReportedAndTheOthersLoad) {
    std::string const recorder = ReadAll(BuiltModule("Recorder"));
    ASSERT_GT(recorder.size(), 64u);
    std::string foreign = recorder;
    foreign[18] = 0x28; // another processor in the ELF header's machine field
    foreign[19] = 0;
    struct Row {
        char const * name;
        std::string bytes;
    };
    Row const rows[] = {
        {"Text", "this is not a library\n"},
        {"Empty", ""},
        {"Foreign", foreign},
        {"Truncated", recorder.substr(0, 200)},
    };
    std::filesystem::create_directories(SystemPath("Modules"));
    std::filesystem::copy_file(BuiltModule("Partial"), SystemPath("Modules/Partial.so"));
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        ModuleManager::ResetForTesting();
        reports_.clear();
        CollectReports();
        WriteAll(SystemPath("Modules/" + std::string(row.name) + ".so"), row.bytes);
        testing::internal::CaptureStderr();
        Find({row.name, "Partial"}, Path("Modules/"));
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(Arrivals(), "Partial");
        ASSERT_EQ(reports_.size(), 1u);
        EXPECT_EQ(reports_[0].title, "Could not load library");
        std::string const library = std::string(Path("Modules/" + std::string(row.name) + ".so").view());
        std::string const prefix = "Could not load library " + library + ". ";
        EXPECT_EQ(reports_[0].message.substr(0, prefix.size()), prefix);
        EXPECT_GT(reports_[0].message.size(), prefix.size()) << "the loader's reason is missing";
    }
}

TEST_F(ModuleManagerTest, MissingCompanionIsNamedRatherThanTheModule) {
    String reason;
    if (void * loaded = ModulePlatform::OpenLibrary(StringView("libCompanionHelper.so"), Buffer<String>(), reason)) {
        ModulePlatform::CloseLibrary(loaded);
        GTEST_SKIP() << "an earlier test of this process loaded the companion";
    }
    std::filesystem::create_directories(SystemPath("Lonely/Modules"));
    std::filesystem::copy_file(BuiltModule("Companion"), SystemPath("Lonely/Modules/Companion.so"));
    CollectReports();
    Find({"Companion"}, Path("Lonely/Modules/"));
    EXPECT_EQ(Arrivals(), "");
    ASSERT_EQ(reports_.size(), 2u);
    EXPECT_EQ(reports_[0].title, "DLL Load Failed");
    EXPECT_EQ(reports_[0].message, "Could not load dll: libCompanionHelper.so\n"
                                   "libCompanionHelper.so: cannot open shared object file: No such file or directory");
    EXPECT_EQ(reports_[1].title, "Could not load library");
    EXPECT_NE(reports_[1].message.find("Companion.so"), std::string::npos);
    EXPECT_NE(reports_[1].message.find("libCompanionHelper.so"), std::string::npos);
}

TEST_F(ModuleManagerTest, DescriptionWithoutLibraryIsNeverCalled) {
    Module const described("ZLib");
    EXPECT_FALSE(described.isValid());
    EXPECT_EQ(described.display_name.englishTranslation().view(), StringView("ZLib"));
    described.callModuleFunction(ModuleStage::setup_factories);
    ModuleManager::AddModule(described);
    ModuleManager::CallModuleFunction(ModuleStage::setup_factories);
    ModuleResourceManager resources;
    ModuleManager::DefineModuleResources("ZLib", &resources);
    EXPECT_TRUE(resources.dependencies.isEmpty());
    EXPECT_EQ(Log(), "");
}

TEST_F(ModuleManagerTest, ModuleDescribesWhatItNeeds) {
    Find({"Recorder"}, ModuleFolder());
    ModuleResourceManager resources;
    ModuleManager::DefineModuleResources("Unknown", &resources);
    EXPECT_TRUE(resources.dependencies.isEmpty());
    ModuleManager::DefineModuleResources("Recorder", &resources);
    ASSERT_EQ(resources.dependencies.size(), 2u);
    EXPECT_EQ(resources.dependencies[0].name.view(), StringView("recorder.dat"));
    EXPECT_EQ(resources.dependencies[0].type, FILE_DEPENDENCY);
    EXPECT_EQ(resources.dependencies[1].name.view(), StringView("Partial"));
    EXPECT_EQ(resources.dependencies[1].type, MODULE_DEPENDENCY);
    EXPECT_TRUE(resources.dependencies[1].neededForOS("windows"));
    EXPECT_FALSE(resources.dependencies[1].neededForOS("android"));
}

} // namespace
} // namespace QELTA
