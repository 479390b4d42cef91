// Prints what the program knows about methods and their keys, a key a line with tabs between the
// fields, for the check of the help pages. The options of all methods stand under "common_options",
// the keys of the group of that name under "settings".
#include <iostream>
#include <span>

#include "virtual/MethodHelp.h"

namespace {

bool isNumbered(trelis::KeyKind kind) {
    return kind == trelis::KeyKind::kSignalList || kind == trelis::KeyKind::kNumberList;
}

void print(std::string_view method, std::span<const trelis::KeyHelp> keys) {
    for (const trelis::KeyHelp& key : keys)
        std::cout << method << '\t' << key.key << '\t' << key.alternative << '\t'
                  << trelis::kindWord(key.kind) << '\t' << (isNumbered(key.kind) ? "numbered" : "")
                  << '\t' << key.unit << '\t' << (key.mandatory ? "mandatory" : "") << '\t'
                  << key.fallback << '\t' << key.choices << '\n';
}

}  // namespace

int main() {
    for (const trelis::MethodHelp& method : trelis::methodKeys())
        print(method.method, method.keys);
    print("common_options", trelis::commonKeys());
    print("settings", trelis::settingsKeys());
    return std::cout.flush() ? 0 : 1;
}
