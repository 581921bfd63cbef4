// The cursor: building a document, walking into it and back, typed reads with their refusals,
// deleting, and trees too deep for any recursion.
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "json/json.h"
#include "json_test_util.h"

namespace {

using sjson::CJSON;
using sjson::EKind;
using sjson_test::Compact;
using sjson_test::ParseText;

TEST(JsonCursor, BuildsAnObjectRecord) {
    CJSON doc;
    doc.Reset(false);
    EXPECT_TRUE(doc.AddString("name", "V1234 Cyg"));
    EXPECT_TRUE(doc.AddReal("period", 0.5));
    EXPECT_TRUE(doc.AddInteger("jd_type", 2));
    EXPECT_TRUE(doc.AddBoolean("flux", false));
    EXPECT_TRUE(doc.AddNull("comment"));
    EXPECT_TRUE(doc.AddArray("series"));
    EXPECT_TRUE(doc.AppendRecord());
    EXPECT_TRUE(doc.AddArray("data"));
    EXPECT_TRUE(doc.AppendString("2459000.1 12.5 0.01"));
    EXPECT_TRUE(doc.AppendReal(-1.25));
    EXPECT_TRUE(doc.AppendInteger(-7));
    EXPECT_TRUE(doc.AppendBoolean(true));
    EXPECT_TRUE(doc.AppendNull());
    EXPECT_TRUE(doc.AppendArray());
    EXPECT_TRUE(doc.Leave());
    EXPECT_TRUE(doc.Leave());
    EXPECT_TRUE(doc.Leave());
    EXPECT_TRUE(doc.Leave());
    EXPECT_FALSE(doc.Leave());  // at the root
    EXPECT_EQ(Compact(doc),
              "{\"name\":\"V1234 Cyg\",\"period\":0.50000000,\"jd_type\":2,\"flux\":false,"
              "\"comment\":null,\"series\":[{\"data\":[\"2459000.1 12.5 0.01\",-1.25000000,-7,"
              "true,null,[]]}]}");
}

TEST(JsonCursor, AddsOnlyWhatTheCurrentContainerTakes) {
    CJSON doc;
    EXPECT_FALSE(doc.AddInteger("a", 1));  // no document yet
    EXPECT_FALSE(doc.AppendInteger(1));
    doc.Reset(false);
    EXPECT_FALSE(doc.AppendString("element of a record"));
    EXPECT_FALSE(doc.AppendRecord());
    doc.Reset(true);
    EXPECT_FALSE(doc.AddString("member", "of an array"));
    EXPECT_FALSE(doc.AddArray("member"));
    EXPECT_EQ(Compact(doc), "[]");
}

TEST(JsonCursor, NamesAreCut) {
    CJSON doc;
    doc.Reset(false);
    doc.AddInteger(std::string(70, 'n'), 1);
    EXPECT_EQ(sjson::NameOf(*doc.Root()->Child(0)), std::string(sjson::kNameCapacity, 'n'));
}

const char* const kAnswer =
    "{\"status\":\"ok\",\"count\":3,\"m0\":2459000.25,\"zero\":0,\"flag\":true,\"word\":\"true\","
    "\"objects\":[{\"name\":\"A\"},[1,2],\"s\",7,1.5,false],\"empty\":{}}";

TEST(JsonCursor, EntersContainersOfTheRequiredKindOnly) {
    CJSON doc;
    ASSERT_TRUE(ParseText(kAnswer, doc).ok);
    struct EnterCase {
        const char* member;
        EKind kind;
        bool ok;
    };
    const EnterCase members[] = {
        {"objects", EKind::Array, true},  {"objects", EKind::Record, false},
        {"empty", EKind::Record, true},   {"status", EKind::String, false},
        {"missing", EKind::Array, false},
    };
    for (const EnterCase& c : members) {
        SCOPED_TRACE(c.member);
        doc.Rewind();
        EXPECT_EQ(doc.EnterMember(c.member, c.kind), c.ok);
        EXPECT_EQ(doc.Current() != doc.Root(), c.ok);
    }
    doc.Rewind();
    ASSERT_TRUE(doc.EnterMember("objects", EKind::Array));
    struct ElementCase {
        size_t index;
        EKind kind;
        bool ok;
    };
    const ElementCase elements[] = {
        {0, EKind::Record, true},  {0, EKind::Array, false},  {1, EKind::Array, true},
        {2, EKind::String, false}, {6, EKind::Record, false},
    };
    for (const ElementCase& c : elements) {
        SCOPED_TRACE(c.index);
        sjson::CJSONNode* array = doc.Current();
        EXPECT_EQ(doc.EnterElement(c.index, c.kind), c.ok);
        if (c.ok) {
            EXPECT_EQ(doc.Current(), array->Child(c.index));
            EXPECT_TRUE(doc.Leave());
        }
        EXPECT_EQ(doc.Current(), array);
    }
    // Member reads need a record under the cursor.
    std::string text;
    EXPECT_FALSE(doc.GetString("status", text));
}

TEST(JsonCursor, TypedMemberReads) {
    CJSON doc;
    ASSERT_TRUE(ParseText(kAnswer, doc).ok);
    std::string text;
    int64_t integer = 0;
    double real = 0;
    bool flag = false;
    EXPECT_TRUE(doc.GetString("status", text));
    EXPECT_EQ(text, "ok");
    EXPECT_TRUE(doc.GetString("status", text, 1));
    EXPECT_EQ(text, "o");
    EXPECT_FALSE(doc.GetString("count", text));
    EXPECT_FALSE(doc.GetString("nothing", text));
    EXPECT_TRUE(doc.GetInteger("count", integer));
    EXPECT_EQ(integer, 3);
    EXPECT_FALSE(doc.GetInteger("m0", integer));
    EXPECT_TRUE(doc.GetReal("m0", real));
    EXPECT_EQ(real, 2459000.25);
    // A real that is zero is written "0"; it must read back as a real.
    EXPECT_TRUE(doc.GetReal("zero", real));
    EXPECT_EQ(real, 0.0);
    EXPECT_FALSE(doc.GetReal("status", real));
    EXPECT_TRUE(doc.GetBoolean("flag", flag));
    EXPECT_TRUE(flag);
    EXPECT_EQ(doc.Error(), "");
    EXPECT_FALSE(doc.GetBoolean("missing", flag));
    EXPECT_EQ(doc.Error(), "");
    EXPECT_FALSE(doc.GetBoolean("word", flag));
    EXPECT_EQ(doc.Error(), "Expected true or false");
}

TEST(JsonCursor, TypedElementReads) {
    CJSON doc;
    ASSERT_TRUE(ParseText(kAnswer, doc).ok);
    ASSERT_TRUE(doc.EnterMember("objects", EKind::Array));
    std::string text;
    int64_t integer = 0;
    double real = 0;
    bool flag = true;
    EXPECT_TRUE(doc.GetStringAt(2, text));
    EXPECT_EQ(text, "s");
    EXPECT_TRUE(doc.GetIntegerAt(3, integer));
    EXPECT_EQ(integer, 7);
    EXPECT_TRUE(doc.GetRealAt(4, real));
    EXPECT_EQ(real, 1.5);
    EXPECT_TRUE(doc.GetRealAt(3, real));
    EXPECT_EQ(real, 7.0);
    EXPECT_TRUE(doc.GetBooleanAt(5, flag));
    EXPECT_FALSE(flag);
    EXPECT_FALSE(doc.GetStringAt(0, text));
    EXPECT_FALSE(doc.GetIntegerAt(6, integer));
    EXPECT_FALSE(doc.GetBooleanAt(2, flag));
    EXPECT_EQ(doc.Error(), "Expected true or false");
    EXPECT_FALSE(doc.GetInteger("count", integer));  // not a record
}

TEST(JsonCursor, DeletesElementsAndTheFirstMemberOfAName) {
    CJSON doc;
    ASSERT_TRUE(ParseText("{\"a\":1,\"b\":[1,[2,3],4],\"a\":2}", doc).ok);
    EXPECT_TRUE(doc.DeleteMember("a"));
    EXPECT_EQ(Compact(doc), "{\"b\":[1,[2,3],4],\"a\":2}");
    EXPECT_FALSE(doc.DeleteMember("c"));
    EXPECT_FALSE(doc.DeleteElement(0));  // not an array
    ASSERT_TRUE(doc.EnterMember("b", EKind::Array));
    EXPECT_TRUE(doc.DeleteElement(1));
    EXPECT_FALSE(doc.DeleteElement(2));
    EXPECT_FALSE(doc.DeleteMember("a"));  // not a record
    doc.Rewind();
    EXPECT_EQ(Compact(doc), "{\"b\":[1,4],\"a\":2}");
}

TEST(JsonCursor, ResetEmptiesTheDocument) {
    CJSON doc;
    ASSERT_TRUE(ParseText(kAnswer, doc).ok);
    ASSERT_TRUE(doc.EnterMember("objects", EKind::Array));
    doc.Reset(true);
    EXPECT_EQ(doc.Current(), doc.Root());
    EXPECT_EQ(Compact(doc), "[]");
    doc.Reset(false);
    EXPECT_EQ(Compact(doc), "{}");
}

TEST(JsonCursor, KindNames) {
    const std::pair<EKind, const char*> names[] = {
        {EKind::Null, "null"},   {EKind::Boolean, "boolean"}, {EKind::Integer, "integer"},
        {EKind::Real, "real"},   {EKind::String, "string"},   {EKind::Record, "record"},
        {EKind::Array, "array"},
    };
    for (const auto& [kind, name] : names) EXPECT_EQ(sjson::KindName(kind), name);
}

// A tree far deeper than the parser accepts, built through the cursor, is freed without
// recursion: a recursive teardown would overflow the stack long before a million levels.
TEST(JsonCursor, FreesTreesOfAnyDepth) {
    CJSON doc;
    doc.Reset(true);
    for (int i = 0; i < 1000000; ++i) ASSERT_TRUE(doc.AppendArray());
    doc.Rewind();
    EXPECT_TRUE(doc.DeleteElement(0));
    EXPECT_EQ(Compact(doc), "[]");
    for (int i = 0; i < 1000000; ++i) ASSERT_TRUE(doc.AppendRecord() && doc.AddArray("a"));
    doc.Reset(false);
    EXPECT_EQ(Compact(doc), "{}");
}

}  // namespace
