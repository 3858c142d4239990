#pragma once

#include "Core/CLumMemAllocator.h"

#include <initializer_list>
#include <memory>
#include <type_traits>
#include <utility>

namespace lum {

/// Growing array with room for `Inline` elements inside the object; larger contents come from the
/// pool. Grows to n + n * 10 / 16 + 1 elements. Addresses of elements change on growth and on move.
template <class T, size_t Inline = 4>
class CVector {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    CVector() noexcept = default;
    CVector(std::initializer_list<T> list) {
        reserve(list.size());
        for (const T& item : list) push_back(item);
    }
    CVector(const CVector& other) { append(other); }
    CVector(CVector&& other) noexcept { take(std::move(other)); }
    ~CVector() { drop(); }

    CVector& operator=(const CVector& other) {
        if (this != &other) {
            clear();
            append(other);
        }
        return *this;
    }
    CVector& operator=(CVector&& other) noexcept {
        if (this != &other) {
            drop();
            take(std::move(other));
        }
        return *this;
    }

    size_t size() const noexcept { return count; }
    int ssize() const noexcept { return static_cast<int>(count); }
    bool empty() const noexcept { return count == 0; }
    size_t capacity() const noexcept { return room; }
    T* data() noexcept { return items; }
    const T* data() const noexcept { return items; }
    T* begin() noexcept { return items; }
    T* end() noexcept { return items + count; }
    const T* begin() const noexcept { return items; }
    const T* end() const noexcept { return items + count; }
    template <class I>
    T& operator[](I i) noexcept {
        return items[static_cast<size_t>(i)];
    }
    template <class I>
    const T& operator[](I i) const noexcept {
        return items[static_cast<size_t>(i)];
    }
    T& front() noexcept { return items[0]; }
    const T& front() const noexcept { return items[0]; }
    T& back() noexcept { return items[count - 1]; }
    const T& back() const noexcept { return items[count - 1]; }

    T& push_back(T value) {
        grow(count + 1);
        return *new (items + count++) T(std::move(value));
    }
    template <class... Args>
    T& emplace_back(Args&&... args) {
        grow(count + 1);
        return *new (items + count++) T(std::forward<Args>(args)...);
    }
    void pop_back() noexcept { items[--count].~T(); }
    /// Removes one element by moving the tail.
    void erase(size_t index) noexcept {
        for (size_t i = index + 1; i < count; i++) items[i - 1] = std::move(items[i]);
        pop_back();
    }
    void insert(size_t index, T value) {
        push_back(std::move(value));
        for (size_t i = count - 1; i > index; i--) std::swap(items[i], items[i - 1]);
    }
    void append(const CVector& other) {
        reserve(count + other.count);
        for (const T& item : other) push_back(item);
    }
    void resize(size_t size) {
        while (count > size) pop_back();
        reserve(size);
        while (count < size) new (items + count++) T();
    }
    void resize(size_t size, const T& value) {
        while (count > size) pop_back();
        reserve(size);
        while (count < size) new (items + count++) T(value);
    }
    /// Destroys the elements and keeps the memory.
    void clear() noexcept {
        while (count > 0) pop_back();
    }
    /// Room for at least `size` elements, exactly so when it has to grow.
    void reserve(size_t size) {
        if (size > room) moveTo(size);
    }

private:
    T* inlineItems() noexcept { return reinterpret_cast<T*>(inlineBytes); }
    bool isInline() const noexcept {
        return static_cast<const void*>(items) == static_cast<const void*>(inlineBytes);
    }
    void grow(size_t size) {
        if (size <= room) return;
        size_t next = room;
        do next = next + next * 10 / 16 + 1;
        while (next < size);
        moveTo(next);
    }
    void moveTo(size_t newRoom) {
        T* fresh = static_cast<T*>(pool::alloc(newRoom * sizeof(T)));
        for (size_t i = 0; i < count; i++) {
            new (fresh + i) T(std::move(items[i]));
            items[i].~T();
        }
        if (!isInline()) pool::free(items);
        items = fresh;
        room = newRoom;
    }
    void drop() noexcept {
        clear();
        if (!isInline()) pool::free(items);
        items = inlineItems();
        room = Inline;
    }
    void take(CVector&& other) noexcept {
        if (other.isInline()) {
            for (size_t i = 0; i < other.count; i++) new (items + i) T(std::move(other.items[i]));
            count = other.count;
            other.clear();
            return;
        }
        items = std::exchange(other.items, other.inlineItems());
        count = std::exchange(other.count, 0);
        room = std::exchange(other.room, Inline);
    }

    alignas(T) unsigned char inlineBytes[Inline * sizeof(T) + (Inline == 0)];
    T* items = inlineItems();
    size_t count = 0;
    size_t room = Inline;
};

} // namespace lum
