// Opening, closing, whole-file reading, areas, and what works by frames alone.
#include "ifile/if_file.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "support/fatal.h"

namespace {

constexpr uint32_t LARGEST_FILE = UINT32_MAX - 1; // offsets have 32 bits
constexpr size_t READ_CHUNK = 1 << 20;
constexpr unsigned HEADER_FIXED_BYTES = sizeof IF_MAGIC + 2 + 2 + 5 * 4;

// Areas in the order of their offset fields in the header.
constexpr IF_AREA header_fields[] = {AREA_OPTIONS, AREA_INIT, AREA_TYPES, AREA_FILES, AREA_GLOBALS};

const IF_AREA_ROW &area_row(IF_AREA area) {
    for (const IF_AREA_ROW &row : if_area_order)
        if (row.area == area) return row;
    optassert("area has a row", __FILE__, __LINE__);
}

} // namespace

// --- opening ---

bool I_FILE::load_image() {
    // The size is only a guess: what counts is what can be read.
    long from = ftell(file_), size = 0;
    if (from >= 0 && !fseek(file_, 0, SEEK_END)) {
        size = std::max(ftell(file_) - from, 0L);
        if (fseek(file_, from, SEEK_SET) || size_t(size) > LARGEST_FILE) return false;
    }
    clearerr(file_);
    // One byte for the NUL, one that shows that the end was reached.
    image_.need(size_t(size) + 2);
    while (size_t got = fread(image_.pos, 1, size_t(image_.end - image_.pos) - 1, file_)) {
        image_.pos += got;
        if (image_.size() > LARGEST_FILE) return false;
        if (image_.pos + 1 == image_.end) image_.need(READ_CHUNK);
    }
    if (ferror(file_)) return false;
    *image_.pos = 0;
    image_size_ = uint32_t(image_.size());
    return true;
}

const char *I_FILE::header_fault() {
    const char *p = image_.data(), *end = p + image_size_;
    if (p == end || *p != IF_HEADER) return "no header record";
    uint32_t length = 0;
    int shift = 0;
    do {
        if (++p == end || shift > 21) return "no header record";
        length |= uint32_t(uint8_t(*p) & 0x7F) << shift;
        shift += 7;
    } while (uint8_t(*p) & 0x80);
    p++;
    if (length < HEADER_FIXED_BYTES || length > size_t(end - p)) return "short header record";
    end = p + length;
    if (memcmp(p, IF_MAGIC, sizeof IF_MAGIC)) return "wrong magic";

    position_ = uint32_t(p - image_.data()) + sizeof IF_MAGIC;
    record_end_ = uint32_t(end - image_.data());
    int version = i_read_s16();
    if (i_read_u16() != unsigned(ICODE_CPU_ID)) return "another processor";
    if (version < IF_OLDEST_VERSION || version > IF_VERSION) return "unknown version";
    version_ = version;
    for (IF_AREA area : header_fields) offsets_[area] = i_read_u32();
    if (!memchr(image_.data() + position_, 0, i_payload_left())) return "no producer";
    producer_ = i_read_string(0);
    if (i_payload_left() != (gate(GATE_HEADER_EXTRA) ? 4 : 0)) return "wrong header length";
    extra_word_ = gate(GATE_HEADER_EXTRA) ? i_read_u32() : 0;
    main_stream_ = position_;
    return nullptr;
}

I_FILE *I_FILE::if_open_basic(FILE *file, IF_CLIENT *client, const char *display_name) {
    std::unique_ptr<I_FILE> f(new I_FILE);
    f->file_ = file;
    f->client_ = client;
    if (display_name) f->set_display_name(display_name);
    if (!f->load_image() || f->header_fault()) return nullptr;
    if (!client->cl_magic(f->version_, f->producer_.c_str())) return nullptr;
    f->check_area_offsets();
    return f.release();
}

I_FILE *I_FILE::if_open(FILE *file, IF_CLIENT *client, const char *display_name) {
    std::unique_ptr<I_FILE> f(if_open_basic(file, client, display_name));
    if (!f) return nullptr;
    if_node_table_init();
    f->if_read_options();
    return f.release();
}

bool I_FILE::if_read_magic(bool quiet) {
    uint32_t position = position_, record_end = record_end_;
    const char *fault = header_fault();
    if (fault && !quiet) fprintf(stderr, "%s: %s\n", display_name_.c_str(), fault);
    position_ = position, record_end_ = record_end;
    return !fault;
}

I_FILE *I_FILE::if_create(FILE *file, TYPE_PKG *package, const char *producer) {
    auto *f = new I_FILE;
    f->file_ = file;
    f->writable_ = true;
    f->package_ = package;
    if (producer) f->producer_ = producer;
    f->start_ = std::max(ftell(file), 0L);
    if_node_table_init();
    f->if_write_magic();
    return f;
}

void I_FILE::if_type_init(TYPE_PKG *package) { package_ = package; }

