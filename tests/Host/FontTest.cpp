// Fonts: ANSI attributes, the token text both ways, the files found for installed families (the
// DejaVu fonts that scripts/setup installs), fallback by character, the settings file and its
// listeners, and the fonts of formatted log messages.
#include "Base/Host/Font.h"
#include "Base/Host/FontEngine.h"
#include "Base/Logging/LogMessage.h"
#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

std::string Text(Font const & font) {
    StringAllocatingView out;
    StringStream<Font>::toString(font, out);
    return std::string(out.view());
}

Font Read(std::string const & text) {
    Font font;
    StringStream<Font>::fromString(StringView(text), font);
    return font;
}

std::string FileName(Font const & font) {
    return std::string(font.file().getPath(File::NAME | File::EXTENSION));
}

Font Named(char const * name, bool bold = false) {
    Font font;
    font.setName(StringView(name));
    font.setIsBold(bold);
    return font;
}

TEST(FontTest, AnsiCodesSetBoldItalicAndColour) {
    Font start = Named("Base");
    start.setFile(File("fonts\\base.ttf"), 0);
    Font reset = Named("Reset");
    struct Case {
        unsigned int code;
        bool understood;
        RGBColor color;
        bool bold;
        bool italic;
        char const * name;
        bool keeps_file; // a change of the face, or a reset to a font without one, loses it
    } const cases[] = {
        {0, true, RGBColor::ErrorColor(), false, false, "Reset", false},
        {10, true, RGBColor::ErrorColor(), false, false, "Reset", false},
        {1, true, RGBColor::ErrorColor(), true, false, "Base", false},
        {2, true, RGBColor::ErrorColor(), false, false, "Base", true},
        {3, true, RGBColor::ErrorColor(), false, true, "Base", false},
        {31, true, RGBColor(255, 0, 0, 255), false, false, "Base", true},
        {44, true, RGBColor(0, 0, 255, 255), false, false, "Base", true},
        {37, false, RGBColor(170, 170, 170, 255), false, false, "Base", true}, // the grey, yet false
        {47, false, RGBColor(170, 170, 170, 255), false, false, "Base", true},
        {97, true, RGBColor(255, 255, 255, 255), false, false, "Base", true},
        {107, true, RGBColor(255, 255, 255, 255), false, false, "Base", true},
        {38, false, RGBColor::ErrorColor(), false, false, "Base", true},
        {108, false, RGBColor::ErrorColor(), false, false, "Base", true},
        {4294967295u, false, RGBColor::ErrorColor(), false, false, "Base", true},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.code);
        Font font = start;
        EXPECT_EQ(font.executeAnsiiCode(test.code, reset), test.understood);
        EXPECT_EQ(font.color(), test.color);
        EXPECT_EQ(font.isBold(), test.bold);
        EXPECT_EQ(font.isItalic(), test.italic);
        EXPECT_EQ(std::string(font.name().view()), test.name);
        EXPECT_EQ(font.file().isEmpty(), !test.keeps_file);
    }
    Font font = start;
    font.setIsBold(false);
    font.setName(StringView("Base"));
    EXPECT_FALSE(font.file().isEmpty());
}

TEST(FontTest, TokenTextRoundTripsAndTakesCaseFromTheApplicationFont) {
    FontEngine::ResetForTesting();
    Font plain = Named("DejaVu Sans", true);
    plain.setSize(Font::POINT_SIZE, 12.0);
    plain.setColor(RGBColor(255, 0, 0, 255));
    plain.setUnderline(true);
    EXPECT_EQ(Text(plain), "NDejaVu Sans,B,P12,C255,C0,C0,C255,U");
    EXPECT_EQ(Read(Text(plain)), plain);
    EXPECT_EQ(Text(Font()), "");

    Font body = Named("DejaVu Sans");
    body.setSize(Font::POINT_SIZE, 10.0);
    FontEngine::SetApplicationFont("Body", body);
    Font quote = body;
    quote.setApplicationFont("Body");
    quote.setIsItalic(true);
    quote.setSize(Font::POINT_SIZE, 12.5);
    EXPECT_EQ(Text(quote), "ABody,nDejaVu Sans,I,P12.5");
    Font const quote_back = Read(Text(quote));
    EXPECT_EQ(quote_back, quote);
    EXPECT_EQ(std::string(quote_back.applicationFont().view()), "Body");

    // Off where the application font is on is written, so that it reads back off.
    FontEngine::SetApplicationFont("Heading", Named("", true));
    Font light;
    light.setApplicationFont("Heading");
    EXPECT_EQ(Text(light), "AHeading,BF");
    EXPECT_FALSE(Read(Text(light)).isBold());
    FontEngine::ResetForTesting();
}

