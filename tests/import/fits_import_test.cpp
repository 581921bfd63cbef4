// TESS and Kepler light-curve files, written here with cfitsio in the missions' layout (a
// primary header naming the target, a LIGHTCURVE binary table of cadences): the cadences kept
// and skipped, full BJD_TDB times, relative flux, the target's name and position, the
// refusals, the split of a sector at its orbit gap and the command line end to end.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "cli/cli_run.h"
#include "data/heliocentric.h"
#include "data/import/photometry_import.h"
#include "fielddata/temp_folder.h"
#include "import/light_curve_fits.h"

using namespace kurvalux_data;
using kurvalux_test::Cadence;
using kurvalux_test::LightCurve;
using kurvalux_test::WriteLightCurve;
using kurvalux_time::TimeStandard;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Eight cadences of two minutes: one flagged (scattered light, bit 13), one without a time,
// one without a flux; the five kept have the median flux 1000 e-/s.
std::vector<Cadence> EightCadences() {
    const double step = 2.0 / 1440;
    return {
        {1325.3, 1000, 2, 1500, 0},
        {1325.3 + step, 1010, 2, 1512, 0},
        {1325.3 + 2 * step, 990, 2, 1488, 4096},
        {kNaN, 1005, 2, 1506, 0},
        {1325.3 + 4 * step, kNaN, kNaN, 1503, 0},
        {1325.3 + 5 * step, 1020, 4, 1530, 0},
        {1325.3 + 6 * step, 980, 2, 1470, 0},
        {1325.3 + 7 * step, 1000, 2, 1501, 0},
    };
}

using Skipped = std::map<std::string, int>;

TEST(FitsImport, TessSectorCadencesTimesAndTarget) {
    TempFolder folder;
    LightCurve lc;
    lc.cadences = EightCadences();
    const std::string name = "tess2018206045859-s0001-0000000150428135-lc.fits";
    const std::string path = folder.Path() + name;
    ASSERT_EQ(WriteLightCurve(path, lc), 0);

    const ImportResult r = ImportPhotometryFile(path, {});
    ASSERT_TRUE(r.ok) << r.message;
    EXPECT_EQ(r.format, ImportFormat::kFits);
    EXPECT_STREQ(ImportFormatName(r.format), "TESS/Kepler light-curve FITS");
    ASSERT_EQ(r.series.size(), 1u);
    const ImportedSeries& s = r.series[0];
    EXPECT_EQ(s.star, "TIC 150428135");
    EXPECT_EQ(s.filter, "TESS");
    EXPECT_EQ(s.unit, kUnitFlux);
    EXPECT_EQ(s.standard, TimeStandard::kBjdTdb);
    EXPECT_NEAR(s.ra * 180 / M_PI, 97.0962, 1e-12);
    EXPECT_NEAR(s.dec * 180 / M_PI, -65.5787, 1e-12);
    EXPECT_EQ(r.skipped,
              (Skipped{{"no flux (NaN)", 1}, {"no time (NaN)", 1}, {"quality flag set", 1}}));
    ASSERT_EQ(s.times.size(), 5u);
    const double step = 2.0 / 1440;
    const double times[] = {2458325.3, 2458325.3 + step, 2458325.3 + 5 * step, 2458325.3 + 6 * step,
                            2458325.3 + 7 * step};
    const double values[] = {1.0, 1.01, 1.02, 0.98, 1.0};
    const double errors[] = {0.002, 0.002, 0.004, 0.002, 0.002};
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_NEAR(s.times[i], times[i], 1e-9) << i;
        EXPECT_DOUBLE_EQ(s.values[i], values[i]) << i;
        EXPECT_DOUBLE_EQ(s.errors[i], errors[i]) << i;
    }

    // The simple-aperture flux when asked for: the cadence without a PDC flux has one, the
    // median of the six is 1502, and there is no error column.
    ImportOptions sap;
    sap.column = "sap_flux";
    sap.filter = "TESS-SAP";
    const ImportResult a = ImportPhotometryFile(path, sap);
    ASSERT_TRUE(a.ok) << a.message;
    EXPECT_EQ(a.series[0].filter, "TESS-SAP");
    EXPECT_EQ(a.series[0].times.size(), 6u);
    EXPECT_NEAR(a.series[0].times[2], 2458325.3 + 4 * step, 1e-9);
    EXPECT_DOUBLE_EQ(a.series[0].values[0], 1500.0 / 1502);
    EXPECT_DOUBLE_EQ(a.series[0].values[2], 1503.0 / 1502);
    EXPECT_DOUBLE_EQ(a.series[0].values[3], 1530.0 / 1502);
    EXPECT_EQ(a.series[0].errors, std::vector<double>(6, 0.0));
    EXPECT_EQ(a.skipped, (Skipped{{"no time (NaN)", 1}, {"quality flag set", 1}}));

    // The same bytes held in memory read alike.
    const ImportResult m = ImportPhotometryText(folder.Read(name), {});
    ASSERT_TRUE(m.ok) << m.message;
    EXPECT_EQ(m.series[0].times, s.times);
    EXPECT_EQ(m.series[0].values, s.values);
    EXPECT_EQ(m.skipped, r.skipped);

    // A cadence 200 times the median cannot be written (99 or more reads as missing).
    LightCurve flare;
    flare.cadences = {{1400.0, 1000, 2, 1500, 0},
                      {1400.1, 200000, 2, 1500, 0},
                      {1400.2, 1000, 2, 1500, 0},
                      {1400.3, 1000, 2, 1500, 0}};
    ASSERT_EQ(WriteLightCurve(folder.Path() + "flare.fits", flare), 0);
    const ImportResult f = ImportPhotometryFile(folder.Path() + "flare.fits", {});
    ASSERT_TRUE(f.ok) << f.message;
    EXPECT_EQ(f.series[0].values, std::vector<double>(3, 1.0));
    EXPECT_NEAR(f.series[0].times[1], 2458400.2, 1e-9);
    EXPECT_EQ(f.skipped, (Skipped{{"flux 99 or more (read as missing)", 1}}));
}

