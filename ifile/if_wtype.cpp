#include "ifile/if_wtype.h"

#include "support/fatal.h"
#include "typepkg/type_merge.h"

#include <algorithm>

IF_TYPE_FORM form_of_ekind(unsigned ekind) {
    if (ekind <= ITF_LAST_INT) return IF_TYPE_FORM(ekind);
    switch (ekind) {
    case IK_llong: return ITF_LLONG;
    case IK_ullong: return ITF_ULLONG;
    case EK_float: return ITF_FLOAT;
    case EK_double: return ITF_DOUBLE;
    case EK_ldouble: return ITF_LDOUBLE;
    case EK_complex: return ITF_COMPLEX;
    case EK_void: return ITF_VOID;
    default: return ITF_UNMAPPED;
    }
}

struct IF_TYPE_WRITER {
    I_FILE &f;

    // A type on its way: its parts first, then the record, and for functions the parameters and the list.
    enum STEP : uint8_t { ENTER, HEAD, LIST };
    struct WORK {
        TYPE *t;
        STEP step;
    };
    std::vector<WORK> todo;

    // ---- fields
    void begin(TYPE *t, unsigned form) {
        f.i_write_typeref(t);
        f.i_write_i8(int(form));
    }
    void end() { f.i_flush(IF_TYPE); }
    void layout(const TYPE *t) {
        f.i_write_uint(uint32_t(t->size));
        f.i_write_uint(t->align);
    }
    void position(const PSN &psn) { f.i_write_psn(psn.file ? &psn : nullptr); }

    // ---- heads
    void write_basic_type(TYPE *t) {
        begin(t, form_of_ekind(t->ekind()));
        switch (t->kind) {
        case K_int:
            f.i_write_bool(t->sub.i.expl_sign);
            layout(t);
            f.i_write_bool(t->is_bool());
            f.i_write_bool(t->sub.i.is_boolean || t->sub.i.is_ptm);
            break;
        case K_float: layout(t); break;
        case K_complex:
            layout(t);
            f.i_write_typeref(t->sub.part);
            break;
        default: break; // void; and forms that say nothing
        }
        end();
    }

    void write_fixpt_type(TYPE *t) {
        begin(t, ITF_FIXPT);
        f.i_write_i8(t->sub2.fx.binpt);
        f.i_write_i8(t->sub2.fx.sign);
        f.i_write_typeref(t->sub.part);
        layout(t);
        end();
    }

    void write_typedef_type(TYPE *t) {
        begin(t, ITF_TYPEDEF);
        f.i_write_string(t->sub.td->name, 0);
        f.i_write_typeref(t->sub.td->type_named);
        layout(t);
        f.i_write_bool(t->cpp);
        f.i_write_bool(t->sub.td->lowered);
        position(t->psn);
        end();
    }

    void write_addr_type(TYPE *t, IF_TYPE_FORM form) {
        begin(t, form);
        f.i_write_typeref(t->sub.part);
        layout(t);
        end();
    }

    void write_qual_type(TYPE *t) {
        begin(t, ITF_QUAL);
        f.i_write_typeref(t->sub.part);
        f.i_write_uint(t->sub2.own_qual);
        layout(t);
        end();
    }

    void write_array_type(TYPE *t) {
        begin(t, ITF_ARRAY);
        f.i_write_typeref(t->sub.arr->elem_type);
        f.i_write_uint(uint32_t(t->sub.arr->count));
        layout(t);
        f.i_write_bool(t->cpp);
        f.i_write_bool(t->sub.arr->complete);
        f.i_write_bool(t->sub.arr->vector);
        end();
    }

    void write_ptm_type(TYPE *t) {
        begin(t, ITF_PTM);
        f.i_write_typeref(t->sub.part);
        f.i_write_typeref(t->sub2.of_class);
        layout(t);
        end();
    }

    void write_func_type(TYPE *t) {
        begin(t, ITF_FUNC);
        f.i_write_typeref(t->sub.fn->return_type);
        f.i_write_bool(t->sub.fn->vararg);
        f.i_write_bool(t->sub.fn->proto);
        f.i_write_i8(t->sub.fn->cc);
        f.i_write_bool(t->cpp);
        end();
    }

    void write_enum_type(TYPE *t) {
        begin(t, ITF_ENUM);
        f.i_write_string(t->sub.en->name, 0);
        layout(t);
        f.i_write_typeref(t->sub.en->underlying_type);
        f.i_write_bool(t->cpp);
        position(t->psn);
        end();
    }

    void write_csu_type(TYPE *t) {
        const tpCSU &csu = *t->sub.csu;
        // A list that exists has a header and trailer even when nothing is in it, and only the long form announces it.
        bool is_short = !(csu.lists & ~(1u << TPL_mdata)) && csu.word == 0;
        begin(t, is_short ? ITF_CSU_SHORT : ITF_CSU_LONG);
        f.i_write_i8(t->kind == K_struct ? ICK_STRUCT : t->kind == K_union ? ICK_UNION : ICK_CLASS);
        f.i_write_string(csu.name, 0);
        f.i_write_bool(csu.complete);
        f.i_write_bool(csu.low);
        layout(t);
        if (is_short) write_csu_short(t);
        else write_csu_long(t);
        f.i_write_bool(csu.struct_vector);
        f.i_write_bool(t->cpp);
        position(t->psn);
        end();
    }
    void write_csu_short(TYPE *t) { f.i_write_bool(t->has_list(TPL_mdata)); }
    void write_csu_long(TYPE *t) {
        f.i_write_uint(uint32_t(t->sub.csu->word));
        for (TP_LIST list : IF_CSU_LISTS) f.i_write_bool(t->has_list(list));
    }

