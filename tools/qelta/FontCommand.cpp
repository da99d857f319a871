// qelta font: the file a font resolves to, its token text, and the family that draws each
// character of a text.
#include "tools/qelta/Command.h"

#include "Base/Host/Font.h"
#include "Base/Host/FontEngine.h"
#include "Base/Logging/LogMessage.h"
#include "Base/Text/StringStream.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace QELTA::Tool {
namespace {

// The next code point of UTF-8 text, or the byte itself where the text isn't UTF-8.
char32_t NextCodePoint(std::string_view text, std::size_t & at) {
    unsigned char const lead = static_cast<unsigned char>(text[at]);
    unsigned int const length = lead < 0x80           ? 1
                                : (lead >> 5) == 0x6  ? 2
                                : (lead >> 4) == 0xE  ? 3
                                : (lead >> 3) == 0x1E ? 4
                                                      : 0;
    if (length <= 1 || at + length > text.size()) {
        ++at;
        return lead;
    }
    char32_t value = lead & (0xFF >> (length + 1));
    for (unsigned int i = 1; i < length; ++i) {
        unsigned char const next = static_cast<unsigned char>(text[at + i]);
        if ((next & 0xC0) != 0x80) {
            ++at;
            return lead;
        }
        value = (value << 6) | (next & 0x3F);
    }
    at += length;
    return value;
}

std::string FileText(Font font) {
    if (!font.findBestFileIfNeeded(false)) {
        return "no file found";
    }
    std::string text(NativePath(font.file()).c_str());
    if (font.fileIndex() != 0) {
        text += " (face " + std::to_string(font.fileIndex()) + ")";
    }
    return text;
}

std::string TokenText(Font const & font) {
    StringAllocatingView out;
    StringStream<Font>::toString(font, out);
    return std::string(out.view());
}

struct FontArguments {
    std::string name;
    std::string text;
    bool bold = false;
    bool italic = false;
    bool fallback = false;
};

int RunFont(FontArguments const & arguments) {
    Font font;
    font.setName(StringView(arguments.name));
    font.setIsBold(arguments.bold);
    font.setIsItalic(arguments.italic);
    std::printf("font       %s\n", TokenText(font).c_str());
    bool const found = font.findBestFileIfNeeded(arguments.fallback);
    if (found) {
        std::printf("file       %s", NativePath(font.file()).c_str());
        if (font.fileIndex() != 0) {
            std::printf(" (face %u)", font.fileIndex());
        }
        std::printf("%s%s\n", font.hasBoldFamily() ? ", the bold face itself" : "",
                    font.hasItalicFamily() ? ", the italic face itself" : "");
    } else {
        std::printf("file       none: no installed font, and no font file given, has this family\n");
    }
    std::string_view const text = arguments.text;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const start = at;
        char32_t const character = NextCodePoint(text, at);
        Font const drawing = FontEngine::FindFallbackFont(font, static_cast<wchar_t>(character));
        bool const drawable = drawing.name().view() != font.name().view() ||
                              !FontEngine::FindFallbackFont(Font(), static_cast<wchar_t>(character)).name().isEmpty();
        std::printf("U+%04X %-4s ", static_cast<unsigned int>(character),
                    std::string(text.substr(start, at - start)).c_str());
        if (!drawable) {
            std::printf("no installed font draws it\n");
        } else {
            std::printf("%s  %s\n", drawing.name().c_str(), FileText(drawing).c_str());
        }
    }
    if (!found) {
        std::fflush(stdout);
        std::fprintf(stderr, "qelta font: no font file for the family '%s'\n", arguments.name.c_str());
        return exit_failure;
    }
    return exit_ok;
}

} // namespace

void DemoFont() {
    std::puts("\n== Fonts");
    Font font;
    font.setName("DejaVu Sans");
    font.setIsBold(true);
    font.setSize(Font::POINT_SIZE, 11.0);
    std::printf("The font \"%s\" resolves to %s.\n", TokenText(font).c_str(), FileText(font).c_str());
    Font const serif = [] {
        Font f;
        f.setName("DejaVu Serif");
        return f;
    }();
    Font const arabic = FontEngine::FindFallbackFont(serif, L'\u0627');
    std::printf("DejaVu Serif has no Arabic alef; it falls back to %s.\n", arabic.name().c_str());
    std::puts("A log message's colour codes become fonts, block by block:");
    LogMessage const message(StringView("plain \x1b[1;31mbold red\x1b[0m plain again"), 0);
    for (TextBlock const & block : message.messageBlocks(font)) {
        std::printf("  \"%s\" in %s\n", block.text.c_str(), TokenText(block.font).c_str());
    }
}

void AddFontCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<FontArguments>();
    CLI::App & font = AddCommand(
        qelta, "font", "the file a font resolves to and the family that draws each character of a text",
        "Finds the font file of the family NAME, as the library does for a Font: font files it was given\n"
        "by name first, then the program's own fonts, then the fonts installed on the system. A family\n"
        "counts only when the installed font is that family, never the system's substitute for it. With\n"
        "--bold or --italic the bold or italic face is looked for first (\"NAME bold\"), and a name that\n"
        "says \"bold\" or \"italic\" itself is that face. --fallback tries \"arial\" when NAME isn't found.\n\n"
        "For each character of TEXT it prints the code point, and the installed family that draws it, the\n"
        "family of NAME first when it can, with that family's file.\n\n"
        "Ends with exit code 1 when no file is found for NAME.",
        [arguments] { return RunFont(*arguments); });
    font.add_option("NAME", arguments->name, "the font family, such as \"DejaVu Sans\"")->required();
    font.add_option("TEXT", arguments->text, "characters to find a font for");
    font.add_flag("--bold", arguments->bold, "the bold face");
    font.add_flag("--italic", arguments->italic, "the italic face");
    font.add_flag("--fallback", arguments->fallback, "try \"arial\" when NAME isn't found");
}

} // namespace QELTA::Tool
