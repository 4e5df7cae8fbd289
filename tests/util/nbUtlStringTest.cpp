#include "util/nbUtlString.h"

#include "tests/support/support.h"
#include "util/nbFile.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

TEST(Strtok, CutsTheStringUp)
{
    char text[] = ",, one,two==three,";
    char* save = nullptr;
    EXPECT_STREQ(nbUtlStrtok_r(text, ", ", &save), "one");
    EXPECT_STREQ(nbUtlStrtok_r(nullptr, ",=", &save), "two");
    EXPECT_STREQ(nbUtlStrtok_r(nullptr, ",", &save), "=three");
    EXPECT_EQ(nbUtlStrtok_r(nullptr, ",", &save), nullptr);
    EXPECT_EQ(save, nullptr);
    EXPECT_EQ(nbUtlStrtok_r(nullptr, ",", &save), nullptr);
    char last[] = "end";
    EXPECT_STREQ(nbUtlStrtok_r(last, ",", &save), "end");
    EXPECT_EQ(save, nullptr);
}

TEST(UtlGetParam, FindsTheKeysOfAFile)
{
    const struct {
        const char* file;
        const char* key;
        int mode, result;
        const char* value; // "default": untouched
    } rows[] = {
        {"KEY = 12, 13\nOTHER=1\n", "KEY", 1, 0, "12"},
        {"A=1\nB=2\nA 3\n", "A", 1, 1, "1"},
        {"A=1\nB=2\nA 3\n", "A", 0, 1, "3"},
        {"A=1\nB=2\n", "a", 1, 2, "default"},
        {"\n  A,1\n", "A", 1, 0, "1"},             // the longest line
        {"A=1\nA\nLONG LINE\n", "A", 0, 1, "1"},   // the second has no value
        {"A=\nLONG LINE\n", "A", 1, 2, "default"}, // a key alone
        {"", "A", 1, 2, "default"},
        {"\n\n\n", "A", 1, 2, "default"},
        {"A=1", "A", 1, 2, "default"}, // no newline in the whole file
        {"B=12\nA=1", "A", 1, 0, "1"},
        {"B=1\nLONGKEY=5", "LONGKEY", 1, 2, "default"}, // read as LON GKE Y=5
        {"B=1\nLONGKEY=5", "Y", 1, 0, "5"},
    };
    for (const auto& row : rows) {
        const TempFile file{std::string_view(row.file)};
        const NbFilePtr f = nbpFileOpenRead(file.path().c_str());
        char value[64] = "default";
        EXPECT_EQ(nbUtlGetParam(f.get(), row.key, value, NB_PARAM_TEXT, row.mode), row.result)
            << row.file;
        EXPECT_STREQ(value, row.value) << row.file;
    }
}

TEST(UtlGetParam, StoresEachType)
{
    const TempFile file("I=-70001\nL=5000000000\nR=-1.5e3\nW=word\n");
    const NbFilePtr f = nbpFileOpenRead(file.path().c_str());
    const auto get = [&]<class T>(const char* key, int type, T value) {
        EXPECT_EQ(nbUtlGetParam(f.get(), key, &value, type, 1), 0);
        return value;
    };
    EXPECT_EQ(get("I", NB_PARAM_INT8, std::int8_t{0}), -113);    // 70001 is 0x11171
    EXPECT_EQ(get("I", NB_PARAM_INT16, std::int16_t{0}), -4465); // 0x1171
    EXPECT_EQ(get("I", NB_PARAM_INT32, std::int32_t{0}), -70001);
    EXPECT_EQ(get("L", NB_PARAM_LONG, std::int32_t{0}), 2147483647);
    EXPECT_EQ(get("L", NB_PARAM_INT64, std::int64_t{0}), 5000000000);
    EXPECT_EQ(get("R", NB_PARAM_FLOAT, 0.0F), -1500.0F);
    EXPECT_EQ(get("R", NB_PARAM_DOUBLE, 0.0), -1500.0);
    EXPECT_EQ(get("W", NB_PARAM_DOUBLE, 1.0), 0.0);
}

TEST(UtlGetParam, BadTypeIsToldOnStandardErrorOnceTheKeyIsFound)
{
    const TempFile file("A=1\nLONG LINE\n");
    const NbFilePtr f = nbpFileOpenRead(file.path().c_str());
    int value = 7;
    StderrCapture err;
    EXPECT_EQ(nbUtlGetParam(f.get(), "A", &value, 8, 1), 3);
    EXPECT_EQ(nbUtlGetParam(f.get(), "B", &value, 8, 1), 2);
    EXPECT_EQ(nbUtlGetParam(nullptr, "A", &value, 3, 1), 3);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(err.get(), "retType=8 is not correct.\n");
}

namespace {
struct CsvResult {
    int result;
    int count = -1;
    std::vector<std::string> values;
};

CsvResult csvItem(const char* text, const char* item, int mode)
{
    const TempFile file{std::string_view(text)};
    const NbFilePtr f = nbpFileOpenRead(file.path().c_str());
    char buffers[3][32] = {"-", "-", "-"};
    char* values[3] = {buffers[0], buffers[1], buffers[2]};
    CsvResult r{};
    r.result = nbUtlGetCsvItem(f.get(), item, ";", values, &r.count, mode);
    r.values.assign(values, values + 3);
    return r;
}

using Strings = std::vector<std::string>;
} // namespace

TEST(UtlGetCsvItem, CopiesTheFieldsOfALine)
{
    const CsvResult r = csvItem("X;9\n\nITEM;a b;;c\n", "ITEM", 1);
    EXPECT_EQ(r.result, 0);
    EXPECT_EQ(r.count, 2);
    EXPECT_EQ(r.values, (Strings{"a b", "c", "-"}));
    EXPECT_EQ(csvItem("\n\n", "ITEM", 1).result, 2);
}

// Deliberate: with the first occurrence winning, a second one copies nothing and clears the count.
TEST(UtlGetCsvItem, RepeatedItemByMode)
{
    const char* text = "ITEM;a;b\nITEM;c\n";
    const CsvResult first = csvItem(text, "ITEM", 1);
    EXPECT_EQ(first.result, 1);
    EXPECT_EQ(first.count, 0);
    EXPECT_EQ(first.values, (Strings{"a", "b", "-"}));
    const CsvResult last = csvItem(text, "ITEM", 2);
    EXPECT_EQ(last.result, 1);
    EXPECT_EQ(last.count, 1);
    EXPECT_EQ(last.values, (Strings{"c", "b", "-"}));
}

TEST(UtlGetCsvItem, ItemWithoutFieldsIsAWarningAndNullArgumentsAreErrors)
{
    const TempFile file("ITEM\nITEM;a\nITEM;\nLONG LINE\n");
    const NbFilePtr f = nbpFileOpenRead(file.path().c_str());
    char buffer[32] = "-";
    char* values[1] = {buffer};
    int count = -1;
    StderrCapture err;
    EXPECT_EQ(nbUtlGetCsvItem(f.get(), "ITEM", ";", values, &count, 1), 0);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(nbUtlGetCsvItem(f.get(), nullptr, ";", values, &count, 1), 3);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(nbUtlGetCsvItem(f.get(), "ITEM", nullptr, values, &count, 1), 3);
    const std::string warning = "NB_Warn: nbUtlGetCsvItem() : item [ITEM] に対応する parameter "
                                "が見つかりません\n";
    EXPECT_EQ(err.get(), warning + warning +
                             "NB_Error: nbUtlGetCsvItem() : item が指定されていません\n"
                             "NB_Error: nbUtlGetCsvItem() : 区切り文字が指定されていません\n");
}
