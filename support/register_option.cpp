#include "support/register_option.h"

#include "support/safealloc.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <set>

namespace {

struct assoc_entry {
    char *key;
    int value;
};

// Plain zero-initialised objects: constructors that run before main may already store switches.
constexpr int TABLE_STEP = 100;
assoc_entry *assoc_array;
int assoc_top;  // entries in use
int assoc_size; // entries there is room for

void grow_table() {
    assoc_size += TABLE_STEP;
    assoc_array = static_cast<assoc_entry *>(saferealloc(assoc_array, assoc_size * sizeof(assoc_entry)));
}

// Index of the first entry whose key is not below KEY.
int lower_slot(const char *key) {
    int low = 0, high = assoc_top;
    while (low < high) {
        int mid = low + (high - low) / 2;
        if (strcmp(assoc_array[mid].key, key) < 0) low = mid + 1;
        else high = mid;
    }
    return low;
}

bool slot_holds(int slot, const char *key) {
    return slot < assoc_top && strcmp(assoc_array[slot].key, key) == 0;
}

int lookup(const char *key) {
    int slot = lower_slot(key);
    return slot_holds(slot, key) ? assoc_array[slot].value : 0;
}

void store(const char *key, int value) {
    int slot = lower_slot(key);
    if (!slot_holds(slot, key)) {
        if (assoc_top == assoc_size) grow_table();
        size_t length = strlen(key);
        char *copy = static_cast<char *>(safemalloc(length + 1));
        memcpy(copy, key, length + 1);
        memmove(assoc_array + slot + 1, assoc_array + slot, (assoc_top - slot) * sizeof(assoc_entry));
        assoc_array[slot].key = copy;
        ++assoc_top;
    }
    assoc_array[slot].value = value;
}

// The keys with a prefix are neighbours. Passes ask for theirs at every statement, so nothing is formatted here.
int lookup_with_prefix(const char *prefix, const char *name) {
    int slot = lower_slot(prefix);
    size_t length = strlen(prefix);
    for (; slot < assoc_top && !strncmp(assoc_array[slot].key, prefix, length); slot++)
        if (!strncmp(assoc_array[slot].key + length, name, DEBUG_KEY_SIZE - 1 - length)) // keys are cut there
            return assoc_array[slot].value;
    return 0;
}

std::set<std::string> &known_keys() {
    static std::set<std::string> keys;
    return keys;
}

} // namespace

int pass_debug(const char *name) { return assoc_top ? lookup_with_prefix("debug:", name) : 0; }
int pass_enable(const char *name) { return assoc_top ? lookup_with_prefix("enable:", name) : 0; }
bool pass_disable(const char *name) { return assoc_top && lookup_with_prefix("disable:", name) != 0; }

void process_debug_option(const char *kind, const char *text) {
    if (!kind || !text) return;
    while (*text) {
        size_t length = strcspn(text, ",");
        std::string item(text, length);
        text += length;
        if (*text == ',') ++text;

        int value = 1;
        if (size_t equals = item.find('='); equals != std::string::npos) {
            value = static_cast<int>(strtol(item.c_str() + equals + 1, nullptr, 0));
            item.resize(equals);
        }
        if (item.empty()) continue;
        char key[DEBUG_KEY_SIZE];
        snprintf(key, sizeof key, "%s:%s", kind, item.c_str());
        store(key, value);
    }
}

register_option::register_option(const char *key) : key_(known_keys().insert(key).first->c_str()) {}

register_option::operator int() const { return lookup(key_); }

register_option &register_option::operator=(int value) {
    store(key_, value);
    return *this;
}

bool register_option::is_registered(const char *key) { return known_keys().count(key) != 0; }
