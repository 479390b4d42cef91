#include "app/diagnostics/MessageLog.h"

#include <glibmm/markup.h>

#include <algorithm>
#include <stdexcept>

namespace trelis {
namespace {

int levelOf(std::string_view word) {
    if (word == "ERR") return 2;
    if (word == "WRN") return 1;
    return 0;
}

const char* spanOf(int level) {
    switch (level) {
        case 1:
            return "<span color='#ce7e00' weight='bold'>";
        case 2:
            return "<span color='#a00000' weight='bold'>";
        default:
            return "<span weight='bold'>";
    }
}

}  // namespace

MessageLog& MessageLog::instance() {
    static MessageLog log;
    return log;
}

void MessageLog::add(std::string_view levelWord, std::string_view text) {
    const int level = levelOf(levelWord);
    const std::lock_guard lock(mutex_);
    if (entries_.size() >= kMostEntries) return;
    const bool waits = std::any_of(entries_.begin(), entries_.end(), [&](const auto& entry) {
        return entry.level == level && entry.text == text;
    });
    if (!waits) entries_.push_back({level, std::string(text)});
}

bool MessageLog::isEmpty() const {
    const std::lock_guard lock(mutex_);
    return entries_.empty();
}

MessageLogEntry MessageLog::pop() {
    const std::lock_guard lock(mutex_);
    if (entries_.empty()) throw std::runtime_error("Can not get message from empty list");
    MessageLogEntry entry = std::move(entries_.front());
    entries_.pop_front();
    return entry;
}

std::string MessageLog::takeMarkup() {
    std::list<MessageLogEntry> taken;
    {
        const std::lock_guard lock(mutex_);
        taken.swap(entries_);
    }
    std::string markup;
    for (const auto& entry : taken) {
        if (entry.level == 0) continue;
        markup += spanOf(entry.level);
        markup += Glib::Markup::escape_text(entry.text).raw();
        markup += "</span>\n";
    }
    return markup;
}

void MessageLog::showAll(void* parentWindow) {
    const std::string markup = takeMarkup();
    if (!markup.empty() && presenter_ != nullptr) presenter_(parentWindow, markup);
}

}  // namespace trelis
