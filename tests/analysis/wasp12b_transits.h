#pragma once
// The 19 WASP-12 b transits of TESS Sector 43 with their published mid-times (Ivshina & Winn
// 2022, ApJS 259, 62), each as a minimum fit over +-0.12 d around the published time. Shared by
// the timing tests and the fit benchmark.
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/fit_points.h"
#include "analysis/minimum_fit.h"

namespace kurvalux_testdata {

struct PublishedTransit {
    int epoch = 0;
    double time = 0;                               // BJD_TDB
    double error = 0;                              // d
    kurvalux_analysis::MinimumFitOptions options;  // points and window; start values unset
};

constexpr double kWasp12bWindow = 0.12;  // half the fit window, days

inline std::vector<PublishedTransit> Wasp12bSector43Transits(const std::string& data_folder) {
    // The light curve as a flux series (factor 1), turned into magnitudes as the program does.
    kurvalux_data::CSeriesTreeElem series;
    series.offset = 1.0;
    std::ifstream lc(data_folder + "/real/wasp12b-tess-s43-transits-flux.txt");
    std::string line;
    while (std::getline(lc, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        double t = 0, flux = 0, error = 0;
        words >> t >> flux >> error;
        series.times.push_back(t);
        series.values.push_back(flux);
        series.errors.push_back(error);
    }
    const kurvalux_analysis::SeriesPoints points = kurvalux_analysis::MagnitudePoints(series, true);

    // "System,Orbit number,T_mid,Uncertainty (days),...": the rows inside the light curve.
    std::vector<PublishedTransit> transits;
    std::ifstream csv(data_folder + "/real/wasp12b-published-transit-times.csv");
    while (std::getline(csv, line)) {
        std::vector<std::string> fields;
        std::stringstream cells(line);
        std::string cell;
        while (std::getline(cells, cell, ',')) fields.push_back(cell);
        if (fields.size() < 4 || fields[0] != "WASP-012") continue;
        PublishedTransit transit;
        transit.epoch = std::stoi(fields[1]);
        transit.time = std::stod(fields[2]);
        transit.error = std::stod(fields[3]);
        if (points.times.empty() || transit.time < points.times.front() ||
            transit.time > points.times.back())
            continue;
        transit.options.times = points.times;
        transit.options.values = points.values;
        transit.options.errors = points.errors;
        transit.options.t_start = transit.time - kWasp12bWindow;
        transit.options.t_end = transit.time + kWasp12bWindow;
        transits.push_back(std::move(transit));
    }
    return transits;
}

}  // namespace kurvalux_testdata