I_FILE::~I_FILE() {
    if (file_) fclose(file_);
}

// --- areas ---

// Areas follow each other in file order, each at least its end mark long.
void I_FILE::check_area_offsets() const {
    uint32_t before = main_stream_;
    for (const IF_AREA_ROW &row : if_area_order) {
        uint32_t offset = offsets_[row.area];
        if (!offset) continue;
        if (offset >= image_size_) bad_file_at(0, "the %s begins behind the end of the file", row.what);
        if (offset <= before) bad_file_at(0, "the %s begins within what stands before it", row.what);
        before = offset;
    }
    // A header whose offsets were never filled in is what is left of a broken run.
    if (!offsets_[AREA_GLOBALS]) bad_file_at(0, "no global symbol area: the file was not finished");
}

uint32_t I_FILE::area_end(IF_AREA area) const {
    bool behind = false;
    for (const IF_AREA_ROW &row : if_area_order) {
        if (behind && offsets_[row.area]) return offsets_[row.area];
        behind |= row.area == area;
    }
    return image_size_;
}

void I_FILE::check_area_end(IF_AREA area) const {
    uint32_t end = area_end(area);
    const char *what = area_row(area).what;
    if (position_ < end) bad_file_at(position_, "%u bytes behind the end of the %s", end - position_, what);
    if (position_ > end) bad_file_at(end, "the %s runs into what stands behind it", what);
}

// Calls `each` with the payload length of each record of an area, if it is there; keeps the position.
template <class F> void I_FILE::read_area(IF_AREA area, F each) {
    if (!offsets_[area]) return;
    const IF_AREA_ROW &row = area_row(area);
    uint32_t back = position_;
    position_ = record_end_ = offsets_[area];
    int tag;
    uint32_t length;
    for (i_read_header(tag, length); tag != IF_EOF; i_read_header(tag, length)) {
        if (tag != row.tag) bad_file("a record of tag %d in the %s", tag, row.what);
        each(length);
        i_end_record();
    }
    check_area_end(area);
    position_ = record_end_ = back;
}

void I_FILE::if_read_options() {
    uint32_t at = offsets_[AREA_OPTIONS];
    read_area(AREA_OPTIONS, [this](uint32_t) { if_read_option_set(); });
    // A set's id is its place in the array of those who use it.
    std::vector<bool> seen(options_.size());
    for (const OPTION_SET &set : options_) {
        if (set.id >= seen.size()) bad_file_at(at, "option set %u where there are %zu", set.id, seen.size());
        if (seen[set.id]) bad_file_at(at, "option set %u twice", set.id);
        seen[set.id] = true;
    }
}

void I_FILE::if_read_file_names() {
    read_area(AREA_FILES, [this](uint32_t) { i_enter_file_name(i_read_string(0)); });
}

void I_FILE::if_read_type_defs() {
    if (!offsets_[AREA_TYPES]) return;
    read_area(AREA_TYPES, [this](uint32_t length) { if_read_type(length); });
    record_start_ = offsets_[AREA_TYPES];
    if_end_type_area();
}

void I_FILE::if_read_globals() {
    read_area(AREA_GLOBALS, [this](uint32_t) { if_read_symbol_def(); });
}

void I_FILE::if_read_all_init() {
    read_area(AREA_INIT, [this](uint32_t) { if_read_init(); });
}

// --- the main stream ---

void I_FILE::if_read_file() {
    for (int step = 0; step < N_IF_AREAS; step++) {
        auto row = std::find_if(std::begin(if_area_order), std::end(if_area_order),
                                [step](const IF_AREA_ROW &r) { return r.read_position == step; });
        switch (row->area) {
        case AREA_HEADER:
        case AREA_OPTIONS: break; // by if_open
        case AREA_FILES: if_read_file_names(); break;
        case AREA_TYPES:
            if_read_type_defs();
            client_->cl_merge_type_defs();
            break;
        case AREA_GLOBALS: if_read_globals(); break;
        case AREA_INIT:
            if_read_all_init();
            client_->cl_preprocess_statics();
            break;
        default:
            if_seek(main_stream_);
            while (if_read_record()) {}
            check_area_end(AREA_MAIN);
        }
    }
}

bool I_FILE::if_read_record() { return read_record() != IF_EOF; }

void I_FILE::if_read_func(uint32_t offset) {
    if (offset) {
        if_seek(offset);
        leave_function();
    }
    for (int tag = 0; tag != I_EF;)
        if ((tag = read_record()) == IF_EOF) return if_seek(record_start_);
}

void I_FILE::if_skip_func() {
    int tag = 0;
    uint32_t length;
    while (tag != I_EF) {
        i_read_header(tag, length);
        if (tag == IF_EOF) return if_seek(record_start_);
        position_ = record_end_;
    }
    leave_function();
}

