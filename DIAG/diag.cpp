#include "DIAG/diag.h"

#include "support/fatal.h"
#include "support/filename.h"

#include <cstdlib>
#include <cstring>
#include <unordered_map>

// clang-format off
static constexpr dc_SEVERITY ADVICE = dc_SEVERITY::advice, DEBUG = dc_SEVERITY::debug,
                             REMARK = dc_SEVERITY::remark, WARNING = dc_SEVERITY::warning,
                             ERROR = dc_SEVERITY::error, FATAL = dc_SEVERITY::fatal;

//                      number  format                                                        severity  internal  not discretionary
DIAG_INFO DIAG_INFO_ENTRY[] = {
    // files and pointers
    { 6000, "pointer \"%s\" should not be NULL at this point",                             0, FATAL,   true,  false},
    { 6001, "cannot open file \"%s\":  %s",                                                0, FATAL,   false, false},
    { 6002, "%s option conflicts with previous option %s",                                 0, ERROR,   false, false},
    { 6003, "invalid parameter %s to option %s",                                           0, ERROR,   false, false},
    { 6004, "cannot open file \"%s\"",                                                     0, FATAL,   false, false},
    { 6005, "\"%s\" is not a valid archive file",                                          0, FATAL,   false, false},
    { 6006, "invalid option:  %s",                                                         0, FATAL,   false, false},
    { 6007, "pointer \"%s\" should be NULL at this point",                                 0, FATAL,   true,  false},
    // options
    {24000, "option is invalid",                                                           0, ERROR,   false, false},
    {24001, "out of memory",                                                               0, FATAL,   false, false},
    {24002, "option %s conflicts with previous option %s",                                 0, ERROR,   false, false},
    {24003, "option %s overrides preceding option %s",                                     0, WARNING, false, false},
    {24004, "option %s clears preceding option %s",                                        0, REMARK,  false, false},
    {24005, "option object: bad parm_type [A1]",                                           0, ERROR,   false, false},
    {24006, "Attempt to clear PERSISTENT option %s ignored",                               0, WARNING, false, false},
    {24007, "unhandled clause in setarg() [%u]",                                           0, FATAL,   false, false},
    {24008, "unhandled option handler [%u]",                                               0, FATAL,   false, false},
    {24009, "list handler for non-list option [%u]",                                       0, FATAL,   false, false},
    {24010, "option %s is missing its parameter '%s'",                                     0, ERROR,   false, false},
    {24011, "argument to option %s (%s) is out of range",                                  0, ERROR,   false, false},
    {24012, "argument to option %s (%s) is out of range (must be a non-negative_number)",  0, ERROR,   false, false},
    {24013, "argument to option %s (%s) is out of range (must be a number from %u to %u",  0, ERROR,   false, false},
    {24014, "corruption in option handler",                                                0, FATAL,   false, false},
    {24015, "bad argument to option %s: should be one of {%s}",                            0, ERROR,   false, false},
    {24016, "Case insensitivity of options has been deprecated; %s must be written as %s in future releases",
                                                                                           0, WARNING, false, false},
    {24017, "Option %s is not valid %s %s (ignored)",                                      0, WARNING, false, false},
    {24018, "Option %s is not valid %s %s",                                                0, ERROR,   false, false},
    {24019, "garbage following option -%s ignored",                                        0, WARNING, false, false},
    {24020, "option %s was set in previous files, but not in \"%s\"",                      0, ERROR,   false, false},
    {24021, "option %s is set in \"%s\", but not in previous files",                       0, ERROR,   false, false},
    {24022, "option %s is set in \"%s\", and is incompatible with the previously seen option %s",
                                                                                           0, ERROR,   false, false},
    {24023, "option %s in file \"%s\" conflicts with previous option %s",                  0, ERROR,   false, false},
    {24024, nullptr,                                                                       0, ERROR,   false, false},
    {24026, "Argument of %s must be a power of 2",                                         0, ERROR,   false, false},
    {24027, nullptr,                                                                       0, ERROR,   false, false},
    {24028, "option %s needs to be passed to the compiler shell instead of directly to the linker.  Ignoring.",
                                                                                           0, ERROR,   false, false},
    {24029, nullptr,                                                                       0, ERROR,   false, true},
    {24030, "Cannot find tool type with command \"%s\". Is the command defined in the tooldef?",
                                                                                           0, ERROR,   false, false},
    {24031, "unhandled clause in add_to_history() [%u]",                                   0, FATAL,   false, false},
    {24032, "No known tool \"%s\" when adding file to option list.",                       0, WARNING, false, false},
    {24033, "Silicon version %s is not a supported or valid value",                        0, FATAL,   false, false},
    {24034, "Small memory model is no longer supported",                                   0, FATAL,   false, false},
    {24035, nullptr,                                                                       0, ERROR,   false, false},
    {24037, "The --far_heapsize option is deprecated. Use --heap_size instead. %s.",       0, WARNING, false, false},
    {24038, "%s",                                                                          0, REMARK,  false, false},
    {24039, "%s",                                                                          0, WARNING, false, false},
    {24040, "%s",                                                                          0, ERROR,   false, false},
    {24041, "%s",                                                                          0, FATAL,   false, false},
    {24042, nullptr,                                                                       0, ERROR,   false, false},
    // the generic front end
    {99900, "error limit reached; %u errors detected",                                     0, FATAL,   false, false},
    {99920, "%s",                                                                          0, DEBUG,   true,  false},
    {99921, "%s",                                                                          0, REMARK,  false, true},
    {99922, "%s",                                                                          0, WARNING, false, true},
    {99923, "%s",                                                                          0, ERROR,   false, true},
    {99924, "%s",                                                                          0, ERROR,   true,  true},
    {99925, "%s",                                                                          0, FATAL,   false, true},
    {99926, "%s",                                                                          0, FATAL,   true,  true},
    {99927, "%s",                                                                          0, ADVICE,  false, true},
    {0,     nullptr,                                                         0, dc_SEVERITY::suppressed, false, false},
};
// clang-format on

