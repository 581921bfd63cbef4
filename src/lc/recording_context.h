#pragma once
// A device context that records every drawing call as one line of text, so that tests can
// assert what a chart paints, in which order and where ("line 10 20 10 300", "fill 0,128,0").
// Text metrics are the base context's estimates, which makes layouts reproducible.
#include <string>
#include <vector>

#include "platform/draw_context.h"

namespace kurvalux_lc {

class CRecordingContext : public kurvalux_platform::CDrawContext {
public:
    CRecordingContext(int dpi_x = 96, int dpi_y = 96) : dpi_x_(dpi_x), dpi_y_(dpi_y) {}

    void SetPenColour(kurvalux_platform::Colour colour) override;
    void SetPenWidth(unsigned width) override;
    void SetFillColour(kurvalux_platform::Colour colour) override;
    void SelectFont(const kurvalux_platform::CFont* font) override;
    void SetTextColour(kurvalux_platform::Colour colour) override;
    void DrawText(int x, int y, size_t length, std::string_view text) override;
    void SetPixel(int x, int y, kurvalux_platform::Colour colour) override;
    void DrawLine(int x1, int y1, int x2, int y2) override;
    void DrawPolyline(size_t count, const int* xs, const int* ys) override;
    void DrawCircle(int cx, int cy, int r) override;
    void DrawFilledCircle(int cx, int cy, int r, bool outline) override;
    void FillRectangle(int x, int y, int width, int height) override;
    int DpiX() const override { return dpi_x_; }
    int DpiY() const override { return dpi_y_; }
    // Off by default, as for a vector document; on, the recorder stands for a pixel device.
    bool MayOmitCoveredMarks() const override { return omit_covered_; }
    void SetMayOmitCoveredMarks(bool on) { omit_covered_ = on; }

    // One line per call: "pen R,G,B", "width N", "fill R,G,B", "font H W" or "font -",
    // "textcolour R,G,B", "text X Y TEXT", "pixel X Y R,G,B", "line X1 Y1 X2 Y2",
    // "polyline N X,Y X,Y ...", "circle X Y R", "disc X Y R OUTLINE", "rect X Y W H".
    const std::vector<std::string>& Calls() const { return calls_; }
    // The calls that start with `prefix` followed by a blank.
    std::vector<std::string> CallsOf(const std::string& prefix) const;
    // Index of the first call equal to `call` at or after `from`, or -1.
    int Find(const std::string& call, size_t from = 0) const;
    void Clear() { calls_.clear(); }

private:
    std::vector<std::string> calls_;
    int dpi_x_, dpi_y_;
    bool omit_covered_ = false;
};

// "R,G,B" of a colour.
std::string ColourText(kurvalux_platform::Colour colour);

}  // namespace kurvalux_lc
