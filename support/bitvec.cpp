#include "support/bitvec.h"

#include "support/fatal.h"
#include "support/safealloc.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr uint32_t ALL = ~0u;

uint32_t words_for(uint32_t bits) { return bits / 32 + (bits % 32 != 0); }

// Null for no words.
uint32_t *new_words(uint32_t count, MZONE *zone) {
    if (count == 0) return nullptr;
    size_t bytes = size_t{count} * sizeof(uint32_t);
    return static_cast<uint32_t *>(zone ? zone->alloc(bytes) : safemalloc(bytes));
}

// The bits of word w that lie in first..last; the word must touch the range.
uint32_t range_mask(uint32_t w, uint32_t first, uint32_t last) {
    uint32_t mask = ALL;
    if (w == first / 32) mask &= ALL << first % 32;
    if (w == last / 32) mask &= ALL >> (31 - last % 32);
    return mask;
}

} // namespace

void BITVEC::bv_warn(const char *) {}

void BITVEC::clear_tail() const {
    if (size % 32) bits[words - 1] &= ~(ALL << size % 32);
}

void BITVEC::bv_init(uint32_t n, MZONE *z, BV_TINIT fill) {
    size = n;
    words = capacity = words_for(n);
    zone = z;
    bits = new_words(words, z);
    if (fill == BV_CLEAR) clear_all();
    if (fill == BV_SET) set_all();
}

BITVEC::~BITVEC() {
    if (zone) bv_warn("Should not free a zoned bitvector");
    else free(bits);
}

void BITVEC::swap(BITVEC &other) noexcept {
    std::swap(size, other.size);
    std::swap(words, other.words);
    std::swap(capacity, other.capacity);
    std::swap(zone, other.zone);
    std::swap(bits, other.bits);
}

BITVEC &BITVEC::operator=(const BITVEC &other) {
    if (this == &other) return *this;
    if (!bits) bv_init(other.size, nullptr, BV_LEAVE);
    else if (size < other.size) bv_resize(other.size);
    size = other.size;
    words = other.words;
    if (words) memcpy(bits, other.bits, size_t{words} * sizeof *bits);
    return *this;
}

void BITVEC::bv_resize(uint32_t n) {
    uint32_t old_size = size;
    if (n == old_size) return;
    if (words_for(n) <= capacity) {
        size = n;
        words = words_for(n);
        if (n > old_size) clr(old_size, n - 1);
        return;
    }
    clear_tail();
    uint32_t *old_bits = bits, old_words = words;
    size = n;
    words = capacity = words_for(n);
    bits = new_words(words, zone);
    set_all();
    if (old_words) memcpy(bits, old_bits, size_t{old_words} * sizeof *bits);
    if (!zone) free(old_bits);
}

void BITVEC::resize_clear(uint32_t n) {
    uint32_t old_size = size;
    bv_resize(n);
    if (n > old_size) clr(old_size, n - 1);
}

void BITVEC::grow(uint32_t n, const char *text) {
    QL_ASSERT(n != 0); // the index was -1
    bv_warn(text);
    bv_resize(n);
}

void BITVEC::set_all() {
    if (words) memset(bits, 0xFF, size_t{words} * sizeof *bits);
    clear_tail();
}

void BITVEC::clear_all() {
    if (words) memset(bits, 0, size_t{words} * sizeof *bits);
}

uint32_t BITVEC::count() const {
    clear_tail();
    uint32_t sum = 0;
    for (uint32_t w = 0; w < words; w++) sum += std::popcount(bits[w]);
    return sum;
}

bool BITVEC::is_empty() const {
    clear_tail();
    return std::all_of(bits, bits + words, [](uint32_t word) { return word == 0; });
}

bool BITVEC::union_with(const BITVEC *other) {
    bool grows = size < other->size;
    if (grows) grow(other->size, "Vector size mismatch:union");
    clear_tail();
    other->clear_tail();
    uint32_t added = 0;
    for (uint32_t w = 0; w < other->words; w++) {
        added |= other->bits[w] & ~bits[w];
        bits[w] |= other->bits[w];
    }
    return grows || added;
}

