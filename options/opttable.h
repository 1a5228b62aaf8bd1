// The options of qlopt: one row each, from which everything else is made.
//
// The row of an option says how it is spelled (a long name, further long names, a single-letter form), what
// argument it takes and within which bounds, which texts an enumerated argument may have, and what it is for.
// The parser builds its name tree from these rows, help and documentation print them, and option_obj stores
// values by them. Adding an option is adding a row here and a name to option_id.
//
// Ids and enumerator values are part of the toolchain's common vocabulary and never change meaning; spellings
// may gain further forms. Ids 0, 12 and 62 are reserved: they have no spelling, so nothing can set them.
#ifndef OPTIONS_OPTTABLE_H
#define OPTIONS_OPTTABLE_H

#include <string>

// clang-format off
enum option_id : int {
    OO_ABI = 1,                 OO_ADVICE_PERFORMANCE = 2,  OO_ALIASED_VARIABLES = 3,   OO_AUTO_INLINE = 4,
    OO_AUX_FLAGS = 5,           OO_BIG_ENDIAN = 6,          OO_BYTE_MODE = 7,           OO_PROGRAM_MODE = 8,
    OO_IGNORE_FILE_OPTIONS = 9, OO_CODE_STATE = 10,         OO_DEBUG = 11,              OO_DIAG_WRAP = 13,
    OO_DISABLE = 14,            OO_DISABLE_INLINING = 15,   OO_DUMP_CALL_GRAPH = 16,    OO_DUMP_OPTIONS = 17,
    OO_DWIM_LOOPS = 18,         OO_ENABLE = 19,             OO_ENDIAN = 20,             OO_FAR_EXTERNS = 21,
    OO_FLOAT_SUPPORT = 22,      OO_FP_MODE = 23,            OO_FP_REASSOC = 24,         OO_GEN_DATA_SUBSECTIONS = 25,
    OO_GEN_FUNC_SUBSECTIONS = 26, OO_GEN_OPT_INFO = 27,     OO_GLOBAL_REGISTER = 28,    OO_HELP = 29,
    OO_INLINE_RECURSION_LIMIT = 30, OO_INTERRUPT_THRESHOLD = 31, OO_KEEP_OPT_IFILE = 32, OO_KR_COMPATIBLE = 33,
    OO_LIST_PASSES = 34,        OO_MAX_UNROLLED_LOOP_SIZE = 35, OO_MEM_MODEL_CODE = 36, OO_MEM_MODEL_DATA = 37,
    OO_NEON = 38,               OO_NO_BAD_ALIASES = 39,     OO_NON_REENTRANT = 40,      OO_OPT_FOR_CACHE = 41,
    OO_OPT_FOR_SPACE = 42,      OO_OPT_FOR_SPEED = 43,      OO_INFO_FILE = 44,          OO_OPT_LEVEL = 45,
    OO_FORCED_PASSES = 46,      OO_OPTIMIZER_INTERLIST = 47, OO_PASS_ARGS_IN_REGS = 48, OO_PRINT_DEBUG = 49,
    OO_REMOVE_HOOKS_WHEN_INLINING = 50, OO_SAT_REASSOC = 51, OO_SECTION_SIZES = 52,     OO_SILICON_VERSION = 53,
    OO_SINGLE_INLINE = 54,      OO_SIZE_SPEED_GOAL = 55,    OO_STD_LIB_FUNC_DEFINED = 56, OO_STD_LIB_FUNC_NOT_DEFINED = 57,
    OO_STD_LIB_FUNC_REDEFINED = 58, OO_THUMB_STATE = 59,    OO_TOOLVERSION = 60,        OO_UNSIGNED_OK_FOR_RPTB = 61,
    OO_USE_CONST_FOR_ALIAS_ANALYSIS = 63, OO_USE_G2 = 64,   OO_USE_G3 = 65,             OO_USE_LLVM = 66,
    OO_VECTORIZE = 67,          OO_VOLIT_VARS = 68,
};
constexpr int OPTION_COUNT = 69;

