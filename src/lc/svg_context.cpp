#include "lc/svg_context.h"

#include <charconv>
#include <cstdlib>

#include "platform/text.h"

namespace kurvalux_lc {

using kurvalux_platform::Colour;

namespace {

void AppendInt(std::string& out, long value) {
    char digits[24];
    auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
}

// The state texts are kept cut to their capacity and written with the same bound.
void AppendBounded(std::string& out, const std::string& text) {
    out.append(text, 0, CSVGContext::kStateCapacity);
}

// "stroke:S;stroke-width:W", the pen part of the line, polyline and circle styles.
void AppendStroke(std::string& out, const std::string& stroke, const std::string& width) {
    out += "stroke:";
    AppendBounded(out, stroke);
    out += ";stroke-width:";
    AppendBounded(out, width);
}

void AppendAttribute(std::string& out, const char* name, long value) {
    out += ' ';
    out += name;
    out += "=\"";
    AppendInt(out, value);
    out += '"';
}

}  // namespace

std::string SvgColour(Colour colour) {
    std::string text = "rgb(";
    AppendInt(text, kurvalux_platform::RedOf(colour));
    text += ',';
    AppendInt(text, kurvalux_platform::GreenOf(colour));
    text += ',';
    AppendInt(text, kurvalux_platform::BlueOf(colour));
    text += ')';
    return text;
}

CSVGContext::CSVGContext() {
    kurvalux_platform::AssignCut(stroke_, "rgb(0,0,0)", kStateCapacity);
    kurvalux_platform::AssignCut(width_, "1px", kStateCapacity);
    kurvalux_platform::AssignCut(fill_, "rgb(255,255,255)", kStateCapacity);
    kurvalux_platform::AssignCut(class_, "normal", kStateCapacity);
}

void CSVGContext::WriteHeader(CTextBuffer& output, int width, int height) {
    output_ = &output;
    output.indent = 0;
    output.line_end = false;
    std::string head =
        "<?xml version=\"1.0\"?>\r\n"
        "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\"\r\n"
        "\"http://www.w3.org/Graphics/SVG/1.1/DTD/svg11.dtd\">\r\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\"";
    AppendAttribute(head, "width", width);
    AppendAttribute(head, "height", height);
    head +=
        ">\r\n"
        "<style>\r\n"
        ".normal {font: 12px sans-serif; }\r\n"
        ".bold   {font: bold 12px sans-serif; }\r\n"
        ".title  {font: bold 16px sans-serif; }\r\n"
        "</style>\r\n";
    output.Append(head);
}

void CSVGContext::WriteFooter() {
    if (output_) output_->Append("</svg>");
}

void CSVGContext::SetPenColour(Colour colour) {
    kurvalux_platform::AssignCut(stroke_, SvgColour(colour), kStateCapacity);
}

void CSVGContext::SetPenWidth(unsigned width) {
    std::string text;
    AppendInt(text, static_cast<long>(width));
    text += "px";
    kurvalux_platform::AssignCut(width_, text, kStateCapacity);
}

void CSVGContext::SetFillColour(Colour colour) {
    kurvalux_platform::AssignCut(fill_, SvgColour(colour), kStateCapacity);
}

void CSVGContext::SelectFont(const kurvalux_platform::CFont* font) {
    CDrawContext::SelectFont(font);
    const char* name = "normal";
    if (font) {
        if (std::abs(font->height) >= 13)
            name = "title";
        else if (font->weight >= 600)
            name = "bold";
    }
    kurvalux_platform::AssignCut(class_, name, kStateCapacity);
}

void CSVGContext::DrawText(int x, int y, size_t length, std::string_view text) {
    if (!output_) return;
    if (length > text.size()) length = text.size();
    element_ = "<text";
    AppendAttribute(element_, "x", x);
    AppendAttribute(element_, "y", y);
    element_ += " class=\"";
    AppendBounded(element_, class_);
    element_ += "\">";
    element_.append(text.data(), length);
    element_ += "</text>\r\n";
    output_->Append(element_);
}

void CSVGContext::DrawLine(int x1, int y1, int x2, int y2) {
    if (!output_) return;
    element_ = "<line";
    AppendAttribute(element_, "x1", x1);
    AppendAttribute(element_, "y1", y1);
    AppendAttribute(element_, "x2", x2);
    AppendAttribute(element_, "y2", y2);
    element_ += " style=\"";
    AppendStroke(element_, stroke_, width_);
    element_ += "\" />\r\n";
    output_->Append(element_);
}

void CSVGContext::DrawPolyline(size_t count, const int* xs, const int* ys) {
    if (!output_ || count == 0) return;
    element_ = "<polyline points=\"";
    for (size_t i = 0; i < count; ++i) {
        AppendInt(element_, xs[i]);
        element_ += ',';
        AppendInt(element_, ys[i]);
        element_ += ' ';
    }
    element_ += "\" style=\"fill:none;";
    AppendStroke(element_, stroke_, width_);
    element_ += "\" />\r\n";
    output_->Append(element_);
}

void CSVGContext::DrawCircle(int cx, int cy, int r) {
    if (!output_) return;
    element_ = "<circle";
    AppendAttribute(element_, "cx", cx);
    AppendAttribute(element_, "cy", cy);
    AppendAttribute(element_, "r", r);
    element_ += " style=\"";
    AppendStroke(element_, stroke_, width_);
    element_ += ";fill:none\" />\r\n";
    output_->Append(element_);
}

void CSVGContext::DrawFilledCircle(int cx, int cy, int r, bool outline) {
    if (!output_) return;
    element_ = "<circle";
    AppendAttribute(element_, "cx", cx);
    AppendAttribute(element_, "cy", cy);
    AppendAttribute(element_, "r", r);
    element_ += " style=\"";
    // Without an outline the rim takes the fill colour, so the disc keeps its size.
    AppendStroke(element_, outline ? stroke_ : fill_, outline ? width_ : std::string("1px"));
    element_ += ";fill:";
    AppendBounded(element_, fill_);
    element_ += "\" />\r\n";
    output_->Append(element_);
}

void CSVGContext::FillRectangle(int x, int y, int width, int height) {
    if (!output_) return;
    element_ = "<rect";
    AppendAttribute(element_, "x", x);
    AppendAttribute(element_, "y", y);
    AppendAttribute(element_, "width", width);
    AppendAttribute(element_, "height", height);
    element_ += " style=\"fill:";
    AppendBounded(element_, fill_);
    element_ += "\" />\r\n";
    output_->Append(element_);
}

}  // namespace kurvalux_lc