    // ---- lists
    void write_list_header(TYPE *t, TP_LIST list) {
        begin(t, ITF_LIST);
        f.i_write_i8(list);
        end();
    }
    void write_list_trailer(TYPE *t, TP_LIST list) {
        begin(t, ITF_LIST_END);
        f.i_write_i8(list);
        end();
    }
    // Header, an element record each, trailer. FIELDS writes what is behind owner and form.
    template <class T, class W>
    void write_list(TYPE *t, TP_LIST list, unsigned form, const TLIST<T> &elements, W fields) {
        write_list_header(t, list);
        for (const T *element = elements.first; element; element = element->next) {
            begin(t, form);
            fields(*element);
            end();
        }
        write_list_trailer(t, list);
    }

    void write_listof_params(TYPE *t, const TLIST<fkPARAM> &params) {
        write_list(t, TPL_params, ITF_PARAM, params, [&](const fkPARAM &e) {
            f.i_write_typeref(e.type);
            f.i_write_bool(false);
            f.i_write_uint(e.kind);
            f.i_write_string(e.name, 0);
        });
    }

    void write_listof_etors(TYPE *t) {
        bool is_signed = t->sub.en->underlying_type->is_signed();
        write_list(t, TPL_etors, ITF_ETOR, t->sub.en->etors, [&](const ETOR &e) {
            f.i_write_string(e.name, 0);
            if (is_signed) f.i_write_sint(int32_t(e.value));
            else f.i_write_uint(uint32_t(e.value));
            position(e.psn);
        });
    }

    void write_listof_bclass(TYPE *t) {
        write_list(t, TPL_bclass, ITF_BCLASS, t->sub.csu->bclass, [&](const fkBCLASS &e) {
            f.i_write_typeref(e.type);
            f.i_write_sint(e.offset);
            f.i_write_i8(e.access);
            f.i_write_bool(e.is_virtual);
        });
    }

    void write_listof_adecl(TYPE *t) {
        write_list(t, TPL_adecl, ITF_ADECL, t->sub.csu->adecl, [&](const fkADECL &e) {
            f.i_write_uint(0);
            f.i_write_i8(e.access);
        });
    }

    void write_listof_ffriend(TYPE *t) {
        write_list(t, TPL_ffriend, ITF_FFRIEND, t->sub.csu->ffriend, [&](const fkFFRIEND &e) {
            f.i_write_string(e.name, 0);
            f.i_write_typeref(e.type);
        });
    }

    void write_listof_cfriend(TYPE *t) {
        write_list(t, TPL_cfriend, ITF_CFRIEND, t->sub.csu->cfriend,
                   [&](const fkCFRIEND &e) { f.i_write_typeref(e.type); });
    }

    void write_listof_ntype(TYPE *t) {
        write_list(t, TPL_ntype, ITF_NTYPE, t->sub.csu->ntype,
                   [&](const fkNTYPE &e) { f.i_write_typeref(e.type); });
    }

    void write_listof_mdata(TYPE *t) {
        write_list(t, TPL_mdata, ITF_MDATA, t->sub.csu->mdata, [&](const fkMDATA &e) {
            f.i_write_uint(e.index);
            f.i_write_string(e.name, 0);
            f.i_write_typeref(e.type);
            f.i_write_i8(e.access);
            f.i_write_sint(int32_t(e.offset));
            f.i_write_i8(e.fti);
            f.i_write_uint(e.bitsize);
            f.i_write_bool(e.bitfld);
            f.i_write_bool(e.flag2);
            f.i_write_bool(e.flag3);
            position(e.psn);
        });
    }

    void write_listof_sdata(TYPE *t) {
        write_list(t, TPL_sdata, ITF_SDATA, t->sub.csu->sdata, [&](const fkSDATA &e) {
            f.i_write_string(e.name, 0);
            f.i_write_typeref(e.type);
            f.i_write_i8(e.access);
        });
    }

    void write_listof_mfunc(TYPE *t) {
        write_list(t, TPL_mfunc, ITF_MFUNC, t->sub.csu->mfunc, [&](const fkMFUNC &e) {
            f.i_write_string(e.name, 0);
            f.i_write_typeref(e.type);
            f.i_write_i8(e.access);
            f.i_write_sint(e.word);
            for (bool flag : e.flags) f.i_write_bool(flag);
        });
    }

