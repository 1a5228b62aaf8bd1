// What descriptors claim about values, against the models: flags hold for every sample, and where a flag is missing
// the model shows why; bounds contain every value that the operands allow.
#include "tests/unit/OPT5/bif_world.h"

namespace {

struct bif_bounds : bif_world {
    std::mt19937_64 random{65};

    int64_t sample() {
        if (random() % 2) return turning_points[random() % turning_points.size()];
        return int64_t(random()) >> random() % 64;
    }
    // The model's result on values of the parameters' types.
    INT65 compute(const BIF *bif, const MODEL &model, std::vector<int64_t> o) {
        std::vector<NODE *> parameters = arg_list_args(bif->parameters);
        for (size_t k = 0; k < o.size(); k++)
            if (TYPE_IS_INT(parameters[k]->type))
                o[k] = truncate_to_type(INT65((long long)o[k]), parameters[k]->type).to_int64();
        INT65 result((long long)model.f(o.data()));
        return TYPE_IS_INT(bif->result_type) ? truncate_to_type(result, bif->result_type) : result;
    }
    std::vector<int64_t> samples(int n) {
        std::vector<int64_t> o;
        while (n-- > 0) o.push_back(sample());
        return o;
    }
    // Whether exchanging operands `first` and the next ever changes the result.
    bool commutes(const BIF *bif, const MODEL &model, int first) {
        for (int k = 0; k < 3000; k++) {
            std::vector<int64_t> o = samples(bif->nparms), exchanged = o;
            std::swap(exchanged[first], exchanged[first + 1]);
            if (compute(bif, model, o) != compute(bif, model, exchanged)) return false;
        }
        return true;
    }
};

// The bounds of a call as text.
std::string bounds(NODE *call) {
    return int65_to_decimal(calculate_minval_for_BIF_call(call, nullptr)) + " to " +
           int65_to_decimal(calculate_maxval_for_BIF_call(call, nullptr));
}

bool is_flagged_commutative(const BIF *bif, int first) {
    return bif->flags1 & (first == 0 ? BIF_OPDS_0_1_COMMUTE : BIF_OPDS_1_2_COMMUTE);
}

} // namespace

TEST_F(bif_bounds, operands_that_commute_are_those_that_say_so) {
    std::printf("seed 65\n");
    for (const MODEL &model : models) {
        const BIF *bif = find_BIF_descriptor(model.name);
        ASSERT_NE(bif, nullptr) << model.name;
        for (int first = 0; first + 1 < bif->nparms; first++) {
            bool same_types = arg_list_lookup(bif->parameters, first)->type ==
                              arg_list_lookup(bif->parameters, first + 1)->type;
            EXPECT_EQ(is_flagged_commutative(bif, first), same_types && commutes(bif, model, first))
                << model.name << ' ' << first;
        }
    }
}

TEST_F(bif_bounds, towers_and_associativity_hold) {
    for (const MODEL &model : models) {
        const BIF *bif = find_BIF_descriptor(model.name);
        if (!(bif->flags1 & BIF_IS_SELF_ASSOCIATIVE)) continue;
        ASSERT_EQ(bif->nparms, 2);
        for (int k = 0; k < 2000; k++) {
            std::vector<int64_t> o = samples(3);
            int64_t left = compute(bif, model, {o[0], o[1]}).to_int64();
            int64_t right = compute(bif, model, {o[1], o[2]}).to_int64();
            ASSERT_EQ(compute(bif, model, {left, o[2]}), compute(bif, model, {o[0], right})) << model.name;
        }
    }
}

TEST_F(bif_bounds, proper_minima_maxima_and_magnitudes_are_such) {
    int minima = 0, maxima = 0, magnitudes = 0;
    for (const MODEL &model : models) {
        const BIF *bif = find_BIF_descriptor(model.name);
        bool least = bif->flags2 & BIF_IS_PROPER_MINVAL, greatest = bif->flags3 & BIF_IS_PROPER_MAXVAL;
        bool magnitude = bif->flags2 & BIF_IS_PROPER_ABSVAL;
        minima += least, maxima += greatest, magnitudes += magnitude;
        for (int k = 0; k < 500 && (least || greatest || magnitude); k++) {
            std::vector<int64_t> o = samples(bif->nparms);
            INT65 result = compute(bif, model, o),
                  a = truncate_to_type(INT65((long long)o[0]), bif->result_type);
            if (magnitude) {
                ASSERT_TRUE(!result.is_negative() &&
                            (result == a || result == -a || result == -a - INT65(1)));
                continue;
            }
            INT65 b = truncate_to_type(INT65((long long)o[1]), bif->result_type);
            ASSERT_EQ(result, least ? std::min(a, b) : std::max(a, b)) << model.name;
        }
    }
    EXPECT_EQ(minima, 6);
    EXPECT_EQ(maxima, 6);
    EXPECT_EQ(magnitudes, 2);
}

