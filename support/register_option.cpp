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

// Plain zero-initialised objects: constructors that run before main may already store switches. Entries stay where they
// are, so that a register_option finds its own without looking.
constexpr int TABLE_STEP = 100;
assoc_entry **assoc_array;
int assoc_top;  // entries in use
int assoc_size; // entries there is room for
int stores;     // values ever given; none: every answer is 0

void grow_table() {
    assoc_size += TABLE_STEP;
    assoc_array = static_cast<assoc_entry **>(saferealloc(assoc_array, assoc_size * sizeof(assoc_entry *)));
}

// Compares a key of the store with PREFIX and NAME, one behind the other; keys are cut, and so is the name.
int compare_key(const char *key, const char *prefix, size_t prefix_length, const char *name) {
    int order = strncmp(key, prefix, prefix_length);
    return order ? order : strncmp(key + prefix_length, name, DEBUG_KEY_SIZE - 1 - prefix_length);
}

// Index of the first entry whose key is not below PREFIX and NAME; nothing is formatted.
int lower_slot(const char *prefix, const char *name) {
    size_t length = strlen(prefix);
    int low = 0, high = assoc_top;
    while (low < high) {
        int mid = low + (high - low) / 2;
        if (compare_key(assoc_array[mid]->key, prefix, length, name) < 0) low = mid + 1;
        else high = mid;
    }
    return low;
}

bool slot_holds(int slot, const char *prefix, const char *name) {
    return slot < assoc_top && !compare_key(assoc_array[slot]->key, prefix, strlen(prefix), name);
}

// The entry of the key, made with the value 0 when there is none.
assoc_entry *entry_of(const char *key) {
    int slot = lower_slot("", key);
    if (slot_holds(slot, "", key)) return assoc_array[slot];
    if (assoc_top == assoc_size) grow_table();
    size_t length = strlen(key);
    auto *entry = static_cast<assoc_entry *>(safemalloc(sizeof(assoc_entry)));
    entry->key = static_cast<char *>(safemalloc(length + 1));
    memcpy(entry->key, key, length + 1);
    entry->value = 0;
    memmove(assoc_array + slot + 1, assoc_array + slot, (assoc_top - slot) * sizeof(assoc_entry *));
    assoc_array[slot] = entry;
    ++assoc_top;
    return entry;
}

int lookup(const char *prefix, const char *name) {
    if (!stores) return 0;
    int slot = lower_slot(prefix, name);
    return slot_holds(slot, prefix, name) ? assoc_array[slot]->value : 0;
}

std::set<std::string> &known_keys() {
    static std::set<std::string> keys;
    return keys;
}

} // namespace

int pass_debug(const char *name) { return lookup("debug:", name); }
int pass_enable(const char *name) { return lookup("enable:", name); }
bool pass_disable(const char *name) { return lookup("disable:", name) != 0; }

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
        entry_of(key)->value = value;
        stores++;
    }
}

register_option::register_option(const char *key)
    : key_(known_keys().insert(key).first->c_str()), value_(&entry_of(key)->value) {}

register_option &register_option::operator=(int value) {
    *value_ = value;
    stores++;
    return *this;
}

bool register_option::is_registered(const char *key) { return known_keys().count(key) != 0; }
