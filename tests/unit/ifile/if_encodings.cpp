// Bytes of single fields, on both sides.
#include "support/fatal.h"
#include "tests/unit/ifile/if_testing.h"

#include <gtest/gtest.h>

#include <climits>

using testing::ExitedWithCode;

namespace {

// The payload of the comment record that `write` fills.
std::string payload(const std::function<void(I_FILE &)> &write) {
    T_PKG package;
    uint32_t from = 0, to = 0;
    std::string file = written(package.p, [&](I_FILE &f) {
        from = f.if_tell();
        write(f);
        f.i_flush(IF_COMMENT);
        to = f.if_tell();
    });
    return file.substr(from + 2, to - from - 2); // for payloads below 128 bytes
}

// Calls `read` at the payload of the first record of a main stream.
void reading(const std::string &bytes, const std::function<void(I_FILE &)> &read, int version = IF_VERSION) {
    THROWING throwing;
    RAW raw;
    raw.before = rec(IF_COMMENT, bytes);
    raw.files = rec(IF_SOURCE, z("a.c"));
    raw.version = version;
    T_READ r(raw.build().bytes, false);
    r.file->if_read_file_names();
    r.file->if_seek(raw.at);
    int tag;
    uint32_t length;
    r.file->i_read_header(tag, length);
    ASSERT_EQ(tag, IF_COMMENT);
    read(*r.file);
}

// The refusal that `read` meets, without the place, and that place relative to the payload.
std::string refusal(const std::string &bytes, const std::function<void(I_FILE &)> &read) {
    std::string text = "read";
    try {
        reading(bytes, read);
    } catch (const BAD_FILE &bad) { text = bad.text.substr(bad.text.rfind(": ") + 2); }
    return text;
}

} // namespace

TEST(if_encodings, numbers_of_variable_length) {
    struct {
        uint32_t value;
        std::string bytes;
    } unsigned_rows[] = {
        {0, b({0})},
        {127, b({0x7F})},
        {128, b({0x80, 0x01})},
        {16384, b({0x80, 0x80, 0x01})},
        {UINT32_MAX, b({0xFF, 0xFF, 0xFF, 0xFF, 0x0F})},
    };
    for (auto &row : unsigned_rows) {
        EXPECT_EQ(payload([&](I_FILE &f) { f.i_write_uint(row.value); }), row.bytes) << row.value;
        reading(row.bytes, [&](I_FILE &f) {
            EXPECT_EQ(f.i_read_uint(), row.value);
            f.i_end_record();
        });
    }
    struct {
        int32_t value;
        std::string bytes;
    } signed_rows[] = {
        {0, b({0})},
        {63, b({0x3F})},
        {64, b({0xC0, 0x00})},
        {-1, b({0x7F})},
        {-64, b({0x40})},
        {-65, b({0xBF, 0x7F})},
        {8191, b({0xFF, 0x3F})},
        {-8193, b({0xFF, 0xBF, 0x7F})},
        {INT_MAX, b({0xFF, 0xFF, 0xFF, 0xFF, 0x07})},
        {INT_MIN, b({0x80, 0x80, 0x80, 0x80, 0x78})},
    };
    for (auto &row : signed_rows) {
        EXPECT_EQ(payload([&](I_FILE &f) { f.i_write_sint(row.value); }), row.bytes) << row.value;
        reading(row.bytes, [&](I_FILE &f) {
            EXPECT_EQ(f.i_read_sint(), row.value);
            f.i_end_record();
        });
    }
    // Longer than needed is no fault.
    reading(b({0x80, 0x00, 0xFF, 0xFF, 0x7F}), [](I_FILE &f) {
        EXPECT_EQ(f.i_read_uint(), 0u);
        EXPECT_EQ(f.i_read_sint(), -1);
    });
}

TEST(if_encodings, fixed_fields_are_little_endian_and_bools_are_any_nonzero_byte) {
    EXPECT_EQ(payload([](I_FILE &f) {
                  f.i_write_i8(-2);
                  f.i_write_bool(true);
                  f.i_write_i16(-2);
                  f.i_write_i16(65535);
                  f.i_write_i16(-32768);
                  f.i_write_i32(0x12345678);
              }),
              b({0xFE, 1, 0xFE, 0xFF, 0xFF, 0xFF, 0, 0x80, 0x78, 0x56, 0x34, 0x12}));
    reading(b({0xFE, 0xFE, 2, 0xFE, 0xFF, 0xFE, 0xFF, 0x78, 0x56, 0x34, 0x92, 0xFF, 0xFF, 0xFF, 0xFF}),
            [](I_FILE &f) {
                EXPECT_EQ(f.i_read_u8(), 254u);
                EXPECT_EQ(f.i_read_s8(), -2);
                EXPECT_EQ(f.i_read_bool(), true);
                EXPECT_EQ(f.i_read_u16(), 0xFFFEu);
                EXPECT_EQ(f.i_read_s16(), -2);
                EXPECT_EQ(f.i_read_u32(), 0x92345678u);
                EXPECT_EQ(f.i_read_s32(), -1);
                f.i_end_record();
            });
}

