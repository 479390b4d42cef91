// The model object at the root of everything: interfaces, log files, the bounds of the data, the
// flags that say how the program runs, and the worker thread that reads the input.
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "app/store/Notifier.h"
#include "model/CanIface.h"
#include "model/ModelContext.h"

namespace trelis {

class Store;
class AscDump;

/// What the Store needs from the floors above it. Set by main before anything runs.
struct StoreHooks {
    using InputPath = std::function<void(Store&)>;

    InputPath liveConnection;  ///< runs until the connection is over
    InputPath canSocket;
    InputPath csvImport;
    InputPath ascImport;
    InputPath logFiles;
    /// Makes a waiting live read give up; called from the main thread.
    std::function<void()> stopLiveRead;
    /// Saves the settings file.
    std::function<void()> saveSettings;
    /// Colour text of a signal by interface, message and signal name.
    std::function<std::string(const std::string&, const std::string&, const std::string&)>
        colorLookup;
    /// The time axis got a new base: the current absolute time and the base, both in ms.
    std::function<void(std::uint64_t, std::uint64_t)> timeBaseListener;
    /// Averaging interval of bus loads in ms, the setting `bitrate_interval`. Main thread.
    std::function<int()> bitRateInterval;
};

/// One per process, owned by main. Fields without a remark belong to the main thread and change
/// only while no parse runs; the worker reads them, and writes what its input path is about.
class Store : public ModelContext {
  public:
    Store();
    ~Store() override;

    // ---- interfaces and lookup

    /// ERR and PrintMsgError if the name or the number is taken.
    std::shared_ptr<CanIface> addInterface(const std::string& name, std::uint32_t number);
    [[nodiscard]] std::shared_ptr<CanIface> findInterfaceByNumber(std::uint32_t number) const;
    [[nodiscard]] CanIface* findActiveInterface(std::uint32_t number) const;
    [[nodiscard]] std::shared_ptr<CanIface> findInterfaceByName(const std::string& name) const;
    std::shared_ptr<Signal> getSignal(const std::string& reference) override;
    [[nodiscard]] std::optional<std::string> interfaceName(std::uint32_t number) const override;
    /// std::invalid_argument with a text that names the number.
    [[nodiscard]] std::shared_ptr<Message> getMessage(std::uint32_t interfaceNumber,
                                                      std::uint32_t id) const;
    [[nodiscard]] std::string colorOf(const std::string& interface, const std::string& message,
                                      const std::string& signal) const override;
    /// Enters the interfaces and messages that this parse decodes.
    void buildActiveMaps();
    void clearSelection();

    // ---- the worker

    void startWorker();
    /// Asks the worker for a pass, and starts it again if an input path ended it by `running`.
    /// Requests before it wakes are one.
    void requestParse();
    /// One pass on the calling thread. PrintMsgError comes through; any other failure is reported
    /// and makes it return false.
    bool parseNow();
    [[nodiscard]] bool reparseRequested() const;
    /// Whether a dump or a parse is under way, which the user is told.
    [[nodiscard]] bool waitingForWork() const;
    /// Asks for a pass that writes the frames of an interval (ms, both ends included) to a file.
    void dumpLogsToFile(const std::string& path, std::uint64_t from, std::uint64_t to);
    /// Makes the pass that runs give up soon; what came so far stays. The worker takes no further
    /// requests. Any thread.
    void interrupt();
    /// How interrupt() reaches the readers of the pass that runs; empty when they are gone. Worker.
    void setPassStopper(std::function<void()> stopper);
    /// Ends a live connection, waits until its path has left, and forgets the key.
    void stopNetwork();
    /// Stops the worker, clears the model, saves the settings. Runs once.
    void shutdown();

    // ---- the view

    void setInterval(std::uint64_t a, std::uint64_t b);
    void clearInterval();
    void requestRedraw();
    /// Emits statusChanged or dataChanged, unless no window listens.
    void emitStatus();
    void emitData();
    [[nodiscard]] bool isBusy() const;
    void busyUp();
    void busyDown();

    [[nodiscard]] bool hasLogFiles() const { return !logFiles.empty(); }
    /// Drops all interfaces with their signals, and the bounds of the data.
    void clearAll();

    StoreHooks hooks;

    std::string title;
    std::atomic<bool> parsing = false;  ///< from the request until the pass ends
    bool dongleMode = false;            ///< input is a CAN interface of this machine
    std::int32_t dongleChannel = 0;     ///< its number; below 0 all of them
    std::atomic<bool> networkInput = false;
    std::string hostName;
    std::int32_t port = 777;
    std::int32_t socket = -1;             ///< the live path's
    std::atomic<bool> connected = false;  ///< how the last attempt to connect ended
    std::string decryptionKey;            ///< empty: not encrypted
    bool csvMode = false;
    bool ascMode = false;
    bool noGui = false;                    ///< nothing is ever emitted while set
    std::atomic<bool> guiRunning = false;  ///< the window's main loop has been entered
    std::uint32_t timeDecimals = 3;        ///< digits behind the point in printed times, 1 to 3

