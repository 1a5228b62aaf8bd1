#include "tools/gen/names.h"

#include <cctype>

namespace {

// Keywords, the names that the generated text defines for itself, and macros of the target's compiler.
const std::unordered_set<std::string_view> &reserved() {
    static const std::unordered_set<std::string_view> names{
        "asm",    "auto",   "break",    "case",     "char",   "const",    "continue", "default",  "do",
        "double", "else",   "enum",     "extern",   "float",  "for",      "goto",     "if",       "inline",
        "int",    "long",   "register", "restrict", "return", "short",    "signed",   "sizeof",   "static",
        "struct", "switch", "typedef",  "typeof",   "union",  "unsigned", "void",     "volatile", "while",
        "linux",  "unix",   "arm",      "s8",       "u8",     "c8",       "s16",      "u16",      "s32",
        "u32",    "s64",    "u64",      "f32",      "f64",    "cf32",     "cf64"};
    return names;
}

// What arm_neon.h defines when it is included: vaddq_s8 and the like, and its types.
bool is_of_arm_neon(std::string_view s) {
    size_t end = s.find_last_not_of("0123456789x_t");
    bool typed = end != std::string_view::npos && end + 1 < s.size() && end > 0;
    if (!typed) return false;
    bool function = s[0] == 'v' && s[1] != '_' && s[end - 1] == '_' &&
                    std::string_view("supfn").find(s[end]) != std::string_view::npos;
    bool type = s.size() > 2 && s.substr(s.size() - 2) == "_t" &&
                s.find_first_of("0123456789") != std::string_view::npos;
    return function || type;
}

} // namespace

bool is_plain_identifier(std::string_view s) {
    if (s.empty() || std::isdigit(static_cast<unsigned char>(s[0])) || reserved().count(s)) return false;
    if (s.substr(0, 3) == "ql_" || is_of_arm_neon(s)) return false;
    // Of the names with a leading underscore, those with a capital behind it are keywords (_Bool, _Complex ...).
    if (s.size() > 1 && s[0] == '_' && std::isupper(static_cast<unsigned char>(s[1]))) return false;
    for (char c : s)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '_') return false;
    return s.substr(0, 2) != "__" || s.substr(0, 9) == "__builtin" || s.substr(s.size() - 2) != "__";
}

bool NAMES::take(std::string_view name) {
    if (!is_plain_identifier(name)) return false;
    std::string s(name);
    if (taken(s)) return false;
    return used.insert(std::move(s)).second;
}

std::string NAMES::fresh(std::string_view name) {
    std::string base;
    for (char c : name) base += std::isalnum(static_cast<unsigned char>(c)) || c == '_' ? c : '_';
    if (base.empty()) base = "v";
    if (!is_plain_identifier(base)) base.insert(0, "v_");
    if (is_of_arm_neon(base)) base += "_v"; // a type's name
    if (take(base)) return base;
    for (unsigned &n = next_number.try_emplace(base, 2).first->second;; n++) {
        std::string with = base + "_" + std::to_string(n);
        if (take(with)) {
            n++;
            return with;
        }
    }
}