TEST(if_encodings, a_value_that_no_short_can_hold_ends_the_program) {
    for (int value : {65536, -32769})
        EXPECT_EXIT(
            {
                dup2(2, 1); // the text goes to standard output
                register_fatal_closer([] { puts("closed"); });
                payload([&](I_FILE &f) { f.i_write_i16(value); });
            },
            ExitedWithCode(1), "^>> Value exceeds size of short\nclosed\n$");
}

TEST(if_encodings, strings_and_positions) {
    PSN p{"a.c", 3, 200}, nameless{nullptr, 1, 1};
    EXPECT_EQ(payload([&](I_FILE &f) {
                  f.i_write_string("ab", 0);
                  f.i_write_string("ab", 2);
                  f.i_write_psn(&p);
                  f.i_write_psn(nullptr);
                  f.i_write_psn(&nameless);
                  EXPECT_STREQ(f.i_get_file_name(2), "NO_FILE");
              }),
              z("ab") + "ab" + b({1, 3, 0xC8, 1}) + b({0}) + b({2, 1, 1}));
    reading(z("ab") + "cd" + b({1, 3, 0xC8, 1}) + b({0}) + b({2, 1, 1}), [](I_FILE &f) {
        const char *text = f.i_read_string(0);
        EXPECT_STREQ(f.i_read_string(2), "cd");
        EXPECT_STREQ(text, "ab");
        const PSN *psn = f.i_read_psn();
        EXPECT_EQ(show(psn), " at a.c:3:200");
        EXPECT_EQ(f.i_read_psn(), nullptr);
        EXPECT_EQ(f.i_read_psn()->file, nullptr); // a file that the table does not have
        EXPECT_EQ(show(psn), " at a.c:3:200");
        f.i_end_record();
    });
}

TEST(if_encodings, what_no_writer_makes_is_refused) {
    auto unsigned_number = [](I_FILE &f) { f.i_read_uint(); };
    auto signed_number = [](I_FILE &f) { f.i_read_sint(); };
    struct {
        std::string bytes;
        std::function<void(I_FILE &)> read;
        std::string text;
    } rows[] = {
        {b({0xFF, 0xFF, 0xFF, 0xFF, 0x1F}), unsigned_number, "a number of more than 32 bits"},
        {b({0x80, 0x80, 0x80, 0x80, 0x80, 0x00}), unsigned_number, "a number of more than 32 bits"},
        {b({0xFF, 0xFF, 0xFF, 0xFF, 0x0F}), signed_number, "a number of more than 32 bits"},
        {b({0x80, 0x80, 0x80, 0x80, 0x40}), signed_number, "a number of more than 32 bits"},
        {b({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}), signed_number, "a number of more than 32 bits"},
        {b({0x80, 0x80}), unsigned_number, "the record ends within a field of 1 byte"},
        {b({}), signed_number, "the record ends within a field of 1 byte"},
        {b({1}), [](I_FILE &f) { f.i_read_u16(); }, "the record ends within a field of 2 bytes"},
        {b({1, 2, 3}), [](I_FILE &f) { f.i_read_u32(); }, "the record ends within a field of 4 bytes"},
        {"abc", [](I_FILE &f) { f.i_read_string(0); }, "a string without end"},
        {"abc", [](I_FILE &f) { f.i_read_string(4); }, "the record ends within a field of 4 bytes"},
        {"abc", [](I_FILE &f) { f.i_read_skip(4); }, "the record ends within a field of 4 bytes"},
        {b({1, 3}), [](I_FILE &f) { f.i_read_psn(); }, "the record ends within a field of 1 byte"},
        {b({4, 1, 1, 1}), [](I_FILE &f) { f.i_read_count(1); }, "a count of 4 where 3 bytes are left"},
        {"abc", [](I_FILE &f) { f.i_end_record(); }, "3 bytes left over in the record"},
    };
    for (auto &row : rows) EXPECT_EQ(refusal(row.bytes, row.read), row.text);
}

TEST(if_encodings, names_are_entered_once) {
    T_PKG package;
    written(package.p, [](I_FILE &f) {
        std::string one = "one.h", again = "one.h";
        EXPECT_EQ(f.i_enter_file_name(one.c_str()), 1u);
        EXPECT_EQ(f.i_enter_file_name("two.h"), 2u);
        EXPECT_EQ(f.i_enter_file_name(again.c_str()), 1u);
        again = "six.h"; // the same address, another name
        EXPECT_EQ(f.i_enter_file_name(again.c_str()), 3u);
        EXPECT_EQ(f.i_get_file_id("two.h"), 2u);
        EXPECT_EQ(f.i_get_file_id("none.h"), 0u);
        EXPECT_EQ(f.i_get_file_name(0), nullptr);
        EXPECT_EQ(f.i_get_file_name(4), nullptr);
    });
}

TEST(if_encodings, records_of_any_size_are_framed) {
    for (size_t size : {0, 127, 128, 32768, 100000, 3000000}) {
        T_PKG package;
        std::string text(size, 'x');
        T_CLIENT client;
        std::string file = written(package.p, [&](I_FILE &f) { f.if_write_comment(text.c_str()); });
        EXPECT_NE(file.find(rec(IF_COMMENT, text + '\0')), std::string::npos) << size;
    }
}
