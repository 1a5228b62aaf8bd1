#include "OPT5/biftarget.h"

#include "OPT5/bif.h"
#include "OPT5/ddvpset.h"
#include "OPT5/flags.h"
#include "OPT5/icmult.h"
#include "OPT5/optab.h"
#include "options/opttable.h"

namespace {

enum WHEN {
    ALWAYS,
    ON_MICROCONTROLLERS,
    FROM_V6,
    FROM_V6_BUT_NOT_ON_MICROCONTROLLERS,
    WITH_BARRIER_INSTRUCTIONS
};

long silicon() {
    bool is_given = file_options && file_options->testopt(OO_SILICON_VERSION);
    return is_given ? file_options->getnumarg(OO_SILICON_VERSION) : 0;
}

bool is_microcontroller() {
    long version = silicon();
    return version == ENUM_SILICON_6M0 || version == ENUM_SILICON_7M3 || version == ENUM_SILICON_7M4;
}

bool holds(WHEN when) {
    switch (when) {
    case ALWAYS: return true;
    case ON_MICROCONTROLLERS: return is_microcontroller();
    case FROM_V6: return cpu_version >= 6;
    case FROM_V6_BUT_NOT_ON_MICROCONTROLLERS: return cpu_version >= 6 && !is_microcontroller();
    case WITH_BARRIER_INSTRUCTIONS: return cpu_version > 6 || silicon() == ENUM_SILICON_6M0;
    }
    return false;
}

constexpr uint32_t NO_CSE = BIF_flag_word(0, BIF_MUST_NOT_CSE);
constexpr uint32_t NO_CSE_OPDS = BIF_flag_word(0, BIF_OPDS_MUST_NOT_CSE);
constexpr uint32_t ORDERED = NO_CSE | BIF_flag_word(0, 0, BIF_IS_BARRIER);
constexpr uint32_t COPROCESSOR = ORDERED | NO_CSE_OPDS;
constexpr uint32_t COMMUTES = BIF_flag_word(BIF_OPDS_0_1_COMMUTE);
constexpr uint32_t COMMUTES_IN_TOWERS = COMMUTES | BIF_flag_word(BIF_TOWERS_LIKE_PLUS);
constexpr uint32_t ADDRESS = BIF_flag_word(0, 0, BIF_YIELDS_ADDRESS);

struct TARGET_ROW {
    WHEN when;
    const char *generic; // of which it is an instance; null: the rest of the row describes it
    BIF_ROW row;
};

// clang-format off
const TARGET_ROW rows[] = {
    // multiplies of halves (b: bottom, t: top), with a third operand added, and of words to a double word
    {ALWAYS, nullptr, {"_smulbb", ICALL, "int", "short a, short b",        COMMUTES_IN_TOWERS, simp_MPY_ICALL, eval_MPY_ICALL}},
    {ALWAYS, nullptr, {"_smulbt", ICALL, "int", "short a, int b",          0,        simp_MPY_ICALL, eval_MPY_ICALL}},
    {ALWAYS, nullptr, {"_smultb", ICALL, "int", "int a, short b",          0,        simp_MPY_ICALL, eval_MPY_ICALL}},
    {ALWAYS, nullptr, {"_smultt", ICALL, "int", "int a, int b",            COMMUTES, simp_MPY_ICALL, eval_MPY_ICALL}},
    {ALWAYS, nullptr, {"_smlabb", ICALL, "int", "short a, short b, int c", COMMUTES}},
    {ALWAYS, nullptr, {"_smlatt", ICALL, "int", "int a, int b, int c",     COMMUTES}},
    {ALWAYS, nullptr, {"_smlabt", ICALL, "int", "short a, int b, int c",   0,        nullptr, nullptr}},
    {ALWAYS, nullptr, {"_smlatb", ICALL, "int", "int a, short b, int c",   0,        nullptr, nullptr}},
    {ALWAYS, nullptr, {"_smull",  ICALL, "llong",  "int a, int b",         COMMUTES, simp_MPY_32_32_64_ICALL, eval_MPY_32_32_64_ICALL}},
    {ALWAYS, nullptr, {"_umull",  ICALL, "ullong", "uint a, uint b",       COMMUTES, simp_MPY_32_32_64_ICALL, eval_MPY_32_32_64_ICALL}},

    // the state of the machine
    {ALWAYS, nullptr, {"__curpc",             UMCALL, "void*", "",         0,           nullptr, nullptr}},
    {ALWAYS, nullptr, {"__run_address_check", UMCALL, "int",   "",         0,           nullptr, nullptr}},
    {ALWAYS, nullptr, {"__curfp",             MCALL,  "void",  "",         0,           nullptr, nullptr}},
    {ALWAYS, nullptr, {"__cursp",             MCALL,  "void",  "",         0,           nullptr, nullptr}},
    {ALWAYS, nullptr, {"_delay_cycles",       MCALL,  "void",  "uint a",   NO_CSE_OPDS}},
    {ALWAYS, nullptr, {"__delay_cycles",      MCALL,  "void",  "uint a",   NO_CSE_OPDS}},
    {ALWAYS, nullptr, {"_get_CPSR",           UMCALL, "uint",  "",         NO_CSE,      nullptr, nullptr}},
    {ALWAYS, "BARRIER_WITH_ARG",   {"_set_CPSR"}},
    {ALWAYS, "BARRIER_WITH_ARG",   {"_set_CPSR_flg"}},
    {ALWAYS, "BARRIER_WITH_ARG",   {"_call_swi"}},
    {ALWAYS, "DISABLE_INTERRUPTS", {"_disable_interrupts"}},
    {ALWAYS, "DISABLE_INTERRUPTS", {"_disable_IRQ"}},
    {ALWAYS, "DISABLE_INTERRUPTS", {"_disable_FIQ"}},
    {ALWAYS, "ENABLE_INTERRUPTS",  {"_enable_interrupts"}},
    {ALWAYS, "ENABLE_INTERRUPTS",  {"_enable_IRQ"}},
    {ALWAYS, "ENABLE_INTERRUPTS",  {"_enable_FIQ"}},
    {ALWAYS, "RESTORE_INTERRUPTS", {"_restore_interrupts"}},
    {ON_MICROCONTROLLERS, nullptr, {"_set_interrupt_priority", MCALL, "uint", "uint a", ORDERED}},
    {ON_MICROCONTROLLERS, nullptr, {"__get_MSP",     UMCALL, "uint", "", 0}},
    {ON_MICROCONTROLLERS, nullptr, {"__get_PRIMASK", UMCALL, "uint", "", 0}},
    {ON_MICROCONTROLLERS, "BARRIER_WITH_ARG", {"__set_MSP"}},
    {ON_MICROCONTROLLERS, "BARRIER_WITH_ARG", {"__set_PRIMASK"}},

    // exclusive accesses, barriers, bit aliases
    {FROM_V6, nullptr, {"__ldrexb", MCALL, "uint", "void* a",           ORDERED}},
    {FROM_V6, nullptr, {"__ldrexh", MCALL, "uint", "void* a",           ORDERED}},
    {FROM_V6, nullptr, {"__ldrex",  MCALL, "uint", "void* a",           ORDERED}},
    {FROM_V6, nullptr, {"__strexb", MCALL, "int",  "schar a, void* b",  ORDERED}},
    {FROM_V6, nullptr, {"__strexh", MCALL, "int",  "ushort a, void* b", ORDERED}},
    {FROM_V6, nullptr, {"__strex",  MCALL, "int",  "uint a, void* b",   ORDERED}},
    {FROM_V6_BUT_NOT_ON_MICROCONTROLLERS, nullptr, {"__ldrexd", MCALL, "llong", "void* a",        ORDERED}},
    {FROM_V6_BUT_NOT_ON_MICROCONTROLLERS, nullptr, {"__strexd", MCALL, "int", "llong a, void* b", ORDERED}},
    {WITH_BARRIER_INSTRUCTIONS, "BARRIER", {"_dmb"}},
    {WITH_BARRIER_INSTRUCTIONS, "BARRIER", {"_dsb"}},
    {WITH_BARRIER_INSTRUCTIONS, "BARRIER", {"_isb"}},
    {ON_MICROCONTROLLERS, nullptr, {"__bitband", ICALL, "vchar*", "volatile* a, uint o, uint i", ADDRESS}},

    // coprocessor transfers
    {ALWAYS, nullptr, {"__MCR",   MCALL, "void",   "uint a, uint b, uint c, uint d, uint e, uint f", COPROCESSOR}},
    {ALWAYS, nullptr, {"__MCR2",  MCALL, "void",   "uint a, uint b, uint c, uint d, uint e, uint f", COPROCESSOR}},
    {ALWAYS, nullptr, {"__MRC",   MCALL, "uint",   "uint a, uint b, uint c, uint d, uint e",         COPROCESSOR}},
    {ALWAYS, nullptr, {"__MRC2",  MCALL, "uint",   "uint a, uint b, uint c, uint d, uint e",         COPROCESSOR}},
    {ALWAYS, nullptr, {"__MCRR",  MCALL, "void",   "uint a, uint b, uint c, uint d",                 COPROCESSOR}},
    {ALWAYS, nullptr, {"__MCRR2", MCALL, "void",   "uint a, uint b, uint c, uint d",                 COPROCESSOR}},
    {ALWAYS, nullptr, {"__MRRC",  MCALL, "ullong", "uint a, uint b, uint c",                         COPROCESSOR}},
    {ALWAYS, nullptr, {"__MRRC2", MCALL, "ullong", "uint a, uint b, uint c",                         COPROCESSOR}},
};
// clang-format on

} // namespace

void init_BIFs_for_target() {
    for (const TARGET_ROW &row : rows) {
        if (!holds(row.when)) continue;
        if (row.generic) instantiate_generic_BIF(row.row.name, find_BIF_descriptor(row.generic));
        else make_BIF_from_row(row.row);
    }
}
