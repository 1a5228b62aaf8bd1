// Bit vectors against a plain list of booleans that follows the same rule of growth.
#include "support/bitvec.h"
#include "support/mzone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <vector>

static uint32_t words_of(uint32_t n) { return (n + 31) / 32; }

// The model: one bool an element, and the words that are allocated.
struct MODEL {
    std::vector<bool> elements;
    uint32_t capacity = 0;

    uint32_t size() const { return static_cast<uint32_t>(elements.size()); }
    bool test(uint32_t i) const { return i < size() && elements[i]; }
    void resize(uint32_t n) {
        if (n == size()) return;
        bool beyond = words_of(n) > capacity;
        uint32_t first_new_word = words_of(size()) * 32;
        for (uint32_t i = size(); i < n; i++) elements.push_back(beyond && i >= first_new_word);
        elements.resize(n);
        if (beyond) capacity = words_of(n);
    }
    void need(uint32_t n) {
        if (size() < n) resize(n);
    }
    void assign(const MODEL &other) {
        if (capacity == 0) capacity = words_of(other.size());
        else need(other.size());
        elements = other.elements;
    }
};

struct PAIR {
    BITVEC real;
    MODEL model;
};

static std::string difference(PAIR &p) {
    if (p.real.size != p.model.size() || p.real.words != words_of(p.real.size)) return "size";
    if (p.real.capacity != p.model.capacity) return "capacity";
    uint32_t count = 0;
    for (uint32_t i = 0; i < p.real.size; i++) {
        if (p.real.test(i) != p.model.test(i)) return "element " + std::to_string(i);
        count += p.model.test(i);
    }
    return p.real.count() == count && p.real.is_empty() == (count == 0) ? "" : "count";
}

// Bits beyond the size are nobody's: whatever they hold must not show.
static void spoil_tail(BITVEC &v, uint32_t garbage) {
    if (v.size % 32) v.bits[v.words - 1] ^= garbage << v.size % 32;
}

// One random operation on both forms; r is the target, a and b the operands, any of them the same.
static std::string step(PAIR &r, PAIR &a, PAIR &b, std::mt19937 &random) {
    uint32_t i = random() % 150, j = random() % 150;
    MODEL before = r.model;
    MODEL ma = a.model, mb = b.model; // as they are before r changes
    auto changed = [&] { return before.elements != r.model.elements; };
    switch (random() % 12) {
    case 0:
        r.real.add(i);
        r.model.need(i + 1);
        r.model.elements[i] = true;
        return "add";
    case 1:
        r.real.remove(i);
        r.model.need(i + 1);
        r.model.elements[i] = false;
        return "remove";
    case 2:
        r.real.bv_resize(i);
        r.model.resize(i);
        return "resize";
    case 3: {
        uint32_t old = r.model.size();
        r.real.resize_clear(i);
        r.model.resize(i);
        for (uint32_t k = old; k < i; k++) r.model.elements[k] = false;
        return "resize_clear";
    }
    case 4: {
        bool reported = r.real.union_with(&a.real);
        r.model.need(ma.size());
        for (uint32_t k = 0; k < ma.size(); k++) r.model.elements[k] = r.model.elements[k] || ma.elements[k];
        return reported == changed() ? "union" : "union's report";
    }
    case 5:
        r.real.merge(&a.real);
        r.model.need(ma.size());
        for (uint32_t k = 0; k < ma.size(); k++) r.model.elements[k] = r.model.elements[k] || ma.elements[k];
        return "merge";
    case 6:
        r.real.and3(&a.real, &b.real);
        r.model.need(std::min(ma.size(), mb.size()));
        for (uint32_t k = 0; k < r.model.size(); k++) r.model.elements[k] = ma.test(k) && mb.test(k);
        return "and3";
    case 7:
        r.real.clr(i, j);
        for (uint32_t k = i; k <= j && k < r.model.size(); k++) r.model.elements[k] = false;
        return "clr";
    case 8: {
        bool reported = r.real.cmp_cpy(&a.real);
        r.model.resize(ma.size());
        r.model.elements = ma.elements;
        return reported == changed() ? "cmp_cpy" : "cmp_cpy's report";
    }
    case 9:
        r.real.bv_copy_seg(&a.real, i, j);
        if (ma.size() && i <= j && i < ma.size()) {
            r.model.need(std::min(j + 1, ma.size()));
            for (uint32_t k = i; k <= j && k < ma.size(); k++) r.model.elements[k] = ma.elements[k];
        }
        return "bv_copy_seg";
    case 10:
        r.real.bv_diff(&a.real, &b.real);
        r.model.need(ma.size());
        for (uint32_t k = 0; k < r.model.size(); k++) r.model.elements[k] = ma.test(k) && !mb.test(k);
        return "bv_diff";
    default:
        if (&r != &a) r.model.assign(ma);
        r.real = a.real;
        return "operator=";
    }
}

