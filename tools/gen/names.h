// Names of the generated C text: any name of a file becomes an identifier that nothing else in its scope has.
//
// A file's names may hold `$` or `.`, be keywords of C or repeat in one function; the generated text has one flat scope
// for globals and one for each function. NAMES gives out identifiers: sanitised, never reserved, each once.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

// Whether the text can be used as it stands: an identifier that is neither reserved by C nor by the generator.
bool is_plain_identifier(std::string_view);

class NAMES {
  public:
    // Names that `outer` has given out are not given out again.
    explicit NAMES(const NAMES *outer = nullptr) : outer(outer) {}

    // A fresh identifier made from the name.
    std::string fresh(std::string_view name);
    // Takes the name as it stands; false when it is not plain or already taken.
    bool take(std::string_view name);
    bool taken(const std::string &name) const { return used.count(name) || (outer && outer->taken(name)); }

  private:
    const NAMES *outer;
    std::unordered_set<std::string> used;
    std::unordered_map<std::string, unsigned> next_number; // by base: the suffix to try first
};
