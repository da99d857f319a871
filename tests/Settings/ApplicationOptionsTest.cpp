// Application options: global options of two translation units saved, changed and read back,
// defaults, the log listing and the fault of an unknown option.
#include "Base/Settings/ApplicationOptions.h"

#include "Base/Language/Internal/Translatable.h"
#include "Base/Logging/MemoryInfoPipe.h"

#include "tests/Files/TempFolderFixture.h"
#include "tests/Settings/ApplicationOptionsGlobals.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <string>

namespace QELTA {
namespace {

using Testing::Std;

ApplicationOption<bool> proper_shutdown(Internal::Translatable("Application Settings"),
                                        Internal::Translatable("Proper Shutdown"), true,
                                        &ApplicationOptions::UserOptions());

class ApplicationOptionsTest : public Testing::TempFolderTest {
  protected:
    void TearDown() override {
        ApplicationOptions::UserOptions().setToDefaults();
        TempFolderTest::TearDown();
    }
};

TEST_F(ApplicationOptionsTest, OptionsOfTwoUnitsSaveAndReadBackTogether) {
    ApplicationOptions & options = ApplicationOptions::UserOptions();
    proper_shutdown.set(false);
    Testing::user_name.set(String("ada=lovelace"));
    Testing::last_seen.set(Time(2024, 5, 6, 7, 8, 9, false));
    File file = Path("user_settings.ini");
    {
        INIFactory factory;
        options.addToINI(factory);
        factory.writeToAsciiFile(file, false);
    }
    std::string const text = Testing::ReadAll(SystemPath("user_settings.ini"));
    EXPECT_NE(text.find("application_settings-proper_shutdown=F\n"), std::string::npos) << text;
    EXPECT_NE(text.find("test_identity-user_name=ada\\elovelace\n"), std::string::npos) << text;
    EXPECT_NE(text.find("test_identity-last_seen=2024/05/06 07:08:09\n"), std::string::npos) << text;

    options.setToDefaults();
    EXPECT_TRUE(proper_shutdown.value());
    INIFactory factory;
    options.addToINI(factory);
    factory.readAsciiFile(file);
    EXPECT_FALSE(proper_shutdown.value());
    EXPECT_EQ(Std(Testing::user_name.value().view()), "ada=lovelace");
    EXPECT_EQ(Testing::last_seen.value(), Time(2024, 5, 6, 7, 8, 9, false));
}

TEST_F(ApplicationOptionsTest, DefaultsTextsAndTheLog) {
    ApplicationOptions & options = ApplicationOptions::UserOptions();
    int heard = 0;
    proper_shutdown.resource.addListener(new BasicResourceListener([&heard] { ++heard; }), true);
    options.setToDefaults(Internal::Translatable("Application Settings"));
    EXPECT_EQ(heard, 0);

    MemoryInfoPipe pipe;
    LogPtr log(&pipe);
    options.logOptions(log, true);
    EXPECT_TRUE(pipe.messages().isEmpty());

    proper_shutdown.fromString("0");
    EXPECT_FALSE(proper_shutdown.value());
    proper_shutdown.fromString("1");
    EXPECT_TRUE(proper_shutdown.value());
    proper_shutdown.fromString("");
    EXPECT_FALSE(proper_shutdown.value());
    EXPECT_EQ(heard, 3);
    options.logOptions(log, true);
    ASSERT_EQ(pipe.messages().size(), 2u);
    EXPECT_EQ(Std(pipe.messages()[0].rawMessage().view()), "Application Settings------------");
    EXPECT_EQ(Std(pipe.messages()[1].rawMessage().view()), "         Proper Shutdown: F");
    EXPECT_EQ(
        options.getOption(Internal::Translatable("Application Settings"), Internal::Translatable("Proper Shutdown")),
        &proper_shutdown);
}

TEST(ApplicationOptionsDeathTest, UnknownOptionEndsTheProcess) {
    EXPECT_DEATH(ApplicationOptions::UserOptions().getOption(TranslatedString::DirectString("Nobody")),
                 "^Couldn't find key\\.\n");
    EXPECT_DEATH(ApplicationOptions::UserOptions().optionGroup(TranslatedString::DirectString("No Group")),
                 "^Couldn't find key\\.\n");
}

} // namespace
} // namespace QELTA
