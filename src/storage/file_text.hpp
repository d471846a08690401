// The text of a file in memory, and the allocator of a run's large arrays.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace orv {

// Memory for the large arrays of a run (texts, their pieces): from 2 MB on it is aligned to
// huge pages and asked to be backed by them, so that filling it costs a page fault per
// 2 MB rather than per 4 KB. Released with std::free; throws std::bad_alloc.
void* allocateLarge(std::size_t bytes);

template <class T>
struct LargeAllocator {
    using value_type = T;
    LargeAllocator() = default;
    template <class U>
    explicit LargeAllocator(const LargeAllocator<U>& /*other*/) {}
    T* allocate(std::size_t n) { return static_cast<T*>(allocateLarge(n * sizeof(T))); }
    void deallocate(T* p, std::size_t /*n*/) { std::free(p); }
    friend bool operator==(const LargeAllocator&, const LargeAllocator&) { return true; }
};

// The text of a file as read. Unlike a std::string it is sized without being filled first,
// and a large one is placed in huge pages: a large file then costs one pass of the
// kernel's copy, not a zero-fill and thousands of page faults before it.
class FileText {
  public:
    std::string_view view() const { return {data_.get(), size_}; }
    char* data() { return data_.get(); }
    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void assign(std::string_view text);
    void clear() { size_ = 0; }
    // Room for at least `capacity` characters, keeping the text; its contents past size()
    // are unset until written.
    char* reserve(std::size_t capacity);
    std::size_t capacity() const { return capacity_; }
    void resize(std::size_t size) { size_ = size; }  // size <= capacity()

  private:
    struct Free {
        void operator()(char* p) const;
    };
    std::unique_ptr<char[], Free> data_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

// The new text of an edit given as pieces in order, so that a large text made mostly of
// spans of the old one is written without being joined first.
using TextPieces = std::vector<std::string_view, LargeAllocator<std::string_view>>;

// The length of the text the pieces make.
std::size_t sizeOf(const TextPieces& pieces);

// Whether the pieces make exactly `text` (an edit that changes nothing).
bool samePieces(std::string_view text, const TextPieces& pieces);

}  // namespace orv
