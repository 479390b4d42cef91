// What the virtual signal editor knows of the methods: one description each, with its rows.
#pragma once

#include <gtkmm/grid.h>
#include <gtkmm/sizegroup.h>

#include <memory>
#include <string>
#include <vector>

#include "config/InputRow.h"

namespace trelis {

class VirtualMessage;
class VirtualSignal;

/// The base of the descriptions. Owns the rows that only this method has, in a grid of their own.
class Method {
  public:
    /// `text`: value of the key `method`. `hasStep`: the first row is `step`.
    explicit Method(std::string text, unsigned maxInputs = 1, bool hasStep = true);
    Method(const Method&) = delete;
    Method& operator=(const Method&) = delete;
    virtual ~Method() = default;

    /// Makes the signal that the group defines, in this message. std::invalid_argument,
    /// Glib::Exception or PrintMsgError if it cannot be.
    virtual std::shared_ptr<VirtualSignal> buildSignal(
        const std::shared_ptr<VirtualMessage>& message, const std::string& group,
        const Glib::KeyFile& keyFile, const std::string& vsdFile) const;
    [[nodiscard]] const std::string& name() const { return text_; }
    [[nodiscard]] unsigned maxInputs() const { return maxInputs_; }

    virtual void showRows();
    virtual void hideRows();
    virtual void showDefaults();
    virtual void clearRows();
    virtual void loadRows(const Glib::KeyFile& keyFile, const std::string& group);
    virtual void saveRows(Glib::KeyFile& keyFile, const std::string& group) const;
    /// Gives the signal list to a `resetSig` row, if the method has one.
    virtual void setCompletion(const Glib::RefPtr<Gtk::ListStore>& model,
                               const SigListModCols& columns);

    [[nodiscard]] Gtk::Grid& grid() { return grid_; }
    /// Lets the labels be as wide as all others of the group.
    void alignLabels(const Glib::RefPtr<Gtk::SizeGroup>& group);
    /// The row of this key, null if there is none.
    [[nodiscard]] InputRow* findRow(const std::string& key) const;
    /// The `resetSig` row, null if the method has none.
    [[nodiscard]] EntrySignal* resetRow() const { return resetRow_; }

  protected:
    template <typename Row, typename... Args>
    Row& add(RowText text, Args&&... args) {
        auto row = std::make_unique<Row>(std::move(text), std::forward<Args>(args)...);
        Row& added = *row;
        append(std::move(row));
        return added;
    }
    void addLevels(const char* aboveHelp, const char* aboveHint, const char* belowHelp,
                   const char* belowHint);
    void addReset(const char* what);

  private:
    void append(std::unique_ptr<InputRow> row);

    std::string text_;
    unsigned maxInputs_;
    std::vector<std::unique_ptr<InputRow>> rows_;
    EntrySignal* resetRow_ = nullptr;
    Gtk::Grid grid_;
};

/// Every method that the editor offers, in the order of its list.
std::vector<std::unique_ptr<Method>> makeMethods();

/// The rows of the options that all methods share.
std::vector<std::unique_ptr<InputRow>> makeCommonRows();

/// Lets a row accept the second spelling that the definition files allow for its key.
void acceptAlternative(InputRow& row, const std::string& method);

}  // namespace trelis
