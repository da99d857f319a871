// JSONNode: the lenient reader's rules and its faults with their positions, the exact compact and
// pretty forms, numbers kept as their text, documents of any depth, read trees under change and
// across threads, the YAML subset against JSON, and every file of the JSON parsing test suite,
// also against a read on the heap.
#include "Base/Settings/JSONNode.h"

#include "Base/Failure/Exception.h"
#include "Base/Files/BufferedScanner.h"
#include "Base/Files/Scanner.h"
#include "Base/Time/Time.h"

#include "tests/Files/TempFolderFixture.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace QELTA {
namespace {

using Testing::Std;

std::string Compact(JSONNode const & node) {
    String out;
    node.write(out);
    return Std(out);
}

std::string Pretty(JSONNode const & node) {
    String out;
    node.writePretty(out, 0);
    return Std(out);
}

JSONNode YAML(std::string const & text) {
    BufferedScanner scanner{StringView(text), 0};
    return JSONNode::ParseYAML(scanner);
}

// The English message of the fault `text` raises, or "" when it reads.
std::string Fault(std::string const & text) {
    try {
        JSONNode::ParseText(StringView(text));
    } catch (Exception const & error) {
        EXPECT_EQ(Std(error.title().englishTranslation()), "JSON Error");
        return Std(error.message().englishTranslation());
    }
    return "";
}

TEST(JSONNodeTest, AcceptsWhatTheLenientRulesAllow) {
    struct Row {
        char const * text;
        char const * compact;
    };
    Row const rows[] = {
        {"", "{}"},
        {"{\"a\":1,}", "{\"a\":1}"},
        {"{\"a\":[1,,2,,]}", "{\"a\":[1,2]}"},
        {"{\"a\":[x, -abc , .5,true,\"s\"]}", "{\"a\":[\"x\",-abc,.5,true,\"s\"]}"},
        {"{\"t\":tree,\"f\":false,\"n\":null,\"N\":NaN}", "{\"t\":true,\"f\":false,\"n\":\"\",\"N\":}"},
        {"\n\n  {\"a\":\"b\"}", "{\"a\":\"b\"}"},
        {"[1,2]\n{\"a\":1}", "{{\"a\":1}}"},                          // the first line holds no '{'
        {"{\"s\":\"a\\\\\",\"t\":1}", "{\"s\":\"a\\\\\",\"t\":1}"},   // ends at an escaped backslash
        {"{\"s\":\"say \\\"hi\\\"\"}", "{\"s\":\"say \\\"hi\\\"\"}"}, // goes on past escaped quotes
        {"{\"a\":{\"b\":[1,2", "{\"a\":{\"b\":[1,2]}}"},              // cut short
        {"{\"u\":\"\\u0041\"}", "{\"u\":\"\\\\u0041\"}"},             // \u stays, its backslash escaped
        {"{\"a\\\\b\":1}", "{\"a\\\\\\\\b\":1}"},                     // names are not unescaped
        {"{\"a\",\"b\":1}", "{\"a\":{},\"b\":1}"},
        {"{\"a\":\n[1,\n2\n]\n,\"b\"\n:\n\"x\"}", "{\"a\":[1,2],\"b\":\"x\"}"},
        {"{\"a\":x}", "{\"a\":{}}"}, // a byte that starts no value leaves the member as it is
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Compact(JSONNode::ParseText(row.text)), row.compact);
    }
    JSONNode const words = JSONNode::ParseText("{\"a\":[x,-abc,.5,true,null]}");
    JSONNode::NodeType const types[] = {JSONNode::STRING, JSONNode::NUMBER, JSONNode::NUMBER, JSONNode::BOOLEAN,
                                        JSONNode::STRING};
    ASSERT_EQ(words["a"].childCount(), 5u);
    for (unsigned int i = 0; i < 5; ++i) {
        EXPECT_EQ(words["a"][i].type(), types[i]) << i;
    }
    JSONNode const nulls = JSONNode::ParseText("{\"n\":null,\"N\":NaN}");
    EXPECT_EQ(nulls["n"].type(), JSONNode::STRING);
    EXPECT_EQ(nulls["N"].type(), JSONNode::NUMBER);
    EXPECT_TRUE(nulls["N"].value().isEmpty());
}

