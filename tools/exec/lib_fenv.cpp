// fenv.h: the host's flags and rounding under the target's numbers.
#include <cfenv>

#include "tools/exec/library.h"

namespace {

const struct {
    uint32_t arm;
    int host;
} flags[] = {{1, FE_INVALID}, {2, FE_DIVBYZERO}, {4, FE_OVERFLOW}, {8, FE_UNDERFLOW}, {16, FE_INEXACT}},
  roundings[] = {
      {0, FE_TONEAREST}, {0x400000, FE_UPWARD}, {0x800000, FE_DOWNWARD}, {0xC00000, FE_TOWARDZERO}};

int to_host(uint32_t arm) {
    int host = 0;
    for (auto &f : flags)
        if (arm & f.arm) host |= f.host;
    return host;
}
uint32_t to_arm(int host) {
    uint32_t arm = 0;
    for (auto &f : flags)
        if (host & f.host) arm |= f.arm;
    return arm;
}
uint32_t rounding() {
    for (auto &r : roundings)
        if (fegetround() == r.host) return r.arm;
    return 0;
}
uint64_t set_rounding(uint32_t arm) {
    for (auto &r : roundings)
        if (arm == r.arm) return uint64_t(fesetround(r.host));
    return 1;
}
// An environment is one word, the status register: flags and rounding. -1 is the default one.
uint32_t environment() { return rounding() | to_arm(fetestexcept(FE_ALL_EXCEPT)); }
uint64_t set_environment(uint32_t a) {
    uint32_t word = a == 0xFFFFFFFF ? 0 : get_u32(a);
    feclearexcept(FE_ALL_EXCEPT);
    feraiseexcept(to_host(word & 31));
    return set_rounding(word & 0xC00000);
}
uint64_t do_feupdateenv(CALL_CONTEXT &c) {
    int raised = fetestexcept(FE_ALL_EXCEPT);
    uint64_t status = set_environment(c.u32(0));
    feraiseexcept(raised);
    return status;
}
uint64_t do_fesetexceptflag(CALL_CONTEXT &c) {
    uint32_t set = get_u32(c.u32(0));
    feclearexcept(to_host(c.u32(1)));
    return uint64_t(feraiseexcept(to_host(set & c.u32(1))));
}

} // namespace

// clang-format off
const LIBRARY_ROW library_fenv[] = {
    {"feclearexcept",   FN(uint64_t(feclearexcept(to_host(c.u32(0)))))},
    {"feraiseexcept",   FN(uint64_t(feraiseexcept(to_host(c.u32(0)))))},
    {"fetestexcept",    FN(to_arm(fetestexcept(to_host(c.u32(0)))))},
    {"fegetexceptflag", DO(put_u32(c.u32(0), to_arm(fetestexcept(to_host(c.u32(1))))); return 0;)},
    {"fesetexceptflag", do_fesetexceptflag},
    {"fegetround",      FN(rounding())},
    {"fesetround",      FN(set_rounding(c.u32(0)))},
    {"fegetenv",        DO(put_u32(c.u32(0), environment()); return 0;)},
    {"feholdexcept",    DO(put_u32(c.u32(0), environment()); feclearexcept(FE_ALL_EXCEPT); return 0;)},
    {"fesetenv",        FN(set_environment(c.u32(0)))},
    {"feupdateenv",     do_feupdateenv},
    {"feenableexcept",  FN(sx(-1))}, // the unit of the target does not trap either
    {"fedisableexcept", FN(0)},
    {"fegetexcept",     FN(0)},
    {nullptr, nullptr},
};
// clang-format on
