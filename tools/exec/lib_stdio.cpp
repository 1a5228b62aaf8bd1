// stdio: streams on host files, the printf and scanf families.
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <unistd.h>

#include "tools/exec/library.h"

namespace {

// A guest FILE is an address of 4 bytes that no program looks into.
std::unordered_map<uint32_t, FILE *> files;
uint32_t standard[3];

uint32_t standard_file(int i) {
    if (!standard[i]) {
        standard[i] = mem.add_global(4, 4);
        files[standard[i]] = i == 0 ? stdin : i == 1 ? stdout : stderr;
    }
    return standard[i];
}

uint64_t print_to(FILE *f, const std::string &s) {
    size_t n = fwrite(s.data(), 1, s.size(), f);
    return n == s.size() ? sx(int(n)) : sx(-1);
}
uint64_t print_into(uint32_t to, uint32_t room, bool bounded, const std::string &s) {
    if (!bounded) put_string(to, s.c_str(), s.size() + 1);
    else if (room) {
        size_t n = std::min<size_t>(s.size(), room - 1);
        put_string(to, s.data(), n);
        *guest_bytes(to + uint32_t(n), 1, true) = 0;
    }
    return sx(int(s.size()));
}

} // namespace

uint32_t enter_file(FILE *f) {
    if (!f) {
        set_errno(errno);
        return 0;
    }
    uint32_t a = mem.heap_alloc(4);
    files[a] = f;
    return a;
}

FILE *guest_file(uint32_t handle) {
    auto it = files.find(handle);
    if (it == files.end()) fault("0x%08x is no open stream", handle);
    return it->second;
}

// --- printf ---

namespace {
// The locale is "C": only ASCII has bytes.
int one_byte(uint32_t wide) {
    if (wide > 127) fault("printf of the wide character 0x%x, which the locale has no bytes for", wide);
    return int(wide);
}
} // namespace

namespace {
// The number before a '$' at place i, past which i goes; 0: there is none.
size_t argument_number(const std::string &f, size_t &i) {
    size_t end = i;
    while (end < f.size() && isdigit(static_cast<unsigned char>(f[end]))) end++;
    if (end == i || end >= f.size() || f[end] != '$') return 0;
    size_t n = size_t(atoi(f.c_str() + i));
    i = end + 1;
    return n;
}

// The arguments of a format that numbers them (%2$s), in their order: each conversion tells the kind of one.
void read_numbered(const std::string &f, VARARGS &args) {
    enum KIND : char { WORD, LONG, REAL };
    std::vector<KIND> kinds;
    auto note = [&](size_t n, KIND k) {
        if (n > 64) fault("a format numbers an argument %zu", n);
        if (kinds.size() < n) kinds.resize(n, WORD);
        if (n) kinds[n - 1] = k;
    };
    for (size_t i = 0; i + 1 < f.size(); i++) {
        if (f[i] != '%' || f[++i] == '%') continue;
        size_t n = argument_number(f, i);
        int longs = 0;
        for (; i < f.size() && strchr("-+ #0'.123456789*hlLqjzt", f[i]); i++) {
            if (f[i] == '*') note(argument_number(f, ++i), WORD), i--;
            else if (strchr("Lqj", f[i])) longs = 2;
            else if (f[i] == 'l') longs++;
        }
        if (n) note(n, strchr("eEfFgGaA", f[i]) ? REAL : longs > 1 ? LONG : WORD);
    }
    std::vector<uint64_t> values;
    for (KIND k : kinds)
        values.push_back(k == REAL ? from_f64(args.f64()) : k == LONG ? args.u64() : args.u32());
    args.numbered = values;
}
} // namespace

