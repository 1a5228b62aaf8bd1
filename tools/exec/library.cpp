#include "tools/exec/library.h"

#include <cerrno>
#include <cstdlib>

char *guest_bytes(uint32_t a, uint64_t n, bool write) {
    if (!mem.ok_range(a, n)) check_access(a, n, write);
    if (write && run_options.check_init) mem.mark_written(a, n);
    return reinterpret_cast<char *>(mem.base + a);
}

uint32_t guest_strlen(uint32_t a) {
    uint32_t n = 0;
    for (;; n++) {
        if (!mem.ok(a + n, 1)) check_access(a + n, 1, false);
        if (!mem.base[a + n]) return n;
    }
}

std::string guest_string(uint32_t a) {
    uint32_t n = guest_strlen(a);
    return std::string(reinterpret_cast<char *>(mem.base + a), n);
}

uint32_t library_text(const std::string &s) {
    uint32_t a = mem.add_global(uint32_t(s.size()) + 1, 1);
    memcpy(mem.base + a, s.c_str(), s.size() + 1);
    return a;
}

void put_string(uint32_t a, const char *text, size_t n) { memcpy(guest_bytes(a, n, true), text, n); }
void put_u32(uint32_t a, uint32_t v) {
    check_access(a, 4, true);
    store_scalar_checked(SK_u32, a, v);
}
void put_u64(uint32_t a, uint64_t v) {
    check_access(a, 8, true);
    store_scalar_checked(SK_u64, a, v);
}
uint32_t get_u32(uint32_t a) {
    check_access(a, 4, false);
    return uint32_t(load_scalar_checked(SK_u32, a));
}
uint64_t get_u64(uint32_t a) {
    check_access(a, 8, false);
    return load_scalar_checked(SK_u64, a);
}

namespace {
uint32_t errno_address() {
    static uint32_t a = mem.add_global(4, 4);
    return a;
}
} // namespace

void set_errno(int e) { store_scalar_checked(SK_u32, errno_address(), uint32_t(e)); }
uint32_t guest_errno_address() { return errno_address(); }

// --- variadic arguments ---

VARARGS varargs_of(CALL_CONTEXT &c, unsigned from) {
    VARARGS v;
    v.call = &c, v.next = from;
    return v;
}
VARARGS varargs_in(CALL_CONTEXT &c, unsigned i) {
    VARARGS v;
    v.at = i < c.n && c.args[i].kind == SK_record ? get_u32(c.u32(i)) : c.u32(i);
    return v;
}
uint32_t VARARGS::u32() {
    if (!numbered.empty()) return uint32_t(numbered_value());
    if (call) {
        if (next >= call->n) fault("%s(): more conversions than arguments", call->func->name.c_str());
        return uint32_t(call->args[next++].value);
    }
    uint32_t v = get_u32(at);
    at += 4;
    return v;
}
uint64_t VARARGS::u64() {
    if (!numbered.empty()) return numbered_value();
    if (call) {
        if (next >= call->n) fault("%s(): more conversions than arguments", call->func->name.c_str());
        return call->args[next++].value;
    }
    at = (at + 7) & ~7u;
    uint64_t v = get_u64(at);
    at += 8;
    return v;
}
uint64_t VARARGS::numbered_value() {
    if (place >= numbered.size()) fault("a format has no argument %u", unsigned(place) + 1);
    return numbered[place++];
}
double VARARGS::f64() {
    if (!numbered.empty()) return as_f64(numbered_value());
    if (call) {
        if (next >= call->n) fault("%s(): more conversions than arguments", call->func->name.c_str());
        return call->f64(next++);
    }
    return as_f64(u64());
}

XFUNC *library_function(const std::string &given) {
    static const std::unordered_map<std::string, uint64_t (*)(CALL_CONTEXT &)> table = [] {
        std::unordered_map<std::string, uint64_t (*)(CALL_CONTEXT &)> t;
        for (const LIBRARY_ROW *rows :
             {library_stdio, library_string, library_stdlib, library_math, library_misc, library_wchar,
              library_atomic, library_unix, library_program, library_fenv})
            for (const LIBRARY_ROW *r = rows; r->name; r++) t[r->name] = r->fn;
        return t;
    }();
    auto it = table.find(given);
    if (it == table.end()) return nullptr;
    return enter_library_function(given, it->second);
}

#include "tools/exec/eval.h"

void store_scalar_checked(SK k, uint32_t a, uint64_t v) { store_scalar(k, a, v); }
uint64_t load_scalar_checked(SK k, uint32_t a) { return load_scalar(k, a); }
