// The counts of a run, as text or JSON: totals, by function, and by loop record.
#include <algorithm>
#include <cstdio>

#include "tools/exec/interp.h"

const char *const count_class_names[N_COUNT_CLASSES] = {"nodes",
                                                        "loads",
                                                        "stores",
                                                        "calls",
                                                        "multiplications",
                                                        "divisions",
                                                        "vector_operations",
                                                        "arithmetic",
                                                        "comparisons",
                                                        "conversions",
                                                        "float_operations",
                                                        "bytes_moved"};

namespace {

struct TOTALS {
    uint64_t n[N_COUNT_CLASSES] = {};
    uint64_t statements = 0, taken = 0, not_taken = 0, entered = 0;

    void add(const UNIT &u) {
        for (int c = 0; c < N_COUNT_CLASSES; c++) n[c] += u.executed * u.content[c];
    }
    void add(const TOTALS &t) {
        for (int c = 0; c < N_COUNT_CLASSES; c++) n[c] += t.n[c];
        statements += t.statements, taken += t.taken, not_taken += t.not_taken, entered += t.entered;
    }
};

void add_step(TOTALS &t, const STEP &s) {
    t.add(s.unit);
    if (s.kind != ST_NOP && s.kind != ST_END) t.statements += s.unit.executed;
    if (s.kind == ST_CBRANCH) t.taken += s.taken, t.not_taken += s.unit.executed - s.taken;
    if (s.kind == ST_BRANCH || s.kind == ST_SWITCH) t.taken += s.unit.executed;
}

TOTALS totals_of(const XFUNC *f) {
    TOTALS t;
    for (const STEP &s : f->steps) add_step(t, s);
    for (const UNIT *u : f->arms) t.add(*u);
    t.n[CN_BYTES] += f->dynamic_bytes;
    t.entered = f->entered;
    return t;
}

void json_fields(FILE *to, const TOTALS &t, const char *indent) {
    fprintf(to, "%s\"statements\": %llu", indent, static_cast<unsigned long long>(t.statements));
    for (int c = 0; c < N_COUNT_CLASSES; c++)
        fprintf(to, ",\n%s\"%s\": %llu", indent, count_class_names[c],
                static_cast<unsigned long long>(t.n[c]));
    fprintf(to, ",\n%s\"branches\": %llu,\n%s\"branches_taken\": %llu,\n%s\"branches_not_taken\": %llu",
            indent, static_cast<unsigned long long>(t.taken + t.not_taken), indent,
            static_cast<unsigned long long>(t.taken), indent, static_cast<unsigned long long>(t.not_taken));
}

std::string quoted(const std::string &s) {
    std::string q = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\') q += '\\';
        q += c;
    }
    return q + "\"";
}

} // namespace

void write_counts(FILE *to, bool json) {
    TOTALS all;
    std::vector<std::pair<const XFUNC *, TOTALS>> by_function;
    for (const XFUNC *f : program.functions) {
        if (!f->compiled || !f->entered) continue;
        by_function.emplace_back(f, totals_of(f));
        all.add(by_function.back().second);
    }
    std::stable_sort(by_function.begin(), by_function.end(),
                     [](auto &a, auto &b) { return a.second.n[CN_NODES] > b.second.n[CN_NODES]; });
    if (json) {
        fputs("{\n  \"total\": {\n", to);
        json_fields(to, all, "    ");
        fputs("\n  },\n  \"functions\": {", to);
        bool first = true;
        for (auto &[f, t] : by_function) {
            fprintf(to, "%s\n    %s: {\n      \"entered\": %llu,\n", first ? "" : ",",
                    quoted(f->name).c_str(), static_cast<unsigned long long>(f->entered));
            json_fields(to, t, "      ");
            if (!f->loops.empty()) {
                fputs(",\n      \"loops\": {", to);
                bool first_loop = true;
                for (const XLOOP &l : f->loops) {
                    TOTALS in;
                    for (auto [from, end] : l.ranges)
                        for (uint32_t i = from; i < end; i++) add_step(in, f->steps[i]);
                    fprintf(to, "%s\n        \"%u\": {\n", first_loop ? "" : ",", l.number);
                    json_fields(to, in, "          ");
                    fputs("\n        }", to);
                    first_loop = false;
                }
                fputs("\n      }", to);
            }
            fputs("\n    }", to);
            first = false;
        }
        fputs("\n  }\n}\n", to);
        return;
    }
    fprintf(to, "%-22s %16s %12s %12s %12s %12s %12s\n", "function", "nodes", "statements", "loads", "stores",
            "calls", "branches");
    auto row = [&](const char *name, const TOTALS &t) {
        auto n = [](uint64_t v) { return static_cast<unsigned long long>(v); };
        fprintf(to, "%-22s %16llu %12llu %12llu %12llu %12llu %12llu\n", name, n(t.n[CN_NODES]),
                n(t.statements), n(t.n[CN_LOADS]), n(t.n[CN_STORES]), n(t.n[CN_CALLS]),
                n(t.taken + t.not_taken));
    };
    for (auto &[f, t] : by_function) row(f->name.c_str(), t);
    row("total", all);
    for (int c = 0; c < N_COUNT_CLASSES; c++)
        fprintf(to, "%-22s %16llu\n", count_class_names[c], static_cast<unsigned long long>(all.n[c]));
}