TEST(JSONNodeTest, FaultsNameTheByteOrNameAndThePosition) {
    struct Row {
        char const * text;
        char const * message;
    };
    Row const rows[] = {
        {"{\"a\":1 2}", "Unexpected char: 2 at  line: 1 position: 8"},
        {"{\"a\" 1}", "Unexpected char: 1 at  line: 1 position: 6"},
        {"{\"a\":+7}", "Unexpected char: 7 at  line: 1 position: 7"}, // '+' starts no value
        {"{\n  \"a\": 1 x\n}", "Unexpected char: x at  line: 2 position: 10"},
        {"{\"a\":[1]\"b\":2}", "Unexpected char: \" at  line: 1 position: 9"},
        {"{\"a\":1,\"a\":2}", "JSON already has child of name: a at  line: 1 position: 10"},
        {"{\"x\":{\"a\":{},\n\"a\":[]}}", "JSON already has child of name: a at  line: 2 position: 3"},
        {"{\"a\":1,\"A\":2,\"b\":{\"a\":3}}", ""}, // names differ by case, or live in other objects
        {"{\"\":1,\"\":2}", ""},                   // an empty name is no name
        {"{\"n0\":0,\"n1\":1,\"n2\":2,\"n3\":3,\"n4\":4,\"n5\":5,\"n6\":6,\"n7\":7,\"n8\":8,\"n9\":9,\"n10\":10,"
         "\"n11\":11,\"n12\":12,\"n13\":13,\"n14\":14,\"n15\":15,\"n16\":16,\"n17\":17,\"n3\":3}",
         "JSON already has child of name: n3 at  line: 1 position: 147"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Fault(row.text), row.message);
    }
}

class JSONNodeFileTest : public Testing::TempFolderTest {};

TEST_F(JSONNodeFileTest, ReadsAndWritesFilesAndNamesThemInFaults) {
    Testing::WriteAll(SystemPath("in.json"), "\n{\"a\": [1, 2],\n \"b\": {\"c\": \"d\"}}\n");
    File in = Path("in.json");
    JSONNode const node(in);
    EXPECT_EQ(Compact(node), "{\"a\":[1,2],\"b\":{\"c\":\"d\"}}");
    File out = Path("out.json");
    node.writePretty(out);
    EXPECT_EQ(Testing::ReadAll(SystemPath("out.json")), Pretty(node));
    EXPECT_TRUE(JSONNode(out) == node);

    Testing::WriteAll(SystemPath("bad.json"), "{\"a\": 1,\n \"b\": 2 3}");
    File bad = Path("bad.json");
    try {
        JSONNode const never(bad);
        FAIL() << "no fault";
    } catch (Exception const & error) {
        EXPECT_EQ(Std(error.message().englishTranslation()),
                  "Unexpected char: 3 at " + Std(bad.view()) + " line: 2 position: 9");
    }
}

TEST(JSONNodeTest, WritesExactCompactAndPrettyForms) {
    char const text[] = "{\"name\":\"A \\\"q\\\"\\t\",\"n\":[1,2.50,{\"x\":true}],\"e\":{},\"ea\":[]}";
    JSONNode const node = JSONNode::ParseText(text);
    EXPECT_EQ(Compact(node), text);
    EXPECT_EQ(Pretty(node), "{\n"
                            "\t\"name\": \"A \\\"q\\\"\\t\",\n"
                            "\t\"n\": [\n"
                            "\t\t1,\n"
                            "\t\t2.50,\n"
                            "\t\t{\n"
                            "\t\t\t\"x\": true\n"
                            "\t\t}\n"
                            "\t],\n"
                            "\t\"e\": {\n"
                            "\t},\n"
                            "\t\"ea\": []\n"
                            "}");
    std::ostringstream stream;
    node.write(stream);
    EXPECT_EQ(stream.str(), text);
    EXPECT_TRUE(JSONNode::ParseText(StringView(Pretty(node))) == node);

    // Raw array text goes before the children and, with none, gives its last byte to "]".
    JSONNode raw;
    JSONNode & list = raw.createChildNode("l", JSONNode::ARRAY);
    list.setValue("1,2,");
    JSONNode & more = raw.createChildNode("m", JSONNode::ARRAY);
    more.setValue("7");
    more.createChildNode(JSONNode::NUMBER).setValue("8");
    raw.createChildNode("", JSONNode::OBJECT); // no name, no key
    EXPECT_EQ(Compact(raw), "{\"l\":[1,2],\"m\":[7,8],{}}");
}

