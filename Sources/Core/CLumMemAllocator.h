#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <new>
#include <set>
#include <utility>

/// The process-wide memory pool. 255 size classes of 16 bytes with lock-free free lists; in steady
/// state a request or a release costs one atomic operation and no system call, on any thread.
/// Usable before any static constructor of this file has run.
namespace lum::pool {

constexpr size_t kAlignment = 16;      // bytes, of every block
constexpr size_t kLargestBlock = 4080; // bytes; larger requests go to the system
constexpr int kLargeClass = 255;

/// Size class of a request: (n + 15) / 16 - 1, 0 for n = 0, kLargeClass and above for large ones.
constexpr size_t sizeClass(size_t size) noexcept {
    return size == 0 ? 0 : (size + 15) / 16 - 1;
}

/// Gives a block of at least `size` bytes. When the system refuses memory a line goes to the log
/// and the process is aborted: whoever asks expects a block, and none of them could go on without.
[[nodiscard]] void* alloc(size_t size) noexcept;
/// Takes back a block of `alloc`. Null is not allowed.
void free(void* block) noexcept;
/// Keeps the block when its capacity is exactly `size`, else moves its content.
[[nodiscard]] void* realloc(void* block, size_t size) noexcept;
/// Bytes that the block can hold, all of which may be used from then on. Without this call a build
/// with the address sanitizer takes the bytes behind those asked for as an overrun.
[[nodiscard]] size_t capacityOf(const void* block) noexcept;
/// Has all chunks given back to the system when the module is unloaded, behind its last static
/// destructor. For the teardown, once no thread of ours or of a host uses the pool any more: a
/// process that ends without a teardown keeps them, as its threads may still be running.
void releaseAll() noexcept;

} // namespace lum::pool

namespace lum {

/// Base of classes whose objects come from the pool.
class CLumMemAllocator {
public:
    static void* operator new(size_t size) { return pool::alloc(size); }
    static void* operator new(size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept {
        if (block) pool::free(block);
    }
};

/// The pool as a standard allocator, for standard containers.
template <class T>
struct CPoolAllocator {
    using value_type = T;
    CPoolAllocator() noexcept = default;
    template <class U>
    CPoolAllocator(const CPoolAllocator<U>&) noexcept {}
    T* allocate(size_t n) { return static_cast<T*>(pool::alloc(n * sizeof(T))); }
    void deallocate(T* p, size_t) noexcept { pool::free(p); }
    template <class U>
    bool operator==(const CPoolAllocator<U>&) const noexcept {
        return true;
    }
};

/// Ordered map and set on the pool: ascending by code unit for strings, by value otherwise.
template <class K, class V>
using CMap = std::map<K, V, std::less<>, CPoolAllocator<std::pair<const K, V>>>;
template <class K>
using CSet = std::set<K, std::less<>, CPoolAllocator<K>>;

} // namespace lum
