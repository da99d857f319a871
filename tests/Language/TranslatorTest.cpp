// Translator: languages from a folder of settings and translation files, switching the main
// language, number separators, and the registry of available languages.
#include "Base/Language/Translator.h"

#include "Base/Files/FileResource.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Language/TranslatedString.h"

#include "tests/Files/TempFolderFixture.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Testing::Std;

using Testing::WriteAll;

// Two languages in the shipped translations folder of the test's own folders. Each test uses its
// own ids, since the registry of languages lives as long as the process.
class LanguageFilesTest : public Testing::TempFolderTest {
  protected:
    void SetUp() override {
        TempFolderTest::SetUp();
        folder_ = Testing::SystemPath(FileResource::PathToProgramTranslations(false).view());
        std::filesystem::create_directories(folder_);
        ApplicationResource::application_name.set(TranslatedString::DirectString("Translator Test"));
    }

    void TearDown() override {
        Translator::SetMainTranslator(nullptr);
        ApplicationResource::application_name.set(TranslatedString());
        TempFolderTest::TearDown();
    }

    void addLanguage(std::string const & id, std::string const & name, char decimal, char group,
                     std::string const & texts) {
        WriteAll(folder_ + id + ".ini", "translation_id=" + id + "\nlanguage_name=" + name + "\ndecimal_sep=" +
                                            decimal + "\nnumber_sep=" + group + "\nleft_to_right=F\n");
        WriteAll(folder_ + id + ".tr", texts);
    }

    std::string folder_;
};

TEST_F(LanguageFilesTest, SwitchingTheMainLanguageChangesTextsAndSeparators) {
    addLanguage("de_T1", "Deutsch", ',', '.', "hello=Hallo\nfile_[n]=Datei [n]\n");
    addLanguage("fr_T1",
                "Fran\xC3\xA7"
                "ais",
                ',', ' ', "hello=Bonjour\n");
    Translator german(File(String((folder_ + "de_T1.ini").c_str())));
    Translator french(File(String((folder_ + "fr_T1.ini").c_str())));
    EXPECT_EQ(Std(german.name()), "Deutsch");
    EXPECT_FALSE(german.isLeftToRight());

    Translator::SetMainTranslator(&german);
    TranslatedString hello(StringView("{hello}Hello"));
    TranslatedString counted(StringView("{file_[n]}File [n]~[n]~3"));
    TranslatedString untranslated(StringView("{other}Other"));
    EXPECT_EQ(Std(hello.translation()), "Hallo");
    EXPECT_EQ(Std(counted.translation()), "Datei 3");
    EXPECT_EQ(Std(untranslated.translation()), "Other");
    EXPECT_EQ(Std(german.convertNumber(String("1234.5"), true, 2, 2, 0).view()), "1.234,50");

    int heard = 0;
    Translator::MainTranslatorResource().addListener(new BasicResourceListener([&heard] { ++heard; }), true);
    Translator::SetMainTranslator(&french);
    EXPECT_EQ(heard, 1);
    // A shown text keeps its text until it is told to look again; a new one shows the new language.
    EXPECT_EQ(Std(hello.translation()), "Hallo");
    hello.retranslate();
    EXPECT_EQ(Std(hello.translation()), "Bonjour");
    EXPECT_EQ(Std(TranslatedString(StringView("{hello}Hello")).translation()), "Bonjour");
    EXPECT_EQ(Std(french.convertNumber(String("1234.5"), true, 2, 2, 0).view()), "1 234,50");
    // Another language by id, through the registry, leaves the cache alone.
    EXPECT_EQ(Std(hello.translation(String("de_T1")).view()), "Hallo");
    EXPECT_EQ(Std(hello.translation(String("en_US")).view()), "Hello");
    EXPECT_EQ(Std(hello.translation()), "Bonjour");
}