TEST(FontTest, TextWithUnknownTokensAndAbsurdValuesReadsWhatItCan) {
    Font const font = Read("Zfoo,P1e999,X-3.5,T2e9,C300,C+7,Q+12,Bx,,iT,N,A");
    EXPECT_TRUE(std::isnan(font.size(Font::POINT_SIZE)));
    EXPECT_TRUE(std::isnan(font.size(Font::LETTER_SPACING)));
    EXPECT_EQ(font.size(Font::PIXEL_SIZE), -3.5);
    EXPECT_EQ(font.color(), RGBColor(255, 7, 254, 0)); // the first byte was out of range
    EXPECT_EQ(font.quality(), 12u);
    EXPECT_FALSE(font.isBold());
    EXPECT_TRUE(font.isItalic());
    EXPECT_TRUE(font.name().isEmpty());
    EXPECT_EQ(std::string(font.applicationFont().view()), ""); // "A" with no name: the default font

    Font nowhere = Read("wx,ANowhere,W2");
    EXPECT_EQ(std::string(nowhere.applicationFont().view()), "Nowhere");
    EXPECT_EQ(nowhere.size(Font::WIDTH), 2.0);
}

TEST(FontTest, MessageBlocksCarryTheFontOfTheirCodes) {
    Font base = Named("DejaVu Sans");
    LogMessage const message(StringView("plain\x1b[1;31mbold red\x1b[2mred\x1b[37mgrey\x1b[0mplain again\x1b[3m"), 0);
    TextBlockBuffer const blocks = message.messageBlocks(base);
    ASSERT_EQ(blocks.size(), 5u); // the empty last block is left out
    struct Expected {
        char const * text;
        bool bold;
        RGBColor color;
    } const expected[] = {
        {"plain", false, RGBColor::ErrorColor()},       {"bold red", true, RGBColor(255, 0, 0, 255)},
        {"red", false, RGBColor(255, 0, 0, 255)},       {"grey", false, RGBColor(170, 170, 170, 255)},
        {"plain again", false, RGBColor::ErrorColor()},
    };
    for (unsigned int i = 0; i < blocks.size(); ++i) {
        SCOPED_TRACE(expected[i].text);
        EXPECT_EQ(std::string(blocks[i].text.view()), expected[i].text);
        EXPECT_EQ(blocks[i].font.isBold(), expected[i].bold);
        EXPECT_EQ(blocks[i].font.color(), expected[i].color);
        EXPECT_EQ(std::string(blocks[i].font.name().view()), "DejaVu Sans");
        EXPECT_EQ(blocks[i].flags, 255);
    }
}

class FontEngineTest : public Testing::TempFolderTest {
  protected:
    void SetUp() override {
        Testing::TempFolderTest::SetUp();
        FontEngine::ResetForTesting();
    }
    void TearDown() override {
        FontEngine::ResetForTesting();
        Testing::TempFolderTest::TearDown();
    }
};

TEST_F(FontEngineTest, FindsTheFileOfAnInstalledFamilyAndRefusesAnother) {
    struct Case {
        char const * name;
        bool bold;
        bool found;
        char const * file;
        bool bold_family;
    } const cases[] = {
        {"DejaVu Sans", false, true, "DejaVuSans.ttf", false},
        {"dejavu sans", true, true, "DejaVuSans-Bold.ttf", true},
        {"DejaVu Sans Bold", false, true, "DejaVuSans-Bold.ttf", true}, // named bold: " bold" isn't added
        {"DejaVu Serif", true, true, "DejaVuSerif-Bold.ttf", true},
        {"No Such Family", false, false, "", false},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.name);
        Font font = Named(test.name, test.bold);
        EXPECT_EQ(font.findBestFileIfNeeded(false), test.found);
        EXPECT_EQ(FileName(font), test.file);
        EXPECT_EQ(font.hasBoldFamily(), test.bold_family);
    }
}

TEST_F(FontEngineTest, KnownFontFilesComeFirst) {
    std::filesystem::create_directory(SystemPath("own"));
    Testing::WriteAll(SystemPath("own/Alpha.ttf"), "not really a font");
    Testing::WriteAll(SystemPath("own/Beta.otf"), "nor this");
    FontEngine::PullFontFromFolder(Path("own/"));
    EXPECT_TRUE(FontEngine::HasFontFile("ALPHA"));
    EXPECT_TRUE(FontEngine::HasFontFile("beta"));
    EXPECT_FALSE(FontEngine::HasFontFile("gamma"));

    FontEngine::SetFontFile("DejaVu Sans", Path("own/Beta.otf"), 3);
    Font font = Named("DejaVu Sans");
    EXPECT_TRUE(font.findBestFileIfNeeded(false));
    EXPECT_EQ(FileName(font), "Beta.otf");
    EXPECT_EQ(font.fileIndex(), 3u);

    // A known file that is gone gives way to the installed family; an embedded one needs no disk.
    FontEngine::SetFontFile("DejaVu Sans", Path("own/Gone.ttf"), 0);
    EXPECT_EQ(std::string(FontEngine::TryFontName("DejaVu Sans").file.getPath(File::NAME | File::EXTENSION)),
              "DejaVuSans.ttf");
    FontEngine::SetFontFile("Logo", File("<fonts\\logo.ttf"), 1);
    Font logo = Named("Logo");
    EXPECT_TRUE(logo.findBestFileIfNeeded(false));
    EXPECT_EQ(logo.fileIndex(), 1u);
}

