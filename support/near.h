// Pointers of four bytes to records that come from pools.
//
// The records of which a program has millions mostly hold pointers. All slabs of the pools (support/pool) are cut from
// the first 64 GB of the address space, on 16-byte boundaries, so that the address of a pooled record fits 32 bits:
// address = number * 16, and null is 0. A near_ptr stands for a plain pointer in a record that would be larger with
// one. It converts to and from T* by itself; only what needs an actual T* variable (a T** or T*& to it, `auto *`,
// printf) has to name one.
//
// Anything that is not pooled (on the stack, from malloc, static) can't be named by a near_ptr: storing its address
// ends the program. Where pooled records come from the heap (POOL_IS_HEAP), a near_ptr is a plain pointer, which leak
// checkers can follow.
#ifndef SUPPORT_NEAR_H
#define SUPPORT_NEAR_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "support/pool.h"

[[noreturn]] void near_fault(const void *); // the address is not near

template <class T> class near_ptr {
  public:
    constexpr near_ptr() = default;
    constexpr near_ptr(std::nullptr_t) {}
    explicit near_ptr(T *p) { *this = p; }

#if POOL_IS_HEAP
    near_ptr &operator=(T *p) {
        pointer_ = p;
        return *this;
    }
    operator T *() const { return pointer_; }

  private:
    T *pointer_ = nullptr;
#else
    near_ptr &operator=(T *p) {
        // too far and not on a boundary show both in the upper half
        uint64_t number = std::rotr(reinterpret_cast<uint64_t>(p), 4);
        if (number >> 32) near_fault(p);
        number_ = static_cast<uint32_t>(number);
        return *this;
    }
    operator T *() const { return reinterpret_cast<T *>(uint64_t{number_} << 4); }

  private:
    uint32_t number_ = 0;
#endif

  public:
    near_ptr &operator=(std::nullptr_t) { return *this = static_cast<T *>(nullptr); }
    T *operator->() const { return *this; }
};

#endif
