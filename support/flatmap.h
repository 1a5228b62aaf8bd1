// flat_map<V>: from numbers to small values, without an allocation for each entry.
//
// Open addressing in one array: a look-up is a multiplication and, nearly always, one cache line. It is what passes
// use to find labels by number, or records by pointer, where a map of nodes would cost more than the work itself.
// Entries are not removed one by one; clear() is constant time, so one map can serve function after function.
// Iteration has no defined order and is not offered.
#ifndef SUPPORT_FLATMAP_H
#define SUPPORT_FLATMAP_H

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

template <class V> class flat_map {
    static_assert(std::is_trivially_copyable_v<V>);
    struct SLOT {
        uint64_t key;
        uint32_t epoch; // in use when it is the map's
        V value;
    };

  public:
    static uint64_t key_of(const void *p) { return uint64_t(reinterpret_cast<uintptr_t>(p)); }
    static uint64_t key_of(int number) { return uint64_t(uint32_t(number)); }
    static uint64_t key_of(unsigned number) { return number; }

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void clear() {
        size_ = 0;
        if (++epoch_ != 0) return;
        slots_.assign(slots_.size(), SLOT{0, 0, V()});
        epoch_ = 1;
    }

    // The value of the key, or null. Valid until the next insert.
    template <class K> V *find(K key) { return size_ ? lookup(key_of(key)) : nullptr; }
    template <class K> bool has(K key) { return find(key) != nullptr; }

    // Enters the key with this value unless it is there; true when it is new.
    template <class K> bool insert(K key, V value = V()) {
        if (2 * (size_ + 1) > slots_.size()) grow();
        SLOT &slot = place_of(key_of(key));
        if (slot.epoch == epoch_) return false;
        slot = {key_of(key), epoch_, value};
        size_++;
        return true;
    }
    // The value of the key, entered as V() when it is new.
    template <class K> V &operator[](K key) {
        insert(key);
        return *lookup(key_of(key));
    }

  private:
    std::vector<SLOT> slots_;
    size_t size_ = 0;
    uint32_t epoch_ = 1;
    int bits_ = 4; // slots_.size() is two to this, once there are any

    SLOT &place_of(uint64_t key) {
        // both halves must reach the top bits, by which the place goes
        size_t mask = slots_.size() - 1, at = size_t((key ^ key >> 32) * 0x9E3779B97F4A7C15u >> (64 - bits_));
        while (slots_[at].epoch == epoch_ && slots_[at].key != key) at = (at + 1) & mask;
        return slots_[at];
    }
    V *lookup(uint64_t key) {
        SLOT &slot = place_of(key);
        return slot.epoch == epoch_ ? &slot.value : nullptr;
    }
    void grow() {
        std::vector<SLOT> old(size_t{1} << ++bits_, SLOT{0, 0, V()});
        old.swap(slots_);
        for (const SLOT &slot : old)
            if (slot.epoch == epoch_) place_of(slot.key) = slot;
    }
};

// A set of the same make.
struct flat_nothing {};
using flat_set = flat_map<flat_nothing>;

#endif
