// What all virtual messages of one model share.
#pragma once

#include <cstdint>
#include <list>
#include <memory>

namespace trelis {

class ModelContext;
class VirtualSignal;

/// Not locked: it changes only while no parse runs, but for `finishedOnce`, which belongs to the
/// thread that starts and finishes the messages.
struct VirtualRegistry {
    /// In order of registration, so that every signal comes behind its inputs.
    std::list<std::shared_ptr<VirtualSignal>> allVirtualSignals;
    std::uint32_t nextMessageId = 0;  ///< for the next message without an id of its own
    bool finishedOnce = false;        ///< the first message to finish has done the work for all
};

/// The registry of a model, made on first use.
VirtualRegistry& virtualRegistry(ModelContext& context);

/// Lets every virtual signal compute what its inputs allow, in order, used or not. Live readers
/// call it from answer to answer.
void calculateAll(ModelContext& context);

}  // namespace trelis