TEST(FitsImport, TargetNamesAndReferencesOfTheMissions) {
    TempFolder folder;
    // A Kepler long-cadence quarter: times in BKJD (BJD − 2454833), no OBJECT, the KIC number.
    LightCurve kepler;
    kepler.telescope = "Kepler";
    kepler.object = "";
    kepler.ticid = 0;
    kepler.keplerid = 757076;
    kepler.ra = 291.03872;
    kepler.dec = 36.59813;
    kepler.reference = 2454833;
    kepler.time_unit = "BJD - 2454833, days";
    kepler.cadences = {{131.51231, 5.2e5, 20, 5.1e5, 0},
                       {131.53274, 5.3e5, 20, 5.2e5, 0},
                       {131.55318, 5.1e5, 20, 5.0e5, 0}};
    ASSERT_EQ(WriteLightCurve(folder.Path() + "kplr000757076-2009166043257_llc.fits", kepler), 0);
    const ImportResult k =
        ImportPhotometryFile(folder.Path() + "kplr000757076-2009166043257_llc.fits", {});
    ASSERT_TRUE(k.ok) << k.message;
    const ImportedSeries& s = k.series[0];
    EXPECT_EQ(s.star, "KIC 757076");
    EXPECT_EQ(s.filter, "Kepler");
    EXPECT_EQ(s.standard, TimeStandard::kBjdTdb);
    ASSERT_EQ(s.times.size(), 3u);
    EXPECT_NEAR(s.times[0], 2454964.51231, 1e-9);
    EXPECT_NEAR(s.times[2], 2454964.55318, 1e-9);
    EXPECT_DOUBLE_EQ(s.values[0], 1.0);
    EXPECT_DOUBLE_EQ(s.values[1], 53.0 / 52);
    EXPECT_DOUBLE_EQ(s.errors[2], 20 / 520000.0);
    EXPECT_NEAR(s.dec * 180 / M_PI, 36.59813, 1e-12);
    EXPECT_TRUE(k.skipped.empty());

    // K2 kept Kepler's keyword for its EPIC numbers; the fraction of the reference counts too.
    kepler.mission = "K2";
    kepler.keplerid = 211089792;
    kepler.reference_fraction = 0.5;
    ASSERT_EQ(WriteLightCurve(folder.Path() + "k2.fits", kepler), 0);
    const ImportResult k2 = ImportPhotometryFile(folder.Path() + "k2.fits", {});
    ASSERT_TRUE(k2.ok) << k2.message;
    EXPECT_EQ(k2.series[0].star, "EPIC 211089792");
    EXPECT_NEAR(k2.series[0].times[0], 2454965.01231, 1e-9);

    // TESS without OBJECT: the TIC number; a table found by its TIME column behind an image,
    // with SAP_FLUX as the only flux.
    LightCurve tess;
    tess.object = "";
    tess.extension = "";
    tess.image_first = true;
    tess.pdcsap = false;
    tess.cadences = EightCadences();
    ASSERT_EQ(WriteLightCurve(folder.Path() + "tess.fits", tess), 0);
    const ImportResult t = ImportPhotometryFile(folder.Path() + "tess.fits", {});
    ASSERT_TRUE(t.ok) << t.message;
    EXPECT_EQ(t.series[0].star, "TIC 150428135");
    EXPECT_EQ(t.series[0].times.size(), 6u);  // the cadence without a PDC flux has a SAP flux
    EXPECT_DOUBLE_EQ(t.series[0].values[0], 1500.0 / 1502);
    EXPECT_EQ(t.skipped, (Skipped{{"no time (NaN)", 1}, {"quality flag set", 1}}));
}

