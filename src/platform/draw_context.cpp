#include "platform/draw_context.h"

#include <cmath>
#include <cstdlib>

namespace kurvalux_platform {

void CDrawContext::SetPenColour(Colour) {}
void CDrawContext::SetPenWidth(unsigned) {}
void CDrawContext::SetFillColour(Colour) {}
void CDrawContext::SelectFont(const CFont* font) {
    font_ = font ? *font : CFont{};
}
void CDrawContext::SetTextColour(Colour) {}

int CDrawContext::TextHeight() {
    // A sans-serif line is about 1.2 em high (ascent plus descent plus a little leading).
    int em = std::abs(font_.height);
    if (font_.height > 0) return font_.height;
    return (em * 6 + 4) / 5;
}

int CDrawContext::TextWidth(std::string_view text) {
    // Average advance of a sans-serif face: 0.55 em for normal weight, 0.6 em for bold;
    // digits, which make up most chart labels, are close to that.
    int em = font_.height < 0 ? -font_.height : (font_.height * 5 + 3) / 6;
    int per_mille = font_.weight >= 600 ? 600 : 550;
    return static_cast<int>((static_cast<long>(text.size()) * em * per_mille + 999) / 1000);
}

void CDrawContext::DrawText(int, int, size_t, std::string_view) {}
void CDrawContext::SetPixel(int, int, Colour) {}
void CDrawContext::DrawLine(int, int, int, int) {}
void CDrawContext::DrawPolyline(size_t, const int*, const int*) {}
void CDrawContext::DrawCircle(int, int, int) {}
void CDrawContext::DrawFilledCircle(int, int, int, bool) {}
void CDrawContext::FillRectangle(int, int, int, int) {}

int DiscHalfWidth(int r, int dy) {
    // The pixels whose centres lie within r + 1/2 of the centre: (dx² + dy²) <= r² + r.
    // For r = 2 this is the familiar 5×5 block without its corners.
    if (r < 0) return -1;
    int limit = r * r + r - dy * dy;
    if (limit < 0) return -1;
    int half = static_cast<int>(std::sqrt(static_cast<double>(limit)));
    while ((half + 1) * (half + 1) <= limit) ++half;
    while (half * half > limit) --half;
    return half;
}

}  // namespace kurvalux_platform
