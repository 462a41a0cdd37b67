#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <initializer_list>

namespace tavrin {

/// A short list that lives inside its owner: up to `Capacity` elements and no heap.
///
/// For values that are made anew for every frame. Elements must be cheap to default-construct; adding one
/// beyond the capacity is a bug of the caller.
template <typename T, std::size_t Capacity>
class InlineVector {
public:
    using value_type = T;
    using const_iterator = const T*;

    InlineVector() = default;
    InlineVector(std::initializer_list<T> elements) {
        for (const T& element : elements) {
            push_back(element);
        }
    }

    void push_back(const T& element) {
        assert(size_ < Capacity);
        elements_[size_++] = element;
    }
    void clear() { size_ = 0; }

    [[nodiscard]] std::size_t size() const { return size_; }
    [[nodiscard]] bool empty() const { return size_ == 0; }
    [[nodiscard]] const T& operator[](std::size_t index) const {
        assert(index < size_);
        return elements_[index];
    }
    [[nodiscard]] const T& front() const { return (*this)[0]; }
    [[nodiscard]] const T& back() const { return (*this)[size_ - 1]; }
    [[nodiscard]] const_iterator begin() const { return elements_.data(); }
    [[nodiscard]] const_iterator end() const { return elements_.data() + size_; }

    friend bool operator==(const InlineVector& a, const InlineVector& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

private:
    std::array<T, Capacity> elements_{};
    std::size_t size_ = 0;
};

} // namespace tavrin