std::string format_guest(uint32_t format, VARARGS args) {
    std::string f = guest_string(format), out;
    if (f.find('$') != std::string::npos) read_numbered(f, args);
    for (size_t i = 0; i < f.size(); i++) {
        if (f[i] != '%') {
            out += f[i];
            continue;
        }
        std::string spec = "%";
        i++;
        size_t chosen = argument_number(f, i);
        while (i < f.size() && strchr("-+ #0'", f[i])) spec += f[i++];
        auto number = [&] {
            if (i < f.size() && f[i] == '*') {
                size_t j = i + 1;
                if (size_t n = argument_number(f, j)) args.place = n - 1, i = j - 1;
                spec += std::to_string(int32_t(args.u32()));
                i++;
            } else
                while (i < f.size() && isdigit(static_cast<unsigned char>(f[i]))) spec += f[i++];
        };
        number();
        if (i < f.size() && f[i] == '.') {
            spec += f[i++];
            number();
        }
        std::string length;
        while (i < f.size() && strchr("hlLqjzt", f[i])) length += f[i++];
        char conv = i < f.size() ? f[i] : 0;
        if (chosen) args.place = chosen - 1;
        char buf[512];
        auto text = [&](auto... v) {
            int n = snprintf(buf, sizeof buf, spec.c_str(), v...);
            if (n >= int(sizeof buf)) {
                std::string big(size_t(n) + 1, 0);
                snprintf(big.data(), big.size(), spec.c_str(), v...);
                big.resize(size_t(n));
                out += big;
            } else out += buf;
        };
        bool wide = length == "ll" || length == "L" || length == "q" || length == "j";
        switch (conv) {
        case 'd':
        case 'i':
            if (wide) spec += "lld", text(static_cast<long long>(args.u64()));
            else {
                int32_t v = int32_t(args.u32());
                if (length == "h") v = int16_t(v);
                if (length == "hh") v = int8_t(v);
                spec += 'd', text(v);
            }
            break;
        case 'u':
        case 'x':
        case 'X':
        case 'o':
            if (wide) spec += "ll", spec += conv, text(static_cast<unsigned long long>(args.u64()));
            else {
                uint32_t v = args.u32();
                if (length == "h") v = uint16_t(v);
                if (length == "hh") v = uint8_t(v);
                spec += conv, text(v);
            }
            break;
        case 'c': spec += 'c', text(length == "l" ? one_byte(args.u32()) : int(args.u32())); break;
        case 'p': {
            uint32_t v = args.u32();
            char digits[16];
            snprintf(digits, sizeof digits, "0x%x", v);
            spec += 's', text(v ? digits : "(nil)");
            break;
        }
        case 's': {
            uint32_t a = args.u32();
            size_t dot = spec.find('.');
            std::string s;
            if (!a) s = "(null)";
            else if (length == "l") {
                size_t limit = dot == std::string::npos ? SIZE_MAX : size_t(atoi(spec.c_str() + dot + 1));
                for (uint32_t ch; s.size() < limit && (ch = get_u32(a)); a += 4) s += char(one_byte(ch));
            } else if (dot != std::string::npos && spec[dot + 1] != '-') {
                uint32_t limit = uint32_t(atoi(spec.c_str() + dot + 1)), n = 0;
                while (n < limit && *guest_bytes(a + n, 1, false)) n++;
                s.assign(reinterpret_cast<char *>(mem.base + a), n);
            } else s = guest_string(a);
            spec += 's', text(s.c_str());
            break;
        }
        case 'f':
        case 'F':
        case 'e':
        case 'E':
        case 'g':
        case 'G':
        case 'a':
        case 'A': spec += conv, text(args.f64()); break;
        case 'n': put_u32(args.u32(), uint32_t(out.size())); break;
        case 'm': spec += 's', text(strerror(int(get_u32(guest_errno_address())))); break;
        case '%': out += '%'; break;
        default: fault("printf conversion %%%c is not known", conv);
        }
    }
    return out;
}

// --- scanf ---

