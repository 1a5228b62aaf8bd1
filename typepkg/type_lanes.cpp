#include "typepkg/type_lanes.h"

LANE_SHAPE lane_shape_of(const TYPE *t) {
    LANE_SHAPE s;
    if (!t) return s;
    uint64_t count = 1;
    if (t->is_vector()) {
        count = t->num_elem();
        t = t->elem_type();
    }
    if (count == 0 || count > 16) return s;
    if (t->is_enum()) t = t->underlying_type();
    if (t->is_fltpt()) s.lane = t->size == 32 ? LANE_f32 : LANE_f64;
    else if (t->is_integral() || t->is_ptr())
        s.lane = lane_of_width(unsigned(t->size), t->is_integral() && !t->is_unsigned());
    if (s.lane != LANE_none) s.count = uint8_t(count);
    return s;
}