TEST_F(FontEngineTest, FallsBackForACharacterTheFontLacks) {
    Font const serif = Named("DejaVu Serif");
    // The Arabic alef is in DejaVu Sans and DejaVu Sans Mono, not in DejaVu Serif.
    Font const arabic = FontEngine::FindFallbackFont(serif, L'\u0627');
    EXPECT_EQ(std::string(arabic.name().view()).rfind("DejaVu Sans", 0), 0u) << arabic.name().c_str();
    EXPECT_EQ(std::string(FontEngine::FindFallbackFont(serif, L'A').name().view()), "DejaVu Serif");
    // No font draws a character of the last private plane.
    EXPECT_EQ(std::string(FontEngine::FindFallbackFont(serif, static_cast<wchar_t>(0x10FFFD)).name().view()),
              "DejaVu Serif");
}

TEST_F(FontEngineTest, SettingsSurviveASaveAndGarbageKeepsTheFonts) {
    Font title = Named("DejaVu Serif", true);
    title.setSize(Font::POINT_SIZE, 18.0);
    Font body = Named("DejaVu Sans");
    FontEngine::SetApplicationFont("Title", title);
    FontEngine::SetApplicationFont("Body", body);
    FontEngine::SetSettingsFile(Path("fonts.txt"));
    FontEngine::SaveFontSettings();
    EXPECT_EQ(Testing::ReadAll(SystemPath("fonts.txt")), "Body~NDejaVu Sans\nTitle~NDejaVu Serif,B,P18\n");

    FontEngine::SetApplicationFont("Title", Font());
    FontEngine::ReadFontSettings();
    EXPECT_EQ(FontEngine::ApplicationFont("Title"), title);

    Testing::WriteAll(SystemPath("fonts.txt"), "Title~zzz\nBody\n~NX\nBody~\r\nCaption~Nmono,P9\r\n");
    FontEngine::ReadFontSettings();
    EXPECT_EQ(FontEngine::ApplicationFont("Title"), title);
    EXPECT_EQ(FontEngine::ApplicationFont("Body"), body);
    EXPECT_EQ(std::string(FontEngine::ApplicationFont("Caption").name().view()), "mono");

    // Embedded and missing files are not read.
    FontEngine::SetSettingsFile(File("<fonts.txt"));
    FontEngine::ReadFontSettings();
    FontEngine::SetSettingsFile(Path("missing.txt"));
    FontEngine::ReadFontSettings();
    EXPECT_EQ(FontEngine::ApplicationFont("Title"), title);
}

TEST_F(FontEngineTest, ListenersHearTheirFontUntilRemoved) {
    FontEngine::SetApplicationFont("Body", Font());
    std::vector<std::string> heard;
    UUID const id = UUID::CreateUUID();
    FontEngine::AddFontListener("Body", id, [&heard](StringView const & name) { heard.emplace_back(name); });
    FontEngine::SetApplicationFont("Body", Named("DejaVu Sans"));
    FontEngine::SetApplicationFont("Other", Named("DejaVu Sans"));
    EXPECT_EQ(heard, (std::vector<std::string>{"Body"}));
    FontEngine::RemoveFontListener("Body", id);
    FontEngine::SetApplicationFont("Body", Font());
    EXPECT_EQ(heard.size(), 1u);
    EXPECT_DEATH(FontEngine::AddFontListener("Unknown", id, [](StringView const &) {}), "Couldn't find key.");
}

TEST_F(FontEngineTest, ThreadsSetFindAndHearFontsSideBySide) {
    FontEngine::SetApplicationFont("Body", Font());
    std::atomic<int> heard{0};
    FontEngine::AddFontListener("Body", UUID::CreateUUID(), [&heard](StringView const &) { ++heard; });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 50; ++i) {
                Font font = Named(t % 2 == 0 ? "DejaVu Sans" : "DejaVu Serif", i % 2 == 0);
                FontEngine::SetApplicationFont("Body", font);
                FontEngine::SetFontFile("Own " + std::to_string(t), File("<own.ttf"), 0);
                EXPECT_TRUE(FontEngine::HasApplicationFont("Body"));
                EXPECT_TRUE(font.findBestFileIfNeeded(false));
                (void)FontEngine::FindFallbackFont(font, L'\u0627');
            }
        });
    }
    for (std::thread & thread : threads) {
        thread.join();
    }
    EXPECT_EQ(heard.load(), 200);
}

} // namespace
} // namespace QELTA
