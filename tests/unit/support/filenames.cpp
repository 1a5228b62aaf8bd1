#include "support/demangle.h"
#include "support/filename.h"

#include <gtest/gtest.h>

TEST(filenames, extension_is_found_in_the_last_component_only) {
    const struct {
        const char *name, *without, *opt;
    } cases[] = {
        {"a.if", "a", "a.opt"},
        {"a.b.if", "a.b", "a.b.opt"},
        {"a", "a", "a.opt"},
        {"d.x/a", "d.x/a", "d.x/a.opt"},
        {"d.x/a.if", "d.x/a", "d.x/a.opt"},
        {".hidden", ".hidden", ".hidden.opt"},
        {"d/.hidden", "d/.hidden", "d/.hidden.opt"},
        {"..", "..", "...opt"},
        {"a.", "a", "a.opt"},
        {"", "", ".opt"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(fn_without_extension(c.name), c.without) << c.name;
        EXPECT_EQ(fn_with_extension(c.name, ".opt"), c.opt) << c.name;
    }
}

TEST(filenames, same_file_sees_through_spellings) {
    EXPECT_TRUE(fn_same_file("/dev/null", "/dev/../dev/null"));
    EXPECT_FALSE(fn_same_file("/dev/null", "/dev/zero"));
    EXPECT_FALSE(fn_same_file("/dev/null", "/no/such/file"));
}

TEST(identifiers, only_encoded_names_change) {
    EXPECT_EQ(decode_identifier("_ZN3foo3barEi"), "foo::bar(int)");
    EXPECT_EQ(decode_identifier("main"), "main");
    EXPECT_EQ(decode_identifier("i"), "i");
    EXPECT_EQ(decode_identifier("_Zbroken"), "_Zbroken");
    EXPECT_EQ(decode_identifier(nullptr), "");
}
