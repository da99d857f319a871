// DBFParser: tables written here from the dBASE layout (32-byte header, 32-byte field
// descriptors, 0x0D, flagged records, 0x1A) dump to the hand-worked lines, and the failures give
// their exact texts.
#include "Base/Files/DBFParser.h"

#include "tests/Files/TempFolderFixture.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace QELTA {
namespace {

struct Field {
    std::string name;
    char type;
    unsigned char width;
};

// A table by the published layout; `records` are the flag byte and the field bytes together.
std::string Table(std::vector<Field> const & fields, std::vector<std::string> const & records, bool end_byte = true,
                  unsigned int count_override = 0) {
    unsigned int record_size = 1;
    for (Field const & field : fields) {
        record_size += field.width;
    }
    unsigned int const count = count_override != 0 ? count_override : static_cast<unsigned int>(records.size());
    unsigned int const header_size = 32 + 32 * static_cast<unsigned int>(fields.size()) + 1;
    std::string table(32, '\0');
    table[0] = 0x03;
    table[1] = 124; // 2024-05-06
    table[2] = 5;
    table[3] = 6;
    for (unsigned int i = 0; i < 4; ++i) {
        table[4 + i] = static_cast<char>(count >> (8 * i));
    }
    table[8] = static_cast<char>(header_size & 0xFF);
    table[9] = static_cast<char>(header_size >> 8);
    table[10] = static_cast<char>(record_size & 0xFF);
    table[11] = static_cast<char>(record_size >> 8);
    for (Field const & field : fields) {
        std::string descriptor(32, '\0');
        descriptor.replace(0, field.name.size(), field.name);
        descriptor[11] = field.type;
        descriptor[16] = static_cast<char>(field.width);
        table += descriptor;
    }
    table += '\x0D';
    for (std::string const & record : records) {
        table += record;
    }
    if (end_byte) {
        table += '\x1A';
    }
    return table;
}

// More records than fields: the descriptors are read up to the end byte (see DBFParser.h).
std::vector<Field> const people_fields = {{"NAME", 'C', 8}, {"CITYNAMEXYZ", 'C', 5}};
std::vector<std::string> const people = {" Alice   Paris", "*Bob     Rome ", " Carol   Oslo "};

class DBFParserTest : public Testing::TempFolderTest {
  protected:
    File Write(std::string const & bytes) {
        Testing::WriteAll(SystemPath("table.dbf"), bytes);
        return Path("table.dbf");
    }
    std::string Dump(std::string const & bytes, std::vector<char const *> names, std::string & printed) {
        DBFParser parser(Write(bytes));
        testing::internal::CaptureStdout();
        parser.DumpFields(SystemPath("out.txt").c_str(), names.data(), names.size());
        printed = testing::internal::GetCapturedStdout();
        return Testing::ReadAll(SystemPath("out.txt"));
    }
};

TEST_F(DBFParserTest, DumpAllWritesTheLiveRecords) {
    struct Row {
        char const * name;
        std::string table;
        std::string expected;
    };
    Row const rows[] = {
        {"with end byte", Table(people_fields, people), "Alice   Paris\nCarol   Oslo \n"},
        {"ends in a deleted record", Table(people_fields, {people[0], people[2], people[1]}, false),
         "Alice   Paris\nCarol   Oslo \n"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        DBFParser parser(Write(row.table));
        parser.DumpAll(SystemPath("all.txt").c_str());
        EXPECT_EQ(Testing::ReadAll(SystemPath("all.txt")), row.expected);
    }
}

TEST_F(DBFParserTest, DumpFieldsCountsRecordsAgainstTheHeader) {
    struct Row {
        char const * name;
        std::string table;
        std::vector<char const *> names;
        std::string expected;
        std::string printed;
    };
    Row const rows[] = {
        // The third pass reads the end byte as a flag and rewrites the last bytes of the buffer.
        {"two of three fields",
         Table(people_fields, people),
         {"NAME", "CITYNAMEXYZ"},
         "Alice   Paris\nCarol   Oslo \nOslo    Oslo \n",
         "Created 3, records 42 bytes.\n"},
        {"a field behind a skipped one",
         Table(people_fields, people),
         {"CITYNAMEXYZ"},
         "Paris\nOslo \nOslo \n",
         "Created 3, records 18 bytes.\n"},
        {"no fields", Table(people_fields, people), {}, "\n\n\n", "Created 3, records 3 bytes.\n"},
        {"ends in a deleted record",
         Table(people_fields, {people[0], people[2], people[1]}, false),
         {"NAME"},
         "Alice   \nCarol   \n",
         "Created 2, records 18 bytes.\n"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        std::string printed;
        EXPECT_EQ(Dump(row.table, row.names, printed), row.expected);
        EXPECT_EQ(printed, row.printed);
    }
}

TEST_F(DBFParserTest, FailuresRaiseTheStandardLogicError) {
    struct Row {
        char const * name;
        std::string table;
        std::vector<char const *> names;
        std::string message;
    };
    Row const rows[] = {
        {"out of order", Table(people_fields, people), {"CITYNAMEXYZ", "NAME"}, "Field not found: NAME"},
        {"unknown name", Table(people_fields, people), {"NAME", "ZIP"}, "Field not found: ZIP"},
        {"no records, no descriptors", Table(people_fields, {}), {"NAME"}, "Field not found: NAME"},
        {"count beyond the file",
         Table(people_fields, people, true, 0xFFFFFFFFu),
         {"NAME"},
         "Record count exceeds the file"},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.name);
        std::string printed;
        try {
            Dump(row.table, row.names, printed);
            ADD_FAILURE() << "no exception";
        } catch (std::logic_error const & error) {
            testing::internal::GetCapturedStdout();
            EXPECT_EQ(std::string(error.what()), row.message);
        }
    }
    try {
        DBFParser parser(Path("missing.dbf"));
        ADD_FAILURE() << "no exception";
    } catch (std::logic_error const & error) {
        EXPECT_EQ(std::string(error.what()), "Cannot open file");
    }
}

} // namespace
} // namespace QELTA
