// The primitives of the intermediate file that run once or more for each field: inline, at most one branch on the
// common path, the rest in if_prim.cpp. Included at the end of if_file.h.
#pragma once

inline unsigned I_FILE::i_read_u8() {
    if (position_ >= record_end_) bad_field(1);
    return uint8_t(image_[position_++]);
}

inline int I_FILE::i_read_s8() { return int8_t(i_read_u8()); }
inline bool I_FILE::i_read_bool() { return i_read_u8() != 0; }

inline uint32_t I_FILE::i_read_uint() {
    if (position_ < record_end_ && uint8_t(image_[position_]) < 0x80) return uint8_t(image_[position_++]);
    return read_long_uint();
}

inline int32_t I_FILE::i_read_sint() {
    if (position_ < record_end_ && uint8_t(image_[position_]) < 0x80) {
        int b = uint8_t(image_[position_++]);
        return b & 0x40 ? b - 0x80 : b;
    }
    return read_long_sint();
}

inline void I_FILE::i_end_record() {
    if (position_ != record_end_) bad_file("%u bytes left over in the record", record_end_ - position_);
}

inline void I_FILE::i_read_header(int &tag, uint32_t &length) {
    uint32_t at = record_start_ = position_;
    if (image_size_ - at >= 2 && uint8_t(image_[at]) < IF_EOF && uint8_t(image_[at + 1]) < 0x80 &&
        uint8_t(image_[at + 1]) <= image_size_ - at - 2) {
        tag = uint8_t(image_[at]);
        length = uint8_t(image_[at + 1]);
        position_ = at + 2;
        record_end_ = position_ + length;
    } else {
        read_long_header(tag, length);
    }
}

inline void I_FILE::expect_record(int tag, const char *where) {
    int found;
    uint32_t length;
    i_read_header(found, length);
    if (found != tag) bad_file("a record of tag %d %s", found, where);
}

inline void I_FILE::i_write_i8(int v) {
    buffer_.need(1);
    *buffer_.pos++ = char(v);
}

inline void I_FILE::i_write_bool(bool v) { i_write_i8(v); }

inline void I_FILE::i_write_uint(uint32_t v) {
    buffer_.need(5);
    while (v >= 0x80) {
        *buffer_.pos++ = char(v | 0x80);
        v >>= 7;
    }
    *buffer_.pos++ = char(v);
}

inline void I_FILE::i_write_sint(int32_t v) {
    buffer_.need(5);
    // The last group is the one behind which only copies of its bit 6 follow.
    while (v < -0x40 || v > 0x3F) {
        *buffer_.pos++ = char(v | 0x80);
        v >>= 7;
    }
    *buffer_.pos++ = char(v & 0x7F);
}

inline void I_FILE::i_write_typeref(TYPE *t) {
    if (t) {
        t = t->rep();
        t->refd = true;
    }
    i_write_uint(t ? t->uid : 0);
}

// The pending bytes have grown up to `end`.
inline void I_FILE::finish_record(char *end) {
    written_ += size_t(end - pending_.pos);
    pending_.pos = end;
    if (written_ > UINT32_MAX || pending_.size() >= HAND_OVER) hand_over_or_fail();
}

inline TYPE *I_FILE::find_typeref(uint32_t id) {
    if (id < known_types_.size() && known_types_[id]) return known_types_[id];
    return look_up_type(id);
}