// The values that enumerated arguments stand for.
enum option_enumerator_value : long {
    ENUM_ABI_LEGACY = 0,        ENUM_ABI_EABI = 1,
    ENUM_CODE_16 = 4,           ENUM_CODE_32 = 5,
    ENUM_DIAG_WRAP_OFF = 6,     ENUM_DIAG_WRAP_ON = 7,
    ENUM_ENDIAN_BIG = 8,        ENUM_ENDIAN_LITTLE = 9,
    ENUM_FLOAT_VFPV2 = 10,      ENUM_FLOAT_VFPV3D16 = 11,   ENUM_FLOAT_VFPV3 = 12,      ENUM_FLOAT_FPV4SPD16 = 13,
    ENUM_FLOAT_VFPV4 = 14,      ENUM_FLOAT_NONE = 15,
    ENUM_FP_RELAXED = 17,       ENUM_FP_STRICT = 18,
    ENUM_FP_REASSOC_OFF = 19,   ENUM_FP_REASSOC_ON = 20,
    ENUM_DATA_SUBSECTIONS_OFF = 21, ENUM_DATA_SUBSECTIONS_ON = 22,
    ENUM_FUNC_SUBSECTIONS_OFF = 23, ENUM_FUNC_SUBSECTIONS_ON = 24,
    ENUM_MEM_CODE_FAR = 25,     ENUM_MEM_CODE_NEAR = 26,
    ENUM_MEM_DATA_FAR = 29,     ENUM_MEM_DATA_NEAR = 30,
    ENUM_OPT_LEVEL_OFF = 37,    ENUM_OPT_LEVEL_1 = 38,      ENUM_OPT_LEVEL_2 = 39,      ENUM_OPT_LEVEL_3 = 40,
    ENUM_OPT_LEVEL_4 = 41,      ENUM_OPT_LEVEL_0 = 42,
    ENUM_SAT_REASSOC_OFF = 43,  ENUM_SAT_REASSOC_ON = 44,
    ENUM_SECTION_SIZES_OFF = 45, ENUM_SECTION_SIZES_ON = 46,
    ENUM_SILICON_4 = 47,        ENUM_SILICON_5E = 48,       ENUM_SILICON_6 = 49,        ENUM_SILICON_6M0 = 50,
    ENUM_SILICON_7A8 = 51,      ENUM_SILICON_7M3 = 52,      ENUM_SILICON_7M4 = 53,      ENUM_SILICON_7R4 = 54,
    ENUM_SILICON_7R5 = 55,
    ENUM_SPEED_GOAL_5 = 56,     ENUM_SPEED_GOAL_0 = 57,     ENUM_SPEED_GOAL_3 = 58,     ENUM_SPEED_GOAL_2 = 59,
    ENUM_SPEED_GOAL_4 = 60,     ENUM_SPEED_GOAL_1 = 61,
    ENUM_VECTORIZE_OFF = 62,    ENUM_VECTORIZE_ON = 63,
};
// clang-format on

// What an option's argument is, and how it is stored.
enum parm_kind : unsigned char {
    PARM_NONE = 0,
    PARM_STRING = 1,
    PARM_NUMBER = 2,
    PARM_HEXNUM = 3,
    PARM_ONEOF = 4,
    PARM_STRING_LIST = 5, // this and the following collect one value for each use
    PARM_NUMBER_LIST = 6,
    PARM_ONEOF_LIST = 7,
};

// How an argument stands in the text of an option. Numbers are signed unless the name says otherwise. A required
// one may be the next argument of the command line, an optional one follows the name directly or behind "=".
enum parse_option_type : unsigned char {
    PARSE_NUMBER = 0,
    PARSE_NUMBER_LIST = 1,
    PARSE_UNSIGNED = 2,
    PARSE_TEXT = 3,
    PARSE_TEXT_LIST = 4,
    PARSE_LEVEL = 5,
    PARSE_ONEOF = 6,
    PARSE_ONEOF_LIST = 7,
    PARSE_LIMIT = 8,
    PARSE_OPTIONAL_NUMBER = 9,
    PARSE_OPTIONAL_NUMBER_LIST = 10,
    PARSE_OPTIONAL_UNSIGNED = 11,
    PARSE_OPTIONAL_TEXT = 12,
    PARSE_OPTIONAL_TEXT_LIST = 13,
    PARSE_OPTIONAL_LEVEL = 14,
    PARSE_OPTIONAL_ONEOF = 15,
    PARSE_OPTIONAL_ONEOF_LIST = 16,
    PARSE_OPTIONAL_LIMIT = 17,
    PARSE_NOTHING = 18, // and above: the option takes no argument
};

// Groups of options, for help and for handling several at once.
enum class class_id : unsigned char {
    all = 0,
    basic,
    optimization,
    assumptions,
    target,
    listing,
    debugging,
};
constexpr int OPTION_CLASS_COUNT = 7;

struct option_enumerator {
    const char *text; // behind one mark character: "*" deprecated, " " not
    long value;
};

struct option_definition {
    const char *name; // null: reserved id
    const char *further_names[4];
    const char *letter; // single-letter form, with a digit where the letter alone is not enough; null: none
    parm_kind kind;
    parse_option_type parse_type;
    const char *parameter; // what messages call the argument; null without one
    long low, high;        // bounds of a numeric argument
    long fallback;         // value of an optional argument that is absent
    bool persistent;       // can't be cleared once set
    class_id group;
    const option_enumerator *enumerators; // ends at a null text; null unless the kind is an enumerated one
    const char *help;
    const char *more_help; // null: nothing to add
};

extern const option_definition option_definitions[OPTION_COUNT];

// Bounds of a number that is only limited by its type.
constexpr long NUMBER_MAX = 0x7FFFFFFF;
constexpr long UNSIGNED_MAX = 0xFFFFFFFF;

inline bool option_takes_list(int id) { return option_definitions[id].kind >= PARM_STRING_LIST; }
inline bool option_is_text(int id) {
    return option_definitions[id].kind == PARM_STRING || option_definitions[id].kind == PARM_STRING_LIST;
}
inline bool option_is_enumerated(int id) {
    return option_definitions[id].kind == PARM_ONEOF || option_definitions[id].kind == PARM_ONEOF_LIST;
}

// The text of an enumerator without its mark; null when the option has no such value.
const char *enumerator_text(int id, long value);

// The rank of an enumerator in its table, or -1.
int enumerator_rank(int id, long value);

// The accepted texts of an option, "off,on", without deprecated ones.
std::string enumerator_list(int id);

// The name of a group as help and documentation print it.
const char *class_title(class_id group);

// "--opt_level=0,1,2", the spelling with its parameter. Ids without spelling give an empty text.
std::string get_opt_txt(int id);

#endif