bool I_FILE::if_check_lengths() {
    auto known = [](unsigned tag) {
        // clang-format off
        static const uint8_t ranges[][2] = {
            {1, 6},   {33, 36}, {38, 38}, {42, 43},   {45, 47},   {58, 60},   {62, 64},  {91, 91},
            {93, 94}, {101, 101}, {108, 108}, {116, 116}, {123, 126}, {255, 255},
        };
        // clang-format on
        return std::any_of(std::begin(ranges), std::end(ranges),
                           [tag](auto &r) { return r[0] <= tag && tag <= r[1]; });
    };
    struct {
        uint32_t at = 0, tag = 0, length = 0;
    } now, previous;
    const char *bytes = image_.data();
    for (uint64_t at = main_stream_; at < image_size_;) {
        now.at = uint32_t(at), now.tag = uint8_t(bytes[at++]), now.length = 0;
        if (now.tag == IF_EOF) return true;
        int shift = 0;
        for (bool more = true; more && at < image_size_ && shift < 35; shift += 7) {
            now.length |= uint32_t(bytes[at] & 0x7F) << shift;
            more = bytes[at++] & 0x80;
        }
        at += now.length;
        if (!known(now.tag) || at >= image_size_) break;
        previous = now;
    }
    printf(">>I-file error:@%d,id=%d,sz=%d,prev [@%d,id=%d,sz=%d]\n", int(now.at), int(now.tag),
           int(now.length), int(previous.at), int(previous.tag), int(previous.length));
    return false;
}

uint32_t I_FILE::if_tell() const { return writable_ ? uint32_t(written_) : position_; }

void I_FILE::if_seek(uint32_t offset) {
    QL_ASSERT(!writable_);
    if (offset > image_size_) bad_file_at(offset, "a position behind the end of the file");
    position_ = record_end_ = offset;
}

void I_FILE::if_flush() {
    if (!writable_) return;
    hand_over();
    if (fflush(file_)) write_failed_ = true;
}

void I_FILE::if_copy_raw(uint32_t from, uint32_t length, I_FILE *to) {
    if (from > image_size_ || length > image_size_ - from)
        bad_file_at(from, "%u bytes wanted where the file ends", length);
    to->i_write_raw(image_.data() + from, length);
    if_seek(from + length);
}

void I_FILE::if_copy_symbols(I_FILE *to) {
    if (!offsets_[AREA_GLOBALS]) return;
    uint32_t back = position_;
    if_seek(offsets_[AREA_GLOBALS]);
    int tag;
    uint32_t length;
    for (i_read_header(tag, length); tag != IF_EOF; i_read_header(tag, length)) {
        if (tag == IF_PRAGMA) {
            std::unique_ptr<PRAGMA> pragma(read_pragma());
            to->if_write_pragma(pragma.get());
        } else if_copy_raw(record_start_, record_end_ - record_start_, to);
    }
    if_seek(back);
}

// --- writing ---

void I_FILE::if_write_magic() {
    i_write_string(IF_MAGIC, sizeof IF_MAGIC);
    i_write_i16(IF_VERSION);
    i_write_i16(ICODE_CPU_ID);
    for (IF_AREA area : header_fields) i_write_i32(offsets_[area]);
    i_write_string(producer_.c_str(), 0);
    i_write_i32(extra_word_);
    if (!written_) return i_flush(IF_HEADER);

    // Again, over the first one: only the offsets differ.
    hand_over();
    uint64_t end = written_;
    if (fseek(file_, start_, SEEK_SET)) write_failed_ = true;
    i_flush(IF_HEADER);
    hand_over();
    if (fseek(file_, 0, SEEK_END)) write_failed_ = true;
    written_ = end;
}

void I_FILE::end_main_stream() {
    i_write_eof();
    offsets_[AREA_INIT] = if_tell();
    main_stream_ended_ = true;
}

void I_FILE::write_areas(bool named_types) {
    for (const IF_AREA_ROW &row : if_area_order) {
        uint32_t at = if_tell();
        switch (row.area) {
        case AREA_INIT:
            i_write_eof();
            break; // of the initialisers, or of the main stream when there are none
        case AREA_OPTIONS: if_write_all_options(); break;
        case AREA_TYPES:
            if (if_write_all_types(named_types)) offsets_[AREA_TYPES] = at;
            break;
        case AREA_FILES: if_write_all_files(); break;
        case AREA_GLOBALS: if_write_all_globals(); break;
        default: break; // already there
        }
    }
    if_write_magic();
}

bool I_FILE::if_close(bool named_types, bool abandon) {
    std::unique_ptr<I_FILE> self(this);
    if (writable_ && !abandon) {
        buffer_.clear(); // of a record that was being built when something went wrong
        write_areas(named_types);
        if_flush();
    }
    if (ferror(file_)) write_failed_ = true;
    if (fclose(file_)) write_failed_ = true;
    file_ = nullptr;
    return write_failed_;
}
