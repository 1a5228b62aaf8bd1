// Symbols, pragmas, option sets and file names.
#include "ifile/if_file.h"

#include <algorithm>
#include <memory>

#include "support/fatal.h"

namespace {

constexpr int LARGEST_PRAGMA_COUNT = 127; // on one symbol; the field is a signed byte

// What an attribute says about whether the symbol's definition is emitted.
void apply_policy(I_SYMTAB *symbol, int pragma) {
    if (pragma == PRAG_SYM_IS_DEAD) symbol->policy = POLICY_NEVER;
    if (pragma == PRAG_SYM_IS_REFERENCED || pragma == PRAG_FUNC_EXT_CALLED) symbol->policy = POLICY_ALWAYS;
}

} // namespace

// --- file names ---

unsigned I_FILE::i_enter_file_name(const char *name) {
    if (!writable_) {
        file_name_texts_.push_back(file_names_.emplace_back(name).c_str());
        return unsigned(file_names_.size());
    }
    // Neighbouring positions mostly name the same file.
    if (last_file_id_ && file_names_[last_file_id_ - 1] == name) return last_file_id_;
    auto [entry, is_new] = file_ids_.try_emplace(name, unsigned(file_names_.size()) + 1);
    if (is_new) file_names_.emplace_back(name);
    return last_file_id_ = entry->second;
}

const char *I_FILE::i_get_file_name(unsigned id) const {
    if (writable_) return id && id <= file_names_.size() ? file_names_[id - 1].c_str() : nullptr;
    return id && id <= file_name_texts_.size() ? file_name_texts_[id - 1] : nullptr;
}

unsigned I_FILE::i_get_file_id(const char *name) const {
    if (writable_) {
        auto entry = file_ids_.find(name);
        return entry == file_ids_.end() ? 0 : entry->second;
    }
    auto entry = std::find(file_names_.begin(), file_names_.end(), name);
    return entry == file_names_.end() ? 0 : unsigned(entry - file_names_.begin()) + 1;
}

void I_FILE::if_write_all_files() {
    // The globals come behind this area and refer to it. Their positions may have changed since they were entered.
    for (I_SYMTAB *s : globals_)
        if (const PSN *p = s->sym_psn()) i_enter_file_name(p->file ? p->file : NO_FILE);
    if (file_names_.empty()) return;
    offsets_[AREA_FILES] = if_tell();
    for (const std::string &name : file_names_) if_write_source(name.c_str());
    i_write_eof();
}

// --- option sets ---

void I_FILE::if_enter_option_set(const OPTION_SET &set) { options_.push_back(set); }

void I_FILE::if_read_option_set() {
    OPTION_SET set;
    set.id = i_read_uint();
    uint32_t n = i_read_count(1);
    for (uint32_t i = 0; i < n; i++) set.strings.emplace_back(i_read_string(0));
    i_end_record();
    if_enter_option_set(set);
    client_->cl_option_set(set);
}

void I_FILE::if_write_option_set(const OPTION_SET &set) {
    i_write_uint(set.id);
    i_write_uint(set.count());
    for (const std::string &s : set.strings) i_write_string(s.c_str(), 0);
    i_flush(IF_OPTIONS);
}

void I_FILE::if_write_all_options() {
    if (options_.empty()) return;
    offsets_[AREA_OPTIONS] = if_tell();
    for (const OPTION_SET &set : options_) if_write_option_set(set);
    i_write_eof();
}

// --- references ---

void I_FILE::if_enter_global(I_SYMTAB *symbol) {
    if (writable_)
        if (const PSN *p = symbol->sym_psn()) i_enter_file_name(p->file ? p->file : NO_FILE);
    symbol->set_level(0);
    symbol->index = int(globals_.size());
    globals_.push_back(symbol);
}

void I_FILE::if_enter_local(I_SYMTAB *symbol) {
    symbol->set_level(level_);
    symbol->index = int(locals_.size());
    locals_.push_back(symbol);
    local_levels_.push_back(level_);
}

I_SYMTAB *I_FILE::find_symbol(uint32_t level, uint32_t index) {
    if (level == UINT32_MAX) return nullptr;
    if (level == 0) {
        if (index >= globals_.size())
            bad_file("global symbol %u where there are %zu", index, globals_.size());
        return globals_[index];
    }
    if (level_ == 0) bad_file("a local symbol outside a function");
    if (index >= locals_.size()) bad_file("local symbol %u where there are %zu", index, locals_.size());
    if (level != uint32_t(local_levels_[index]))
        bad_file("local symbol %u at level %u, but it is of level %d", index, level, local_levels_[index]);
    return locals_[index];
}

