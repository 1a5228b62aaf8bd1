// Named switches for debugging and tuning.
//
// A switch is a text key with an integer value: "disable:cps", "enable:lir", "debug:unroll". Nothing has a
// value until the command line gives it one, and a key without a value reads as 0; so every switch is off by
// default. Code asks by name where it needs the answer:
//
//     if (pass_disable("cps")) return;
//     int limit = pass_debug("max_unroll_size");
//
// A register_option object is a switch with a name known before the command line is read. It serves code that
// wants to set a switch itself, or asks for each statement or pass: it knows the place of its value. Reading works for
// keys that nobody registered, and setting an unknown key is no error, so an option of an older or newer release never
// stops a run.
//
// The store is one flat array of entries sorted by key: a query by name is a binary search, and allocates nothing. Keys
// are compared as bytes, cut at DEBUG_KEY_SIZE - 1 characters on both sides, and live for the whole run.
#ifndef SUPPORT_REGISTER_OPTION_H
#define SUPPORT_REGISTER_OPTION_H

#include <cstddef>

// Room for a key with its prefix and the closing zero.
constexpr size_t DEBUG_KEY_SIZE = 512;

// Value of "debug:NAME" or "enable:NAME"; 0 when it was never set.
int pass_debug(const char *name);
int pass_enable(const char *name);

// True when "disable:NAME" was set to something other than 0.
bool pass_disable(const char *name);

// Stores the settings of one option argument. KIND is "debug", "enable" or "disable"; TEXT is a list
// "name,name=value,...". A name alone stores 1; values are decimal, octal with a leading 0, or hexadecimal with
// a leading 0x, as strtol reads them. Both texts may be null: nothing is stored then.
void process_debug_option(const char *kind, const char *text);

class register_option {
  public:
    // KEY carries its prefix ("debug:abort") and must outlive the object; string literals are meant. Two
    // objects may share a key. Safe before main.
    explicit register_option(const char *key);

    // The present value, 0 when unset.
    operator int() const { return *value_; }
    explicit operator bool() const { return static_cast<int>(*this) != 0; }

    // Sets the value, for this and every other reader of the key.
    register_option &operator=(int value);

    const char *key() const { return key_; }

    // Whether some register_option object was made with this key.
    static bool is_registered(const char *key);

  private:
    const char *key_;
    int *value_; // in the store
};

#endif