int DIAGNOSTIC::diag_cols_m = 79;
int DIAGNOSTIC::wrap_indent_m = 3;
unsigned DIAGNOSTIC::max_errors_m = 100;
bool DIAGNOSTIC::warnings_m = true;
bool DIAGNOSTIC::wrap_enabled_m = true;
bool DIAGNOSTIC::advice_m;
bool DIAGNOSTIC::debug_m;
bool DIAGNOSTIC::remarks_m;
bool DIAGNOSTIC::verbose_m;
bool DIAGNOSTIC::wrap_headers_m;
bool DIAGNOSTIC::display_ipos_m;
bool DIAGNOSTIC::display_code_m;
bool DIAGNOSTIC::debug_mode_m;
int DIAGNOSTIC::indent_m;
unsigned DIAGNOSTIC::error_count_m;
FILE *DIAGNOSTIC::fp_m;
std::vector<int> DIAGNOSTIC::indent_stack_m;
std::vector<bool> DIAGNOSTIC::debug_mode_stack_m;

namespace {

// Formats into one buffer that is kept and grows on demand. Valid until the next call.
const std::string &format_text(const char *format, va_list args) {
    static std::string buffer(256, '\0');
    static std::string text;
    va_list again;
    va_copy(again, args);
    int length = vsnprintf(buffer.data(), buffer.size(), format, args);
    if (length < 0) length = 0;
    if (static_cast<size_t>(length) >= buffer.size()) {
        buffer.resize(static_cast<size_t>(length) + 1);
        vsnprintf(buffer.data(), buffer.size(), format, again);
    }
    va_end(again);
    text.assign(buffer.data(), static_cast<size_t>(length));
    return text;
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// How much of TEXT goes on a line with room for ROOM characters, LENGTH being more than that: up to the last
// word end within the room. A word that fills the room to its end fits. 0 when no word ends in the room.
size_t break_position(const char *text, size_t length, size_t room) {
    for (size_t at = room; at > 0; --at)
        if (at < length && is_blank(text[at]) && !is_blank(text[at - 1])) return at;
    return 0;
}

} // namespace

bool DIAG_SRCINFO::is_equal(const DIAG_SRCINFO *other) const {
    return other && strcmp(file() ? file() : "", other->file() ? other->file() : "") == 0 &&
           line() == other->line() && column() == other->column() && approx() == other->approx();
}

DIAGNOSTIC::DIAGNOSTIC(DIAG_INFO *info, const char *file, unsigned line)
    : info_(info), columns_left_(diag_cols_m), file_(file), line_(line) {
    QL_ASSERT(info != nullptr);
}

DIAGNOSTIC::DIAGNOSTIC(const DIAGNOSTIC &other)
    : info_(other.info_), columns_left_(diag_cols_m), file_(other.file_), line_(other.line_) {
    if (other.src_)
        src_ = std::make_unique<DIAG_SRCINFO_DATA>(other.src_->file(), other.src_->line(),
                                                   other.src_->column(), other.src_->approx());
}

DIAGNOSTIC::~DIAGNOSTIC() = default;

void DIAGNOSTIC::set_src(DIAG_SRCINFO *position) { src_.reset(position); }

bool DIAGNOSTIC::is_equal(const DIAGNOSTIC *other) const {
    if (!other || info_ != other->info_) return false;
    return src_ ? src_->is_equal(other->src_.get()) : !other->src_;
}

void DIAGNOSTIC::dump(FILE *stream) {
    fprintf(stream, "#%d (%s) %s:%u %s: %s\n", info_->number, sev_str(),
            fn_base_name(file_ ? file_ : "").c_str(), line_, srcinfo_str(src_.get()).c_str(),
            get_sp_buffer());
}

const char *DIAGNOSTIC::sev_str() const {
    static const char *const words[] = {"(suppressed)", "(no error)", "advice", "debug",
                                        "remark",       "warning",    "error",  "fatal error"};
    unsigned severity = static_cast<unsigned>(info_->severity);
    return severity < sizeof words / sizeof *words ? words[severity] : "(unknown)";
}

FILE *DIAGNOSTIC::fp() const {
    if (fp_m) return fp_m;
    return info_->severity < dc_SEVERITY::warning ? stdout : stderr;
}

bool DIAGNOSTIC::suppress() const {
    switch (info_->severity) {
    case dc_SEVERITY::suppressed: return true;
    case dc_SEVERITY::advice: return !advice_m;
    case dc_SEVERITY::debug: return !debug_m;
    case dc_SEVERITY::remark: return !remarks_m;
    case dc_SEVERITY::warning: return !warnings_m;
    default: return false;
    }
}

bool DIAGNOSTIC::is_discretionary() const {
    return info_->severity < dc_SEVERITY::fatal && info_->severity != dc_SEVERITY::advice &&
           !info_->internal && !info_->not_discretionary;
}

std::string DIAGNOSTIC::srcinfo_str(const DIAG_SRCINFO *position) {
    if (!position || !position->file() || !*position->file()) return "";
    std::string text = std::string("\"") + position->file() + "\"";
    if (position->line() > 0) text += ", line " + std::to_string(position->line());
    if (position->approx()) text += " (approximate)";
    return text;
}

void DIAGNOSTIC::report() {
    print_header();
    flush();
}

void DIAGNOSTIC::print_header() {
    header_printed_ = true;
    if (suppress()) return;
    flush();

    bool wrap = wrap_enabled_m;
    wrap_enabled_m = wrap && wrap_headers_m;
    if (indent_m > 0) print("%*s", indent_m, "");
    if (display_ipos_m || info_->internal) print("%s:%u:", fn_base_name(file_ ? file_ : "").c_str(), line_);
    if (std::string position = srcinfo_str(src_.get()); !position.empty()) print("%s: ", position.c_str());
    if (!display_code_m && !info_->internal) print("%s: ", sev_str());
    else
        print("%s%s #%u%s: ", info_->internal ? "internal " : "", sev_str(),
              static_cast<unsigned>(info_->number), is_discretionary() ? "-D" : "");
    wrap_enabled_m = wrap;
}

void DIAGNOSTIC::print(const char *format, ...) {
    va_list args;
    va_start(args, format);
    vprint(format, args);
    va_end(args);
}

void DIAGNOSTIC::vprint(const char *format, va_list args) {
    if (suppress()) return;
    std::string text = format_text(format, args);
    if (wrap_enabled_m && columns_left_ <= 0) new_line();
    print_formatted(text.data(), text.size());
}

void DIAGNOSTIC::emit(const char *text, size_t length) {
    if (length == 0) return;
    fwrite(text, 1, length, fp());
    columns_left_ -= static_cast<int>(length);
    text_on_line_ = true;
}

// A continuation line: the rest of the message stands to the right of its header.
void DIAGNOSTIC::new_line() {
    fputc('\n', fp());
    int indent = indent_m + wrap_indent_m;
    fprintf(fp(), "%*s", indent, "");
    columns_left_ = diag_cols_m - indent;
}

void DIAGNOSTIC::print_formatted(const char *text, size_t length) {
    if (!wrap_enabled_m) {
        emit(text, length);
        return;
    }
    if (diag_cols_m <= indent_m + wrap_indent_m)
        optassert("diag_cols_m > indent_m + wrap_indent_m", __FILE__, __LINE__);

    int full_line = diag_cols_m - indent_m - wrap_indent_m;
    while (length > 0) {
        // A line end inside the text starts the next line afresh.
        const char *end = static_cast<const char *>(memchr(text, '\n', length));
        size_t piece = end ? static_cast<size_t>(end - text) : length;
        size_t room = columns_left_ > 0 ? static_cast<size_t>(columns_left_) : 0;

        if (piece <= room) {
            emit(text, piece);
            if (end) {
                ++piece;
                new_line();
            }
            text += piece;
            length -= piece;
            continue;
        }
        size_t taken = break_position(text, piece, room);
        // A word longer than a whole line is cut; otherwise it moves to the next line.
        if (taken == 0 && columns_left_ >= full_line) taken = room;
        emit(text, taken);
        text += taken;
        length -= taken;
        while (length > 0 && is_blank(*text)) ++text, --length;
        if (length > 0) new_line();
    }
}

void DIAGNOSTIC::flush() {
    if (!text_on_line_) return;
    text_on_line_ = false;
    columns_left_ = diag_cols_m;
    fputc('\n', fp());
    if (verbose_m) show_annotated_source();
    if (debug_mode_m) return;

    if (info_->severity > dc_SEVERITY::warning) ++error_count_m;
    if (info_->severity == dc_SEVERITY::fatal) {
        if (info_->internal) abort();
        exit(1);
    }
    if (info_->severity <= dc_SEVERITY::error && error_count_m > max_errors_m)
        DIAG::max_errors(__FILE__, __LINE__, error_count_m).report();
}

void DIAGNOSTIC::show_annotated_source() {
    if (!src_ || src_->line() <= 0 || !src_->file() || !*src_->file()) return;
    FILE *source = fopen(src_->file(), "r");
    if (!source) return;
    char *line = nullptr;
    size_t size = 0;
    ssize_t length = -1;
    for (int i = 0; i < src_->line(); ++i)
        if ((length = getline(&line, &size, source)) < 0) break;
    fclose(source);
    if (length >= 0) {
        while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) --length;
        fprintf(fp(), "%.*s\n", static_cast<int>(length), line);
        if (src_->column() > 0) fprintf(fp(), "%-*s^\n", src_->column() - 1, "");
    }
    free(line);
}

