// qelta json and qelta yaml: a JSON or YAML file, or one node of it, printed as JSON.
#include "tools/qelta/Command.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Files/File.h"
#include "Base/Files/Scanner.h"
#include "Base/Settings/GenericOption.h"
#include "Base/Settings/JSONNode.h"

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace QELTA::Tool {
namespace {

struct JsonArguments {
    std::string file;
    std::string path;
    bool compact = false;
};

// The child that one step of a path names: a member by name, else an element by its index.
JSONNode const * Step(JSONNode const & node, std::string_view step) {
    StringView const name(step.data(), static_cast<unsigned int>(step.size()));
    if (node.hasNode(name)) {
        return &node[name];
    }
    if (step.empty() || step.size() > 9 || step.find_first_not_of("0123456789") != std::string_view::npos) {
        return nullptr;
    }
    unsigned int const index = static_cast<unsigned int>(std::stoul(std::string(step)));
    return index < node.childCount() ? &node[index] : nullptr;
}

// The node at `path`, steps separated by '/'; null when a step names nothing.
JSONNode const * Find(JSONNode const & root, std::string_view path) {
    JSONNode const * node = &root;
    while (node != nullptr && !path.empty()) {
        std::size_t const slash = path.find('/');
        node = Step(*node, path.substr(0, slash));
        path = slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1);
    }
    return node;
}

// Prints `node` without its name, pretty or on one line.
void Print(JSONNode const & node, bool compact) {
    JSONNode value; // an unnamed copy: assignment keeps the target's (empty) name
    value = node;
    String out;
    if (compact) {
        value.writeValue(out);
    } else {
        value.writePretty(out, 0);
    }
    out.append('\n');
    std::fwrite(out.data(), 1, out.size(), stdout);
}

// A failure of reading `file`, its path in the system's form also where the reader's position
// names it.
int ReadFailure(char const * command, Exception const & error, File const & file) {
    String text = NativeEnglish(error.message());
    if (text.isEmpty()) {
        text = NativeEnglish(error.title());
    }
    text.replace(file.view(), NativePath(file).view());
    std::fflush(stdout);
    std::fprintf(stderr, "qelta %s: %s\n", command, text.c_str());
    return exit_failure;
}

JSONNode ReadYAML(File & file) {
    Scanner scanner(file, 0, File::READ_TEXT);
    return JSONNode::ParseYAML(scanner);
}

int Show(char const * command, JsonArguments const & arguments, bool yaml) {
    File file = FromNativePath(arguments.file);
    if (!file.exists()) {
        std::fprintf(stderr, "qelta %s: %s: no such file\n", command, NativePath(file).c_str());
        return exit_failure;
    }
    try {
        JSONNode const root = yaml ? ReadYAML(file) : JSONNode(file);
        JSONNode const * const node = Find(root, arguments.path);
        if (node == nullptr) {
            std::fprintf(stderr, "qelta %s: %s has no node at '%s'\n", command, NativePath(file).c_str(),
                         arguments.path.c_str());
            return exit_failure;
        }
        Print(*node, arguments.compact);
    } catch (Exception const & error) {
        return ReadFailure(command, error, file);
    }
    return exit_ok;
}

void AddShowCommand(CLI::App & qelta, char const * name, char const * summary, std::string const & help, bool yaml) {
    auto const arguments = std::make_shared<JsonArguments>();
    CLI::App & command =
        AddCommand(qelta, name, summary, help, [arguments, name, yaml] { return Show(name, *arguments, yaml); });
    command.add_option("FILE", arguments->file, yaml ? "the YAML file" : "the JSON file")->required();
    command.add_option("PATH", arguments->path,
                       "the node to print: names and element indices separated by '/', as 'layers/0/name'");
    command.add_flag("--compact", arguments->compact, "print on one line, without white space");
}

} // namespace

void DemoJson() {
    std::puts("\n== JSON and YAML settings");
    File file = DemoFolder();
    file.appendPath("settings.yaml");
    char const yaml[] = "# survey display\n"
                        "title: Survey \"North\"\n"
                        "scale: 1.50\n"
                        "window:\n"
                        "  width: 800\n"
                        "layers:\n"
                        "  - name: ground\n"
                        "    visible: true\n"
                        "  - name: water\n"
                        "tags: [site, 2024]\n";
    file.open(File::WRITE_TEXT);
    file << StringView(yaml);
    file.close();
    std::printf("Read %s:\n%s", NativePath(file).c_str(), yaml);
    JSONNode const settings = ReadYAML(file);
    String json;
    settings.writePretty(json, 0);
    std::printf("and wrote it as JSON (numbers keep their text, quoted YAML values are not unescaped):\n%s\n",
                json.c_str());
    String compact;
    settings.write(compact);
    JSONNode const again = JSONNode::ParseText(compact.view());
    std::printf("Its compact form reads back into %s tree.\n", again == settings ? "the same" : "ANOTHER");
    try {
        JSONNode::ParseText("{\"scale\": 1.5,\n \"width\": 800 600}");
    } catch (Exception const & error) {
        std::printf("A fault is named with its place: %s\n", error.message().englishTranslation().c_str());
    }
    GenericOptionGroup group(TranslatedString::DirectString("Import"), "import");
    GenericOption delimiter("delimiter", TranslatedString::DirectString("Delimiter"), ";");
    delimiter.setupForDelimiter();
    group.addOption(delimiter);
    String options;
    group.toJSONNode(true).write(options);
    std::printf("An option group's values as JSON: %s\n", options.c_str());
}

void AddJsonCommand(CLI::App & qelta) {
    AddShowCommand(qelta, "json", "prints a JSON file, or the node at PATH",
                   "Reads FILE as the library reads settings: leniently (trailing commas, bare words,\n"
                   "'tree' as true, 'null' as an empty text), keeping numbers as the text written.\n"
                   "It stops only at a byte where a value or a separator must stand, and at a name\n"
                   "given twice in one object; the message names the file, the line and the position.\n"
                   "The first line with text is read from behind its first '{'; a first line\n"
                   "without one is passed over whole.",
                   false);
}

void AddYamlCommand(CLI::App & qelta) {
    AddShowCommand(qelta, "yaml", "prints a YAML file as JSON, or the node at PATH",
                   "Reads the YAML of simple configuration files: 'key: value' mappings nested by two\n"
                   "blanks a level, lists of '- ' items (also at the depth of their key), inline\n"
                   "lists '[a, b]' and '#' comment lines. Anchors, tags, multi-line values and\n"
                   "'{...}' mappings are not read; such lines become keys or texts.",
                   true);
}

} // namespace QELTA::Tool
