// name_map<V>: from names to small values, for the names of a whole program.
//
// Open addressing in one array, with the hash of each name beside it: whether a name is there is mostly answered by one
// cache line, where a map of nodes takes three. Names are not copied: they must stay where they are as long as the
// map. Entries are not removed one by one; who needs that gives them a value that says so.
#ifndef SUPPORT_NAMEMAP_H
#define SUPPORT_NAMEMAP_H

#include <cstddef>
#include <functional>
#include <string_view>
#include <type_traits>
#include <vector>

template <class V> class name_map {
    static_assert(std::is_trivially_copyable_v<V>);
    struct SLOT {
        size_t hash = 0;
        std::string_view name; // of no memory: free
        V value = V();
    };

  public:
    size_t size() const { return size_; }
    void clear() {
        slots_.clear();
        size_ = 0;
    }

    // The value of the name, or null. Valid until the next one is entered.
    V *find(std::string_view name) {
        if (!size_) return nullptr;
        SLOT &slot = place_of(name, hash_of(name));
        return slot.name.data() ? &slot.value : nullptr;
    }
    // The value of the name, entered as V() when it is new.
    V &operator[](std::string_view name) {
        if (2 * (size_ + 1) > slots_.size()) grow();
        size_t hash = hash_of(name);
        SLOT &slot = place_of(name, hash);
        if (!slot.name.data()) {
            slot.hash = hash;
            slot.name = name;
            size_++;
        }
        return slot.value;
    }

  private:
    std::vector<SLOT> slots_; // none, or a power of two
    size_t size_ = 0;

    static size_t hash_of(std::string_view name) { return std::hash<std::string_view>()(name); }
    SLOT &place_of(std::string_view name, size_t hash) {
        size_t mask = slots_.size() - 1, at = hash & mask;
        while (slots_[at].name.data() && (slots_[at].hash != hash || slots_[at].name != name))
            at = (at + 1) & mask;
        return slots_[at];
    }
    void grow() {
        constexpr size_t FIRST = 64;
        std::vector<SLOT> old(slots_.empty() ? FIRST : 2 * slots_.size());
        old.swap(slots_);
        for (const SLOT &slot : old)
            if (slot.name.data()) place_of(slot.name, slot.hash) = slot;
    }
};

#endif