void BITVEC::merge(const BITVEC *other) {
    if (size < other->size) grow(other->size, "Vector size mismatch:merge");
    clear_tail();
    other->clear_tail();
    for (uint32_t w = 0; w < other->words; w++) bits[w] |= other->bits[w];
}

void BITVEC::and3(const BITVEC *a, const BITVEC *b) {
    uint32_t common = std::min(a->size, b->size);
    // An operand that is the destination itself is as large as it must be and stays in place.
    if (size < common) grow(common, "Vector size mismatch:and3");
    a->clear_tail();
    b->clear_tail();
    for (uint32_t w = 0; w < words_for(common); w++) bits[w] = a->bits[w] & b->bits[w];
    if (size > common) clr(common, size - 1);
}

void BITVEC::clr(uint32_t first, uint32_t last) {
    if (last >= size) {
        bv_warn("Endpoint beyond size:clr");
        if (size == 0) return;
        last = size - 1;
    }
    if (last < first) return;
    for (uint32_t w = first / 32; w <= last / 32; w++) bits[w] &= ~range_mask(w, first, last);
}

bool BITVEC::cmp_cpy(const BITVEC *other) {
    bool resized = size != other->size;
    if (resized) {
        bv_warn("Vector size mismatch:cmp_cpy");
        bv_resize(other->size);
    }
    clear_tail();
    other->clear_tail();
    if (words == 0) return resized;
    bool differ = memcmp(bits, other->bits, size_t{words} * sizeof *bits) != 0;
    if (differ) memcpy(bits, other->bits, size_t{words} * sizeof *bits);
    return resized || differ;
}

void BITVEC::bv_copy_seg(BITVEC *from, uint32_t first, uint32_t last) {
    if (from->size == 0) return;
    last = std::min(last, from->size - 1);
    if (last < first) return;
    if (last >= size) bv_resize(last + 1);
    for (uint32_t w = first / 32; w <= last / 32; w++) {
        uint32_t mask = range_mask(w, first, last);
        bits[w] = (bits[w] & ~mask) | (from->bits[w] & mask);
    }
}

void BITVEC::bv_diff(BITVEC *a, BITVEC *b) {
    // b may be this vector: what it did not have must not be subtracted.
    if (size < a->size) resize_clear(a->size);
    a->clear_tail();
    b->clear_tail();
    for (uint32_t w = 0; w < a->words; w++) bits[w] = a->bits[w] & ~(w < b->words ? b->bits[w] : 0);
    // What lies beyond a is in no difference.
    if (size > a->size) clr(a->size, size - 1);
}

bool BITVEC::same_elements(const BITVEC *other) const {
    return is_subset_of(other) && other->is_subset_of(this);
}

bool BITVEC::intersects(const BITVEC *other) const {
    clear_tail();
    other->clear_tail();
    uint32_t common = std::min(words, other->words);
    for (uint32_t w = 0; w < common; w++)
        if (bits[w] & other->bits[w]) return true;
    return false;
}

bool BITVEC::is_subset_of(const BITVEC *other) const {
    clear_tail();
    other->clear_tail();
    for (uint32_t w = 0; w < words; w++)
        if (bits[w] & ~(w < other->words ? other->bits[w] : 0)) return false;
    return true;
}

uint32_t BITVEC::next(uint32_t i) const {
    if (i >= size) return NONE;
    uint32_t word = bits[i / 32] & ALL << i % 32;
    for (uint32_t w = i / 32;; word = bits[w]) {
        if (word) {
            uint32_t element = w * 32 + std::countr_zero(word);
            return element < size ? element : NONE;
        }
        if (++w == words) return NONE;
    }
}

void BITVEC::bv_print() const {
    const char *separator = "";
    printf("[");
    for (uint32_t first = next(0); first != NONE;) {
        uint32_t last = first;
        while (test(last + 1)) last++;
        printf("%s%d", separator, static_cast<int>(first));
        if (last != first) printf("-%d", static_cast<int>(last));
        separator = ", ";
        first = next(last + 1);
    }
    printf("]");
    fflush(stdout);
}

void BITVEC::bv_dump() const {
    printf("\n\nBITVEC INFORMATION\n");
    printf("   Number of elements = %d\n", static_cast<int>(size));
    printf("   Set elements: ");
    bv_print();
    printf("\n");
}
