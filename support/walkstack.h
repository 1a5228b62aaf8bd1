// walk_stack<T>: what a walk over a tree or graph still has to visit.
//
// User code decides how deep a tree is, so walks do not recurse; most trees are small, so the first N elements need no
// heap. Elements are plain values, and are neither cleared nor destroyed.
#ifndef SUPPORT_WALKSTACK_H
#define SUPPORT_WALKSTACK_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "support/safealloc.h"

template <class T, size_t N = 48> class walk_stack {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    walk_stack() = default;
    walk_stack(const walk_stack &) = delete;
    walk_stack &operator=(const walk_stack &) = delete;
    ~walk_stack() {
        if (data_ != near()) free(data_);
    }
    bool empty() const { return size_ == 0; }
    size_t size() const { return size_; }
    void push(T value) {
        if (size_ == capacity_) grow();
        data_[size_++] = value;
    }
    T pop() { return data_[--size_]; }
    T &top() { return data_[size_ - 1]; }
    void cut(size_t size) { size_ = size; }

  private:
    T *near() { return reinterpret_cast<T *>(near_); }
    void grow() {
        T *bigger = static_cast<T *>(safemalloc(2 * capacity_ * sizeof(T)));
        memcpy(static_cast<void *>(bigger), data_, size_ * sizeof(T));
        if (data_ != near()) free(data_);
        data_ = bigger;
        capacity_ *= 2;
    }

    alignas(T) char near_[N * sizeof(T)];
    T *data_ = near();
    size_t size_ = 0, capacity_ = N;
};

#endif
