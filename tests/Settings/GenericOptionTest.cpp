// Generic options: a group through its JSON forms and back, the rules for known and unknown
// members, and the values through an INI file.
#include "Base/Settings/GenericOption.h"

#include "Base/Files/File.h"
#include "Base/Language/Translator.h"
#include "Base/Units/UnitManager.h"

#include "tests/Files/TempFolderFixture.h"
#include "tests/Support/StdText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace QELTA {
namespace {

using Testing::Std;

std::string Compact(JSONNode const & node) {
    String out;
    node.write(out);
    return Std(out);
}

TranslatedString Label(char const * english) {
    return TranslatedString::DirectString(english);
}

GenericOptionGroup Sample() {
    GenericOptionGroup group(Label("Import Settings"), "");
    GenericOption delimiter("delimiter", Label("Delimiter"), ",");
    delimiter.setupForDelimiter();
    delimiter.description = Label("Between the fields");
    group.addOption(delimiter);
    GenericOption rows("rows", Label("Rows"), "100");
    rows.type = TypeInfo::Of<unsigned int>();
    rows.min = 0;
    rows.max = 1e6;
    rows.is_editable = false;
    group.addOption(rows);
    GenericOption folder("folder", Label("Folder"), "/data/");
    folder.setupForFolder();
    folder.icon = "folder.png";
    folder.is_viewable = false;
    group.addOption(folder);
    return group;
}

TEST(GenericOptionTest, WritesTheFullFormWithOnlyTheKeysThatDifferFromTheDefaults) {
    GenericOptionGroup const group = Sample();
    EXPECT_EQ(Std(group.id()), "import_settings");
    EXPECT_EQ(Compact(group.toJSONNode(true)),
              "{\"name\":\"Import Settings\",\"id\":\"import_settings\",\"options\":{\"delimiter\":\",\",\"rows\":"
              "\"100\",\"folder\":\"/data/\"}}");
    JSONNode const full = group.toJSONNode(false);
    EXPECT_EQ(Compact(full["options"]["rows"]),
              "\"rows\":{\"name\":\"Rows\",\"value\":\"100\",\"type\":\"4,4,1,T,T,F,F,F,F,F\",\"description\":\"\","
              "\"default_value\":\"100\",\"min\":0,\"max\":1000000,\"is_editable\":false}");
    EXPECT_EQ(Compact(full["options"]["delimiter"]["available_options"]),
              "\"available_options\":{\" \":\"Space\",\"\\t\":\"Tab\",\"\\n\":\"New Line\",\",\":\"Comma\","
              "\".\":\"Period\",\";\":\"Semicolon\",\":\":\"Colon\"}");
    EXPECT_EQ(Std(full["options"]["delimiter"]["regex"].value()), "^.$");
    EXPECT_TRUE(full["options"]["delimiter"]["allow_custom_option"].isTrue());
    EXPECT_FALSE(full["options"]["folder"]["is_viewable"].isTrue());
    EXPECT_FALSE(full["options"]["folder"].hasNode("min"));

    GenericOptionGroup scaled(Label("S"), "s");
    GenericOption scale("scale", Label("Scale"), "1");
    scale.min = -2.5;
    scale.max = 1.0 / 3;
    scaled.addOption(scale);
    JSONNode const limits = scaled.toJSONNode(false)["options"]["scale"];
    EXPECT_EQ(Compact(limits["min"]) + Compact(limits["max"]), "\"min\":-2.5\"max\":0.3333333333");
}

TEST(GenericOptionTest, RebuildsAGroupFromItsFullForm) {
    GenericOptionGroup const group = Sample();
    String text;
    group.toJSONNode(false).write(text);
    GenericOptionGroup rebuilt;
    rebuilt.fromJSONNode(JSONNode::ParseText(text));
    EXPECT_TRUE(rebuilt == group);
    EXPECT_EQ(Std(rebuilt.id()), "import_settings");
    ASSERT_EQ(rebuilt.order().size(), 3u);
    GenericOption const & rows = rebuilt.getOption(StringView("rows"));
    EXPECT_TRUE(rows.type == TypeInfo::Of<unsigned int>());
    EXPECT_EQ(rows.min, 0.0);
    EXPECT_EQ(rows.max, 1e6);
    EXPECT_FALSE(rows.is_editable);
    EXPECT_EQ(Std(rows.name.englishDefine()), "Rows");
    GenericOption const & delimiter = rebuilt.getOption(StringView("delimiter"));
    ASSERT_EQ(delimiter.available_options.size(), 7u);
    EXPECT_TRUE(delimiter.allow_custom_option);
    EXPECT_TRUE(std::isnan(delimiter.min));
    EXPECT_EQ(Std(delimiter.description.englishDefine()), "Between the fields");
    EXPECT_FALSE(rebuilt.getOption(StringView("folder")).is_viewable);
    EXPECT_EQ(Std(rebuilt.getOption(StringView("folder")).icon), "folder.png");

    // A unit goes out as its name and comes back through the unit manager.
    GenericOptionGroup measured(Label("M"), "m");
    GenericOption depth("depth", Label("Depth"), "2");
    depth.unit = UnitManager::DefaultManager().unit(StringView("feet"));
    ASSERT_TRUE(depth.unit);
    measured.addOption(depth);
    JSONNode const form = measured.toJSONNode(false);
    EXPECT_EQ(Std(form["options"]["depth"]["unit"].value()), "feet");
    GenericOptionGroup remeasured;
    remeasured.fromJSONNode(form);
    ConstPointer<Unit> const unit = remeasured.getOption(StringView("depth")).unit;
    ASSERT_TRUE(unit);
    EXPECT_EQ(Std(unit->name()), "feet");
}

TEST(GenericOptionTest, ValuesFromJSONChangeOnlyTheValuesOfKnownOptions) {
    GenericOptionGroup group = Sample();
    int notified = 0;
    group.getOption(StringView("rows")).value.addListener(new BasicResourceListener([&] { ++notified; }), true);
    group.fromJSONNode(JSONNode::ParseText(
        "{\"options\":{\"rows\":{\"value\":\"250\",\"max\":\"5\",\"name\":\"Other\"},\"delimiter\":\",\","
        "\"extra\":\"x\"}}"));
    GenericOption const & rows = group.getOption(StringView("rows"));
    EXPECT_EQ(Std(rows.value.value()), "250");
    EXPECT_EQ(rows.max, 1e6);
    EXPECT_EQ(Std(rows.name.englishDefine()), "Rows");
    EXPECT_EQ(notified, 1); // "," was the delimiter already: no change, nobody told
    GenericOption const & extra = group.getOption(StringView("extra"));
    EXPECT_EQ(Std(extra.value.value()), "x");
    EXPECT_EQ(Std(extra.name.englishDefine()), "extra");
    EXPECT_EQ(Std(group.order().last()), "extra");

    GenericOptionGroup copy = Sample();
    copy.getOption(StringView("rows")).set(StringView("7"));
    EXPECT_TRUE(copy != Sample());
    copy.fromJSONNode(Sample().toJSONNode(true));
    EXPECT_TRUE(copy == Sample());
}

TEST(GenericOptionTest, AddingAnIdTwiceKeepsOneOptionAndWritesItOnce) {
    GenericOptionGroup group(Label("G"), "g");
    group.addOption(GenericOption("a", Label("A"), "1"));
    group.addOption(GenericOption("a", Label("A"), "2"));
    EXPECT_EQ(group.options().size(), 1u);
    EXPECT_EQ(group.order().size(), 2u);
    String text;
    group.toJSONNode(true).write(text);
    EXPECT_EQ(Std(text), "{\"name\":\"G\",\"id\":\"g\",\"options\":{\"a\":\"1\"}}");
    group.setOption(GenericOption("a", Label("A"), "3"));
    EXPECT_EQ(Std(group.getOption(StringView("a")).value.value()), "3");
    EXPECT_EQ(group.order().size(), 2u);
    EXPECT_TRUE(group.hasOption(Label("A B")) == false);
    group.addOption(GenericOption("a_b", Label("A B"), ""));
    EXPECT_TRUE(group.hasOption(Label("A B")));
}

class GenericOptionFileTest : public Testing::TempFolderTest {};

TEST_F(GenericOptionFileTest, CarriesItsValuesThroughAnINIFile) {
    GenericOptionGroup group = Sample();
    group.getOption(StringView("delimiter")).set(StringView("\t"));
    File file = Path("options.ini");
    {
        INIFactory factory;
        factory.setPreserveOrder(true);
        group.addOptionsToINI(factory);
        factory.writeToAsciiFile(file, false);
    }
    EXPECT_EQ(Testing::ReadAll(SystemPath("options.ini")), "delimiter=\\t\nrows=100\nfolder=/data/\n");
    GenericOptionGroup read_back = Sample();
    INIFactory factory = read_back.ini();
    factory.readAsciiFile(file);
    EXPECT_TRUE(read_back == group);
    EXPECT_EQ(Std(read_back.getOption(StringView("delimiter")).value.value()), "\t");
}

} // namespace
} // namespace QELTA