// Operands of every sort of range, and calls in their places.
TEST_F(bif_bounds, no_value_lies_outside) {
    std::vector<SYMTAB *> variables;
    for (TYPE *type : {c, uc, sht, usht, i, u, ll, ull}) variables.push_back(symbol("x", type));
    TYPE *const node_types[] = {i, u, sht, uc, ll};
    int narrower_than_type = 0, trees = 0;
    for (const MODEL &model : models) {
        const BIF *bif = find_BIF_descriptor(model.name);
        for (int k = 0; k < 150; k++) {
            NODE *list = nullptr;
            for (int n = 0; n < bif->nparms; n++) {
                NODE *operand = random() % 3 ? mk_NAME(variables[random() % variables.size()])
                                             : mk_ICON(INT65((long long)sample()), i);
                if (random() % 4 == 0) operand = ICALL_of("ETSI_L_MULT", {operand, N(variables[0])});
                if (random() % 4 == 0) operand = U(SCONV, operand, ll);
                list = arg_list_append(list, operand);
            }
            bool is_free = !TYPE_IS_INT(bif->result_type);
            TYPE *type = is_free ? node_types[random() % 5] : bif->result_type->normalized();
            if (random() % 8 == 0) type = node_types[random() % 5];
            NODE *call = mk_ICALL(model.name, list, type);
            INT65 low = calculate_minval_for_BIF_call(call, nullptr);
            INT65 high = calculate_maxval_for_BIF_call(call, nullptr);
            trees++;
            narrower_than_type += truncate_to_type(low - INT65(1), type) == low - INT65(1) ||
                                  truncate_to_type(high + INT65(1), type) == high + INT65(1);
            for (int n = 0; n < 60; n++) {
                for (SYMTAB *v : variables) values[v] = INT65((long long)sample());
                INT65 v = run(call);
                ASSERT_TRUE(low <= v && v <= high)
                    << tree2infix(call) << " gives " << int65_to_decimal(v) << ", not " << bounds(call);
            }
            erase_tree(call);
        }
    }
    std::printf("seed 65, %d of %d calls have bounds within their type's\n", narrower_than_type, trees);
    EXPECT_GT(narrower_than_type, trees / 3);
}

TEST_F(bif_bounds, bounds_are_as_narrow_as_the_operands_tell) {
    SYMTAB *byte = symbol("byte", c), *ubyte = symbol("ubyte", uc), *word = symbol("word", i),
           *half = symbol("half", sht);
    const struct {
        NODE *call;
        const char *bounds;
    } cases[] = {
        {ICALL_of("_smulbb", {N(byte), N(byte)}), "-16256 to 16384"},
        {ICALL_of("_smulbb", {N(word), I(2)}), "-65536 to 65534"},
        {ICALL_of("_smultb", {N(word), N(ubyte)}), "-8355840 to 8355585"},
        {ICALL_of("_smulbb", {N(word), N(word)}), "-1073709056 to 1073741824"},
        {ICALL_of("_smlabb", {N(byte), N(byte), N(ubyte)}), "-16256 to 16639"},
        {ICALL_of("_smlabb", {N(word), N(word), N(word)}), "-2147483648 to 2147483647"}, // wraps
        {ICALL_of("_umull", {N(word), N(word)}, ull), "0 to 18446744065119617025"},
        {ICALL_of("_smull", {N(word), N(word)}, ll), "-4611686016279904256 to 4611686018427387904"},
        {ICALL_of("_smull", {N(word), N(word)}, i), "-2147483648 to 2147483647"}, // cut to the call's type
        {ICALL_of("MIN", {N(word), I(100)}), "-2147483648 to 100"},
        {ICALL_of("MAX", {N(byte), I(100)}), "100 to 127"},
        {ICALL_of("MINU", {N(ubyte), I(7, u)}, u), "0 to 7"},
        {ICALL_of("MINU", {I(-1), N(symbol("w", u))}, u), "0 to 4294967295"}, // -1 is the greatest
        {ICALL_of("MIN", {ICALL_of("MAX", {N(word), I(0)}), I(9)}), "0 to 9"},
        {ICALL_of("ETSI_ABS_S", {N(half)}, sht), "0 to 32767"},
        {ICALL_of("ETSI_ABS_S", {I(-7)}, sht), "7 to 7"},
        {ICALL_of("ETSI_ADD", {N(byte), I(32767)}, sht), "32639 to 32767"},
        {ICALL_of("ETSI_MULT", {I(-32768), I(-32768)}, sht), "32767 to 32767"},
        {ICALL_of("ETSI_NORM_S", {N(half)}, sht), "0 to 15"},
        {ICALL_of("ETSI_NORM_L", {N(word)}, sht), "0 to 31"},
        {ICALL_of("ETSI_SHL", {N(ubyte), N(half)}, sht), "0 to 32767"},
        {ICALL_of("ETSI_L_DEPOSIT_H", {N(byte)}), "-8388608 to 8323072"},
        {ICALL_of("ETSI_EXTRACT_H", {N(half)}, sht), "-1 to 0"},
        {ICALL_of("quest$colon", {N(word), N(byte), I(500)}), "-128 to 500"},
        {ICALL_of("__builtin_expect", {N(ubyte), I(1)}), "0 to 255"},
        {mk_ICALL("SYM_IS_AFFINE_IV", nullptr, i), "0 to 1"},
        {ICALL_of("_nobody_knows", {I(1)}, uc), "0 to 255"},
        {ICALL_of("FMIN", {N(word), N(word)}, flt), "-18446744073709551616 to 18446744073709551615"},
        {ICALL_of("MIN", {N(word)}), "-2147483648 to 2147483647"}, // an operand is missing
    };
    for (const auto &row : cases) EXPECT_EQ(bounds(row.call), row.bounds) << tree2infix(row.call);
}

TEST_F(bif_bounds, deep_nests_of_calls_cost_no_exponential_time) {
    NODE *tree = N("x");
    for (int k = 0; k < 60; k++) tree = ICALL_of("_smulbb", {tree, copy_tree(N("x"))});
    unsigned before = bif_bound_depth_hits;
    EXPECT_EQ(bounds(tree), "-1073709056 to 1073741824");
    EXPECT_GT(bif_bound_depth_hits, before);
}
