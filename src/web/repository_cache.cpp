// The object data answer: the object record is copied into the cache file of the object and
// contributor, each step traced on the debug output.
#include "web/repository_cache.h"

#include "platform/files.h"
#include "platform/system.h"
#include "web/web_interface.h"

namespace kurvalux_web {

using kurvalux_platform::DebugOutput;
using kurvalux_platform::MessageButtons;
using kurvalux_platform::MessageIcon;

std::string CacheNameComponent(const std::string& name) {
    if (name.empty() || name == "." || name == "..") return "_";
    std::string safe = name;
    for (char& c : safe)
        if (c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < 32) c = '_';
    return safe;
}

std::string CacheRoot(const std::string& settings_folder) {
    return settings_folder + "/" + kCacheFolderName + "/";
}

std::string CacheUserFolder(const std::string& settings_folder, const std::string& user_id) {
    return CacheRoot(settings_folder) + CacheNameComponent(user_id) + "/";
}

std::string CacheObjectFile(const std::string& settings_folder, const std::string& user_id,
                            const std::string& token, const std::string& contributor) {
    return CacheUserFolder(settings_folder, user_id) + CacheNameComponent(token) + "_" +
           CacheNameComponent(contributor) + ".json";
}

namespace {

void Trace(const std::string& text) {
    DebugOutput(text + "\n");
}

// Renames every "<token>_*.json" of the user folder to ".bak", deleting an older ".bak" first,
// so that each file keeps exactly one previous version.
void KeepBackups(const std::string& folder, const std::string& token) {
    for (const std::string& name :
         kurvalux_platform::ListFolder(folder, CacheNameComponent(token) + "_*.json")) {
        const std::string file = folder + name;
        const std::string backup = kurvalux_platform::ReplaceExtension(file, "bak");
        if (kurvalux_platform::FileExists(backup)) {
            Trace("  Deleting: " + backup);
            kurvalux_platform::RemoveFile(backup);
        }
        Trace("  Renaming: " + file);
        Trace("        To: " + backup);
        kurvalux_platform::RenameFile(file, backup);
    }
}

}  // namespace

void CWebInterface::HandleObjectData() {
    Trace("ReceiveGetObjectData ENTER");
    const std::string default_line = "Internal Error: ReceiveGetObjectData";
    std::string failure;
    auto fail = [&] {
        if (!failure.empty())
            FailureBox("Web Repository Communication Error", default_line, failure);
        Notify(kNotifyObjectGroup, kNotifyObjectDataFailed);
        Trace("ReceiveGetObjectData EXIT FAIL");
    };
    if (!CheckStatus("Web Repository Communication Error")) return fail();

    const sjson::CJSONNode* objects = document_.Member(kObjectsKey);
    const sjson::CJSONNode* record =
        objects && objects->Kind() == sjson::EKind::Array ? objects->Child(0) : nullptr;
    if (!record || record->Kind() != sjson::EKind::Record) {
        failure = "Web Repository is empty.";
        return fail();
    }
    std::string token;
    if (!StringMember(*record, "token", token, kObjectTokenCapacity)) {
        failure = "Reposnes does not contain ObjectToken record";
        return fail();
    }
    // The contributor whose file this is: the entry of the object in the last list (its first
    // entry when the object is not listed), and in it the publisher or the indexed contributor.
    // Checked before anything is touched on disk, so a refused answer writes nothing.
    if (object_list_.empty()) {
        failure = "WebObjectList empty";
        return fail();
    }
    const CWebObjectListElem* entry = &object_list_.front();
    for (const CWebObjectListElem& e : object_list_)
        if (e.token == token) entry = &e;
    std::string contributor;
    if (contributor_index_ < 0) {
        contributor = entry->publisher;
    } else if (size_t(contributor_index_) < entry->contributors.size()) {
        contributor = entry->contributors[size_t(contributor_index_)];
    } else {
        failure = "ContributorIndex overflow";
        return fail();
    }

    const std::string root = CacheRoot(cache_folder_);
    const std::string user_folder = CacheUserFolder(cache_folder_, session_.user_id);
    if (!kurvalux_platform::FolderExists(root)) {
        Trace("  Creating global directory = " + root);
        kurvalux_platform::CreateFolders(root);
        Trace("  Creating directory for the user = " + user_folder);
        kurvalux_platform::CreateFolders(user_folder);
    } else if (!kurvalux_platform::FolderExists(user_folder)) {
        kurvalux_platform::CreateFolders(user_folder);
    } else if (backup_) {
        Trace("  Directory exists Path = " + user_folder);
        KeepBackups(user_folder, token);
        backup_ = false;
    }

    sjson::CJSON copy;
    copy.Reset(false);
    CopyObjectRecord(*record, copy);
    kurvalux_platform::CTextBuffer text;
    copy.Write(text, sjson::kWritePretty);

    const std::string path = CacheObjectFile(cache_folder_, session_.user_id, token, contributor);
    Trace("  Data File Path = " + path);
    if (!kurvalux_platform::WriteWholeFile(path, text.Text())) {
        Trace("  FIO.Create failed");
        failure = "Cannot create file";
        return fail();
    }
    object_token_ = token;
    cache_file_path_ = path;
    Notify(kNotifyObjectGroup, kNotifyObjectDataDone);
    Trace("ReceiveGetObjectData EXIT OK");
}

}  // namespace kurvalux_web
