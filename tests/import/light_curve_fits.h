#pragma once
// Writes light-curve FITS files in the layout of the TESS and Kepler missions with cfitsio: a
// primary header naming the target (TELESCOP, OBJECT, TICID or KEPLERID, RA_OBJ, DEC_OBJ) and
// a LIGHTCURVE binary table of cadences (TIME, PDCSAP_FLUX with its error, SAP_FLUX, QUALITY)
// whose header gives the time reference (BJDREFI, BJDREFF, TIMESYS).
#include <fitsio.h>

#include <string>
#include <vector>

namespace kurvalux_test {

struct Cadence {
    double time;  // days since the reference
    double flux, error, sap;
    int quality;
};

// What goes into one file; the defaults are those of a TESS two-minute light curve.
struct LightCurve {
    std::string telescope = "TESS";
    std::string object = "TIC 150428135";
    std::string mission;
    long long ticid = 150428135, keplerid = 0;
    double ra = 97.0962, dec = -65.5787;
    long reference = 2457000;
    double reference_fraction = 0.0;
    std::string time_unit = "BTJD - 2457000, days";
    std::string extension = "LIGHTCURVE";
    std::string time_system = "TDB";
    bool time = true, pdcsap = true, sap = true, with_reference = true;
    bool image_first = false;  // an image HDU before the table
    std::vector<Cadence> cadences;
};

// Writes the file; cfitsio's status, 0 when all went well.
inline int WriteLightCurve(const std::string& path, const LightCurve& lc) {
    fitsfile* f = nullptr;
    int status = 0;
    fits_create_file(&f, path.c_str(), &status);
    fits_create_img(f, BYTE_IMG, 0, nullptr, &status);
    auto text = [&](const char* key, const std::string& value) {
        if (!value.empty())
            fits_update_key(f, TSTRING, key, const_cast<char*>(value.c_str()), nullptr, &status);
    };
    text("TELESCOP", lc.telescope);
    text("OBJECT", lc.object);
    text("MISSION", lc.mission);
    long long ticid = lc.ticid, keplerid = lc.keplerid;
    if (ticid) fits_update_key(f, TLONGLONG, "TICID", &ticid, nullptr, &status);
    if (keplerid) fits_update_key(f, TLONGLONG, "KEPLERID", &keplerid, nullptr, &status);
    double ra = lc.ra, dec = lc.dec;
    fits_update_key(f, TDOUBLE, "RA_OBJ", &ra, "[deg] right ascension", &status);
    fits_update_key(f, TDOUBLE, "DEC_OBJ", &dec, "[deg] declination", &status);
    if (lc.image_first) {
        long axes[2] = {3, 3};
        fits_create_img(f, LONG_IMG, 2, axes, &status);
    }
    std::vector<std::string> names, forms, units;
    auto column = [&](const char* name, const char* form, const std::string& unit) {
        names.push_back(name);
        forms.push_back(form);
        units.push_back(unit);
    };
    if (lc.time) column("TIME", "D", lc.time_unit);
    if (lc.pdcsap) column("PDCSAP_FLUX", "E", "e-/s");
    if (lc.pdcsap) column("PDCSAP_FLUX_ERR", "E", "e-/s");
    if (lc.sap) column("SAP_FLUX", "E", "e-/s");
    column("QUALITY", "J", "");
    std::vector<char*> n, t, u;
    for (size_t i = 0; i < names.size(); ++i) {
        n.push_back(names[i].data());
        t.push_back(forms[i].data());
        u.push_back(units[i].data());
    }
    std::string extension = lc.extension;
    fits_create_tbl(f, BINARY_TBL, 0, static_cast<int>(n.size()), n.data(), t.data(), u.data(),
                    extension.empty() ? nullptr : extension.data(), &status);
    long reference = lc.reference;
    double fraction = lc.reference_fraction;
    if (lc.with_reference) {
        fits_update_key(f, TLONG, "BJDREFI", &reference, "integer part of BTJD reference", &status);
        fits_update_key(f, TDOUBLE, "BJDREFF", &fraction, "fraction of the day", &status);
    }
    text("TIMESYS", lc.time_system);
    std::vector<double> time, flux, error, sap;
    std::vector<int> quality;
    for (const Cadence& c : lc.cadences) {
        time.push_back(c.time);
        flux.push_back(c.flux);
        error.push_back(c.error);
        sap.push_back(c.sap);
        quality.push_back(c.quality);
    }
    const LONGLONG rows = static_cast<LONGLONG>(lc.cadences.size());
    int k = 1;
    if (lc.time) fits_write_col(f, TDOUBLE, k++, 1, 1, rows, time.data(), &status);
    if (lc.pdcsap) fits_write_col(f, TDOUBLE, k++, 1, 1, rows, flux.data(), &status);
    if (lc.pdcsap) fits_write_col(f, TDOUBLE, k++, 1, 1, rows, error.data(), &status);
    if (lc.sap) fits_write_col(f, TDOUBLE, k++, 1, 1, rows, sap.data(), &status);
    fits_write_col(f, TINT, k++, 1, 1, rows, quality.data(), &status);
    fits_close_file(f, &status);
    return status;
}

}  // namespace kurvalux_test
