// qelta translate: a text shown through a language of a folder of translations.
#include "tools/qelta/Command.h"

#include "Base/Files/FileResource.h"
#include "Base/Host/ApplicationResource.h"
#include "Base/Language/TranslatedString.h"
#include "Base/Language/Translator.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>

namespace QELTA::Tool {
namespace {

struct TranslateArguments {
    std::string language;
    std::string text;
    std::optional<std::string> folder;
    std::optional<std::string> number;
};

// Texts ask the main language only once the application has a name.
void NameTheApplication() {
    if (ApplicationResource::application_name.value().isEmpty()) {
        ApplicationResource::application_name.set(TranslatedString::DirectString("qelta"));
    }
}

int RunTranslate(TranslateArguments const & arguments) {
    File settings = arguments.folder ? FromNativePath(*arguments.folder + "/")
                                     : FileResource::PathToProgramTranslations(false);
    settings.appendPath(StringView(arguments.language));
    settings.appendPath(".ini");
    if (!settings.exists()) {
        std::fprintf(stderr, "qelta translate: %s: no such language\n", NativePath(settings).c_str());
        return exit_failure;
    }
    NameTheApplication();
    Translator language(settings);
    if (arguments.folder) {
        File beside = FromNativePath(*arguments.folder + "/");
        beside.appendPath(StringView(arguments.language));
        beside.appendPath(".tr");
        language.setTranslationFile(beside);
    }
    Translator::SetMainTranslator(&language);
    TranslatedString text{StringView(arguments.text)};
    std::printf("%s\n", String(text.translation()).c_str());
    if (arguments.number) {
        std::printf("%s\n", language.convertNumber(String(arguments.number->c_str()), true, 2, 2, 0).c_str());
    }
    Translator::SetMainTranslator(nullptr);
    return exit_ok;
}

void Write(std::filesystem::path const & path, char const * text) {
    std::ofstream(path, std::ios::binary) << text;
}

} // namespace

void DemoTranslate() {
    std::puts("\n== Languages");
    std::filesystem::path const folder = std::filesystem::path(NativePath(DemoFolder()).c_str()) / "translations";
    std::filesystem::create_directories(folder);
    Write(folder / "de_DE.ini", ("translation_id=de_DE\nlanguage_name=Deutsch\ndecimal_sep=,\nnumber_sep=.\n"
                                 "translation_file=" + (folder / "de_DE.tr").string() + "\n").c_str());
    Write(folder / "de_DE.tr", "hello_world=Hallo Welt\nfile_[name]_saved=Datei [name] gespeichert\n");
    NameTheApplication();
    TranslatedString const hello{StringView("{hello_world}Hello world")};
    TranslatedString saved{StringView("{file_[name]_saved}File [name] saved~[name]~run 7.csv")};
    std::printf("English: %s / %s, and 1234567.891 shows as 1,234,567.89\n", hello.englishTranslation().c_str(), saved.englishTranslation().c_str());
    Translator german(File(String((folder / "de_DE.ini").c_str())));
    Translator::SetMainTranslator(&german);
    TranslatedString again = hello;
    std::printf("%s: %s / %s, and 1234567.891 shows as %s\n", german.name().c_str(), String(again.translation()).c_str(),
                String(saved.translation()).c_str(),
                german.convertNumber(String("1234567.891"), true, 2, 2, 0).c_str());
    Translator::SetMainTranslator(nullptr);
    std::filesystem::remove_all(folder);
}

void AddTranslateCommand(CLI::App & qelta) {
    auto const arguments = std::make_shared<TranslateArguments>();
    CLI::App & translate =
        AddCommand(qelta, "translate", "a text shown in another language",
                   "Shows TEXT in the language ID of FOLDER (default: the shipped translations), whose\n"
                   "files are ID.ini (translation_id, language_name, decimal_sep, number_sep) and ID.tr\n"
                   "(one 'label=translated text' line each). TEXT is in the stored form of translated texts:\n"
                   "'{label}English text', with slots as '~[key]~value'; a text without its label in the\n"
                   "language shows in English. --number shows a number with the language's separators.",
                   [arguments] { return RunTranslate(*arguments); });
    translate.add_option("TEXT", arguments->text, "the text, e.g. '{hello_world}Hello world'")->required();
    translate.add_option("--language", arguments->language, "the language id, e.g. de_DE")->required();
    translate.add_option("--folder", arguments->folder, "the folder of ID.ini and ID.tr");
    translate.add_option("--number", arguments->number, "a number to show with the language's separators");
}

} // namespace QELTA::Tool
