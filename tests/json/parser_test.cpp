// The parser: every message with the tree it leaves behind, numbers as the library's own
// conversion reads them, strings with their escapes and bounds, and the nesting limit.
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "json/json.h"
#include "json_test_util.h"

namespace {

using sjson::CJSON;
using sjson::EKind;
using sjson_test::Compact;
using sjson_test::ParseText;

const char* const kTopLevel = "Top level JSON structure must be Record {} or Array []";

struct ParseCase {
    const char* text;
    bool ok;
    const char* error;
    const char* tree;  // the tree left behind, written compactly
};

TEST(JsonParse, MessagesAndTheTreeLeftBehind) {
    const ParseCase cases[] = {
        {"", false, "No JSON data", "<no document>"},
        {" \r\n\t ", false, kTopLevel, "<no document>"},
        {"\"x\"", false, kTopLevel, "<no document>"},
        {"12", false, kTopLevel, "<no document>"},
        {"null", false, kTopLevel, "<no document>"},
        {"\xEF\xBB\xBF{}", false, kTopLevel, "<no document>"},  // a byte-order mark
        {"{}", true, "", "{}"},
        {"[]", true, "", "[]"},
        {" \t\r\n{ \r\n} not examined", true, "", "{}"},
        {"[1] [2", true, "", "[1]"},
        // Each member or element is linked before it is read, so a failure leaves it there.
        {"{\"a\":1,}", false, "Expected quoted string", "{\"a\":1,\"\":null}"},
        {"{a:1}", false, "Expected quoted string", "{\"\":null}"},
        {"{", false, "Expected quoted string", "{\"\":null}"},
        {"{\"a\" 1}", false, "Expected :", "{\"a\":null}"},
        {"{\"a\":1 \"b\":2}", false, "Expected , or }", "{\"a\":1}"},
        {"{\"a\":1", false, "Expected , or }", "{\"a\":1}"},
        {"[1 2]", false, "Expected , or ]", "[1]"},
        {"[12abc]", false, "Expected , or ]", "[12]"},
        // A value that cannot start fails without a message of its own.
        {"[1,]", false, "", "[1,null]"},
        {"[", false, "", "[null]"},
        {"[}", false, "", "[null]"},
        {"{\"a\":}", false, "", "{\"a\":null}"},
        {"[truex]", false, "", "[null]"},
        {"[True]", false, "", "[null]"},
        {"[x]", false, "", "[null]"},
        {"[\f1]", false, "", "[null]"},  // form feed is no whitespace here
        {"[-]", false, "Expected number", "[null]"},
        {"[+]", false, "Expected number", "[null]"},
        {"[-", false, "Expected number", "[null]"},
        {"[.5]", false, "Expected number", "[null]"},
        {"[-.5]", false, "Expected number", "[null]"},
        {"[1.", false, "Expected number", "[null]"},
        // A string ends quietly at the end of the text, a trailing backslash included.
        {"[\"abc", false, "Expected , or ]", "[\"abc\"]"},
        {"[\"ab\\", false, "Expected , or ]", "[\"ab\"]"},
        {" [ 1 , \"a\" ,true,false , null,{ },[ ] ] ", true, "", "[1,\"a\",true,false,null,{},[]]"},
        {"[tRUE,fALSE,nULL]", true, "", "[true,false,null]"},
        {"{\"a\":{\"b\":[1,{\"c\":2}]},\"d\":\"e\"}", true, "",
         "{\"a\":{\"b\":[1,{\"c\":2}]},\"d\":\"e\"}"},
        {"{\"a\":1,\"a\":2}", true, "", "{\"a\":1,\"a\":2}"},
    };
    for (const ParseCase& c : cases) {
        SCOPED_TRACE(c.text);
        const sjson_test::Parsed parsed = ParseText(c.text);
        EXPECT_EQ(parsed.ok, c.ok);
        EXPECT_EQ(parsed.error, c.error);
        EXPECT_EQ(parsed.compact, c.tree);
    }
}

TEST(JsonParse, NewTextReplacesTheDocumentUnlessItsTopLevelIsRefused) {
    CJSON doc;
    ASSERT_TRUE(ParseText("[1]", doc).ok);
    const sjson_test::Parsed refused = ParseText("x", doc);
    EXPECT_FALSE(refused.ok);
    EXPECT_EQ(refused.compact, "[1]");
    ASSERT_TRUE(ParseText("{\"b\":2}", doc).ok);
    EXPECT_EQ(Compact(doc), "{\"b\":2}");
    EXPECT_EQ(doc.Current(), doc.Root());
}

TEST(JsonParse, TheCursorIsBackOnTheRootAfterAFailure) {
    CJSON doc;
    ASSERT_FALSE(ParseText("{\"a\":[[1,", doc).ok);
    EXPECT_EQ(doc.Current(), doc.Root());
}

struct NumberCase {
    const char* text;
    EKind kind;
    int64_t integer;
    double real;
};

TEST(JsonParse, Numbers) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
    constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
    const NumberCase cases[] = {
        {"12", EKind::Integer, 12, 0},
        {"-12", EKind::Integer, -12, 0},
        {"+7", EKind::Integer, 7, 0},
        {"0012", EKind::Integer, 12, 0},
        {"-0", EKind::Integer, 0, 0},
        {"12.0", EKind::Real, 0, 12.0},
        {"1.", EKind::Real, 0, 1.0},
        {"1e3", EKind::Real, 0, 1000.0},
        {"1E+3", EKind::Real, 0, 1000.0},
        {"1e", EKind::Real, 0, 1.0},
        {"1.e5", EKind::Real, 0, 100000.0},
        {"25e-1", EKind::Real, 0, 2.5},
        {"2459000.5", EKind::Real, 0, 2459000.5},
        {"-0.25", EKind::Real, 0, -0.25},
        // The exponent is applied one power of ten at a time, each step rounding once: these
        // differ in the last bit from the correctly rounded values 0x1.f75104d551d69p-16,
        // 0x1.93e5939a08ceap+99 and 0x1.ddd4baa009303p+998 (steps replayed in IEEE doubles).
        {"3e-5", EKind::Real, 0, 0x1.f75104d551d6ap-16},
        {"1e30", EKind::Real, 0, 0x1.93e5939a08ce9p+99},
        {"5e300", EKind::Real, 0, 0x1.ddd4baa009304p+998},
        {"1e309", EKind::Real, 0, kInf},
        {"-1e99999999999", EKind::Real, 0, -kInf},
        {"1e-400", EKind::Real, 0, 0.0},
        {"0e99999999", EKind::Real, 0, 0.0},
        // Only the first eleven fraction digits count.
        {"0.00000000001", EKind::Real, 0, 1e-11},
        {"0.000000000009", EKind::Real, 0, 0.0},
        // Integers are exact over the whole 64-bit range and saturate beyond it.
        {"9007199254740993", EKind::Integer, 9007199254740993, 0},
        {"9223372036854775807", EKind::Integer, kMax, 0},
        {"9223372036854775808", EKind::Integer, kMax, 0},
        {"-9223372036854775808", EKind::Integer, kMin, 0},
        {"-99999999999999999999", EKind::Integer, kMin, 0},
    };
    for (const NumberCase& c : cases) {
        SCOPED_TRACE(c.text);
        CJSON doc;
        ASSERT_TRUE(ParseText(std::string("[") + c.text + "]", doc).ok);
        const sjson::CJSONNode* node = doc.Root()->Child(0);
        ASSERT_EQ(node->Kind(), c.kind);
        if (c.kind == EKind::Integer)
            EXPECT_EQ(node->Integer(), c.integer);
        else
            EXPECT_EQ(node->Real(), c.real);
    }
}

