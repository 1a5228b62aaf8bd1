// Primitive fields, record frames, and the ways out of a malformed file and of a file that can't be written.
#include "ifile/if_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "support/fatal.h"

namespace {

constexpr size_t BUFFER_START = 32768; // first size of a buffer, bytes
constexpr int MAX_LEB_BYTES = 5;       // of a 32-bit value

uint32_t little_endian(const char *p, unsigned bytes) {
    uint32_t v = 0;
    for (unsigned i = 0; i < bytes; i++) v |= uint32_t(uint8_t(p[i])) << (8 * i);
    return v;
}

} // namespace

// --- refusing ---

void I_FILE::bad_file_v(uint32_t offset, const char *format, va_list args) const {
    char what[512];
    vsnprintf(what, sizeof what, format, args);
    char where[64];
    snprintf(where, sizeof where, ": malformed at byte %u: ", unsigned(offset));
    if_bad_file_handler((display_name_ + where + what).c_str());
    abort(); // the handler does not return
}

void I_FILE::bad_file(const char *format, ...) const {
    va_list args;
    va_start(args, format);
    bad_file_v(record_start_, format, args);
}

void I_FILE::bad_file_at(uint32_t offset, const char *format, ...) const {
    va_list args;
    va_start(args, format);
    bad_file_v(offset, format, args);
}

void I_FILE::bad_field(unsigned bytes) const {
    bad_file_at(position_, "the record ends within a field of %u byte%s", bytes, bytes == 1 ? "" : "s");
}

void I_FILE::write_fault(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    fflush(stdout);
    run_closing_hooks();
    exit(1);
}

// --- reading ---

unsigned I_FILE::i_read_u16() {
    if (i_payload_left() < 2) bad_field(2);
    position_ += 2;
    return little_endian(image_.data() + position_ - 2, 2);
}

int I_FILE::i_read_s16() { return int16_t(i_read_u16()); }

uint32_t I_FILE::i_read_u32() {
    if (i_payload_left() < 4) bad_field(4);
    position_ += 4;
    return little_endian(image_.data() + position_ - 4, 4);
}

int32_t I_FILE::i_read_s32() { return int32_t(i_read_u32()); }

uint32_t I_FILE::read_long_uint() {
    uint32_t at = position_, v = 0;
    for (int i = 0; i < MAX_LEB_BYTES; i++) {
        unsigned b = i_read_u8();
        if (i == MAX_LEB_BYTES - 1 && b > 0x0F) break;
        v |= uint32_t(b & 0x7F) << (7 * i);
        if (b < 0x80) return v;
    }
    bad_file_at(at, "a number of more than 32 bits");
}

int32_t I_FILE::read_long_sint() {
    uint32_t at = position_, v = 0;
    for (int i = 0; i < MAX_LEB_BYTES; i++) {
        unsigned b = i_read_u8();
        // The fifth group holds the bits 28 to 31; the others repeat the sign.
        if (i == MAX_LEB_BYTES - 1 && b > 0x07 && (b < 0x78 || b > 0x7F)) break;
        v |= uint32_t(b & 0x7F) << (7 * i);
        if (b >= 0x80) continue;
        if (i < MAX_LEB_BYTES - 1 && (b & 0x40)) v |= ~uint32_t{0} << (7 * (i + 1));
        return int32_t(v);
    }
    bad_file_at(at, "a number of more than 32 bits");
}

uint32_t I_FILE::i_read_count(unsigned least) {
    uint32_t at = position_, n = i_read_uint();
    if (n > i_payload_left() / least)
        bad_file_at(at, "a count of %u where %u bytes are left", n, i_payload_left());
    return n;
}

const char *I_FILE::i_read_string(unsigned n) {
    if (n) {
        if (i_payload_left() < n) bad_field(n);
        counted_string_.assign(image_.data() + position_, n);
        position_ += n;
        return counted_string_.c_str();
    }
    const char *text = image_.data() + position_;
    const void *nul = memchr(text, 0, i_payload_left());
    if (!nul) bad_file_at(position_, "a string without end");
    position_ += uint32_t(static_cast<const char *>(nul) - text) + 1;
    return text;
}

void I_FILE::i_read_raw(void *to, unsigned n) {
    if (i_payload_left() < n) bad_field(n);
    memcpy(to, image_.data() + position_, n);
    position_ += n;
}

