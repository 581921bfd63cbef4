#pragma once
// The growable byte buffer behind every generated text file (SVG charts, JSON documents).
#include <cstddef>
#include <string>
#include <string_view>

namespace kurvalux_platform {

// A growable byte buffer for generated text files. Each piece is appended with `indent` TAB
// characters before it and, when `line_end` is set, CR LF after it. The capacity is kept a
// multiple of 4096 bytes; it grows geometrically so that a multi-megabyte document is built in
// linear time.
class CTextBuffer {
public:
    static constexpr size_t kGrowthStep = 4096;

    // Appends at most `length` bytes of `piece`.
    void Append(std::string_view piece, size_t length);
    void Append(std::string_view piece) { Append(piece, piece.size()); }
    // Appends raw bytes: no indentation, no line end.
    void AppendRaw(std::string_view piece);
    // For a line built from several pieces: its indentation, and its end (CR LF when
    // `line_end` is set, else nothing).
    void AppendIndent();
    void AppendLineEnd();
    // Makes room for `extra` more bytes (in whole growth steps), so that the pieces of one line
    // are appended without further growth.
    void Reserve(size_t extra);

    const std::string& Text() const { return text_; }
    size_t Length() const { return text_.size(); }
    size_t Capacity() const { return capacity_; }
    void Clear();
    // Empties the text but keeps its memory, for a buffer that is written again.
    void ClearKeepingCapacity() { text_.clear(); }
    // Hands the text over and leaves the buffer empty.
    std::string Release();

    int indent = 0;
    bool line_end = true;

private:
    std::string text_;
    size_t capacity_ = 0;
};

}  // namespace kurvalux_platform
