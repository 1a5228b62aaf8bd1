#include "support/register_option.h"
#include "support/serial_object.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

struct switch_case {
    const char *kind;
    const char *text;
    const char *name;
    int expected;
};

TEST(switches, values_are_read_back_as_the_argument_said) {
    const switch_case cases[] = {
        {"debug", "t_alone", "t_alone", 1},
        {"debug", "t_value=7", "t_value", 7},
        {"debug", "t_value=0", "t_value", 0}, // overrides the row above
        {"debug", "t_hex=0x10", "t_hex", 16},
        {"debug", "t_octal=010", "t_octal", 8},
        {"debug", "t_negative=-3", "t_negative", -3},
        {"debug", "t_word=zero", "t_word", 0},
        {"debug", ",,t_after_commas,", "t_after_commas", 1},
        {"debug", "t_a=2,t_b,t_c=4", "t_b", 1},
        {"debug", "", "t_c", 4}, // kept from the row above
        {"debug", nullptr, "t_a", 2},
    };
    for (const switch_case &c : cases) {
        process_debug_option(c.kind, c.text);
        EXPECT_EQ(pass_debug(c.name), c.expected) << (c.text ? c.text : "(null)");
    }
}

TEST(switches, kinds_do_not_mix) {
    process_debug_option("enable", "t_kind=5");
    EXPECT_EQ(pass_enable("t_kind"), 5);
    EXPECT_EQ(pass_debug("t_kind"), 0);
    EXPECT_FALSE(pass_disable("t_kind"));
    process_debug_option("disable", "t_kind=-1");
    EXPECT_TRUE(pass_disable("t_kind"));
    process_debug_option("disable", "t_kind=0");
    EXPECT_FALSE(pass_disable("t_kind"));
}

// The store must stay sorted while it grows past several of its steps, whatever the order of arrival.
TEST(switches, many_keys_are_all_found) {
    for (int i = 0; i < 450; ++i) {
        int n = i * 7919 % 450;
        std::string text = "t_many" + std::to_string(n) + "=" + std::to_string(n + 1);
        process_debug_option("debug", text.c_str());
    }
    for (int i = 0; i < 450; ++i) EXPECT_EQ(pass_debug(("t_many" + std::to_string(i)).c_str()), i + 1);
    EXPECT_EQ(pass_debug("t_many450"), 0);
}

TEST(switches, keys_longer_than_the_buffer_are_cut_alike_on_both_sides) {
    std::string name(2000, 'k');
    process_debug_option("debug", (name + "=9").c_str());
    EXPECT_EQ(pass_debug(name.c_str()), 9);
}

TEST(switches, objects_and_names_share_one_value) {
    EXPECT_FALSE(register_option::is_registered("debug:t_object"));
    register_option option("debug:t_object");
    EXPECT_TRUE(register_option::is_registered("debug:t_object"));
    EXPECT_EQ(option, 0);
    process_debug_option("debug", "t_object=4");
    EXPECT_EQ(option, 4);
    register_option twin("debug:t_object");
    twin = 6;
    EXPECT_EQ(option, 6);
    EXPECT_EQ(pass_debug("t_object"), 6);
}

struct numbered;
struct number_owner : std::vector<numbered *> {};
struct numbered : serial_object<numbered, number_owner> {
    explicit numbered(number_owner *owner) : serial_object(owner) {}
};

TEST(serial_objects, numbers_are_dense_and_never_reused) {
    number_owner owner;
    auto a = std::make_unique<numbered>(&owner);
    auto b = std::make_unique<numbered>(&owner);
    EXPECT_EQ(b->serial_number, 1u);
    a.reset();
    EXPECT_EQ(owner[0], nullptr);
    numbered c(&owner);
    EXPECT_EQ(c.serial_number, 2u);
    EXPECT_EQ(owner[1], b.get());
    b->disown();
    b.reset();
    EXPECT_NE(owner[1], nullptr);
}
