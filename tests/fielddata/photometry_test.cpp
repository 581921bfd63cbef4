// Photometry files: data lines, the missing-value rule, header words and star lines, and
// the size limit.
#include "data/photometry.h"

#include <cmath>

#include <gtest/gtest.h>

#include "temp_folder.h"

using namespace kurvalux_data;

namespace {

TEST(Photometry, DataLines) {
    struct Case {
        const char* name;
        const char* text;
        std::vector<std::array<double, 3>> points;
    } cases[] = {
        {"three columns", "2459000.5 12.1 0.01\n", {{2459000.5, 12.1, 0.01}}},
        {"no error column stores 0", "2459000.5\t12.1\r\n", {{2459000.5, 12.1, 0}}},
        {"value 99 is missing", "1 99.0 0.1\n2 99.999 0.1\n3 98.999 0.1\n", {{3, 98.999, 0.1}}},
        {"comma is no separator", "2459000.5,12.1,0.01\n", {}},
        {"leading blanks and CR only",
         "  \t1.5 2.5 0.5\r2.5 3.5\r\r\n",
         {{1.5, 2.5, 0.5}, {2.5, 3.5, 0}}},
        {"trailing text ignored", "1 2 0.3 flagged\n4 5 x\n", {{1, 2, 0.3}, {4, 5, 0}}},
        {"exponent is not part of a number", "1 2e1 3\n", {{1, 2, 0}}},
        {"leading point is not a number", ".5 1 1\n", {}},
        {"negative values", "-1.25 -0.5 0.1\n", {{-1.25, -0.5, 0.1}}},
        {"number glued to letters", "2459000.5x 12.1\n", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CLocalSeriesTreeElem series;
        EXPECT_EQ(ParsePhotometry(c.text, series), c.points.size());
        ASSERT_EQ(series.Count(), c.points.size());
        for (size_t i = 0; i < c.points.size(); ++i) {
            EXPECT_DOUBLE_EQ(series.times[i], c.points[i][0]);
            EXPECT_DOUBLE_EQ(series.values[i], c.points[i][1]);
            EXPECT_DOUBLE_EQ(series.errors[i], c.points[i][2]);
        }
    }
}

TEST(Photometry, HeaderWordsAfterAnyCommentPrefix) {
    CLocalSeriesTreeElem series;
    ParsePhotometry(
        "# VarAperture: 5.5 CMPAPERTURE: 6; CHKAPERTURE: 7\n"
        "// jd: heliocentric\n"
        "; UNIT: flux  FILTER: SloanR\n"
        "%% APERTURE: 4\n"
        "# Observer: nobody JD: GEOCENTRIC\n"
        "1 2 3\n",
        series);
    const CMetaData& m = series.file_meta_data;
    EXPECT_EQ(m.var_aperture, 4);  // the older spelling, read last
    EXPECT_EQ(m.cmp_aperture, 6);
    EXPECT_EQ(m.chk_aperture, 7);
    EXPECT_EQ(m.jd_type, kJdGeocentric);
    EXPECT_EQ(m.value_unit, kUnitFlux);
    EXPECT_EQ(m.filter, "SloanR");
}

TEST(Photometry, UnknownWordsAndValuesAreIgnored) {
    CLocalSeriesTreeElem series;
    ParsePhotometry("# JD: BARYCENTRIC UNIT: COUNTS FILTER:\n# \x01\x02 garbage ;;; ,,\n1 2\n",
                    series);
    EXPECT_EQ(series.file_meta_data.jd_type, kJdUnknown);
    EXPECT_EQ(series.file_meta_data.value_unit, kUnitUnknown);
    EXPECT_EQ(series.Count(), 1u);
}

TEST(Photometry, StarLines) {
    CLocalSeriesTreeElem series;
    ParsePhotometry(
        "# VAR NAME: \"V1023 Her\" RA: 17:30:04.50 DEC: -05 06 07.2 CATALOG: VSX CATALOGID: 12345\n"
        "# CMP2 NAME: C2 RA: 1 30 DEC: +10:00:00 CATALOGRA: 22.5 CATALOGDEC: -3.25 "
        "CATALOGMAG: 11.5 CATALOGB-V: 0.6 CATALOGJ-K: 0.4\n"
        "# CHK1 NAME: K1\n"
        "# CMP12 NAME: too-far\n"
        "1 2\n",
        series);
    const CMetaData& m = series.file_meta_data;
    EXPECT_EQ(m.var.star_name, "V1023 Her");
    EXPECT_NEAR(m.var.star_ra, (17 + 30 / 60.0 + 4.5 / 3600) * M_PI / 12, 1e-12);
    EXPECT_NEAR(m.var.star_dec, -(5 + 6 / 60.0 + 7.2 / 3600) * M_PI / 180, 1e-12);
    EXPECT_EQ(m.var.catalog, "VSX");
    EXPECT_EQ(m.var.catalog_id, "12345");
    ASSERT_EQ(m.cmp.size(), 3u);
    EXPECT_TRUE(m.cmp[0].IsEmpty());
    EXPECT_EQ(m.cmp[2].star_name, "C2");
    EXPECT_NEAR(m.cmp[2].star_ra, 1.5 * M_PI / 12, 1e-12);
    EXPECT_NEAR(m.cmp[2].star_dec, 10 * M_PI / 180, 1e-12);
    EXPECT_DOUBLE_EQ(m.cmp[2].catalog_ra, 22.5);
    EXPECT_DOUBLE_EQ(m.cmp[2].catalog_dec, -3.25);
    EXPECT_DOUBLE_EQ(m.cmp[2].catalog_mag, 11.5);
    EXPECT_DOUBLE_EQ(m.cmp[2].catalog_bv, 0.6);
    EXPECT_DOUBLE_EQ(m.cmp[2].catalog_jk, 0.4);
    ASSERT_EQ(m.chk.size(), 2u);
    EXPECT_EQ(m.chk[1].star_name, "K1");
}

TEST(Photometry, LoadingRefusals) {
    TempFolder folder;
    std::string text = "1 2 3\n";
    text.resize(kMaxPhotometryFileSize, ' ');
    folder.Write("exact.txt", text);
    folder.Write("over.txt", text + " ");
    folder.Write("header-only.txt", "# JD: HELIOCENTRIC\n");
    PathBases bases;
    bases.field_folder = folder.Path();
    struct Case {
        const char* file;
        bool ok;
        std::string error;
    } cases[] = {
        {"exact.txt", true, ""},
        {"over.txt", false, "File too big (> 16 MB)"},
        {"header-only.txt", false, "No data points in file"},
        {"absent.txt", false, "Cannot open file: " + folder.Path() + "absent.txt"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        CLocalSeriesTreeElem series;
        series.relative_path = c.file;
        std::string error, path;
        EXPECT_EQ(LoadSeriesData(series, bases, error, path), c.ok);
        EXPECT_EQ(error, c.error);
        if (c.ok) {
            EXPECT_EQ(series.Count(), 1u);
            EXPECT_EQ(series.absolute_path, folder.Path() + c.file);
            EXPECT_GT(series.file_time, 116444736000000000ULL);  // after 1970 in file time
        }
    }
}

TEST(SeriesPaths, ResolutionOrder) {
    TempFolder root, program, field;
    root.Write("obj/night.txt", "1 2\n");
    program.Write("obj/prog.txt", "1 2\n");
    field.Write("obj/beside.txt", "1 2\n");
    const std::string absolute = root.Write("abs/elsewhere.txt", "1 2\n");

    PathBases with_root{root.Path(), program.Path(), field.Path()};
    ResolvedPath r = ResolveSeriesPath("C:\\x.txt", "obj\\night.txt", with_root);
    ASSERT_TRUE(r.found);
    EXPECT_EQ(r.absolute, root.Path() + "obj/night.txt");

    // A Windows root with doubled backslashes reduced to one.
    r = ResolveSeriesPath("", "obj\\\\night.txt", PathBases{"D:\\\\data\\", "", ""});
    EXPECT_FALSE(r.found);
    EXPECT_EQ(r.path, "D:\\data\\obj\\night.txt");

    PathBases no_root{"", program.Path(), field.Path()};
    r = ResolveSeriesPath("", "obj\\prog.txt", no_root);
    ASSERT_TRUE(r.found);
    EXPECT_EQ(r.absolute, program.Path() + "obj/prog.txt");

    // The absolute path opens: the relative one is recomputed against the root.
    r = ResolveSeriesPath(absolute, "stale\\name.txt", with_root);
    ASSERT_TRUE(r.found);
    EXPECT_EQ(r.relative, "abs/elsewhere.txt");

    // Nothing else opens: the folder of the field file.
    r = ResolveSeriesPath("C:\\old\\obj\\beside.txt", "obj\\beside.txt", no_root);
    ASSERT_TRUE(r.found);
    EXPECT_EQ(r.absolute, field.Path() + "obj/beside.txt");
    EXPECT_EQ(r.relative, "obj\\beside.txt");

    // Found nowhere: the path named is the last place looked at, beside the field file.
    r = ResolveSeriesPath("C:\\old\\none.txt", "obj\\none.txt", no_root);
    EXPECT_FALSE(r.found);
    EXPECT_EQ(r.path, field.Path() + "obj/none.txt");
    PathBases no_field{"", program.Path(), ""};
    r = ResolveSeriesPath("C:\\old\\none.txt", "obj\\none.txt", no_field);
    EXPECT_EQ(r.path, "C:\\old\\none.txt");
}

}  // namespace
