// What the tests of definition files have in common: a folder, a Store, and what it told.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/Files.h"
#include "support/TestStore.h"

namespace trelis::test {

/// The line of a signal without scale, range and unit.
inline std::string signalLine(const std::string& form) {
    return " SG_ " + form + " (1,0) [0|0] \"\" X\n";
}

class DefinitionTest : public testing::Test {
  protected:
    /// The texts told since the last call, a line each.
    static std::string takeMessages() {
        std::string texts;
        for (const std::string& text : TestStore::messages())
            texts += text + "\n";
        return texts;
    }

    Folder folder;
    TestStore store;
};

}  // namespace trelis::test
