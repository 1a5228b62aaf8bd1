#include "tests/oracle/lib/idioms.h"

namespace {

// clang-format off
const char *const values[] = {
    // sums and products
    "(x + c) + d", "(x + c) - d", "x - (y + c)", "x - (y - z)", "(c - x) + y", "y + (c - x)", "x - -y", "-x + y", "y + -x", "0 - x",
    "x * c + y * d", "x * c + y * c", "x * c + x * d", "(x + y) * c + y * d", "(x - y) * c + y * d", "(x + y * c) + z * d", "x * c - x * d",
    "-(x * c) + y", "y - x * c", "x * y + x", "x * y + y", "(x - y) + y", "((x + y) * c) + y", "x + y + x", "x - y + y", "x - x", "x * c * d",
    "(x * c) * y", "-x * y", "x * -y", "x * -1", "x * 0", "x * 1", "x * t", "(x << k) + (y << l)", "(x << k) - (y << k)", "(x << k) + (x << l)",
    "x * t + y * t", "(x & m) - (x & c)", "(x | m) - (x | c)", "x - (x & m)", "-(x - y)", "-(-x)", "abs(-x)", "abs(x * x)", "abs(abs(x))",
    "(x + c) * d", "x * c + d", "(x + y) * z + (x + y) * c", "x + x", "x + x * c", "(U)x + (U)y", "(S)x - (S)y", "(T)(U)x + c",
    // quotients
    "x / c", "x % c", "x / t", "x % t", "(x * c) / d", "(x * c) / c", "(x * {t * 3}) / 3", "x / c / d", "(x + c) / d", "(x * t + c) / t", "-x / c", "x / -c", "-x / -y",
    "(x - y) / -c", "(x * y) / y", "(x / c) * c", "(x / t) * t", "x - (x / c) * c", "x % c % c", "x % c % d", "((x % c) + d) % c", "(x & c) % d",
    "(x & c) / d", "-x % c", "x % -c", "0 / x", "x / x", "(x * c) % d", "(x << k) / t", "(x * c + y * c) / c", "(x & m) / t", "(x & m) % t", "(x >> k) / c",
    // shifts
    "x << k << l", "x >> k >> l", "x << k >> l", "x >> k << l", "(x & c) >> k", "(x | c) >> k", "(x ^ c) >> k", "(x & c) << k", "(x + c) << k", "(x - c) << k",
    "(x * c) >> k", "(x * t) >> k", "x << 0", "x >> 0", "(x << k) >> k", "(x >> k) << k", "x << n", "x >> n", "(x << k) * c", "x * c << k", "(T)((U)x >> k)", "(T)((S)x >> k)",
    "(T)((W)x << k >> l)", "(T)((W)x * c >> k)",
    // masks
    "x & c & d", "x | c | d", "x ^ c ^ d", "(x & c) | (x & d)", "(x & c) | (y & c)", "(x & c) ^ (y & c)", "(x & c) & (y & d)", "(x | c) & d", "(x ^ c) & d", "(x & c) | d", "(x & c) ^ c",
    "(x & c) ^ d", "(x ^ c) | d", "((x | c) & d) | e", "((x & c) | (y & d)) & e", "(y | (x & c)) | (x & d)", "(x + c) & m", "(x - y) & m", "(x * y) & m", "-x & m", "~x & c", "(x << k) & c",
    "(x >> k) & c", "((x & c) + d) & c", "(x >> k) & (y >> l)", "(x >> k) ^ (y >> k)", "(x >> k) | (y >> l)", "x & x", "x | x", "x ^ x", "x & ~x", "x | ~x", "x ^ ~y", "~(x & y)", "~(x | ~y)",
    "x & -t", "(x & t) >> k", "(x & 1) ^ 1", "1 - (x & 1)", "(x & m) + (y & ~m)", "(x & c) + (y & d)", "(x | c) + d", "x & 0", "x & -1", "x | -1", "(x * t) & c", "((x >> k) & m) << l", "(x + d) & ~m",
    "(x & ~m) | (y & m)", "x ^ (y & c)", "(x ^ y) & c ^ y", "(x << k) | (x >> l)", "(x & (x - 1))", "(x & -x)",
    // conversions
    "(T)(x@u8)", "(T)(x@i8)", "(T)(x@u16)", "(T)(x@i16)", "(T)(x@u64)", "(T)(x@i64)", "(T)(x@bool)", "(T)(U)x", "(T)(S)x", "(T)(W)x", "(T)(H)x", "(T)(bool)x", "(T)((W)x + (W)y)", "(T)((W)x * c@i8)",
    "(T)((H)x + (H)y)", "(T)(x@u8) & c", "(T)((u8)x)", "(T)((i8)x + (i8)c)", "(T)(u16)(x + y)", "(T)(H)(x + c)", "(T)(H)(x * c + y)", "(T)(H)(x >> k)", "(T)(u8)(x >> k)", "(T)(i8)(x >> k)", "(T)(u16)((S)x >> k)", "(T)(i16)((U)x >> k)", "(T)(i32)((U)x >> k)", "(T)(i16)(x & c)", "(T)(U)(x % c)",
    "(T)(x@u8) * (T)(y@u8)", "(T)(x@i8) << k", "(T)(x@u16) >> k", "(T)(x@i8) / c", "(T)(x@u8) % c", "(T)-(U)x", "(T)~(U)x", "(T)(W)-x", "(T)((W)x >> k)", "(T)((W)(U)x * (W)(U)y >> k)",
    "(W)((T)((U)x * c + (U)y) - x * d)", "(W)((T)((U)x + (U)y) + x)", "(W)((T)((U)x * c) * d)", "(W)((T)((U)x & c) | (y & d))", "(W)((T)((U)x ^ (U)y) ^ y)", "(W)((T)((U)x << k) + (x << l))", "(W)-((T)((U)x - (U)y))", "(W)((T)(x ? (U)y : c) + d)",
    "(T)(f32)x", "(T)(x@enum)", "(T)((H)x & (H)c)", "(T)((i32)x + c@i32)", "(T)((i32)x - (i32)y)",
    // conditionals
    "x < 0 ? -x : x", "x > 0 ? x : -x", "x < y ? x : y", "x > y ? x : y", "x <= y ? y : x", "x >= c ? c : x", "x ? 1 : 0", "x ? 0 : 1", "x ? c : c", "x < c ? d : e", "x >= 0 ? x : 0", "x < 0 ? 0 : x",
    "x <= 0 ? 0 : y", "x > c ? {c + 1} : c", "x >= c ? {c - 1} : c", "x == y ? x : z", "(T)(x < y)", "(T)(x == y) + (T)(y == z)", "(T)(x < y) ^ 1", "(T)(x != 0) & 1", "x & 1 ? y : z", "(T)(x && y)", "(T)(x || y)", "(T)!x",
    "qc(x, y, z)", "(T)qc(x, y@u8, z@u8)", "(H)qc(x, y, z)", "qc(x < y, x, y)", "qc(x, c, c)", "qc(c, x, y)", "(T)sqr(x@int)", "(T)sqr((x@int & 1) - 1)", "(T)sqr(1 - (x@int & 1))", "(T)sqr(x@int < y@int)", "(T)sqr(-x@int)",
    "(T)pm(x@int)", "(T)pm((x@u8) + c@i32)", "(T)pv(p - q)", "(T)(u32)(P)(x@u32)", "(T)((P)8 - (P)c@u32)", "(T)(u32)&((R)0)->b", "(T)(u32)(&((R)64@u32)->ll)", "(T)((P)(c@u32) == (P)(d@u32))", "(T)((P)0 == p)", "(T)(u32)((P)16 + 4)",
    "(x ? y : z) & c", "(x ? c : d) + e", "(x ? c : d) == c ? y : z", "x == 0 ? 0 : x", "x == c ? c : x", "x != y ? x : y", "(x, y)", "(x, y) + c", "(T)(x == 0) * y", "(T)(x < y) * c",
};

const char *const conditions[] = {
    "x < c", "x <= c", "x > c", "x >= c", "x == c", "x != c", "c < x", "x < 1", "x >= 1", "x <= 0", "x < 0", "x >= 0", "x > 0", "x == x", "x < x",
    "x + c < d", "x - c >= d", "x + c == d", "x + c < x", "x + 1 > x", "x + c == y + d", "x + c < y + d", "x - y < 0", "x - y == 0", "x - y > 0", "x ^ y", "(x ^ y) == 0", "(x ^ c) == d", "-x < c", "-x == c", "~x < c", "~x == c", "x * c == 0", "x * c == d",
    "x * c < d", "x * c >= d", "x * -c < d", "x / c < d", "x / c >= d", "x / c == d", "x / c > d", "x / c <= d", "x >> k < c", "x >> k >= c", "x >> k > c", "x >> k == c", "x << k == c", "x << k < c", "(x & c) == c", "(x & t) == t", "(x & t) != t", "(x & t) == 0", "(x & c) == d", "(x & c) < d",
    "(x | c) == d", "(x | c) == 0", "(x & y) == 0", "(x | y) == 0", "(x | y) != 0", "x % c == 0", "x % t == 0", "x % t != 1", "x % c < c", "(x + m & ~m) >= x", "(x / c) * c >= x", "(x / c) * c > x", "((x + d) / c) * c >= x", "(x & -t) >= x",
    "x >= c & x <= d", "x > c & x < d", "x >= c && x <= d", "x < c || x > d", "x == c || x == d", "x == 0 || x == t", "x == 0 || x > c", "x == 0 && y == 0", "x != 0 || y != 0", "x && y", "x || y", "x && x", "!x", "!!x", "!(x < y)", "!(x && y)", "!x && !y", "!x || !y",
    "x < y && x == y", "x < y || x == y", "x <= y && x >= y", "(x < y) & (x > y)", "(x < y) | (x == y)", "(x <= y) & (y <= x)", "(x == y) == (x == y)", "(x == 0) == x", "(x < y) == 0", "(x < y) != 1", "(x < y) == (x >= y)",
    "(T)(x@u8) < c", "(T)(x@i8) == c", "(T)(x@u8) == (T)(y@u8)", "(T)(x@i8) < (T)(y@i8)", "(T)(x@u16) > c", "(H)x == (H)c", "(H)x < (H)y", "(U)x < (U)c", "(S)x < (S)c", "(U)x >= (U)y", "(bool)x", "(bool)x == 0", "(x ? y : z) == 0", "(x ? 0 : 1) == 0", "(x ? c : d) == c", "(x ? c : d) < e",
    "((x >> k) & 1) == 0", "(x >> k) & 1", "(x >> {k - k + 7}) != 0", "(x & t) >> k", "1 - (T)(x < y)", "(1 - (T)(x == y)) == 0", "(x & 1) == 1", "(x & 1) ^ 1", "x % 2 == 1", "(x & c) - (y & d) == 0", "x - c == y - d", "abs(x) == 0", "abs(x) < c", "x == y ? x == z : y == z",
    "x ? y : 0", "x ? 1 : y", "x ? y && z : y || z", "x && (y, z)", "(x, y) == c", "x & y & 1", "x ^ 1", "x + c", "x * t", "x << k", "-x", "abs(x)", "(x & c) ^ c", "(x ^ c) & t", "x < c && y < c", "x <= c && x != c", "x > c || x == c", "x == c && x != d", "x != c && x != d",
    "*p == c && *q != d", "p && *p", "p && *p == *q", "*p && *p > c", "p == q", "p != q || *p == *q", "p && q && *p == *q", "x && c / x > 1@T", "y != 0 && x / y == c", "x / y == 0 || y == c",
};

const char *const effects[] = {
    "w = x + c", "w = w + x", "w = w + x + c", "w = (x + w) + y", "w = w & c | x", "w = x & m", "w = (T)(U)x", "w = (T)(H)x", "w += c", "w -= x", "w *= c", "w &= x & m", "w |= (T)(H)x", "w ^= c", "w <<= k", "w >>= k", "w /= c",
    "w %= c", "w = w", "w = 0", "w = -w", "w = ~w", "w = w * c", "w = w << k", "w = w >> k", "w = w / c", "w++", "w--", "w++ > c", "w-- >= c", "w-- > 0", "w-- != 0", "w++ < c", "w-- && x", "(w = c) + x", "(w = c, x)", "(w = x) + c", "(w = c) == x",
    "s.bit = x", "s.ubit = x & c", "s.wide = w", "s.one = !x", "s.a = x", "s.s = s.s + x", "s.c += c", "s.uc |= x", "s.bit += 1", "s.ubit ^= c", "s.wide++", "s.bit--", "(s.bit = 9) + x", "(s.ubit = c) + x", "(s.bit = x) == c", "r->bit = x", "r->ubit += c", "r->ll = x", "r->a--",
    "s.bit & c", "s.ubit & c", "s.wide >> k", "s.one", "s.one == 0", "s.bit < c", "s.ubit == c", "s.c == c", "r->uc & c", "*p = x", "*p += c", "*p = *p | c", "*p & *q", "*p + *q", "*(p + 0)", "&s == r", "*&w", "*&w = x", "(&s)->b",
    "s = *r", "s = s", "*r = s", "*r = *r", "p = (P)(int)p", "p = (P)(p + 4)", "r = (R)(R)r", "r = (R)(P)r", "p = (P)(r + 4)", "&(r + 32)->b", "&(*(r + 32)).ll", "((R)(ar + 0))->b", "((R)(ar + 4))->a", "(*((R)(ar + 4))).a", "(r + 0)->bit", "(*(r + 0)).ubit",
    "p + (x@u8)", "p + (x@i8) * 4", "p + (int)(x@u32)", "p + 4 - 4", "p + 4 < p + 8", "&s.b < &s.ll", "&s.a != 0", "p + pm(x@int & 1) - 4", "(p += 4, p - 4)", "(p = p + 4, p - 4)", "p++", "p--", "(p -= 4, p + 4)", "((g(x), y)) ? 1 : 2", "(u, x) ? y : z", "g((u, x)) + 1", "u + v", "u + (v + x)", "u & (v * c)", "u * (v & c)", "g(x) + (g(y) ^ c)", "g(x) & (u + y)", "u ^ (g(x) + y)", "x + (u - v)", "(u + x) - (v + y)", "(u * c) + (v * d)", "u - (v - u)", "u < (v & c)", "(u & c) == (v & d)", "g(x) * (g(y) + 1)", "u == v", "g(x) < g(y)", "u + x", "u & 0", "u * 0", "u - u", "u & v & c", "u | -1", "u == u", "u && v", "u || x", "!u", "u ? x : y", "u ? u : v", "(u, x)", "(u, v) + u", "u = x", "u = u", "u = u + c", "u += c", "u++", "u-- > c", "u < v", "(u & c) | (u & d)", "u / c * c", "x ? u : v", "x ? u : u",
    "(T)(H)u", "(bool)u", "-u", "u << k >> k", "u % c % c", "abs(u)", "g(x)", "g(x) + g(y)", "f(x) + f(x)", "g(x) & 0", "g(x) == g(x)", "x && g(y)", "x ? g(y) : g(z)", "g(x), y", "w = g(x)", "w += g(x)", "g(g(x))", "g2(u, v)", "f(x) * 0", "g(x) ? y : y", "g((x, y))", "g((w = x, y))",
    "(x ? w = y : (w = z))", "(x ? w = c : (w = d))", "x && (w = y)", "x || (w = y)", "x ? w++ : 0", "(w = 0, x) + y", "p = &w, *p", "p = p + 4", "*p++", "p++ != q", "ar == &s.a", "*(ar + 4)", "*(ar + (x@int & 3) * 4)", "*(ar + (x@int & 1) * 4 + 4)", "ar + 4 == ar", "&s.a == &s.b", "&r->a",
};
// clang-format on

} // namespace

std::span<const char *const> value_idioms() { return values; }
std::span<const char *const> condition_idioms() { return conditions; }
std::span<const char *const> effect_idioms() { return effects; }
