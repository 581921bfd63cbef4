#pragma once
// The O-C diagram: for every minimum in use, the observed time of minimum less the time the
// ephemeris computes for its cycle, plotted against the cycle number (or against time), with
// the ephemeris fitted to the minima drawn over the points.
//
// A constant O-C means the ephemeris has the wrong epoch, a straight sloping line a wrong
// period, a parabola a period that changes steadily (mass transfer, magnetic braking), a
// wave a third body or apsidal motion. The fitted line shows what the fit makes of it: it is
// the fitted ephemeris less the current one, so where it crosses zero the two agree.
//
// Markers: a primary minimum is a filled disc, a secondary an open square, a minimum of
// undefined type an open diamond in its own colour. The undefined ones are not fitted (a
// minimum of unknown kind may lie half a cycle from where a primary would be) and they are
// drawn after the others, so that they stay visible and apart from the fitted set. On the
// cycle axis a secondary sits at E + 1/2, halfway between the primaries, where it was timed.
#include <string>
#include <vector>

#include "analysis/ephemeris_fit.h"
#include "lc/light_curve_pane.h"

namespace kurvalux_lc {

enum class OCXAxis { kCycle, kTime };
enum class OCUnit { kDays, kMinutes };

// The pen of the fitted line.
constexpr Colour kOCFitColour = kurvalux_platform::MakeColour(0, 140, 0);

class COCPane : public CLightCurvePane {
public:
    // One minimum after layout, in pixels; x, y inside the plot or -1 for y outside it.
    struct Mark {
        int x = 0;
        int y = -1;
        int e = 0;  // error bar half-length, 0 for none
        uint32_t type = kurvalux_data::kMinimumUndefined;
    };

    COCPane();

    // The table (made against m0 and period) to draw.
    void SetTable(std::vector<kurvalux_analysis::OCEntry> table, double m0, double period);
    // The fitted ephemeris drawn over the points; a failed fit or null draws none.
    void SetFit(const kurvalux_analysis::EphemerisFitResult* fit);
    void SetXAxis(OCXAxis axis);
    void SetUnit(OCUnit unit);
    // The caption of a time axis ("HJD", "JD", ...).
    void SetTimeCaption(const std::string& caption);
    OCXAxis XAxis() const { return x_axis_; }
    OCUnit Unit() const { return unit_; }

    // Sets the captions and the data range; lay out afterwards (LayoutAll).
    void Build();
    void Layout(double start, double end, bool fit_y_to_visible, bool include_error_bars) override;

    const std::vector<kurvalux_analysis::OCEntry>& Table() const { return table_; }
    bool HasFit() const { return has_fit_; }
    // The abscissa of an entry: the cycle (E + 1/2 for a secondary) or the time.
    double XValue(const kurvalux_analysis::OCEntry& entry) const;
    // The ordinate of an entry, O-C in the pane's unit.
    double YValue(const kurvalux_analysis::OCEntry& entry) const;
    // The fitted ephemeris less the current one at abscissa x, in the pane's unit.
    double FitValue(double x) const;

    const std::vector<Mark>& Marks() const { return marks_; }
    // The fitted line in pixels (empty without a fit).
    const std::vector<int>& FitXs() const { return fit_xs_; }
    const std::vector<int>& FitYs() const { return fit_ys_; }
    // The entry whose marker is nearest to (x, y) within `reach` pixels, or -1.
    int EntryAt(int x, int y, int reach) const;

protected:
    void ExtendYRange(double& lower, double& upper) const override;
    void PaintOverlay(CDrawContext& dc) override;
    std::string XTickLabel(double value) const override;

private:
    double UnitScale() const { return unit_ == OCUnit::kMinutes ? 1440.0 : 1.0; }
    void PaintMark(CDrawContext& dc, const Mark& mark, int size);

    std::vector<kurvalux_analysis::OCEntry> table_;
    double m0_ = 0, period_ = 0;
    bool has_fit_ = false;
    kurvalux_analysis::EphemerisFitResult fit_;
    OCXAxis x_axis_ = OCXAxis::kCycle;
    OCUnit unit_ = OCUnit::kDays;
    std::string time_caption_ = "HJD";

    std::vector<Mark> marks_;
    std::vector<int> fit_xs_, fit_ys_;
};

// The caption of the O-C axis: "O-C d" or "O-C min".
const char* OCUnitCaption(OCUnit unit);

}  // namespace kurvalux_lc