TEST(FitsImport, DamagedOrUnusableFilesRefusedWithTheirMessage) {
    TempFolder folder;
    LightCurve good;
    good.cadences.reserve(2000);
    for (int i = 0; i < 2000; ++i) good.cadences.push_back({1325.3 + i / 720.0, 1000, 2, 1500, 0});
    ASSERT_EQ(WriteLightCurve(folder.Path() + "good.fits", good), 0);
    const std::string bytes = folder.Read("good.fits");
    ASSERT_TRUE(ImportPhotometryFile(folder.Path() + "good.fits", {}).ok);

    LightCurve no_time = good, no_flux = good, flagged = good, no_reference = good, tt = good;
    no_time.time = false;
    no_flux.pdcsap = false;
    no_flux.sap = false;
    tt.time_system = "TT";
    flagged.cadences.resize(4);
    for (Cadence& c : flagged.cadences) c.quality = 1;  // attitude tweak
    no_reference.with_reference = false;
    ASSERT_EQ(WriteLightCurve(folder.Path() + "no_time.fits", no_time), 0);
    ASSERT_EQ(WriteLightCurve(folder.Path() + "no_flux.fits", no_flux), 0);
    ASSERT_EQ(WriteLightCurve(folder.Path() + "tt.fits", tt), 0);
    ASSERT_EQ(WriteLightCurve(folder.Path() + "flagged.fits", flagged), 0);
    ASSERT_EQ(WriteLightCurve(folder.Path() + "no_reference.fits", no_reference), 0);
    folder.Write("half.fits", bytes.substr(0, bytes.size() / 2));
    folder.Write("header.fits", bytes.substr(0, 2000));
    folder.Write("primary.fits", bytes.substr(0, 2880));  // the primary header alone

    struct Case {
        std::string file;
        std::string column;
        std::string message;
        Skipped skipped;
    } cases[] = {
        {"half.fits",
         "",
         "HDU 2 (LIGHTCURVE): the file ends within the table's 2000 rows (truncated)",
         {}},
        {"header.fits",
         "",
         "Not a readable FITS file (cfitsio: error reading from FITS file): " + folder.Path() +
             "header.fits",
         {}},
        {"primary.fits",
         "",
         "No light-curve table: no binary table named LIGHTCURVE or with a TIME column",
         {}},
        {"no_time.fits", "", "HDU 2 (LIGHTCURVE): no TIME column", {}},
        {"no_flux.fits", "", "HDU 2 (LIGHTCURVE): no flux column (PDCSAP_FLUX or SAP_FLUX)", {}},
        {"tt.fits",
         "",
         "HDU 2 (LIGHTCURVE): TIMESYS is TT, only barycentric TDB times are read",
         {}},
        {"good.fits", "KSPSAP_FLUX", "HDU 2 (LIGHTCURVE): no column named KSPSAP_FLUX", {}},
        {"good.fits", "SAP_*", "HDU 2 (LIGHTCURVE): no column named SAP_*", {}},
        {"good.fits",
         "QUALITY",
         "HDU 2 (LIGHTCURVE): the median QUALITY is not positive, the flux cannot be made "
         "relative",
         {}},
        {"flagged.fits",
         "",
         "No usable cadence in HDU 2 (LIGHTCURVE) (4 rows): none with a time and a flux and no "
         "quality flag",
         {{"quality flag set", 4}}},
        {"no_reference.fits",
         "",
         "HDU 2 (LIGHTCURVE): no BJDREFI, the time reference is unknown",
         {}},
    };
    for (const Case& c : cases) {
        ImportOptions options;
        options.column = c.column;
        const ImportResult r = ImportPhotometryFile(folder.Path() + c.file, options);
        EXPECT_FALSE(r.ok) << c.file;
        EXPECT_TRUE(r.series.empty()) << c.file;
        EXPECT_EQ(r.message, c.message) << c.file << " " << c.column;
        EXPECT_EQ(r.skipped, c.skipped) << c.file;
    }

    // Read from memory: bytes that end within the first card, and the half file, which is
    // known to be truncated by its true length although cfitsio is given whole records.
    const ImportResult text = ImportPhotometryText("SIMPLE  =                    T", {});
    EXPECT_FALSE(text.ok);
    EXPECT_EQ(text.format, ImportFormat::kFits);
    EXPECT_EQ(text.message, "Not a readable FITS file (cfitsio: second keyword not BITPIX)");
    const ImportResult half = ImportPhotometryText(bytes.substr(0, bytes.size() / 2), {});
    EXPECT_FALSE(half.ok);
    EXPECT_EQ(half.message,
              "HDU 2 (LIGHTCURVE): the file ends within the table's 2000 rows (truncated)");
}

