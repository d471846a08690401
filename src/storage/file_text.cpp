#include "storage/file_text.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace orv {

void FileText::Free::operator()(char* p) const {
    std::free(p);
}

void* allocateLarge(std::size_t bytes) {
    constexpr std::size_t kHuge = std::size_t{2} << 20;
    // A sparse file may claim any size; no configuration text comes near a terabyte, and
    // asking the allocator for more is refused before it is made.
    constexpr std::size_t kLargest = std::size_t{1} << 40;
    if (bytes > kLargest) throw std::bad_alloc();
    const bool large = bytes >= kHuge;
    const std::size_t size =
        large ? (bytes + kHuge - 1) / kHuge * kHuge : std::max<std::size_t>(bytes, 1);
    void* p = large ? std::aligned_alloc(kHuge, size) : std::malloc(size);
    if (p == nullptr) throw std::bad_alloc();
    if (large) ::madvise(p, size, MADV_HUGEPAGE);
    return p;
}

char* FileText::reserve(std::size_t capacity) {
    if (capacity <= capacity_) return data_.get();
    std::unique_ptr<char[], Free> grown(static_cast<char*>(allocateLarge(capacity)));
    if (size_ > 0) std::memcpy(grown.get(), data_.get(), size_);
    data_ = std::move(grown);
    capacity_ = capacity;
    return data_.get();
}

void FileText::assign(std::string_view text) {
    clear();
    if (!text.empty()) std::memcpy(reserve(text.size()), text.data(), text.size());
    size_ = text.size();
}

std::size_t sizeOf(const TextPieces& pieces) {
    std::size_t size = 0;
    for (const std::string_view piece : pieces) size += piece.size();
    return size;
}

bool samePieces(std::string_view text, const TextPieces& pieces) {
    if (sizeOf(pieces) != text.size()) return false;
    for (const std::string_view piece : pieces) {
        // Spans of the old text are the old text where they stand.
        if (piece.data() != text.data() && text.substr(0, piece.size()) != piece) return false;
        text.remove_prefix(piece.size());
    }
    return true;
}

}  // namespace orv
