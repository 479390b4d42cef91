#include "app/store/Notifier.h"

#include <glibmm/main.h>

#include <vector>

namespace trelis {
namespace {

// Wires whose notifier is gone while their news is still in the pipe: the toolkit complains of news
// for a dispatcher that it does not know any more. Main thread only.
std::vector<std::shared_ptr<void>>& orphans() {
    static std::vector<std::shared_ptr<void>> wires;
    return wires;
}

}  // namespace

Notifier::Notifier() : wire_(std::make_shared<Wire>()) {
    wire_->dispatcher.connect([wire = std::weak_ptr(wire_)] { hear(wire); });
}

Notifier::~Notifier() {
    if (!wire_->pending) return;
    wire_->changed.clear();
    orphans().push_back(wire_);
}

void Notifier::hear(const std::weak_ptr<Wire>& wire) {
    const auto held = wire.lock();
    held->pending = false;
    held->changed.emit();
    std::erase(orphans(), held);
    // The last holder, for an orphan or for a notifier that went while it was heard, must not let
    // go here: the pipe's reader is still at work on it.
    if (held.use_count() == 1) Glib::signal_idle().connect_once([held] {});
}

}  // namespace trelis
