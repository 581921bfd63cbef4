#include "app/startup.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QIcon>
#include <QMessageBox>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QTabWidget>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>

#include "app/chart_view.h"
#include "app/commands.h"
#include "app/dialogs.h"
#include "app/kurvalux_pane.h"
#include "app/main_window.h"
#include "app/minimum_view.h"
#include "app/qt_platform.h"
#include "app/web_commands.h"
#include "platform/system.h"

namespace kurvalux_app {

namespace {

// The window icon: a light curve with an eclipse, drawn for each size.
QPixmap IconPixmap(int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(20, 30, 70));
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(QRectF(0, 0, size, size), size / 6.0, size / 6.0);
    QPainterPath curve;
    for (int x = 0; x <= size; ++x) {
        double u = static_cast<double>(x) / size;
        double dip = 0.55 * std::exp(-std::pow((u - 0.35) / 0.08, 2)) +
                     0.2 * std::exp(-std::pow((u - 0.85) / 0.08, 2));
        double y = size * (0.3 + dip);
        if (x == 0)
            curve.moveTo(x, y);
        else
            curve.lineTo(x, y);
    }
    painter.setPen(QPen(QColor(255, 210, 80), std::max(1.0, size / 12.0)));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(curve);
    return pixmap;
}

QIcon ApplicationIcon() {
    QIcon icon;
    icon.addPixmap(IconPixmap(32));
    icon.addPixmap(IconPixmap(16));
    return icon;
}

// Message boxes of the screenshot run: each box is shown, photographed and answered with the
// answer that changes nothing.
class CGrabbingMessageBoxSink : public kurvalux_platform::CMessageBoxSink {
public:
    explicit CGrabbingMessageBoxSink(QString folder) : folder_(std::move(folder)) {}
    kurvalux_platform::MessageAnswer Show(const std::string& title,
                                          const std::vector<std::string>& lines,
                                          kurvalux_platform::MessageIcon icon,
                                          kurvalux_platform::MessageButtons buttons) override {
        std::unique_ptr<QMessageBox> box = MakeMessageBox(nullptr, title, lines, icon, buttons);
        box->show();
        QApplication::processEvents();
        box->grab().save(folder_ + "/box-" + FileName(QString::fromStdString(title)) + ".png");
        box->hide();
        return kurvalux_platform::DefaultAnswer(buttons, false);
    }
    static QString FileName(QString title) {
        for (QChar& c : title)
            if (!c.isLetterOrNumber()) c = '-';
        return title.toLower();
    }

private:
    QString folder_;
};

void Settle() {
    for (int i = 0; i < 5; ++i) QApplication::processEvents();
}

int TakeScreenshots(CKurvalux& window, const QString& folder) {
    QDir().mkpath(folder);
    auto grabbed = [&](QWidget& widget, const QString& name) {
        Settle();
        widget.grab().save(folder + "/" + name + ".png");
        std::printf("%s/%s.png\n", folder.toLocal8Bit().constData(),
                    name.toLocal8Bit().constData());
    };
    window.SetDialogRunner([&](QDialog& dialog) {
        dialog.show();
        Settle();
        grabbed(dialog, "dialog-" + CGrabbingMessageBoxSink::FileName(dialog.windowTitle()));
        dialog.hide();
        return static_cast<int>(QDialog::Rejected);
    });
    CKurvaluxPane& pane = *window.Pane();
    const char* names[kTabCount] = {"tab-1-time-series", "tab-2-compressed-series",
                                    "tab-3-phased-curve", "tab-4-phased-curve-fit",
                                    "tab-5-minimum-fit"};
    for (int tab = 0; tab < kTabCount; ++tab) {
        pane.ShowTab(static_cast<ChartTab>(tab));
        if (tab == kTabMinimum) {
            // A minimum of the first series, fitted, as an observer would leave it.
            pane.MinimumView()->NextMinimum();
            pane.MinimumView()->FitMinimum();
        }
        grabbed(window, names[tab]);
    }
    pane.ShowTab(kTabTime);
    pane.ZoomIn();
    grabbed(window, "tab-1-time-series-zoomed");
    pane.ClearZoom();
    for (int command : {kCmdPeriodsFromMinima, kCmdPeriodsByFrequency, kCmdFilterColours,
                        kCmdAddObject, kCmdListOfMinima, kCmdStatisticsAll, kCmdAbout})
        window.Dispatch(command);
    pane.ShowTab(kTabMinimum);
    pane.MinimumView()->FitAllMinima();
    CFrequencyProgressDialog progress(&window);
    progress.SetProgress(37, 100);
    progress.show();
    grabbed(progress, "dialog-frequency-analysis-progress");
    progress.hide();
    window.ConfirmClose();
    return 0;
}

// The repaint figure of a large time series: an object of `count` synthetic points (an
// eclipsing binary sampled over nights), drawn at the window's size, whole and zoomed.
int MeasureRepaint(CKurvalux& window, long count) {
    kurvalux_data::Field& field = window.GetField();
    field.Clear();
    kurvalux_data::CObjectListElem& object = field.AddObject();
    object.name = "Repaint benchmark";
    object.m0 = 2459000.3;
    object.period = 0.7371;
    auto series = std::make_unique<kurvalux_data::CLocalSeriesTreeElem>();
    series->meta_data.jd_type = kurvalux_data::kJdHeliocentric;
    series->meta_data.filter = "V";
    std::mt19937_64 random(42);
    std::normal_distribution<double> noise(0.0, 0.01);
    series->times.reserve(static_cast<size_t>(count));
    for (long i = 0; i < count; ++i) {
        double t = 2459000.0 + static_cast<double>(i) * (400.0 / static_cast<double>(count));
        double phase = std::fmod((t - object.m0) / object.period + 10.0, 1.0);
        double d = std::min(phase, 1 - phase);
        double v = 12.0 + 0.8 * std::exp(-std::pow(d / 0.04, 2)) +
                   0.3 * std::exp(-std::pow((phase - 0.5) / 0.04, 2)) + noise(random);
        series->times.push_back(t);
        series->values.push_back(v);
        series->errors.push_back(0.01);
    }
    std::vector<std::string> message;
    object.AddSeries(std::move(series), "benchmark", message);
    CKurvaluxPane& pane = *window.Pane();
    pane.Refresh();
    pane.ShowTab(kTabTime);
    Settle();
    CChartCanvas* canvas = pane.Canvas(kTabTime);
    auto median = [](std::vector<double> v) {
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    };
    auto measure = [&](const char* what, int rounds) {
        std::vector<double> ms;
        for (int i = 0; i < rounds; ++i) ms.push_back(canvas->Render());
        std::printf("repaint_%s_ms median %.1f max %.1f (%d repaints, %dx%d pixels, %ld points)\n",
                    what, median(ms), *std::max_element(ms.begin(), ms.end()), rounds,
                    canvas->Image().width(), canvas->Image().height(), count);
    };
    measure("whole", 9);
    canvas->ZoomTo(2459100.0, 2459140.0);
    measure("zoomed", 9);
    std::vector<double> ms;
    for (int i = 0; i < 9; ++i) {
        canvas->ScrollTo(500 + 200 * i);
        ms.push_back(canvas->Render());
    }
    std::sort(ms.begin(), ms.end());
    std::printf("repaint_pan_ms median %.1f max %.1f\n", ms[ms.size() / 2], ms.back());
    return 0;
}

}  // namespace