TEST(bitvec, random_operations_agree_with_a_list_of_booleans) {
    const unsigned seed = 32;
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    MZONE zone;
    for (int round = 0; round < 300; round++) {
        PAIR vectors[3];
        for (int k = 0; k < 3; k++) {
            uint32_t n = random() % 3 ? random() % 100 : 0;
            bool set = random() & 1;
            vectors[k].real.bv_init(n, k == 2 ? &zone : nullptr, set ? BV_SET : BV_CLEAR);
            vectors[k].model.elements.assign(n, set);
            vectors[k].model.capacity = words_of(n);
        }
        for (int n = 0; n < 60; n++) {
            for (PAIR &p : vectors) spoil_tail(p.real, random());
            std::string what =
                step(vectors[random() % 3], vectors[random() % 3], vectors[random() % 3], random);
            for (PAIR &p : vectors)
                ASSERT_EQ(difference(p), "") << what << ", round " << round << ", step " << n;
            ASSERT_EQ(what.find("report"), std::string::npos)
                << what << ", round " << round << ", step " << n;

            PAIR &p = vectors[random() % 3], &q = vectors[random() % 3];
            bool meets = false, subset = true;
            for (uint32_t k = 0; k < 200; k++) {
                meets |= p.model.test(k) && q.model.test(k);
                subset &= !p.model.test(k) || q.model.test(k);
            }
            ASSERT_EQ(p.real.intersects(&q.real), meets);
            ASSERT_EQ(p.real.is_subset_of(&q.real), subset);
            std::set<uint32_t> walked, expected;
            for (uint32_t element : p.real) walked.insert(element);
            for (uint32_t k = 0; k < p.model.size(); k++)
                if (p.model.test(k)) expected.insert(k);
            ASSERT_EQ(walked, expected);
        }
    }
}

TEST(bitvec, growth_beyond_the_words_sets_them_and_growth_within_does_not) {
    BITVEC v(40);
    v.add(40); // room in the second word
    EXPECT_EQ(v.size, 41u);
    EXPECT_EQ(v.count(), 1u);
    v.add(70); // a third word appears, set up to the new size; the tail of the second comes up clear
    EXPECT_EQ(v.size, 71u);
    EXPECT_EQ(v.next(41), 64u);
    EXPECT_EQ(v.count(), 1u + 7u);
    v.bv_resize(10);
    v.bv_resize(71);
    EXPECT_TRUE(v.is_empty());
    v.resize_clear(200);
    EXPECT_TRUE(v.is_empty());
}

TEST(bitvec, assignment_to_an_empty_vector_takes_the_heap_and_copies_stand_alone) {
    MZONE zone;
    BITVEC source(70, &zone, BV_SET), target;
    target = source;
    EXPECT_EQ(target.zone, nullptr);
    EXPECT_EQ(target.capacity, 3u);
    BITVEC copy(target), moved(std::move(target));
    copy.clear_all();
    EXPECT_TRUE(moved.same_elements(&source));
    EXPECT_EQ(source.count(), 70u);
    EXPECT_EQ(target.bits, nullptr);
    BITVEC larger(100, nullptr, BV_SET);
    larger = source;
    EXPECT_EQ(larger.size, 70u);
    EXPECT_EQ(larger.capacity, 4u);
}

TEST(bitvec, print_shows_ranges) {
    const struct {
        std::vector<uint32_t> elements;
        const char *text;
    } cases[] = {
        {{}, "[]"},
        {{0}, "[0]"},
        {{1, 4, 5, 6, 7, 31, 32, 99}, "[1, 4-7, 31-32, 99]"},
        {{98, 99}, "[98-99]"},
    };
    for (const auto &c : cases) {
        BITVEC v(100);
        for (uint32_t i : c.elements) v.bv_add(i);
        spoil_tail(v, 1);
        testing::internal::CaptureStdout();
        v.bv_print();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.text);
        testing::internal::CaptureStdout();
        v.bv_dump();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  std::string("\n\nBITVEC INFORMATION\n   Number of elements = 100\n   Set elements: ") +
                      c.text + "\n");
    }
}

TEST(mzone, pieces_are_aligned_and_do_not_overlap) {
    MZONE zone;
    std::mt19937 random(7);
    for (int round = 0; round < 2; round++) {
        std::vector<std::pair<unsigned char *, size_t>> pieces;
        for (int n = 0; n < 400; n++) {
            size_t size = n % 50 == 3 ? random() % 100000 : random() % 300;
            auto *piece = static_cast<unsigned char *>(zone.alloc(size));
            ASSERT_EQ(reinterpret_cast<uintptr_t>(piece) % alignof(max_align_t), 0u);
            memset(piece, n & 255, size);
            pieces.emplace_back(piece, size);
        }
        for (int n = 0; n < 400; n++)
            for (size_t k = 0; k < pieces[n].second; k++) ASSERT_EQ(pieces[n].first[k], n & 255) << n;
        zone.release();
    }
    EXPECT_EQ(zone.blocks, nullptr);
}