const PSN *I_FILE::i_read_psn() {
    uint32_t id = i_read_uint();
    if (!id) return nullptr;
    PSN p;
    p.file = i_get_file_name(id);
    p.line = i_read_uint();
    p.column = i_read_uint();
    if (!position_chunks_.empty()) {
        const PSN &last = next_position_[-1];
        if (last.file == p.file && last.line == p.line && last.column == p.column) return &last;
    }
    return keep_position(p);
}

const PSN *I_FILE::keep_position(const PSN &p) {
    constexpr size_t FIRST = 64,
                     LAST = 4096; // positions in a chunk: each has twice as many as the one before
    if (next_position_ == positions_end_) {
        size_t size = std::min(FIRST << std::min<size_t>(position_chunks_.size(), 16), LAST);
        position_chunks_.push_back(std::make_unique<PSN[]>(size));
        next_position_ = position_chunks_.back().get();
        positions_end_ = next_position_ + size;
    }
    *next_position_ = p;
    return next_position_++;
}

void I_FILE::i_read_skip(unsigned n) {
    if (i_payload_left() < n) bad_field(n);
    position_ += n;
}

void I_FILE::read_long_header(int &tag, uint32_t &length) {
    if (position_ >= image_size_) bad_file("the file ends where a record should begin");
    tag = uint8_t(image_[position_++]);
    length = 0;
    record_end_ = image_size_;
    if (tag < IF_EOF) length = i_read_uint();
    if (length > image_size_ - position_)
        bad_file("a record of %u bytes where %u are left", length, image_size_ - position_);
    record_end_ = position_ + length;
}

// --- writing ---

IF_BUFFER::~IF_BUFFER() { free(start); }

void IF_BUFFER::grow(size_t n) {
    size_t used = size(), room = std::max({BUFFER_START, used + used / 2, used + n});
    auto *grown = static_cast<char *>(realloc(start, room));
    if (!grown) {
        printf(">> ICODE Buffer size exceeded and realloc failed\n");
        fflush(stdout);
        run_closing_hooks();
        exit(1);
    }
    start = grown, pos = grown + used, end = grown + room;
}

void I_FILE::i_write_i16(int v) {
    if (v < -32768 || v > 65535) write_fault(">> Value exceeds size of short\n");
    i_write_i8(v);
    i_write_i8(v >> 8);
}

void I_FILE::i_write_i32(uint32_t v) {
    for (int i = 0; i < 4; i++) i_write_i8(int(v >> (8 * i)));
}

void I_FILE::i_write_string(const char *text, unsigned n) {
    size_t bytes = n ? n : strlen(text) + 1;
    buffer_.need(bytes);
    memcpy(buffer_.pos, text, bytes);
    buffer_.pos += bytes;
}

void I_FILE::i_write_psn(const PSN *psn) {
    if (!psn) return i_write_uint(0);
    // Names of positions stay where they are, so that each is looked at once.
    if (psn->file != last_psn_file_ || !last_psn_file_id_) {
        unsigned &id = psn_file_ids_[psn->file];
        if (!id) id = i_enter_file_name(psn->file ? psn->file : NO_FILE);
        last_psn_file_ = psn->file;
        last_psn_file_id_ = id;
    }
    i_write_uint(last_psn_file_id_);
    i_write_uint(psn->line);
    i_write_uint(psn->column);
}

void I_FILE::hand_over() {
    size_t n = pending_.size();
    if (n && fwrite(pending_.start, 1, n, file_) != n) write_failed_ = true;
    pending_.clear();
}

void I_FILE::hand_over_or_fail() {
    if (written_ > UINT32_MAX) write_failed_ = true; // offsets have 32 bits
    if (pending_.size() >= HAND_OVER) hand_over();
}

void I_FILE::i_write_raw(const void *bytes, unsigned n) {
    QL_ASSERT(writable_);
    if (!n) return;
    pending_.need(n);
    memcpy(pending_.pos, bytes, n);
    finish_record(pending_.pos + n);
}

void I_FILE::i_write_eof() {
    char tag = char(IF_EOF);
    i_write_raw(&tag, 1);
}

void I_FILE::i_flush(int tag) {
    QL_ASSERT(writable_);
    size_t length = buffer_.size();
    if (length > UINT32_MAX) {
        write_failed_ = true;
        length = 0;
    }
    pending_.need(1 + MAX_LEB_BYTES + length);
    char *p = pending_.pos;
    *p++ = char(tag);
    uint32_t rest = uint32_t(length);
    for (; rest >= 0x80; rest >>= 7) *p++ = char(rest | 0x80);
    *p++ = char(rest);
    if (length) memcpy(p, buffer_.start, length);
    finish_record(p + length);
    buffer_.clear();
}
