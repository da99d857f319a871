// What a module needs: where a need applies, the lists of keys, firewall openings in their text
// form, and the module types in theirs.
#include "Base/Host/ModuleResourceManager.h"
#include "Base/Host/Module.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

namespace QELTA {
namespace {

TEST(ModuleConfigurationTest, NewConfigurationAppliesEverywhere) {
    ModuleConfiguration const configuration;
    EXPECT_TRUE(configuration.neededForOS("windows"));
    EXPECT_TRUE(configuration.neededForConfig("release"));
    EXPECT_TRUE(configuration.neededForPlatform("x64"));
    // The running system's key stands outside the five of `all`.
    EXPECT_FALSE(configuration.neededForOS(OSType::current));
}

TEST(ModuleConfigurationTest, NeedIsAPlainSearchInTheList) {
    struct Row {
        char const * list;
        char const * value;
        bool needed;
    };
    Row const rows[] = {
        {"x86|x64", "x6", true}, {"x86|x64", "", true}, {"x86|x64", "arm64", false},
        {"", "", true},          {"", "x86", false},    {"x86|x64", "86|x", true},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(std::string(row.list) + " / " + row.value);
        ModuleConfiguration const configuration(row.list, row.list, row.list);
        EXPECT_EQ(configuration.neededForPlatform(row.value), row.needed);
        EXPECT_EQ(configuration.neededForOS(row.value), row.needed);
        EXPECT_EQ(configuration.neededForConfig(row.value), row.needed);
    }
}

TEST(ModuleConfigurationTest, CombineAndRemoveWorkOnItems) {
    EXPECT_EQ(ModuleConfiguration::Combine({OSType::windows, OSType::ios}).view(), StringView("windows|ios"));
    EXPECT_EQ(ModuleConfiguration::Combine({}).view(), StringView(""));
    struct Row {
        char const * list;
        std::initializer_list<StringView> removed;
        char const * left;
    };
    Row const rows[] = {
        {"windows|android|macx|ios|wasm", {"android", "wasm"}, "windows|macx|ios"},
        {"debug|release", {"profile"}, "debug|release"},
        {"x86|x64", {"x6"}, "x86|x64"},
        {"x86|x64", {"x86", "x64"}, ""},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.list);
        String list(row.list);
        EXPECT_EQ(ModuleConfiguration::Remove(list, row.removed).view(), StringView(row.left));
        EXPECT_EQ(list.view(), StringView(row.left));
    }
}

TEST(ModuleDependencyTest, FirewallOpeningRoundTripsThroughItsText) {
    FireWallException opening;
    opening.protocol = "udp";
    opening.profile = "private";
    opening.address = "10.0.0.1";
    opening.port = 8080;
    opening.enabled = false;
    ModuleDependency const dependency(opening, OSType::windows, ConfigType::all, PlatformType::x64);
    EXPECT_EQ(dependency.type, FIREWALL_DEPENDENCY);
    EXPECT_EQ(dependency.name.view(), StringView("udp|private|10.0.0.1|8080|F"));
    FireWallException const back = dependency.getAsFirewallException();
    EXPECT_EQ(back.protocol.view(), StringView("udp"));
    EXPECT_EQ(back.profile.view(), StringView("private"));
    EXPECT_EQ(back.address.view(), StringView("10.0.0.1"));
    EXPECT_EQ(back.port, 8080);
    EXPECT_FALSE(back.enabled);
    EXPECT_EQ(ModuleDependency(FireWallException(), "", "", "").name.view(), StringView("tcp|domain|any|-1|T"));
}

TEST(ModuleDependencyTest, ShortFirewallTextKeepsDefaultsButIsDisabled) {
    ModuleDependency const dependency(FIREWALL_DEPENDENCY, "udp|public", OSType::all, ConfigType::all,
                                      PlatformType::all);
    FireWallException const opening = dependency.getAsFirewallException();
    EXPECT_EQ(opening.protocol.view(), StringView("udp"));
    EXPECT_EQ(opening.profile.view(), StringView("public"));
    EXPECT_EQ(opening.address.view(), StringView("any"));
    EXPECT_EQ(opening.port, -1);
    EXPECT_FALSE(opening.enabled);
}

TEST(ModuleResourceManagerTest, EachKindIsAppendedInOrder) {
    ModuleResourceManager manager;
    manager.addFileDependency("data/a.bin");
    manager.addModuleDependency("Survey", OSType::android, ConfigType::debug, PlatformType::arm64);
    manager.addInstallExeDependency("setup.exe", OSType::windows);
    manager.addDependency(static_cast<DependencyType>(7), "other");
    struct Row {
        char const * name;
        DependencyType type;
        char const * os;
    };
    Row const rows[] = {
        {"data/a.bin", FILE_DEPENDENCY, "windows|android|macx|ios|wasm"},
        {"Survey", MODULE_DEPENDENCY, "android"},
        {"setup.exe", INSTALLER_DEPENDENCY, "windows"},
        {"other", static_cast<DependencyType>(7), "windows|android|macx|ios|wasm"},
    };
    ASSERT_EQ(manager.dependencies.size(), 4u);
    for (unsigned int i = 0; i < 4; ++i) {
        SCOPED_TRACE(rows[i].name);
        EXPECT_EQ(manager.dependencies[i].name.view(), StringView(rows[i].name));
        EXPECT_EQ(manager.dependencies[i].type, rows[i].type);
        EXPECT_EQ(manager.dependencies[i].os.view(), StringView(rows[i].os));
    }
    EXPECT_TRUE(manager.dependencies[1].neededForConfig("debug"));
    EXPECT_FALSE(manager.dependencies[1].neededForConfig("release"));
}

TEST(ModuleTypeTest, LabelsRoundTripAndOtherTextLeavesTheValue) {
    struct Row {
        Module::ModuleType type;
        char const * label;
    };
    Row const rows[] = {{Module::APPLICATIONS, "Applications"},
                        {Module::UTILITIES, "Utilities"},
                        {Module::LIBRARIES, "Libraries"},
                        {Module::GENERAL, "General"}};
    for (Row const & row : rows) {
        SCOPED_TRACE(row.label);
        StringAllocatingView text;
        StringStream<Module::ModuleType>::toString(row.type, text);
        EXPECT_EQ(text.view(), StringView(row.label));
        Module::ModuleType back = row.type == Module::GENERAL ? Module::APPLICATIONS : Module::GENERAL;
        StringStream<Module::ModuleType>::fromString(StringView(row.label), back);
        EXPECT_EQ(back, row.type);
        TranslatedString shown;
        StringStream<Module::ModuleType>::toDisplayString(row.type, shown);
        EXPECT_EQ(shown.englishTranslation().view(), StringView(row.label));
    }
    Module::ModuleType value = Module::LIBRARIES;
    for (char const * other : {"general", "Tools", ""}) {
        StringStream<Module::ModuleType>::fromString(StringView(other), value);
        EXPECT_EQ(value, Module::LIBRARIES) << other;
    }
    EXPECT_EQ(Module().type, Module::GENERAL);
}

} // namespace
} // namespace QELTA
