// The object calls: list, get, publish, contribute and unpublish. Objects are kept as the
// program's own object record (written and read by the same code as the client's), beside a
// summary record for the list, so a list never reads the photometry.
#include <chrono>
#include <unordered_map>

#include "data/field.h"
#include "server/core/credentials.h"
#include "server/core/service.h"
#include "web/web_objects.h"

namespace kurvalux_server {

using sjson::CJSON;
using sjson::CJSONNode;
using sjson::EKind;

namespace {

// The texts of the record with their limits, those the program keeps.
struct TextLimit {
    const char* key;
    size_t capacity;
};
constexpr TextLimit kRecordTexts[] = {
    {"name", kurvalux_data::kNameCapacity},
    {"alt_name", kurvalux_data::kAlternateNameCapacity},
    {"comment", kurvalux_data::kCommentCapacity},
    {"var_type", kurvalux_data::kVariabilityTypeCapacity},
    {"catalog", kurvalux_data::kCatalogCapacity},
    {"catalog_id", kurvalux_data::kCatalogIdCapacity},
};
constexpr TextLimit kSeriesTexts[] = {{"filter", kurvalux_data::kFilterCapacity},
                                      {"brightness_unit", 15}};
constexpr size_t kLineCapacity = kurvalux_data::kNotesLineCapacity;

// The members of a list entry besides token, publisher and contributors.
constexpr const char* kSummaryKeys[] = {
    "name", "alt_name", "comment",    "var_type",   "m0",          "period",      "ra",
    "dec",  "catalog",  "catalog_id", "catalog_ra", "catalog_dec", "catalog_mag",
};

void CheckText(const CJSONNode& record, const TextLimit& limit, const std::string& where) {
    const CJSONNode* node = kurvalux_web::MemberOf(record, limit.key);
    if (node && node->Kind() == EKind::String && node->Text().size() > limit.capacity)
        throw Refusal{422, where + "\"" + limit.key + "\" is longer than " +
                               std::to_string(limit.capacity) + " characters."};
}

void CheckLines(const CJSONNode& record, const char* key, const std::string& where) {
    const CJSONNode* array = kurvalux_web::MemberOf(record, key);
    if (!array || array->Kind() != EKind::Array) return;
    for (const auto& line : array->ChildNodes())
        if (line->Kind() == EKind::String && line->Text().size() > kLineCapacity)
            throw Refusal{422, where + "a line of \"" + key + "\" is longer than " +
                                   std::to_string(kLineCapacity) + " characters."};
}

// Refuses texts longer than the program keeps (it would cut them on reading, and the
// repository would then hold something no observer can see).
void CheckRecord(const CJSONNode& record) {
    for (const TextLimit& limit : kRecordTexts) CheckText(record, limit, "");
    CheckLines(record, "notes", "");
    const CJSONNode* series = kurvalux_web::MemberOf(record, "series");
    if (!series || series->Kind() != EKind::Array) return;
    for (size_t i = 0; i < series->ChildCount(); ++i) {
        const CJSONNode& one = *series->Child(i);
        const std::string where = "Series " + std::to_string(i + 1) + ": ";
        for (const TextLimit& limit : kSeriesTexts) CheckText(one, limit, where);
        CheckLines(one, "data", where);
    }
}

// The object record as stored: `token` first, then the members of the request the program
// knows, in the record's order and with their expected kinds.
std::string StoredRecord(CJSON& request, const std::string& token) {
    request.Rewind();
    request.DeleteMember("token");
    CJSON record;
    record.Reset(false);
    record.AddString("token", token);
    kurvalux_web::CopyObjectRecord(*request.Root(), record);
    return WriteDocument(record);
}

std::string SummaryOf(const CJSONNode& request) {
    CJSON summary;
    summary.Reset(false);
    for (const char* key : kSummaryKeys) {
        const CJSONNode* node = kurvalux_web::MemberOf(request, key);
        if (!node) continue;
        if (node->Kind() == EKind::String)
            summary.AddString(key, node->Text());
        else if (node->Kind() == EKind::Real)
            summary.AddReal(key, node->Real());
        else if (node->Kind() == EKind::Integer)
            summary.AddReal(key, static_cast<double>(node->Integer()));
    }
    return WriteDocument(summary);
}

// A string as the document writer quotes it.
void AppendQuoted(std::string& out, const std::string& text) {
    out.push_back('"');
    for (char c : text) {
        switch (c) {
            case '"':
            case '\\':
                out.push_back('\\');
                out.push_back(c);
                break;
            case '\t':
                out += "\\t";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            default:
                out.push_back(c);
        }
    }
    out.push_back('"');
}

// The members of a stored record text without its braces ("" for an empty record).
std::string_view Inside(const std::string& record) {
    const size_t open = record.find('{'), close = record.rfind('}');
    if (open == std::string::npos || close == std::string::npos || close <= open) return {};
    std::string_view inner(record.data() + open + 1, close - open - 1);
    while (!inner.empty() && (inner.front() == ' ' || inner.front() == '\t' ||
                              inner.front() == '\r' || inner.front() == '\n'))
        inner.remove_prefix(1);
    return inner;
}

std::string TokenOf(const CJSON& request, bool required, const char* call) {
    std::string token;
    request.GetString("token", token, kurvalux_web::kObjectTokenCapacity + 1);
    if (required && token.empty())
        throw Refusal{400, std::string(call) + " needs the object's \"token\".", false};
    return token;
}

int64_t Microseconds() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

HttpAnswer CRepositoryService::ListObjects(const Caller&) {
    std::vector<ObjectRow> objects;
    std::vector<ContributionRow> contributions;
    {
        CConnection connection(store_);
        CTransaction transaction(connection, false);
        objects = connection->ListObjects();
        contributions = connection->ListContributions();
        transaction.Commit();
    }
    std::unordered_map<std::string, std::vector<const std::string*>> contributors;
    for (const ContributionRow& c : contributions) contributors[c.token].push_back(&c.contributor);
    // Written piece by piece: the stored summaries already are JSON of the writer.
    std::string body = "{\"status\":\"ok\",\"objects\":[";
    bool first = true;
    for (const ObjectRow& object : objects) {
        if (!first) body.push_back(',');
        first = false;
        body += "{\"token\":";
        AppendQuoted(body, object.token);
        body += ",\"publisher\":";
        AppendQuoted(body, object.publisher);
        body += ",\"contributors\":[";
        auto it = contributors.find(object.token);
        if (it != contributors.end())
            for (size_t i = 0; i < it->second.size(); ++i) {
                if (i) body.push_back(',');
                AppendQuoted(body, *it->second[i]);
            }
        body.push_back(']');
        const std::string_view inner = Inside(object.summary);
        if (!inner.empty() && inner.front() != '}') {
            body.push_back(',');
            body.append(inner);
        }
        body.push_back('}');
    }
    body += "]}";
    HttpAnswer answer;
    answer.body = std::move(body);
    return answer;
}

HttpAnswer CRepositoryService::GetObjectData(const Caller&, const CJSON& request) {
    const std::string token = TokenOf(request, true, "Getting object data");
    std::string user;
    request.GetString("user_id", user, kurvalux_data::kUserIdCapacity + 1);
    ObjectRow object;
    std::string record, contribution;
    {
        CConnection connection(store_);
        CTransaction transaction(connection, false);
        if (!connection->GetObject(token, object, &record))
            throw Refusal{404, "No object " + token + " in the repository."};
        if (!user.empty() && user != object.publisher &&
            !connection->GetContribution(token, user, contribution))
            throw Refusal{404, "No contribution of " + user + " to object " + token + "."};
        transaction.Commit();
    }
    HttpAnswer answer;
    if (contribution.empty()) {
        answer.body = "{\"status\":\"ok\",\"objects\":[" + record + "]}";
        return answer;
    }
    // The object as its publisher describes it, with the contributor's series.
    CJSON published, contributed;
    sjson::CJSONSource published_text(record), contributed_text(contribution);
    if (!published.Parse(published_text) || !contributed.Parse(contributed_text))
        throw StoreError("a stored record of object " + token + " does not read back");
    published.DeleteMember("series");
    std::vector<std::string> others;
    for (const auto& member : contributed.Root()->ChildNodes())
        if (sjson::NameOf(*member) != "series") others.emplace_back(sjson::NameOf(*member));
    for (const std::string& name : others) contributed.DeleteMember(name);
    CJSON out;
    out.Reset(false);
    out.AddString("status", "ok");
    out.AddArray(kurvalux_web::kObjectsKey);
    out.AppendRecord();
    kurvalux_web::CopyObjectRecord(*published.Root(), out);
    kurvalux_web::CopyObjectRecord(*contributed.Root(), out);
    answer.body = WriteDocument(out);
    return answer;
}

HttpAnswer CRepositoryService::Publish(const Caller& caller, CJSON& request) {
    std::string name;
    if (!request.GetString("name", name, sjson::kValueCapacity) || name.empty())
        throw Refusal{422, "The object record needs a \"name\"."};
    CheckRecord(*request.Root());
    const std::string given = TokenOf(request, false, "Publishing");
    const std::string summary = SummaryOf(*request.Root());
    const int64_t now = Microseconds();

    CConnection connection(store_);
    CTransaction transaction(connection, true);
    ObjectRow existing;
    std::string token;
    if (!given.empty() && connection->GetObject(given, existing, nullptr)) {
        // Publishing an object again updates it under its token, for its publisher only.
        if (existing.publisher != caller.name)
            throw Refusal{409, "Object " + given + " was published by " + existing.publisher +
                                   "; contribute to it instead."};
        token = given;
        connection->UpdateObject({token, caller.name, summary}, StoredRecord(request, token), now);
    } else {
        // A new object (or one whose token this repository does not know: it was
        // unpublished, or published elsewhere) gets a token of its own.
        for (int attempt = 0; attempt < 8 && token.empty(); ++attempt) {
            const std::string candidate = NewObjectToken();
            if (connection->InsertObject({candidate, caller.name, summary},
                                         StoredRecord(request, candidate), now))
                token = candidate;
        }
        if (token.empty()) throw StoreError("no free object token after 8 attempts");
    }
    transaction.Commit();
    HttpAnswer answer;
    answer.body = OkAnswer([&](CJSON& a) { a.AddString("token", token); });
    return answer;
}

HttpAnswer CRepositoryService::Contribute(const Caller& caller, CJSON& request) {
    const std::string token = TokenOf(request, false, "Contributing");
    if (token.empty())
        throw Refusal{422, "A contribution needs the \"token\" of a published object."};
    CheckRecord(*request.Root());
    CConnection connection(store_);
    CTransaction transaction(connection, true);
    ObjectRow object;
    if (!connection->GetObject(token, object, nullptr))
        throw Refusal{404, "No object " + token + " in the repository."};
    if (object.publisher == caller.name)
        throw Refusal{409, "You published object " + token + "; publish it again to update it."};
    connection->PutContribution(token, caller.name, StoredRecord(request, token), Microseconds());
    transaction.Commit();
    HttpAnswer answer;
    answer.body = OkAnswer([&](CJSON& a) { a.AddString("token", token); });
    return answer;
}

HttpAnswer CRepositoryService::Unpublish(const Caller& caller, const CJSON& request) {
    const std::string token = TokenOf(request, true, "Unpublishing");
    CConnection connection(store_);
    CTransaction transaction(connection, true);
    ObjectRow object;
    if (!connection->GetObject(token, object, nullptr))
        throw Refusal{404, "No object " + token + " in the repository."};
    if (object.publisher != caller.name && caller.access != kAccessAdministration)
        throw Refusal{403, "Only the publisher of object " + token + " (" + object.publisher +
                               ") or an administrator may unpublish it."};
    connection->DeleteObject(token);
    transaction.Commit();
    HttpAnswer answer;
    answer.body = OkAnswer();
    return answer;
}

}  // namespace kurvalux_server