namespace {

// Characters from a stream or a guest string, with one pushed back.
struct SCAN_SOURCE {
    FILE *file = nullptr;
    std::string text;
    size_t at = 0;
    int count = 0;
    int get() {
        int ch = file ? getc(file) : at < text.size() ? static_cast<unsigned char>(text[at]) : EOF;
        if (ch != EOF) at++, count++;
        return ch;
    }
    void unget(int ch) {
        if (ch == EOF) return;
        at--, count--;
        if (file) ungetc(ch, file);
    }
};

void store_int(uint32_t a, const std::string &length, uint64_t v) {
    if (length == "hh") *guest_bytes(a, 1, true) = char(v);
    else if (length == "h") {
        check_access(a, 2, true);
        store_scalar_checked(SK_u16, a, v);
    } else if (length == "ll" || length == "L" || length == "q" || length == "j") put_u64(a, v);
    else put_u32(a, uint32_t(v));
}

// Longest prefix of an integer or float as the conversions accept it.
std::string scan_number(SCAN_SOURCE &in, int width, int base, bool flt) {
    std::string s;
    int ch;
    bool digits = false, point = false, exponent = false, hex = base == 16;
    auto room = [&] { return int(s.size()) < width; };
    while (room() && (ch = in.get()) != EOF) {
        char lower = char(tolower(ch));
        bool take = false;
        if ((ch == '+' || ch == '-') && (s.empty() || (exponent && strchr("ep", tolower(s.back())))))
            take = true;
        else if (isdigit(ch) && (flt || base == 0 || base == 16 || ch - '0' < base)) take = digits = true;
        else if (lower == 'x' && (base == 0 || base == 16 || flt) && (s == "0" || s == "-0" || s == "+0"))
            take = hex = true;
        else if (hex && isxdigit(ch)) take = digits = true;
        else if (flt && ch == '.' && !point && !exponent) take = point = true;
        else if (flt && !exponent && digits && (hex ? lower == 'p' : lower == 'e')) take = exponent = true;
        else if (flt && !digits && strchr("infaty", lower)) take = true;
        if (!take) {
            in.unget(ch);
            break;
        }
        s += char(ch);
    }
    return s;
}

int scan_guest(SCAN_SOURCE &in, uint32_t format, VARARGS args) {
    std::string f = guest_string(format);
    int done = 0;
    auto skip_space = [&] {
        int ch;
        while ((ch = in.get()) != EOF && isspace(ch)) {}
        in.unget(ch);
        return ch;
    };
    for (size_t i = 0; i < f.size(); i++) {
        if (isspace(static_cast<unsigned char>(f[i]))) {
            skip_space();
            continue;
        }
        if (f[i] != '%') {
            int ch = in.get();
            if (ch != static_cast<unsigned char>(f[i])) {
                in.unget(ch);
                return ch == EOF && !done ? -1 : done;
            }
            continue;
        }
        i++;
        bool suppress = i < f.size() && f[i] == '*';
        if (suppress) i++;
        int width = 0;
        while (i < f.size() && isdigit(static_cast<unsigned char>(f[i]))) width = width * 10 + (f[i++] - '0');
        std::string length;
        while (i < f.size() && strchr("hlLqjzt", f[i])) length += f[i++];
        char conv = i < f.size() ? f[i] : 0;
        if (conv != 'c' && conv != '[' && conv != 'n' && conv != '%')
            if (skip_space() == EOF) return done ? done : -1;
        int limit = width ? width : 1 << 20;
        switch (conv) {
        case 'd':
        case 'u':
        case 'i':
        case 'x':
        case 'X':
        case 'o': {
            int base = conv == 'i' ? 0 : conv == 'o' ? 8 : conv == 'd' || conv == 'u' ? 10 : 16;
            std::string s = scan_number(in, limit, base, false);
            char *end;
            errno = 0;
            uint64_t v = conv == 'd' || conv == 'i' ? uint64_t(strtoll(s.c_str(), &end, base))
                                                    : strtoull(s.c_str(), &end, base);
            if (end == s.c_str()) return done;
            if (!suppress) store_int(args.u32(), length, v), done++;
            break;
        }
        case 'f':
        case 'e':
        case 'g':
        case 'a':
        case 'E':
        case 'G': {
            std::string s = scan_number(in, limit, 10, true);
            char *end;
            double v = strtod(s.c_str(), &end);
            if (end == s.c_str()) return done;
            if (!suppress) {
                uint32_t a = args.u32();
                if (length.empty()) put_u32(a, uint32_t(from_f32(strtof(s.c_str(), nullptr))));
                else put_u64(a, from_f64(v));
                done++;
            }
            break;
        }
        case 's': {
            std::string s;
            int ch = EOF;
            while (int(s.size()) < limit && (ch = in.get()) != EOF && !isspace(ch)) s += char(ch);
            if (int(s.size()) < limit) in.unget(ch);
            if (!suppress) put_string(args.u32(), s.c_str(), s.size() + 1), done++;
            break;
        }
        case 'c': {
            int n = width ? width : 1;
            std::string s;
            while (n-- > 0) {
                int ch = in.get();
                if (ch == EOF) return done ? done : -1;
                s += char(ch);
            }
            if (!suppress) put_string(args.u32(), s.data(), s.size()), done++;
            break;
        }
        case '[': {
            i++;
            bool negate = i < f.size() && f[i] == '^';
            if (negate) i++;
            bool in_set[256] = {};
            bool first = true;
            while (i < f.size() && (f[i] != ']' || first)) {
                if (i + 2 < f.size() && f[i + 1] == '-' && f[i + 2] != ']') {
                    for (int ch = static_cast<unsigned char>(f[i]);
                         ch <= static_cast<unsigned char>(f[i + 2]); ch++)
                        in_set[ch] = true;
                    i += 3;
                } else in_set[static_cast<unsigned char>(f[i++])] = true;
                first = false;
            }
            std::string s;
            int ch = EOF;
            while (int(s.size()) < limit && (ch = in.get()) != EOF && in_set[ch] != negate) s += char(ch);
            if (int(s.size()) < limit) in.unget(ch);
            if (s.empty()) return done ? done : ch == EOF ? -1 : 0;
            if (!suppress) put_string(args.u32(), s.c_str(), s.size() + 1), done++;
            break;
        }
        case 'n':
            if (!suppress) put_u32(args.u32(), uint32_t(in.count));
            break;
        case '%': {
            skip_space();
            int ch = in.get();
            if (ch != '%') return done;
            break;
        }
        default: fault("scanf conversion %%%c is not known", conv);
        }
    }
    return done;
}

uint64_t scan_file(FILE *f, uint32_t format, VARARGS v) {
    SCAN_SOURCE in;
    in.file = f;
    return sx(scan_guest(in, format, v));
}
uint64_t scan_text(uint32_t from, uint32_t format, VARARGS v) {
    SCAN_SOURCE in;
    in.text = guest_string(from);
    return sx(scan_guest(in, format, v));
}

uint64_t do_fgets(CALL_CONTEXT &c) {
    FILE *f = guest_file(c.u32(2));
    int n = c.i32(1);
    std::string s;
    int ch = 0;
    while (int(s.size()) < n - 1 && (ch = getc(f)) != EOF) {
        s += char(ch);
        if (ch == '\n') break;
    }
    if (s.empty()) return 0;
    put_string(c.u32(0), s.c_str(), s.size() + 1);
    return c.u32(0);
}

uint64_t do_gets(CALL_CONTEXT &c) {
    std::string s;
    int ch;
    while ((ch = getchar()) != EOF && ch != '\n') s += char(ch);
    if (s.empty() && ch == EOF) return 0;
    put_string(c.u32(0), s.c_str(), s.size() + 1);
    return c.u32(0);
}
uint64_t print_to_descriptor(int fd, const std::string &s) {
    fflush(nullptr);
    return sx(int(write(fd, s.data(), s.size())));
}

// getline and getdelim: the buffer grows.
uint64_t read_record(uint32_t line, uint32_t bytes, int end, FILE *f) {
    std::string s;
    int ch;
    while ((ch = getc(f)) != EOF) {
        s += char(ch);
        if (ch == end) break;
    }
    if (s.empty()) return sx(-1);
    uint32_t a = get_u32(line), room = get_u32(bytes);
    if (!a || room < s.size() + 1) {
        if (a) mem.heap_free(a);
        a = mem.heap_alloc(uint32_t(s.size()) + 1);
        put_u32(line, a);
        put_u32(bytes, uint32_t(s.size()) + 1);
    }
    put_string(a, s.c_str(), s.size() + 1);
    return s.size();
}

uint64_t do_asprintf(uint32_t to, const std::string &s) {
    uint32_t a = mem.heap_alloc(uint32_t(s.size()) + 1);
    put_string(a, s.c_str(), s.size() + 1);
    put_u32(to, a);
    return s.size();
}

uint64_t do_fclose(CALL_CONTEXT &c) {
    FILE *f = guest_file(c.u32(0));
    files.erase(c.u32(0));
    mem.heap_free(c.u32(0));
    return sx(fclose(f));
}
uint64_t do_freopen(CALL_CONTEXT &c) {
    std::string name = c.u32(0) ? guest_string(c.u32(0)) : "";
    FILE *f =
        freopen(c.u32(0) ? name.c_str() : nullptr, guest_string(c.u32(1)).c_str(), guest_file(c.u32(2)));
    if (!f) return set_errno(errno), files.erase(c.u32(2)), 0;
    files[c.u32(2)] = f;
    return c.u32(2);
}
uint64_t do_fread(CALL_CONTEXT &c) {
    uint64_t n = uint64_t(c.u32(1)) * c.u32(2);
    FILE *f = guest_file(c.u32(3));
    return n ? fread(guest_bytes(c.u32(0), n, true), c.u32(1), c.u32(2), f) : 0;
}
uint64_t do_fwrite(CALL_CONTEXT &c) {
    uint64_t n = uint64_t(c.u32(1)) * c.u32(2);
    FILE *f = guest_file(c.u32(3));
    return n ? fwrite(guest_bytes(c.u32(0), n, false), c.u32(1), c.u32(2), f) : 0;
}
uint64_t do_perror(CALL_CONTEXT &c) {
    int e = int(load_scalar_checked(SK_i32, guest_errno_address()));
    fprintf(stderr, "%s: %s\n", guest_string(c.u32(0)).c_str(), strerror(e));
    return 0;
}
uint64_t do_tmpnam(CALL_CONTEXT &c) {
    static uint32_t own = mem.add_global(64, 1);
    static unsigned n = 0;
    uint32_t to = c.u32(0) ? c.u32(0) : own;
    std::string name = "/tmp/qlrun" + std::to_string(getpid()) + "_" + std::to_string(n++);
    put_string(to, name.c_str(), name.size() + 1);
    return to;
}

} // namespace

