// Posted worker messages: delivered on the GUI thread as queued events, in order, and turned
// into the bar of the frequency-analysis dialog.
#include <gtest/gtest.h>

#include <QApplication>
#include <QProgressBar>
#include <QThread>
#include <thread>
#include <tuple>
#include <vector>

#include "app/dialogs.h"
#include "app/qt_platform.h"

namespace kurvalux_app {
namespace {

TEST(QtPoster, MessagesFromWorkersArriveOnTheGuiThreadInOrder) {
    std::vector<std::tuple<uint32_t, intptr_t, intptr_t>> received;
    std::vector<bool> on_gui_thread;
    CPostReceiver receiver([&](uint32_t m, intptr_t a, intptr_t b) {
        received.emplace_back(m, a, b);
        on_gui_thread.push_back(QThread::currentThread() == qApp->thread());
    });
    CQtPoster poster(&receiver);
    std::thread worker([&] {
        for (intptr_t k = 1; k <= 3; ++k)
            poster.Post(kurvalux_platform::kMsgFrequencyProgress, 7, k);
        poster.Post(kurvalux_platform::kMsgFrequencyDone, 7, 0);
    });
    worker.join();
    // Nothing is delivered until the GUI thread dispatches its events.
    EXPECT_TRUE(received.empty());
    QCoreApplication::processEvents();
    const std::vector<std::tuple<uint32_t, intptr_t, intptr_t>> expected = {
        {4924, 7, 1}, {4924, 7, 2}, {4924, 7, 3}, {4925, 7, 0}};
    EXPECT_EQ(received, expected);
    EXPECT_EQ(on_gui_thread, std::vector<bool>(4, true));
}

TEST(FrequencyProgressDialog, TheBarSumsTheWorkersCounts) {
    CFrequencyProgressDialog dialog(nullptr, 2000);
    EXPECT_EQ(dialog.windowTitle().toStdString(), "Frequency analysis");
    kurvalux_platform::CPoster& poster = *dialog.Poster();
    struct Step {
        uint32_t message;
        intptr_t worker, done;
        uint64_t total_done;
        int bar;  // per mille
        unsigned ended;
    } steps[] = {
        {4924, 0, 500, 500, 250, 0},   {4924, 1, 300, 800, 400, 0},
        {4924, 0, 1000, 1300, 650, 0},  // a count replaces the worker's previous one
        {4925, 0, 0, 1300, 650, 1},    {4924, 1, 1000, 2000, 1000, 1},
        {4925, 1, 0, 2000, 1000, 2},
    };
    for (const Step& s : steps) {
        poster.Post(s.message, s.worker, s.done);
        QCoreApplication::processEvents();
        EXPECT_EQ(dialog.Done(), s.total_done);
        EXPECT_EQ(dialog.Bar()->value(), s.bar);
        EXPECT_EQ(dialog.WorkersEnded(), s.ended);
    }
}

}  // namespace
}  // namespace kurvalux_app