    std::map<std::uint32_t, std::shared_ptr<CanIface>> interfaces;
    std::map<std::uint32_t, CanIface*> activeInterfaces;
    std::uint32_t highestInterface = 0;
    UseCounts counts;  ///< sums over all interfaces, see recount
    bool wantBitRates = false;
    std::uint32_t interfaceMask = 0;  ///< a bit an interface number modulo 32 that a parse reads

    std::atomic<std::int64_t> leftRuler = -1;  ///< ms; negative while unset
    std::atomic<std::int64_t> rightRuler = -1;

    // Times in ms since the epoch. The worker writes them during a parse.
    std::atomic<std::uint64_t> timeBase = 0;  ///< added to a frame's time stamp
    std::atomic<std::uint64_t> firstTime = kNoTime;
    std::atomic<std::uint64_t> lastTime = 0;
    std::atomic<std::uint64_t> parseFirstTime = kNoTime;
    std::atomic<std::uint64_t> parseLastTime = 0;
    std::uint64_t nextFileStart = 0;  ///< announced for the next frame; 0 if none
    bool firstFrame = true;           ///< the next frame sets the time base

    bool quadWire = false;  ///< a recording's header names a logger with several interfaces
    bool dumpAsc = false;
    bool dumpAscDates = false;
    /// -1: nothing to parse; 0: a parse is needed; up to 255: how far it is.
    std::atomic<std::int32_t> progress = -1;
    std::atomic<std::uint64_t> framesRead = 0;
    std::string liveFilePath;

    std::vector<std::string> logFiles;
    std::vector<std::pair<std::string, std::int64_t>> logFilesByStart;

    /// While set, gets the complete references that getSignal does not find.
    std::vector<std::string>* missedLookups = nullptr;
    bool tolerantDefinitions = false;  ///< the DBC reader keeps all that it can
    bool dbcLoaded = false;
    bool vsdLoaded = false;

    /// The bus load signals by interface number, made by model/builtin; entries may be empty.
    std::vector<std::shared_ptr<Signal>> bitRates;

    std::atomic<bool> dumpToFile = false;
    std::string dumpPath;
    std::uint64_t dumpFrom = 0;
    std::uint64_t dumpTo = 0;
    std::shared_ptr<AscDump> ascDump;  ///< the dump that runs; the worker's

    char csvDelimiter = ';';
    std::uint64_t csvRowsToSkip = 0;
    bool csvParsed = false;
    std::uint64_t csvTimeScale = 1000;  ///< units of a table's time column to ms

    std::atomic<bool> running = true;  ///< the worker leaves when false
    /// Held by the live path for its whole run.
    std::mutex liveMutex;
    std::atomic<bool> liveStopRequested = false;

    // News for the window, see the table in docs/architecture.md.
    Notifier dataChanged;
    Notifier statusChanged;
    Notifier rulersChanged;
    Notifier settingsChanged;
    Notifier connectionChanged;
    Notifier reloadRequested;
    /// The worker met PrintMsgError: the window is to show the messages and end with status 1.
    Notifier fatalError;

    static constexpr std::uint64_t kNoTime = std::numeric_limits<std::uint64_t>::max();

  protected:
    void recountNow() override;

  private:
    void markRequest();
    void workerLoop();
    void runPass();
    /// Leaves no trace of the key in memory.
    void forgetKey();
    [[nodiscard]] const StoreHooks::InputPath& chooseInput() const;
    [[nodiscard]] std::shared_ptr<Signal> findSignal(const std::string& complete) const;
    [[nodiscard]] std::string completeLegacyReference(const std::string& reference) const;

    // The active interfaces by number, 0 to 255, and behind them their statistics interfaces: live
    // inputs ask for every frame.
    static constexpr std::size_t kByteNumbers = 256;
    std::array<CanIface*, 2 * kByteNumbers> activeByNumber_{};

    mutable std::mutex workerMutex_;           // guards running, parseRequested_ and parsing
    std::condition_variable workerCondition_;  // woken when one of them changes
    bool parseRequested_ = false;
    /// Owner: this object; shutdown joins it. Runs workerLoop: one input path per request.
    std::thread workerThread_;
    bool fatal_ = false;  // how the last pass on the calling thread ended
    bool shutDown_ = false;

    std::mutex stopperMutex_;  // guards passStopper_; held while it is called
    std::function<void()> passStopper_;

    mutable std::mutex busyMutex_;  // guards busyCount_
    std::uint32_t busyCount_ = 0;
};

}  // namespace trelis
