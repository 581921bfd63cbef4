#include "lc/recording_context.h"

namespace kurvalux_lc {

using kurvalux_platform::Colour;

std::string ColourText(Colour colour) {
    return std::to_string(kurvalux_platform::RedOf(colour)) + "," +
           std::to_string(kurvalux_platform::GreenOf(colour)) + "," +
           std::to_string(kurvalux_platform::BlueOf(colour));
}

namespace {

std::string Ints(std::initializer_list<long> values) {
    std::string text;
    for (long v : values) {
        text += ' ';
        text += std::to_string(v);
    }
    return text;
}

}  // namespace

void CRecordingContext::SetPenColour(Colour colour) {
    calls_.push_back("pen " + ColourText(colour));
}

void CRecordingContext::SetPenWidth(unsigned width) {
    calls_.push_back("width " + std::to_string(width));
}

void CRecordingContext::SetFillColour(Colour colour) {
    calls_.push_back("fill " + ColourText(colour));
}

void CRecordingContext::SelectFont(const kurvalux_platform::CFont* font) {
    CDrawContext::SelectFont(font);
    calls_.push_back(font ? "font" + Ints({font->height, font->weight}) : "font -");
}

void CRecordingContext::SetTextColour(Colour colour) {
    calls_.push_back("textcolour " + ColourText(colour));
}

void CRecordingContext::DrawText(int x, int y, size_t length, std::string_view text) {
    if (length > text.size()) length = text.size();
    calls_.push_back("text" + Ints({x, y}) + " " + std::string(text.substr(0, length)));
}

void CRecordingContext::SetPixel(int x, int y, Colour colour) {
    calls_.push_back("pixel" + Ints({x, y}) + " " + ColourText(colour));
}

void CRecordingContext::DrawLine(int x1, int y1, int x2, int y2) {
    calls_.push_back("line" + Ints({x1, y1, x2, y2}));
}

void CRecordingContext::DrawPolyline(size_t count, const int* xs, const int* ys) {
    std::string text = "polyline " + std::to_string(count);
    for (size_t i = 0; i < count; ++i)
        text += " " + std::to_string(xs[i]) + "," + std::to_string(ys[i]);
    calls_.push_back(text);
}

void CRecordingContext::DrawCircle(int cx, int cy, int r) {
    calls_.push_back("circle" + Ints({cx, cy, r}));
}

void CRecordingContext::DrawFilledCircle(int cx, int cy, int r, bool outline) {
    calls_.push_back("disc" + Ints({cx, cy, r, outline ? 1 : 0}));
}

void CRecordingContext::FillRectangle(int x, int y, int width, int height) {
    calls_.push_back("rect" + Ints({x, y, width, height}));
}

std::vector<std::string> CRecordingContext::CallsOf(const std::string& prefix) const {
    std::vector<std::string> found;
    std::string head = prefix + " ";
    for (const std::string& call : calls_)
        if (call.compare(0, head.size(), head) == 0) found.push_back(call);
    return found;
}

int CRecordingContext::Find(const std::string& call, size_t from) const {
    for (size_t i = from; i < calls_.size(); ++i)
        if (calls_[i] == call) return static_cast<int>(i);
    return -1;
}

}  // namespace kurvalux_lc