uint32_t I_FILE::index_of(I_SYMTAB *symbol) const {
    if (symbol->index == -1) write_fault(">> Symbol %s is not in the symbol table\n", symbol->sym_name());
    return uint32_t(symbol->index);
}

// --- symbol records ---

I_SYMTAB *I_FILE::if_read_sym(int &pragma_count) {
    const char *name = i_read_string(0);
    uint32_t size = i_read_uint();
    uint32_t value = i_read_uint();
    int sclass = i_read_s8();
    int cqual = i_read_s16() & 0xFFFF;
    uint32_t type_id = i_read_uint();
    uint32_t cpp_type_id = i_read_uint();
    uint32_t align = i_read_uint();
    pragma_count = i_read_s8();
    uint32_t location = i_read_uint();
    uint32_t option_set = i_read_uint();
    const PSN *psn = i_read_psn();
    int policy = gate(GATE_SYM_POLICY) ? int(i_read_u8()) : 0;
    i_end_record();

    TYPE *type = find_typeref(type_id), *cpp_type = find_typeref(cpp_type_id);
    if (!type) bad_file("a symbol without a type");
    if (sclass < 0) bad_file("storage class %d", sclass);
    if (pragma_count < 0) bad_file("%d pragmas", pragma_count);
    if (option_set >= std::max<size_t>(1, options_.size()))
        bad_file("option set %u where there are %zu", option_set, options_.size());
    if (policy > POLICY_NEVER) bad_file("policy %d", policy);
    I_SYMTAB *symbol = client_->cl_symbol_create(name, type, cpp_type, size, align, value, sclass, cqual, psn,
                                                 location, option_set, policy);
    QL_ASSERT(symbol);
    return symbol;
}

void I_FILE::if_read_symbol_def() {
    int pragmas;
    I_SYMTAB *symbol = if_read_sym(pragmas);
    if (level_) if_enter_local(symbol);
    else if_enter_global(symbol);
    for (int i = 0; i < pragmas; i++) {
        expect_record(IF_PRAGMA, "where a pragma of the symbol should be");
        if_read_pragma(symbol);
    }
    client_->cl_symbol_def(symbol);
}

void I_FILE::if_write_symbol(I_SYMTAB *symbol) {
    // The chain has the newest first, the file the oldest: a reader, who puts each in front, ends with the same chain.
    std::vector<const PRAGMA *> pragmas;
    for (const PRAGMA *p = symbol->sym_pragma(); p; p = p->next) pragmas.push_back(p);
    if (pragmas.size() > size_t(LARGEST_PRAGMA_COUNT))
        write_fault(">> Symbol %s has %zu pragmas, more than %d\n", symbol->sym_name(), pragmas.size(),
                    LARGEST_PRAGMA_COUNT);
    i_write_string(symbol->sym_name(), 0);
    i_write_uint(symbol->sym_size());
    i_write_uint(symbol->sym_value());
    i_write_i8(symbol->sym_class());
    i_write_i16(symbol->sym_cqual());
    i_write_typeref(symbol->sym_type());
    i_write_typeref(symbol->sym_cpp_type());
    i_write_uint(symbol->sym_align());
    i_write_i8(int(pragmas.size()));
    i_write_uint(symbol->sym_location());
    i_write_uint(symbol->sym_option_set());
    i_write_psn(symbol->sym_psn());
    i_write_i8(symbol->policy);
    i_flush(IF_SYMBOL);
    for (size_t i = pragmas.size(); i--;) if_write_pragma(pragmas[i]);
}

void I_FILE::if_write_all_globals() {
    offsets_[AREA_GLOBALS] = if_tell();
    for (I_SYMTAB *s : globals_) if_write_symbol(s);
    i_write_eof();
}

// --- pragma records ---

PRAGMA *I_FILE::read_pragma() {
    auto pragma = std::make_unique<PRAGMA>();
    uint32_t number = i_read_uint();
    if (number > UINT8_MAX) bad_file("pragma number %u", number);
    pragma->number = uint8_t(number);
    uint32_t n = i_read_count(1);
    for (uint32_t i = 0; i < n; i++) pragma->args.emplace_back(i_read_string(0));
    i_end_record();
    return pragma.release();
}

PRAGMA *I_FILE::if_read_pragma(I_SYMTAB *symbol) {
    PRAGMA *pragma = read_pragma();
    if (symbol) apply_policy(symbol, pragma->number);
    client_->cl_pragma(symbol, pragma);
    return pragma;
}

void I_FILE::if_write_pragma(const PRAGMA *pragma) {
    i_write_uint(pragma->number);
    i_write_uint(uint32_t(pragma->args.size()));
    for (const std::string &arg : pragma->args) i_write_string(arg.c_str(), 0);
    i_flush(IF_PRAGMA);
}
