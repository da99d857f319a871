// qelta colour: a colour in every model with its nearest name, the design palettes, random colours.
#include "tools/qelta/Command.h"

#include "Base/Color/ACIColor.h"
#include "Base/Color/ColorPalettes.h"
#include "Base/Color/HSBColor.h"
#include "Base/Color/HSLColor.h"
#include "Base/Color/LABColor.h"
#include "Base/Color/RGBColor.h"
#include "Base/Color/RandomColorGenerator.h"
#include "Base/Color/XYZColor.h"
#include "Base/Text/StringAllocatingView.h"
#include "Base/Text/StringStream.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace QELTA::Tool {
namespace {

using Palette = Buffer<RGBColor> (*)();

// The palettes by the names the command takes, in the order of the help.
struct NamedPalette {
    char const * name;
    Palette palette;
};
constexpr NamedPalette palettes[] = {
    {"rainbow", ColorPalettes::RainbowPalette},
    {"strata", ColorPalettes::StrataPalette},
    {"rainbow-contrast", ColorPalettes::RainbowContrastPalette},
    {"earth-mineral", ColorPalettes::EarthMineralPalette},
    {"blueprint", ColorPalettes::BlueprintPalette},
    {"midnight-signal", ColorPalettes::MidnightSignalPalette},
    {"tactical-field", ColorPalettes::TacticalFieldPalette},
    {"monochrome-accent", ColorPalettes::MonochromeAccentPalette},
    {"sediment-layer", ColorPalettes::SedimentLayerPalette},
    {"safety-glow", ColorPalettes::SafetyGlowPalette},
    {"energy-flow", ColorPalettes::EnergyFlowPalette},
    {"ocean-beacon", ColorPalettes::OceanBeaconPalette},
    {"aero-system", ColorPalettes::AeroSystemPalette},
    {"vital-scan", ColorPalettes::VitalScanPalette},
    {"urban-structure", ColorPalettes::UrbanStructurePalette},
};

std::map<std::string, RandomColorOptions::HueStyle> const hue_styles = {
    {"any", RandomColorOptions::ANY},       {"monochrome", RandomColorOptions::MONOCHROME},
    {"red", RandomColorOptions::RED},       {"orange", RandomColorOptions::ORANGE},
    {"yellow", RandomColorOptions::YELLOW}, {"green", RandomColorOptions::GREEN},
    {"blue", RandomColorOptions::BLUE},     {"purple", RandomColorOptions::PURPLE},
    {"pink", RandomColorOptions::PINK},
};

std::map<std::string, RandomColorOptions::LuminosityStyle> const luminosity_styles = {
    {"random", RandomColorOptions::RANDOM},
    {"bright", RandomColorOptions::BRIGHT},
    {"light", RandomColorOptions::LIGHT},
    {"dark", RandomColorOptions::DARK},
};

constexpr char colour_forms[] = "#RRGGBB, #AARRGGBB, red,green,blue[,alpha], an index from 0 to 255 or a colour name";

template <class T>
String Text(T const & value) {
    StringAllocatingView out;
    StringStream<T>::toString(value, out);
    return String(out.view());
}

std::string English(TranslatedString const & text) {
    return std::string(text.englishTranslation().c_str());
}

// Letters and digits only, in lower case: "Pure  Red" and "pure red" are the same name.
std::string NameKey(std::string_view name) {
    std::string key;
    for (char const c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            key += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return key;
}

bool IsHex(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

bool IsDecimal(std::string_view text, std::size_t max_digits) {
    return !text.empty() && text.size() <= max_digits && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// The byte of a channel whose L*a*b* is known: the registered colours are opaque bytes, so the
// colour whose L*a*b* is exactly `lab` is found near the inverse of the curves, or else the nearest.
RGBColor BytesOf(LABColor const & lab) {
    XYZColor const xyz(lab);
    double const x = xyz.x;
    double const y = xyz.y;
    double const z = xyz.z;
    double const linear[3] = {3.2406 * x - 1.5372 * y - 0.4986 * z, -0.9689 * x + 1.8758 * y + 0.0415 * z,
                              0.0557 * x - 0.2040 * y + 1.0570 * z};
    int guess[3];
    for (int i = 0; i < 3; ++i) {
        double const c = linear[i] <= 0.04045 / 12.92 ? linear[i] * 12.92
                                                      : 1.055 * std::pow(std::max(linear[i], 0.0), 1.0 / 2.2) - 0.055;
        guess[i] = static_cast<int>(std::lround(c * 255.0));
    }
    RGBColor best;
    float best_distance = -1.0f;
    for (int r = guess[0] - 2; r <= guess[0] + 2; ++r) {
        for (int g = guess[1] - 2; g <= guess[1] + 2; ++g) {
            for (int b = guess[2] - 2; b <= guess[2] + 2; ++b) {
                if (r < 0 || r > 255 || g < 0 || g > 255 || b < 0 || b > 255) {
                    continue;
                }
                RGBColor const candidate(r, g, b);
                LABColor const other{XYZColor(candidate)};
                float const distance = (other.l - lab.l) * (other.l - lab.l) + (other.a - lab.a) * (other.a - lab.a) +
                                       (other.b - lab.b) * (other.b - lab.b);
                if (best_distance < 0.0f || distance < best_distance) {
                    best = candidate;
                    best_distance = distance;
                }
            }
        }
    }
    return best;
}

// A colour in one of the forms the command takes; false when the text is none of them.
bool ReadColour(std::string const & text, RGBColor & color) {
    std::string_view const digits = text.size() > 1 && text[0] == '#' ? std::string_view(text).substr(1) : text;
    if (IsHex(digits) && (digits.size() == 6 || digits.size() == 8) &&
        (digits.size() != text.size() || !IsDecimal(digits, 3))) {
        color = RGBColor::FromHexARGB(StringView(text));
        return true;
    }
    if (IsDecimal(text, 3)) {
        unsigned int index = 0;
        StringStream<unsigned int>::fromString(StringView(text), index);
        if (index > 255) {
            return false;
        }
        color = ACIColor(static_cast<unsigned char>(index)).getRBGAColor();
        return true;
    }
    if (text.find(',') != std::string::npos) {
        std::size_t fields = 0;
        std::size_t start = 0;
        for (;;) {
            std::size_t const end = text.find(',', start);
            std::string_view const field = std::string_view(text).substr(start, end - start);
            unsigned int value = 0;
            if (!IsDecimal(field, 3) ||
                (StringStream<unsigned int>::fromString(StringView(field), value), value > 255)) {
                return false;
            }
            ++fields;
            if (end == std::string::npos) {
                break;
            }
            start = end + 1;
        }
        if (fields != 3 && fields != 4) {
            return false;
        }
        StringStream<RGBColor>::fromString(StringView(text), color);
        return true;
    }
    std::string const key = NameKey(text);
    for (auto const & [lab, name] : LABColor::RALClassicColors()) {
        if (!key.empty() && NameKey(English(name)) == key) {
            color = BytesOf(lab);
            return true;
        }
    }
    return false;
}

bool OnTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

// A block in the colour itself, in 24-bit terminal colour, when `swatch`; else nothing.
std::string Swatch(RGBColor const & color, bool swatch) {
    if (!swatch) {
        return std::string();
    }
    char block[64];
    std::snprintf(block, sizeof(block), "\x1b[48;2;%d;%d;%dm      \x1b[0m ", color.red, color.green, color.blue);
    return block;
}

void PrintRow(char const * label, std::string const & value) {
    std::printf("%-10s %s\n", label, value.c_str());
}

void PrintColour(RGBColor const & color, bool swatch) {
    if (swatch) {
        PrintRow("swatch", Swatch(color, true));
    }
    PrintRow("hex", "#" + std::string(color.getHexRGB().c_str()) + " (ARGB " + color.getHexARGB().c_str() + ")");
    PrintRow("rgba", Text(color).c_str());
    HSBColor const hsb(color);
    PrintRow("hsb", std::string(Text(hsb).c_str()) + " (hue " +
                        NumberText(std::round(hsb.hue.degrees() * 100) / 100).c_str() + " degrees)");
    PrintRow("hsl", Text(HSLColor(color)).c_str());
    XYZColor const xyz(color);
    PrintRow("xyz", Text(xyz).c_str());
    PrintRow("lab", Text(LABColor(xyz)).c_str());
    ACIColor const index(color);
    PrintRow("index", std::string(Text(index).c_str()) + " (#" + index.getRBGAColor().getHexRGB().c_str() + ")");
    PrintRow("luminance",
             std::string(NumberText(color.luminance()).c_str()) + (color.isLight() ? " (light)" : " (dark)"));
    PrintRow("name", English(color.getName()));
}

// "#RRGGBB  name", after a swatch when `swatch`.
void PrintListed(RGBColor const & color, bool swatch) {
    std::printf("%s#%s  %s\n", Swatch(color, swatch).c_str(), color.getHexRGB().c_str(),
                English(color.getName()).c_str());
}

struct ColourArguments {
    CLI::App * command = nullptr; // the colour command, whose verbs leave it nothing to do
    std::string colour;
    std::string palette;
    bool swatch = false;
    std::string seed;
    std::string hue = "any";
    std::string luminosity = "light";
    unsigned int count = 8;
};

int RunRandom(ColourArguments const & arguments) {
    RandomColorOptions options(hue_styles.at(arguments.hue), luminosity_styles.at(arguments.luminosity));
    if (!arguments.seed.empty()) {
        unsigned long long seed = 0;
        StringStream<unsigned long long>::fromString(StringView(arguments.seed), seed);
        options.seed = seed;
    }
    std::printf("seed %llu, hue %s, luminosity %s\n", static_cast<unsigned long long>(options.seed),
                arguments.hue.c_str(), arguments.luminosity.c_str());
    RandomColorGenerator const generator(options);
    bool const swatch = arguments.swatch || OnTerminal();
    for (RGBColor const & color : generator.randomColors(arguments.count)) {
        PrintListed(color, swatch);
    }
    return exit_ok;
}

int RunPalette(ColourArguments const & arguments) {
    bool const swatch = arguments.swatch || OnTerminal();
    for (NamedPalette const & palette : palettes) {
        if (arguments.palette == palette.name) {
            for (RGBColor const & color : palette.palette()) {
                PrintListed(color, swatch);
            }
        }
    }
    return exit_ok;
}

} // namespace

void DemoColour() {
    std::puts("\n== Colours");
    RGBColor const orange = RGBColor::FromHexARGB(StringView("#FF8040"));
    HSBColor const hsb(orange);
    LABColor const lab{XYZColor(orange)};
    std::printf("#FF8040 is HSB %s, L*a*b* %s, index %s, and is named \"%s\".\n", Text(hsb).c_str(), Text(lab).c_str(),
                Text(ACIColor(orange)).c_str(), English(orange.getName()).c_str());
    std::puts("The strata palette, each colour with its nearest named colour:");
    bool const swatch = OnTerminal();
    for (RGBColor const & color : ColorPalettes::StrataPalette()) {
        std::printf("  ");
        PrintListed(color, swatch);
    }
    std::puts("(A colour nearest to \"Green Beige\" is named \"Jet Black\": the search starts from that row with\n"
              "the index of the first, and stored names rely on it.)");
    RandomColorOptions options(RandomColorOptions::BLUE, RandomColorOptions::BRIGHT);
    options.seed = 2024;
    std::puts("Four bright blues from the seed 2024, the same on every run:");
    for (RGBColor const & color : RandomColorGenerator(options).randomColors(4)) {
        std::printf("  ");
        PrintListed(color, swatch);
    }
}

void AddColourCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<ColourArguments>();
    auto const validate = [](std::string const & text) {
        RGBColor color;
        return ReadColour(text, color) ? std::string() : "'" + text + "' is not a colour: give " + colour_forms;
    };
    CLI::App & colour = AddCommand(
        qelta, "colour", "a colour in every model with its nearest name; palettes and random colours",
        "Reads COLOUR as #RRGGBB, #AARRGGBB (or without the #), red,green,blue[,alpha] in bytes, an index\n"
        "of the 256-colour index palette, or the name of a registered colour in any case, and prints it in\n"
        "every model the library holds: hexadecimal, bytes, HSB and HSL (hue in 65536ths of the turn, then\n"
        "bytes), XYZ, L*a*b*, the nearest index of the palette, the luminance and the nearest named colour.\n"
        "A swatch is drawn in 24-bit terminal colour when the output is a terminal, or with --swatch.",
        [arguments] {
            if (!arguments->command->get_subcommands().empty()) {
                return exit_ok; // a verb ran
            }
            if (arguments->colour.empty()) {
                throw CLI::RequiredError("COLOUR");
            }
            RGBColor color;
            ReadColour(arguments->colour, color);
            PrintColour(color, arguments->swatch || OnTerminal());
            return exit_ok;
        });
    arguments->command = &colour;
    colour.require_subcommand(0, 1);
    colour.add_option("COLOUR", arguments->colour, std::string("the colour: ") + colour_forms)
        ->check(CLI::Validator(validate, "COLOUR"));
    colour.add_flag("--swatch", arguments->swatch, "draw swatches even when the output is no terminal");

    std::string palette_names;
    for (NamedPalette const & palette : palettes) {
        palette_names += std::string(palette_names.empty() ? "  " : ", ") + palette.name;
    }
    CLI::App & palette = AddCommand(colour, "palette", "a design palette as swatches, with the name of each colour",
                                    "Prints the colours of the palette NAME, one a line: a swatch on a terminal (or\n"
                                    "with --swatch), the hexadecimal colour and its nearest named colour. Palettes:\n" +
                                        palette_names,
                                    [arguments] { return RunPalette(*arguments); });
    std::vector<std::string> names;
    for (NamedPalette const & entry : palettes) {
        names.emplace_back(entry.name);
    }
    palette.add_option("NAME", arguments->palette, "the palette")->required()->check(CLI::IsMember(names));
    palette.add_flag("--swatch", arguments->swatch, "draw swatches even when the output is no terminal");

    CLI::App & random = AddCommand(
        colour, "random", "pleasant random colours of a hue family and a lightness, repeatable by a seed",
        "Picks a hue from the family, then a saturation and a brightness from ranges that suit that hue, and\n"
        "prints each colour with its nearest named colour. The seed used is printed first: give it with\n"
        "--seed to have the same colours again. Families: any, monochrome (greys), red, orange, yellow,\n"
        "green, blue, purple, pink. Lightness: random, bright, light (the default), dark.",
        [arguments] { return RunRandom(*arguments); });
    random.add_option("--seed", arguments->seed, "a whole number from 1 to 18 digits; fresh when not given")
        ->type_name("N")
        ->check(CLI::Validator(
            [](std::string const & text) {
                return IsDecimal(text, 18) && text.find_first_not_of('0') != std::string::npos
                           ? std::string()
                           : "'" + text + "' is not a whole number from 1 to 18 digits";
            },
            "N"));
    random.add_option("--hue", arguments->hue, "the hue family (default any)")->check(CLI::IsMember(hue_styles));
    random.add_option("--luminosity", arguments->luminosity, "the lightness (default light)")
        ->check(CLI::IsMember(luminosity_styles));
    AddCount(random, "--count", arguments->count, 0, 1000, "how many colours (default 8)");
    random.add_flag("--swatch", arguments->swatch, "draw swatches even when the output is no terminal");
}

} // namespace QELTA::Tool
