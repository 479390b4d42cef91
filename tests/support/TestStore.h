// A Store for tests: without a window, and with what it told its user at hand.
#pragma once

#include <glibmm/init.h>

#include <random>
#include <string>
#include <vector>

#include "app/diagnostics/MessageLog.h"
#include "app/store/Store.h"

namespace trelis::test {

struct GlibReady {
    GlibReady() { Glib::init(); }
};

class TestStore : private GlibReady, public Store {
  public:
    TestStore() {
        noGui = true;
        static_cast<void>(messages());
    }

    /// The texts told since the last call, in order.
    static std::vector<std::string> messages() {
        std::vector<std::string> texts;
        while (!MessageLog::instance().isEmpty())
            texts.push_back(MessageLog::instance().pop().text);
        return texts;
    }
};

/// A generator of random cases, and its seed for SCOPED_TRACE.
struct Randomness {
    unsigned seed = std::random_device{}();
    std::mt19937_64 generator{seed};

    std::uint64_t bits() { return generator(); }
    /// A number from 0 up to, but without, `end`.
    std::uint32_t below(std::uint32_t end) {
        return std::uniform_int_distribution<std::uint32_t>(0, end - 1)(generator);
    }
    [[nodiscard]] std::string trace() const { return "seed " + std::to_string(seed); }
};

}  // namespace trelis::test