TEST(JsonParse, FractionDigitsBeyondTheEleventhAreIgnored) {
    CJSON doc;
    ASSERT_TRUE(ParseText("[1.1234567890123, 1.12345678901, 1.123456789019999]", doc).ok);
    EXPECT_EQ(doc.Root()->Child(0)->Real(), doc.Root()->Child(1)->Real());
    EXPECT_EQ(doc.Root()->Child(2)->Real(), doc.Root()->Child(1)->Real());
    EXPECT_NE(doc.Root()->Child(1)->Real(), 1.1234567890);
}

struct StringCase {
    std::string text;  // the array's content
    std::string value;
};

TEST(JsonParse, StringEscapesAndRawBytes) {
    using namespace std::string_literals;
    const StringCase cases[] = {
        {R"("a\u0041")", "au0041"},
        {R"("\t\n\r")", "\t\n\r"},
        {R"("\"\\\/")", "\"\\/"},
        {R"("\b\f\x")", "bfx"},
        {"\"\x01\xff\xc3(\"", "\x01\xff\xc3("},  // invalid UTF-8 passes through
        {"\"tab\there\r\n\"", "tab\there\r\n"},
        {"\"nul\\\0byte\""s, "nul\0byte"s},
        {R"("")", ""},
    };
    for (const StringCase& c : cases) {
        SCOPED_TRACE(c.text);
        CJSON doc;
        ASSERT_TRUE(ParseText("[" + c.text + "]", doc).ok);
        std::string value;
        ASSERT_TRUE(doc.GetStringAt(0, value));
        EXPECT_EQ(value, c.value);
    }
}

