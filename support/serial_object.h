// serial_object<T, OWNER>: objects that their owner numbers in order of creation.
//
// Basic blocks, passes, and the instructions and registers of the late form all need small dense numbers to
// index side tables with. The base class gives an object the next free index of its owner's vector of T* and
// puts the object there; when the object dies its slot becomes null, so numbers are never reused and every
// pointer in the vector is alive.
//
//     struct pass_manager : std::vector<pass*> {};
//     struct pass : serial_object<pass, pass_manager> { ... };
//
// An owner either is a std::vector<T*> itself or offers  std::vector<T*>& serial_slots(T*)  where the argument
// only selects which of several vectors is meant. The owner must outlive its objects, unless it disowns them
// first; an owner that renumbers (compaction) writes serial_number itself and keeps slot and number in step.
#ifndef SUPPORT_SERIAL_OBJECT_H
#define SUPPORT_SERIAL_OBJECT_H

#include <vector>

// The number of an object that no owner knows any more: its destructor leaves the vector alone.
constexpr unsigned NO_SERIAL_NUMBER = ~0u;

template <class T, class OWNER> class serial_object {
  public:
    unsigned serial_number;
    OWNER *owner;

    explicit serial_object(OWNER *owner) : owner(owner) {
        std::vector<T *> &all = slots();
        serial_number = static_cast<unsigned>(all.size());
        all.push_back(object_of(this));
    }

    serial_object(const serial_object &) = delete;
    serial_object &operator=(const serial_object &) = delete;

    // Lets the object outlive its owner or its slot. The slot keeps its pointer.
    void disown() { serial_number = NO_SERIAL_NUMBER; }

  protected:
    ~serial_object() {
        if (serial_number != NO_SERIAL_NUMBER) slots()[serial_number] = nullptr;
    }

  private:
    // The object is still under construction here, which the sanitizer's check of its type does not know.
    __attribute__((no_sanitize("vptr"))) static T *object_of(serial_object *base) {
        return static_cast<T *>(base);
    }

    std::vector<T *> &slots() {
        if constexpr (requires(OWNER & o) { o.serial_slots(static_cast<T *>(nullptr)); }) {
            return owner->serial_slots(static_cast<T *>(nullptr));
        } else {
            return *owner;
        }
    }
};

#endif
