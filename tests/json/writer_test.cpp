// The writer: its exact bytes under each flag, escapes, the bounds on values and member lines,
// the text of reals, and texts that read back and write again unchanged.
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "json/json.h"
#include "json_test_util.h"

namespace {

using kurvalux_platform::CTextBuffer;
using sjson::CJSON;
using sjson_test::Compact;
using sjson_test::ParseText;
using sjson_test::Pretty;

std::string Written(const CJSON& doc, unsigned flags) {
    CTextBuffer out;
    EXPECT_TRUE(doc.Write(out, flags));
    return out.Text();
}

TEST(JsonWrite, OneStringMemberUnderEachFlag) {
    CJSON doc;
    doc.Reset(false);
    doc.AddString("name", "value");
    struct FlagCase {
        unsigned flags;
        const char* text;
    };
    const FlagCase cases[] = {
        {sjson::kWritePretty, "{\r\n\t\"name\": \"value\"\r\n}\r\n"},
        {sjson::kWriteSeparator, "{\t\"name\": \"value\"}"},
        {sjson::kWriteLineEnds, "{\r\n\t\"name\":\"value\"\r\n}\r\n"},
        {0, "{\t\"name\":\"value\"}"},
    };
    for (const FlagCase& c : cases) {
        SCOPED_TRACE(c.flags);
        EXPECT_EQ(Written(doc, c.flags), c.text);
    }
}

TEST(JsonWrite, NestedDocumentWithCommasAndIndentation) {
    CJSON doc;
    ASSERT_TRUE(ParseText("{\"a\":[1,2.5,{\"b\":null},[]],\"c\":true,\"d\":{},\"e\":-3}", doc).ok);
    EXPECT_EQ(Pretty(doc),
              "{\r\n"
              "\t\"a\": [\r\n"
              "\t\t1,\r\n"
              "\t\t2.50000000,\r\n"
              "\t\t{\r\n"
              "\t\t\t\"b\": null\r\n"
              "\t\t},\r\n"
              "\t\t[\r\n"
              "\t\t]\r\n"
              "\t],\r\n"
              "\t\"c\": true,\r\n"
              "\t\"d\": {\r\n"
              "\t},\r\n"
              "\t\"e\": -3\r\n"
              "}\r\n");
}

TEST(JsonWrite, AppendsAtTheBuffersIndentation) {
    CJSON doc;
    doc.Reset(true);
    doc.AppendInteger(1);
    CTextBuffer out;
    out.AppendRaw("x=");
    out.indent = 1;
    ASSERT_TRUE(doc.Write(out, sjson::kWriteLineEnds));
    EXPECT_EQ(out.Text(), "x=\t[\r\n\t\t1\r\n\t]\r\n");
    EXPECT_EQ(out.indent, 1);
    EXPECT_FALSE(CJSON().Write(out, 0));
}

TEST(JsonWrite, EscapesOnlyQuoteBackslashTabLineFeedAndReturn) {
    CJSON doc;
    doc.Reset(true);
    doc.AppendString("a\"b\\c\td\ne\rf/\x01\x7f\xe9");
    doc.Leave();
    EXPECT_EQ(Compact(doc), "[\"a\\\"b\\\\c\\td\\ne\\rf/\x01\x7f\xe9\"]");
}

TEST(JsonWrite, NamesAreEscapedToo) {
    CJSON doc;
    doc.Reset(false);
    doc.AddInteger("q\"t\tx", 1);
    EXPECT_EQ(Compact(doc), "{\"q\\\"t\\tx\":1}");
}

TEST(JsonWrite, ValuesAreCutWithoutSplittingAnEscape) {
    const size_t capacity = sjson::kValueCapacity;
    struct CutCase {
        std::string value;
        std::string written;  // between the quotes
    };
    const CutCase cases[] = {
        {std::string(5000, 'x'), std::string(capacity, 'x')},
        {std::string(capacity - 1, 'x') + "\"", std::string(capacity - 1, 'x')},
        {std::string(capacity - 2, 'x') + "\"", std::string(capacity - 2, 'x') + "\\\""},
        {std::string(capacity - 2, 'x') + "\ty", std::string(capacity - 2, 'x') + "\\t"},
    };
    for (const CutCase& c : cases) {
        CJSON doc;
        doc.Reset(true);
        doc.AppendString(c.value);
        EXPECT_EQ(Compact(doc), "[\"" + c.written + "\"]");
    }
}

TEST(JsonWrite, MemberLinesStopAt1024Characters) {
    CJSON doc;
    doc.Reset(false);
    doc.AddString("n", std::string(2000, 'y'));
    doc.AddString("m", std::string(1000, 'z') + "\"\"\"\"\"\"\"\"\"\"\"\"");
    const std::string text = Written(doc, sjson::kWritePretty);
    // "n": "yyy...y" is 1024 characters: 5 for the name and separator, 2 quotes, 1017 y.
    const std::string first = "\t\"n\": \"" + std::string(1017, 'y') + "\",\r\n";
    const std::string second =
        "\t\"m\": \"" + std::string(1000, 'z') + "\\\"\\\"\\\"\\\"\\\"\\\"\\\"\\\"\"\r\n";
    EXPECT_EQ(text, "{\r\n" + first + second + "}\r\n");
    // Without the separator the name takes one character less.
    EXPECT_EQ(Written(doc, 0).find(std::string(1018, 'y') + "\""), 7u);
}

struct RealCase {
    double value;
    const char* text;
};

TEST(JsonWrite, Reals) {
    const double inf = std::numeric_limits<double>::infinity();
    const RealCase cases[] = {
        {0.0, "0"},
        {-0.0, "0"},
        {1e-9, "0"},  // rounds to zero, so written as zero is
        {-4e-9, "0"},
        {6e-9, "0.00000001"},
        {2.5, "2.50000000"},
        {-1.0 / 3.0, "-0.33333333"},
        {2459000.123456789, "2459000.12345679"},
        {8388607.999999999, "8388608.00000000"},
        // Larger values whose own eight decimals do not read back to themselves are written as
        // the nearest multiple of 1/256, 1/128, ... that does; beyond 2^53 a value that does
        // not read back exactly is rounded to 42 bits. (Each text checked by replaying the
        // reader's digit-by-digit steps in IEEE doubles.)
        {8388608.3, "8388608.30000000"},
        {155875963909.9717, "155875963909.97171021"},
        {1201665001.3481677, "1201665001.34765625"},
        {15944541655920.365, "15944541655920.25000000"},
        {1e15 + 0.3, "1000000000000000.25000000"},
        {1e20, "100000000000000000000.00000000"},
        {1e300,
         "100000000000009105793955909552786349012935535502243918804019567045269667122669833135"
         "458959182810882834455160860153997385883848304531111839626181953301602378167995066747767"
         "372155326561833907338246765081225646725858386299894692465222629551366904153770903440812"
         "6694737179998569463079661201304806859210752.00000000"},
        {DBL_MAX,
         "179769313486190616171375771281169168029999051598469292499053341214405628510613727172568"
         "407490136970834088550068928029157225078496887057868340945710161619149180749105835806315"
         "559836533812307189070031830179958145895424185195582879799935269479071743348964689272338"
         "032677047729086666944798684928277367100404662272.00000000"},
        {inf, "null"},
        {-inf, "null"},
        {std::nan(""), "null"},
    };
    for (const RealCase& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(sjson::FormatReal(c.value), c.text);
    }
}

TEST(JsonWrite, Integers) {
    CJSON doc;
    doc.Reset(true);
    for (int64_t v : {int64_t{0}, int64_t{-5}, std::numeric_limits<int64_t>::max(),
                      std::numeric_limits<int64_t>::min()})
        doc.AppendInteger(v);
    EXPECT_EQ(Compact(doc), "[0,-5,9223372036854775807,-9223372036854775808]");
}

std::string Repeat(const std::string& piece, int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += piece;
    return text;
}

// Parse, write, parse, write: the two written texts must be the same.
void ExpectStableText(const std::string& text) {
    SCOPED_TRACE(text.substr(0, 80));
    CJSON first;
    ASSERT_TRUE(ParseText(text, first).ok);
    const std::string written = Pretty(first);
    CJSON second;
    const sjson_test::Parsed again = ParseText(written, second);
    ASSERT_TRUE(again.ok) << again.error;
    EXPECT_EQ(Pretty(second), written);
}

TEST(JsonWrite, ParsedTextsWriteAndParseToTheSameText) {
    const std::string long_name(sjson::kNameCapacity, 'k');
    const std::string texts[] = {
        "{}",
        "[]",
        "{\"status\":\"ok\",\"objects\":[{\"token\":\"Ab3\",\"m0\":2459000.1234567,"
        "\"period\":0.3,\"ra\":0,\"notes\":[\"line \\\"one\\\"\",\"\\ttwo\"],\"x\":null,"
        "\"b\":[true,false]}]}",
        "[1e400,-1e400,1e-400,0.000000004,0.000000006,12345678.123456789]",
        "[9007199254740993,-9223372036854775808,99999999999999999999999]",
        "[1.7976931348623157e308,4503599627370497.5,123456789012345678901234567890]",
        "{\"" + long_name + "\":\"" + std::string(3000, 'v') + "\"}",
        "[\"" + std::string(4000, 'w') + Repeat("\\\"", 95) + "\"]",
        "[\"\\u00e9\\b\\/\x01\xff\"]",
        std::string(sjson::kMaxDepth, '[') + std::string(sjson::kMaxDepth, ']'),
    };
    for (const std::string& text : texts) ExpectStableText(text);
}

// The reader's digit-by-digit conversion must land on a value that writes the same text, at
// every magnitude: values spread evenly over the exponents, both signs.
TEST(JsonWrite, RealsReadBackToTheirOwnText) {
    std::mt19937_64 random(20240611);
    std::uniform_real_distribution<double> exponent(-12.0, 308.2);
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    std::string text = "[";
    for (int i = 0; i < 20000; ++i) {
        double v = mantissa(random) * std::pow(10.0, std::floor(exponent(random)));
        if (i % 2) v = -v;
        if (!std::isfinite(v)) continue;
        text += sjson::FormatReal(v) + ",";
    }
    // The neighbours of the thresholds and of powers of two, both sides.
    for (double edge : {8388608.0, 17179869184.0, 1099511627776.0, 9007199254740992.0, 0x1p1023}) {
        double below = edge, above = edge;
        for (int i = 0; i < 300; ++i) {
            below = std::nextafter(below, 0.0);
            above = std::nextafter(above, DBL_MAX);
            text += sjson::FormatReal(below) + "," + sjson::FormatReal(above) + ",";
        }
    }
    text += "0]";
    CJSON first;
    ASSERT_TRUE(ParseText(text, first).ok);
    EXPECT_EQ(Compact(first), text);
}

}  // namespace
