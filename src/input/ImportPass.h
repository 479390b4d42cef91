// What the imports of text tables have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace trelis {

class Message;
class Store;

/// One pass of an import: the messages' workers and the news about it. Belongs to the Store worker.
/// Destroyed early, by an exception, it still waits for the workers.
class ImportPass {
  public:
    explicit ImportPass(Store& store) : store_(store) {}
    ImportPass(const ImportPass&) = delete;
    ImportPass& operator=(const ImportPass&) = delete;
    ~ImportPass();

    /// Starts the worker of every message with users; says whether any wants frames.
    bool startMessages();
    /// Shows that this many of all files are done, in 255 parts.
    void tellProgress(std::size_t done, std::size_t all);
    /// Finishes all messages, which computes the virtual signals, counts anew and emits the news.
    void finish();

  private:
    Store& store_;
    std::vector<std::shared_ptr<Message>> started_;
};

/// A number from a file, scaled to ms: the fraction is dropped, but a product that misses a whole
/// number only by its rounding counts as that number. Empty for what is no time: not finite, or
/// beyond 2^61 ms.
std::optional<std::int64_t> toMilliseconds(double value, double scale);

}  // namespace trelis
