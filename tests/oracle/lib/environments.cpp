#include "tests/oracle/lib/environments.h"

#include <algorithm>
#include <cstring>

#include "OPT5/symtab.h"
#include "typepkg/type_pkg.h"

namespace {

constexpr uint64_t COMBINED_CAP = 800; // boundary values of all variables are combined up to that many

} // namespace

ENVIRONMENTS::ENVIRONMENTS(const CODE &code, uint64_t seed, int samples, int enumerate_bits)
    : random(seed * 7919 + 1), only_variables(!code.has_effects && !code.reads_memory && !code.writes) {
    ORACLE_WORLD &w = world();
    int bits = 0;
    for (const SYMTAB *s : code.symbols) {
        VK k = value_kind(s->type);
        if (s->type->is_volatile() || s->type->is_func()) continue;
        if (k == VK::none || s->type->is_ptr()) {
            enumerable = only_variables = false;
            continue;
        }
        variables.push_back({s, k, s == w.count, w.layout.place(s), 0});
        bits += k == VK::boolean ? 1 : s == w.count ? 7 : vk_bits(k);
        if (vk_is_float(k)) enumerable = false;
    }
    if (code.has_effects || code.reads_memory || bits > enumerate_bits) enumerable = false;
    uint64_t product = 1;
    for (VARIABLE &v : variables) {
        v.radix = !enumerable             ? boundary_values(v.kind).size()
                  : v.kind == VK::boolean ? 2
                  : v.is_count            ? 128
                                          : 1ull << vk_bits(v.kind);
        product = std::min<uint64_t>(product, 1u << 20) * v.radix;
    }
    combined_steps = enumerable || product <= COMBINED_CAP ? product : 0;
    steps = enumerable ? combined_steps : combined_steps + uint64_t(samples);
    fill();
}

uint64_t ENVIRONMENTS::VARIABLE::random_value(RANDOM &random) const {
    if (!is_count) return interesting_value(kind, random);
    return chance(random, 80) ? random() % 33 : random() % 70;
}

// What is filled in every environment, looked up once.
namespace {

struct ENVIRONMENTS_PLAN {
    struct VARIABLE {
        uint32_t at;
        VK kind;
    };
    struct POINTER {
        uint32_t at, targets[3];
        bool to_int;
    };
    std::vector<VARIABLE> variables;
    std::vector<POINTER> pointers;
    uint32_t array, to_array, object, to_object, count;

    ENVIRONMENTS_PLAN() {
        ORACLE_WORLD &w = world();
        LAYOUT &l = w.layout;
        for (const SCALAR &each : w.scalars) {
            for (const char *name : {"x", "y", "z", "w"})
                variables.push_back({l.place(w.variable(name, each.type)), value_kind(each.type)});
            for (const char *name : {"p", "q"}) {
                POINTER p{l.place(w.variable(name, each.type)), {}, each.type == w.i32};
                int k = 0;
                for (const char *target : {"x", "y", "z"})
                    p.targets[k++] = l.place(w.variable(target, each.type));
                pointers.push_back(p);
            }
        }
        array = l.place(w.array), to_array = l.place(w.to_array);
        object = l.place(w.object), to_object = l.place(w.to_object);
        count = l.place(w.count);
    }
};

} // namespace

void ENVIRONMENTS::fill() {
    static const ENVIRONMENTS_PLAN plan;
    memory.resize(world().layout.size + 8);
    for (size_t k = 0; k + 8 <= memory.size(); k += 8) {
        uint64_t word = random();
        memcpy(memory.data() + k, &word, 8);
    }
    for (const auto &v : plan.variables) store_bytes(memory, v.at, v.kind, interesting_value(v.kind, random));
    for (const auto &p : plan.pointers) {
        uint32_t to = p.targets[random() % 3];
        if (p.to_int && chance(random, 30)) to = plan.array + 4 * uint32_t(random() % 4);
        store_bytes(memory, p.at, VK::u32, chance(random, 4) ? 0 : to);
    }
    for (uint32_t k = 0; k < 8; k++)
        store_bytes(memory, plan.array + 4 * k, VK::i32, interesting_value(VK::i32, random));
    store_bytes(memory, plan.to_array, VK::u32, plan.array + 4 * uint32_t(random() % 4));
    store_bytes(memory, plan.to_object, VK::u32, chance(random, 4) ? 0 : plan.object);
    store_bytes(memory, plan.count, VK::i32, chance(random, 80) ? random() % 33 : random() % 70);
}

bool ENVIRONMENTS::next() {
    if (step == steps) return false;
    uint64_t k = step++;
    if (k >= combined_steps && !only_variables) {
        fill();
        return true;
    }
    for (const VARIABLE &v : variables) {
        uint64_t digit = k % v.radix;
        uint64_t value = step > combined_steps ? v.random_value(random)
                         : enumerable          ? digit
                                               : boundary_values(v.kind)[digit];
        store_bytes(memory, v.at, v.kind, value);
        k /= v.radix;
    }
    return true;
}

std::string ENVIRONMENTS::text() const {
    std::string s;
    for (const VARIABLE &v : variables)
        s += std::string(s.empty() ? "" : ", ") + v.symbol->name + " = " +
             vk_text(load_bytes(memory, v.at, v.kind), v.kind);
    return s.empty() ? "no plain variables" : s;
}