TEST(FitsImport, SectorSplitsAtTheOrbitGap) {
    // Two orbits of ten-minute cadences, a downlink gap of a day between them, and a gap of
    // 13 hours inside the second orbit.
    ImportedSeries sector;
    auto add = [&sector](double from, int count) {
        for (int i = 0; i < count; ++i) {
            sector.times.push_back(2458325.3 + from + i / 144.0);
            sector.values.push_back(1 + i / 1e4);
            sector.errors.push_back(0.001);
        }
    };
    add(0, 100);
    add(99 / 144.0 + 1.0, 50);
    add(99 / 144.0 + 1.0 + 49 / 144.0 + 13 / 24.0, 30);
    const std::vector<ImportedSeries> orbits = SplitAtOrbitGap(sector);
    ASSERT_EQ(orbits.size(), 2u);
    EXPECT_EQ(orbits[0].times.size(), 100u);
    EXPECT_EQ(orbits[1].times.size(), 80u);
    EXPECT_EQ(orbits[0].times.back(), sector.times[99]);
    EXPECT_EQ(orbits[1].times.front(), sector.times[100]);
    EXPECT_EQ(orbits[1].values.front(), 1.0);
    EXPECT_EQ(orbits[1].errors.back(), 0.001);
    // SplitAtGaps splits at every gap over 12 hours; a day is no orbit gap when 26 hours are
    // asked for.
    std::vector<size_t> parts;
    for (const ImportedSeries& p : SplitAtGaps(sector, 12)) parts.push_back(p.times.size());
    EXPECT_EQ(parts, (std::vector<size_t>{100, 50, 30}));
    EXPECT_EQ(SplitAtOrbitGap(sector, 26).size(), 1u);
}

// The field of one object, without series yet.
const char* kField =
    "kurvalux\r\n\tversion = 4\r\n\tobjects = 1\r\n\tobject\r\n\t\tname = \"TOI 270\"\r\n"
    "\tend_object\r\nend_kurvalux\r\n";

std::string G12(double value) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.12g", value);
    return buffer;
}

TEST(FitsImport, CommandLineAddsBothOrbitsOfASector) {
    TempFolder folder;
    LightCurve lc;
    for (int i = 0; i < 40; ++i)
        lc.cadences.push_back({1325.3 + i / 720.0, 1000.0 + i, 2, 1500, 0});
    for (int i = 0; i < 30; ++i)
        lc.cadences.push_back({1327.0 + i / 720.0, 1000.0 - i, 2, 1500, 0});
    lc.cadences[5].quality = 32;  // reaction wheel desaturation
    ASSERT_EQ(WriteLightCurve(folder.Path() + "sector.fits", lc), 0);
    const std::string field = folder.Write("f.kvf", kField);

    const CliRun run = RunCli({"import", folder.Path() + "sector.fits", "--field", field,
                               "--object", "TOI 270", "--split-orbits", "--save"});
    ASSERT_EQ(run.status, 0) << run.err;
    // The times printed are those of the field's axis: HJD_UTC of each BJD_TDB.
    const double ra = 97.0962 * M_PI / 180, dec = -65.5787 * M_PI / 180;
    auto hjd = [&](double btjd) {
        const double utc = *kurvalux_time::ConvertTime(
            2457000 + btjd, TimeStandard::kBjdTdb, TimeStandard::kJdUtc, {ra, dec}, std::nullopt);
        return G12(HeliocentricJD(utc, StarDirection(ra, dec)));
    };
    const std::string series = "series TIC 150428135 filter TESS points ";
    const std::string tail = " standard HJD_UTC (converted from BJD_TDB) file " + folder.Path();
    EXPECT_EQ(run.out, "format TESS/Kepler light-curve FITS\n" + series + "39 first " +
                           hjd(1325.3) + " last " + hjd(1325.3 + 39 / 720.0) + tail +
                           "sector_TIC_150428135_TESS.txt\n" + series + "30 first " + hjd(1327.0) +
                           " last " + hjd(1327.0 + 29 / 720.0) + tail +
                           "sector_TIC_150428135_TESS_2.txt\nskipped 1: quality flag set\n"
                           "field saved\n");
    EXPECT_NE(folder.Read("f.kvf").find("sector_TIC_150428135_TESS_2.txt"), std::string::npos);
    EXPECT_EQ(folder.Read("sector_TIC_150428135_TESS.txt").substr(0, 30),
              "# Imported from sector.fits\r\n#");
}

}  // namespace