TEST(JsonParse, StringsStopAtTheirCapacity) {
    const std::string full(sjson::kValueCapacity, 'x');
    CJSON doc;
    // Exactly at the capacity the closing quote is still read.
    ASSERT_TRUE(ParseText("[\"" + full + "\"]", doc).ok);
    EXPECT_EQ(doc.Root()->Child(0)->Text(), full);
    // One more and the reading stops where it is: the rest is parsed as what follows.
    sjson_test::Parsed parsed = ParseText("[\"" + full + "y\"]", doc);
    EXPECT_FALSE(parsed.ok);
    EXPECT_EQ(parsed.error, "Expected , or ]");
    EXPECT_EQ(doc.Root()->Child(0)->Text(), full);
    parsed = ParseText("[\"" + full + ",1,\"z\"]", doc);
    EXPECT_TRUE(parsed.ok);
    EXPECT_EQ(parsed.compact, "[\"" + full + "\",1,\"z\"]");
    // The capacity counts characters read, not bytes of the text.
    std::string escaped;
    for (size_t i = 0; i < sjson::kValueCapacity; ++i) escaped += "\\\"";
    ASSERT_TRUE(ParseText("[\"" + escaped + "\"]", doc).ok);
    EXPECT_EQ(doc.Root()->Child(0)->Text(), std::string(sjson::kValueCapacity, '"'));
}

TEST(JsonParse, NamesStopAtSixtyThreeCharacters) {
    const std::string name(sjson::kNameCapacity, 'n');
    CJSON doc;
    ASSERT_TRUE(ParseText("{\"" + name + "\":1}", doc).ok);
    EXPECT_EQ(sjson::NameOf(*doc.Root()->Child(0)), name);
    const sjson_test::Parsed longer = ParseText("{\"" + name + "n\":1}", doc);
    EXPECT_FALSE(longer.ok);
    EXPECT_EQ(longer.error, "Expected :");
}

TEST(JsonParse, NestingIsLimited) {
    const std::string message = "JSON nested deeper than 256 levels";
    struct DepthCase {
        std::string text;
        bool ok;
        std::string error;
    };
    const auto arrays = [](size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    std::string records = "1";
    for (int i = 0; i < 257; ++i) records = "{\"a\":" + records + "}";
    const DepthCase cases[] = {
        {arrays(sjson::kMaxDepth), true, ""},
        {arrays(sjson::kMaxDepth + 1), false, message},
        {records, false, message},
        {std::string(1000000, '['), false, message},
    };
    for (const DepthCase& c : cases) {
        SCOPED_TRACE(c.text.substr(0, 16));
        const sjson_test::Parsed parsed = ParseText(c.text);
        EXPECT_EQ(parsed.ok, c.ok);
        EXPECT_EQ(parsed.error, c.error);
    }
}

TEST(JsonParse, SourceLeftAfterTheTopLevelValue) {
    CJSON doc;
    sjson::CJSONSource source("  {\"a\":[1]}  tail");
    ASSERT_TRUE(doc.Parse(source));
    EXPECT_EQ(source.position, 11u);
    EXPECT_EQ(source.error, "");
}

}  // namespace
