#include "platform/text_buffer.h"

#include <cstdint>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace kurvalux_platform {
namespace {

// A multi-megabyte buffer is asked to be backed by huge pages where the system offers them:
// first touching fresh memory page by page can cost more than writing the text itself.
void AdviseHugePages(std::string& text) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    constexpr uintptr_t kHugePage = uintptr_t{2} << 20;
    if (text.capacity() < 2 * kHugePage) return;
    const auto begin = reinterpret_cast<uintptr_t>(text.data());
    const uintptr_t first = (begin + kHugePage - 1) & ~(kHugePage - 1);
    const uintptr_t last = (begin + text.capacity()) & ~(kHugePage - 1);
    if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#else
    (void)text;
#endif
}

}  // namespace

void CTextBuffer::Reserve(size_t extra) {
    if (capacity_ - text_.size() >= extra) return;
    size_t wanted = text_.size() + extra;
    size_t grown = capacity_ + capacity_ / 2;
    if (grown < wanted) grown = wanted;
    capacity_ = (grown + kGrowthStep - 1) / kGrowthStep * kGrowthStep;
    text_.reserve(capacity_);
    AdviseHugePages(text_);
}

void CTextBuffer::Append(std::string_view piece, size_t length) {
    if (length > piece.size()) length = piece.size();
    size_t tabs = indent > 0 ? static_cast<size_t>(indent) : 0;
    Reserve(tabs + length + (line_end ? 2 : 0));
    text_.append(tabs, '\t');
    text_.append(piece.data(), length);
    if (line_end) text_.append("\r\n");
}

void CTextBuffer::AppendRaw(std::string_view piece) {
    Reserve(piece.size());
    text_.append(piece);
}

void CTextBuffer::AppendIndent() {
    const size_t tabs = indent > 0 ? static_cast<size_t>(indent) : 0;
    Reserve(tabs);
    text_.append(tabs, '\t');
}

void CTextBuffer::AppendLineEnd() {
    if (!line_end) return;
    Reserve(2);
    text_.append("\r\n");
}

void CTextBuffer::Clear() {
    text_.clear();
    text_.shrink_to_fit();
    capacity_ = 0;
}

std::string CTextBuffer::Release() {
    std::string text = std::move(text_);
    Clear();
    return text;
}

}  // namespace kurvalux_platform
