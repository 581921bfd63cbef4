#pragma once
// CSVGContext: a device context that turns each drawing call of a chart pane into one SVG
// element, so that the very paint routine that draws the screen also writes vector files.
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/draw_context.h"
#include "platform/text_buffer.h"

namespace kurvalux_lc {

// SVG documents are written into the text buffer that every generated text file shares.
using kurvalux_platform::CTextBuffer;

class CSVGContext : public kurvalux_platform::CDrawContext {
public:
    // Bound of every state text written into an element. A colour with three 3-digit channels
    // ("rgb(255,255,255)") is 16 characters and so loses its closing parenthesis; browsers
    // still read it, and files written earlier look the same.
    static constexpr size_t kStateCapacity = 15;

    CSVGContext();

    // Writes the XML prologue, the SVG root element of the given size and the style block,
    // and makes `output` the buffer that the drawing calls append to.
    void WriteHeader(CTextBuffer& output, int width, int height);
    // Appends the closing "</svg>" (no line end after it).
    void WriteFooter();

    void SetPenColour(kurvalux_platform::Colour colour) override;
    void SetPenWidth(unsigned width) override;
    void SetFillColour(kurvalux_platform::Colour colour) override;
    void SelectFont(const kurvalux_platform::CFont* font) override;
    void DrawText(int x, int y, size_t length, std::string_view text) override;
    void DrawLine(int x1, int y1, int x2, int y2) override;
    void DrawPolyline(size_t count, const int* xs, const int* ys) override;
    void DrawCircle(int cx, int cy, int r) override;
    void DrawFilledCircle(int cx, int cy, int r, bool outline) override;
    void FillRectangle(int x, int y, int width, int height) override;

    const std::string& Stroke() const { return stroke_; }
    const std::string& StrokeWidth() const { return width_; }
    const std::string& Fill() const { return fill_; }
    const std::string& TextClass() const { return class_; }

private:
    CTextBuffer* output_ = nullptr;
    std::string stroke_;
    std::string width_;
    std::string fill_;
    std::string class_;
    std::string element_;  // the element being built, reused between calls
};

// "rgb(R,G,B)" of a colour with red in the low byte (not bounded).
std::string SvgColour(kurvalux_platform::Colour colour);

}  // namespace kurvalux_lc