uint32_t library_file_object(const std::string &name) {
    for (int i = 0; i < 3; i++) {
        const char *names[] = {"stdin", "stdout", "stderr"};
        if (name == names[i]) {
            uint32_t a = mem.add_global(4, 4);
            store_scalar_checked(SK_u32, a, standard_file(i));
            return a;
        }
    }
    return 0;
}

// clang-format off
const LIBRARY_ROW library_stdio[] = {
    {"printf", FN(print_to(stdout, format_guest(c.u32(0), varargs_of(c, 1))))},
    {"fprintf", FN(print_to(guest_file(c.u32(0)), format_guest(c.u32(1), varargs_of(c, 2))))},
    {"sprintf", FN(print_into(c.u32(0), 0, false, format_guest(c.u32(1), varargs_of(c, 2))))},
    {"snprintf", FN(print_into(c.u32(0), c.u32(1), true, format_guest(c.u32(2), varargs_of(c, 3))))},
    {"vprintf", FN(print_to(stdout, format_guest(c.u32(0), varargs_in(c, 1))))},
    {"vfprintf", FN(print_to(guest_file(c.u32(0)), format_guest(c.u32(1), varargs_in(c, 2))))},
    {"vsprintf", FN(print_into(c.u32(0), 0, false, format_guest(c.u32(1), varargs_in(c, 2))))},
    {"vsnprintf", FN(print_into(c.u32(0), c.u32(1), true, format_guest(c.u32(2), varargs_in(c, 3))))},
    {"asprintf", FN(do_asprintf(c.u32(0), format_guest(c.u32(1), varargs_of(c, 2))))},
    {"vasprintf", FN(do_asprintf(c.u32(0), format_guest(c.u32(1), varargs_in(c, 2))))},
    {"scanf", FN(scan_file(stdin, c.u32(0), varargs_of(c, 1)))},
    {"fscanf", FN(scan_file(guest_file(c.u32(0)), c.u32(1), varargs_of(c, 2)))},
    {"sscanf", FN(scan_text(c.u32(0), c.u32(1), varargs_of(c, 2)))},
    {"vscanf", FN(scan_file(stdin, c.u32(0), varargs_in(c, 1)))},
    {"vfscanf", FN(scan_file(guest_file(c.u32(0)), c.u32(1), varargs_in(c, 2)))},
    {"vsscanf", FN(scan_text(c.u32(0), c.u32(1), varargs_in(c, 2)))},
    {"__isoc99_scanf", FN(scan_file(stdin, c.u32(0), varargs_of(c, 1)))},
    {"__isoc99_fscanf", FN(scan_file(guest_file(c.u32(0)), c.u32(1), varargs_of(c, 2)))},
    {"__isoc99_sscanf", FN(scan_text(c.u32(0), c.u32(1), varargs_of(c, 2)))},
    {"__isoc99_vsscanf", FN(scan_text(c.u32(0), c.u32(1), varargs_in(c, 2)))},
    {"puts", FN(print_to(stdout, guest_string(c.u32(0)) + "\n"))},
    {"fputs", FN(print_to(guest_file(c.u32(1)), guest_string(c.u32(0))))},
    {"fputs_unlocked", FN(print_to(guest_file(c.u32(1)), guest_string(c.u32(0))))},
    {"putchar", FN(sx(putchar(c.i32(0))))},
    {"putchar_unlocked", FN(sx(putchar(c.i32(0))))},
    {"fputc", FN(sx(fputc(c.i32(0), guest_file(c.u32(1)))))},
    {"putc", FN(sx(fputc(c.i32(0), guest_file(c.u32(1)))))},
    {"putc_unlocked", FN(sx(fputc(c.i32(0), guest_file(c.u32(1)))))},
    {"_IO_putc", FN(sx(fputc(c.i32(0), guest_file(c.u32(1)))))},
    {"getchar", FN(sx(getchar()))},
    {"getchar_unlocked", FN(sx(getchar()))},
    {"fgetc", FN(sx(fgetc(guest_file(c.u32(0)))))},
    {"getc", FN(sx(fgetc(guest_file(c.u32(0)))))},
    {"getc_unlocked", FN(sx(fgetc(guest_file(c.u32(0)))))},
    {"_IO_getc", FN(sx(fgetc(guest_file(c.u32(0)))))},
    {"ungetc", FN(sx(ungetc(c.i32(0), guest_file(c.u32(1)))))},
    {"fgets", do_fgets},
    {"getline", FN(read_record(c.u32(0), c.u32(1), '\n', guest_file(c.u32(2))))},
    {"fopen", FN(enter_file(fopen(guest_string(c.u32(0)).c_str(), guest_string(c.u32(1)).c_str())))},
    {"fopen64", FN(enter_file(fopen(guest_string(c.u32(0)).c_str(), guest_string(c.u32(1)).c_str())))},
    {"tmpfile", FN(enter_file(tmpfile()))},
    {"tmpfile64", FN(enter_file(tmpfile()))},
    {"tmpnam", do_tmpnam},
    {"fdopen", FN(enter_file(fdopen(c.i32(0), guest_string(c.u32(1)).c_str())))},
    {"freopen", do_freopen},
    {"freopen64", do_freopen},
    {"fclose", do_fclose},
    {"fflush", FN(sx(fflush(c.u32(0) ? guest_file(c.u32(0)) : nullptr)))},
    {"fread", do_fread},
    {"fwrite", do_fwrite},
    {"fwrite_unlocked", do_fwrite},
    {"fseek", FN(sx(fseek(guest_file(c.u32(0)), c.i32(1), c.i32(2))))},
    {"fseeko64", FN(sx(fseek(guest_file(c.u32(0)), long(c.u64(1)), c.i32(2))))},
    {"ftello64", FN(uint64_t(ftell(guest_file(c.u32(0)))))},
    {"fseeko", FN(sx(fseek(guest_file(c.u32(0)), c.i32(1), c.i32(2))))},
    {"ftell", FN(sx(int(ftell(guest_file(c.u32(0))))))},
    {"ftello", FN(sx(int(ftell(guest_file(c.u32(0))))))},
    {"rewind", DO(rewind(guest_file(c.u32(0))); return 0;)},
    {"feof", FN(sx(feof(guest_file(c.u32(0)))))},
    {"ferror", FN(sx(ferror(guest_file(c.u32(0)))))},
    {"clearerr", DO(clearerr(guest_file(c.u32(0))); return 0;)},
    {"fileno", FN(sx(fileno(guest_file(c.u32(0)))))},
    {"setvbuf", FN(0)},
    {"setbuf", FN(0)},
    {"remove", FN(sx(remove(guest_string(c.u32(0)).c_str())))},
    {"rename", FN(sx(rename(guest_string(c.u32(0)).c_str(), guest_string(c.u32(1)).c_str())))},
    {"perror", do_perror},
    {"fprintf_unlocked", FN(print_to(guest_file(c.u32(0)), format_guest(c.u32(1), varargs_of(c, 2))))},
    {"printf_unlocked", FN(print_to(stdout, format_guest(c.u32(0), varargs_of(c, 1))))},
    {"dprintf", FN(print_to_descriptor(c.i32(0), format_guest(c.u32(1), varargs_of(c, 2))))},
    {"vdprintf", FN(print_to_descriptor(c.i32(0), format_guest(c.u32(1), varargs_in(c, 2))))},
    {"__isoc99_vscanf", FN(scan_file(stdin, c.u32(0), varargs_in(c, 1)))},
    {"__isoc99_vfscanf", FN(scan_file(guest_file(c.u32(0)), c.u32(1), varargs_in(c, 2)))},
    {"puts_unlocked", FN(print_to(stdout, guest_string(c.u32(0)) + "\n"))},
    {"fputc_unlocked", FN(sx(fputc(c.i32(0), guest_file(c.u32(1)))))},
    {"fgetc_unlocked", FN(sx(fgetc(guest_file(c.u32(0)))))},
    {"fread_unlocked", do_fread},
    {"fgets_unlocked", do_fgets},
    {"feof_unlocked", FN(sx(feof(guest_file(c.u32(0)))))},
    {"ferror_unlocked", FN(sx(ferror(guest_file(c.u32(0)))))},
    {"clearerr_unlocked", DO(clearerr(guest_file(c.u32(0))); return 0;)},
    {"fflush_unlocked", FN(sx(fflush(c.u32(0) ? guest_file(c.u32(0)) : nullptr)))},
    {"getdelim", FN(read_record(c.u32(0), c.u32(1), c.i32(2), guest_file(c.u32(3))))},
    {"gets", do_gets},
    {"fgetpos", DO(put_u64(c.u32(1), uint64_t(ftell(guest_file(c.u32(0))))); return 0;)},
    {"fsetpos", FN(sx(fseek(guest_file(c.u32(0)), long(get_u64(c.u32(1))), SEEK_SET)))},
    {"setlinebuf", FN(0)},
    {"setbuffer", FN(0)},
    // Checked forms: a flag stands before the format, a size before it where text goes to memory.
    {"__printf_chk", FN(print_to(stdout, format_guest(c.u32(1), varargs_of(c, 2))))},
    {"__fprintf_chk", FN(print_to(guest_file(c.u32(0)), format_guest(c.u32(2), varargs_of(c, 3))))},
    {"__sprintf_chk", FN(print_into(c.u32(0), 0, false, format_guest(c.u32(3), varargs_of(c, 4))))},
    {"__snprintf_chk", FN(print_into(c.u32(0), c.u32(1), true, format_guest(c.u32(4), varargs_of(c, 5))))},
    {"__vprintf_chk", FN(print_to(stdout, format_guest(c.u32(1), varargs_in(c, 2))))},
    {"__vfprintf_chk", FN(print_to(guest_file(c.u32(0)), format_guest(c.u32(2), varargs_in(c, 3))))},
    {"__vsprintf_chk", FN(print_into(c.u32(0), 0, false, format_guest(c.u32(3), varargs_in(c, 4))))},
    {"__vsnprintf_chk", FN(print_into(c.u32(0), c.u32(1), true, format_guest(c.u32(4), varargs_in(c, 5))))},
    {nullptr, nullptr},
};
// clang-format on
