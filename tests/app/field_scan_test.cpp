// Rescanning an object's photometry: files read again, vanished files dropped with their box,
// new files of the object's folder (or of its sub-folders matching the folder key) added.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "app/field_scan.h"

namespace kurvalux_app {
namespace {

class ScanTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(folder_.isValid()); }
    std::string Path(const QString& name) const { return folder_.filePath(name).toStdString(); }
    void Copy(const char* source, const QString& target) {
        QDir().mkpath(QFileInfo(folder_.filePath(target)).path());
        ASSERT_TRUE(QFile::copy(QString(KURVALUX_TEST_DATA_DIR "/app/") + source,
                                folder_.filePath(target)));
    }
    void Append(const QString& name, const char* line) {
        QFile f(folder_.filePath(name));
        ASSERT_TRUE(f.open(QIODevice::Append));
        f.write(line);
    }
    kurvalux_data::PathBases Bases() const {
        kurvalux_data::PathBases bases;
        bases.field_folder = folder_.path().toStdString();
        return bases;
    }
    QTemporaryDir folder_;
    kurvalux_platform::CRecordingMessageBoxSink boxes_;
};

TEST_F(ScanTest, NewFilesBecomeSeriesAndKnownOnesAreReadAgain) {
    Copy("night1.txt", "star/a.txt");
    Copy("night2.txt", "star/b.txt");
    Copy("night2.txt", "star/notes.dat");  // not matching the file mask
    kurvalux_data::CObjectListElem object;
    object.absolute_path = Path("star");
    object.file_names = "*.txt";

    ScanResult first = RescanObject(object, Bases(), boxes_);
    EXPECT_EQ(first.added, 2);
    EXPECT_EQ(first.reread, 0);
    EXPECT_EQ(first.removed, 0);
    ASSERT_EQ(object.series.size(), 2u);
    EXPECT_EQ(object.series[0]->Count(), 121u);
    EXPECT_EQ(object.series[0]->FirstTime(), 2459000.44);
    EXPECT_EQ(object.series[1]->FirstTime(), 2459003.40);

    // A night that goes on: its new point appears; user settings of the series stay.
    object.series[0]->offset = 0.25;
    object.series[0]->minima.push_back({kurvalux_data::kMinimumPrimary, 2459000.5, 0.0001, true});
    Append("star/a.txt", "2459000.56100 12.0010 0.0050\r\n");
    ScanResult second = RescanObject(object, Bases(), boxes_);
    EXPECT_EQ(second.added, 0);
    EXPECT_EQ(second.reread, 2);
    ASSERT_EQ(object.series.size(), 2u);
    EXPECT_EQ(object.series[0]->Count(), 122u);
    EXPECT_EQ(object.series[0]->offset, 0.25);
    EXPECT_EQ(object.series[0]->minima.size(), 1u);
    EXPECT_TRUE(boxes_.Records().empty());

    // A file that vanished keeps its series, unused, with the box of a failed load.
    const QString moved = folder_.filePath("b.txt.away");
    ASSERT_TRUE(QFile::rename(folder_.filePath("star/b.txt"), moved));
    ScanResult third = RescanObject(object, Bases(), boxes_);
    EXPECT_EQ(third.removed, 0);
    EXPECT_EQ(third.unavailable, 1);
    EXPECT_FALSE(third.Changed());
    EXPECT_EQ(object.series.size(), 1u);
    ASSERT_EQ(object.unavailable_series.size(), 1u);
    ASSERT_EQ(boxes_.Records().size(), 1u);
    EXPECT_EQ(boxes_.Records()[0].title, "Error");
    ASSERT_EQ(boxes_.Records()[0].lines.size(), 4u);
    EXPECT_EQ(boxes_.Records()[0].lines[0], "Cannot load series photometry data:");
    EXPECT_EQ(boxes_.Records()[0].lines[3], "Series kept as unavailable until its file is found");
    EXPECT_EQ(ScanSummary(third),
              (std::vector<std::string>{"1 series read again", "0 new series added",
                                        "0 series removed", "1 series unavailable"}));

    // Back in its place: the next scan reads it again, silently.
    ASSERT_TRUE(QFile::rename(moved, folder_.filePath("star/b.txt")));
    boxes_.Clear();
    ScanResult fourth = RescanObject(object, Bases(), boxes_);
    EXPECT_EQ(fourth.reread, 2);
    EXPECT_EQ(fourth.unavailable, 0);
    EXPECT_TRUE(object.unavailable_series.empty());
    ASSERT_EQ(object.series.size(), 2u);
    EXPECT_EQ(object.series[1]->FirstTime(), 2459003.40);
    EXPECT_TRUE(boxes_.Records().empty());
}

TEST_F(ScanTest, TheFolderKeySelectsSubFolders) {
    Copy("night1.txt", "star/2020-05-31/v.txt");
    Copy("night2.txt", "star/2020-06-03/v.txt");
    Copy("night2.txt", "star/flats/v.txt");  // same first point time; its folder does not match
    kurvalux_data::CObjectListElem object;
    object.absolute_path = Path("star");
    object.dir_key = "2020-*";
    object.file_names = "v.txt";
    std::vector<std::string> files = ScanObjectFiles(object, Bases());
    EXPECT_EQ(files, (std::vector<std::string>{Path("star/2020-05-31/v.txt"),
                                               Path("star/2020-06-03/v.txt")}));
    ScanResult result = RescanObject(object, Bases(), boxes_);
    EXPECT_EQ(result.added, 2);
    EXPECT_TRUE(boxes_.Records().empty());
    // The relative path of a new series continues the object's relative folder.
    object.series.clear();
    object.relative_path = "star";
    object.absolute_path.clear();
    RescanObject(object, Bases(), boxes_);
    ASSERT_EQ(object.series.size(), 2u);
    const auto& local = static_cast<const kurvalux_data::CLocalSeriesTreeElem&>(*object.series[0]);
    EXPECT_EQ(local.relative_path, "star/2020-05-31/v.txt");
}

TEST_F(ScanTest, ADuplicateNightIsRefusedByTheModelsRule) {
    Copy("night1.txt", "star/a.txt");
    Copy("night1.txt", "star/copy-of-a.txt");
    kurvalux_data::CObjectListElem object;
    object.absolute_path = Path("star");
    ScanResult result = RescanObject(object, Bases(), boxes_);
    EXPECT_EQ(result.added, 1);
    ASSERT_EQ(boxes_.Records().size(), 1u);
    EXPECT_EQ(boxes_.Records()[0].lines[0], "Duplicate series data file (same first point time):");
}

TEST_F(ScanTest, AnObjectWithoutFolderFindsNothing) {
    kurvalux_data::CObjectListElem object;
    EXPECT_EQ(ObjectFolder(object, Bases()), "");
    EXPECT_TRUE(ScanObjectFiles(object, Bases()).empty());
    ScanResult result = RescanObject(object, Bases(), boxes_);
    EXPECT_FALSE(result.Changed());
}

}  // namespace
}  // namespace kurvalux_app
