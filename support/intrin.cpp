#include "support/intrin.h"

#include <cstring>
#include <string>
#include <unordered_map>

// --- lane functions ---

namespace {

using s64 = int64_t;
using u64 = uint64_t;
using s32 = int32_t;
using u32 = uint32_t;
using f32 = float;
using f64 = double;

#define LANE_PARAMETERS                                                                                      \
    ([[maybe_unused]] s64 a, [[maybe_unused]] s64 b, [[maybe_unused]] s64 c, [[maybe_unused]] s32 from,      \
     [[maybe_unused]] s32 to, [[maybe_unused]] s32 k)
#define HELPER(TYPE, NAME, PARAMETERS, ...) TYPE ql_lane_##NAME PARAMETERS __VA_ARGS__
#define LANE_FUNCTION(NAME, ...) s64 ql_lane_##NAME LANE_PARAMETERS __VA_ARGS__
#include "support/intrin_lanes.inc"
#undef HELPER
#undef LANE_FUNCTION

struct LANE_TEXT {
    const char *name, *head, *body;
};
const LANE_TEXT lane_texts[] = {
#define HELPER(TYPE, NAME, PARAMETERS, ...) {#NAME, #TYPE " ql_lane_" #NAME #PARAMETERS, #__VA_ARGS__},
#define LANE_FUNCTION(NAME, ...)                                                                             \
    {#NAME, "s64 ql_lane_" #NAME "(s64 a, s64 b, s64 c, s32 from, s32 to, s32 k)", #__VA_ARGS__},
#include "support/intrin_lanes.inc"
#undef HELPER
#undef LANE_FUNCTION
};

// --- the table ---

constexpr unsigned one(LANE l) { return 1u << l; }
constexpr unsigned S8 = one(LANE_s8), S16 = one(LANE_s16), S32 = one(LANE_s32), S64 = one(LANE_s64);
constexpr unsigned F32 = one(LANE_f32), U16 = one(LANE_u16), U32 = one(LANE_u32);
constexpr unsigned U8_32 = one(LANE_u8) | U16 | U32, S8_32 = S8 | S16 | S32, S16_64 = S16 | S32 | S64;
constexpr unsigned I8_32 = S8_32 | U8_32, I8_64 = I8_32 | S64 | one(LANE_u64);
constexpr unsigned I16_64 = I8_64 & ~(S8 | one(LANE_u8)), S16_32 = S16 | S32;
constexpr unsigned I16_32 = S16_32 | U16 | U32;
constexpr uint8_t D = 1, Q = 2, DQ = 3;
constexpr uint8_t AB = INTRIN_COMMUTES_01, BC = INTRIN_COMMUTES_12, EX = INTRIN_EXTRA, WD = INTRIN_WORD;

#define F(NAME) #NAME, ql_lane_##NAME
#define NO_F nullptr, nullptr

// Letters of shapes: T the base; W twice, N half its width; U, S unsigned and signed; V unsigned half width; H twice its
// width and half as many lanes; i u words, l L double words, signed and unsigned; # an immediate; s z immediates that
// count bits to saturate to; * anything, to the end.
// clang-format off
const INTRIN_ROW rows[] = {
    // sums, differences, products
    {"__vadd",     "T TT",   I8_64,  DQ, WALK_LANES, F(add), 0, IMM_NONE, AB, "vadd@$(%1,%2)"},
    {"__vadd",     "T TT",   F32,    DQ, WALK_LANES, F(fadd), 0, IMM_NONE, AB, "vadd@$(%1,%2)"},
    {"__vadd_l",   "W TT",   I8_32,  D,  WALK_LANES, F(add), 0, IMM_NONE, AB, "vaddl$(%1,%2)"},
    {"__vadd_w",   "W WT",   I8_32,  D,  WALK_LANES, F(add), 0, IMM_NONE, 0, "vaddw$(%1,%2)"},
    {"__vsub",     "T TT",   I8_64,  DQ, WALK_LANES, F(sub), 0, IMM_NONE, 0, "vsub@$(%1,%2)"},
    {"__vsub",     "T TT",   F32,    DQ, WALK_LANES, F(fsub), 0, IMM_NONE, 0, "vsub@$(%1,%2)"},
    {"__vsub_l",   "W TT",   I8_32,  D,  WALK_LANES, F(sub), 0, IMM_NONE, 0, "vsubl$(%1,%2)"},
    {"__vsub_w",   "W WT",   I8_32,  D,  WALK_LANES, F(sub), 0, IMM_NONE, 0, "vsubw$(%1,%2)"},
    {"__vadh",     "N TT",   I16_64, Q,  WALK_LANES, F(add_high), 0, IMM_NONE, AB, "vaddhn$(%1,%2)"},
    {"__vsbh",     "N TT",   I16_64, Q,  WALK_LANES, F(add_high), 1, IMM_NONE, 0, "vsubhn$(%1,%2)"},
    {"__vradh",    "N TT",   I16_64, Q,  WALK_LANES, F(add_high), 2, IMM_NONE, AB, "vraddhn$(%1,%2)"},
    {"__vrsbh",    "N TT",   I16_64, Q,  WALK_LANES, F(add_high), 3, IMM_NONE, 0, "vrsubhn$(%1,%2)"},
    {"__vhadd",    "T TT",   I8_32,  DQ, WALK_LANES, F(half_sum), 0, IMM_NONE, AB, "vhadd@$(%1,%2)"},
    {"__vrhadd",   "T TT",   I8_32,  DQ, WALK_LANES, F(half_sum), 1, IMM_NONE, AB, "vrhadd@$(%1,%2)"},
    {"__vhsub",    "T TT",   I8_32,  DQ, WALK_LANES, F(half_difference), 0, IMM_NONE, 0, "vhsub@$(%1,%2)"},
    {"__vqadd",    "T TT",   I8_64,  DQ, WALK_LANES, F(qadd), 0, IMM_NONE, AB, "vqadd@$(%1,%2)"},
    {"__vqsub",    "T TT",   I8_64,  DQ, WALK_LANES, F(qsub), 0, IMM_NONE, 0, "vqsub@$(%1,%2)"},
    {"__vmul",     "T TT",   I8_32,  DQ, WALK_LANES, F(mul), 0, IMM_NONE, AB, "vmul@$(%1,%2)"},
    {"__vmul",     "T TT",   F32,    DQ, WALK_LANES, F(fmul), 0, IMM_NONE, AB, "vmul@$(%1,%2)"},
    {"__vmul_l",   "W TT",   I8_32,  D,  WALK_LANES, F(mul), 0, IMM_NONE, AB, "vmull$(%1,%2)"},
    {"__vmla",     "T TTT",  I8_32,  DQ, WALK_LANES, F(mla), 0, IMM_NONE, BC, "vmla@$(%1,%2,%3)"},
    {"__vmla",     "T TTT",  F32,    DQ, WALK_LANES, F(fmla), 0, IMM_NONE, BC, "vmla@$(%1,%2,%3)"},
    {"__vmla_l",   "W WTT",  I8_32,  D,  WALK_LANES, F(mla), 0, IMM_NONE, BC, "vmlal$(%1,%2,%3)"},
    {"__vmls",     "T TTT",  I8_32,  DQ, WALK_LANES, F(mls), 0, IMM_NONE, BC, "vmls@$(%1,%2,%3)"},
    {"__vmls",     "T TTT",  F32,    DQ, WALK_LANES, F(fmls), 0, IMM_NONE, BC, "vmls@$(%1,%2,%3)"},
    {"__vmls_l",   "W WTT",  I8_32,  D,  WALK_LANES, F(mls), 0, IMM_NONE, BC, "vmlsl$(%1,%2,%3)"},
    {"__vqdmlh",   "T TT",   S16_32, DQ, WALK_LANES, F(qdmulh), 0, IMM_NONE, AB, "vqdmulh@$(%1,%2)"},
    {"__vqrdmlh",  "T TT",   S16_32, DQ, WALK_LANES, F(qdmulh), 1, IMM_NONE, AB, "vqrdmulh@$(%1,%2)"},
    {"__vqdmul",   "W TT",   S16_32, D,  WALK_LANES, F(qdmull), 0, IMM_NONE, AB, "vqdmull$(%1,%2)"},
    {"__vqdmla",   "W WTT",  S16_32, D,  WALK_LANES, F(qdmlal), 0, IMM_NONE, BC, "vqdmlal$(%1,%2,%3)"},
    {"__vqdmls",   "W WTT",  S16_32, D,  WALK_LANES, F(qdmlsl), 0, IMM_NONE, BC, "vqdmlsl$(%1,%2,%3)"},
    {"__vabd",     "T TT",   I8_32,  DQ, WALK_LANES, F(abd), 0, IMM_NONE, AB, "vabd@$(%1,%2)"},
    {"__vabd",     "T TT",   F32,    DQ, WALK_LANES, F(fabd), 0, IMM_NONE, AB, "vabd@$(%1,%2)"},
    {"__vabd_l",   "W TT",   I8_32,  D,  WALK_LANES, F(abd), 0, IMM_NONE, AB, "vabdl$(%1,%2)"},
    {"__vaba",     "T TTT",  I8_32,  DQ, WALK_LANES, F(aba), 0, IMM_NONE, BC, "vaba@$(%1,%2,%3)"},
    {"__vaba_l",   "W WTT",  I8_32,  D,  WALK_LANES, F(aba), 0, IMM_NONE, BC, "vabal$(%1,%2,%3)"},
    {"__vabs",     "T T",    S8_32,  DQ, WALK_LANES, F(abs), 0, IMM_NONE, 0, "vabs@$(%1)"},
    {"__vabs",     "T T",    F32,    DQ, WALK_LANES, F(fabs), 0, IMM_NONE, 0, "vabs@$(%1)"},
    {"__vneg",     "T T",    S8_32,  DQ, WALK_LANES, F(neg), 0, IMM_NONE, 0, "vneg@$(%1)"},
    {"__vneg",     "T T",    F32,    DQ, WALK_LANES, F(fneg), 0, IMM_NONE, 0, "vneg@$(%1)"},
    {"__vqabs",    "T T",    S8_32,  DQ, WALK_LANES, F(qabs), 0, IMM_NONE, 0, "vqabs@$(%1)"},
    {"__vqneg",    "T T",    S8_32,  DQ, WALK_LANES, F(qneg), 0, IMM_NONE, 0, "vqneg@$(%1)"},
    {"__vmax",     "T TT",   I8_32,  DQ, WALK_LANES, F(max), 0, IMM_NONE, AB, "vmax@$(%1,%2)"},
    {"__vmax",     "T TT",   F32,    DQ, WALK_LANES, F(fmax), 0, IMM_NONE, AB, "vmax@$(%1,%2)"},
    {"__vmin",     "T TT",   I8_32,  DQ, WALK_LANES, F(min), 0, IMM_NONE, AB, "vmin@$(%1,%2)"},
    {"__vmin",     "T TT",   F32,    DQ, WALK_LANES, F(fmin), 0, IMM_NONE, AB, "vmin@$(%1,%2)"},

    // neighbours
    {"__vsum",     "T TT",   I8_32,  D,  WALK_PAIRS, F(add), 0, IMM_NONE, 0, "vpadd$(%1,%2)"},
    {"__vsum",     "T TT",   F32,    D,  WALK_PAIRS, F(fadd), 0, IMM_NONE, 0, "vpadd$(%1,%2)"},
    {"__vfmx",     "T TT",   I8_32,  D,  WALK_PAIRS, F(max), 0, IMM_NONE, 0, "vpmax$(%1,%2)"},
    {"__vfmx",     "T TT",   F32,    D,  WALK_PAIRS, F(fmax), 0, IMM_NONE, 0, "vpmax$(%1,%2)"},
    {"__vfmn",     "T TT",   I8_32,  D,  WALK_PAIRS, F(min), 0, IMM_NONE, 0, "vpmin$(%1,%2)"},
    {"__vfmn",     "T TT",   F32,    D,  WALK_PAIRS, F(fmin), 0, IMM_NONE, 0, "vpmin$(%1,%2)"},
    {"__vsum_l",   "H T",    I8_32,  DQ, WALK_PAIRS, F(add), 0, IMM_NONE, 0, "vpaddl@$(%1)"},
    {"__vsma",     "H HT",   I8_32,  DQ, WALK_PAIRS_ACC, F(add), 0, IMM_NONE, 0, "vpadal@$(%1,%2)"},

    // bits
    {"__vand",     "T TT",   I8_64,  DQ, WALK_LANES, F(and), 0, IMM_NONE, AB, "vand@$(%1,%2)"},
    {"__vorr",     "T TT",   I8_64,  DQ, WALK_LANES, F(or), 0, IMM_NONE, AB, "vorr@$(%1,%2)"},
    {"__veor",     "T TT",   I8_64,  DQ, WALK_LANES, F(xor), 0, IMM_NONE, AB, "veor@$(%1,%2)"},
    {"__vbic",     "T TT",   I8_64,  DQ, WALK_LANES, F(bic), 0, IMM_NONE, 0, "vbic@$(%1,%2)"},
    {"__vorn",     "T TT",   I8_64,  DQ, WALK_LANES, F(orn), 0, IMM_NONE, 0, "vorn@$(%1,%2)"},
    {"__vnot",     "T T",    I8_32,  DQ, WALK_LANES, F(not), 0, IMM_NONE, 0, "vmvn@$(%1)"},
    {"__vbic_i",   "T T#",   I16_32, DQ, WALK_LANES, F(bic), 0, IMM_BYTE, 0, "vbic@$(%1,vdup@_n$(%i))"},
    {"__vorr_i",   "T T#",   I16_32, DQ, WALK_LANES, F(or), 0, IMM_BYTE, 0, "vorr@$(%1,vdup@_n$(%i))"},
    {"__vbsl",     "T UTT",  I8_64 | F32, DQ, WALK_LANES, F(bsl), 0, IMM_NONE, 0, "vbsl@$(%1,%2,%3)"},
    {"__vtst",     "U TT",   I8_32,  DQ, WALK_LANES, F(tst), 0, IMM_NONE, AB, "vtst@$(%1,%2)"},

    // comparisons: all ones where they hold
    {"__vceq",     "U TT",   I8_32,  DQ, WALK_LANES, F(compare), 0, IMM_NONE, AB, "vceq@$(%1,%2)"},
    {"__vceq",     "U TT",   F32,    DQ, WALK_LANES, F(fcompare), 0, IMM_NONE, AB, "vceq.f32 %0, %1, %2"},
    {"__vcge",     "U TT",   I8_32,  DQ, WALK_LANES, F(compare), 1, IMM_NONE, 0, "vcge@$(%1,%2)"},
    {"__vcge",     "U TT",   F32,    DQ, WALK_LANES, F(fcompare), 1, IMM_NONE, 0, "vcge.f32 %0, %1, %2"},
    {"__vcgt",     "U TT",   I8_32,  DQ, WALK_LANES, F(compare), 2, IMM_NONE, 0, "vcgt@$(%1,%2)"},
    {"__vcgt",     "U TT",   F32,    DQ, WALK_LANES, F(fcompare), 2, IMM_NONE, 0, "vcgt.f32 %0, %1, %2"},
    {"__vceqz",    "U T",    I8_32,  DQ, WALK_LANES, F(compare), 0, IMM_NONE, 0, "vceq@$(%1,vdup@_n$(0))"},
    {"__vceqz",    "U T",    F32,    DQ, WALK_LANES, F(fcompare), 0, IMM_NONE, 0, "vceq.f32 %0, %1, #0"},
    {"__vcgez",    "U T",    S8_32,  DQ, WALK_LANES, F(compare), 1, IMM_NONE, 0, "vcge@$(%1,vdup@_n$(0))"},
    {"__vcgez",    "U T",    F32,    DQ, WALK_LANES, F(fcompare), 1, IMM_NONE, 0, "vcge.f32 %0, %1, #0"},
    {"__vcgtz",    "U T",    S8_32,  DQ, WALK_LANES, F(compare), 2, IMM_NONE, 0, "vcgt@$(%1,vdup@_n$(0))"},
    {"__vcgtz",    "U T",    F32,    DQ, WALK_LANES, F(fcompare), 2, IMM_NONE, 0, "vcgt.f32 %0, %1, #0"},
    {"__vclez",    "U T",    S8_32,  DQ, WALK_LANES, F(compare), 3, IMM_NONE, 0, "vcle@$(%1,vdup@_n$(0))"},
    {"__vclez",    "U T",    F32,    DQ, WALK_LANES, F(fcompare), 3, IMM_NONE, 0, "vcle.f32 %0, %1, #0"},
    {"__vcltz",    "U T",    S8_32,  DQ, WALK_LANES, F(compare), 4, IMM_NONE, 0, "vclt@$(%1,vdup@_n$(0))"},
    {"__vcltz",    "U T",    F32,    DQ, WALK_LANES, F(fcompare), 4, IMM_NONE, 0, "vclt.f32 %0, %1, #0"},
    {"__vcage",    "U TT",   F32,    DQ, WALK_LANES, F(fcompare), 9, IMM_NONE, 0, "vcage@$(%1,%2)"},
    {"__vcagt",    "U TT",   F32,    DQ, WALK_LANES, F(fcompare), 10, IMM_NONE, 0, "vcagt@$(%1,%2)"},

    // shifts
    {"__vshl_v",   "T TS",   I8_64,  DQ, WALK_LANES, F(shl_v), 0, IMM_NONE, 0, "vshl@$(%1,%2)"},
    {"__vrshl_v",  "T TS",   I8_64,  DQ, WALK_LANES, F(shl_v), 1, IMM_NONE, 0, "vrshl@$(%1,%2)"},
    {"__vqshl_v",  "T TS",   I8_64,  DQ, WALK_LANES, F(shl_v), 2, IMM_NONE, 0, "vqshl@$(%1,%2)"},
    {"__vqrshl_v", "T TS",   I8_64,  DQ, WALK_LANES, F(shl_v), 3, IMM_NONE, 0, "vqrshl@$(%1,%2)"},
    {"__vshl_ni",  "T T#",   I8_64,  DQ, WALK_LANES, F(shl_i), 0, IMM_LEFT, 0, "vshl@_n$(%1,%i)"},
    {"__vshl_li",  "W T#",   I8_32,  D,  WALK_LANES, F(shl_i), 0, IMM_RIGHT, 0, "vshll_n$(%1,%i)"},
    {"__vqshl_ni", "T T#",   I8_64,  DQ, WALK_LANES, F(qshl_i), 0, IMM_LEFT, 0, "vqshl@_n$(%1,%i)"},
    {"__vqshl_ni", "U T#",   S8_32 | S64, DQ, WALK_LANES, F(qshl_i), 0, IMM_LEFT, 0, "vqshlu@_n$(%1,%i)"},
    {"__vshr_i",   "T T#",   I8_64,  DQ, WALK_LANES, F(shr_i), 0, IMM_RIGHT, 0, "vshr@_n$(%1,%i)"},
    {"__vrshr_i",  "T T#",   I8_64,  DQ, WALK_LANES, F(shr_i), 1, IMM_RIGHT, 0, "vrshr@_n$(%1,%i)"},
    {"__vshr_ni",  "N T#",   I16_64, Q,  WALK_LANES, F(shr_i), 0, IMM_NARROW, 0, "vshrn_n$(%1,%i)"},
    {"__vrshr_ni", "N T#",   I16_64, Q,  WALK_LANES, F(shr_i), 1, IMM_NARROW, 0, "vrshrn_n$(%1,%i)"},
    {"__vqshr_ni", "N T#",   I16_64, Q,  WALK_LANES, F(qshrn), 0, IMM_NARROW, 0, "vqshrn_n$(%1,%i)"},
    {"__vqshr_ni", "V T#",   S16_64, Q,  WALK_LANES, F(qshrn), 0, IMM_NARROW, 0, "vqshrun_n$(%1,%i)"},
    {"__vqrshr_ni", "N T#",  I16_64, Q,  WALK_LANES, F(qshrn), 1, IMM_NARROW, 0, "vqrshrn_n$(%1,%i)"},
    {"__vqrshr_ni", "V T#",  S16_64, Q,  WALK_LANES, F(qshrn), 1, IMM_NARROW, 0, "vqrshrun_n$(%1,%i)"},
    {"__vmov_n",   "N T",    I16_64, Q,  WALK_LANES, F(move), 0, IMM_NONE, 0, "vmovn$(%1)"},

    // what C programs reach besides
    {"__vqmov_n",  "N T",    I16_64, Q,  WALK_LANES, F(qmovn), 0, IMM_NONE, EX, "vqmovn$(%1)"},
    {"__vqmov_n",  "V T",    S16_64, Q,  WALK_LANES, F(qmovn), 0, IMM_NONE, EX, "vqmovun$(%1)"},
    {"__vclz",     "T T",    I8_32,  DQ, WALK_LANES, F(clz), 0, IMM_NONE, EX, "vclz@$(%1)"},
    {"__vcls",     "T T",    S8_32,  DQ, WALK_LANES, F(cls), 0, IMM_NONE, EX, "vcls@$(%1)"},
    {"__vcnt",     "T T",    S8 | one(LANE_u8), DQ, WALK_LANES, F(cnt), 0, IMM_NONE, EX, "vcnt@$(%1)"},
    {"__vmul_p",   "T TT",   one(LANE_u8), DQ, WALK_LANES, F(mul_poly), 0, IMM_NONE, EX | AB, "vmul@_p8((poly8x%n_t)%1,(poly8x%n_t)%2)"},
    {"__vmul_lp",  "W TT",   one(LANE_u8), D,  WALK_LANES, F(mul_poly), 0, IMM_NONE, EX | AB, "vmull_p8((poly8x8_t)%1,(poly8x8_t)%2)"},
    {"__vrecpe",   "T T",    U32,    DQ, WALK_LANES, F(recpe), 0, IMM_NONE, EX, "vrecpe@$(%1)"},
    {"__vrecpe",   "T T",    F32,    DQ, WALK_LANES, F(frecpe), 0, IMM_NONE, EX, "vrecpe@$(%1)"},
    {"__vrsqrte",  "T T",    U32,    DQ, WALK_LANES, F(rsqrte), 0, IMM_NONE, EX, "vrsqrte@$(%1)"},
    {"__vrsqrte",  "T T",    F32,    DQ, WALK_LANES, F(frsqrte), 0, IMM_NONE, EX, "vrsqrte@$(%1)"},
    {"__vrecps",   "T TT",   F32,    DQ, WALK_LANES, F(frecps), 0, IMM_NONE, EX | AB, "vrecps@$(%1,%2)"},
    {"__vrsqrts",  "T TT",   F32,    DQ, WALK_LANES, F(frsqrts), 0, IMM_NONE, EX | AB, "vrsqrts@$(%1,%2)"},
    {"__vtbl",     "T UU",   S8 | one(LANE_u8), D, WALK_TABLE, NO_F, 0, IMM_NONE, EX, "vtbl1_u8(%1,%2)"},

    // packs and changes of shape
    {"__pack",         "* *", 0, 0, WALK_JOIN, NO_F, 0, IMM_NONE, EX, nullptr},
    {"__pack12",       "* *", 0, 0, WALK_JOIN, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__pack1234",     "* *", 0, 0, WALK_JOIN, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__pack12345678", "* *", 0, 0, WALK_JOIN, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__pack1p",       "* *", 0, 0, WALK_SPREAD, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__packm",        "* *", 0, 0, WALK_SPREAD, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__repack",       "* *", 0, 0, WALK_CONVERT, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__s2v",          "* *", 0, 0, WALK_BITS, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__v2s",          "* *", 0, 0, WALK_BITS, NO_F, 0, IMM_NONE, 0, nullptr},
    {"__subvec",       "* *", 0, 0, WALK_PART, NO_F, 0, IMM_PART, 0, nullptr},

#define WORD 0, 0, WALK_LANES
    // halves and words multiplied
    {"_smulbb",  "i ii",  WORD, F(mul_halves), 0, IMM_NONE, WD | AB, "smulbb %0, %1, %2"},
    {"_smulbt",  "i ii",  WORD, F(mul_halves), 2, IMM_NONE, WD, "smulbt %0, %1, %2"},
    {"_smultb",  "i ii",  WORD, F(mul_halves), 1, IMM_NONE, WD, "smultb %0, %1, %2"},
    {"_smultt",  "i ii",  WORD, F(mul_halves), 3, IMM_NONE, WD | AB, "smultt %0, %1, %2"},
    {"_smlabb",  "i iii", WORD, F(mul_halves), 0, IMM_NONE, WD | AB | EX, "smlabb %0, %1, %2, %3"},
    {"_smlabt",  "i iii", WORD, F(mul_halves), 2, IMM_NONE, WD | EX, "smlabt %0, %1, %2, %3"},
    {"_smlatb",  "i iii", WORD, F(mul_halves), 1, IMM_NONE, WD, "smlatb %0, %1, %2, %3"},
    {"_smlatt",  "i iii", WORD, F(mul_halves), 3, IMM_NONE, WD | AB, "smlatt %0, %1, %2, %3"},
    {"_smlalbb", "l lii", WORD, F(mul_halves_long), 0, IMM_NONE, WD | BC, "smlalbb %Q0, %R0, %2, %3"},
    {"_smlalbt", "l lii", WORD, F(mul_halves_long), 2, IMM_NONE, WD, "smlalbt %Q0, %R0, %2, %3"},
    {"_smlaltb", "l lii", WORD, F(mul_halves_long), 1, IMM_NONE, WD, "smlaltb %Q0, %R0, %2, %3"},
    {"_smlaltt", "l lii", WORD, F(mul_halves_long), 3, IMM_NONE, WD | BC, "smlaltt %Q0, %R0, %2, %3"},
    {"_smulwb",  "i ii",  WORD, F(mul_word_half), 0, IMM_NONE, WD, "smulwb %0, %1, %2"},
    {"_smulwt",  "i ii",  WORD, F(mul_word_half), 1, IMM_NONE, WD, "smulwt %0, %1, %2"},
    {"_smlawb",  "i iii", WORD, F(mul_word_half), 0, IMM_NONE, WD, "smlawb %0, %1, %2, %3"},
    {"_smlawt",  "i iii", WORD, F(mul_word_half), 1, IMM_NONE, WD, "smlawt %0, %1, %2, %3"},
    {"_smull",   "l ii",  WORD, F(smull), 0, IMM_NONE, WD | AB, "smull %Q0, %R0, %1, %2"},
    {"_umull",   "L uu",  WORD, F(umull), 0, IMM_NONE, WD | AB, "umull %Q0, %R0, %1, %2"},
    {"_smlal",   "l lii", WORD, F(smlal), 0, IMM_NONE, WD | BC, "smlal %Q0, %R0, %2, %3"},
    {"_umlal",   "L Luu", WORD, F(umlal), 0, IMM_NONE, WD | BC, "umlal %Q0, %R0, %2, %3"},
    {"__umaal",  "L Luu", WORD, F(umaal), 0, IMM_NONE, WD | BC, "umaal %Q0, %R0, %2, %3"},
    {"_umaal",   "L Luu", WORD, F(umaal), 0, IMM_NONE, WD | BC, "umaal %Q0, %R0, %2, %3"},
    {"_smmul",   "i ii",  WORD, F(mul_top), 0, IMM_NONE, WD | AB, "smmul %0, %1, %2"},
    {"_smmulr",  "i ii",  WORD, F(mul_top), 1, IMM_NONE, WD | AB, "smmulr %0, %1, %2"},
    {"_smmla",   "i iii", WORD, F(mul_top), 2, IMM_NONE, WD | AB, "smmla %0, %1, %2, %3"},
    {"_smmlar",  "i iii", WORD, F(mul_top), 3, IMM_NONE, WD | AB, "smmlar %0, %1, %2, %3"},
    {"_smmls",   "i iii", WORD, F(mul_top), 4, IMM_NONE, WD | AB, "smmls %0, %1, %2, %3"},
    {"_smmlsr",  "i iii", WORD, F(mul_top), 5, IMM_NONE, WD | AB, "smmlsr %0, %1, %2, %3"},
    {"_smuad",   "i ii",  WORD, F(dual_mul), 0, IMM_NONE, WD | AB, "smuad %0, %1, %2"},
    {"_smuadx",  "i ii",  WORD, F(dual_mul), 1, IMM_NONE, WD | AB, "smuadx %0, %1, %2"},
    {"_smusd",   "i ii",  WORD, F(dual_mul), 2, IMM_NONE, WD | AB, "smusd %0, %1, %2"},
    {"_smusdx",  "i ii",  WORD, F(dual_mul), 3, IMM_NONE, WD, "smusdx %0, %1, %2"},
    {"_smlad",   "i iii", WORD, F(dual_mul), 0, IMM_NONE, WD | AB, "smlad %0, %1, %2, %3"},
    {"_smladx",  "i iii", WORD, F(dual_mul), 1, IMM_NONE, WD | AB, "smladx %0, %1, %2, %3"},
    {"_smlsd",   "i iii", WORD, F(dual_mul), 2, IMM_NONE, WD | AB, "smlsd %0, %1, %2, %3"},
    {"_smlsdx",  "i iii", WORD, F(dual_mul), 3, IMM_NONE, WD, "smlsdx %0, %1, %2, %3"},
    {"_smlald",  "l lii", WORD, F(dual_mul_long), 0, IMM_NONE, WD | BC, "smlald %Q0, %R0, %2, %3"},
    {"_smlaldx", "l lii", WORD, F(dual_mul_long), 1, IMM_NONE, WD | BC, "smlaldx %Q0, %R0, %2, %3"},
    {"_smlsld",  "l lii", WORD, F(dual_mul_long), 2, IMM_NONE, WD | BC, "smlsld %Q0, %R0, %2, %3"},
    {"_smlsldx", "l lii", WORD, F(dual_mul_long), 3, IMM_NONE, WD | EX, "smlsldx %Q0, %R0, %2, %3"},

    // saturation
    {"_sadd",   "i ii",  WORD, F(sadd), 0, IMM_NONE, WD | AB, "qadd %0, %1, %2"},
    {"_ssub",   "i ii",  WORD, F(ssub), 0, IMM_NONE, WD, "qsub %0, %1, %2"},
    {"_sdadd",  "i ii",  WORD, F(sdadd), 0, IMM_NONE, WD, "qdadd %0, %1, %2"},
    {"_sdsub",  "i ii",  WORD, F(sdsub), 0, IMM_NONE, WD, "qdsub %0, %1, %2"},
    {"_smpy",   "i ii",  WORD, F(smpy), 0, IMM_NONE, WD | AB, "smulbb %0, %1, %2\\n\\tqadd %0, %0, %0"},
    {"_smac",   "i iii", WORD, F(smac), 0, IMM_NONE, WD | BC, "smulbb %0, %2, %3\\n\\tqdadd %0, %1, %0"},
    {"_smsub",  "i iii", WORD, F(smsub), 0, IMM_NONE, WD | BC, "smulbb %0, %2, %3\\n\\tqdsub %0, %1, %0"},
    {"_ssatl",  "i i#s", WORD, F(saturate), 0, IMM_SHIFT, WD, "ssat %0, #%j, %1, lsl #%i"},
    {"_ssata",  "i i#s", WORD, F(saturate), 1, IMM_SHIFT, WD, "ssat %0, #%j, %1, asr #%i"},
    {"_usatl",  "u i#z", WORD, F(saturate), 2, IMM_SHIFT, WD, "usat %0, #%j, %1, lsl #%i"},
    {"_usata",  "u i#z", WORD, F(saturate), 3, IMM_SHIFT, WD, "usat %0, #%j, %1, asr #%i"},
    {"_ssat16", "i i#",  WORD, F(saturate16), 0, IMM_SAT16, WD, "ssat16 %0, #%i, %1"},
    {"_usat16", "i i#",  WORD, F(saturate16), 1, IMM_USAT16, WD, "usat16 %0, #%i, %1"},

    // halves and bytes in parallel
#define PARALLEL(PREFIX, RESULT, BITS)                                                                                       \
    {"_" #PREFIX "add16", RESULT, WORD, F(parallel), 16 | BITS, IMM_NONE, WD | AB, #PREFIX "add16 %0, %1, %2"},             \
    {"_" #PREFIX "sub16", RESULT, WORD, F(parallel), 16 | 64 | BITS, IMM_NONE, WD, #PREFIX "sub16 %0, %1, %2"},             \
    {"_" #PREFIX "add8", RESULT, WORD, F(parallel), 8 | BITS, IMM_NONE, WD | AB, #PREFIX "add8 %0, %1, %2"},                \
    {"_" #PREFIX "sub8", RESULT, WORD, F(parallel), 8 | 64 | BITS, IMM_NONE, WD, #PREFIX "sub8 %0, %1, %2"},                \
    {"_" #PREFIX "addsubx", RESULT, WORD, F(parallel), 16 | 512 | BITS, IMM_NONE, WD, #PREFIX "asx %0, %1, %2"},            \
    {"_" #PREFIX "subaddx", RESULT, WORD, F(parallel), 16 | 1024 | BITS, IMM_NONE, WD, #PREFIX "sax %0, %1, %2"},
    PARALLEL(s, "i ii", 2048)
    PARALLEL(q, "i ii", 2048 | 128)
    PARALLEL(sh, "i ii", 2048 | 256)
    PARALLEL(u, "u uu", 0)
    PARALLEL(uq, "u uu", 128)
    PARALLEL(uh, "u uu", 256)
    {"_usad8",  "u uu",  WORD, F(usad8), 0, IMM_NONE, WD | AB, "usad8 %0, %1, %2"},
    {"_usada8", "u uuu", WORD, F(usad8), 0, IMM_NONE, WD | AB, "usada8 %0, %1, %2, %3"},

    // halves, bytes and bits taken out
    {"_rbit",    "u u",   WORD, F(rbit), 0, IMM_NONE, WD | EX, nullptr},
    {"_pkhbt",   "i ii#", WORD, F(pkhbt), 0, IMM_SHIFT, WD, "pkhbt %0, %1, %2, lsl #%i"},
    {"_pkhtb",   "i ii#", WORD, F(pkhtb), 0, IMM_SHIFT, WD, "pkhtb %0, %1, %2, asr #%i"},
    {"_sxtb",    "i i#",  WORD, F(extend), -8, IMM_ROTATE, WD, "sxtb %0, %1, ror #%i"},
    {"_sxth",    "i i#",  WORD, F(extend), -16, IMM_ROTATE, WD, "sxth %0, %1, ror #%i"},
    {"_uxtb",    "u u#",  WORD, F(extend), 8, IMM_ROTATE, WD, "uxtb %0, %1, ror #%i"},
    {"_uxth",    "u u#",  WORD, F(extend), 16, IMM_ROTATE, WD, "uxth %0, %1, ror #%i"},
    {"_sxtab",   "i ii#", WORD, F(extend_add), -8, IMM_ROTATE, WD, "sxtab %0, %1, %2, ror #%i"},
    {"_sxtah",   "i ii#", WORD, F(extend_add), -16, IMM_ROTATE, WD, "sxtah %0, %1, %2, ror #%i"},
    {"_uxtab",   "u uu#", WORD, F(extend_add), 8, IMM_ROTATE, WD, "uxtab %0, %1, %2, ror #%i"},
    {"_uxtah",   "u uu#", WORD, F(extend_add), 16, IMM_ROTATE, WD, "uxtah %0, %1, %2, ror #%i"},
    {"_sxtb16",  "i i#",  WORD, F(extend16), -8, IMM_ROTATE, WD, "sxtb16 %0, %1, ror #%i"},
    {"_uxtb16",  "u u#",  WORD, F(extend16), 8, IMM_ROTATE, WD, "uxtb16 %0, %1, ror #%i"},
    {"_sxtab16", "i ii#", WORD, F(extend_add16), -8, IMM_ROTATE, WD, "sxtab16 %0, %1, %2, ror #%i"},
    {"_uxtab16", "u uu#", WORD, F(extend_add16), 8, IMM_ROTATE, WD, "uxtab16 %0, %1, %2, ror #%i"},
};
// clang-format on

const std::unordered_map<std::string, std::vector<const INTRIN_ROW *>> &rows_by_name() {
    static const auto map = [] {
        std::unordered_map<std::string, std::vector<const INTRIN_ROW *>> m;
        for (const INTRIN_ROW &r : rows) m[r.name].push_back(&r);
        return m;
    }();
    return map;
}

bool is_immediate(char letter) { return letter == '#' || letter == 's' || letter == 'z'; }

LANE_SHAPE shape_of_letter(char letter, LANE_SHAPE t) {
    unsigned bits = lane_bits(t.lane);
    bool is_signed = lane_is_signed(t.lane);
    auto lanes = [&](unsigned width, bool with_sign, unsigned count) {
        return LANE_SHAPE{lane_of_width(width, with_sign), uint8_t(count)};
    };
    switch (letter) {
    case 'T': return t;
    case 'W': return lanes(bits * 2, is_signed, t.count);
    case 'N': return lanes(bits / 2, is_signed, t.count);
    case 'V': return lanes(bits / 2, false, t.count);
    case 'U': return lanes(bits, false, t.count);
    case 'S': return lanes(bits, true, t.count);
    case 'H': return lanes(bits * 2, is_signed, t.count / 2u);
    case 'u': return {LANE_u32, 1};
    case 'l': return {LANE_s64, 1};
    case 'L': return {LANE_u64, 1};
    default: return {LANE_s32, 1}; // words and immediates
    }
}

INTRIN_FORM form_of(const INTRIN_ROW &r, LANE_SHAPE t) {
    INTRIN_FORM f;
    f.row = &r, f.base = t;
    f.result = shape_of_letter(r.shape[0], t);
    for (const char *p = r.shape + 2; *p; p++) {
        if (is_immediate(*p)) f.immediates |= uint8_t(1u << f.n);
        f.operand[f.n++] = shape_of_letter(*p, t);
    }
    return f;
}

// How well a shape serves as another: 0 not at all.
unsigned fits(LANE_SHAPE have, LANE_SHAPE want, bool is_word) {
    if (have == want) return 4;
    if (lane_is_float(have.lane) != lane_is_float(want.lane)) {
        // masks and other integers of float rows may come as the floats that they were made for
        return 0;
    }
    if (have.count == 1 && want.count == 1) return is_word || have.bits() == want.bits() ? 2 : 0;
    if (have.count == want.count && lane_bits(have.lane) == lane_bits(want.lane)) return 3;
    return is_word && have.bits() == want.bits() ? 2 : 0;
}

bool any_shape_fits(const INTRIN_ROW &r, LANE_SHAPE result, const LANE_SHAPE *o, unsigned n) {
    unsigned lanes = 0;
    for (unsigned i = 0; i < n; i++) lanes += o[i].count;
    switch (r.walk) {
    case WALK_JOIN: return lanes == result.count || (lanes * 2 > result.count && n == 1);
    case WALK_SPREAD: return n >= 1 && lanes <= result.count && (result.count - lanes) % o[n - 1].count == 0;
    case WALK_CONVERT: return n == 1 && o[0].count == result.count;
    case WALK_BITS: return n == 1 && o[0].bits() == result.bits();
    case WALK_PART:
        return n == 2 && o[1].count == 1 && lane_bits(o[0].lane) == lane_bits(result.lane) &&
               o[0].count % result.count == 0;
    default: return false;
    }
}

int32_t signed_width(LANE l) { return lane_is_signed(l) ? -int32_t(lane_bits(l)) : int32_t(lane_bits(l)); }

double as_double(int64_t bits, LANE l) {
    if (l == LANE_f32) {
        uint32_t w = uint32_t(bits);
        float f;
        memcpy(&f, &w, 4);
        return double(f);
    }
    double d;
    memcpy(&d, &bits, 8);
    return d;
}

int64_t of_double(double v, LANE l) {
    if (l == LANE_f32) {
        float f = float(v);
        uint32_t w;
        memcpy(&w, &f, 4);
        return w;
    }
    int64_t bits;
    memcpy(&bits, &v, 8);
    return bits;
}

// As C converts, a float that does not fit going to the nearest value and what is no number to 0.
int64_t convert_lane(int64_t v, LANE from, LANE to) {
    if (from == to) return v;
    if (lane_is_float(from)) {
        double d = as_double(v, from);
        if (lane_is_float(to)) return of_double(d, to);
        if (d != d) return 0;
        double top = double(ql_lane_top(signed_width(to))), bottom = double(ql_lane_bottom(signed_width(to)));
        if (to == LANE_u64) return d <= 0 ? 0 : d >= 0x1p64 ? -1 : int64_t(uint64_t(d));
        if (to == LANE_s64) return d <= bottom ? INT64_MIN : d >= 0x1p63 ? INT64_MAX : int64_t(d);
        return int64_t(d < bottom ? bottom : d > top ? top : d);
    }
    if (!lane_is_float(to)) return lane_fit(v, to);
    if (to == LANE_f64) return of_double(from == LANE_u64 ? double(uint64_t(v)) : double(v), to);
    float f = from == LANE_u64 ? float(uint64_t(v)) : float(v); // rounded once
    uint32_t w;
    memcpy(&w, &f, 4);
    return w;
}

} // namespace

// --- lanes ---

unsigned lane_bits(LANE l) {
    static const uint8_t bits[] = {8, 8, 16, 16, 32, 32, 64, 64, 32, 64, 0};
    return bits[l];
}
bool lane_is_signed(LANE l) { return l <= LANE_s64 && l % 2 == 0; }
LANE lane_of_width(unsigned bits, bool is_signed) {
    LANE l = bits == 8 ? LANE_s8 : bits == 16 ? LANE_s16 : bits == 32 ? LANE_s32 : LANE_s64;
    if (bits != lane_bits(l)) return LANE_none;
    return is_signed ? l : LANE(l + 1);
}
int64_t lane_fit(int64_t v, LANE l) { return ql_lane_fit(v, signed_width(l)); }

void lanes_as(const LANES &from, LANE_SHAPE a, LANES &to, LANE_SHAPE b) {
    if (a == b || (a.count == b.count && lane_bits(a.lane) == lane_bits(b.lane))) {
        for (unsigned i = 0; i < b.count; i++) to.v[i] = lane_fit(from.v[i], b.lane);
        return;
    }
    if (a.count == 1 && b.count == 1) {
        to.v[0] = convert_lane(from.v[0], a.lane, b.lane);
        return;
    }
    uint8_t bytes[128] = {};
    unsigned aw = lane_bits(a.lane) / 8, bw = lane_bits(b.lane) / 8;
    for (unsigned i = 0; i < a.count; i++) // the low byte first, on any host
        for (unsigned j = 0; j < aw; j++) bytes[i * aw + j] = uint8_t(uint64_t(from.v[i]) >> (8 * j));
    for (unsigned i = 0; i < b.count; i++) {
        uint64_t v = 0;
        for (unsigned j = bw; j-- > 0;) v = v << 8 | bytes[i * bw + j];
        to.v[i] = lane_fit(int64_t(v), b.lane);
    }
}

// --- the table ---

const INTRIN_ROW *intrin_rows(size_t &count) {
    count = sizeof rows / sizeof rows[0];
    return rows;
}

bool intrin_is_known(const char *name) { return rows_by_name().count(name) != 0; }

INTRIN_FORM intrin_find(const char *name, LANE_SHAPE result, const LANE_SHAPE *operands, unsigned n) {
    INTRIN_FORM best;
    unsigned best_score = 0;
    auto it = rows_by_name().find(name);
    if (it == rows_by_name().end() || n > INTRIN_OPERANDS) return best;
    for (const INTRIN_ROW *r : it->second) {
        if (r->shape[0] == '*') {
            if (!any_shape_fits(*r, result, operands, n)) continue;
            best.row = r, best.result = best.base = result, best.n = uint8_t(n);
            for (unsigned i = 0; i < n; i++) best.operand[i] = operands[i];
            if (r->walk == WALK_PART) best.immediates = 2;
            return best;
        }
        bool is_word = (r->flags & INTRIN_WORD) != 0;
        for (const INTRIN_FORM &f : intrin_forms(*r)) {
            if (f.n != n) continue;
            unsigned score = fits(result, f.result, is_word);
            for (unsigned i = 0; i < n && score; i++) {
                bool immediate = f.immediates >> i & 1;
                unsigned s = fits(operands[i], f.operand[i], is_word || immediate);
                score = s ? score + s : 0;
            }
            if (score > best_score) best = f, best_score = score;
        }
    }
    return best;
}

std::vector<INTRIN_FORM> intrin_forms(const INTRIN_ROW &r) {
    std::vector<INTRIN_FORM> forms;
    if (r.shape[0] == '*') return forms;
    if (r.flags & INTRIN_WORD) forms.push_back(form_of(r, {LANE_s32, 1}));
    for (unsigned l = LANE_s8; l <= LANE_f32; l++)
        for (unsigned bits : {64u, 128u})
            if ((r.lanes >> l & 1) && (r.registers & (bits == 64 ? D : Q)))
                forms.push_back(form_of(r, {LANE(l), uint8_t(bits / lane_bits(LANE(l)))}));
    return forms;
}

bool intrin_immediate_fits(const INTRIN_FORM &f, unsigned operand, int64_t v) {
    if (!(f.immediates >> operand & 1)) return true;
    auto within = [v](int64_t low, int64_t high) { return v >= low && v <= high; };
    char letter = f.row->shape[0] == '*' ? '#' : f.row->shape[2 + operand];
    int64_t width = lane_bits(f.base.lane);
    switch (letter == 's' ? IMM_SAT : letter == 'z' ? IMM_USAT : f.row->imm) {
    case IMM_NONE: return true;
    case IMM_LEFT: return within(0, width - 1);
    case IMM_RIGHT: return within(1, width);
    case IMM_NARROW: return within(1, width / 2);
    case IMM_BYTE:
        for (int shift = 0; shift < width; shift += 8)
            if ((v & int64_t(0xFF) << shift) == v) return true;
        return false;
    case IMM_ROTATE: return within(0, 24) && v % 8 == 0;
    case IMM_SHIFT: return within(0, 31);
    case IMM_SAT: return within(1, 32);
    case IMM_USAT: return within(0, 31);
    case IMM_SAT16: return within(1, 16);
    case IMM_USAT16: return within(0, 15);
    case IMM_PART: return within(0, f.operand[0].count / f.result.count - 1);
    }
    return false;
}

// --- evaluation ---

namespace {

void eval_lanes(const INTRIN_FORM &f, const LANES *o, LANES *r, int32_t from, int32_t to) {
    auto at = [&](unsigned k, unsigned i) {
        return k < f.n ? o[k].v[f.operand[k].count == 1 ? 0 : i] : int64_t(0);
    };
    for (unsigned i = 0; i < f.result.count; i++)
        r->v[i] = lane_fit(f.row->fn(at(0, i), at(1, i), at(2, i), from, to, f.row->k), f.result.lane);
}

void eval_pairs(const INTRIN_FORM &f, const LANES *o, LANES *r, int32_t from, int32_t to) {
    bool acc = f.row->walk == WALK_PAIRS_ACC;
    unsigned first = acc ? 1 : 0;
    unsigned pairs = f.operand[first].count / 2u;
    for (unsigned i = 0; i < f.result.count; i++) {
        const LANES &v = o[first + i / pairs];
        unsigned at = i % pairs * 2;
        int64_t x = f.row->fn(v.v[at], v.v[at + 1], 0, from, to, f.row->k);
        if (acc) x = int64_t(uint64_t(x) + uint64_t(o[0].v[i]));
        r->v[i] = lane_fit(x, f.result.lane);
    }
}

void eval_join(const INTRIN_FORM &f, const LANES *o, LANES *r) {
    unsigned k = 0, at = 0;
    for (unsigned i = 0; i < f.result.count; i++, at++) {
        if (at == f.operand[k].count) {
            at = 0;
            if (k + 1 < f.n) k++;
            else if (f.row->walk != WALK_SPREAD) return;
        }
        r->v[i] = convert_lane(o[k].v[at], f.operand[k].lane, f.result.lane);
    }
}

} // namespace

void intrin_eval(const INTRIN_FORM &f, const LANES *o, LANES *result) {
    LANES r;
    unsigned last = f.n;
    while (last > 1 && (f.immediates >> (last - 1) & 1)) last--;
    int32_t from = signed_width(f.operand[last ? last - 1 : 0].lane), to = signed_width(f.result.lane);
    switch (f.row->walk) {
    case WALK_LANES: eval_lanes(f, o, &r, from, to); break;
    case WALK_PAIRS:
    case WALK_PAIRS_ACC: eval_pairs(f, o, &r, from, to); break;
    case WALK_TABLE:
        for (unsigned i = 0; i < f.result.count; i++) {
            uint64_t at = uint64_t(o[1].v[i]);
            r.v[i] = at < f.operand[0].count ? lane_fit(o[0].v[at], f.result.lane) : 0;
        }
        break;
    case WALK_JOIN:
    case WALK_SPREAD: eval_join(f, o, &r); break;
    case WALK_PART: {
        uint64_t first = uint64_t(o[1].v[0]) * f.result.count;
        for (unsigned i = 0; i < f.result.count && first + i < f.operand[0].count; i++)
            r.v[i] = lane_fit(o[0].v[first + i], f.result.lane);
        break;
    }
    case WALK_CONVERT:
        for (unsigned i = 0; i < f.result.count; i++)
            r.v[i] = convert_lane(o[0].v[i], f.operand[0].lane, f.result.lane);
        break;
    case WALK_BITS: lanes_as(o[0], f.operand[0], r, f.result); break;
    }
    *result = r;
}

// --- text ---

std::vector<std::string> lane_function_names(const std::string &name) {
    std::vector<std::string> names;
    for (const LANE_TEXT &t : lane_texts) {
        if (name != t.name) continue;
        for (const char *p = t.body; (p = strstr(p, "ql_lane_"));) {
            p += strlen("ql_lane_");
            std::string used(p, strcspn(p, "("));
            for (const std::string &n : lane_function_names(used)) {
                bool seen = false;
                for (const std::string &have : names) seen |= have == n;
                if (!seen) names.push_back(n);
            }
        }
        names.push_back(name);
    }
    return names;
}

std::string lane_function_text(const std::string &name) {
    for (const LANE_TEXT &t : lane_texts)
        if (name == t.name) return std::string("static inline ") + t.head + " " + t.body + "\n";
    return "";
}
