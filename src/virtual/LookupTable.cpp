#include "virtual/LookupTable.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace trelis {
namespace {

std::filesystem::path tablePath(const Glib::KeyFile& keyFile, const std::string& group,
                                const std::string& vsdFile) {
    if (!keyFile.has_key(group, "file"))
        throw std::invalid_argument("Missing vector file path ('file') for " + group);
    const std::filesystem::path file(keyFile.get_string(group, "file").raw());
    return std::filesystem::path(vsdFile).parent_path() / file;  // an absolute path stays alone
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

// Only regular files: a pipe might never end.
std::string readWhole(const std::filesystem::path& path) {
    const std::string unreadable = path.string() + " can't be read.";
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) throw std::invalid_argument(unreadable);
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
    if (!file) throw std::invalid_argument(unreadable);
    std::string text;
    constexpr std::size_t kChunk = 65536;
    for (;;) {
        const std::size_t before = text.size();
        text.resize(before + kChunk);
        text.resize(before + std::fread(text.data() + before, 1, kChunk, file.get()));
        if (text.size() > LookupTable::kLargestFile)
            throw std::invalid_argument(path.string() + " is too large for a lookup table.");
        if (text.size() == before) break;
    }
    if (std::ferror(file.get()) != 0) throw std::invalid_argument(unreadable);
    return text;
}

}  // namespace

LookupTable::LookupTable(const std::shared_ptr<Message>& owner, const std::string& group,
                         const Glib::KeyFile& keyFile, const std::string& definitionFile)
    : SteppedSignal(owner, group, keyFile) {
    addInputList(keyFile, group);
    keys_.resize(inputs.size());
    const auto columns = static_cast<unsigned>(inputs.size()) + 1;
    tree_ = LookupTree(readWhole(tablePath(keyFile, group, definitionFile)), columns);
}

void LookupTable::calculateStep() {
    for (std::size_t i = 0; i < keys_.size(); ++i)
        keys_[i] = inputs[i].heldValue;
    output(curTime, tree_.interpolate(keys_));
}

}  // namespace trelis