DIAG_INFO *DIAGNOSTIC::get_info(int number) {
    static const std::unordered_map<int, DIAG_INFO *> rows = [] {
        std::unordered_map<int, DIAG_INFO *> map;
        for (DIAG_INFO *row = DIAG_INFO_ENTRY; row->number; ++row) map.emplace(row->number, row);
        return map;
    }();
    auto found = rows.find(number);
    return found == rows.end() ? nullptr : found->second;
}

static bool override_row(DIAG_INFO *row, dc_SEVERITY severity) {
    if (row->severity == dc_SEVERITY::advice || row->severity == dc_SEVERITY::fatal) return false;
    if (row->internal || row->not_discretionary) return false;
    if (severity == dc_SEVERITY::no_error || severity == dc_SEVERITY::advice ||
        severity == dc_SEVERITY::debug)
        return false;
    row->severity = severity;
    return true;
}

int DIAGNOSTIC::override_severity(int number, dc_SEVERITY severity) {
    DIAG_INFO *row = get_info(number);
    return row && override_row(row, severity);
}

int DIAGNOSTIC::override_severity(dc_SEVERITY from, dc_SEVERITY to) {
    int changed = 0;
    for (DIAG_INFO *row = DIAG_INFO_ENTRY; row->number; ++row)
        if (row->severity == from) changed += override_row(row, to);
    return changed;
}

