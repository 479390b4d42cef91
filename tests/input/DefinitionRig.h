// What the tests of definition files have in common: a folder, a Store, and what it told.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "input/Recording.h"
#include "support/TestStore.h"

namespace trelis::test {

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
