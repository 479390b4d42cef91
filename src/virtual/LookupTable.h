// A signal from a table in a file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "virtual/CustomSignal.h"
#include "virtual/LookupTree.h"

namespace trelis {

/// One column a file for each input, in their order, and one for the output.
class LookupTable final : public SteppedSignal<LookupTable> {
  public:
    /// `vsdFile`: the definition file, to whose directory a relative `file` refers.
    LookupTable(const std::shared_ptr<Message>& message, const std::string& group,
                const Glib::KeyFile& keyFile, const std::string& vsdFile);

    /// std::runtime_error at the first step that reaches a row with too few columns.
    void calculateStep() override;

    /// Larger files are refused; they would fill the memory.
    static constexpr std::uintmax_t kLargestFile = std::uintmax_t{64} * 1024 * 1024;

  private:
    std::vector<double> keys_;
    LookupTree tree_;
};

}  // namespace trelis
