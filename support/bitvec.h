// Growable sets of small integers, the carrier of all dataflow sets.
//
// Element i is bit i mod 32 of word i / 32. Bits of the last word beyond the size mean nothing while the
// vector is in use: each word-wise operation clears them first, in every operand that it reads.
//
// Vectors grow on demand, and growth has a rule of its own. Within the words already allocated the new bits
// are clear. Growth beyond them (bv_resize) leaves every bit of the added words SET, and only the bits of the
// old last word come up clear: a vector that turns out too small stands for "anything may be". add, remove,
// union_with and merge grow by this rule, so a set that must be exact is made large enough at the start, or
// grown with resize_clear. Each such growth is a misuse that is handed to bv_warn, which prints nothing.
//
// Storage is the heap, or a zone that outlives the vector. A vector in a zone is never freed by itself; its
// destructor tells bv_warn and leaves the words to the zone.

#ifndef SUPPORT_BITVEC_H
#define SUPPORT_BITVEC_H

#include "support/mzone.h"

#include <bit>
#include <cstddef>
#include <cstdint>

// How a new vector is filled.
enum BV_TINIT {
    BV_CLEAR = 0,
    BV_SET = 1,   // the tail beyond the size is clear
    BV_LEAVE = 2, // whatever the storage holds
};

struct BITVEC {
    uint32_t size = 0;     // bits
    uint32_t words = 0;    // in use: (size + 31) / 32
    uint32_t capacity = 0; // words allocated
    MZONE *zone = nullptr; // null: heap
    uint32_t *bits = nullptr;

    BITVEC() = default;
    explicit BITVEC(uint32_t n, MZONE *z = nullptr, BV_TINIT fill = BV_CLEAR) { bv_init(n, z, fill); }
    BITVEC(const BITVEC &other) { *this = other; } // on the heap, of the source's words
    BITVEC(BITVEC &&other) noexcept { swap(other); }
    ~BITVEC();

    // Contents are copied. The target keeps its storage when that is large enough; one without storage gets
    // exactly the source's words from the heap.
    BITVEC &operator=(const BITVEC &other);
    BITVEC &operator=(BITVEC &&other) noexcept {
        swap(other);
        return *this;
    }
    void swap(BITVEC &other) noexcept;

    // Sets all fields; any storage held before is forgotten, not freed. For fresh or zeroed records.
    void bv_init(uint32_t n, MZONE *z, BV_TINIT fill);
    // Changes the size; see above for the bits that appear.
    void bv_resize(uint32_t n);
    // The same, with every bit that appears clear.
    void resize_clear(uint32_t n);

    // Sets bit i, growing to i + 1 if need be.
    void bv_add(uint32_t i) { add(i); }
    void add(uint32_t i) {
        if (i >= size) grow(i + 1, "Index beyond size:add");
        bits[i / 32] |= 1u << i % 32;
    }
    // Clears bit i, growing to i + 1 if need be.
    void remove(uint32_t i) {
        if (i >= size) grow(i + 1, "Index beyond size:remove");
        bits[i / 32] &= ~(1u << i % 32);
    }
    // Whether bit i is set; false beyond the size.
    bool test(uint32_t i) const { return i < size && (bits[i / 32] >> i % 32 & 1); }

    void set_all();
    void clear_all();
    uint32_t count() const; // elements
    bool is_empty() const;

    // Two-operand operations; the operand may be the vector itself.
    bool union_with(const BITVEC *other);        // this |= other; true if this changed, growth included
    void merge(const BITVEC *other);             // this |= other
    void and3(const BITVEC *a, const BITVEC *b); // this = a & b; bits beyond the smaller operand are cleared
    void clr(uint32_t first, uint32_t last);     // clears bits first to last, as far as they exist
    bool cmp_cpy(const BITVEC *other);           // this = other, size included; true if that changed anything
    // Copies bits first to last, as far as `from` has them; others stay. Grows to hold them.
    void bv_copy_seg(BITVEC *from, uint32_t first, uint32_t last);
    // this = a & ~b; bits of a beyond the size of b are copied. Grows to the size of a; what lies beyond that is
    // cleared.
    void bv_diff(BITVEC *a, BITVEC *b);

    bool same_elements(const BITVEC *other) const; // whatever the sizes
    bool intersects(const BITVEC *other) const;
    bool is_subset_of(const BITVEC *other) const;

    // The least element at or above i, or NONE.
    static constexpr uint32_t NONE = ~0u;
    uint32_t next(uint32_t i) const;

    // for (uint32_t element : set). Adding or removing elements during the walk is allowed if the vector does
    // not grow; elements above the present one are seen as they are when the walk arrives.
    struct ITERATOR {
        const BITVEC *set;
        uint32_t element;
        uint32_t operator*() const { return element; }
        ITERATOR &operator++() {
            element = set->next(element + 1);
            return *this;
        }
        bool operator==(const ITERATOR &other) const { return element == other.element; }
    };
    ITERATOR begin() const { return {this, next(0)}; }
    ITERATOR end() const { return {this, NONE}; }

    // "[1, 4-7]" to standard output, flushed; and the same below a heading with the size.
    void bv_print() const;
    void bv_dump() const;
    // Takes the report of a misuse. Prints nothing; a place for a breakpoint.
    static void bv_warn(const char *text);

  private:
    void grow(uint32_t n, const char *text);
    void clear_tail() const;
};

#endif
