// The keyword scanner's primitives: values read, positions left, and the exact message with
// its offending token for every refusal.
#include "data/keyword_scanner.h"

#include <cmath>

#include <gtest/gtest.h>

using kurvalux_data::CKeywordScanner;
using kurvalux_data::CKeywordWriter;

namespace {

struct NumberCase {
    const char* text;
    bool ok;
    double value;
    const char* error;
};

TEST(KeywordScanner, Numbers) {
    const NumberCase cases[] = {
        {"12.5\n", true, 12.5, ""},
        {"  -.5\n", true, -0.5, ""},
        {"+3\n", true, 3.0, ""},
        {"1e3\n", true, 1.0, ""},
        {"0.123456789012345\n", true, 0.12345678901, ""},
        {"2459000.1234567\n", true, 2459000.1234567, ""},
        {".5\n", false, 0, "Expected number: .5"},
        {"abc,def\n", false, 0, "Expected number: abc"},
        {" ; x12\n", false, 0, "Expected number: x12"},
        {"5.", false, 0, "Expected number: 5."},
        {"inf\n", false, 0, "Expected number: inf"},
    };
    for (const NumberCase& c : cases) {
        SCOPED_TRACE(c.text);
        CKeywordScanner scanner(c.text);
        double value = -99;
        ASSERT_EQ(scanner.ReadNumber(value), c.ok);
        if (c.ok)
            EXPECT_NEAR(value, c.value, 1e-12 * std::max(1.0, std::fabs(c.value)));
        else
            EXPECT_EQ(scanner.Error(), c.error);
    }
}

TEST(KeywordScanner, FractionDigitsBeyondElevenAreIgnored) {
    CKeywordScanner a("0.123456789019999\n"), b("0.12345678901\n");
    double va = 0, vb = 0;
    ASSERT_TRUE(a.ReadNumber(va));
    ASSERT_TRUE(b.ReadNumber(vb));
    EXPECT_EQ(va, vb);
}

TEST(KeywordScanner, IntegersWrapIn32Bits) {
    CKeywordScanner scanner("4294967297\n");
    int32_t value = 0;
    ASSERT_TRUE(scanner.ReadInteger(value));
    EXPECT_EQ(value, 1);
    CKeywordScanner negative("-17\n");
    ASSERT_TRUE(negative.ReadInteger(value));
    EXPECT_EQ(value, -17);
}

struct WordCase {
    const char* text;
    bool ok;
    const char* word;
    const char* error;
};

TEST(KeywordScanner, Identifiers) {
    const WordCase cases[] = {
        {"\t name = 1", true, "name", ""},
        {"x_2Z9 rest", true, "x_2Z9", ""},
        {"_under", true, "_under", ""},
        {"yes", false, "", "Expected identifier: yes"},
        {"Zebra", false, "", "Expected identifier: Zebra"},
        {"9lives", false, "", "Expected identifier: 9lives"},
        {"\"quoted\"", false, "", "Expected identifier: \"quoted\""},
    };
    for (const WordCase& c : cases) {
        SCOPED_TRACE(c.text);
        CKeywordScanner scanner(c.text);
        std::string word;
        ASSERT_EQ(scanner.ReadIdentifier(word), c.ok);
        if (c.ok)
            EXPECT_EQ(word, c.word);
        else
            EXPECT_EQ(scanner.Error(), c.error);
    }
}

TEST(KeywordScanner, IdentifierLongerThanCapacityIsCut) {
    CKeywordScanner scanner("abcdefgh = 1\n");
    std::string word;
    ASSERT_TRUE(scanner.ReadIdentifier(word, 3));
    EXPECT_EQ(word, "abc");
    EXPECT_TRUE(scanner.ExpectEquals());
}

TEST(KeywordScanner, EqualsSign) {
    struct Case {
        const char* text;
        bool ok;
        const char* error;
    } cases[] = {
        {"key=5\n", true, ""},
        {"key\t=\t5\n", true, ""},
        {"key : 5\n", false, "Expected '=' instead of: :"},
        {"key 5\n", false, "Expected '=' instead of: 5"},
        {"key =", false, "Expected '=' instead of: ="},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        CKeywordScanner scanner(c.text);
        std::string word;
        ASSERT_TRUE(scanner.ReadIdentifier(word));
        EXPECT_EQ(scanner.ExpectEquals(), c.ok);
        if (!c.ok) {
            EXPECT_EQ(scanner.Error(), c.error);
        }
    }
}

TEST(KeywordScanner, Booleans) {
    struct Case {
        const char* text;
        bool ok;
        bool value;
        const char* error;
    } cases[] = {
        {"TRUE\n", true, true, ""},
        {"false\n", true, false, ""},
        {"tRuE\n", true, true, ""},
        {"1\n", false, false, "Expected TRUE or FALSE1"},
        {"yes\n", false, false, "Expected TRUE or FALSEyes"},
        {"maybe\n", false, false, "Expected TRUE or FALSEmaybe"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        CKeywordScanner scanner(c.text);
        bool value = !c.value;
        ASSERT_EQ(scanner.ReadBoolean(value), c.ok);
        if (c.ok)
            EXPECT_EQ(value, c.value);
        else
            EXPECT_EQ(scanner.Error(), c.error);
    }
}

TEST(KeywordScanner, QuotedStrings) {
    struct Case {
        const char* text;
        size_t capacity;
        bool ok;
        const char* value;
        const char* error;
    } cases[] = {
        {"\"plain\"\n", 63, true, "plain", ""},
        {" ,; \"a \"\"b\"\" c\"\n", 63, true, "a \"b\" c", ""},
        {"\"cut here\"\n", 3, true, "cut", ""},
        {"\"unterminated", 63, true, "unterminated", ""},
        {"plain\n", 63, false, "", "Expected quoted string: plain"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        CKeywordScanner scanner(c.text);
        std::string value;
        ASSERT_EQ(scanner.ReadQuotedString(value, c.capacity), c.ok);
        if (c.ok)
            EXPECT_EQ(value, c.value);
        else
            EXPECT_EQ(scanner.Error(), c.error);
    }
}

TEST(KeywordScanner, TokensStopAtTerminators) {
    CKeywordScanner scanner("  user42,next");
    std::string token;
    scanner.ReadToken(token, 63);
    EXPECT_EQ(token, "user42");
    scanner.ReadToken(token, 2);
    EXPECT_EQ(token, "ne");
}

TEST(KeywordScanner, NextLineSkipsEmptyLinesAndFailsAtTheEnd) {
    CKeywordScanner scanner("a = 1\r\n\r\n\n\tb\r\n");
    std::string word;
    ASSERT_TRUE(scanner.NextLine());
    ASSERT_TRUE(scanner.ReadIdentifier(word));
    EXPECT_EQ(word, "b");
    EXPECT_FALSE(scanner.NextLine());
    EXPECT_EQ(scanner.Error(), "Unexpected end off KVF file");

    CKeywordScanner no_line_end("a = 1");
    EXPECT_FALSE(no_line_end.NextLine());
    EXPECT_EQ(no_line_end.Error(), "Unexpected end off KVF file");
}

TEST(KeywordScanner, OffendingTokenIsCutAt63Bytes) {
    const std::string long_token(80, 'q');
    const std::string text = "9" + long_token;  // the scanner reads the caller's text in place
    CKeywordScanner scanner(text);
    std::string word;
    ASSERT_FALSE(scanner.ReadIdentifier(word));
    // The message itself is bounded to 79 characters.
    EXPECT_EQ(scanner.Error(), ("Expected identifier: 9" + long_token).substr(0, 79));
}

TEST(KeywordWriter, LinesValuesAndIndentation) {
    CKeywordWriter w;
    w.Begin("object");
    w.Number("zero", 0.0);
    w.Number("m0", 2459000.5, 7);
    w.Number("negative", -0.25, 3);
    w.Integer("count", 12);
    w.Boolean("enabled", false);
    w.Quoted("name", "say \"hi\"");
    w.Raw("jd_type", "heliocentric");
    w.End("end_object");
    EXPECT_EQ(w.Text(),
              "object\r\n\tzero = 0\r\n\tm0 = 2459000.5000000\r\n\tnegative = -0.250\r\n"
              "\tcount = 12\r\n\tenabled = FALSE\r\n\tname = \"say \"\"hi\"\"\"\r\n"
              "\tjd_type = heliocentric\r\nend_object\r\n");
}

TEST(KeywordWriter, QuotedTextIsBoundedTo1024Bytes) {
    const std::string quoted = kurvalux_data::QuoteText(std::string(2000, 'a'));
    EXPECT_EQ(quoted.size(), 1024u);
    EXPECT_EQ(quoted.front(), '"');
    EXPECT_EQ(quoted.back(), '"');
}

}  // namespace
