// Formula tables: columns by position, repeated ids, offered formulas, categories and units, and
// tables that are short, ragged or not text at all.
#include "Base/Formula/FormulaTree.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace QELTA {
namespace {

std::string Text(String const & text) {
    return std::string(text.data(), text.size());
}

constexpr char table[] =
    "Title\tId\tFormula\tDescription\tSource\tTop\tCategory\tUnit\n"
    "\"Slope\" length\tslope\tsqrt(3*3+(4*4))\tthe \"hypotenuse\"\tPythagoras\t Y\tDISTANCE\tmeters\n"
    "Slope length\tslope\t[a]*2\t\t\t0\tdistance\tfeet\r\n"
    "Weight\tload\t2*[m]\t\t\tt\t \"mass\" \t kilograms \n"
    "Gravity\tg\t9.80665\t\t\tT\tgravity\tfps^2\n"
    "Angle\tturn\t90\t\t\tn\trotation\tN:CW:degrees:90:UP\n"
    "Short\tshort\n"
    "Long\tlong\t1+1\td\ts\t1\tVOLUME\tliters\textra\tcolumns\n";

TEST(FormulaTreeTest, ReadsColumnsByPosition) {
    FormulaTree tree;
    tree.readText(table);
    ASSERT_EQ(tree.formulas.size(), 6u);
    Buffer<Formula> const & slopes = tree.formulas.at(String("slope"));
    ASSERT_EQ(slopes.size(), 2u); // in file order
    EXPECT_EQ(Text(slopes[0].translated_name.englishDefine()), "Slope length");
    EXPECT_EQ(Text(slopes[0].description), "the hypotenuse");
    EXPECT_EQ(Text(slopes[0].source), "Pythagoras");
    EXPECT_DOUBLE_EQ(slopes[0].solve(), 5.0);
    EXPECT_TRUE(std::isnan(slopes[1].solve()));

    struct Case {
        char const * id;
        UnitCategory category;
        char const * unit;
        double value;
    } const cases[] = {
        {"slope", UnitCategory::DISTANCE, "meters", 5.0},
        {"load", UnitCategory::WEIGHT, "kilograms", NAN},
        {"g", UnitCategory::ACCELERATION, "", 9.80665},
        {"turn", UnitCategory::ORIENTATION, "N:CW:decimal degrees:90:UP", 90.0},
        {"short", UnitCategory::UNDEFINED, "", 0.0},
        {"long", UnitCategory::VOLUME, "liters", 2.0},
    };
    for (Case const & test : cases) {
        SCOPED_TRACE(test.id);
        Formula const & formula = tree.formulas.at(String(test.id))[0];
        EXPECT_EQ(formula.category, test.category);
        EXPECT_EQ(formula.unit == nullptr ? std::string() : Text(formula.unit->name()), test.unit);
        double const value = formula.solve();
        EXPECT_TRUE(value == test.value || (std::isnan(value) && std::isnan(test.value)));
    }
    ASSERT_EQ(tree.groups.size(), 4u);
    EXPECT_EQ(tree.groups.at(String("Slope length")).size(), 1u);
    EXPECT_EQ(Text(tree.groups.at(String("Gravity"))[0]), "g");
    EXPECT_FALSE(tree.groups.contains(String("Angle")));
}

class FormulaTreeFileTest : public Testing::TempFolderTest {};

TEST_F(FormulaTreeFileTest, LoadsWhatItCanFromAnyFile) {
    FormulaTree tree;
    EXPECT_FALSE(tree.readFile(Path("absent.txt")));
    Testing::WriteAll(SystemPath("header.txt"), "Title\tId\n");
    EXPECT_TRUE(tree.readFile(Path("header.txt")));
    EXPECT_TRUE(tree.formulas.isEmpty());

    std::string binary(table);
    binary += std::string("\0\xff\t\x01\t1+\0002\t\t\t1\t\xc3\t\xe2\x82\n", 19);
    Testing::WriteAll(SystemPath("table.txt"), binary);
    EXPECT_TRUE(tree.readFile(Path("table.txt")));
    EXPECT_EQ(tree.formulas.size(), 7u);
    EXPECT_EQ(tree.formulas.at(String("slope")).size(), 2u);
}

TEST(FormulaTreeTest, LoadsManyLines) {
    std::string text = "Title\tId\n";
    for (int i = 0; i < 100000; ++i) {
        text += i % 2 == 0 ? "a\tx\t1\n" : "b\ty\n";
    }
    FormulaTree tree;
    tree.readText(StringView(text.data(), static_cast<unsigned int>(text.size())));
    EXPECT_EQ(tree.formulas.at(String("x")).size(), 50000u);
    EXPECT_EQ(tree.formulas.at(String("y")).size(), 50000u);
}

} // namespace
} // namespace QELTA