    void write_csu_list(TYPE *t, TP_LIST list) {
        switch (list) {
        case TPL_bclass: return write_listof_bclass(t);
        case TPL_adecl: return write_listof_adecl(t);
        case TPL_ffriend: return write_listof_ffriend(t);
        case TPL_cfriend: return write_listof_cfriend(t);
        case TPL_ntype: return write_listof_ntype(t);
        case TPL_mdata: return write_listof_mdata(t);
        case TPL_sdata: return write_listof_sdata(t);
        case TPL_mfunc: return write_listof_mfunc(t);
        default: return write_listof_params(t, t->sub.csu->params);
        }
    }

    // The types that the elements of a list refer to: a reader must know them before the list.
    void write_element_types(const tpCSU &csu, TP_LIST list) {
        auto each = [&](auto &elements) {
            for (auto *e = elements.first; e; e = e->next)
                if (e->type) write_type(e->type);
        };
        switch (list) {
        case TPL_bclass: return each(csu.bclass);
        case TPL_ffriend: return each(csu.ffriend);
        case TPL_cfriend: return each(csu.cfriend);
        case TPL_ntype: return each(csu.ntype);
        case TPL_mdata: return each(csu.mdata);
        case TPL_sdata: return each(csu.sdata);
        case TPL_mfunc: return each(csu.mfunc);
        case TPL_params: return each(csu.params);
        default: return; // access declarations have none
        }
    }

    void write_csu_type_lists(TYPE *t) {
        for (TP_LIST list : IF_CSU_LISTS) {
            if (!t->has_list(list)) continue;
            write_element_types(*t->sub.csu, list);
            write_csu_list(t, list);
        }
    }

    // ---- order
    void push(TYPE *t, STEP step = ENTER) { todo.push_back({t, step}); }

    // Puts the parts of a type on the stack, the first one on top.
    void push_parts(TYPE *t) {
        switch (t->kind) {
        case K_fixpt:
        case K_complex:
        case K_ptr:
        case K_ref:
        case K_qual: return push(t->sub.part);
        case K_typedef: return push(t->sub.td->type_named);
        case K_array: return push(t->sub.arr->elem_type);
        case K_ptm: push(t->sub2.of_class); return push(t->sub.part);
        case K_func: return push(t->sub.fn->return_type);
        case K_enum: return push(t->sub.en->underlying_type);
        default: return;
        }
    }

    void write_head(TYPE *t) {
        switch (t->kind) {
        case K_fixpt: return write_fixpt_type(t);
        case K_ptr: return write_addr_type(t, ITF_PTR);
        case K_ref: return write_addr_type(t, ITF_REF);
        case K_qual: return write_qual_type(t);
        case K_typedef: return write_typedef_type(t);
        case K_array: return write_array_type(t);
        case K_ptm: return write_ptm_type(t);
        case K_func: {
            write_func_type(t);
            push(t, LIST);
            size_t from = todo.size();
            for (const fkPARAM *param = t->sub.fn->params.first; param; param = param->next)
                push(param->type);
            return std::reverse(todo.begin() + ptrdiff_t(from), todo.end());
        }
        case K_enum: write_enum_type(t); return write_listof_etors(t);
        case K_class:
        case K_struct:
        case K_union: return write_csu_type(t);
        default: return write_basic_type(t);
        }
    }

    void write_type(TYPE *top) {
        push(top);
        while (!todo.empty()) {
            WORK work = todo.back();
            todo.pop_back();
            TYPE *t = work.t->rep();
            switch (work.step) {
            case ENTER:
                if (t->writ) break;
                t->writ = true;
                push(t, HEAD);
                push_parts(t);
                break;
            case HEAD: write_head(t); break;
            case LIST: write_listof_params(t, t->sub.fn->params); break;
            }
        }
    }

    void write_all_csu_types(TYPE *root) {
        std::vector<TYPE *> records;
        walk_based(root, [&](TYPE *t) {
            if (t->kind < K_class || t->rep() != t || !t->refd) return;
            write_type(t);
            records.push_back(t);
        });
        for (TYPE *t : records) write_csu_type_lists(t);
    }

    void write_type_tree(TYPE *root) {
        walk_type_tree(root, [&](TYPE *t) {
            t = t->rep();
            if (!t->refd || t->writ) return;
            // All that is marked is reached from the marks, records included.
            QL_ASSERT(t->kind < K_class);
            write_type(t);
        });
    }
};

void I_FILE::if_reference_type(TYPE *t) {
    if (t) t->rep()->refd = true;
}

void I_FILE::if_mark_global_types() {
    for (const I_SYMTAB *symbol : globals_) {
        if_reference_type(symbol->sym_type());
        if_reference_type(symbol->sym_cpp_type());
    }
}

void I_FILE::if_write_type(TYPE *t) { IF_TYPE_WRITER{*this, {}}.write_type(t); }

bool I_FILE::if_write_all_types(bool named_types) {
    uint32_t start = if_tell();
    TYPE *root = package_->root;
    if_mark_global_types();
    mark_named_types(root, named_types);
    mark_refed_types(root);
    IF_TYPE_WRITER writer{*this, {}};
    writer.write_all_csu_types(root);
    writer.write_type_tree(root);
    if (if_tell() == start) return false;
    offsets_[AREA_TYPES] = start;
    i_write_eof();
    return true;
}