TEST(JSONNodeTest, KeepsNumbersAsTheirText) {
    char const * const numbers[] = {"0",    "-0", "1e400", "0.1000000000000000055511151231257827", "-1.5E-3",
                                    "1.00", ".5", "1E+2",  "123456789012345678901234567890",       "1e-400"};
    for (char const * number : numbers) {
        SCOPED_TRACE(number);
        std::string const text = std::string("{\"v\":") + number + ",\"l\":[" + number + "]}";
        JSONNode const node = JSONNode::ParseText(StringView(text));
        EXPECT_EQ(Std(node["v"].value()), number);
        // In an array a bare word is a number only when made of digits, '-' and '.', or when it
        // begins with '-' or '.'; any other is a string.
        bool const array_number =
            std::string(number).find_first_of("eE+") == std::string::npos || number[0] == '-' || number[0] == '.';
        EXPECT_EQ(Compact(node),
                  array_number ? text : std::string("{\"v\":") + number + ",\"l\":[\"" + number + "\"]}");
    }
}

TEST(JSONNodeTest, SurvivesAMillionNestedArrays) {
    std::string text = "{" + std::string(1000000, '[') + "1" + std::string(1000000, ']') + "}";
    JSONNode const node = JSONNode::ParseText(StringView(text));
    String out;
    node.write(out);
    EXPECT_EQ(Std(out), text);
    JSONNode const copy(node);
    EXPECT_TRUE(copy == node);
    JSONNode assigned;
    assigned = node;
    EXPECT_EQ(assigned.type(), JSONNode::OBJECT); // assignment turns a ROOT into an OBJECT
    EXPECT_EQ(Compact(assigned), text);
    std::string const open_only = "{\"a\":" + std::string(1000000, '{') + "\"b\":" + std::string(1000000, '[');
    JSONNode const cut = JSONNode::ParseText(StringView(open_only));
    EXPECT_EQ(cut.childCount(), 1u);
}

TEST(JSONNodeTest, ExtractsOneValueFromALargerText) {
    JSONNode const found("b", StringView("{\"a\":1,\"b\":{\"c\":[1,2]},\"d\":3}"));
    EXPECT_EQ(Compact(found), "\"b\":{\"c\":[1,2]}");
    JSONNode const missing("z", StringView("{\"a\":1}"));
    EXPECT_EQ(missing.childCount(), 0u);
    EXPECT_EQ(Compact(JSONNode("n", StringView("{\"n\":-12.5e3}"))), "\"n\":-12.5e3");
}

TEST(JSONNodeTest, EditsTheTree) {
    JSONNode root;
    root.createChildNode("x", JSONNode::NUMBER).setValue("1");
    root.createChildNode("y", JSONNode::NUMBER).setValue("2");
    root.createChildNode("x", JSONNode::NUMBER).setValue("3");
    EXPECT_EQ(Std(root["x"].value()), "1"); // the first of a name stays the one found
    root.remove("x");
    EXPECT_EQ(Compact(root), "{\"y\":2}");
    root["t"] = Time(2021, 3, 4, 10, 20, 30, false);
    root["s"] = "a\"b";
    EXPECT_EQ(Compact(root), "{\"y\":2,\"t\":\"2021/03/04T10:20:30.000Z\",\"s\":\"a\\\"b\"}");
    EXPECT_EQ(root.size(), 3u);

    JSONNode tree = JSONNode::ParseText("{\"a\":{\"b\":[1,{\"c\":2}]}}");
    tree["a"] = tree["a"]["b"][1u]; // from its own descendant
    EXPECT_EQ(Compact(tree), "{\"a\":{\"c\":2}}");
    tree = tree["a"];
    EXPECT_EQ(tree.type(), JSONNode::OBJECT);
    EXPECT_EQ(Compact(tree), "{\"c\":2}");
}

