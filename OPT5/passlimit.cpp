#include "OPT5/passlimit.h"

#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "support/register_option.h"

namespace {

struct PASS_LIMIT {
    const char *pass;
    unsigned long done, limit;
};
std::vector<PASS_LIMIT> limits; // a handful, so looked through in order

PASS_LIMIT &limit_of(const char *pass) {
    for (PASS_LIMIT &each : limits)
        if (each.pass == pass || !strcmp(each.pass, pass)) return each;
    int limit = pass_debug((std::string("limit_") + pass).c_str());
    limits.push_back({pass, 0, limit ? (unsigned long)(limit < 0 ? 0 : limit) : ULONG_MAX});
    return limits.back();
}

} // namespace

void init_pass_limits() { limits.clear(); }

bool pass_may_transform(const char *pass) {
    PASS_LIMIT &limit = limit_of(pass);
    if (limit.done >= limit.limit) return false;
    ++limit.done;
    return true;
}