bool ParseStartupOptions(int argc, char** argv, StartupOptions& options, std::string& error) {
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](std::string& out) {
            if (i + 1 >= argc) {
                error = a + " needs a value";
                return false;
            }
            out = argv[++i];
            return true;
        };
        if (a == "--screenshots") {
            if (!value(options.screenshots)) return false;
        } else if (a == "--settings") {
            if (!value(options.settings_path)) return false;
        } else if (a == "--measure-startup") {
            options.measure_startup = true;
        } else if (a == "--benchmark-repaint") {
            if (!value(options.benchmark_points)) return false;
        } else if (a == "--show-command") {
            std::string text;
            if (!value(text)) return false;
            char* end = nullptr;
            long n = std::strtol(text.c_str(), &end, 10);
            if (end == text.c_str() || *end) {
                error = "--show-command needs a number";
                return false;
            }
            options.show_command = static_cast<int>(n);
        } else if (!a.empty() && a[0] == '-') {
            error = "Unknown option " + a;
            return false;
        } else if (options.field.empty()) {
            options.field = a;
        } else {
            error = "Only one field file can be opened";
            return false;
        }
    }
    return true;
}

int RunApplication(int argc, char** argv) {
    QElapsedTimer clock;
    clock.start();
    // 1. The GUI toolkit.
    QApplication app(argc, argv);
    QApplication::setApplicationName("KURVALUX");
    QApplication::setApplicationVersion(KURVALUX_VERSION);
    StartupOptions options;
    std::string error;
    if (!ParseStartupOptions(argc, argv, options, error)) {
        std::fprintf(stderr,
                     "%s\nusage: kurvalux [FIELD.kvf] [--settings FILE] "
                     "[--show-command N] [--measure-startup] [--screenshots DIR] "
                     "[--benchmark-repaint POINTS]\n",
                     error.c_str());
        return 2;
    }
    // 2. The core's modules need no initialisation beyond their static data.
    // 3. Random seed (the workers seed their own generators).
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    // 4. Processor count, read once.
    kurvalux_platform::ProcessorCount();
    // 5. Program folder.
    kurvalux_platform::InitProgramFolder(argv[0]);
    // 6-8. Settings, main window, menus and tool bar.
    bool developer_run = options.measure_startup || !options.screenshots.empty() ||
                         !options.benchmark_points.empty();
    ShellOptions shell;
    shell.settings_path = options.settings_path;
    shell.save_settings = !developer_run;
    std::unique_ptr<CGrabbingMessageBoxSink> grabbing;
    if (!options.screenshots.empty()) {
        grabbing =
            std::make_unique<CGrabbingMessageBoxSink>(QString::fromStdString(options.screenshots));
        shell.messages = grabbing.get();
    }
    CKurvalux window(shell);
    // 9. Icons.
    window.setWindowIcon(ApplicationIcon());
    QApplication::setWindowIcon(window.windowIcon());
    // 10. Placement, then the show command.
    if (developer_run) {
        window.resize(1280, 860);
        window.Pane()->SetSplitterPositions({340, 250, 200});
    } else
        window.RestorePlacement();
    if (!options.field.empty()) window.OpenField(options.field);
    bool maximise = window.GetSettings().maximized && !developer_run;
    if (options.show_command == 3) maximise = true;
    if (options.show_command == 2 || options.show_command == 6)
        window.showMinimized();
    else if (maximise)
        window.showMaximized();
    else
        window.show();

    if (options.measure_startup) {
        Settle();
        window.repaint();
        CChartCanvas* canvas = window.Pane()->CurrentCanvas();
        std::printf("startup_ms %lld (objects %zu, first chart %.1f ms)\n",
                    static_cast<long long>(clock.elapsed()), window.GetField().objects.size(),
                    canvas ? canvas->LastRenderMilliseconds() : 0.0);
        return 0;
    }
    if (!options.screenshots.empty())
        return TakeScreenshots(window, QString::fromStdString(options.screenshots));
    if (!options.benchmark_points.empty()) {
        long count = std::strtol(options.benchmark_points.c_str(), nullptr, 10);
        if (count <= 0) return 2;
        return MeasureRepaint(window, count);
    }
    // The version check runs on its worker while the window comes up; its answer arrives as
    // an event and never holds up the start.
    if (window.GetSettings().check_version && !developer_run) window.Web()->StartVersionCheck();
    // 11. The event loop until the window closes.
    return QApplication::exec();
}

}  // namespace kurvalux_app
