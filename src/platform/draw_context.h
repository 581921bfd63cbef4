#pragma once
// The device context the chart panes paint on. One paint routine serves the screen, raster
// files and SVG documents: the panes call only these operations, and each output implements
// them (a QPainter adapter in img/, kurvalux_lc::CSVGContext in the core, a recorder in tests).
//
// Coordinates are integer pixels with y growing downward; colours are 32-bit with red in the
// lowest byte, then green, then blue (the top byte is ignored). Text is placed by its top-left
// corner, except in SVG, where the y of a text element is its baseline.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kurvalux_platform {

using Colour = uint32_t;

constexpr Colour MakeColour(unsigned red, unsigned green, unsigned blue) {
    return (red & 0xFF) | ((green & 0xFF) << 8) | ((blue & 0xFF) << 16);
}
constexpr unsigned RedOf(Colour c) {
    return c & 0xFF;
}
constexpr unsigned GreenOf(Colour c) {
    return (c >> 8) & 0xFF;
}
constexpr unsigned BlueOf(Colour c) {
    return (c >> 16) & 0xFF;
}
// The three channels only, top byte cleared: colours that differ only there look the same.
constexpr Colour RgbOf(Colour c) {
    return c & 0xFFFFFF;
}

// A font as the panes ask for it. `height` follows the usual device convention: a negative
// value is the character (em) height in pixels, a positive one the cell height.
struct CFont {
    int height = -12;
    int weight = 400;  // 400 normal, 700 bold
    std::string face = "sans-serif";
    bool operator==(const CFont&) const = default;
};

class CDrawContext {
public:
    virtual ~CDrawContext() = default;

    // The operations in the device context's own order. The base class draws nothing; its
    // text metrics are estimates for a plain sans-serif face, so that a context that cannot
    // measure text (SVG) still lays out sensibly.
    virtual void SetPenColour(Colour colour);
    virtual void SetPenWidth(unsigned width);
    virtual void SetFillColour(Colour colour);
    // Null selects the context's default font (12 pixels, normal weight).
    virtual void SelectFont(const CFont* font);
    virtual void SetTextColour(Colour colour);
    // Height of a line of text in the current font, in pixels.
    virtual int TextHeight();
    virtual int TextWidth(std::string_view text);
    // Draws the first `length` characters of `text` (fewer when the text is shorter).
    virtual void DrawText(int x, int y, size_t length, std::string_view text);
    virtual void SetPixel(int x, int y, Colour colour);
    virtual void DrawLine(int x1, int y1, int x2, int y2);
    virtual void DrawPolyline(size_t count, const int* xs, const int* ys);
    // Outline of a circle in the pen colour.
    virtual void DrawCircle(int cx, int cy, int r);
    // A disc in the fill colour, outlined in the pen colour when `outline` is set.
    virtual void DrawFilledCircle(int cx, int cy, int r, bool outline);
    virtual void FillRectangle(int x, int y, int width, int height);

    // The device's resolution; 96 means no scaling.
    virtual int DpiX() const { return 96; }
    virtual int DpiY() const { return 96; }

    // Whether a mark that an identical later mark (same place, size and colour) covers
    // completely may be left out. On pixels the later mark hides it for good, and a dense
    // chart then draws only what can be seen. A vector document is zoomed by its reader, where
    // marks that share a pixel at the export size lie apart, so it must receive every one;
    // hence the default.
    virtual bool MayOmitCoveredMarks() const { return false; }

protected:
    // The font last selected (the default font when none was).
    const CFont& CurrentFont() const { return font_; }

private:
    CFont font_;
};

// The pixel rows of a filled disc of radius r centred on the origin: for |dy| <= r the half
// width of the row dy is DiscHalfWidth(r, dy). Every raster output uses this one shape, so a
// point looks the same on the screen and in a file.
int DiscHalfWidth(int r, int dy);

}  // namespace kurvalux_platform