// The first lookups of several threads load the language once, and all of them see it loaded.
TEST_F(LanguageFilesTest, ThreadsLookingUpTogetherLoadOnce) {
    addLanguage("de_T5", "Deutsch", ',', '.', "hello=Hallo\n");
    Translator german(File(String((folder_ + "de_T5.ini").c_str())));
    UUID const hello = Translator::DefaultFastID("hello");
    std::vector<std::thread> threads;
    std::vector<std::string> seen(4);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back([&, i] {
            String out;
            german.append(out, hello, String("Hello"));
            seen[i] = Std(out.view());
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    EXPECT_EQ(seen, std::vector<std::string>(4, "Hallo"));
}

TEST_F(LanguageFilesTest, WithoutAnApplicationNameTextsStayEnglish) {
    addLanguage("de_T2", "Deutsch", ',', '.', "hello=Hallo\n");
    Translator german(File(String((folder_ + "de_T2.ini").c_str())));
    Translator::SetMainTranslator(&german);
    ApplicationResource::application_name.set(TranslatedString());
    EXPECT_EQ(Std(TranslatedString(StringView("{hello}Hello")).translation()), "Hello");
}

TEST_F(LanguageFilesTest, EmptyIdReadsNothing) {
    Translator none;
    String out;
    none.append(out, Translator::DefaultFastID("hello"), String("Hello"));
    EXPECT_EQ(Std(out.view()), "Hello");
    EXPECT_TRUE(none.translatedStrings().isEmpty());
    EXPECT_EQ(Std(none.convertNumber(String("1234.5"), true, 2, 2, 0).view()), "1,234.50");
}

// A font needs the common characters and the language's own words for the angle and length units.
TEST_F(LanguageFilesTest, CommonCharactersEndWithTheLanguagesUnitNames) {
    std::string const degrees = "\xD0\xB3\xD1\x80\xD0\xB0\xD0\xB4\xD1\x83\xD1\x81\xD1\x8B";
    std::string const metres = "\xD0\xBC\xD0\xB5\xD1\x82\xD1\x80\xD1\x8B";
    addLanguage("ru_T6", "Russian", ',', ' ', "degrees=" + degrees + "\nmeters=" + metres + "\n");
    Translator russian(File(String((folder_ + "ru_T6.ini").c_str())));
    std::string const common = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                               "~`!@#$%^&*()-+=<>[]{}|?:\"'\\/.,";
    // Gradians has no translation and stays English.
    EXPECT_EQ(Std(russian.commonCharacters().view()), common + degrees + "gradians" + metres);
}

TEST_F(LanguageFilesTest, AvailableLanguagesAlwaysHoldEnglish) {
    Dictionary<String, Translator> const none = Translator::GetAvailableTranslations(Path("missing/"));
    ASSERT_EQ(none.size(), 1u);
    EXPECT_EQ(Std(none.at(String("en_US")).name().view()), "English");
    addLanguage("de_T3", "Deutsch", ',', '.', "");
    addLanguage("fr_T3", "Francais", ',', ' ', "");
    Dictionary<String, Translator> const found = Translator::GetAvailableTranslations(File());
    EXPECT_EQ(found.size(), 3u);
    EXPECT_EQ(Std(found.at(String("fr_T3")).name().view()), "Francais");
}

TEST_F(LanguageFilesTest, TranslationsCopyAndSave) {
    addLanguage("de_T4", "Deutsch", ',', '.', "hello=Hallo\nbye=Tsch\xC3\xBCss\n");
    Translator german(File(String((folder_ + "de_T4.ini").c_str())));
    // A program's texts make their labels known; a copy can only name the labels that are known.
    Translator::DefaultFastID("hello");
    Translator::DefaultFastID("bye");
    Translator copy;
    copy.setID("xx_T4");
    copy.copyTranslationsFrom(german);
    EXPECT_EQ(copy.translatedStrings().size(), 2u);
    String out;
    copy.append(out, String("Hello"));
    EXPECT_EQ(Std(out.view()), "Hallo");
    File saved = Path("saved.tr");
    copy.saveTranslation(saved);
    std::string const text = Testing::ReadAll(SystemPath("saved.tr"));
    EXPECT_NE(text.find("hello=Hallo\n"), std::string::npos) << text;
    EXPECT_NE(text.find("bye=Tsch\xC3\xBCss\n"), std::string::npos) << text;
}

} // namespace
} // namespace QELTA
