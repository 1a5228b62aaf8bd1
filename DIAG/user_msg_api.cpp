#include "DIAG/user_msg_api.h"

namespace {

template <class MESSAGE> void send(DIAG_SRCINFO *position, const std::string &text) {
    MESSAGE message(__FILE__, __LINE__, text.c_str());
    message.set_src(position);
    message.report();
}

} // namespace

USER_MSG *USER_MSG::get_umsg_obj() {
    static USER_MSG object;
    return &object;
}

std::string USER_MSG::make_msg_str(const char *format, va_list args) {
    va_list measure;
    va_copy(measure, args);
    int length = vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (length <= 0) return "";
    std::string text(static_cast<size_t>(length) + 1, '\0');
    vsnprintf(text.data(), text.size(), format, args);
    text.pop_back();
    return text;
}

// Collects the arguments after FORMAT into a std::string named text.
#define FORMAT_ARGUMENTS(format)                                                                             \
    va_list args;                                                                                            \
    va_start(args, format);                                                                                  \
    std::string text = make_msg_str(format, args);                                                           \
    va_end(args)

void USER_MSG::debug(const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gdebug>(nullptr, text);
}

void USER_MSG::remark(const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gremark>(nullptr, text);
}

void USER_MSG::remark(DIAG_SRCINFO *position, const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gremark>(position, text);
}

void USER_MSG::advice(const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gadvice>(nullptr, text);
}

void USER_MSG::advice(DIAG_SRCINFO *position, const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gadvice>(position, text);
}

void USER_MSG::warning(const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    if (emit_warnings_as_errors_m) send<DIAG::gerror>(nullptr, text);
    else send<DIAG::gwarning>(nullptr, text);
}

void USER_MSG::warning(DIAG_SRCINFO *position, const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    if (emit_warnings_as_errors_m) send<DIAG::gerror>(position, text);
    else send<DIAG::gwarning>(position, text);
}

void USER_MSG::error(const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gerror>(nullptr, text);
}

void USER_MSG::error(DIAG_SRCINFO *position, const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gerror>(position, text);
}

void USER_MSG::apperror(const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gapperror>(nullptr, text);
}

void USER_MSG::fatal(const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gfatal>(nullptr, text);
}

void USER_MSG::fatal(DIAG_SRCINFO *position, const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gfatal>(position, text);
}

void USER_MSG::die(const char *prefix, const char *format, ...) {
    FORMAT_ARGUMENTS(format);
    send<DIAG::gdie>(nullptr, std::string(prefix) + ": " + text);
}