int DIAGNOSTIC::override_severity(const char *numbers, dc_SEVERITY severity) {
    int changed = 0;
    while (numbers && *numbers) {
        changed += override_severity(static_cast<int>(strtol(numbers, nullptr, 10)), severity);
        numbers = strchr(numbers, ',');
        if (numbers) ++numbers;
    }
    return changed;
}

void DIAGNOSTIC::push_indent(int indent) {
    indent_stack_m.push_back(indent_m);
    indent_m = indent;
}

void DIAGNOSTIC::pop_indent() {
    QL_ASSERT(!indent_stack_m.empty());
    indent_m = indent_stack_m.back();
    indent_stack_m.pop_back();
}

void DIAGNOSTIC::push_debug_mode(bool on) {
    debug_mode_stack_m.push_back(debug_mode_m);
    debug_mode_m = on;
}

void DIAGNOSTIC::pop_debug_mode() {
    QL_ASSERT(!debug_mode_stack_m.empty());
    debug_mode_m = debug_mode_stack_m.back();
    debug_mode_stack_m.pop_back();
}

namespace DIAG {

void text_message::compose(const char *format, ...) {
    va_list args;
    va_start(args, format);
    text_ = format_text(format ? format : "", args);
    va_end(args);
}

void text_message::report() {
    // Debug texts and those about a defect of the program stand in parentheses when they come from the generic
    // front end, which has no better way to set them apart from the user's messages.
    bool parenthesised = info()->internal && info()->number >= 99920;
    print_header();
    print(parenthesised ? "(%s)" : "%s", text_.c_str());
    flush();
}

bool text_message::is_equal(const DIAGNOSTIC *other) const {
    if (!DIAGNOSTIC::is_equal(other)) return false;
    auto *message = dynamic_cast<const text_message *>(other);
    return message && message->text_ == text_;
}

} // namespace DIAG
