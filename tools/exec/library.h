// The C library of the program that runs: functions by name, on the guest's memory. Rows are grouped in files by the
// header that declares them; library.cpp joins the tables.
#pragma once

#include <cstdio>
#include <string>

#include "tools/exec/interp.h"

struct LIBRARY_ROW {
    const char *name;
    uint64_t (*fn)(CALL_CONTEXT &);
};
extern const LIBRARY_ROW library_stdio[], library_string[], library_stdlib[], library_math[], library_misc[],
    library_wchar[], library_atomic[], library_unix[], library_program[],
    library_fenv[]; // end with a null name

// Functions in the rows: a value, or statements.
#define FN(...) [](CALL_CONTEXT &c) -> uint64_t { return (void)c, (__VA_ARGS__); }
#define DO(...) [](CALL_CONTEXT &c) -> uint64_t { __VA_ARGS__ }
inline uint64_t sx(int v) { return uint64_t(int64_t(v)); }

// --- guest memory, checked ---
char *guest_bytes(uint32_t a, uint64_t n, bool write); // host address; faults outside an object
std::string guest_string(uint32_t a);                  // through its NUL
uint32_t guest_strlen(uint32_t a);
uint32_t library_text(const std::string &s);             // a new object with the text
void put_string(uint32_t a, const char *text, size_t n); // n bytes, checked
void put_u32(uint32_t a, uint32_t v);
void put_u64(uint32_t a, uint64_t v);
uint32_t get_u32(uint32_t a);
uint64_t get_u64(uint32_t a);
void set_errno(int e);

// Arguments of a variadic function: those of the call from the n-th on, or those behind a guest va_list.
struct VARARGS {
    CALL_CONTEXT *call = nullptr;
    unsigned next = 0;
    uint32_t at = 0; // va_list: guest address of the next argument
    std::vector<uint64_t>
        numbered; // the values of a format that numbers its arguments, and the next one's place
    size_t place = 0;
    uint32_t u32();
    uint64_t u64();
    double f64();

  private:
    uint64_t numbered_value();
};
VARARGS varargs_of(CALL_CONTEXT &c, unsigned from);
VARARGS varargs_in(CALL_CONTEXT &c, unsigned i); // those behind the va_list that is argument i

std::string format_guest(uint32_t format, VARARGS args);
FILE *guest_file(uint32_t handle);
uint32_t enter_file(FILE *);                             // the handle of a stream; null gives 0 and errno
void store_scalar_checked(SK k, uint32_t a, uint64_t v); // the address was checked
uint64_t load_scalar_checked(SK k, uint32_t a);
uint32_t guest_errno_address();