// A read tree keeps its nodes and texts in shared blocks: nodes moved out outlive it (in other
// threads too), and its nodes take every change as heap nodes do.
TEST(JSONNodeTest, KeepsReadNodesSoundWhenMovedOutOrChanged) {
    std::string const text = "{\"a\":{\"b\":[1,\"x\",{\"e\":null}],\"c\":\"text\"},\"d\":true,\"f\":[]}";
    std::string const a = "\"a\":{\"b\":[1,\"x\",{\"e\":\"\"}],\"c\":\"text\"}";
    std::optional<JSONNode> kept;
    {
        JSONNode tree = JSONNode::ParseText(StringView(text));
        kept.emplace(std::move(tree["a"]));
        JSONNode & d = tree["d"];
        d.setValue("");
        EXPECT_STREQ(d.value().c_str(), "");
        tree["f"].createChildNode(JSONNode::NUMBER).setValue("2");
        tree["g"] = "new";
        tree.remove("a");
        EXPECT_EQ(Compact(tree), "{\"d\":false,\"f\":[2],\"g\":\"new\"}");
    }
    EXPECT_EQ(Compact(*kept), a);

    JSONNode & b = (*kept)["b"];
    b.createChildNode(JSONNode::STRING).setValue("y"); // grows a block of the read
    b[0u].setValue("10");
    (*kept).remove("c");
    (*kept)["b"][2u] = JSONNode::ParseText("{\"z\":[3]}");
    EXPECT_EQ(Compact(*kept), "\"a\":{\"b\":[10,\"x\",{\"z\":[3]},\"y\"]}");
    JSONNode copy(*kept);
    *kept = JSONNode();
    EXPECT_EQ(Compact(copy), "\"a\":{\"b\":[10,\"x\",{\"z\":[3]},\"y\"]}");

    for (int round = 0; round < 20; ++round) {
        auto tree = std::make_unique<JSONNode>(JSONNode::ParseText(StringView(text)));
        std::thread other([part = JSONNode(std::move((*tree)["a"])), &a]() { EXPECT_EQ(Compact(part), a); });
        tree.reset();
        other.join();
    }
}

TEST(JSONNodeTest, FindsTheNamesOfAReadTreeFromManyThreads) {
    std::string text = "{\"big\":{";
    for (int i = 0; i < 40; ++i) {
        text += (i == 0 ? "\"k" : ",\"k") + std::to_string(i) + "\":" + std::to_string(i);
    }
    text += "},\"small\":{\"a\":1,\"b\":2}}";
    JSONNode const tree = JSONNode::ParseText(StringView(text));
    std::vector<std::thread> readers;
    for (int t = 0; t < 4; ++t) {
        readers.emplace_back([&tree] {
            for (int i = 0; i < 40; ++i) {
                std::string const name = "k" + std::to_string(i);
                EXPECT_EQ(Std(tree["big"][StringView(name.c_str())].value()), std::to_string(i));
            }
            EXPECT_EQ(tree["big"].size(), 40u);
            EXPECT_EQ(Std(tree["small"]["b"].value()), "2");
        });
    }
    for (std::thread & reader : readers) {
        reader.join();
    }
}

TEST(JSONNodeDeathTest, EndsTheProcessOnAMissingKeyOfAConstNode) {
    JSONNode const node = JSONNode::ParseText("{\"a\":1}");
    EXPECT_DEATH(node["b"], "Couldn't find key.");
}

TEST(JSONNodeTest, ReadsTheYAMLSubset) {
    struct Row {
        char const * yaml;
        char const * compact;
    };
    Row const rows[] = {
        {"---\n# comment\na: 1\n", "{\"---\":{},\"a\":1}"},
        {"a:\n- 1\n- x\nb: 2\n", "{\"a\":[1,\"x\"],\"b\":2}"},
        {"v: [1, two, true]", "{\"v\":[1,\"two\",true]}"},
        {"q: \"a\\nb\"\nr: \"", "{\"q\":\"a\\\\nb\",\"r\":\"\"}"},
        {"a:\n\tb: 1\n", "{\"a\":{},\"b\":1}"},
        {"servers:\n  - name: a\n    port: 80\n  - name: b\nend: true\n",
         "{\"servers\":[{\"name\":\"a\",\"port\":80},{\"name\":\"b\"}],\"end\":true}"},
        // A level is two blanks whatever the file uses: "d" at four blanks stays in the block of "b".
        {"a:\n    b:\n        c: -1.5\n    d: x y\ne: 10:30\n",
         "{\"a\":{\"b\":{\"c\":-1.5,\"d\":\"x y\"}},\"e\":\"10:30\"}"},
        {"- a:\n    b: 1\n  c: 2\n- a:\n  - 1\n  - 2\n  c: 3\n", "[{\"a\":{\"b\":1},\"c\":2},{\"a\":[1,2],\"c\":3}]"},
        {"a:\r\n  b: 1\r\n", "{\"a\":{\"b\":1}}"},
        {"- 1\n- [ ]\n", "[1,[]]"},
        {"a: 1\nb: 2\n# end", "{\"a\":1,\"b\":2}"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.yaml);
        JSONNode const node = YAML(row.yaml);
        String out;
        node.writeValue(out);
        EXPECT_EQ(Std(out), row.compact);
    }
    JSONNode const inline_list = YAML("v: [1, two, true]");
    EXPECT_EQ(inline_list["v"][0u].type(), JSONNode::NUMBER);
    EXPECT_EQ(inline_list["v"][1u].type(), JSONNode::STRING);
    EXPECT_EQ(inline_list["v"][2u].type(), JSONNode::BOOLEAN);
}

