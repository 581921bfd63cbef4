#pragma once
// A repository client wired to a recording message box sink and a waiting poster, as the
// command line wires it, beside a test server.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/message_box.h"
#include "platform/waiting_poster.h"
#include "web/test_server.h"
#include "web/web_interface.h"

namespace kurvalux_test {

// A request body as the writer lays it out, without its indentation: the body is one line, its
// elements indented by TABs.
inline std::string WithoutTabs(std::string text) {
    std::erase(text, '\t');
    return text;
}

class WebClientTest : public ::testing::Test {
protected:
    WebClientTest() : web(&poster, boxes) {
        web.SetServer(server.Host(), "/");
        web.SetNotifier(
            [this](uint32_t group, uint32_t code) { notified.emplace_back(group, code); });
    }

    // Waits for the worker's message and completes the request as a front end does; the
    // result code the worker posted.
    int Finish() {
        auto message = poster.Take(20000);
        if (!message) {
            ADD_FAILURE() << "no completion message";
            return -1;
        }
        EXPECT_EQ(message->number, kurvalux_platform::kMsgRepositoryDone);
        web.Complete(int(message->a));
        return int(message->a);
    }

    // The single box shown since the last call, as title and lines.
    std::vector<std::string> OnlyBox() {
        const auto& records = boxes.Records();
        EXPECT_EQ(records.size(), 1u);
        std::vector<std::string> texts;
        if (!records.empty()) {
            texts.push_back(records.back().title);
            texts.insert(texts.end(), records.back().lines.begin(), records.back().lines.end());
        }
        boxes.Clear();
        return texts;
    }

    void LogIn() {
        server.Answer(
            "/api/v1/login", 200,
            R"({"status":"ok","user_token":"T0K3N","user_id":"u17","user_name":"Ann Observer","access":"modify"})");
        ASSERT_TRUE(web.Login("ann", "secret"));
        ASSERT_EQ(Finish(), 0);
        ASSERT_TRUE(web.Session().Active());
        notified.clear();
    }

    CTestServer server;
    kurvalux_platform::CWaitingPoster poster;
    kurvalux_platform::CRecordingMessageBoxSink boxes;
    kurvalux_web::CWebInterface web;
    std::vector<std::pair<uint32_t, uint32_t>> notified;
};

}  // namespace kurvalux_test
