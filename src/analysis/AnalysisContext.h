// What every analysis window works on.
#pragma once

namespace trelis {

class Settings;
class Store;
class TimeBox;

/// All of it outlives the windows.
struct AnalysisContext {
    Store& store;
    TimeBox& timeBox;
    Settings& settings;
};

}  // namespace trelis