TEST(JSONNodeTest, GivesTheSameTreeForYAMLAndJSONSettings) {
    char const yaml[] = "# display settings\n"
                        "title: Survey\n"
                        "scale: 1.5\n"
                        "visible: true\n"
                        "window:\n"
                        "  width: 800\n"
                        "  height: 600\n"
                        "layers:\n"
                        "  - name: ground\n"
                        "    colour: \"#804000\"\n"
                        "  - name: water\n"
                        "tags: [a, b]\n";
    char const json[] = "{\"title\":\"Survey\",\"scale\":1.5,\"visible\":true,"
                        "\"window\":{\"width\":800,\"height\":600},"
                        "\"layers\":[{\"name\":\"ground\",\"colour\":\"#804000\"},{\"name\":\"water\"}],"
                        "\"tags\":[\"a\",\"b\"]}";
    JSONNode const from_yaml = YAML(yaml);
    JSONNode const from_json = JSONNode::ParseText(json);
    EXPECT_TRUE(from_yaml == from_json) << Compact(from_yaml);
    EXPECT_FALSE(from_yaml == JSONNode::ParseText("{\"title\":\"Survey\"}"));
}

// Reads a file as JSONNode(File &) does, but through the reading step on a node that exists,
// which puts every node on the heap instead of in the blocks of the read.
class HeapRead : public JSONNode {
  public:
    explicit HeapRead(File & file) {
        Scanner scanner(file, '|', File::READ_TEXT);
        scanner.setIgnoreEmptyLines(true);
        while (scanner.nextLine()) {
            if (!scanner.currentLine().isEmpty()) {
                unsigned int const brace = scanner.currentLine().indexOf('{');
                scanner.setLinePosition(brace == String::not_found ? scanner.getLineLength() : brace + 1);
                scanner.setDelimiter('"');
                readChildrenNodes(scanner);
                return;
            }
        }
    }
};

// The compact form, or the fault's message.
std::string Outcome(std::function<std::string()> const & read) {
    try {
        return read();
    } catch (Exception const & error) {
        return "fault: " + Std(error.message().englishTranslation());
    }
}

// Every file of the suite reads without crash, hang or sanitizer report, is written back both
// ways, and gives the same tree or fault as a read on the heap. This reader is lenient by
// design, so it rejects only a few files: those with a name given twice (two of them valid
// JSON), and those where a byte stands where a value or a separator must.
// tests/Data/Settings/JSONTestSuite/README.md records the counts.
TEST(JSONNodeTest, ReadsEveryFileOfTheParsingTestSuite) {
    std::set<std::string> rejected;
    std::map<char, int> files;
    for (auto const & entry : std::filesystem::directory_iterator(QELTA_SETTINGS_TEST_DATA "/JSONTestSuite")) {
        std::string const name = entry.path().filename().string();
        if (name.size() < 2 || name[1] != '_') {
            continue;
        }
        SCOPED_TRACE(name);
        ++files[name[0]];
        File file(String(entry.path().c_str()));
        std::string const read = Outcome([&] {
            JSONNode const node(file);
            String out;
            node.writePretty(out, 0);
            return Compact(node);
        });
        if (read.starts_with("fault: ")) {
            rejected.insert(name);
        }
        file.close();
        EXPECT_EQ(read, Outcome([&] { return Compact(HeapRead(file)); }));
    }
    EXPECT_EQ(files, (std::map<char, int>{{'i', 35}, {'n', 188}, {'y', 95}}));
    EXPECT_EQ(rejected,
              (std::set<std::string>{"n_object_double_colon.json", "n_object_garbage_at_end.json",
                                     "n_object_missing_colon.json", "n_object_missing_semicolon.json",
                                     "n_object_no-colon.json", "n_string_unescaped_newline.json",
                                     "n_structure_object_with_comment.json", "n_structure_open_object_open_string.json",
                                     "y_object_duplicated_key.json", "y_object_duplicated_key_and_value.json"}));
}

} // namespace
} // namespace QELTA
